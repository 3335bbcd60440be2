#include "app/other_window.h"

#include <cstdint>
#include <memory>
#include <utility>

#include "about/about_dialog.h"
#include "about/system_info.h"
#include "about/system_info_dialog.h"
#include "app/conversion_window.h"
#include "app/main_window.h"
#include "app/program_facts.h"
#include "app/song_facts_reader.h"
#include "lyrics/lyric_window.h"
#include "mixer/options_dialog.h"
#include "mixer/reglage_window.h"
#include "mixer/reverb_window.h"
#include "playlist/play_list_window.h"

namespace vexolo {
namespace {

OptionsSubjects SubjectsOf(Program& program) {
  return {program.env.program_folder, program.state.language_file, program.state.mix,
          program.state.audio, program.api};
}

/// Where sound goes, as far as the library tells.
std::string SoundOutput(frmMidiTest& main) {
  const AudioLibrary& library = main.program().env.library;
  if (library.OutputIsSilent()) return main.context().Section("SysInfo").Text("None");
  return library.OutputName();
}

PluggedOptions MakeOptions(frmMidiTest& main) {
  const OptionsSubjects subjects = SubjectsOf(main.program());
  const OptionsActions actions = {
      [&main] { main.LoadLanguage(); }, [&main] { main.AutoMuteSwitched(); },
      [&main] { main.Action_ChangeSF(); }, [&main] { main.Action_About(); }};
  auto dialog = std::make_shared<OptionsDlg>(main.context(), subjects, actions, &main);
  OptionsDlg& options = *dialog;
  PluggedOptions plugged;
  plugged.dialog = std::move(dialog);
  plugged.open = [&options, &main] {
    options.SetSoundOutput(SoundOutput(main));
    options.Open();
  };
  // There is nothing yet but the settings: no window to rename, no output to load a bank for.
  plugged.run_first_start = [&main] {
    OptionsDlg(main.context(), SubjectsOf(main.program()), {}).RunFirstStart();
  };
  plugged.run_bank_choice = [&options] { options.RunBankChoice(); };
  plugged.load_language = [&options] { options.LoadLanguage(); };
  plugged.show_bank_info = [&options](const std::string& text) { options.SetBankInfo(text); };
  plugged.show_bank_loading = [&options](bool loading, const std::string& notice) {
    options.SetBankLoading(loading, notice);
  };
  plugged.enable = [&options](bool enabled) { options.setEnabled(enabled); };
  return plugged;
}

PluggedCompanion MakeLyrics(frmMidiTest& main) {
  Program& program = main.program();
  LyricWindowParts parts{
      .api = program.api,
      .audio = program.state.audio,
      .model = program.state.lyrics,
      .store_code_page = [&program](std::int16_t page) { program.settings.SaveCodePage(page); },
      .is_converting = [&program] { return program.state.converting; }};
  auto window = std::make_unique<OGLWin>(main.context(), &main, std::move(parts));
  PluggedCompanion plugged;
  plugged.lyrics = &window->scene();
  plugged.window = std::move(window);
  return plugged;
}

/// The about box and what its button opens.
class AboutWindows {
 public:
  explicit AboutWindows(frmMidiTest& main)
      : program_(main.program()),
        about_(
            main.context(), [this] { ShowSystem(); }, &main),
        system_info_(main.context(), &main) {}

  void Open() { about_.Open(); }
  void LoadLanguage() {
    about_.LoadLanguage();
    system_info_.LoadLanguage();
  }

 private:
  void ShowSystem() {
    const ProgramEnvironment& env = program_.env;
    if (env.registry != nullptr) return StartSysInfo(*env.registry, env.start_program, env.boxes);
    SystemInfo info = GatherFacts(program_);
    info.toolkit = ToolkitVersion();
    info.open_gl = DescribeOpenGl();
    system_info_.Open(info);
  }

  Program& program_;
  About about_;
  SystemInfoDialog system_info_;
};

PluggedCompanion MakePlayList(frmMidiTest& main) {
  const PlayListActions actions = {[&main](int place) { main.Action_PlaySelected(place); },
                                   [&main] { main.Action_Repeat(); }};
  auto window = std::make_unique<PlayList>(main.context(), &main, main.program().state.playlist,
                                           ReadFactsOfSong, actions);
  PlayList& list = *window;
  PluggedCompanion plugged;
  plugged.window = std::move(window);
  plugged.draw_repeat = [&list](int mode) { list.DrawRepeat(mode); };
  plugged.add_dropped = [&list](std::vector<std::string> paths, std::function<void(int)> added) {
    list.AddDropped(std::move(paths), std::move(added));
  };
  plugged.restore_last_list = [&list] { list.RestoreLastList(); };
  return plugged;
}

PluggedAbout MakeAbout(frmMidiTest& main) {
  const auto windows = std::make_shared<AboutWindows>(main);
  AboutWindows& about = *windows;
  return {windows, [&about] { about.Open(); }, [&about] { about.LoadLanguage(); }};
}

PluggedCompanion MakeReglage(frmMidiTest& main) {
  Program& program = main.program();
  auto window = std::make_unique<Reglage>(main.context(), &main, program.controllers,
                                          program.state.mix, program.state.audio);
  Reglage& reglage = *window;
  PluggedCompanion plugged;
  plugged.window = std::move(window);
  plugged.refresh_channels = [&reglage] { reglage.Refresh(); };
  plugged.mix_drawn = [&reglage] { reglage.Refresh(); };
  plugged.presets_changed = [&reglage] { reglage.RefreshNames(); };
  return plugged;
}

PluggedCompanion MakeReverb(frmMidiTest& main) {
  Program& program = main.program();
  auto window =
      std::make_unique<Reverb>(main.context(), &main, program.reverb_chorus, program.state.mix);
  Reverb& reverb = *window;
  PluggedCompanion plugged;
  plugged.window = std::move(window);
  plugged.refresh_channels = [&reverb] { reverb.Refresh(); };
  plugged.mix_drawn = [&reverb] { reverb.Refresh(); };
  return plugged;
}

PluggedConversion MakeConversion(frmMidiTest& main) {
  const auto windows = std::make_shared<ConversionWindows>(main);
  return {[windows] { windows->Action_Record(); }, [windows] { windows->TimerEncodage_Timer(); },
          [windows] { windows->LoadLanguage(); }, [windows] { windows->Unload(); }};
}

}  // namespace

OtherWindows ProgramWindows() {
  OtherWindows windows;
  windows.companions[static_cast<std::size_t>(Companion::kReglage)] = MakeReglage;
  windows.companions[static_cast<std::size_t>(Companion::kReverb)] = MakeReverb;
  windows.companions[static_cast<std::size_t>(Companion::kLyrics)] = MakeLyrics;
  windows.companions[static_cast<std::size_t>(Companion::kPlayList)] = MakePlayList;
  windows.options = MakeOptions;
  windows.about = MakeAbout;
  windows.conversion = MakeConversion;
  return windows;
}

}  // namespace vexolo
