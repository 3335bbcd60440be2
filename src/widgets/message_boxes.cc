#include "widgets/message_boxes.h"

#include <QApplication>
#include <QMessageBox>

namespace vexolo {
namespace {

constexpr const char* kProgramTitle = "Vexolo";

QMessageBox::Icon ToolkitIcon(BoxIcon icon) {
  switch (icon) {
    case BoxIcon::kInformation:
      return QMessageBox::Information;
    case BoxIcon::kExclamation:
      return QMessageBox::Warning;
    case BoxIcon::kCritical:
      return QMessageBox::Critical;
    case BoxIcon::kQuestion:
      return QMessageBox::Question;
    case BoxIcon::kNone:
      break;
  }
  return QMessageBox::NoIcon;
}

/// Paths in a text may hold "<" and "&": it is never taken for markup.
void Fill(QMessageBox& box, const std::string& text, const std::string& title) {
  box.setTextFormat(Qt::PlainText);
  box.setText(QString::fromStdString(text).replace("\r\n", "\n"));
  box.setWindowTitle(title.empty() ? QString(kProgramTitle) : QString::fromStdString(title));
}

}  // namespace

void QtMessageBoxes::Show(const std::string& text, const std::string& title, BoxIcon icon) {
  QMessageBox box(ToolkitIcon(icon), {}, {}, QMessageBox::Ok, QApplication::activeWindow());
  Fill(box, text, title);
  box.exec();
}

bool QtMessageBoxes::AskYesNo(const std::string& text, const std::string& title) {
  QMessageBox box(QMessageBox::Question, {}, {}, QMessageBox::Yes | QMessageBox::No,
                  QApplication::activeWindow());
  Fill(box, text, title);
  box.setDefaultButton(QMessageBox::No);
  box.setEscapeButton(QMessageBox::No);
  return box.exec() == QMessageBox::Yes;
}

}  // namespace vexolo
