/// The name of a channel's instrument, which opens the list of instruments.
#pragma once

#include <QAbstractButton>

namespace vexolo {

class Skin;

/// A small display under glass. Return or a click opens. Window thread only.
class InstrumentButtonWidget : public QAbstractButton {
 public:
  InstrumentButtonWidget(const Skin& skin, QSize size, QWidget* parent);

  /// `is_override`: the user has chosen it, so it is lit.
  void ShowName(const QString& name, bool is_override);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void enterEvent(QEnterEvent* event) override;
  void leaveEvent(QEvent* event) override;

 private:
  const Skin& skin_;
  bool is_override_ = false;
};

}  // namespace vexolo
