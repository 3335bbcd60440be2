#include "app/time_dialog.h"

#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScreen>
#include <QVBoxLayout>

#include "app/time_format.h"

namespace vexolo {

Temps::Temps(const WindowContext& context, const char* label_key, QWidget* parent)
    : QDialog(parent),
      context_(context),
      label_key_(label_key),
      label_(new QLabel),
      text_(new QLineEdit),
      Btn_Validation(new QPushButton),
      Btn_Abandon(new QPushButton),
      Cmd_Raz(new QPushButton) {
  label_->setBuddy(text_);
  auto* field = new QHBoxLayout;
  field->addWidget(text_, 1);
  field->addWidget(Cmd_Raz);
  auto* buttons = new QHBoxLayout;
  buttons->addStretch();
  buttons->addWidget(Btn_Validation);
  buttons->addWidget(Btn_Abandon);
  auto* rows = new QVBoxLayout(this);
  rows->addWidget(label_);
  rows->addLayout(field);
  rows->addSpacing(8);
  rows->addLayout(buttons);
  Btn_Validation->setDefault(true);
  Cmd_Raz->setAutoDefault(false);
  QObject::connect(Btn_Validation, &QPushButton::clicked, this, [this] {
    accepted_ = true;
    close();
  });
  QObject::connect(Btn_Abandon, &QPushButton::clicked, this, [this] { close(); });
  QObject::connect(Cmd_Raz, &QPushButton::clicked, this,
                   [this] { text_->setText(Q(FormatTime(0, context_.separator))); });
  LoadLanguage();
}

void Temps::LoadLanguage() {
  const LanguageSection texts = context_.Section("Temps");
  setWindowTitle(Q(texts.Text("Caption")));
  label_->setText(Q(texts.Text(label_key_)));
  text_->setAccessibleName(label_->text());
  Btn_Validation->setText(Q(texts.Text("Validation")));
  Btn_Abandon->setText(Q(texts.Text("Abandon")));
  Cmd_Raz->setText(Q(texts.Text("Raz")));
}

std::optional<std::string> Temps::Ask(const std::string& proposed) {
  accepted_ = false;
  text_->setText(Q(proposed));
  text_->selectAll();
  text_->setFocus();
  adjustSize();
  const QScreen* screen = parentWidget() ? parentWidget()->screen() : nullptr;
  if (screen == nullptr) screen = QGuiApplication::primaryScreen();
  move(screen->geometry().center() - rect().center());
  exec();
  if (!accepted_) return std::nullopt;
  return text_->text().toStdString();
}

}  // namespace vexolo
