#include "widgets/skin.h"

#include <QFile>
#include <QGuiApplication>
#include <QPainter>
#include <QScreen>
#include <algorithm>
#include <utility>

#include "widgets/window_context.h"

// The macro asks for a function outside of any namespace.
static void NameResources() { Q_INIT_RESOURCE(skin); }

namespace vexolo {
namespace {

constexpr int kDenseScale = 2;

QString ResourceName(int number, int scale) {
  return QStringLiteral(":/%1/%2").arg(scale == 1 ? "custom" : "custom2x").arg(number);
}

bool HasDenseScreen() {
  const QList<QScreen*> screens = QGuiApplication::screens();
  return std::any_of(screens.begin(), screens.end(),
                     [](const QScreen* screen) { return screen->devicePixelRatio() > 1; });
}

/// Where a side of a stretched picture is cut: its beginning, both borders and its end. Borders
/// give way where there is no room for both.
std::array<double, 4> Cuts(double begin, double length, double border) {
  border = std::min(border, length / 2);
  return {begin, begin + border, begin + length - border, begin + length};
}

}  // namespace

void NameSkinResources() { NameResources(); }

bool ExtractResource(int number, const std::string& path, int scale) {
  NameSkinResources();
  QFile resource(ResourceName(number, scale));
  if (!resource.open(QIODevice::ReadOnly)) return false;
  const QByteArray bytes = resource.readAll();
  if (FileExists(path)) DeleteFile(path);
  return !WriteNewPrivateFile(path, {bytes.data(), static_cast<std::size_t>(bytes.size())});
}

QPixmap LoadSkinBitmap(const std::string& path) { return QPixmap(Q(path), "BMP"); }

Skin::Skin(SkinLoading loading) : Skin(kBuildLater, std::move(loading)) { Build(); }

Skin::Skin(Later, SkinLoading loading) : loading_(std::move(loading)) {}

bool Skin::Build() {
  NameSkinResources();
  has_dense_set_ = false;
  plain_ = LoadSet(1);
  if (HasDenseScreen()) Bitmap(kFirstSheet, kDenseScale);
  return std::none_of(plain_.begin(), plain_.end(),
                      [](const QPixmap& bitmap) { return bitmap.isNull(); });
}

void Skin::Release() {
  plain_ = {};
  dense_ = {};
  has_dense_set_ = true;  // so that none is loaded again
}

Skin::Set Skin::LoadSet(int scale) const {
  Set set;
  const std::string path = loading_.make_temp_file();
  for (const SkinSheet& sheet : kSkinSheets) {
    QPixmap& bitmap = set[sheet.id - kFirstSheet];
    if (!path.empty() && loading_.extract(sheet.id, path, scale)) bitmap = loading_.load(path);
    // Without a temporary folder (it may be full) the program still has a face.
    if (bitmap.isNull()) bitmap = LoadSkinBitmap(ResourceName(sheet.id, scale).toStdString());
    bitmap.setDevicePixelRatio(scale);
  }
  if (!path.empty()) loading_.remove(path);
  return set;
}

const QPixmap& Skin::Bitmap(int id, int scale) const {
  if (scale == 1) return plain_.at(id - kFirstSheet);
  if (!std::exchange(has_dense_set_, true)) dense_ = LoadSet(kDenseScale);
  return dense_.at(id - kFirstSheet);
}

void Skin::Draw(QPainter& painter, int id, const SpriteRect& source, QPoint to) const {
  DrawStretched(painter, id, source, QRectF(to, QSizeF(source.width, source.height)));
}

void Skin::DrawStretched(QPainter& painter, int id, const SpriteRect& source,
                         const QRectF& to) const {
  const double ratio = painter.device()->devicePixelRatioF();
  const int scale = ratio > 1 ? kDenseScale : 1;
  const bool is_copy = to.size() * ratio == QSizeF(source.width, source.height) * scale;
  painter.setRenderHint(QPainter::SmoothPixmapTransform, !is_copy);
  painter.drawPixmap(
      to, Bitmap(id, scale),
      QRectF(source.x * scale, source.y * scale, source.width * scale, source.height * scale));
}

void Skin::DrawTiled(QPainter& painter, int id, const SpriteRect& source, const QRect& area) const {
  for (int y = 0; y < area.height(); y += source.height) {
    for (int x = 0; x < area.width(); x += source.width) {
      SpriteRect part = source;
      part.width = std::min(source.width, area.width() - x);
      part.height = std::min(source.height, area.height() - y);
      Draw(painter, id, part, area.topLeft() + QPoint(x, y));
    }
  }
}

void Skin::DrawNinePatch(QPainter& painter, const NinePatch& patch, const QRect& area) const {
  const SpriteRect& whole = patch.source;
  const auto from_x = Cuts(whole.x, whole.width, patch.border);
  const auto from_y = Cuts(whole.y, whole.height, patch.border);
  const auto to_x = Cuts(area.x(), area.width(), patch.border);
  const auto to_y = Cuts(area.y(), area.height(), patch.border);
  for (std::size_t row = 0; row < 3; ++row) {
    for (std::size_t column = 0; column < 3; ++column) {
      const SpriteRect part{static_cast<int>(from_x[column]), static_cast<int>(from_y[row]),
                            static_cast<int>(from_x[column + 1] - from_x[column]),
                            static_cast<int>(from_y[row + 1] - from_y[row])};
      DrawStretched(painter, patch.sheet, part,
                    {QPointF(to_x[column], to_y[row]), QPointF(to_x[column + 1], to_y[row + 1])});
    }
  }
}

}  // namespace vexolo
