// layer: gui
#include "widgets/skin.h"

#include <QPainter>

#include <gtest/gtest.h>

namespace vexolo {
namespace {

TEST(Skin, EveryBitmapIsThereInBothSizes) {
  const Skin skin;
  for (const SkinSheet& sheet : kSkinSheets) {
    for (const int scale : {1, 2}) {
      const QPixmap& bitmap = skin.Bitmap(sheet.id, scale);
      EXPECT_EQ(bitmap.size(), QSize(sheet.width, sheet.height) * scale) << sheet.id;
    }
  }
}

}  // namespace
}  // namespace vexolo
