// layer: tool
#include <filesystem>
#include <set>
#include <stdexcept>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fakes/temporary_folder.h"
#include "tools/skin_renderer/expression.h"
#include "tools/skin_renderer/led_font.h"
#include "tools/skin_renderer/picture.h"
#include "tools/skin_renderer/template.h"

namespace skin_renderer {
namespace {

using testing::HasSubstr;
using testing::ThrowsMessage;

// ---- Expressions.

double Number(std::string_view text, const Variables& variables = {}) {
  return EvaluateNumber(text, variables);
}

TEST(SkinExpression, FollowsTheRanksOfOperators) {
  EXPECT_EQ(Number("1 + 2 * 3"), 7);
  EXPECT_EQ(Number("(1 + 2) * 3"), 9);
  EXPECT_EQ(Number("10 - 4 - 3"), 3);
  EXPECT_EQ(Number("7 % 4 / 2"), 1.5);
  EXPECT_EQ(Number("-2 * -3"), 6);
  EXPECT_EQ(Number("1 + 1 == 2 && !(3 < 2) || 0"), 1);
  EXPECT_EQ(Number("0 ? 1 : 0 ? 2 : 3"), 3);
}

TEST(SkinExpression, KnowsVariablesAndFunctions) {
  const Variables variables{{"r", 2.0}, {"name", "knob"}};
  EXPECT_EQ(Number("max(r, 1) + min(r, 1)", variables), 3);
  EXPECT_NEAR(Number("sin(90) + cos(0)"), 2, 1e-12);
  EXPECT_EQ(Number("floor(2.7) + round(2.7) + abs(-1) + sqrt(9)"), 9);
  EXPECT_EQ(ToText(Evaluate("name == 'knob' ? 'yes' : 'no'", variables)), "yes");
}

TEST(SkinExpression, MixesColours) {
  EXPECT_EQ(ToText(Evaluate("mix('#000000', '#ff8000', 0.5)", {})), "#804000");
  EXPECT_EQ(MixColours("#102030", "#ffffff", 0), "#102030");
  EXPECT_EQ(MixColours("#102030", "#ffffff", 2), "#ffffff") << "kept in range";
}

TEST(SkinExpression, WritesNumbersShort) {
  EXPECT_EQ(ToText(0.1 + 0.2), "0.3");
  EXPECT_EQ(ToText(12.0), "12");
  EXPECT_EQ(ToText(2.0 / 3), "0.667");
}

TEST(SkinExpression, RefusesWhatItCannotRead) {
  for (const char* text : {"", "1 +", "(1", "'a", "missing", "sin(1, 2)", "nothing(1)", "1 2",
                           "'a' + 1", "mix('red', '#000000', 1)"}) {
    EXPECT_THROW(Evaluate(text, {}), std::runtime_error) << text;
  }
}

// ---- Templates.

std::string Expanded(std::string_view text, Variables variables = {}) {
  return ExpandText(text, ".", variables);
}

TEST(SkinTemplate, FillsInRepeatsAndChooses) {
  EXPECT_EQ(Expanded("a{{set x = 3}}{{x * 2}}b"), "a6b");
  EXPECT_EQ(Expanded("{{for i in 1..3}}{{i}},{{end}}"), "1,2,3,");
  EXPECT_EQ(Expanded("{{for i in 3..1}}{{i}}{{end}}"), "");
  EXPECT_EQ(Expanded("{{if x > 1}}big{{else}}small{{end}}", {{"x", 1.0}}), "small");
  EXPECT_EQ(Expanded("{{# nothing of this is seen }}."), ".");
}

TEST(SkinTemplate, NestsBlocks) {
  EXPECT_EQ(Expanded("{{for i in 0..1}}{{for j in 0..1}}{{if i == j}}x{{else}}{{i}}{{j}}{{end}} "
                     "{{end}}{{end}}"),
            "x 01 10 x ");
  EXPECT_EQ(Expanded("{{if 0}}{{if 1}}a{{else}}b{{end}}{{else}}c{{end}}"), "c");
}

TEST(SkinTemplate, IncludesOtherSourcesWithTheirVariables) {
  const vexolo::TemporaryFolder folder;
  folder.Write("main.svg", "{{set r = 4}}<{{include part.svg}}>{{done}}");
  folder.Write("part.svg", "r={{r}}{{set done = 'yes'}}");
  Variables variables;
  EXPECT_EQ(Expand(folder.path(), "main.svg", variables), "<r=4>yes");
}

TEST(SkinTemplate, SaysWhereItWentWrong) {
  const vexolo::TemporaryFolder folder;
  folder.Write("main.svg", "{{include part.svg}}");
  folder.Write("part.svg", "{{radius}}");
  folder.Write("loop.svg", "{{include loop.svg}}");
  Variables variables;
  EXPECT_THAT([&] { Expand(folder.path(), "main.svg", variables); },
              ThrowsMessage<std::runtime_error>(HasSubstr("part.svg: {{radius}}: ")));
  EXPECT_THAT([&] { Expand(folder.path(), "loop.svg", variables); },
              ThrowsMessage<std::runtime_error>(HasSubstr("includes itself")));
  EXPECT_THROW(Expand(folder.path(), "missing.svg", variables), std::runtime_error);
  for (const char* text :
       {"{{", "{{for i in 1..2}}", "{{if 1}}", "{{for i}}{{end}}", "{{set x}}"}) {
    EXPECT_THROW(Expanded(text), std::runtime_error) << text;
  }
}

// ---- Pictures.

constexpr const char* kTwoHalves =
    "<svg xmlns='http://www.w3.org/2000/svg' viewBox='0 0 2 1'>"
    "<rect width='1' height='1' fill='#ff0000'/><rect x='1' width='1' height='1' fill='#0000ff'/>"
    "</svg>";

TEST(SkinPicture, IsDrawnAtTheScaleThatIsAskedFor) {
  const Picture picture = Draw(kTwoHalves, 6, 3);
  ASSERT_EQ(picture.pixels.size(), 18u);
  EXPECT_EQ(picture.pixels[0], 0xFFFF0000u);
  EXPECT_EQ(picture.pixels[2], 0xFFFF0000u);
  EXPECT_EQ(picture.pixels[3], 0xFF0000FFu);
  EXPECT_THROW(Draw("<svg", 1, 1), std::runtime_error);
}

TEST(SkinPicture, BitmapHasItsRowsFromTheBottomPaddedToFourBytes) {
  const Picture picture{1, 2, {0xFF112233u, 0xFF445566u}};
  const std::string bytes = ToBmp(picture, 24, 3780);
  ASSERT_EQ(bytes.size(), 54u + 8);
  EXPECT_EQ(bytes.substr(0, 2), "BM");
  EXPECT_EQ(bytes[2], 62);   // file size
  EXPECT_EQ(bytes[10], 54);  // where the pixels begin
  EXPECT_EQ(bytes[18], 1);   // width
  EXPECT_EQ(bytes[22], 2);   // height
  EXPECT_EQ(bytes[28], 24);  // bits
  EXPECT_EQ(bytes.substr(54), std::string("\x66\x55\x44\0\x33\x22\x11\0", 8));
}

TEST(SkinPicture, BitmapOf32BitsLeavesTheFourthByteEmpty) {
  const std::string bytes = ToBmp({1, 1, {0xFF112233u}}, 32, 3780);
  EXPECT_EQ(bytes[28], 32);
  EXPECT_EQ(bytes.substr(54), std::string("\x33\x22\x11\0", 4));
}

// ---- The LED font.

std::string Dots(int code) {
  std::string dots;
  for (int row = 0; row < kLedRows; ++row) {
    for (int column = 0; column < kLedColumns; ++column) {
      dots.push_back(LedDot(code, row, column) ? '#' : '.');
    }
  }
  return dots;
}

TEST(LedFont, HasAShapeOfItsOwnForEveryCharacter) {
  std::set<std::string> shapes;
  for (int code = 0; code < kLedGlyphs; ++code) shapes.insert(Dots(code));
  EXPECT_EQ(shapes.size(), 96u);
  EXPECT_EQ(Dots(0).find('#'), std::string::npos) << "the blank";
}

TEST(LedFont, KeepsCharactersApart) {
  for (int code = 0; code < kLedGlyphs; ++code) {
    for (int row = 0; row < kLedRows; ++row) {
      EXPECT_FALSE(LedDot(code, row, kLedColumns - 1)) << code;
    }
  }
  EXPECT_FALSE(LedDot(-1, 4, 2));
  EXPECT_FALSE(LedDot(96, 4, 2));
}

}  // namespace
}  // namespace skin_renderer
