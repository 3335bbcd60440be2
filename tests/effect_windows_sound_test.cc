// layer: gui
// Turning a control of the channel settings or of the effects: heard by the stream, kept beside the
// song, found again, and in the conversion.
#include <QTest>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "app/convert_command.h"
#include "audio/loader.h"
#include "fakes/main_window_bench.h"
#include "mixer/controller_table.h"
#include "mixer/reglage_window.h"
#include "mixer/reverb_window.h"
#include "song_builder.h"

namespace vexolo {
namespace {

using engine::testing::SongBuilder;

/// With instruments in several banks, which the smaller one has not.
constexpr const char* kLargeBank = "/usr/share/sounds/sf2/FluidR3_GM.sf2";
constexpr int kChannel = 2;
constexpr int kProgram = 4;  // which the larger bank has in two banks
constexpr int kReverbSend = 91;
constexpr int kChorusSend = 93;

struct EffectWindowsSound : testing::TestWithParam<int>, MainWindowBench {
  EffectWindowsSound() {
    real_library = AudioLibrary::OpenEngine();
    others = ProgramWindows();
    folder.Write("Vexolo.ini", "[Vexolo]\r\nLng=fr\r\n[SF2]\r\nBase=" + bank + "\r\n");
    SongBuilder builder;
    builder.Program(0, kChannel, kProgram)
        .Control(0, kChannel, kReverbSend, 90)
        .Control(0, kChannel, kChorusSend, 90);
    builder.Note(0, 480, kChannel, 60).Note(960, 480, kChannel, 64).End(2400);
    song = folder.Write("song.mid", builder.Song());
  }

  /// Starts the program with the song, and waits until it plays.
  void Open() {
    ASSERT_TRUE(Start("\"" + song + "\""));
    ASSERT_TRUE(QTest::qWaitFor([&] { return Stream() != 0; }, 10000));
  }

  KnobWidget& ControlOf(int entry) {
    if (IsSongEntry(entry)) {
      auto& reverb = static_cast<Reverb&>(*window->companion(Companion::kReverb));
      return reverb.knob(entry - kFirstSongEntry + 1);
    }
    return static_cast<Reglage&>(*window->companion(Companion::kReglage)).knob(entry);
  }

  /// A drag far enough to be heard, or a click where a control steps.
  void Turn(int entry) {
    KnobWidget& control = ControlOf(entry);
    const QPoint from = control.rect().center();
    const bool up = IsSongEntry(entry) || KindOf(entry) == kPanKind;
    const int pixels = !IsSongEntry(entry) ? 40 : entry == SongEntry(9) ? 60 : 6;
    QTest::mousePress(&control, Qt::LeftButton, {}, from);
    QTest::mouseMove(&control, from + QPoint(0, up ? -pixels : pixels));
    QTest::mouseRelease(&control, Qt::LeftButton, {}, from);
  }

  int StreamValue(int entry) {
    return static_cast<int>(program->api.BASS_MIDI_StreamGetEvent(
        Stream(), static_cast<bass::DWORD>(ChannelOf(entry)), EventOf(entry)));
  }

  std::string Convert() {
    std::ostringstream out;
    std::ostringstream err;
    const auto engine = AudioLibrary::OpenEngine();
    const ConvertEnvironment environment = {engine->api(),
                                            {out, err, false, false},
                                            folder.path(),
                                            folder / "Vexolo.ini",
                                            ',',
                                            [] { return false; },
                                            {}};
    EXPECT_EQ(RunConvertCommand({"-s", bank, "-f", "wav", "-y", "-n", "out", song}, environment), 0)
        << err.str();
    return folder.Read("out.wav");
  }

  const std::string bank =
      GetParam() == ControllerEntry(kBankKind, kChannel) ? kLargeBank : VEXOLO_TEST_BANK;
  std::string song;
};

TEST_P(EffectWindowsSound, IsHeardKeptAndConverted) {
  const int entry = GetParam();
  const std::string plain = Convert();
  ASSERT_GT(plain.size(), 100000u);
  Open();
  const int before = StreamValue(entry);
  Turn(entry);
  const int set = state().mix.overrides.Get(entry);
  EXPECT_NE(set, before);
  EXPECT_EQ(StreamValue(entry), set);
  EXPECT_EQ(program->ini.ReadIni("CC", "CC" + std::to_string(entry), folder / "song.zvn"),
            std::to_string(set));
  Quit();

  const std::string turned = Convert();
  EXPECT_NE(turned, plain);

  Open();
  EXPECT_EQ(state().mix.overrides.Get(entry), set);
  EXPECT_EQ(StreamValue(entry), set);
  Quit();
  EXPECT_EQ(Convert(), turned);
}

std::string NameOf(const testing::TestParamInfo<int>& info) {
  const int entry = info.param;
  if (!IsSongEntry(entry)) {
    return kControllers[static_cast<std::size_t>(KindOf(entry) - 1)].caption_key;
  }
  const int kind = entry - kFirstSongEntry + 1;
  return (kind <= 5 ? "EffectReverb" : "EffectChorus") + std::to_string(kind);
}

INSTANTIATE_TEST_SUITE_P(
    Controllers, EffectWindowsSound,
    testing::Values(ControllerEntry(kVolumeKind, kChannel), ControllerEntry(kPanKind, kChannel),
                    ControllerEntry(kReverbKind, kChannel), ControllerEntry(kChorusKind, kChannel),
                    ControllerEntry(kBankKind, kChannel), ControllerEntry(kProgramKind, kChannel),
                    ControllerEntry(kDrumKind, kChannel)),
    NameOf);
INSTANTIATE_TEST_SUITE_P(Effects, EffectWindowsSound,
                         testing::Range(SongEntry(1), SongEntry(kSongKinds) + 1), NameOf);

}  // namespace
}  // namespace vexolo
