#include "widgets/palette.h"

#include <QApplication>
#include <QPalette>
#include <QStyleFactory>
#include <QToolTip>

namespace vexolo {
namespace {

constexpr QColor kPanel(0x2b, 0x2c, 0x2f);
constexpr QColor kField(0x1d, 0x1e, 0x20);
constexpr QColor kButton(0x3a, 0x3b, 0x3f);
constexpr QColor kText(0xe6, 0xe3, 0xdc);
constexpr QColor kDimText(0x86, 0x85, 0x82);
constexpr QColor kAmber(0xff, 0xb0, 0x3a);
constexpr QColor kBlack(0x10, 0x10, 0x11);

}  // namespace

void UseDarkPalette(QApplication& application) {
  application.setStyle(QStyleFactory::create("Fusion"));
  QPalette palette(kButton, kPanel);
  palette.setColor(QPalette::WindowText, kText);
  palette.setColor(QPalette::Base, kField);
  palette.setColor(QPalette::AlternateBase, QColor(0x24, 0x25, 0x28));
  palette.setColor(QPalette::Text, kText);
  palette.setColor(QPalette::ButtonText, kText);
  palette.setColor(QPalette::BrightText, Qt::white);
  palette.setColor(QPalette::PlaceholderText, kDimText);
  palette.setColor(QPalette::Highlight, kAmber);
  palette.setColor(QPalette::HighlightedText, kBlack);
  palette.setColor(QPalette::Link, kAmber);
  palette.setColor(QPalette::LinkVisited, kAmber);
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
