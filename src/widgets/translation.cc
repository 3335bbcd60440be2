#include "widgets/translation.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QLocale>

namespace vexolo {

void ToolkitTranslation::Use(const std::string& code) {
  QCoreApplication::removeTranslator(&translator_);
  const QLocale locale(QString::fromStdString(code));
  if (translator_.load(locale, "qtbase", "_", QLibraryInfo::path(QLibraryInfo::TranslationsPath))) {
    QCoreApplication::installTranslator(&translator_);
  }
}

}  // namespace vexolo
