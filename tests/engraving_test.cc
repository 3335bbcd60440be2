// layer: gui
#include "widgets/engraving.h"

#include <QImage>
#include <QPainter>

#include <gtest/gtest.h>

namespace vexolo {
namespace {

QImage Engraved(const QString& text, Lettering lettering, int width = 200) {
  QImage image(200, 24, QImage::Format_RGB32);
  image.fill(Qt::black);
  QPainter painter(&image);
  DrawEngraved(painter, {0, 0, width, 24}, text, lettering, Qt::AlignLeft | Qt::AlignVCenter);
  return image;
}

/// Behind the last column of pixels in which something is written.
int EndOf(const QImage& image) {
  for (int x = image.width(); x > 0; --x) {
    for (int y = 0; y < image.height(); ++y) {
      if (qGray(image.pixel(x - 1, y)) > 40) return x;
    }
  }
  return 0;
}

TEST(DrawEngraved, CaptionsAreCapitalsAndValuesAsTheyAre) {
  for (const Lettering lettering : {Lettering::kCaption, Lettering::kKey, Lettering::kScale}) {
    EXPECT_EQ(Engraved("DrumSet", lettering), Engraved("DRUMSET", lettering));
  }
  for (const Lettering lettering : {Lettering::kValue, Lettering::kBright, Lettering::kLit}) {
    EXPECT_NE(Engraved("DrumSet", lettering), Engraved("DRUMSET", lettering));
  }
}

TEST(DrawEngraved, ALongTextIsSetNarrower) {
  const int width = EndOf(Engraved("Panoramique", Lettering::kKey));
  ASSERT_GT(width, 40);
  const int narrow = EndOf(Engraved("Panoramique", Lettering::kKey, width - 8));
  EXPECT_GT(narrow, width - 16);
  EXPECT_LE(narrow, width - 7);
}

}  // namespace
}  // namespace vexolo
