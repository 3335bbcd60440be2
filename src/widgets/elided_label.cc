#include "widgets/elided_label.h"

#include <QEvent>

namespace vexolo {

ElidedLabel::ElidedLabel(Qt::TextElideMode mode, QWidget* parent) : QLabel(parent), mode_(mode) {
  setTextFormat(Qt::PlainText);
  setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
}

void ElidedLabel::SetFullText(const QString& text) {
  full_text_ = text;
  setAccessibleName(text);
  Fit();
}

QSize ElidedLabel::minimumSizeHint() const {
  return {fontMetrics().horizontalAdvance("……"), fontMetrics().height()};
}

void ElidedLabel::resizeEvent(QResizeEvent* event) {
  QLabel::resizeEvent(event);
  Fit();
}

void ElidedLabel::changeEvent(QEvent* event) {
  QLabel::changeEvent(event);
  if (event->type() == QEvent::FontChange) Fit();
}

void ElidedLabel::Fit() {
  const QString fitting = fontMetrics().elidedText(full_text_, mode_, width());
  setText(fitting);
  setToolTip(fitting == full_text_ ? QString() : full_text_);
}

}  // namespace vexolo
