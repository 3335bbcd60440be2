#include "lyrics/outline_font_widget.h"

#include <QFontDatabase>
#include <QFontMetricsF>
#include <QPainterPath>
#include <QString>
#include <algorithm>
#include <string>

#include "platform/text_encoding.h"

namespace vexolo {

namespace {

/// Outlines are taken from a large size, where the rounding of their points is out of sight.
constexpr int kEnlarged = 8;

/// Tried where the face that is asked for is not installed.
constexpr const char* kLookAlike = "Comic Neue";

QString ChooseFamily(const std::string& face) {
  QString wanted = QString::fromStdString(face);
  if (QFontDatabase::hasFamily(wanted)) return wanted;
  if (QFontDatabase::hasFamily(kLookAlike)) return kLookAlike;
  return QFontDatabase::systemFont(QFontDatabase::GeneralFont).family();
}

QString CharacterOf(int code) {
  const char byte = static_cast<char>(code);
  const std::string text = Utf8FromWindows1252(std::string_view(&byte, 1));
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

/// The path has y downwards and is `size` high.
GlyphOutline OutlineOf(const QPainterPath& path, double size) {
  const auto point = [size](const QPainterPath::Element& element) {
    return OutlinePoint{element.x / size, -element.y / size};
  };
  GlyphOutline outline;
  outline.reserve(static_cast<std::size_t>(path.elementCount()));
  for (int i = 0; i < path.elementCount(); ++i) {
    const QPainterPath::Element element = path.elementAt(i);
    if (element.isMoveTo()) {
      outline.push_back({OutlineStep::Kind::kMove, {{point(element)}}});
    } else if (element.isLineTo()) {
      outline.push_back({OutlineStep::Kind::kLine, {{point(element)}}});
    } else if (element.isCurveTo() && i + 2 < path.elementCount()) {
      outline.push_back(
          {OutlineStep::Kind::kCubic,
           {{point(element), point(path.elementAt(i + 1)), point(path.elementAt(i + 2))}}});
      i += 2;
    }
  }
  return outline;
}

}  // namespace

bool QtOutlines::Select(const LogicalFont& font) {
  family_ = ChooseFamily(font.face_name);
  font_ = QFont(family_);
  font_.setPixelSize(std::max(font.height, 1) * kEnlarged);
  font_.setWeight(static_cast<QFont::Weight>(std::clamp(font.weight, 1, 1000)));
  font_.setItalic(font.italic);
  font_.setUnderline(font.underline);
  font_.setStrikeOut(font.strike_out);
  font_.setHintingPreference(QFont::PreferNoHinting);
  font_.setKerning(false);
  is_selected_ = !QFontDatabase::families().isEmpty();
  return is_selected_;
}

bool QtOutlines::ReadGlyph(int code, OutlineGlyph& glyph) {
  if (!is_selected_) return false;
  glyph = {};
  QString character = CharacterOf(code);
  // White space of any kind takes the room of a blank; other controls take none.
  if (character[0].isSpace()) character = QStringLiteral(" ");
  if (character[0].category() == QChar::Other_Control) return true;
  const double size = font_.pixelSize();
  QPainterPath path;
  path.addText(0, 0, font_, character);
  glyph.outline = OutlineOf(path, size);
  glyph.advance = QFontMetricsF(font_).horizontalAdvance(character) / size;
  return true;
}

void QtOutlines::Release() {
  font_ = QFont();
  is_selected_ = false;
}

}  // namespace vexolo
