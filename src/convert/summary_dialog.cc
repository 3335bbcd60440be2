#include "convert/summary_dialog.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>
#include <algorithm>
#include <utility>

namespace vexolo {
namespace {

constexpr int kWidth = 560;      // pixels
constexpr int kFewestLines = 5;  // of the text that are seen
constexpr int kMostLines = 20;

}  // namespace

SummaryDialog::SummaryDialog(const WindowContext& context, const std::string& text,
                             const std::string& folder,
                             std::function<bool(const std::string&)> open, QWidget* parent)
    : QDialog(parent) {
  setObjectName("SummaryDialog");
  const LanguageSection texts = context.Section("Tags");
  const auto button = [&](const char* name, const char* key) {
    auto* made = new QPushButton(Q(texts.Message(key)));
    made->setObjectName(name);
    made->setToolTip(made->text().remove('&'));
    return made;
  };
  setWindowTitle(Q(texts.Message("Summary.Caption")));
  text_ = new QPlainTextEdit(Q(text));
  text_->setObjectName("Text");
  text_->setReadOnly(true);
  text_->setTabChangesFocus(true);
  text_->setAccessibleName(windowTitle());
  const int lines = std::clamp(text_->document()->blockCount(), kFewestLines, kMostLines);
  text_->setMinimumHeight(text_->fontMetrics().lineSpacing() * lines + 16);
  QPushButton* copy = button("Copy", "Summary.Copy");
  QPushButton* show = button("Open", "Summary.Open");
  QPushButton* close = button("Close", "Summary.Close");
  show->setEnabled(!folder.empty() && open);
  close->setDefault(true);

  auto* buttons = new QHBoxLayout;
  buttons->addWidget(copy);
  buttons->addWidget(show);
  buttons->addStretch();
  buttons->addWidget(close);
  auto* column = new QVBoxLayout(this);
  column->addWidget(text_);
  column->addLayout(buttons);
  resize(std::max(kWidth, sizeHint().width()), sizeHint().height());
  close->setFocus();

  connect(copy, &QPushButton::clicked, this, [this] { Copy(); });
  connect(show, &QPushButton::clicked, this, [folder, open = std::move(open)] { open(folder); });
  connect(close, &QPushButton::clicked, this, &QDialog::accept);
}

void SummaryDialog::Copy() const { QGuiApplication::clipboard()->setText(text_->toPlainText()); }

}  // namespace vexolo
