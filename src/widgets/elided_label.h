/// A line of text that gives way when there is no room for it.
#pragma once

#include <QLabel>

namespace vexolo {

/// Shows as much of its text as its width allows, with "…" for what is left out and the whole text
/// as its tooltip then. Never asks for more than a few characters' width. Window thread only.
class ElidedLabel : public QLabel {
 public:
  explicit ElidedLabel(Qt::TextElideMode mode, QWidget* parent = nullptr);

  void SetFullText(const QString& text);
  const QString& full_text() const { return full_text_; }

  QSize minimumSizeHint() const override;

 protected:
  void resizeEvent(QResizeEvent* event) override;
  void changeEvent(QEvent* event) override;

 private:
  void Fit();

  const Qt::TextElideMode mode_;
  QString full_text_;
};

}  // namespace vexolo
