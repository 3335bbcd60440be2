/// The conversion dialog.
#pragma once

#include <QDialog>
#include <QTimer>
#include <array>

#include "convert/conversion_form.h"
#include "widgets/window_context.h"

class QCheckBox;
class QComboBox;
class QGroupBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;

namespace vexolo {

class ElidedLabel;

/// Shows a form, writes into it what the user does, and closes with its answer in it. Made for one
/// opening. Window thread only.
class Tags : public QDialog {
 public:
  static constexpr int kTimerInterval = 100;  ///< of `Timer1`, milliseconds

  /// `form` must outlive the dialog. `confirms_itself`: the whole list is being converted, and the
  /// timer confirms for the user.
  Tags(const WindowContext& context, ConversionForm& form, bool confirms_itself,
       QWidget* parent = nullptr);
  ~Tags() override;

  /// Fills `ComboGenre`.
  void InitGenres();
  /// Takes all captions from the language file in use.
  void LoadLanguage();

  void done(int result) override;

 protected:
  void showEvent(QShowEvent* event) override;

 private:
  QWidget* MakeRecordingFrame();
  QLayout* MakeFormatRow();
  QLayout* MakeFolderRow();
  QWidget* MakeTagsFrame();
  QWidget* MakeLyricsFrame();
  QLayout* MakeButtons();
  QLineEdit* MakeBox(const char* name, std::string ConversionBoxes::*value);
  QLabel* LabelOf(QWidget* control);
  void SetTabOrder();
  void AlignBoxes();
  void Form_Load();
  void ConnectControls();

  void Changed();
  void RecFolder_Validate();
  void Browse_Click();
  void Timer1_Timer();
  void Confirm(bool convert_all);

  const WindowContext context_;
  ConversionForm& form_;
  const bool confirms_itself_;
  QTimer Timer1;

  QGroupBox* FrameRec;
  QRadioButton* OptionWav;
  QRadioButton* OptionMP3;
  QRadioButton* OptionOgg;
  QLabel* uncompressed_;
  QLabel* compressed_;
  QLabel* kbps_label_;
  QComboBox* ComboKbps;
  QLabel* folder_label_;
  QLineEdit* RecFolder;
  QPushButton* browse_;
  QLabel* scheme_label_;
  QLineEdit* scheme_;
  QLabel* NotaBene;
  ElidedLabel* preview_;

  QGroupBox* FrameTags;
  std::array<QLabel*, 7> tag_labels_{};
  QLineEdit* TextArtiste;
  QLineEdit* TextTitre;
  QLineEdit* TextAlbum;
  QLineEdit* year_;
  QLineEdit* TextPiste;
  QComboBox* ComboGenre;
  QLineEdit* TextCommentaire;

  QGroupBox* FrameKok;
  QCheckBox* CheckKOK;
  QLabel* line_length_label_;
  QLineEdit* LyricsMax;

  QLabel* confirm_all_;
  QPushButton* all_;
  QPushButton* validation_;
  QPushButton* abandon_;
};

}  // namespace vexolo
