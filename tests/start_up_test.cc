// layer: core
#include "app/start_up.h"

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fakes/fake_bass.h"
#include "fakes/fake_message_boxes.h"
#include "fakes/posted_actions.h"
#include "fakes/temporary_folder.h"
#include "platform/file_io.h"

namespace vexolo {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

/// What happens, windows and library together, in order.
class Log {
 public:
  explicit Log(FakeBass& bass) : bass_(bass) {}

  void Add(const std::string& entry) {
    Drain();
    entries_.push_back(entry);
  }
  std::vector<std::string> Take() {
    Drain();
    return std::exchange(entries_, {});
  }

 private:
  // What only asks the library is counted there, not recorded; what opens a bank runs beside.
  void Drain() {
    for (const char* question :
         {"BASS_GetVersion", "BASS_Encode_IsActive", "BASS_MIDI_StreamGetFonts"}) {
      if (bass_.CallCount(question) > 0 && !Has(asked_, question)) {
        asked_.push_back(question);
        entries_.push_back(question);
      }
    }
    const std::vector<std::string> texts = bass_.texts();
    for (; read_ < texts.size(); ++read_) {
      if (!texts[read_].starts_with("FontInit")) entries_.push_back(texts[read_]);
    }
  }
  static bool Has(const std::vector<std::string>& list, const std::string& text) {
    return std::find(list.begin(), list.end(), text) != list.end();
  }

  FakeBass& bass_;
  std::size_t read_ = 0;
  std::vector<std::string> asked_;
  std::vector<std::string> entries_;
};

class Windows : public StartUpWindows {
 public:
  explicit Windows(Log& log) : log_(log) {}

  void ChooseFirstLanguage() override {
    log_.Add("ChooseFirstLanguage");
    if (on_first_language) on_first_language();
  }
  void LoadLanguage() override { log_.Add("LoadLanguage"); }
  bool BuildSkin() override {
    log_.Add("BuildSkin");
    return has_skin;
  }
  void DrawKnobs() override { log_.Add("DrawKnobs"); }
  void DispSoloMute() override { log_.Add("DispSoloMute"); }
  void RestorePlace() override { log_.Add("RestorePlace"); }
  void CreateCompanion(Companion companion) override { log_.Add("Create" + Name(companion)); }
  void BougeFilles() override { log_.Add("BougeFilles"); }
  void* ShowMainWindow() override {
    log_.Add("ShowMainWindow");
    return this;
  }
  void ShowCompanionAgain(Companion companion) override { log_.Add("Show" + Name(companion)); }
  void DispMix() override { log_.Add("DispMix"); }
  void AfficherMarqueurs() override { log_.Add("AfficherMarqueurs"); }
  void ChooseBank() override { log_.Add("ChooseBank"); }
  void RestoreLastList() override {
    log_.Add("RestoreLastList");
    if (on_restore) on_restore();
  }
  void ShowTitle(const std::string& song_path) override { log_.Add("ShowTitle " + song_path); }
  void ProcessMessages() override {
    log_.Add("ProcessMessages");
    if (on_messages) on_messages();
  }
  void Action_Play() override { log_.Add("Action_Play"); }
  void StopTimers() override { log_.Add("StopTimers"); }
  void UnloadCompanion(Companion companion) override { log_.Add("Unload" + Name(companion)); }
  void UnloadDialogs() override { log_.Add("UnloadDialogs"); }
  void UnhookWindows() override { log_.Add("UnhookWindows"); }
  void ReleaseSkin() override { log_.Add("ReleaseSkin"); }

  bool has_skin = true;
  std::function<void()> on_first_language;
  std::function<void()> on_messages;
  std::function<void()> on_restore;

 private:
  static std::string Name(Companion companion) { return InfoOf(companion).place_section; }
  Log& log_;
};

class StartUpTest : public testing::Test {
 protected:
  StartUpTest() {
    folder_.Write("fr.lng", "[Vexolo]\r\nLng=Français\r\n");
    folder_.Write("vexolo.dll", "[Vexolo]\r\nLng=Français\r\n");
    folder_.Write("Orvanel.SF2", "bank");
    ini_.WriteIni("Vexolo", "Lng", "fr");
  }
  ~StartUpTest() override { std::filesystem::current_path(folder_at_start_); }

  bool Run(const std::string& command_line = {}) {
    start_up_ = std::make_unique<StartUp>(StartUp::Parts{bass_.api(), state_, binding_, loader_,
                                                         ini_, settings_, boxes_, windows_,
                                                         folder_.path(), command_line});
    return start_up_->Run();
  }
  std::vector<std::string> TakeAfter(const std::string& entry) {
    std::vector<std::string> entries = log_.Take();
    const auto at = std::find(entries.begin(), entries.end(), entry);
    if (at == entries.end()) return {"nothing: " + entry + " is missing"};
    return {at + 1, entries.end()};
  }

  const std::filesystem::path folder_at_start_ = std::filesystem::current_path();
  FakeBass bass_;
  TemporaryFolder folder_;
  FakeMessageBoxes boxes_;
  PostedActions posted_;
  ModIni ini_{folder_ / "Vexolo.ini", boxes_};
  modMidiTest state_{bass_.api(), nullptr};
  AudioBinding binding_{bass_.api(), state_.audio, ini_, boxes_};
  SongSettings settings_{ini_, ','};
  BankLoader loader_{bass_.api(), state_.audio, binding_,
                     [this](std::function<void()> action) { posted_.Post(std::move(action)); }};
  Log log_{bass_};
  Windows windows_{log_};
  std::unique_ptr<StartUp> start_up_;
};

// ---- The order

TEST_F(StartUpTest, TheProgramStartsInThisOrder) {
  EXPECT_TRUE(Run());
  std::vector<std::string> entries = log_.Take();
  std::erase_if(entries, [](const std::string& entry) { return entry.starts_with("StreamEvent"); });
  EXPECT_THAT(
      entries,
      ElementsAre("LoadLanguage", "BuildSkin", "DrawKnobs", "DispSoloMute", "RestorePlace",
                  "CreateReglage", "CreateReverb", "CreateParoles", "CreatePlayList", "BougeFilles",
                  "ShowMainWindow", "ShowReglage", "ShowReverb", "ShowParoles", "ShowPlayList",
                  "BASS_GetVersion", "BASS_Encode_IsActive", "BASS_MIDI_StreamGetFonts",
                  testing::StartsWith("Init -1 44100 0"), "DispMix", "AfficherMarqueurs",
                  "RestoreLastList", "ShowTitle ", "ProcessMessages"));
  EXPECT_EQ(folder_.path(), std::filesystem::current_path().string());
  EXPECT_EQ(&windows_, state_.main_window);
  EXPECT_EQ(&windows_, bass_.Calls<FakeBass::Init>().at(0).window);
  EXPECT_TRUE(boxes_.shown.empty());
}

TEST_F(StartUpTest, TheProgramEndsInThisOrder) {
  ASSERT_TRUE(Run());
  ASSERT_TRUE(posted_.RunNext());
  state_.audio.stream = bass_.AddStream({});
  const std::string font = std::to_string(state_.audio.font);
  log_.Take();
  bool was_quitting = true;
  windows_.on_messages = [&] { was_quitting = state_.quitting; };
  windows_.ProcessMessages();
  EXPECT_FALSE(was_quitting);
  log_.Take();
  start_up_->ShutDown();
  EXPECT_THAT(log_.Take(),
              ElementsAre("StopTimers", "Stop 1", "StreamFree 1", "FontFree " + font, "Free",
                          "PluginFree 0", "UnloadReglage", "UnloadReverb", "UnloadParoles",
                          "UnloadPlayList", "UnloadDialogs", "UnhookWindows", "ReleaseSkin"));
  EXPECT_TRUE(state_.quitting);
  EXPECT_EQ(0u, state_.audio.stream);
  EXPECT_EQ(0u, state_.audio.font);
}

TEST_F(StartUpTest, WithoutStreamAndBankTheEndFreesTheLibraryAlone) {
  bass_.Fail("BASS_MIDI_FontInit", bass::BASS_ERROR_FILEFORM);
  ASSERT_TRUE(Run());
  log_.Take();
  start_up_->ShutDown();
  EXPECT_THAT(TakeAfter("StopTimers"),
              ElementsAre("Free", "PluginFree 0", "UnloadReglage", "UnloadReverb", "UnloadParoles",
                          "UnloadPlayList", "UnloadDialogs", "UnhookWindows", "ReleaseSkin"));
}

// ---- Language and options

TEST_F(StartUpTest, WithoutALanguageFileTheProgramStopsThere) {
  DeleteFile(folder_ / "fr.lng");
  DeleteFile(folder_ / "vexolo.dll");
  EXPECT_FALSE(Run());
  const FakeMessageBoxes::Box box = {"Missing " + folder_ / "vexolo.dll", "Error",
                                     BoxIcon::kCritical};
  EXPECT_THAT(boxes_.shown, ElementsAre(box));
  EXPECT_THAT(log_.Take(), IsEmpty());
  start_up_->ShutDown();
  EXPECT_EQ("ReleaseSkin", log_.Take().back());
  EXPECT_TRUE(state_.quitting);
}

TEST_F(StartUpTest, TheFirstStartAsksForALanguageBeforeAnyOtherWindow) {
  ini_.WriteIni("Vexolo", "Lng", "");
  windows_.on_first_language = [&] {
    EXPECT_EQ(folder_ / "vexolo.dll", state_.language_file);
    state_.language_file = folder_ / "fr.lng";
  };
  EXPECT_TRUE(Run());
  const std::vector<std::string> entries = log_.Take();
  EXPECT_EQ("ChooseFirstLanguage", entries.at(0));
  EXPECT_EQ("LoadLanguage", entries.at(1));
  EXPECT_EQ(folder_ / "fr.lng", state_.language_file);
  EXPECT_FALSE(state_.mix.AutoMute);
}

TEST_F(StartUpTest, AFirstStartThatLeavesNoLanguageFileEndsToo) {
  ini_.WriteIni("Vexolo", "Lng", "");
  DeleteFile(folder_ / "vexolo.dll");
  EXPECT_FALSE(Run());
  ASSERT_EQ(1u, boxes_.shown.size());
  EXPECT_EQ("Missing " + folder_ / "vexolo.dll", boxes_.shown[0].text);
  EXPECT_THAT(log_.Take(), ElementsAre("ChooseFirstLanguage"));
}

TEST_F(StartUpTest, LaterStartsAskForNone) {
  EXPECT_TRUE(Run());
  EXPECT_THAT(log_.Take(), Not(Contains("ChooseFirstLanguage")));
  EXPECT_TRUE(state_.mix.AutoMute);
}

TEST_F(StartUpTest, AutoMuteIsTakenFromTheSettings) {
  ini_.WriteIni("Vexolo", "AutoMute", "0");
  EXPECT_TRUE(Run());
  EXPECT_FALSE(state_.mix.AutoMute);
}

TEST_F(StartUpTest, OptionsAndFoldersAreRead) {
  ini_.WriteIni("Wave", "SaveFolder", "\"/out/\"");
  ini_.WriteIni("Wave", "SaveScheme", "%A - %T");
  ini_.WriteIni("Wave", "Encoding", "2");
  ini_.WriteIni("Wave", "Rate", "192");
  ini_.WriteIni("Lyrics", "MakeFile", "0");
  ini_.WriteIni("Lyrics", "MaxLength", "40");
  ini_.WriteIni("SF2", "Path", "/banks");
  ini_.WriteIni("Mid", "Path", "/songs");
  ini_.WriteIni("Lst", "Path", "/lists");
  EXPECT_TRUE(Run());
  EXPECT_EQ("/out/", state_.conversion.folder);
  EXPECT_EQ("%A - %T", state_.conversion.scheme);
  EXPECT_EQ(AudioFormat::kOgg, state_.conversion.format);
  EXPECT_EQ("192", state_.conversion.rate);
  EXPECT_FALSE(state_.conversion.make_lyrics_file);
  EXPECT_EQ(40, state_.conversion.max_line_length);
  EXPECT_EQ("/banks", state_.folders.banks);
  EXPECT_EQ("/songs", state_.folders.songs);
  EXPECT_EQ("/lists", state_.folders.lists);
}

// ---- The audio library

TEST_F(StartUpTest, AnyLibraryOfTheRightVersionWillDo) {
  bass_.version = 0x0204FFFF;
  EXPECT_TRUE(Run());
}

TEST_F(StartUpTest, AnotherVersionStopsTheProgram) {
  for (const bass::DWORD version : {0x02030F00u, 0x02050000u}) {
    boxes_.shown.clear();
    bass_.version = version;
    EXPECT_FALSE(Run());
    const FakeMessageBoxes::Box box = {std::string("La DLL Bass est en ") +
                                           (version == 0x02030F00 ? "2030F00" : "2050000") +
                                           " alors que nous attendions la 204",
                                       "", BoxIcon::kCritical};
    EXPECT_THAT(boxes_.shown, ElementsAre(box));
    EXPECT_THAT(bass_.Calls<FakeBass::Init>(), IsEmpty());
    log_.Take();
    start_up_->ShutDown();
    EXPECT_THAT(log_.Take(), Contains("UnloadPlayList"));
  }
}

TEST_F(StartUpTest, AnOutputThatCannotBeOpenedStopsTheProgram) {
  bass_.Fail("BASS_Init", bass::BASS_ERROR_DEVICE);
  EXPECT_FALSE(Run());
  ASSERT_EQ(1u, boxes_.shown.size());
  EXPECT_EQ("Erreur d'initialisation BASS\n\nBASS error code: 23\nBASS_ERROR_DEVICE",
            boxes_.shown[0].text);
  EXPECT_EQ("Error", boxes_.shown[0].title);
  EXPECT_THAT(log_.Take(), Not(Contains("DispMix")));
  EXPECT_THAT(bass_.Calls<FakeBass::FontInit>(), IsEmpty());
}

TEST_F(StartUpTest, AMissingSkinStopsTheProgram) {
  windows_.has_skin = false;
  EXPECT_FALSE(Run());
  EXPECT_THAT(log_.Take(), ElementsAre("LoadLanguage", "BuildSkin"));
}

// ---- The bank

TEST_F(StartUpTest, TheBankArrivesWhileTheWindowIsThere) {
  EXPECT_TRUE(Run());
  EXPECT_EQ(0u, state_.audio.font);
  ASSERT_TRUE(posted_.RunNext());
  EXPECT_NE(0u, state_.audio.font);
  EXPECT_EQ(folder_ / "Orvanel.SF2", state_.audio.font_path);
}

TEST_F(StartUpTest, AMissingBankIsAskedFor) {
  ini_.WriteIni("SF2", "Base", folder_ / "gone.sf2");
  EXPECT_TRUE(Run());
  const std::vector<std::string> entries = log_.Take();
  EXPECT_THAT(entries, Contains("ChooseBank"));
  EXPECT_FALSE(loader_.loading());
}

TEST_F(StartUpTest, AFileThatIsNoBankIsAskedForAsWell) {
  bass_.Fail("BASS_MIDI_FontInit", bass::BASS_ERROR_FILEFORM);
  EXPECT_TRUE(Run());
  EXPECT_THAT(log_.Take(), Not(Contains("ChooseBank")));
  ASSERT_TRUE(posted_.RunNext());
  EXPECT_THAT(log_.Take(), ElementsAre("ChooseBank"));
  EXPECT_TRUE(boxes_.shown.empty());
}

TEST_F(StartUpTest, TheSpeedIsTheSongsOwnAndTheLevelsAreSent) {
  state_.audio.speed_factor = 2.0;
  EXPECT_TRUE(Run());
  EXPECT_EQ(1.0, state_.audio.speed_factor);
  EXPECT_EQ(16, bass_.CallCount("BASS_MIDI_StreamEvent"));
}

// ---- Songs

TEST_F(StartUpTest, WithoutASongNothingPlays) {
  EXPECT_TRUE(Run());
  ASSERT_TRUE(posted_.RunNext());
  EXPECT_THAT(log_.Take(), Not(Contains("Action_Play")));
  EXPECT_EQ(0, state_.playlist.current());
}

TEST_F(StartUpTest, TheLastOfSeveralSongsPlaysOnceTheBankIsThere) {
  EXPECT_TRUE(Run("\"/s/one.mid\" \"/s/two three.kar\""));
  EXPECT_EQ(2, state_.playlist.count());
  EXPECT_EQ(2, state_.playlist.current());
  EXPECT_EQ(2, state_.playlist.playing());
  EXPECT_THAT(TakeAfter("AfficherMarqueurs"),
              ElementsAre("RestoreLastList", "ShowTitle /s/two three.kar", "ProcessMessages"));
  ASSERT_TRUE(posted_.RunNext());
  EXPECT_EQ("Action_Play", log_.Take().back());
}

TEST_F(StartUpTest, TheListThatComesBackIsNotPlayed) {
  windows_.on_restore = [this] { state_.playlist.AjouteFichierPlayList("/s/last.mid"); };
  EXPECT_TRUE(Run());
  EXPECT_EQ(1, state_.playlist.count());
  EXPECT_EQ(0, state_.playlist.current());
  ASSERT_TRUE(posted_.RunNext());
  EXPECT_THAT(log_.Take(), Not(Contains("Action_Play")));
}

TEST_F(StartUpTest, TheCommandLinesSongPlaysThoughTheListComesBackBehindIt) {
  windows_.on_restore = [this] { state_.playlist.AjouteFichierPlayList("/s/last.mid"); };
  EXPECT_TRUE(Run("/s/one.mid"));
  EXPECT_EQ(2, state_.playlist.count());
  EXPECT_EQ(1, state_.playlist.current());
  ASSERT_TRUE(posted_.RunNext());
  EXPECT_EQ("Action_Play", log_.Take().back());
}

TEST_F(StartUpTest, PathsWithoutBlanksNeedNoQuotes) {
  EXPECT_TRUE(Run("/s/one.mid /s/two.mid"));
  EXPECT_THAT(state_.playlist.paths(), ElementsAre("/s/one.mid", "/s/two.mid"));
}

TEST_F(StartUpTest, AQuotedPathBeforeAnUnquotedOneIsOnePiece) {
  EXPECT_TRUE(Run("\"/s/one.mid\" /s/two.mid"));
  EXPECT_EQ(1, state_.playlist.count());
}

TEST_F(StartUpTest, ASongIsPlayedEvenWhereThereIsNoBank) {
  bass_.Fail("BASS_MIDI_FontInit", bass::BASS_ERROR_FILEFORM);
  EXPECT_TRUE(Run("/s/one.mid"));
  ASSERT_TRUE(posted_.RunNext());
  EXPECT_THAT(TakeAfter("ProcessMessages"), ElementsAre("ChooseBank", "Action_Play"));
}

TEST_F(StartUpTest, AWindowThatIsClosedWhileItStartsPlaysNothing) {
  windows_.on_messages = [&] { state_.quitting = true; };
  EXPECT_TRUE(Run("/s/one.mid"));
  ASSERT_TRUE(posted_.RunNext());
  EXPECT_THAT(log_.Take(), Not(Contains("Action_Play")));
}

}  // namespace
}  // namespace vexolo
