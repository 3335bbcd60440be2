/// The toolkit's fonts as outlines.
#pragma once

#include <QFont>

#include "lyrics/outline_source.h"

namespace vexolo {

/// Takes the face that is asked for where it is installed, else one that looks like it, else the
/// sans serif of the desktop. Characters that the font lacks come from other fonts. Needs the
/// application object; window thread only.
class QtOutlines : public OutlineSource {
 public:
  bool Select(const LogicalFont& font) override;
  bool ReadGlyph(int code, OutlineGlyph& glyph) override;
  void Release() override;

  /// The family that was taken last.
  const QString& family() const { return family_; }

 private:
  QFont font_;
  QString family_;
  bool is_selected_ = false;
};

}  // namespace vexolo
