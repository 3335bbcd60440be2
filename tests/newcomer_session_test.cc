// layer: gui
// A newcomer's session on the real engine, from the very first start to the second one: everything
// is found again as it was left.
#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QTimer>
#include <cmath>
#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fakes/main_window_bench.h"
#include "mixer/channel_strips.h"

namespace vexolo {
namespace {

namespace fs = std::filesystem;
using testing::Each;
using testing::ElementsAre;

constexpr int kPlay = 33;
constexpr int kStop = 34;
constexpr int kNext = 35;
constexpr int kPunch = 38;
constexpr int kPunchIn = 39;
constexpr int kPunchOut = 40;
constexpr int kRepeat = 42;

/// What the user has set.
struct Left {
  std::array<std::uint8_t, kChannels> mutes{};
  std::array<std::int16_t, kChannels> levels{};
  int gain = 0;
  int transpose = 0;
  int tempo = 0;
  long start = 0;  ///< of the markers, milliseconds, which is how they are kept
  long end = 0;
  bool markers_on = false;
  bool operator==(const Left&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Left& left) {
  out << "mutes";
  for (const int mute : left.mutes) out << ' ' << mute;
  out << ", levels";
  for (const int level : left.levels) out << ' ' << level;
  return out << ", gain " << left.gain << ", transpose " << left.transpose << ", tempo "
             << left.tempo << ", markers " << left.start << ' ' << left.end << ' '
             << left.markers_on;
}

struct NewcomerSession : testing::Test, MainWindowBench {
  NewcomerSession() {
    real_library = AudioLibrary::OpenEngine();
    others = ProgramWindows();
    folder.Write("Vexolo.ini", std::string("[SF2]\r\nBase=") + VEXOLO_TEST_BANK + "\r\n");
    fs::create_directory(folder / "songs");
    for (const char* name : {"a-la-claire-fontaine.mid", "au-clair-de-la-lune.kar", "canon.mid"}) {
      songs.push_back(folder / (std::string("songs/") + name));
      fs::copy_file(fs::path(VEXOLO_SONGS) / name, songs.back());
    }
  }

  /// Chooses a language in the dialog that the first start opens.
  void ChooseLanguage(const QString& name) {
    QTimer::singleShot(0, qApp, [this, name] {
      QWidget* dialog = QApplication::activeModalWidget();
      ASSERT_NE(nullptr, dialog);
      auto* languages = dialog->findChild<QComboBox*>();
      languages->setCurrentText(name);
      emit languages->activated(languages->currentIndex());
      asked_for_language = true;
      dialog->close();
    });
  }
  void Type(const QString& time) {
    QTimer::singleShot(0, window.get(), [time] {
      QWidget* dialog = QApplication::activeModalWidget();
      ASSERT_NE(nullptr, dialog);
      auto* line = dialog->findChild<QLineEdit*>();
      line->setText(time);
      QTest::keyClick(line, Qt::Key_Return);
    });
  }
  double Position() {
    const bass::Api& api = program->api;
    return api.BASS_ChannelBytes2Seconds(
        Stream(), api.BASS_ChannelGetPosition(Stream(), bass::BASS_POS_BYTE));
  }
  bool WaitUntilItSounds() {
    return QTest::qWaitFor([&] { return Stream() != 0 && Position() > 0.05; }, 10000);
  }
  Left Now() {
    const MixState& mix = state().mix;
    const Markers& markers = state().audio.markers;
    return {mix.ChannelMute,
            mix.ChannelVolume,
            mix.Gain,
            mix.Transpose,
            mix.Tempo,
            std::lround(markers.start * 1000),
            std::lround(markers.end * 1000),
            markers.on};
  }
  /// Turns every knob, each to a place of its own.
  void TurnEveryKnob() {
    for (int channel = 0; channel < kChannels; ++channel) Drag(channel, 0, channel * 2 - 15);
    Drag(kGainKnob, 0, -9);
    Drag(kTransposeKnob, 6, 6);
    Drag(kSpeedKnob, -10, -12);
  }
  void SeekTo(double share) {
    PositionSlider& slider = window->panel().slider();
    const QPoint at(static_cast<int>(slider.width() * share), slider.height() / 2);
    QTest::mouseClick(&slider, Qt::LeftButton, {}, at);
  }

  std::vector<std::string> songs;
  bool asked_for_language = false;
};

TEST_F(NewcomerSession, IsFoundAgainAsItWasLeft) {
  ChooseLanguage("Français");
  ASSERT_TRUE(Start());
  ASSERT_TRUE(asked_for_language);
  EXPECT_EQ("fr", Setting("Vexolo", "Lng"));
  EXPECT_FALSE(state().mix.AutoMute);  // not during the very first run

  // Opens three songs: the last one plays.
  files.answers = {songs};
  QTest::keyClick(window.get(), Qt::Key_O, Qt::ControlModifier);
  ASSERT_TRUE(QTest::qWaitFor([&] { return state().playlist.current() == 3; }));
  ASSERT_TRUE(WaitUntilItSounds());

  // Solo and mute.
  Click(2);
  EXPECT_EQ(1, state().mix.ChannelSolo[2]);
  Click(2);
  Click(16 + 5);
  Click(16 + 9);
  Click(0);  // one solo stays

  TurnEveryKnob();
  ASSERT_TRUE(WaitUntilItSounds());

  Type("0:02,500");
  Click(kPunchIn);
  Type("20");
  Click(kPunchOut);
  Click(kPunch);
  SeekTo(0.25);
  EXPECT_NEAR(state().audio.song_length * 0.25, Position(), state().audio.song_length * 0.05);
  Click(kRepeat);
  Click(kRepeat);
  EXPECT_EQ(kRepeatList, state().repeat_mode);
  const Left third = Now();
  EXPECT_EQ(1, state().mix.ChannelSolo[0]);

  // The next one round: the first song, at its own settings; a level at nothing.
  Click(kNext);
  EXPECT_EQ(1, state().playlist.current());
  ASSERT_TRUE(WaitUntilItSounds());
  EXPECT_THAT(state().mix.ChannelMute, Each(0));
  EXPECT_EQ(0, state().mix.Tempo);
  Drag(7, 0, -200);
  EXPECT_EQ(0, state().mix.ChannelVolume[7]);
  Left first = Now();

  Click(kStop);
  window->move(64, 48);
  Quit();

  // Starts again, with the same songs.
  std::string command_line;
  for (const std::string& song : songs)
    command_line.append(command_line.empty() ? "" : " ").append(song);
  ASSERT_TRUE(Start(command_line));
  EXPECT_TRUE(state().mix.AutoMute);
  EXPECT_EQ(QPoint(64, 48), window->pos());
  EXPECT_EQ(kRepeatList, state().repeat_mode);
  EXPECT_EQ(3, Button(kRepeat).state());
  EXPECT_EQ("fr", Setting("Vexolo", "Lng"));
  EXPECT_EQ(VEXOLO_TEST_BANK, state().audio.font_path);
  ASSERT_TRUE(WaitUntilItSounds());
  EXPECT_EQ(songs[2], state().playlist.Path(state().playlist.current()));
  EXPECT_EQ(third, Now());
  EXPECT_THAT(state().mix.ChannelSolo, Each(0));  // solo lamps are not kept
  EXPECT_EQ(third.levels[3], Knob(3).value());
  EXPECT_EQ(third.tempo, Knob(kSpeedKnob).value());
  EXPECT_GE(Position(), 2.4);  // from the start marker on

  Click(kNext);
  ASSERT_TRUE(WaitUntilItSounds());
  first.levels[7] = 100;  // a level of nothing comes back as a mute
  first.mutes[7] = 1;
  EXPECT_EQ(first, Now());
  EXPECT_EQ(3, Button(16 + 7).state());
}

}  // namespace
}  // namespace vexolo
