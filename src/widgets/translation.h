/// The toolkit's own texts (buttons of boxes, file dialogs) in the user's language.
#pragma once

#include <QTranslator>
#include <string>

namespace vexolo {

/// One object for the run. Window thread only.
class ToolkitTranslation {
 public:
  /// `code`: of the language file ("fr"); a language that the toolkit does not know leaves English.
  void Use(const std::string& code);

 private:
  QTranslator translator_;
};

}  // namespace vexolo
