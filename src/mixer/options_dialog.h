/// The options dialog: language, sound, SoundFont, and the way to the about box.
#pragma once

#include <QDialog>
#include <functional>
#include <optional>
#include <string>

#include "audio/audio_state.h"
#include "audio/bass.h"
#include "mixer/mix_state.h"
#include "mixer/options.h"
#include "widgets/window_context.h"

class QCheckBox;
class QComboBox;
class QGroupBox;
class QLabel;
class QProgressBar;
class QPushButton;
class QTabWidget;

namespace vexolo {

/// What the options dialog works on. All of it outlives the dialog.
struct OptionsSubjects {
  std::string program_folder;  ///< where the language files are
  std::string& language_file;  ///< in use; the same that the window context refers to
  MixState& mix;
  const AudioState& audio;
  const bass::Api& api;
};

/// What the dialog asks of the program. A button whose function is empty cannot be pressed.
struct OptionsActions {
  std::function<void()> language_switched;   ///< every open window loads its captions anew
  std::function<void()> auto_mute_switched;  ///< levels are sent, the strips are drawn
  std::function<void()> replace_bank;        ///< the user chooses another bank
  std::function<void()> open_about;
};

/// Window thread only.
class OptionsDlg : public QDialog {
 public:
  OptionsDlg(const WindowContext& context, const OptionsSubjects& subjects,
             const OptionsActions& actions, QWidget* parent = nullptr);

  /// Captions from section "Options" of the language file in use.
  void LoadLanguage();

  /// Lists the languages and shows the options as they are. Done by the functions below too.
  void Form_Load();

  /// Shows the dialog beside its parent, or brings it to the front, without waiting.
  void Open(OptionsTab tab = kLanguageTab);

  /// The very first start: returns when the user has closed the dialog. The language that is
  /// selected counts as chosen when the user closes it with its button.
  void RunFirstStart();

  /// No bank was found: returns when the user has closed the dialog.
  void RunBankChoice();

  // What the program tells the dialog.

  /// What is told of the bank in use; every tick of the main timer may bring it.
  void SetBankInfo(const std::string& text);
  /// Where sound goes; nothing is shown of an empty text.
  void SetSoundOutput(const std::string& name);
  /// While a bank is being loaded: a notice in place of the button's function.
  void SetBankLoading(bool loading, const std::string& notice);

 private:
  void ComboLng_Click(int index);
  void chkAutoMute_Click();
  void btnReplace_Click();
  void SfInfo_Click();

  QWidget* MakeLanguageTab();
  QWidget* MakeSoundTab();
  QWidget* MakeBankTab();
  QWidget* MakeAboutTab();
  void ConnectControls();
  void RunModally(OptionsTab tab);
  void ShowSoundOutput();
  void ShowBankVersion();
  void UpdateButtons();
  void done(int result) override;

  WindowContext context_;
  OptionsSubjects subjects_;
  OptionsActions actions_;
  LanguageList languages_;
  bool is_first_start_ = false;
  bool is_loading_bank_ = false;
  std::string sound_output_;
  std::optional<std::string> version_of_;  ///< the bank whose version is shown

  QTabWidget* tabs_;
  QLabel* welcome_;
  QLabel* language_caption_;
  QComboBox* ComboLng;
  QLabel* language_info_;
  QCheckBox* chkAutoMute;
  QLabel* auto_mute_info_;
  QLabel* sound_output_label_;
  QLabel* choose_bank_;
  QGroupBox* bank_box_;
  QLabel* bank_info_;
  QLabel* bank_version_;
  QProgressBar* bank_progress_;
  QLabel* bank_notice_;
  QPushButton* SfInfo;
  QPushButton* btnReplace;
  QLabel* program_;
  QPushButton* about_;
  QPushButton* close_;
};

}  // namespace vexolo
