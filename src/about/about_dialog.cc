#include "about/about_dialog.h"

#include <QApplication>
#include <QCheckBox>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "about/about_texts.h"
#include "widgets/program_icon.h"

namespace vexolo {
namespace {

constexpr const char* kSection = "About";
constexpr int kTextWidth = 500;  // pixels
constexpr int kIconSize = 64;

QLabel* MakeText(const char* name) {
  auto* label = new QLabel;
  label->setObjectName(name);
  label->setTextFormat(Qt::PlainText);
  label->setWordWrap(true);
  label->setMinimumWidth(kTextWidth);
  return label;
}

/// A frame with a title around one text.
QGroupBox* MakeBox(QLabel* text) {
  auto* box = new QGroupBox;
  auto* column = new QVBoxLayout(box);
  column->addWidget(text);
  return box;
}

}  // namespace

About::About(const WindowContext& context, std::function<void()> start_sys_info, QWidget* parent)
    : QDialog(parent), context_(context) {
  setObjectName(kSection);
  credits_ = MakeText("CopyrightInfo");
  credits_box_ = MakeBox(credits_);
  disclaimer_ = MakeText("DisclaimerText");
  disclaimer_box_ = MakeBox(disclaimer_);
  auto* column = new QVBoxLayout(this);
  column->setSpacing(12);
  column->addWidget(MakeHead());
  column->addWidget(credits_box_);
  column->addWidget(disclaimer_box_);
  column->addWidget(MakeButtons());
  column->setSizeConstraint(QLayout::SetFixedSize);
  connect(cmdSysInfo, &QPushButton::clicked, this,
          [start = std::move(start_sys_info)] { start(); });
  connect(cmdOK, &QPushButton::clicked, this, &QDialog::accept);
  LoadLanguage();
}

About::~About() {
  if (isVisible()) StoreAtOpen();
}

QWidget* About::MakeHead() {
  auto* head = new QWidget;
  auto* row = new QHBoxLayout(head);
  row->setContentsMargins(0, 0, 0, 0);
  row->setSpacing(16);
  auto* picture = new QLabel;
  picture->setPixmap(ProgramIcon().pixmap(QSize(kIconSize, kIconSize), devicePixelRatio()));
  row->addWidget(picture, 0, Qt::AlignTop);
  auto* name = new QLabel("Vexolo");
  QFont large = font();
  large.setPointSizeF(large.pointSizeF() * 2);
  name->setFont(large);
  version_ = MakeText("Version");
  description_ = MakeText("Description");
  copyright_ = MakeText("Copyright");
  auto* column = new QVBoxLayout;
  column->setSpacing(8);
  for (QLabel* label : {name, version_, description_, copyright_}) column->addWidget(label);
  row->addLayout(column, 1);
  return head;
}

QWidget* About::MakeButtons() {
  auto* buttons = new QWidget;
  chkOK = new QCheckBox;
  chkOK->setObjectName("chkOK");
  cmdSysInfo = new QPushButton;
  cmdSysInfo->setObjectName("cmdSysInfo");
  cmdSysInfo->setAutoDefault(false);
  cmdOK = new QPushButton;
  cmdOK->setObjectName("cmdOK");
  cmdOK->setDefault(true);
  auto* row = new QHBoxLayout(buttons);
  row->setContentsMargins(0, 0, 0, 0);
  row->addWidget(chkOK);
  row->addStretch();
  row->addWidget(cmdSysInfo);
  row->addWidget(cmdOK);
  return buttons;
}

void About::LoadLanguage() {
  const LanguageSection texts = context_.Section(kSection);
  const auto text = [&](const char* key) { return Q(texts.Message(key)); };
  setWindowTitle(text("Caption"));
  version_->setText(Q(VersionText(texts)));
  description_->setText(text("Description"));
  copyright_->setText(text("Copyright"));
  credits_box_->setTitle(text("CopyrightTitle"));
  credits_->setText(Q(CreditsText(texts)));
  disclaimer_box_->setTitle(text("Disclaimer"));
  disclaimer_->setText(Q(DisclaimerText(texts)));
  chkOK->setText(text("chkOK"));
  cmdSysInfo->setText(text("SysInfo"));
  cmdOK->setText(text("cmdOK"));
  for (auto* button : findChildren<QAbstractButton*>()) {
    button->setToolTip(button->text().remove('&'));
  }
}

void About::Open() {  // NOLINT(bugprone-virtual-near-miss)
  if (!isVisible()) {
    chkOK->setChecked(IsAboutShownAtOpen(context_.ini));
    // Above a window that others have to wait for, this one would have to wait too.
    setModal(QApplication::activeModalWidget() != nullptr);
  }
  show();
  raise();
  activateWindow();
  cmdOK->setFocus();
}

void About::StoreAtOpen() { StoreAboutAtOpen(context_.ini, chkOK->isChecked()); }

void About::done(int result) {
  StoreAtOpen();
  QDialog::done(result);
}

}  // namespace vexolo
