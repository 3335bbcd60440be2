#include "mixer/instrument_button_widget.h"

#include <QKeyEvent>
#include <QPainter>

#include "widgets/engraving.h"
#include "widgets/focus_ring.h"
#include "widgets/skin.h"

namespace vexolo {
namespace {

constexpr int kTextMargin = 8;
constexpr double kDimOpacity = 0.62;
constexpr QColor kHoverLight(255, 236, 200, 20);

}  // namespace

InstrumentButtonWidget::InstrumentButtonWidget(const Skin& skin, QSize size, QWidget* parent)
    : QAbstractButton(parent), skin_(skin) {
  setFixedSize(size);
  setFocusPolicy(Qt::TabFocus);
  setCursor(Qt::PointingHandCursor);
}

void InstrumentButtonWidget::ShowName(const QString& name, bool is_override) {
  if (name == text() && is_override == is_override_) return;
  is_override_ = is_override;
  setText(name);
  update();
}

void InstrumentButtonWidget::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  skin_.DrawNinePatch(painter, kGlassPatch, rect());
  painter.setOpacity(is_override_ ? 1 : kDimOpacity);
  DrawEngraved(painter, rect().adjusted(kTextMargin, 0, -kTextMargin, 0), text(), Lettering::kLit,
               Qt::AlignLeft | Qt::AlignVCenter);
  painter.setOpacity(1);
  if (underMouse()) {
    painter.setCompositionMode(QPainter::CompositionMode_Plus);
    painter.fillRect(rect().adjusted(2, 2, -2, -2), kHoverLight);
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
  }
  if (hasFocus()) DrawFocusRing(painter, rect());
}

void InstrumentButtonWidget::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
    click();
  } else {
    event->ignore();
  }
}

void InstrumentButtonWidget::enterEvent(QEnterEvent*) { update(); }

void InstrumentButtonWidget::leaveEvent(QEvent*) { update(); }

}  // namespace vexolo
