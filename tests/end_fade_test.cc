// layer: core
#include "audio/end_fade.h"

#include <cstdlib>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "audio/stream_syncs.h"
#include "fakes/fake_bass.h"

namespace vexolo {
namespace {

using testing::Each;
using testing::ElementsAre;

TEST(EndFade, BeginsAtFullLevelWithAStepForEachSampleOfTwoChannels) {
  AudioState audio;
  audio.fade_length = 0.3;
  audio.fade_gain = 0.2;
  BeginFade(audio);
  EXPECT_DOUBLE_EQ(1.0, audio.fade_gain);
  EXPECT_DOUBLE_EQ(-1.0 / 0.3 / 44100 / 2, audio.fade_step);
  EXPECT_TRUE(audio.fading);
}

TEST(EndFade, FallsLinearlyToSilenceOverItsLength) {
  AudioState audio;
  audio.fade_length = 0.3;
  BeginFade(audio);
  const std::size_t count = static_cast<std::size_t>(0.3 * 44100 * 2);
  std::vector<std::int16_t> samples(count + 1000, 30000);
  FadeSamples(audio, samples);
  EXPECT_EQ(30000, samples[0]);
  for (std::size_t i = 0; i < count; i += 97) {
    const double expected = 30000 * (1 - static_cast<double>(i) / static_cast<double>(count));
    EXPECT_NEAR(expected, samples[i], 0.51);
  }
  const std::vector<std::int16_t> rest(samples.begin() + static_cast<std::ptrdiff_t>(count) + 1,
                                       samples.end());
  EXPECT_THAT(rest, Each(0));
  EXPECT_EQ(0.0, audio.fade_gain);
}

TEST(EndFade, GoesOnFromOneBufferToTheNext) {
  AudioState one;
  AudioState many;
  one.fade_length = many.fade_length = 0.01;
  BeginFade(one);
  BeginFade(many);
  std::vector<std::int16_t> whole(1000, -20000);
  std::vector<std::int16_t> pieces = whole;
  FadeSamples(one, whole);
  for (std::size_t at = 0; at < pieces.size(); at += 250) {
    FadeSamples(many, std::span(pieces).subspan(at, 250));
  }
  EXPECT_EQ(whole, pieces);
}

TEST(EndFade, RoundsToTheNearestWithHalvesAwayFromZeroOnBothSides) {
  AudioState audio;
  audio.fade_gain = 0.5;
  audio.fade_step = -1e-300;
  std::vector<std::int16_t> samples = {3, -3, 2, -2, 1, -1, 32767, -32768, 0};
  FadeSamples(audio, samples);
  EXPECT_THAT(samples, ElementsAre(2, -2, 1, -1, 1, -1, 16384, -16384, 0));
}

TEST(EndFade, ALengthOfZeroOrLessCutsAtOnce) {
  for (const double length : {0.0, -0.005}) {
    AudioState audio;
    audio.fade_length = length;
    BeginFade(audio);
    std::vector<std::int16_t> samples = {1000, -1000, 32767, -32768};
    FadeSamples(audio, samples);
    EXPECT_THAT(samples, Each(0));
    EXPECT_EQ(0.0, audio.fade_gain);
  }
}

TEST(EndFade, LeavesSamplesAloneBeforeItBeginsAndAfterAReset) {
  AudioState audio;
  std::vector<std::int16_t> samples = {32767, -32768, 1, -1};
  const std::vector<std::int16_t> before = samples;
  FadeSamples(audio, samples);
  EXPECT_EQ(before, samples);
  BeginFade(audio);
  std::vector<std::int16_t> faded(5000, 100);
  FadeSamples(audio, faded);
  ResetFade(audio);
  EXPECT_FALSE(audio.fading);
  FadeSamples(audio, samples);
  EXPECT_EQ(before, samples);
}

TEST(EndFade, TheMarkersSyncAttachesTheSampleCallbackOnceAStream) {
  FakeBass bass;
  AudioState audio;
  EndFade fade(bass.api(), audio);
  const bass::HSTREAM stream = bass.AddStream({});
  AttachEndMarkerSyncs(bass.api(), stream, 2.0, 2.5, {EndFade::EndMarkerSync, &fade}, {});
  EXPECT_THAT(bass.texts(), ElementsAre("SetSync 1 0 352800", "SetSync 1 0 441000"));
  EXPECT_EQ(1, bass.FireSync(stream, bass::BASS_SYNC_POS, 352800, 0));
  EXPECT_TRUE(audio.fading);
  ASSERT_EQ(1u, bass.Calls<FakeBass::SetDSP>().size());
  std::vector<std::int16_t> samples(30000, 20000);
  bass.RunDsp(stream, &samples);
  EXPECT_EQ(20000, samples.front());
  EXPECT_EQ(0, samples.back());

  // The user goes back before the marker, and the song reaches it again.
  ResetFade(audio);
  bass.FireSync(stream, bass::BASS_SYNC_POS, 352800, 0);
  EXPECT_EQ(1u, bass.Calls<FakeBass::SetDSP>().size());
  EXPECT_DOUBLE_EQ(1.0, audio.fade_gain);

  fade.ForgetStream();
  EXPECT_FALSE(audio.fading);
  const bass::HSTREAM next = bass.AddStream({});
  AttachEndMarkerSyncs(bass.api(), next, 1.0, 1.5, {EndFade::EndMarkerSync, &fade}, {});
  bass.FireSync(next, bass::BASS_SYNC_POS, 176400, 0);
  EXPECT_EQ(2u, bass.Calls<FakeBass::SetDSP>().size());
}

TEST(StreamSyncs, TheEndSyncHasNoParameter) {
  FakeBass bass;
  const bass::HSTREAM stream = bass.AddStream({});
  AttachEndSync(bass.api(), stream, {});
  EXPECT_THAT(bass.texts(), ElementsAre("SetSync 1 2 0"));
}

TEST(StreamSyncs, AChangeOfTempoInTheSongIsKeptAndSentTimesTheFactorAtMixTime) {
  FakeBass bass;
  AudioState audio;
  audio.speed_factor = 1.5;
  TempoSync tempo(bass.api(), audio);
  const bass::HSTREAM stream = bass.AddStream({});  // not the current one: the sync knows its own
  tempo.Attach(stream);
  const auto syncs = bass.Calls<FakeBass::SetSync>();
  ASSERT_EQ(1u, syncs.size());
  EXPECT_EQ(0x40010004u, syncs[0].type);
  EXPECT_EQ(62u, syncs[0].param);
  bass.SetValue(stream, 0, bass::MIDI_EVENT_TEMPO, 400000);
  bass.FireSync(stream, bass::BASS_SYNC_MIDI_EVENT, 62, 400000);
  EXPECT_EQ(400000, audio.base_tempo);
  EXPECT_EQ(600000u, bass.Value(stream, 0, bass::MIDI_EVENT_TEMPO));
}

}  // namespace
}  // namespace vexolo
