#include "widgets/file_boxes.h"

#include <QApplication>
#include <QFileDialog>

namespace vexolo {
namespace {

/// The files that the user has chosen, none when the dialog was left.
QStringList Ask(const FileQuestion& question, QFileDialog::AcceptMode accept,
                QFileDialog::FileMode mode) {
  QFileDialog dialog(QApplication::activeWindow(), QString::fromStdString(question.title),
                     QString::fromStdString(question.folder));
  dialog.setAcceptMode(accept);
  dialog.setFileMode(mode);
  const QStringList filters = ToolkitFilters(question.filter);
  if (!filters.isEmpty()) dialog.setNameFilters(filters);
  if (!question.name.empty()) dialog.selectFile(QString::fromStdString(question.name));
  if (accept == QFileDialog::AcceptSave) {
    const auto use_suffix = [&](const QString& filter) {
      const auto suffix = filter.section("*.", 1, 1).section(' ', 0, 0).remove(')');
      dialog.setDefaultSuffix(suffix == "*" ? QString() : suffix);
    };
    QObject::connect(&dialog, &QFileDialog::filterSelected, use_suffix);
    use_suffix(dialog.selectedNameFilter());
  }
  return dialog.exec() == QDialog::Accepted ? dialog.selectedFiles() : QStringList();
}

std::string First(const QStringList& files) {
  return files.isEmpty() ? std::string() : files.front().toStdString();
}

}  // namespace

QStringList ToolkitFilters(std::string_view filter) {
  QStringList filters;
  for (const auto& [description, patterns] : FilterPairs(filter)) {
    QStringList list;
    for (const std::string& pattern : patterns) list << QString::fromStdString(pattern);
    // A description that names its patterns itself would show them twice.
    const QString words = QString::fromStdString(description).section('(', 0, 0).trimmed();
    filters << words + " (" + list.join(' ').replace("*.*", "*") + ")";
  }
  return filters;
}

std::vector<std::string> QtFileDialogs::OpenFiles(const FileQuestion& question) {
  std::vector<std::string> paths;
  for (const QString& file : Ask(question, QFileDialog::AcceptOpen, QFileDialog::ExistingFiles)) {
    paths.push_back(file.toStdString());
  }
  return paths;
}

std::string QtFileDialogs::OpenFile(const FileQuestion& question) {
  return First(Ask(question, QFileDialog::AcceptOpen, QFileDialog::ExistingFile));
}

std::string QtFileDialogs::SaveFile(const FileQuestion& question) {
  return First(Ask(question, QFileDialog::AcceptSave, QFileDialog::AnyFile));
}

std::string QtFileDialogs::ChooseFolder(const std::string& title, const std::string& folder) {
  return QFileDialog::getExistingDirectory(QApplication::activeWindow(),
                                           QString::fromStdString(title),
                                           QString::fromStdString(folder))
      .toStdString();
}

}  // namespace vexolo
