/// Activity lamps and the level meter.
#pragma once

#include <QWidget>

#include "mixer/meters.h"
#include "platform/sprite.h"

namespace vexolo {

class Skin;

/// A picture out of the skin that says something; an indicator to assistive tools, whose value is
/// told as a number. Window thread only.
class IndicatorWidget : public QWidget {
 public:
  IndicatorWidget(const Skin& skin, int sheet, SpriteRect first, QWidget* parent);

  /// Repaints where the picture has changed.
  void Show(const SpriteRect& source, int value);
  int value() const { return value_; }

  QSize sizeHint() const override { return {source_.width, source_.height}; }

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  const Skin& skin_;
  const int sheet_;
  SpriteRect source_;
  int value_ = 0;
};

/// `PicJ`.
class LampWidget : public IndicatorWidget {
 public:
  LampWidget(const Skin& skin, QWidget* parent);
  /// `DrawJ`. `level`: 0..127.
  void DrawJ(int level, bool is_melody_channel);
};

/// One of the two halves of the level meter: the level, or the held peak.
class LevelWidget : public IndicatorWidget {
 public:
  LevelWidget(const Skin& skin, QWidget* parent);
  void ShowSegments(int segments);
};

/// `ClipLed`.
class ClipWidget : public IndicatorWidget {
 public:
  ClipWidget(const Skin& skin, QWidget* parent);
  void Light(bool lit);
};

}  // namespace vexolo
