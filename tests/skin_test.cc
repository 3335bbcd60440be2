// layer: gui
#include "widgets/skin.h"

#include <QFile>
#include <QPainter>
#include <QtEndian>
#include <algorithm>
#include <filesystem>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "fakes/other_temp_folder.h"
#include "fakes/temporary_folder.h"
#include "mixer/channel_strips.h"
#include "mixer/knobs.h"
#include "mixer/meters.h"
#include "widgets/program_icon.h"

namespace vexolo {
namespace {

namespace fs = std::filesystem;

// ---- The files.

QByteArray Resource(int id, int scale) {
  QFile file(QStringLiteral(":/%1/%2").arg(scale == 1 ? "custom" : "custom2x").arg(id));
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

struct BmpHeader {
  std::int32_t width = 0;
  std::int32_t height = 0;
  int bits = 0;
  std::uint32_t compression = 0;
  std::uint32_t file_size = 0;
};

BmpHeader HeaderOf(const QByteArray& bytes) {
  if (bytes.size() < 54 || !bytes.startsWith("BM")) return {};
  const auto* data = reinterpret_cast<const uchar*>(bytes.data());
  return {qFromLittleEndian<std::int32_t>(data + 18), qFromLittleEndian<std::int32_t>(data + 22),
          qFromLittleEndian<std::uint16_t>(data + 28), qFromLittleEndian<std::uint32_t>(data + 30),
          qFromLittleEndian<std::uint32_t>(data + 2)};
}

TEST(SkinFiles, HaveTheirSizesAndDepthsToThePixel) {
  struct Stated {
    int id, width, height, bits;
  };
  constexpr Stated kStated[] = {{101, 768, 384, 32}, {102, 48, 1560, 24}, {103, 312, 208, 24},
                                {104, 192, 192, 24}, {105, 96, 2160, 24}, {106, 984, 128, 32},
                                {107, 192, 80, 32},  {108, 1344, 44, 24}, {109, 103, 2575, 32}};
  const Skin skin;  // the resources are known from here on
  for (const Stated& stated : kStated) {
    for (const int scale : {1, 2}) {
      const QByteArray bytes = Resource(stated.id, scale);
      const BmpHeader header = HeaderOf(bytes);
      EXPECT_EQ(header.width, stated.width * scale) << stated.id;
      EXPECT_EQ(header.height, stated.height * scale) << stated.id;
      EXPECT_EQ(header.bits, stated.bits) << stated.id;
      EXPECT_EQ(header.compression, 0u) << stated.id;
      EXPECT_EQ(header.file_size, bytes.size()) << stated.id;
      EXPECT_EQ(skin.Bitmap(stated.id, scale).size(), QSize(stated.width, stated.height) * scale)
          << stated.id;
    }
  }
}

TEST(SkinFiles, IconsAreThereInAllSizes) {
  const QIcon program = ProgramIcon();
  for (const int size : {16, 24, 32, 48, 64, 128, 256}) {
    EXPECT_EQ(program.pixmap(QSize(size, size), 1.0).size(), QSize(size, size));
    const QImage icon(QStringLiteral(":/icon/%1").arg(size));
    EXPECT_EQ(icon.size(), QSize(size, size));
    EXPECT_EQ(qAlpha(icon.pixel(0, 0)), 0) << "round corners";
    EXPECT_EQ(qAlpha(icon.pixel(size / 2, size / 2)), 255);
  }
}

// ---- How they are made ready.

struct Step {
  std::string what;
  int number = 0;
  std::string path;
  bool operator==(const Step&) const = default;
};

SkinLoading Recording(std::vector<Step>& steps) {
  SkinLoading loading;
  loading.make_temp_file = [&steps] {
    steps.push_back({"make", 0, "/t/zvt1"});
    return std::string("/t/zvt1");
  };
  loading.extract = [&steps](int number, const std::string& path, int) {
    steps.push_back({"extract", number, path});
    return true;
  };
  loading.load = [&steps](const std::string& path) {
    steps.push_back({"load", 0, path});
    return QPixmap(8, 8);
  };
  loading.remove = [&steps](const std::string& path) {
    steps.push_back({"remove", 0, path});
    return true;
  };
  return loading;
}

std::vector<Step> OneSet() {
  std::vector<Step> steps = {{"make", 0, "/t/zvt1"}};
  for (int number = 101; number <= 109; ++number) {
    steps.push_back({"extract", number, "/t/zvt1"});
    steps.push_back({"load", 0, "/t/zvt1"});
  }
  steps.push_back({"remove", 0, "/t/zvt1"});
  return steps;
}

TEST(SkinLoading, TakesOneFileForAllNineInOrderAndDeletesIt) {
  std::vector<Step> steps;
  const Skin skin(Recording(steps));
  EXPECT_EQ(steps, OneSet());
}

TEST(SkinLoading, TakesTheDenseSetTheSameWayWhenItIsFirstNeeded) {
  std::vector<Step> steps;
  const Skin skin(Recording(steps));
  steps.clear();
  skin.Bitmap(103, 2);
  EXPECT_EQ(steps, OneSet());
  skin.Bitmap(104, 2);
  EXPECT_EQ(steps, OneSet()) << "kept from then on";
}

TEST(SkinLoading, LeavesNothingInTheTemporaryFolder) {
  const TemporaryFolder folder;
  const OtherTempFolder in_use(folder.path());
  fs::perms permissions{};
  SkinLoading loading;
  loading.load = [&](const std::string& path) {
    permissions = fs::status(path).permissions();
    return LoadSkinBitmap(path);
  };
  const Skin skin(loading);
  skin.Bitmap(101, 2);
  EXPECT_TRUE(fs::is_empty(folder.path()));
  EXPECT_EQ(permissions, fs::perms::owner_read | fs::perms::owner_write);
}

TEST(SkinLoading, DoesWithoutATemporaryFolder) {
  const OtherTempFolder in_use("/nowhere/at/all");
  const Skin skin;
  for (const SkinSheet& sheet : kSkinSheets) {
    EXPECT_EQ(skin.Bitmap(sheet.id, 1).size(), QSize(sheet.width, sheet.height)) << sheet.id;
  }
}

TEST(ExtractResource, WritesTheBytesInPlaceOfWhatStoodThere) {
  const Skin skin;
  const TemporaryFolder folder;
  const std::string path = folder.path() + "/zvt";
  ASSERT_FALSE(WriteWholeFile(path, "old"));
  ASSERT_TRUE(ExtractResource(107, path));
  EXPECT_EQ(QByteArray::fromStdString(ReadWholeFile(path).value_or("")), Resource(107, 1));
  EXPECT_EQ(fs::status(path).permissions(), fs::perms::owner_read | fs::perms::owner_write);
}

TEST(ExtractResource, KnowsNoOtherNumber) {
  const Skin skin;
  const TemporaryFolder folder;
  EXPECT_FALSE(ExtractResource(100, folder.path() + "/zvt"));
  EXPECT_FALSE(ExtractResource(110, folder.path() + "/zvt"));
  EXPECT_TRUE(fs::is_empty(folder.path()));
}

TEST(LoadSkinBitmap, IsNullForWhatIsNoPicture) {
  const TemporaryFolder folder;
  const std::string path = folder.path() + "/zvt";
  ASSERT_FALSE(WriteWholeFile(path, "BM and no more"));
  EXPECT_TRUE(LoadSkinBitmap(path).isNull());
  EXPECT_TRUE(LoadSkinBitmap(folder.path() + "/missing").isNull());
}

// ---- The sprites: each stated rectangle lies on its bitmap and shows something, and sprites that
// stand for different things look different.

class SkinSprites : public testing::TestWithParam<int> {
 protected:
  int scale() const { return GetParam(); }

  QImage Sprite(int id, const SpriteRect& rect) const {
    const QRect source(rect.x * scale(), rect.y * scale(), rect.width * scale(),
                       rect.height * scale());
    const QPixmap& bitmap = skin_.Bitmap(id, scale());
    EXPECT_TRUE(bitmap.rect().contains(source)) << id << ": " << rect.x << ", " << rect.y;
    return bitmap.copy(source).toImage();
  }

  static bool IsBlank(const QImage& image) {
    for (int y = 0; y < image.height(); ++y) {
      for (int x = 0; x < image.width(); ++x) {
        if (image.pixel(x, y) != image.pixel(0, 0)) return false;
      }
    }
    return true;
  }

  void ExpectAllDifferent(int id, const std::vector<SpriteRect>& sprites) const {
    std::vector<QImage> seen;
    for (const SpriteRect& sprite : sprites) {
      const QImage image = Sprite(id, sprite);
      EXPECT_FALSE(IsBlank(image)) << id << ": " << sprite.x << ", " << sprite.y;
      EXPECT_EQ(std::count(seen.begin(), seen.end(), image), 0)
          << id << ": " << sprite.x << ", " << sprite.y;
      seen.push_back(image);
    }
  }

  static double Brightness(const QImage& image) {
    double sum = 0;
    for (int y = 0; y < image.height(); ++y) {
      for (int x = 0; x < image.width(); ++x) sum += qGray(image.pixel(x, y));
    }
    return sum / (image.width() * image.height());
  }

  const Skin skin_;
};

INSTANTIATE_TEST_SUITE_P(Scale, SkinSprites, testing::Values(1, 2));

TEST_P(SkinSprites, SoloAndMuteHaveFourLooksEach) {
  std::vector<SpriteRect> sprites;
  for (const int button : {0, 16}) {
    for (int state = 0; state < 4; ++state) sprites.push_back(SmSprite(button, state));
  }
  ExpectAllDifferent(kButtonSheet, sprites);
}

TEST_P(SkinSprites, PanelKeysHaveFacesOfTheirOwn) {
  std::vector<SpriteRect> large;
  std::vector<SpriteRect> small;
  for (int button = 32; button < 38; ++button) {
    for (int state = 0; state < 3; ++state) large.push_back(SmSprite(button, state));
  }
  for (int button = 38; button < 48; ++button) {
    for (int state = 0; state < 2; ++state) small.push_back(SmSprite(button, state));
  }
  for (const int state : {2, 3}) small.push_back(SmSprite(42, state));
  ExpectAllDifferent(kButtonSheet, large);
  ExpectAllDifferent(kButtonSheet, small);
}

TEST_P(SkinSprites, KeysUnderThePointerLookUnlikeKeysThatAreUp) {
  for (int button = 0; button < 48; ++button) {
    const QImage hover = Sprite(kControllerSheet, HoverSprite(button));
    EXPECT_NE(hover, Sprite(kButtonSheet, SmSprite(button, 0))) << button;
    EXPECT_GT(Brightness(hover), Brightness(Sprite(kButtonSheet, SmSprite(button, 0)))) << button;
  }
  for (int i = 0; i < kListButtons; ++i) {
    const auto button = static_cast<ListButton>(i);
    EXPECT_GT(Brightness(Sprite(kControllerSheet, ListButtonHoverSprite(button))),
              Brightness(Sprite(kButtonSheet, ListButtonSprite(button, false))))
        << i;
  }
}

TEST_P(SkinSprites, ListButtonsHaveTwoFacesEach) {
  std::vector<SpriteRect> sprites;
  for (int i = 0; i < kListButtons; ++i) {
    for (const bool down : {false, true}) {
      sprites.push_back(ListButtonSprite(static_cast<ListButton>(i), down));
    }
  }
  ExpectAllDifferent(kButtonSheet, sprites);
}

TEST_P(SkinSprites, FadersMoveWithEveryFrame) {
  std::vector<SpriteRect> sprites;
  for (int gain = -20; gain <= 20; ++gain) sprites.push_back(KnobSprite(kGainKnob, gain));
  ASSERT_EQ(sprites.size(), 41u);
  ExpectAllDifferent(kFaderSheet, sprites);
}

TEST_P(SkinSprites, TheTransposeKnobTurnsWithEveryFrame) {
  std::vector<SpriteRect> sprites;
  for (int i = -12; i <= 12; ++i) sprites.push_back(KnobSprite(kTransposeKnob, i));
  ExpectAllDifferent(kTransposeSheet, sprites);
}

TEST_P(SkinSprites, LampsGrowBrighterAndTheMelodysIsAnother) {
  for (const bool melody : {false, true}) {
    double before = 0;
    for (int frame = 0, level = 0; frame < 8; ++frame) {
      while (LampFrame(level) < frame) ++level;
      const double now = Brightness(Sprite(kLampSheet, OnLampSheet(LampSprite(level, melody))));
      EXPECT_GT(now, before) << frame;
      before = now;
    }
  }
  EXPECT_NE(Sprite(kLampSheet, LampSprite(0, true)), Sprite(kLampSheet, LampSprite(0, false)));
}

TEST_P(SkinSprites, TheNinthLampIsTheLastFullRow) {
  EXPECT_EQ(LampFrame(127), 8);
  EXPECT_EQ(OnLampSheet(LampSprite(127, true)), (SpriteRect{3, 171, 18, 18}));
  EXPECT_EQ(OnLampSheet(LampSprite(60, false)), LampSprite(60, false)) << "others as they are";
  EXPECT_FALSE(IsBlank(Sprite(kLampSheet, OnLampSheet(LampSprite(127, true)))));
}

TEST_P(SkinSprites, MeterLightsOneSegmentMoreWithEveryFrame) {
  double before = 0;
  for (int segments = 0; segments < 12; ++segments) {
    const double now = Brightness(Sprite(kMeterSheet, VuSprite(segments)));
    EXPECT_GT(now, before) << segments;
    before = now;
  }
}

TEST_P(SkinSprites, GlyphsDifferAndAreBrighterWhenLit) {
  std::vector<SpriteRect> lit;
  for (char character = ' '; character < 127; ++character) {
    const SpriteRect bright = LedPrint({&character, 1}, 0, 0, true).front().source;
    const SpriteRect dim = LedPrint({&character, 1}, 0, 0, false).front().source;
    lit.push_back(bright);
    if (character == ' ') continue;
    EXPECT_GT(Brightness(Sprite(kLedSheet, bright)), Brightness(Sprite(kLedSheet, dim)))
        << character;
    EXPECT_GT(Brightness(Sprite(kLedSheet, dim)), Brightness(Sprite(kLedSheet, lit.front())))
        << character << ": a dim character stands out from the unlit dots";
  }
  ExpectAllDifferent(kLedSheet, lit);
}

TEST_P(SkinSprites, SmallKnobsTurnWithEveryFrame) {
  for (int style = 0; style < kKnobStyles; ++style) {
    std::vector<SpriteRect> sprites;
    for (int value = 0; value < 128; value += 4) {
      sprites.push_back(SmallKnobSprite(static_cast<KnobStyle>(style), value));
    }
    ExpectAllDifferent(kControllerSheet, sprites);
  }
  for (const int value : {0, 64, 127}) {
    std::vector<SpriteRect> sprites;
    for (const KnobStyle style :
         {KnobStyle::kAmount, KnobStyle::kAmountOverride, KnobStyle::kAmountOff}) {
      sprites.push_back(SmallKnobSprite(style, value));
    }
    ExpectAllDifferent(kControllerSheet, sprites);
  }
}

TEST_P(SkinSprites, NumbersReadDifferently) {
  std::vector<SpriteRect> sprites;
  for (const bool is_override : {false, true}) {
    for (int number = 0; number <= kNumberBlank; ++number) {
      if (number < kNumberBlank || !is_override) {
        sprites.push_back(NumberSprite(number, is_override));
      }
    }
  }
  ExpectAllDifferent(kNumberSheet, sprites);
  EXPECT_EQ(NumberSprite(-1, false), NumberSprite(kNumberBlank, false));
  EXPECT_EQ(NumberSprite(1000, true), NumberSprite(kNumberBlank, true));
  ExpectAllDifferent(kControllerSheet, {DrumSprite(false, false), DrumSprite(false, true),
                                        DrumSprite(true, false), DrumSprite(true, true)});
}

TEST_P(SkinSprites, ReverbKnobsTurnWithEveryFrame) {
  std::vector<SpriteRect> sprites;
  for (const bool is_override : {false, true}) {
    for (int frame = 0; frame < kReverbKnobFrames; ++frame) {
      sprites.push_back(ReverbKnobSprite(frame / 44.0, is_override));
    }
  }
  ExpectAllDifferent(kReverbSheet, sprites);
  EXPECT_EQ(ReverbKnobSprite(-1, false).y, 0);
  EXPECT_EQ(ReverbKnobSprite(2, false).y, 2160 - 48);
}

TEST_P(SkinSprites, PartsOfThePanelAreDrawn) {
  ExpectAllDifferent(kButtonSheet,
                     {kScrewSprite, kScrewTurnedSprite, kGlassPatch.source, kPlatePatch.source,
                      kGroovePatch.source, kGroovePlayedPatch.source, kSliderCapSprite,
                      kSliderCapHoverSprite, kSliderCapDownSprite, kPassageStartSprite,
                      kPassageEndSprite, ClipLampSprite(false), ClipLampSprite(true)});
  ExpectAllDifferent(kLampSheet, {kPanelTile, kNamePlate, kPanelLight});
}

// ---- Drawing.

QImage Canvas(QSize size, double ratio) {
  QImage canvas((QSizeF(size) * ratio).toSize(), QImage::Format_RGB32);
  canvas.setDevicePixelRatio(ratio);
  canvas.fill(Qt::magenta);
  return canvas;
}

QImage Part(const Skin& skin, int id, const SpriteRect& rect, int scale) {
  return skin.Bitmap(id, scale)
      .copy(rect.x * scale, rect.y * scale, rect.width * scale, rect.height * scale)
      .toImage()
      .convertToFormat(QImage::Format_RGB32);
}

class SkinDrawing : public testing::TestWithParam<int> {
 protected:
  const Skin skin_;
};

INSTANTIATE_TEST_SUITE_P(Scale, SkinDrawing, testing::Values(1, 2));

TEST_P(SkinDrawing, CopiesThePixelsOfTheSetThatFitsTheScreen) {
  const int scale = GetParam();
  for (const auto& [id, rect] :
       {std::pair(kButtonSheet, SmSprite(33, 2)), std::pair(kFaderSheet, KnobSprite(0, 150)),
        std::pair(kLedSheet, LedPrint("K", 0, 0, true).front().source)}) {
    QImage canvas = Canvas({60, 140}, scale);
    {
      QPainter painter(&canvas);
      skin_.Draw(painter, id, rect, {7, 5});
    }
    const QImage drawn = canvas.copy(7 * scale, 5 * scale, rect.width * scale, rect.height * scale);
    QImage expected = Part(skin_, id, rect, scale);
    expected.setDevicePixelRatio(drawn.devicePixelRatio());
    EXPECT_EQ(drawn, expected) << id;
    EXPECT_EQ(canvas.pixelColor(7 * scale - 1, 5 * scale), QColor(Qt::magenta));
    EXPECT_EQ(canvas.pixelColor((7 + rect.width) * scale, 5 * scale), QColor(Qt::magenta));
  }
}

TEST_P(SkinDrawing, NinePatchKeepsItsCornersAndFillsItsArea) {
  const int scale = GetParam();
  QImage canvas = Canvas({120, 90}, scale);
  {
    QPainter painter(&canvas);
    skin_.DrawNinePatch(painter, kPlatePatch, {10, 10, 100, 70});
  }
  const SpriteRect& whole = kPlatePatch.source;
  const int corner = kPlatePatch.border;
  const auto copy = [&](int x, int y) {
    QImage part = canvas.copy(x * scale, y * scale, corner * scale, corner * scale);
    part.setDevicePixelRatio(scale);
    return part;
  };
  const auto source = [&](int x, int y) {
    return Part(skin_, kPlatePatch.sheet, {whole.x + x, whole.y + y, corner, corner}, scale);
  };
  EXPECT_EQ(copy(10, 10), source(0, 0));
  EXPECT_EQ(copy(110 - corner, 10), source(whole.width - corner, 0));
  EXPECT_EQ(copy(10, 80 - corner), source(0, whole.height - corner));
  for (int y = 10 * scale; y < 80 * scale; ++y) {
    for (int x = 10 * scale; x < 110 * scale; ++x) {
      ASSERT_NE(canvas.pixelColor(x, y), QColor(Qt::magenta)) << x << ", " << y;
    }
  }
  EXPECT_EQ(canvas.pixelColor(10 * scale - 1, 40 * scale), QColor(Qt::magenta));
  EXPECT_EQ(canvas.pixelColor(110 * scale, 40 * scale), QColor(Qt::magenta));
}

TEST_P(SkinDrawing, TilesRepeatAndAreCutAtTheEnd) {
  const int scale = GetParam();
  QImage canvas = Canvas({200, 150}, scale);
  {
    QPainter painter(&canvas);
    skin_.DrawTiled(painter, kLampSheet, kPanelTile, {0, 0, 190, 140});
  }
  const int step = kPanelTile.width * scale;
  EXPECT_EQ(canvas.copy(0, 0, 60, 60), canvas.copy(step, 0, 60, 60));
  EXPECT_NE(canvas.pixelColor(190 * scale - 1, 140 * scale - 1), QColor(Qt::magenta));
  EXPECT_EQ(canvas.pixelColor(190 * scale, 100), QColor(Qt::magenta));
  EXPECT_EQ(canvas.pixelColor(100, 140 * scale), QColor(Qt::magenta));
}

TEST(SkinDrawing, AScreenBetweenTheScalesGetsTheDenseSetMadeSmaller) {
  const Skin skin;
  QImage canvas = Canvas({40, 40}, 1.5);
  {
    QPainter painter(&canvas);
    skin.Draw(painter, kButtonSheet, SmSprite(33, 0), {4, 4});
  }
  EXPECT_NE(canvas.pixelColor(6, 6), QColor(Qt::magenta));
  EXPECT_NE(canvas.pixelColor(53, 53), QColor(Qt::magenta));
  EXPECT_EQ(canvas.pixelColor(5, 5), QColor(Qt::magenta));
  EXPECT_EQ(canvas.pixelColor(54, 54), QColor(Qt::magenta));
}

}  // namespace
}  // namespace vexolo
