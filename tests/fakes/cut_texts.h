/// Finds texts of a window that are cut off, overlap or are missing.
#pragma once

#include <QAbstractButton>
#include <QComboBox>
#include <QLabel>
#include <QTabBar>
#include <QWidget>
#include <string>
#include <vector>

namespace vexolo {

inline std::string NameOf(const QWidget& widget, const QString& text) {
  return widget.objectName().toStdString() + " \"" + text.left(40).toStdString() + "\"";
}

inline bool IsCut(const QLabel& label) {
  if (label.wordWrap()) return label.height() < label.heightForWidth(label.width());
  return label.width() < label.sizeHint().width() || label.height() < label.sizeHint().height();
}

/// One line for each problem among the labels, buttons and lists that are visible in `window`.
inline std::vector<std::string> CutTexts(const QWidget& window) {
  std::vector<std::string> problems;
  std::vector<const QWidget*> seen;
  const auto look = [&](const QWidget* widget, const QString& text, bool cut) {
    if (!widget->isVisibleTo(&window) || text.isEmpty()) return;
    const auto place = [&](const QWidget* w) {
      return QRect(w->mapTo(&window, QPoint()), w->size());
    };
    if (cut) problems.push_back("cut: " + NameOf(*widget, text));
    if (!window.rect().contains(place(widget))) {
      problems.push_back("outside: " + NameOf(*widget, text));
    }
    for (const QWidget* other : seen) {
      if (place(other).intersects(place(widget))) {
        problems.push_back("overlap: " + NameOf(*widget, text) + ", " + NameOf(*other, {}));
      }
    }
    seen.push_back(widget);
  };
  for (const auto* label : window.findChildren<QLabel*>())
    look(label, label->text(), IsCut(*label));
  for (const auto* button : window.findChildren<QAbstractButton*>()) {
    look(button, button->text(), button->width() < button->sizeHint().width());
  }
  for (const auto* list : window.findChildren<QComboBox*>()) {
    look(list, list->currentText(), list->width() < list->sizeHint().width());
  }
  for (const auto* bar : window.findChildren<QTabBar*>()) {
    if (bar->width() < bar->sizeHint().width()) problems.push_back("cut: tabs");
  }
  return problems;
}

/// Controls that a user who cannot see or point would not find: without a name or a tooltip.
inline std::vector<std::string> UnnamedControls(const QWidget& window) {
  std::vector<std::string> unnamed;
  const auto look = [&](const QWidget* widget, const QString& name) {
    const bool put_away =
        widget->isHidden() && widget->testAttribute(Qt::WA_WState_ExplicitShowHide);
    if (put_away || widget->focusPolicy() == Qt::NoFocus) return;
    if (name.isEmpty() || widget->toolTip().isEmpty()) unnamed.push_back(NameOf(*widget, name));
  };
  for (const auto* button : window.findChildren<QAbstractButton*>()) {
    look(button, button->text().isEmpty() ? button->accessibleName() : button->text());
  }
  for (const auto* list : window.findChildren<QComboBox*>()) look(list, list->accessibleName());
  return unnamed;
}

}  // namespace vexolo
