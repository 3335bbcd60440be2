/// The panel of the main window: what is painted behind its controls.
#pragma once

#include <QString>
#include <QWidget>
#include <array>

#include "app/panel_layout.h"
#include "widgets/kept_picture.h"

namespace vexolo {

class Skin;

/// What is engraved on the panel, in the language in use.
struct PanelCaptions {
  QString solo;
  QString mute;
  QString gain;
  QString transpose;
  QString speed;
  std::array<QString, panel::kMiscButtonCount>
      keys;  ///< from button 32 on; the transport's is that of 33
};

/// Plates, displays' glass, captions, screws and name plate, at the places of panel_layout.h. The
/// controls are its children. Painted once for each scale of the screen and kept. Window thread
/// only.
class PanelFaceWidget : public QWidget {
 public:
  PanelFaceWidget(const Skin& skin, QWidget* parent);

  void SetCaptions(const PanelCaptions& captions);

  QSize sizeHint() const final;

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  void PaintFace(QPainter& painter) const;
  void PaintHardware(QPainter& painter) const;
  void PaintCaptions(QPainter& painter) const;

  const Skin& skin_;
  PanelCaptions captions_;
  KeptPicture face_;
};

}  // namespace vexolo
