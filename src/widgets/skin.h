/// The skin bitmaps, ready for copying rectangles out of them.
#pragma once

#include <QPixmap>
#include <QPoint>
#include <QRectF>
#include <array>
#include <functional>
#include <string>

#include "platform/sprite.h"
#include "platform/temporary_file.h"
#include "widgets/skin_places.h"

class QPainter;

namespace vexolo {

/// Makes the bitmaps and the icon known under their resource names. Without a call to this they
/// would be left out of a program that is linked from static libraries.
void NameSkinResources();

/// Deletes `path` if it exists, then writes the resource of type CUSTOM with that number (101..109)
/// to it as it is. `scale`: 1, or 2 for the bitmaps of twice the size. False on failure.
bool ExtractResource(int number, const std::string& path, int scale = 1);

/// Loads the picture in `path` into a drawing context that other pictures are copied from. A null
/// pixmap where that fails.
QPixmap LoadSkinBitmap(const std::string& path);

/// How the skin is made ready; tests put their own in place.
struct SkinLoading {
  std::function<std::string()> make_temp_file = MakeTempFile;
  std::function<bool(int number, const std::string& path, int scale)> extract = ExtractResource;
  std::function<QPixmap(const std::string& path)> load = LoadSkinBitmap;
  std::function<bool(const std::string& path)> remove = DeleteFile;
};

/// The nine bitmaps, kept for the whole run. The set of twice the size is made ready as well where
/// a screen is dense, or when something is first drawn on one. Needs the application object; window
/// thread only.
class Skin {
 public:
  explicit Skin(SkinLoading loading = {});

  /// Not made ready yet, so that others may refer to it already.
  enum Later { kBuildLater };
  explicit Skin(Later, SkinLoading loading = {});

  /// Makes the bitmaps ready. False where one of them is missing.
  bool Build();
  /// Nothing is drawn any more.
  void Release();

  /// Copies a rectangle of bitmap `id` (101..109) to `to`. Units are pixels at the skin's own
  /// scale, whatever the screen's; a painter of a dense screen gets the bitmap of twice the size.
  void Draw(QPainter& painter, int id, const SpriteRect& source, QPoint to) const;

  /// The same, stretched over `to`.
  void DrawStretched(QPainter& painter, int id, const SpriteRect& source, const QRectF& to) const;

  /// Fills `area` with copies, the first one at its top left corner.
  void DrawTiled(QPainter& painter, int id, const SpriteRect& source, const QRect& area) const;

  /// The corners as they are, edges and middle stretched over what lies between.
  void DrawNinePatch(QPainter& painter, const NinePatch& patch, const QRect& area) const;

  /// One bitmap, `scale` 1 or 2. Null where it could not be loaded.
  const QPixmap& Bitmap(int id, int scale) const;

 private:
  using Set = std::array<QPixmap, kSkinSheets.size()>;

  Set LoadSet(int scale) const;

  const SkinLoading loading_;
  Set plain_;
  mutable Set dense_;  ///< filled when it is first asked for
  mutable bool has_dense_set_ = false;
};

}  // namespace vexolo
