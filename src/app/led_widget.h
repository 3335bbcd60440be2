/// A line of LED characters.
#pragma once

#include <QLabel>
#include <string>

namespace vexolo {

class Skin;

/// Shows plain ASCII in the LED font, a fixed number of characters, and only those that have
/// changed are drawn again. To assistive tools it is a text. Window thread only.
class LedWidget : public QLabel {
 public:
  /// `characters`: how many fit.
  LedWidget(const Skin& skin, int characters, QWidget* parent);

  /// Cut or filled up to the width. `lit` chooses between the two rows of the font.
  void Print(const std::string& text, bool lit = true);
  const std::string& shown() const { return shown_; }

  QSize sizeHint() const final;
  QSize minimumSizeHint() const override { return sizeHint(); }

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  const Skin& skin_;
  std::string shown_;
  bool lit_ = true;
};

}  // namespace vexolo
