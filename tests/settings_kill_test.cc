// layer: core
// A program that is killed while it writes settings leaves the old file or the new one.
#include <array>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "convert/conversion_settings.h"
#include "fakes/fake_message_boxes.h"
#include "fakes/temporary_folder.h"
#include "mixer/song_settings.h"
#include "settings/ini_document.h"

namespace vexolo {
namespace {

constexpr int kKills = 500;
constexpr std::size_t kMoments = 10;  ///< of the writer's life, at least
constexpr int kMostKills = 20 * kKills;

/// What each action writes carries its number in every key.
void Act(int number, ModIni& ini, SongSettings& settings) {
  MixState mix;
  mix.ChannelMute.fill(number % 2 != 0);
  mix.ChannelVolume.fill(static_cast<std::int16_t>(1 + number % 200));
  settings.SaveMute(mix);
  settings.SaveVolume(mix);
  const double seconds = number;
  settings.SaveMarqueurs({seconds, seconds, number % 2 != 0});
  ConversionSettings conversion;
  const std::string text = std::to_string(number);
  conversion.folder = "/" + text + "/";
  conversion.scheme = text;
  conversion.tags = {text, text, text, text, text, text, text};
  MemoParam(ini, conversion);
}

[[noreturn]] void WriteUntilKilled(const std::string& ini_path, const std::string& song) {
  FakeMessageBoxes boxes;
  ModIni ini(ini_path, boxes);
  SongSettings settings(ini, '.');
  settings.SetSong(song);
  for (int number = 1;; ++number) Act(number, ini, settings);
}

class SettingsKillTest : public testing::Test {
 protected:
  SettingsKillTest() {
    folder_.Write("Vexolo.ini", "[Keep]\r\nMe=as I am\r\n");
    folder_.Write("song.zvn", "[Keep]\r\nMe=as I am\r\n");
  }

  /// Runs the writer until a moment of its own choice.
  void KillOnce() {
    const pid_t writer = fork();
    ASSERT_GE(writer, 0);
    if (writer == 0) WriteUntilKilled(folder_ / "Vexolo.ini", folder_ / "song.mid");
    std::uniform_int_distribution<int> microseconds(0, 20000);
    std::this_thread::sleep_for(std::chrono::microseconds(microseconds(random_)));
    ASSERT_EQ(kill(writer, SIGKILL), 0);
    int how = 0;
    ASSERT_EQ(waitpid(writer, &how, 0), writer);
    ASSERT_TRUE(WIFSIGNALED(how) && WTERMSIG(how) == SIGKILL) << "the writer ended by itself";
  }

  IniDocument Read(const std::string& name) const { return IniDocument::Parse(folder_.Read(name)); }

  std::mt19937 random_{20240229};
  TemporaryFolder folder_;
};

/// The one value that all keys of an action have; nothing where none of them is there. Two
/// different ones are half a write.
std::optional<std::string> OneValue(const IniDocument& file, const std::string& section,
                                    const std::vector<std::string>& keys) {
  std::set<std::optional<std::string>> values;
  for (const std::string& key : keys) values.insert(file.Get(section, key));
  EXPECT_EQ(values.size(), 1u) << section;
  return values.empty() ? std::nullopt : *values.begin();
}

std::vector<std::string> ChannelKeys() {
  std::vector<std::string> keys;
  for (int channel = 0; channel < kChannels; ++channel) {
    keys.push_back("Ch" + std::to_string(channel));
  }
  return keys;
}

TEST_F(SettingsKillTest, EveryKillLeavesWholeFiles) {
  std::set<std::string> levels;
  // On a busy machine a writer does not come far: it takes more of them.
  const auto is_enough = [&](int kills) { return kills >= kKills && levels.size() > kMoments; };
  for (int kill = 0; !is_enough(kill) && kill < kMostKills; ++kill) {
    KillOnce();
    const IniDocument song = Read("song.zvn");
    EXPECT_EQ(song.Get("Keep", "Me"), "as I am");
    OneValue(song, "Mute", ChannelKeys());
    levels.insert(OneValue(song, "Volume", ChannelKeys()).value_or("none"));
    OneValue(song, "Marqueurs", {"Debut", "Fin"});
    const IniDocument settings = Read("Vexolo.ini");
    EXPECT_EQ(settings.Get("Keep", "Me"), "as I am");
    const auto tag = OneValue(
        settings, "Tags", {"Artiste", "Titre", "Album", "Année", "Piste", "Genre", "Commentaire"});
    EXPECT_EQ(settings.Get("Wave", "SaveScheme"), tag);
    if (HasFailure()) FAIL() << "after kill " << kill;
  }
  // The kills have come at different moments of the writer's life.
  EXPECT_GT(levels.size(), kMoments);
}

}  // namespace
}  // namespace vexolo
