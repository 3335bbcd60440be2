#include "convert/run_dialog.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>
#include <algorithm>
#include <utility>

#include "widgets/elided_label.h"

namespace vexolo {
namespace {

constexpr int kWidth = 460;  // pixels

QLabel* MakeText(const char* name) {
  auto* label = new QLabel;
  label->setObjectName(name);
  label->setTextFormat(Qt::PlainText);
  return label;
}

QHBoxLayout* MakeRow(QWidget* left, QWidget* right) {
  auto* row = new QHBoxLayout;
  row->addWidget(left, 1);
  row->addWidget(right);
  return row;
}

}  // namespace

RunDialog::RunDialog(const WindowContext& context, std::function<SeriesProgress()> progress,
                     std::function<void()> cancel, QWidget* parent)
    : QDialog(parent),
      context_(context),
      progress_(std::move(progress)),
      cancel_(std::move(cancel)) {
  setObjectName("RunDialog");
  song_ = new ElidedLabel(Qt::ElideRight);
  song_->setObjectName("Song");
  QFont bold = font();
  bold.setBold(true);
  song_->setFont(bold);
  count_ = MakeText("Count");
  bar_ = new QProgressBar;
  bar_->setObjectName("Bar");
  bar_->setRange(0, kFullBar);
  left_ = MakeText("Left");
  speed_ = MakeText("Speed");
  cancel_button_ = new QPushButton;
  cancel_button_->setObjectName("Cancel");
  cancel_button_->setAutoDefault(false);

  auto* buttons = new QHBoxLayout;
  buttons->addStretch();
  buttons->addWidget(cancel_button_);
  auto* column = new QVBoxLayout(this);
  column->addLayout(MakeRow(song_, count_));
  column->addWidget(bar_);
  column->addLayout(MakeRow(left_, speed_));
  column->addSpacing(6);
  column->addLayout(buttons);
  LoadLanguage();
  setFixedSize(std::max(kWidth, minimumSizeHint().width()), sizeHint().height());

  connect(cancel_button_, &QPushButton::clicked, this, [this] { reject(); });
  timer_.setInterval(kRefreshInterval);
  connect(&timer_, &QTimer::timeout, this, [this] { Refresh(); });
}

void RunDialog::LoadLanguage() {
  const LanguageSection texts = context_.Section("Tags");
  setWindowTitle(Q(texts.Message("Run.Caption")));
  cancel_button_->setText(Q(texts.Message("Run.Cancel")));
  cancel_button_->setToolTip(Q(texts.Message("Run.Cancel")).remove('&'));
  bar_->setAccessibleName(windowTitle());
}

void RunDialog::Begin() {
  Refresh();
  timer_.start();
  if (!isVisible()) show();
}

void RunDialog::End() {
  timer_.stop();
  hide();
}

void RunDialog::reject() {
  if (cancel_button_->isEnabled()) cancel_();
  if (isVisible()) Refresh();
}

void RunDialog::Refresh() {
  const SeriesProgress progress = progress_();
  const ProgressTexts shown =
      TextsOfProgress(progress, context_.Section("Tags"), context_.separator);
  song_->SetFullText(Q(shown.song));
  count_->setText(Q(shown.count));
  bar_->setValue(shown.bar);
  left_->setText(Q(shown.left));
  speed_->setText(Q(shown.speed));
  cancel_button_->setEnabled(!progress.cancelling);
}

}  // namespace vexolo
