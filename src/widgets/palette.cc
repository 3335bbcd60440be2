#include "widgets/palette.h"

#include <QApplication>
#include <QPainter>
#include <QPalette>
#include <QPixmapCache>
#include <QProxyStyle>
#include <QStyleFactory>
#include <QStyleOption>
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

constexpr int kPictures = 256;       ///< kilobytes of them that the style keeps
constexpr QSize kButtonRoom(12, 4);  // pixels, both sides of a caption together

/// The toolkit's plain style with room around captions, with outlines of check boxes and radio
/// buttons that can be seen on a dark ground, and with lists that open under their box, no longer
/// than they are asked to be.
class DialogStyle : public QProxyStyle {
 public:
  DialogStyle() : QProxyStyle(QStyleFactory::create("Fusion")) {}

  QSize sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& contents,
                         const QWidget* widget) const override {
    const QSize size = QProxyStyle::sizeFromContents(type, option, contents, widget);
    return type == CT_PushButton ? size + kButtonRoom : size;
  }

  int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                QStyleHintReturn* returned) const override {
    if (hint == SH_ComboBox_Popup) return 0;
    return QProxyStyle::styleHint(hint, option, widget, returned);
  }

  void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                     const QWidget* widget) const override {
    QProxyStyle::drawPrimitive(element, option, painter, widget);
    const bool is_check_box = element == PE_IndicatorCheckBox;
    if (!is_check_box && element != PE_IndicatorRadioButton) return;
    const bool is_hovered = (option->state & State_MouseOver) && (option->state & State_Enabled);
    const QRectF outline = QRectF(option->rect).adjusted(0.5, 0.5, -0.5, -0.5);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(is_hovered ? kAccent : kDimText);
    painter->setBrush(Qt::NoBrush);
    if (is_check_box) {
      painter->drawRoundedRect(outline, 2, 2);
    } else {
      painter->drawEllipse(outline);
    }
    painter->restore();
  }
};

}  // namespace

void UseDarkPalette(QApplication& application) {
  // The style keeps pictures of the faces of every dialog, as long as there is room for them.
  QPixmapCache::setCacheLimit(kPictures);
  application.setStyle(new DialogStyle);
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
