#include "app/panel_face_widget.h"

#include <QPainter>
#include <QPainterPath>

#include "app/panel_layout.h"
#include "widgets/engraving.h"
#include "widgets/skin.h"

namespace vexolo {
namespace {

constexpr double kScrewRadius = 7.9;

constexpr QRect ToRect(const panel::Place& place) {
  return {place.x, place.y, place.width, place.height};
}

constexpr QPoint TopLeft(const panel::Place& place) { return {place.x, place.y}; }

/// Only the screw itself: the metal round it is the panel's own.
void DrawRound(QPainter& painter, const Skin& skin, const SpriteRect& screw, QPoint to) {
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing);
  QPainterPath path;
  path.addEllipse(QPointF(to) + QPointF(screw.width, screw.height) / 2, kScrewRadius, kScrewRadius);
  painter.setClipPath(path);
  skin.Draw(painter, kButtonSheet, screw, to);
  painter.restore();
}

}  // namespace

PanelFaceWidget::PanelFaceWidget(const Skin& skin, QWidget* parent) : QWidget(parent), skin_(skin) {
  setFixedSize(sizeHint());
  setAttribute(Qt::WA_OpaquePaintEvent);
}

QSize PanelFaceWidget::sizeHint() const { return {panel::kWidth, panel::kHeight}; }

void PanelFaceWidget::SetCaptions(const PanelCaptions& captions) {
  captions_ = captions;
  face_.Forget();
  update();
}

void PanelFaceWidget::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  face_.Draw(painter, *this, [this](QPainter& face) { PaintFace(face); });
}

void PanelFaceWidget::PaintFace(QPainter& painter) const {
  PaintHardware(painter);
  PaintCaptions(painter);
}

void PanelFaceWidget::PaintHardware(QPainter& painter) const {
  skin_.DrawTiled(painter, kLampSheet, kPanelTile, rect());
  skin_.Draw(painter, kLampSheet, kNamePlate, TopLeft(panel::kNamePlate));
  painter.setCompositionMode(QPainter::CompositionMode_Multiply);
  skin_.DrawStretched(painter, kLampSheet, kPanelLight, rect());
  painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
  for (const panel::Place& plate : panel::kPlates) {
    skin_.DrawNinePatch(painter, kPlatePatch, ToRect(plate));
  }
  for (std::size_t i = 0; i < panel::kScrews.size(); ++i) {
    const SpriteRect& screw = i % 3 == 0 ? kScrewSprite : kScrewTurnedSprite;
    DrawRound(painter, skin_, screw, TopLeft(panel::kScrews[i]));
  }
  for (const panel::Place& glass : {panel::kDisplayGlass, panel::kMeterGlass, panel::kSpeedPlace}) {
    skin_.DrawNinePatch(painter, kGlassPatch, ToRect(glass));
  }
  const panel::Place cells = panel::kAllCells.Text();
  skin_.DrawTiled(painter, kLedSheet, {0, 0, panel::kGlyphWidth, panel::kGlyphHeight},
                  ToRect(cells));
  for (const panel::Place& divider : panel::kKeyDividers) {
    skin_.DrawStretched(painter, kButtonSheet, kDividerSprite, ToRect(divider));
  }
  for (const panel::Place& line : panel::kTransportLines) {
    skin_.DrawStretched(painter, kButtonSheet, kLevelDividerSprite, ToRect(line));
  }
}

void PanelFaceWidget::PaintCaptions(QPainter& painter) const {
  const auto right = Qt::AlignRight | Qt::AlignVCenter;
  for (int channel = 0; channel < panel::kStrips; ++channel) {
    DrawEngraved(painter, ToRect(panel::ChannelCaption(channel)), QString::number(channel + 1));
  }
  DrawEngraved(painter, ToRect(panel::kSoloCaption), captions_.solo, Lettering::kCaption, right);
  DrawEngraved(painter, ToRect(panel::kMuteCaption), captions_.mute, Lettering::kCaption, right);
  DrawEngraved(painter, ToRect(panel::kGainCaption), captions_.gain);
  DrawEngraved(painter, ToRect(panel::kTransposeCaption), captions_.transpose);
  DrawEngraved(painter, ToRect(panel::kSpeedCaption), captions_.speed);
  DrawEngraved(painter, ToRect(panel::kSpeedUnit), "bpm", Lettering::kScale);
  const auto draw_scale = [&](const auto& scale) {
    for (const panel::ScaleMark& mark : scale) {
      // A true minus sign, as wide as the plus.
      const QString text = QString(mark.text).replace('-', QChar(0x2212));
      DrawEngraved(painter, ToRect(mark.place), text, Lettering::kScale, right);
    }
  };
  draw_scale(panel::kLevelScale);
  draw_scale(panel::kGainScale);
  draw_scale(panel::kTransposeScale);
  for (int index = 0; index < panel::kMiscButtonCount; ++index) {
    DrawEngraved(painter, ToRect(panel::KeyCaption(index + panel::kFirstMiscButton)),
                 captions_.keys[static_cast<std::size_t>(index)], Lettering::kKey);
  }
}

}  // namespace vexolo
