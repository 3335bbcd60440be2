// layer: engine
#include <algorithm>
#include <numbers>

#include <gmock/gmock.h>

#include "engine_fixture.h"

namespace vexolo::engine::testing {
namespace {

/// A whole note at tick 0 on channel 0, dry unless a test says otherwise.
SongBuilder Dry(int key = 60) {
  return SongBuilder().Control(0, 0, 91, 0).Note(0, 1900, 0, key, 100).End(1920);
}

class SoundTest : public EngineTest {
 protected:
  void SetUp() override {
    EngineTest::SetUp();
    UseTones();
  }

  /// What two values of an event make of a song, everything else being equal.
  Pcm With(const SongBuilder& song, const std::vector<std::pair<DWORD, DWORD>>& events,
           std::size_t frames = 22050) {
    const DWORD stream = Create(song, kDecode | kDecay);
    for (const auto& [event, value] : events) EXPECT_TRUE(Send(stream, 0, event, value));
    // The file's own values at tick 0 would win.
    for (const auto& [event, value] : events) {
      Sync(stream, kEventSync | kMix, event,
           [this, stream, event, value](DWORD) { Send(stream, 0, event, value); });
    }
    Pcm sound = Pull(stream, frames);
    api.BASS_StreamFree(stream);
    return sound;
  }

  double Level(const Pcm& sound, std::size_t from = 4410, std::size_t to = 22050) {
    return RmsOf(Left(sound, from, to));
  }
};

double Decibels(double ratio) { return 20 * std::log10(ratio); }

// ---- Units

TEST_F(SoundTest, TransposeCountsSemitones) {
  for (const int semitones : {-24, -12, -7, -1, 0, 1, 5, 12, 24}) {
    const Pcm sound = With(Dry(), {{bass::MIDI_EVENT_TRANSPOSE, 100 + semitones}});
    EXPECT_NEAR(Cents(Hertz(sound, 2205, 22050), HertzOf(0, 0)), 100 * semitones, 1.5);
  }
}

TEST_F(SoundTest, TransposeBeyondTheKeyboardIsSilent) {
  EXPECT_GT(Level(With(Dry(27), {{bass::MIDI_EVENT_TRANSPOSE, 200}})), 100);
  EXPECT_EQ(Level(With(Dry(28), {{bass::MIDI_EVENT_TRANSPOSE, 200}})), 0);
  EXPECT_GT(Level(With(Dry(100), {{bass::MIDI_EVENT_TRANSPOSE, 0}})), 100);
  EXPECT_EQ(Level(With(Dry(99), {{bass::MIDI_EVENT_TRANSPOSE, 0}})), 0);
  // A value beyond its limit sounds as the limit.
  const Pcm limit = With(Dry(20), {{bass::MIDI_EVENT_TRANSPOSE, 200}});
  EXPECT_EQ(With(Dry(20), {{bass::MIDI_EVENT_TRANSPOSE, 300}}), limit);
}

TEST_F(SoundTest, AReleaseFindsTheNoteOfItsPressWhateverTheTranspose) {
  const auto song = SongBuilder().Control(0, 0, 91, 0).Note(0, 480, 0, 60).End(1920);
  for (const auto& [at_press, at_release] :
       std::vector<std::pair<DWORD, DWORD>>{{100, 105}, {112, 100}, {90, 110}}) {
    const DWORD stream = Create(song);
    Send(stream, 0, bass::MIDI_EVENT_TRANSPOSE, at_press);
    Pull(stream, 11025);
    Send(stream, 0, bass::MIDI_EVENT_TRANSPOSE, at_release);
    const Pcm held = Pull(stream, 11025);
    EXPECT_NEAR(Cents(Hertz(held, 0, 11025), HertzOf(0, 0)), 100.0 * at_press - 10000, 2)
        << "a note that sounds keeps its pitch";
    Pull(stream, 2205);
    EXPECT_EQ(Level(Pull(stream, 11025), 0, 11025), 0);
  }
}

TEST_F(SoundTest, DrumChannelsAreNotTransposed) {
  const auto song = SongBuilder().Control(0, 9, 91, 0).Note(0, 1900, 9, 60).End(1920);
  const DWORD stream = Create(song);
  Send(stream, 9, bass::MIDI_EVENT_TRANSPOSE, 112);
  EXPECT_NEAR(Hertz(Pull(stream, 22050), 2205, 22050), HertzOf(128, 0), 1);
  const auto events = {std::pair<DWORD, DWORD>{bass::MIDI_EVENT_DRUMS, 1},
                       {bass::MIDI_EVENT_TRANSPOSE, 112}};
  EXPECT_NEAR(Hertz(With(Dry(), events), 2205, 22050), HertzOf(128, 0), 1);
}

TEST_F(SoundTest, DrumsBanksAndProgramsChooseThePreset) {
  const auto preset = [&](const std::vector<std::pair<DWORD, DWORD>>& events) {
    return Hertz(With(Dry(), events), 2205, 22050);
  };
  EXPECT_NEAR(preset({}), HertzOf(0, 0), 1);
  EXPECT_NEAR(preset({{bass::MIDI_EVENT_PROGRAM, 1}}), HertzOf(0, 1), 1);
  EXPECT_NEAR(preset({{bass::MIDI_EVENT_BANK, 8}, {bass::MIDI_EVENT_PROGRAM, 1}}), HertzOf(8, 1),
              1);
  EXPECT_NEAR(preset({{bass::MIDI_EVENT_DRUMS, 1}}), HertzOf(128, 0), 1);
  EXPECT_NEAR(preset({{bass::MIDI_EVENT_DRUMS, 1}, {bass::MIDI_EVENT_PROGRAM, 8}}), HertzOf(128, 8),
              1);
  const DWORD stream = Create(SongBuilder().Control(0, 9, 91, 0).Note(0, 1900, 9, 60).End(1920));
  Send(stream, 9, bass::MIDI_EVENT_DRUMS, 0);
  EXPECT_NEAR(Hertz(Pull(stream, 22050), 2205, 22050), HertzOf(0, 0), 1);
}

TEST_F(SoundTest, MixLevelIsAGainOnDrySoundAndSendsAlike) {
  const auto song =
      SongBuilder().Control(0, 0, 91, 127).Control(0, 0, 93, 127).Note(0, 480, 0, 60, 50).End(960);
  const Pcm normal = With(song, {}, 66150);
  ASSERT_GT(RmsOf(Left(normal, 30000, 44100)), 20) << "no effects in it";
  for (const auto& [percent, gain] :
       std::vector<std::pair<DWORD, double>>{{50, 0.5}, {200, 2.0}, {999, 2.0}, {25, 0.25}}) {
    const Pcm scaled = With(song, {{bass::MIDI_EVENT_MIXLEVEL, percent}}, 66150);
    ASSERT_EQ(scaled.size(), normal.size());
    for (std::size_t i = 0; i < normal.size(); ++i) {
      ASSERT_NEAR(scaled[i], gain * normal[i], 1 + gain) << percent << " at " << i;
    }
  }
  EXPECT_EQ(RmsOf(Left(With(song, {{bass::MIDI_EVENT_MIXLEVEL, 0}}), 0, 22050)), 0);
}

TEST_F(SoundTest, MixLevelSoundsTheSameAfterASeek) {
  const DWORD stream = Create(Dry());
  const double normal = Level(Pull(stream, 22050));
  Send(stream, 0, bass::MIDI_EVENT_MIXLEVEL, 50);
  ASSERT_TRUE(Seek(stream, 0));
  EXPECT_NEAR(Decibels(Level(Pull(stream, 22050)) / normal), -6.02, 0.05);
}

TEST_F(SoundTest, VolumeAndExpressionFollowTheUsualCurve) {
  const double full = Level(With(Dry(), {{bass::MIDI_EVENT_VOLUME, 127}}));
  for (const DWORD value : {100u, 64u, 32u}) {
    const double expected = 40 * std::log10(value / 127.0);
    EXPECT_NEAR(Decibels(Level(With(Dry(), {{bass::MIDI_EVENT_VOLUME, value}})) / full), expected,
                0.4);
    const std::vector<std::pair<DWORD, DWORD>> both = {{bass::MIDI_EVENT_VOLUME, 127},
                                                       {bass::MIDI_EVENT_EXPRESSION, value}};
    EXPECT_NEAR(Decibels(Level(With(Dry(), both)) / full), expected, 0.4);
  }
  EXPECT_LT(Level(With(Dry(), {{bass::MIDI_EVENT_VOLUME, 0}})), 1);
  EXPECT_EQ(With(Dry(), {{bass::MIDI_EVENT_VOLUME, 500}}),
            With(Dry(), {{bass::MIDI_EVENT_VOLUME, 127}}));
}

TEST_F(SoundTest, PanHasItsMiddleAt64) {
  const auto sides = [&](DWORD pan) {
    const Pcm sound = With(Dry(), {{bass::MIDI_EVENT_PAN, pan}});
    double left = 0;
    double right = 0;
    for (std::size_t i = 8820; i < sound.size(); i += 2) {
      left += std::abs(sound[i]);
      right += std::abs(sound[i + 1]);
    }
    return std::pair(left, right);
  };
  const auto [left, right] = sides(64);
  EXPECT_NEAR(left / right, 1, 0.02);
  EXPECT_LT(sides(0).second, 0.01 * sides(0).first);
  EXPECT_LT(sides(127).first, 0.02 * sides(127).second);
  EXPECT_GT(sides(40).first, 1.2 * sides(40).second);
}

TEST_F(SoundTest, TheWheelSpansTwoSemitones) {
  for (const auto& [value, cents] : std::vector<std::pair<DWORD, double>>{
           {8192, 0}, {0, -200}, {16383, 200}, {12288, 100}, {99999, 200}}) {
    const Pcm sound = With(Dry(), {{bass::MIDI_EVENT_PITCH, value}});
    EXPECT_NEAR(Cents(Hertz(sound, 2205, 22050), HertzOf(0, 0)), cents, 1.5);
  }
}

TEST_F(SoundTest, PressureOfAKeyReachesItsNoteWhateverTheTranspose) {
  const auto cents = [this](int pressed) {
    const DWORD stream = Create(Dry().KeyPressure(480, 0, pressed, 127));
    Send(stream, 0, bass::MIDI_EVENT_TRANSPOSE, 105);
    const Pcm sound = Pull(stream, 44100);
    EXPECT_NEAR(Cents(Hertz(sound, 2205, 22050), HertzOf(0, 0)), 500, 1.5);
    return Cents(Hertz(sound, 24255, 44100), HertzOf(0, 0));
  };
  EXPECT_NEAR(cents(60), 500 + kPressureCents, 2.5);
  EXPECT_NEAR(cents(65), 500, 1.5);  // nobody plays that key
}

TEST_F(SoundTest, PressureOfAChannelIsVibratoAndHoldsAfterASeek) {
  constexpr std::size_t kWindow = 1323;  // a quarter of the vibrato's turn
  const auto swing = [](const Pcm& sound, std::size_t from, std::size_t to) {
    double least = 1e9;
    double most = 0;
    for (std::size_t at = from; at + kWindow <= to; at += kWindow / 2) {
      const double hertz = Hertz(sound, at, at + kWindow);
      least = std::min(least, hertz);
      most = std::max(most, hertz);
    }
    return Cents(most, least);
  };
  const DWORD stream = Create(SongBuilder()
                                  .Note(0, 960, 0, 60)
                                  .ChannelPressure(480, 0, 127)
                                  .Note(960, 960, 0, 60)
                                  .End(1920));
  const Pcm sound = Pull(stream, 44100);
  EXPECT_LT(swing(sound, 2205, 22050), 2);
  EXPECT_GT(swing(sound, 24255, 44100), 60);
  ASSERT_TRUE(Seek(stream, 950, kTicks));
  EXPECT_GT(swing(Pull(stream, 22050), 4410, 22050), 60);
}

TEST_F(SoundTest, NotesOfTheProgram) {
  const DWORD stream = Create(SongBuilder().Control(0, 2, 91, 0).End(19200));
  Pull(stream, 100);
  const auto level = [&] {
    const double before = Level(Pull(stream, 4410), 0, 4410);
    Pull(stream, 4410);
    return before;
  };
  EXPECT_EQ(level(), 0);
  Send(stream, 2, bass::MIDI_EVENT_NOTE, 60 | 100 << 8);
  EXPECT_GT(level(), 100);
  EXPECT_GT(level(), 100);
  Send(stream, 2, bass::MIDI_EVENT_NOTE, 60);
  level();
  EXPECT_EQ(level(), 0);
  for (const DWORD silencer : {bass::MIDI_EVENT_SOUNDOFF, bass::MIDI_EVENT_NOTESOFF}) {
    Send(stream, 2, bass::MIDI_EVENT_NOTE, 60 | 100 << 8);
    EXPECT_GT(level(), 100);
    Send(stream, 2, silencer, 0);
    level();
    EXPECT_EQ(level(), 0) << silencer;
  }
  Send(stream, 2, bass::MIDI_EVENT_SUSTAIN, 127);
  Send(stream, 2, bass::MIDI_EVENT_NOTE, 60 | 100 << 8);
  Send(stream, 2, bass::MIDI_EVENT_NOTE, 60);
  level();
  EXPECT_GT(level(), 100);
  Send(stream, 2, bass::MIDI_EVENT_RESET, 0);
  EXPECT_EQ(Value(stream, 2, bass::MIDI_EVENT_SUSTAIN), 0u);
  level();
  EXPECT_EQ(level(), 0);
}

// ---- Effects

SongBuilder Wet() {
  return SongBuilder()
      .Control(0, 0, 91, 127)
      .Control(0, 0, 93, 127)
      .Note(0, 48, 0, 60, 100)
      .Note(300, 48, 0, 84, 100)
      .End(960);
}

TEST_F(SoundTest, EveryEffectParameterIsHeardAndStopsAtItsLimit) {
  struct Limits {
    DWORD low, high;
  };
  constexpr std::array<Limits, 11> kLimits = {{{10, 20000},
                                               {0, 2000},
                                               {0, 20000},
                                               {0, 20000},
                                               {0, 200},
                                               {1, 1000},
                                               {0, 500},
                                               {1, 1000},
                                               {0, 200},
                                               {0, 200},
                                               {0, 200}}};
  const Pcm usual = With(Wet(), {}, 44100);
  std::vector<Pcm> heard = {usual};
  for (DWORD which = 0; which < kLimits.size(); ++which) {
    const DWORD event = 32 + which;
    SCOPED_TRACE(event);
    const Pcm highest = With(Wet(), {{event, kLimits[which].high}}, 44100);
    EXPECT_EQ(With(Wet(), {{event, kLimits[which].high + 1000}}, 44100), highest);
    EXPECT_EQ(With(Wet(), {{event, 0xFFFFFFFE}}, 44100), highest);
    for (const Pcm& other : heard) EXPECT_NE(highest, other);
    heard.push_back(highest);
    if (kLimits[which].low == 0) continue;
    const Pcm lowest = With(Wet(), {{event, kLimits[which].low}}, 44100);
    EXPECT_EQ(With(Wet(), {{event, 0}}, 44100), lowest);
    EXPECT_NE(lowest, highest);
  }
}

TEST_F(SoundTest, EffectEventsReachTheirParameters) {
  const auto reverb_only = SongBuilder().Control(0, 0, 91, 127).Note(0, 48, 0, 72, 100).End(960);
  const auto level = [&](DWORD event, DWORD value, std::size_t from, std::size_t to) {
    return RmsOf(Left(With(reverb_only, {{event, value}}, 66150), from, to));
  };
  EXPECT_GT(level(bass::MIDI_EVENT_REVERB_TIME, 8000, 44100, 66150),
            10 * level(bass::MIDI_EVENT_REVERB_TIME, 800, 44100, 66150));
  // The note is over after 50 ms; its reverb begins 200 ms after it.
  EXPECT_LT(level(bass::MIDI_EVENT_REVERB_DELAY, 2000, 4410, 8000), 1);
  EXPECT_GT(level(bass::MIDI_EVENT_REVERB_DELAY, 2000, 9500, 13000), 20);
  EXPECT_GT(level(bass::MIDI_EVENT_REVERB_DELAY, 100, 4410, 8000), 20);
  EXPECT_LT(level(bass::MIDI_EVENT_REVERB_LOCUTOFF, 100, 8820, 22050),
            0.5 * level(bass::MIDI_EVENT_REVERB_LOCUTOFF, 20000, 8820, 22050));
  EXPECT_LT(level(bass::MIDI_EVENT_REVERB_HICUTOFF, 8000, 8820, 22050),
            0.5 * level(bass::MIDI_EVENT_REVERB_HICUTOFF, 20, 8820, 22050));
  EXPECT_NEAR(Decibels(level(bass::MIDI_EVENT_REVERB_LEVEL, 200, 8820, 22050) /
                       level(bass::MIDI_EVENT_REVERB_LEVEL, 100, 8820, 22050)),
              6.02, 0.1);
  const auto dry = SongBuilder().Control(0, 0, 91, 0).Note(0, 48, 0, 72, 100).End(960);
  EXPECT_EQ(With(reverb_only, {{bass::MIDI_EVENT_REVERB_LEVEL, 0}}), With(dry, {}));
  const auto chorus =
      SongBuilder().Control(0, 0, 91, 0).Control(0, 0, 93, 127).Note(0, 48, 0, 72, 100).End(960);
  const std::pair<DWORD, DWORD> still = {bass::MIDI_EVENT_CHORUS_DEPTH, 0};
  EXPECT_EQ(With(chorus, {{bass::MIDI_EVENT_CHORUS_LEVEL, 0}}), With(dry, {}));
  // The dry note is over after 2205 frames, the chorus of a note 100 ms later goes on until 6615.
  EXPECT_GT(RmsOf(Left(With(chorus, {still, {bass::MIDI_EVENT_CHORUS_DELAY, 1000}}), 4700, 6500)),
            100);
  EXPECT_LT(RmsOf(Left(With(chorus, {still, {bass::MIDI_EVENT_CHORUS_DELAY, 100}}), 4700, 6500)),
            1);
  EXPECT_GT(RmsOf(Left(With(chorus, {still,
                                     {bass::MIDI_EVENT_CHORUS_DELAY, 1000},
                                     {bass::MIDI_EVENT_CHORUS_FEEDBACK, 180}}),
                       9200, 11000)),
            50);
  EXPECT_GT(RmsOf(Left(With(chorus, {{bass::MIDI_EVENT_CHORUS_REVERB, 100}}), 11000, 22050)), 5);
  EXPECT_EQ(RmsOf(Left(With(chorus, {{bass::MIDI_EVENT_CHORUS_REVERB, 0}}), 11000, 22050)), 0);
}

TEST_F(SoundTest, SendsAreValuesOfTheChannel) {
  const auto song = SongBuilder().Note(0, 48, 0, 60, 100).End(960);
  const auto tail = [&](DWORD event, DWORD value) {
    return RmsOf(Left(With(song, {{bass::MIDI_EVENT_REVERB, 0}, {event, value}}), 4410, 22050));
  };
  EXPECT_EQ(tail(bass::MIDI_EVENT_REVERB, 0), 0);
  EXPECT_NEAR(Decibels(tail(bass::MIDI_EVENT_REVERB, 127) / tail(bass::MIDI_EVENT_REVERB, 40)),
              Decibels(127 / 40.0), 0.2);
  EXPECT_GT(With(song, {{bass::MIDI_EVENT_CHORUS, 127}}), With(song, {}));
}

// ---- First values

TEST_F(SoundTest, FirstValuesAreSetWithoutARamp) {
  const auto song = SongBuilder().Control(0, 0, 91, 0).Note(0, 900, 0, 60).End(960);
  // Sent before the first frame ...
  const DWORD silent = Create(song);
  Send(silent, 0, bass::MIDI_EVENT_MIXLEVEL, 0);
  EXPECT_EQ(RmsOf(Left(Pull(silent, 4410), 0, 4410)), 0);
  // ... or by the syncs of tick 0, at once.
  const auto reverberating = SongBuilder().Control(0, 0, 91, 127).Note(0, 900, 0, 60).End(960);
  EXPECT_EQ(With(reverberating, {{bass::MIDI_EVENT_REVERB, 0}}), With(song, {}));
  const DWORD half = Create(song);
  Send(half, 0, bass::MIDI_EVENT_MIXLEVEL, 50);
  const Pcm expected = With(song, {});
  const Pcm sound = Pull(half, 4410);
  for (std::size_t i = 0; i < sound.size(); ++i) ASSERT_NEAR(sound[i], 0.5 * expected[i], 1);
}

// ---- No clicks

Pcm Joined(Pcm first, const Pcm& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

/// The largest step between neighbours, in units of what a tone of 441 Hz has that is as loud as
/// the sound is just there. A little above 1 where the tone is bent.
double Roughness(const Pcm& sound) {
  constexpr std::size_t kPeriod = 100;
  const double tone_step = 2 * std::sin(std::numbers::pi / kPeriod);
  const std::vector<double> side = Left(sound, 0, FramesOf(sound));
  double roughness = 0;
  for (std::size_t i = kPeriod; i + kPeriod < side.size(); ++i) {
    double peak = 0;
    for (std::size_t k = i - kPeriod; k < i + kPeriod; ++k)
      peak = std::max(peak, std::abs(side[k]));
    const double step = std::max(std::abs(side[i] - side[i - 1]) - 2, 0.0);  // less the rounding
    if (step > 0) roughness = std::max(roughness, step / (tone_step * peak));
  }
  return roughness;
}

TEST_F(SoundTest, ValuesThatChangeWhileNotesSoundDoNotClick) {
  const auto song =
      SongBuilder().Control(0, 0, 91, 127).Control(0, 0, 93, 127).Press(0, 0, 60, 100).End(96000);
  std::vector<std::pair<DWORD, std::pair<DWORD, DWORD>>> changes = {
      {bass::MIDI_EVENT_VOLUME, {127, 10}},
      {bass::MIDI_EVENT_PAN, {0, 127}},
      {bass::MIDI_EVENT_EXPRESSION, {127, 0}},
      {bass::MIDI_EVENT_MIXLEVEL, {200, 0}},
      {bass::MIDI_EVENT_REVERB, {127, 0}},
      {bass::MIDI_EVENT_CHORUS, {127, 0}},
      {bass::MIDI_EVENT_REVERB_TIME, {500, 10000}},
      {bass::MIDI_EVENT_REVERB_DELAY, {100, 1500}},
      {bass::MIDI_EVENT_REVERB_LOCUTOFF, {300, 15000}},
      {bass::MIDI_EVENT_REVERB_HICUTOFF, {5000, 50}},
      {bass::MIDI_EVENT_REVERB_LEVEL, {200, 0}},
      {bass::MIDI_EVENT_CHORUS_DELAY, {50, 900}},
      {bass::MIDI_EVENT_CHORUS_DEPTH, {0, 60}},
      {bass::MIDI_EVENT_CHORUS_RATE, {10, 300}},
      {bass::MIDI_EVENT_CHORUS_FEEDBACK, {100, 150}},
      {bass::MIDI_EVENT_CHORUS_LEVEL, {200, 0}},
      {bass::MIDI_EVENT_CHORUS_REVERB, {0, 200}}};
  for (const auto& [event, values] : changes) {
    const DWORD stream = Create(song);
    Pull(stream, 100);
    Send(stream, 0, bass::MIDI_EVENT_CHORUS_RATE, 300);  // what is steady comes round quickly
    Send(stream, 0, event, values.first);
    Pull(stream, 44100);
    for (const DWORD value : {values.second, values.first}) {
      const Pcm before = Pull(stream, 441);
      Send(stream, 0, event, value);
      const Pcm change = Joined(before, Pull(stream, 22050));
      EXPECT_LT(Roughness(change), 1.2) << "event " << event << " to " << value;
    }
    api.BASS_StreamFree(stream);
  }
}

TEST_F(SoundTest, FontVolumeIsLinearAndDoesNotClick) {
  const DWORD font = LoadTones();
  const DWORD stream = Create(Dry());
  ASSERT_TRUE(SetFont(stream, font));
  Pull(stream, 4410);
  const Pcm before = Pull(stream, 8820);
  ASSERT_TRUE(api.BASS_MIDI_FontSetVolume(font, 0.25F));
  const Pcm change = Pull(stream, 8820);
  const Pcm after = Pull(stream, 8820);
  EXPECT_NEAR(Level(after, 0, 8820) / Level(before, 0, 8820), 0.25, 0.002);
  EXPECT_LT(Roughness(Joined(before, change)), 1.15);
  ASSERT_TRUE(api.BASS_MIDI_FontSetVolume(font, 2.0F));
  Pull(stream, 4410);
  EXPECT_NEAR(Level(Pull(stream, 4410), 0, 4410) / Level(before, 0, 8820), 2, 0.02);
  EXPECT_FALSE(api.BASS_MIDI_FontSetVolume(font, -1.0F));
  EXPECT_FALSE(api.BASS_MIDI_FontSetVolume(font, std::nanf("")));
}

// ---- Banks

TEST_F(SoundTest, ABankIsReplacedUnderTheSoundWithoutAGapOrAClick) {
  const DWORD quiet = LoadTones(0.2);
  const DWORD stream = Create(SongBuilder().Control(0, 0, 91, 0).Press(0, 0, 60, 100).End(9600));
  Pull(stream, 11025);
  const Pcm before = Pull(stream, 4410);
  ASSERT_TRUE(SetFont(stream, quiet));
  const Pcm change = Pull(stream, 22050, 441);
  const double loud = Level(before, 0, 4410);
  const double soft = Level(change, 17640, 22050);
  EXPECT_NEAR(soft / loud, 0.4, 0.02);
  for (std::size_t at = 0; at + 441 <= 22050; at += 441) {
    EXPECT_GT(Level(change, at, at + 441), 0.25 * soft) << "a gap at frame " << at;
  }
  EXPECT_LT(Roughness(Joined(before, change)), 1.15);
  // And once more, right away.
  ASSERT_TRUE(SetFont(stream, LoadTones(0.5)));
  Pull(stream, 4410);
  EXPECT_NEAR(Level(Pull(stream, 4410), 0, 4410) / loud, 1, 0.02);
}

TEST_F(SoundTest, ABankCannotBeFreedAwayUnderAStreamNorReplacedByNone) {
  const DWORD font = LoadTones(0.3);
  const DWORD stream = Create(Dry());
  ASSERT_TRUE(SetFont(stream, font));
  Pull(stream, 4410);
  const double before = Level(Pull(stream, 4410), 0, 4410);
  ASSERT_TRUE(api.BASS_MIDI_FontFree(font));
  EXPECT_NEAR(Level(Pull(stream, 4410), 0, 4410), before, 0.02 * before);
  EXPECT_FALSE(SetFont(stream, font));
  EXPECT_NEAR(Level(Pull(stream, 4410), 0, 4410), before, 0.02 * before);
  ASSERT_TRUE(Seek(stream, 0));
  EXPECT_GT(Level(Pull(stream, 8820), 4410, 8820), 0.9 * before);
}

TEST_F(SoundTest, TwoStreamsShareABank) {
  const auto first = SongBuilder().Note(0, 900, 0, 60).End(960);
  const auto second = SongBuilder().Program(0, 3, 1).Note(100, 700, 3, 67).End(960);
  const Pcm alone_first = PullAll(Create(first));
  const Pcm alone_second = PullAll(Create(second));
  const DWORD a = Create(first);
  const DWORD b = Create(second);
  Pcm together_a;
  Pcm together_b;
  for (int i = 0; i < 100; ++i) {
    const Pcm part_a = Pull(a, 441);
    const Pcm part_b = Pull(b, 441);
    together_a.insert(together_a.end(), part_a.begin(), part_a.end());
    together_b.insert(together_b.end(), part_b.begin(), part_b.end());
  }
  EXPECT_EQ(together_a, alone_first);
  EXPECT_EQ(together_b, alone_second);
}

TEST_F(SoundTest, WithoutABankThereIsSilenceOfTheRightLength) {
  ASSERT_TRUE(api.BASS_MIDI_StreamSetFonts(0, nullptr, 0));
  const Pcm sound = PullAll(Create(SongBuilder().Note(0, 900, 0, 60).End(960), kDecode | kDecay));
  EXPECT_EQ(FramesOf(sound), 44100u);
  EXPECT_EQ(RmsOf(Left(sound, 0, 44100)), 0);
}

// ---- The same sound every time

SongBuilder Busy() {
  SongBuilder song(96);
  Random random(4);
  for (std::uint32_t tick = 0; tick < 400; tick += 1 + random.Below(5)) {
    const int channel = static_cast<int>(random.Below(16));
    const int value = static_cast<int>(random.Below(128));
    song.Note(tick, 1 + random.Below(60), channel, 30 + value / 2, 1 + value / 2);
    constexpr std::array<int, 8> kControllers = {1, 7, 10, 11, 64, 91, 93, 0};
    song.Control(tick, channel, kControllers[random.Below(8)], value);
    if (tick % 7 == 0) song.Pitch(tick, channel, 128 * value);
    if (tick % 11 == 0) song.Program(tick, channel, value % 2);
    if (tick % 31 == 0) song.Tempo(tick, 300000 + 1000 * value);
  }
  return song.GsReset(300).End(420);
}

TEST_F(SoundTest, IsTheSameHoweverItIsPulled) {
  const auto render = [&](std::size_t block) {
    const DWORD stream = Create(Busy(), kDecode | kDecay);
    Sync(stream, kEventSync | kMix, bass::MIDI_EVENT_VOLUME, [this, stream](DWORD data) {
      Send(stream, data >> 16, bass::MIDI_EVENT_MIXLEVEL, 50 + (data & 0x7F));
      Send(stream, 0, bass::MIDI_EVENT_CHORUS_LEVEL, data & 0x7F);
    });
    Sync(stream, kEventSync | kMix, bass::MIDI_EVENT_TEMPO,
         [this, stream](DWORD tempo) { Send(stream, 0, bass::MIDI_EVENT_TEMPO, tempo * 5 / 4); });
    return PullAll(stream, block);
  };
  const Pcm expected = render(256);
  ASSERT_GT(FramesOf(expected), 44100u * 2);
  ASSERT_GT(RmsOf(Left(expected, 0, 88200)), 500);
  EXPECT_EQ(render(256), expected) << "twice the same";
  for (const std::size_t block : {1u, 7u, 44100u}) EXPECT_EQ(render(block), expected) << block;
}

// A sample that wrapped would have the other sign than the same one of a quiet rendering.
TEST_F(SoundTest, OverloadNeverWraps) {
  SongBuilder song;
  for (const int channel : {0, 1, 2, 3, 4, 5, 6, 7, 8, 10, 11, 12, 13, 14, 15}) {
    for (const int key : {60, 72}) song.Press(0, channel, key, 127);
    song.Control(0, channel, 7, 127);
  }
  const auto render = [&](DWORD mix_level) {
    const DWORD stream = Create(song.End(960));
    for (DWORD channel = 0; channel < 16; ++channel) {
      Send(stream, channel, bass::MIDI_EVENT_MIXLEVEL, mix_level);
    }
    return PullAll(stream);
  };
  const Pcm quiet = render(2);
  const Pcm loud = render(200);
  int peak = 0;
  std::size_t compared = 0;
  for (std::size_t i = 0; i < std::min(quiet.size(), loud.size()); ++i) {
    peak = std::max(peak, std::abs(static_cast<int>(loud[i])));
    if (std::abs(quiet[i]) < 3) continue;
    ++compared;
    ASSERT_EQ(quiet[i] > 0, loud[i] > 0) << i;
  }
  EXPECT_GT(compared, 1000u);
  EXPECT_GT(peak, 29204) << "there was no overload";
  EXPECT_LE(peak, 32766);
}

TEST_F(SoundTest, TheLevelOfADecodingStreamIsThePeakOfWhatWasDelivered) {
  const DWORD stream = Create(Dry());
  EXPECT_EQ(api.BASS_ChannelGetLevel(stream), 0u);
  Send(stream, 0, bass::MIDI_EVENT_PAN, 30);
  for (int i = 0; i < 20; ++i) {
    const Pcm sound = Pull(stream, 441);
    int left = 0;
    int right = 0;
    for (std::size_t frame = 0; frame < 441; ++frame) {
      left = std::max(left, std::abs(static_cast<int>(sound[2 * frame])));
      right = std::max(right, std::abs(static_cast<int>(sound[2 * frame + 1])));
    }
    EXPECT_EQ(api.BASS_ChannelGetLevel(stream), static_cast<DWORD>(left | right << 16));
  }
  Dsp(stream, [](std::span<std::int16_t> sound) { std::ranges::fill(sound, -32768); });
  Pull(stream, 10);
  EXPECT_EQ(api.BASS_ChannelGetLevel(stream), 32768u | 32768u << 16);
}

}  // namespace
}  // namespace vexolo::engine::testing
