#include "about/system_info_dialog.h"

#include <QApplication>
#include <QClipboard>
#include <QFormLayout>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFunctions>
#include <QPushButton>
#include <QVBoxLayout>

namespace vexolo {
namespace {

constexpr const char* kSection = "SysInfo";
constexpr int kValueWidth = 420;     // pixels
constexpr int kCopiedTime = 2000;    // milliseconds
constexpr QChar kBreakHere(0x200B);  // lets a long path go on in the next line

/// A text that the user can select, and that may be broken at the separators of a path.
QLabel* MakeValue(const std::string& value) {
  auto* label = new QLabel(Q(value).replace('/', QString('/') + kBreakHere));
  label->setTextFormat(Qt::PlainText);
  label->setTextInteractionFlags(Qt::TextSelectableByMouse);
  label->setWordWrap(true);
  label->setMinimumWidth(kValueWidth);
  return label;
}

std::string Text(const GLubyte* text) {
  return text == nullptr ? std::string() : reinterpret_cast<const char*>(text);
}

}  // namespace

std::string ToolkitVersion() { return std::string("Qt ") + qVersion(); }

std::string DescribeOpenGl() {
  QOffscreenSurface surface;
  surface.create();
  QOpenGLContext context;
  if (!surface.isValid() || !context.create() || !context.makeCurrent(&surface)) return {};
  const std::string version = Text(context.functions()->glGetString(GL_VERSION));
  const std::string renderer = Text(context.functions()->glGetString(GL_RENDERER));
  context.doneCurrent();
  return renderer.empty() ? version : version + " – " + renderer;
}

SystemInfoDialog::SystemInfoDialog(const WindowContext& context, QWidget* parent)
    : QDialog(parent), context_(context) {
  setObjectName(kSection);
  facts_ = new QFormLayout;
  facts_->setHorizontalSpacing(16);
  copy_ = new QPushButton;
  copy_->setObjectName("Copy");
  copy_->setAutoDefault(false);
  close_ = new QPushButton;
  close_->setObjectName("Close");
  close_->setDefault(true);
  auto* buttons = new QHBoxLayout;
  buttons->addWidget(copy_);
  buttons->addStretch();
  buttons->addWidget(close_);
  auto* column = new QVBoxLayout(this);
  column->setSpacing(12);
  column->addLayout(facts_);
  column->addLayout(buttons);
  column->setSizeConstraint(QLayout::SetFixedSize);
  copied_.setSingleShot(true);
  copied_.setInterval(kCopiedTime);
  connect(&copied_, &QTimer::timeout, this, [this] { LoadLanguage(); });
  connect(copy_, &QPushButton::clicked, this, [this] { Copy(); });
  connect(close_, &QPushButton::clicked, this, &QDialog::accept);
  LoadLanguage();
}

void SystemInfoDialog::LoadLanguage() {
  const LanguageSection texts = context_.Section(kSection);
  setWindowTitle(Q(texts.Text("Caption")));
  copy_->setText(Q(texts.Text(copied_.isActive() ? "Copied" : "Copy")));
  close_->setText(Q(texts.Text("Close")));
  copy_->setToolTip(Q(texts.Text("Copy")).remove('&'));
  close_->setToolTip(close_->text().remove('&'));
  ShowFacts();
}

void SystemInfoDialog::Open(const SystemInfo& info) {
  info_ = info;
  ShowFacts();
  // Above a window that others have to wait for, this one would have to wait too.
  if (!isVisible()) setModal(QApplication::activeModalWidget() != nullptr);
  show();
  raise();
  activateWindow();
  close_->setFocus();
}

void SystemInfoDialog::ShowFacts() {
  const std::vector<SystemInfoRow> rows =
      SystemInfoRows(context_.Section(kSection), info_, context_.separator);
  if (rows == rows_) return;
  rows_ = rows;
  while (facts_->rowCount() > 0) facts_->removeRow(0);
  for (const SystemInfoRow& row : rows_) {
    QLabel* value = MakeValue(row.value);
    value->setAccessibleName(Q(row.caption));
    facts_->addRow(Q(row.caption), value);
  }
}

void SystemInfoDialog::Copy() {
  QGuiApplication::clipboard()->setText(Q(SystemInfoText(rows_)));
  copied_.start();
  LoadLanguage();
}

}  // namespace vexolo
