#include "app/led_widget.h"

#include <QPaintEvent>
#include <QPainter>

#include "mixer/meters.h"
#include "widgets/skin.h"
#include "widgets/window_context.h"

namespace vexolo {
namespace {

constexpr int kGlyphWidth = 14;
constexpr int kGlyphHeight = 22;

QRect GlyphPlace(std::size_t index) {
  return {static_cast<int>(index) * kGlyphWidth, 0, kGlyphWidth, kGlyphHeight};
}

}  // namespace

LedWidget::LedWidget(const Skin& skin, int characters, QWidget* parent)
    : QLabel(parent), skin_(skin), shown_(static_cast<std::size_t>(characters), ' ') {
  setAttribute(Qt::WA_OpaquePaintEvent);  // glyphs cover all of it
  setTextFormat(Qt::PlainText);
  setFixedSize(sizeHint());
}

QSize LedWidget::sizeHint() const {
  return {static_cast<int>(shown_.size()) * kGlyphWidth, kGlyphHeight};
}

void LedWidget::Print(const std::string& text, bool lit) {
  std::string shown = text;
  shown.resize(shown_.size(), ' ');
  for (std::size_t i = 0; i < shown.size(); ++i) {
    if (shown[i] != shown_[i] || lit != lit_) update(GlyphPlace(i));
  }
  shown_ = std::move(shown);
  lit_ = lit;
}

void LedWidget::paintEvent(QPaintEvent* event) {
  QPainter painter(this);
  for (const LedGlyph& glyph : LedPrint(shown_, 0, 0, lit_)) {
    if (!event->region().intersects(QRect(glyph.x, glyph.y, kGlyphWidth, kGlyphHeight))) continue;
    skin_.Draw(painter, kLedSheet, glyph.source, {glyph.x, glyph.y});
  }
}

}  // namespace vexolo
