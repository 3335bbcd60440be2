#include "app/panel_face_widget.h"

#include <QPainter>

#include "app/panel_layout.h"
#include "widgets/engraving.h"
#include "widgets/skin.h"

namespace vexolo {
namespace {

constexpr QRect ToRect(const panel::Place& place) {
  return {place.x, place.y, place.width, place.height};
}

constexpr QPoint TopLeft(const panel::Place& place) { return {place.x, place.y}; }

}  // namespace

PanelFaceWidget::PanelFaceWidget(const Skin& skin, QWidget* parent) : QWidget(parent), skin_(skin) {
  setFixedSize(sizeHint());
  setAttribute(Qt::WA_OpaquePaintEvent);
}

QSize PanelFaceWidget::sizeHint() const { return {panel::kWidth, panel::kHeight}; }

void PanelFaceWidget::SetCaptions(const PanelCaptions& captions) {
  captions_ = captions;
  face_ = {};
  update();
}

void PanelFaceWidget::paintEvent(QPaintEvent*) {
  if (face_.isNull() || face_.devicePixelRatio() != devicePixelRatioF()) {
    face_ = QPixmap(size() * devicePixelRatioF());
    face_.setDevicePixelRatio(devicePixelRatioF());
    QPainter painter(&face_);
    PaintFace(painter);
  }
  QPainter(this).drawPixmap(0, 0, face_);
}

void PanelFaceWidget::PaintFace(QPainter& painter) const {
  skin_.DrawTiled(painter, kLampSheet, kPanelTile, rect());
  for (const panel::Place& plate : panel::kPlates) {
    skin_.DrawNinePatch(painter, kPlatePatch, ToRect(plate));
  }
  for (const panel::Place& screw : panel::kScrews) {
    skin_.Draw(painter, kButtonSheet, kScrewSprite, TopLeft(screw));
  }
  skin_.Draw(painter, kLampSheet, kNamePlate, TopLeft(panel::kNamePlate));
  for (const panel::Place& glass : {panel::kTitle.glass, panel::kTime.glass, panel::kMeterGlass}) {
    skin_.DrawNinePatch(painter, kGlassPatch, ToRect(glass));
  }
  for (int channel = 0; channel < panel::kStrips; ++channel) {
    DrawEngraved(painter, ToRect(panel::ChannelCaption(channel)), QString::number(channel + 1));
  }
  const auto right = Qt::AlignRight | Qt::AlignVCenter;
  DrawEngraved(painter, ToRect(panel::kSoloCaption), captions_.solo, Lettering::kCaption, right);
  DrawEngraved(painter, ToRect(panel::kMuteCaption), captions_.mute, Lettering::kCaption, right);
  DrawEngraved(painter, ToRect(panel::kGainCaption), captions_.gain);
  DrawEngraved(painter, ToRect(panel::kTransposeCaption), captions_.transpose);
  DrawEngraved(painter, ToRect(panel::kSpeedCaption), captions_.speed);
}

}  // namespace vexolo
