#include "widgets/engraving.h"

#include <QFont>
#include <QFontMetricsF>
#include <QPainter>

namespace vexolo {
namespace {

struct Style {
  int pixel_size;
  double spacing;
  QColor ink;
};

Style StyleOf(Lettering lettering) {
  switch (lettering) {
    case Lettering::kKey:
      return {8, 0.4, QColor(0xb4, 0xb8, 0xbe)};
    case Lettering::kScale:
    case Lettering::kValue:
      return {8, 0.2, QColor(0x8a, 0x8f, 0x96)};
    case Lettering::kBright:
      return {10, 0.2, QColor(0xe4, 0xe6, 0xe9)};
    case Lettering::kLit:
      return {12, 0, QColor(0xff, 0xb4, 0x4a)};
    case Lettering::kCaption:
      break;
  }
  return {9, 0.6, QColor(0xb4, 0xb8, 0xbe)};
}

constexpr QColor kCut(0, 0, 0, 170);

bool IsCaption(Lettering lettering) {
  return lettering == Lettering::kCaption || lettering == Lettering::kKey ||
         lettering == Lettering::kScale;
}

QFont FontOf(const Style& style, bool capitals) {
  QFont font;
  font.setFamilies({"Inter", "Helvetica Neue", "Segoe UI", "Liberation Sans", "DejaVu Sans"});
  font.setPixelSize(style.pixel_size);
  font.setWeight(QFont::DemiBold);
  if (capitals) font.setCapitalization(QFont::AllUppercase);
  font.setLetterSpacing(QFont::AbsoluteSpacing, style.spacing);
  return font;
}

}  // namespace

void DrawEngraved(QPainter& painter, const QRect& place, const QString& text, Lettering lettering,
                  Qt::Alignment alignment) {
  const Style style = StyleOf(lettering);
  QFont font = FontOf(style, IsCaption(lettering));
  const double width = QFontMetricsF(font).horizontalAdvance(text);
  if (width > place.width()) {
    font.setLetterSpacing(QFont::AbsoluteSpacing, 0);
    font.setStretch(static_cast<int>(100 * place.width() / width));
  }
  painter.setFont(font);
  painter.setPen(kCut);
  painter.drawText(place.translated(0, -1), alignment | Qt::TextSingleLine, text);
  painter.setPen(style.ink);
  painter.drawText(place, alignment | Qt::TextSingleLine, text);
}

}  // namespace vexolo
