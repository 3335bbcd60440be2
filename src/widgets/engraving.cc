#include "widgets/engraving.h"

#include <QFont>
#include <QFontMetricsF>
#include <QPainter>

namespace vexolo {
namespace {

constexpr int kPixelSize = 9;
constexpr double kSpacing = 0.6;
constexpr QColor kInk(0xb4, 0xb8, 0xbe);
constexpr QColor kBrightInk(0xe4, 0xe6, 0xe9);
constexpr QColor kCut(0, 0, 0, 170);

QFont CaptionFont() {
  QFont font;
  font.setFamilies({"Inter", "Helvetica Neue", "Segoe UI", "Liberation Sans", "DejaVu Sans"});
  font.setPixelSize(kPixelSize);
  font.setWeight(QFont::DemiBold);
  font.setCapitalization(QFont::AllUppercase);
  font.setLetterSpacing(QFont::AbsoluteSpacing, kSpacing);
  return font;
}

}  // namespace

void DrawEngraved(QPainter& painter, const QRect& place, const QString& text, Lettering lettering,
                  Qt::Alignment alignment) {
  QFont font = CaptionFont();
  const double width = QFontMetricsF(font).horizontalAdvance(text);
  if (width > place.width()) {
    font.setLetterSpacing(QFont::AbsoluteSpacing, 0);
    font.setStretch(static_cast<int>(100 * place.width() / width));
  }
  painter.setFont(font);
  painter.setPen(kCut);
  painter.drawText(place.translated(0, -1), alignment | Qt::TextSingleLine, text);
  painter.setPen(lettering == Lettering::kBright ? kBrightInk : kInk);
  painter.drawText(place, alignment | Qt::TextSingleLine, text);
}

}  // namespace vexolo
