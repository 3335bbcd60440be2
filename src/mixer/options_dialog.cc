#include "mixer/options_dialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTabWidget>
#include <QVBoxLayout>

#include "mixer/sound_font_info.h"
#include "widgets/program_icon.h"

namespace vexolo {
namespace {

constexpr const char* kProgram = "Vexolo";
constexpr int kTextWidth = 400;  // pixels; longer explanations go on in the next line
constexpr int kMargin = 16;
constexpr int kIconSize = 48;

/// Texts hold names from files and are never taken for markup.
QLabel* MakeText(const char* name, bool wraps) {
  auto* label = new QLabel;
  label->setObjectName(name);
  label->setTextFormat(Qt::PlainText);
  label->setWordWrap(wraps);
  if (wraps) label->setMinimumWidth(kTextWidth);
  return label;
}

QVBoxLayout* MakeColumn(QWidget* widget) {
  auto* column = new QVBoxLayout(widget);
  column->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
  column->setSpacing(10);
  return column;
}

QString WithoutMark(QString caption) { return caption.remove('&'); }

}  // namespace

OptionsDlg::OptionsDlg(const WindowContext& context, const OptionsSubjects& subjects,
                       const OptionsActions& actions, QWidget* parent)
    : QDialog(parent), context_(context), subjects_(subjects), actions_(actions) {
  setObjectName("OptionsDlg");
  tabs_ = new QTabWidget;
  tabs_->addTab(MakeLanguageTab(), {});
  tabs_->addTab(MakeSoundTab(), {});
  tabs_->addTab(MakeBankTab(), {});
  tabs_->addTab(MakeAboutTab(), {});
  close_ = new QPushButton;
  close_->setObjectName("Close");
  close_->setDefault(true);
  auto* buttons = new QHBoxLayout;
  buttons->addStretch();
  buttons->addWidget(close_);
  auto* column = new QVBoxLayout(this);
  column->addWidget(tabs_);
  column->addLayout(buttons);
  ConnectControls();
  LoadLanguage();
  Form_Load();
}

QWidget* OptionsDlg::MakeLanguageTab() {
  auto* tab = new QWidget;
  welcome_ = MakeText("Welcome", true);
  QFont bold = font();
  bold.setBold(true);
  welcome_->setFont(bold);
  welcome_->hide();
  language_caption_ = new QLabel;
  ComboLng = new QComboBox;
  ComboLng->setObjectName("ComboLng");
  ComboLng->setSizeAdjustPolicy(QComboBox::AdjustToContents);
  ComboLng->setMinimumWidth(200);
  language_caption_->setBuddy(ComboLng);
  language_info_ = MakeText("LanguageInfo", true);
  QVBoxLayout* column = MakeColumn(tab);
  column->addWidget(welcome_);
  column->addWidget(language_caption_);
  column->addWidget(ComboLng, 0, Qt::AlignLeft);
  column->addWidget(language_info_);
  column->addStretch();
  return tab;
}

QWidget* OptionsDlg::MakeSoundTab() {
  auto* tab = new QWidget;
  chkAutoMute = new QCheckBox;
  chkAutoMute->setObjectName("chkAutoMute");
  auto_mute_info_ = MakeText("AutoMuteInfo", true);
  sound_output_label_ = MakeText("SoundOutput", true);
  QVBoxLayout* column = MakeColumn(tab);
  column->addWidget(chkAutoMute);
  column->addWidget(auto_mute_info_);
  column->addSpacing(kMargin);
  column->addWidget(sound_output_label_);
  column->addStretch();
  return tab;
}

QWidget* OptionsDlg::MakeBankTab() {
  auto* tab = new QWidget;
  choose_bank_ = MakeText("ChooseBank", true);
  bank_box_ = new QGroupBox;
  bank_info_ = MakeText("BankInfo", true);
  bank_version_ = MakeText("SfVersion", true);
  bank_notice_ = MakeText("BankNotice", true);
  bank_progress_ = new QProgressBar;
  bank_progress_->setRange(0, 0);
  bank_progress_->setTextVisible(false);
  SfInfo = new QPushButton;
  SfInfo->setObjectName("SfInfo");
  btnReplace = new QPushButton;
  btnReplace->setObjectName("btnReplace");
  auto* facts = new QVBoxLayout(bank_box_);
  facts->addWidget(bank_info_);
  facts->addWidget(bank_version_);
  facts->addWidget(bank_notice_);
  facts->addWidget(bank_progress_);
  auto* buttons = new QHBoxLayout;
  buttons->addWidget(SfInfo);
  buttons->addWidget(btnReplace);
  buttons->addStretch();
  QVBoxLayout* column = MakeColumn(tab);
  column->addWidget(choose_bank_);
  column->addWidget(bank_box_);
  column->addLayout(buttons);
  column->addStretch();
  return tab;
}

QWidget* OptionsDlg::MakeAboutTab() {
  auto* tab = new QWidget;
  auto* name = MakeText("ProgramName", false);
  QFont large = font();
  large.setPointSizeF(large.pointSizeF() * 1.8);
  name->setFont(large);
  name->setText(kProgram);
  program_ = MakeText("Program", false);
  about_ = new QPushButton;
  about_->setObjectName("About");
  auto* picture = new QLabel;
  picture->setPixmap(ProgramIcon().pixmap(QSize(kIconSize, kIconSize), devicePixelRatio()));
  auto* titles = new QVBoxLayout;
  titles->addWidget(name);
  titles->addWidget(program_);
  auto* head = new QHBoxLayout;
  head->setSpacing(kMargin);
  head->addWidget(picture);
  head->addLayout(titles, 1);
  QVBoxLayout* column = MakeColumn(tab);
  column->addLayout(head);
  column->addWidget(about_, 0, Qt::AlignLeft);
  column->addStretch();
  return tab;
}

void OptionsDlg::ConnectControls() {
  connect(ComboLng, &QComboBox::activated, this, [this](int index) { ComboLng_Click(index); });
  connect(chkAutoMute, &QCheckBox::clicked, this, [this] { chkAutoMute_Click(); });
  connect(SfInfo, &QPushButton::clicked, this, [this] { SfInfo_Click(); });
  connect(btnReplace, &QPushButton::clicked, this, [this] { btnReplace_Click(); });
  connect(about_, &QPushButton::clicked, this, [this] { actions_.open_about(); });
  connect(close_, &QPushButton::clicked, this, &QDialog::accept);
}

void OptionsDlg::LoadLanguage() {
  const LanguageSection texts = context_.Section("Options");
  const auto text = [&](const char* key) { return Q(texts.Message(key)); };
  setWindowTitle(text("Caption"));
  for (int tab = 0; tab < tabs_->count(); ++tab) {
    tabs_->setTabText(tab, Q(texts.Text("Onglet", tab)));
  }
  welcome_->setText(text("Welcome"));
  language_caption_->setText(text("Langue"));
  language_info_->setText(text("LanguageInfo"));
  chkAutoMute->setText(text("chkAutoMute"));
  auto_mute_info_->setText(text("AutoMuteInfo"));
  choose_bank_->setText(text("ChooseBank"));
  bank_box_->setTitle(text("Bank"));
  SfInfo->setText(text("SfInfo"));
  btnReplace->setText(text("Replace"));
  about_->setText(text("About"));
  close_->setText(text("Close"));
  program_->setText(Q(context_.Section("About").Message(
      "Version", {std::to_string(VEXOLO_VERSION_MAJOR), std::to_string(VEXOLO_VERSION_MINOR),
                  std::to_string(VEXOLO_VERSION_REVISION)})));

  ComboLng->setToolTip(language_info_->text());
  ComboLng->setAccessibleName(WithoutMark(language_caption_->text()));
  chkAutoMute->setToolTip(auto_mute_info_->text());
  chkAutoMute->setAccessibleDescription(auto_mute_info_->text());
  SfInfo->setToolTip(WithoutMark(SfInfo->text()));
  btnReplace->setToolTip(choose_bank_->text());
  about_->setToolTip(WithoutMark(about_->text()));
  close_->setToolTip(WithoutMark(close_->text()));
  version_of_.reset();
  ShowBankVersion();
  ShowSoundOutput();
}

void OptionsDlg::Form_Load() {
  languages_ =
      ListLanguagesToChoose(context_.ini, subjects_.program_folder, context_.language_file);
  ComboLng->clear();
  for (const LanguageEntry& language : languages_.entries) ComboLng->addItem(Q(language.name));
  ComboLng->setCurrentIndex(languages_.selected);
  chkAutoMute->setChecked(subjects_.mix.AutoMute);
  welcome_->setVisible(is_first_start_);
  ShowBankVersion();
  UpdateButtons();
}

void OptionsDlg::Open(OptionsTab tab) {
  if (!isVisible()) Form_Load();
  tabs_->setCurrentIndex(tab);
  show();
  raise();
  activateWindow();
}

void OptionsDlg::RunFirstStart() {
  is_first_start_ = true;
  RunModally(kLanguageTab);
  is_first_start_ = false;
}

void OptionsDlg::RunBankChoice() { RunModally(kSoundFontTab); }

void OptionsDlg::RunModally(OptionsTab tab) {
  Form_Load();
  tabs_->setCurrentIndex(tab);
  (tab == kSoundFontTab ? static_cast<QWidget*>(btnReplace) : ComboLng)->setFocus();
  exec();
}

void OptionsDlg::done(int result) {
  // On the first start what the list shows is not kept yet.
  if (is_first_start_ && result == Accepted) ComboLng_Click(ComboLng->currentIndex());
  QDialog::done(result);
}

void OptionsDlg::ComboLng_Click(int index) {
  if (!SwitchLanguage(context_.ini, languages_, index, subjects_.language_file)) return;
  LoadLanguage();
  if (actions_.language_switched) actions_.language_switched();
}

void OptionsDlg::chkAutoMute_Click() {
  SwitchAutoMute(context_.ini, subjects_.mix, chkAutoMute->isChecked());
  if (actions_.auto_mute_switched) actions_.auto_mute_switched();
}

void OptionsDlg::btnReplace_Click() { actions_.replace_bank(); }

void OptionsDlg::SfInfo_Click() {
  ShowSoundFontInfo(subjects_.api, subjects_.audio, context_.boxes,
                    bank_box_->title().toStdString());
}

void OptionsDlg::SetBankInfo(const std::string& text) {
  bank_info_->setText(Q(text));
  ShowBankVersion();
}

void OptionsDlg::SetSoundOutput(const std::string& name) {
  sound_output_ = name;
  ShowSoundOutput();
}

void OptionsDlg::ShowSoundOutput() {
  sound_output_label_->setText(
      Q(context_.Section("Options").Message("SoundOutput", {sound_output_})));
  sound_output_label_->setVisible(!sound_output_.empty());
}

void OptionsDlg::SetBankLoading(bool loading, const std::string& notice) {
  is_loading_bank_ = loading;
  bank_notice_->setText(Q(notice));
  UpdateButtons();
}

/// The file is looked into once for each bank, not at each tick that tells of the bank.
void OptionsDlg::ShowBankVersion() {
  choose_bank_->setVisible(subjects_.audio.font == 0);
  const std::string& bank = subjects_.audio.font_path;
  if (bank == version_of_) return;
  version_of_ = bank;
  const SoundFontInfo info = ReadSoundFontInfo(bank);
  const std::string version = std::to_string(info.major) + "." + std::to_string(info.minor);
  bank_version_->setText(Q(context_.Section("Options").Message("SfVersion", {version})));
  bank_version_->setVisible(info.major != 0);
}

void OptionsDlg::UpdateButtons() {
  btnReplace->setEnabled(actions_.replace_bank && !is_loading_bank_);
  about_->setEnabled(static_cast<bool>(actions_.open_about));
  bank_notice_->setVisible(is_loading_bank_);
  bank_progress_->setVisible(is_loading_bank_);
}

}  // namespace vexolo
