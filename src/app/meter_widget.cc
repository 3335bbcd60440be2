#include "app/meter_widget.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QPainter>
#include <mutex>

#include "widgets/skin.h"

namespace vexolo {
namespace {

class AccessibleIndicator : public QAccessibleWidget {
 public:
  explicit AccessibleIndicator(IndicatorWidget* widget)
      : QAccessibleWidget(widget, QAccessible::Indicator), widget_(widget) {}
  QString text(QAccessible::Text kind) const override {
    if (kind == QAccessible::Value) return QString::number(widget_->value());
    return QAccessibleWidget::text(kind);
  }

 private:
  const IndicatorWidget* widget_;
};

QAccessibleInterface* MakeInterface(const QString&, QObject* object) {
  auto* indicator = dynamic_cast<IndicatorWidget*>(object);
  return indicator == nullptr ? nullptr : new AccessibleIndicator(indicator);
}

}  // namespace

IndicatorWidget::IndicatorWidget(const Skin& skin, int sheet, SpriteRect first, QWidget* parent)
    : QWidget(parent), skin_(skin), sheet_(sheet), source_(first) {
  static std::once_flag installed;
  std::call_once(installed, [] { QAccessible::installFactory(MakeInterface); });
  setAttribute(Qt::WA_OpaquePaintEvent);
  setFixedSize(first.width, first.height);
}

void IndicatorWidget::Show(const SpriteRect& source, int value) {
  value_ = value;
  if (source == source_) return;
  source_ = source;
  update();
}

void IndicatorWidget::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  skin_.Draw(painter, sheet_, source_, {0, 0});
}

LampWidget::LampWidget(const Skin& skin, QWidget* parent)
    : IndicatorWidget(skin, kLampSheet, OnLampSheet(LampSprite(0, false)), parent) {}

void LampWidget::DrawJ(int level, bool is_melody_channel) {
  Show(OnLampSheet(LampSprite(level, is_melody_channel)), level);
}

LevelWidget::LevelWidget(const Skin& skin, QWidget* parent)
    : IndicatorWidget(skin, kMeterSheet, VuSprite(0), parent) {}

void LevelWidget::ShowSegments(int segments) { Show(VuSprite(segments), segments); }

ClipWidget::ClipWidget(const Skin& skin, QWidget* parent)
    : IndicatorWidget(skin, kButtonSheet, ClipLampSprite(false), parent) {}

void ClipWidget::Light(bool lit) { Show(ClipLampSprite(lit), lit ? 1 : 0); }

}  // namespace vexolo
