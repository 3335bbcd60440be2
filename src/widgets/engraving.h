/// Lettering of the skinned windows.
#pragma once

#include <QRect>
#include <QString>

class QPainter;

namespace vexolo {

enum class Lettering {
  kCaption,
  kKey,     ///< smaller, under a key
  kScale,   ///< smaller and dim, beside a scale
  kValue,   ///< a value beside its control
  kBright,  ///< the same, set by the user
  kLit      ///< a value under glass
};

/// Draws `text` into `place` as if it were cut into the panel, a dark edge above, a light one
/// below: captions in capitals, values as they are. Centred unless `alignment` says otherwise; a
/// text that is too long is set narrower.
void DrawEngraved(QPainter& painter, const QRect& place, const QString& text,
                  Lettering lettering = Lettering::kCaption,
                  Qt::Alignment alignment = Qt::AlignCenter);

}  // namespace vexolo
