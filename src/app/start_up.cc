#include "app/start_up.h"

#include <filesystem>
#include <system_error>

#include "app/command_line_songs.h"
#include "audio/error_report.h"
#include "convert/conversion_settings.h"
#include "mixer/channel_strips.h"
#include "mixer/knobs.h"
#include "platform/paths.h"
#include "settings/language.h"

namespace vexolo {
namespace {

// Where it cannot be entered the program still runs: it uses full paths.
void MakeFolderCurrent(const std::string& folder) {
  std::error_code error;
  std::filesystem::current_path(ToNativePath(folder), error);
}

}  // namespace

bool StartUp::Run() {
  StartUpWindows& windows = parts_.windows;
  MakeFolderCurrent(parts_.program_folder);
  if (!ReadLanguageAndOptions()) return false;
  windows.LoadLanguage();
  if (!windows.BuildSkin()) return false;
  LoadMixer();
  windows.RestorePlace();
  CreateCompanions();
  // From here on the user sees and uses the window; a bank takes its time beside it.
  parts_.state.main_window = windows.ShowMainWindow();
  ShowCompanionsAgain();
  if (!StartAudio()) return false;
  LoadBankAtStart();
  TakeCommandLine();
  PlayLastSong();
  return true;
}

bool StartUp::ReadLanguageAndOptions() {
  modMidiTest& state = parts_.state;
  const auto choice = ChooseLanguage(parts_.ini, parts_.program_folder, parts_.boxes);
  if (!choice) return false;
  state.language_file = choice->language_file;
  state.mix.AutoMute = choice->auto_mute;
  state.conversion.folder = choice->save_folder;
  state.conversion.scheme = choice->save_scheme;
  if (!choice->first_run) return true;
  parts_.windows.ChooseFirstLanguage();
  if (!parts_.ini.ReadIni("Vexolo", "Lng", state.language_file).empty()) return true;
  parts_.boxes.Show("Missing " + state.language_file, "Error", BoxIcon::kCritical);
  return false;
}

// No song is loaded yet: all of it gives the defaults.
void StartUp::LoadMixer() {
  MixState& mix = parts_.state.mix;
  parts_.settings.LoadVolume(mix);
  parts_.settings.LoadGain(mix);
  parts_.settings.LoadTempo(mix);
  parts_.settings.LoadTranspose(mix);
  parts_.windows.DrawKnobs();
  ApplyLevels(parts_.api, parts_.state.audio.font, mix.Gain);
  parts_.windows.DispSoloMute();
}

void StartUp::CreateCompanions() {
  for (const CompanionInfo& info : kCompanions) parts_.windows.CreateCompanion(info.companion);
  parts_.windows.BougeFilles();
}

void StartUp::ShowCompanionsAgain() {
  for (const CompanionInfo& info : kCompanions) parts_.windows.ShowCompanionAgain(info.companion);
}

bool StartUp::StartAudio() {
  if (!CheckAudioVersion(parts_.api, parts_.boxes)) return false;
  if (!parts_.binding.Initialise(parts_.state.main_window, parts_.device)) return false;
  ReadOptions();
  return true;
}

void StartUp::ReadOptions() {
  modMidiTest& state = parts_.state;
  state.conversion = LoadConversionSettings(parts_.ini);
  state.folders.banks = parts_.ini.ReadIni("SF2", "Path");
  state.folders.songs = parts_.ini.ReadIni("Mid", "Path");
  state.folders.lists = parts_.ini.ReadIni("Lst", "Path");
}

void StartUp::LoadBankAtStart() {
  modMidiTest& state = parts_.state;
  const BankAtStart bank = FindBankAtStart(parts_.ini, parts_.program_folder);
  if (bank.user_chooses) {
    parts_.windows.ChooseBank();
  } else {
    parts_.bank_loader.Load(bank.path, KeepBank::kInSettings,
                            [this](bool loaded) { BankIsThere(loaded); });
  }
  state.audio.speed_factor = 1.0;
  parts_.windows.DispMix();
  ApplyVolume(parts_.api, state.audio.stream, state.mix);
  parts_.windows.AfficherMarqueurs();
}

// A file that is there but is no bank helps as little as a missing one.
void StartUp::BankIsThere(bool loaded) {
  if (loaded) parts_.state.folders.banks = FolderOf(parts_.state.audio.font_path);
  if (!loaded && parts_.state.audio.font == 0) parts_.windows.ChooseBank();
}

void StartUp::TakeCommandLine() {
  for (const std::string& song : SongsOfCommandLine(parts_.command_line)) {
    parts_.state.playlist.AjouteFichierPlayList(song);
  }
}

void StartUp::PlayLastSong() {
  PlayListModel& playlist = parts_.state.playlist;
  if (playlist.count() > 0 && playlist.current() < playlist.count()) {
    playlist.PlayListSelect(playlist.count());
  }
  parts_.windows.RestoreLastList();
  parts_.windows.ShowTitle(playlist.Path(playlist.current()));
  parts_.windows.ProcessMessages();
  if (parts_.state.quitting || playlist.current() < 1) return;
  parts_.bank_loader.WhenReady([this] { parts_.windows.Action_Play(); });
}

void StartUp::ShutDown() {
  StartUpWindows& windows = parts_.windows;
  windows.StopTimers();
  parts_.bank_loader.GiveUp();
  parts_.binding.Shutdown();
  parts_.state.quitting = true;
  {
    const IniGroup group(parts_.ini);
    for (const CompanionInfo& info : kCompanions) windows.UnloadCompanion(info.companion);
  }
  windows.UnloadDialogs();
  windows.UnhookWindows();
  windows.ReleaseSkin();
}

}  // namespace vexolo
