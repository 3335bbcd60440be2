#include "widgets/palette.h"

#include <QApplication>
#include <QPalette>
#include <QStyleFactory>
#include <QToolTip>

namespace vexolo {
namespace {

// The colours of the skin (see resources/skin/palette.svg), a little lighter where text stands.
constexpr QColor kPanel(0x2b, 0x2e, 0x32);
constexpr QColor kField(0x1a, 0x1c, 0x1f);
constexpr QColor kFieldOdd(0x20, 0x22, 0x26);
constexpr QColor kButton(0x3c, 0x40, 0x46);
constexpr QColor kText(0xe1, 0xe3, 0xe6);
constexpr QColor kDimText(0x84, 0x88, 0x8f);
constexpr QColor kAccent(0x3f, 0xd6, 0xcd);
constexpr QColor kBlack(0x0e, 0x0f, 0x11);

}  // namespace

void UseDarkPalette(QApplication& application) {
  application.setStyle(QStyleFactory::create("Fusion"));
  QPalette palette(kButton, kPanel);
  palette.setColor(QPalette::WindowText, kText);
  palette.setColor(QPalette::Base, kField);
  palette.setColor(QPalette::AlternateBase, kFieldOdd);
  palette.setColor(QPalette::Text, kText);
  palette.setColor(QPalette::ButtonText, kText);
  palette.setColor(QPalette::BrightText, Qt::white);
  palette.setColor(QPalette::PlaceholderText, kDimText);
  palette.setColor(QPalette::Highlight, kAccent);
  palette.setColor(QPalette::HighlightedText, kBlack);
  palette.setColor(QPalette::Link, kAccent);
  palette.setColor(QPalette::LinkVisited, kAccent);
  palette.setColor(QPalette::ToolTipBase, kBlack);
  palette.setColor(QPalette::ToolTipText, kText);
  for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
    palette.setColor(QPalette::Disabled, role, kDimText);
  }
  palette.setColor(QPalette::Disabled, QPalette::Highlight, kButton);
  palette.setColor(QPalette::Disabled, QPalette::HighlightedText, kDimText);
  application.setPalette(palette);
  QToolTip::setPalette(palette);
}

}  // namespace vexolo
