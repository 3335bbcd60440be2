#include "lyrics/code_pages.h"

#include <algorithm>
#include <limits>

#include "platform/text_encoding.h"

namespace vexolo {

namespace {

using Table = std::array<unsigned char, 128>;
using ProbeSet = std::array<unsigned char, 7>;

constexpr std::string_view kReset = "*RAZ*";

// à ç é è ê ë ù under Windows, DOS and Macintosh.
constexpr std::array<ProbeSet, 3> kProbeSets = {{
    {224, 231, 233, 232, 234, 235, 249},
    {133, 135, 130, 138, 136, 137, 151},
    {136, 141, 142, 143, 144, 145, 157},
}};

// Entry n is the Windows-1252 code of character 128 + n.
//
// Upper half of code page 850. Lines and blocks become "¦", "+", "-" and "_".
constexpr Table kDosTable = {
    0xC7, 0xFC, 0xE9, 0xE2, 0xE4, 0xE0, 0xE5, 0xE7, 0xEA, 0xEB, 0xE8, 0xEF,  //
    0xEE, 0xEC, 0xC4, 0xC5, 0xC9, 0xE6, 0xC6, 0xF4, 0xF6, 0xF2, 0xFB, 0xF9,  //
    0xFF, 0xD6, 0xDC, 0xF8, 0xA3, 0xD8, 0xD7, 0x83, 0xE1, 0xED, 0xF3, 0xFA,  //
    0xF1, 0xD1, 0xAA, 0xBA, 0xBF, 0xAE, 0xAC, 0xBD, 0xBC, 0xA1, 0xAB, 0xBB,  //
    0x5F, 0x5F, 0x5F, 0xA6, 0xA6, 0xC1, 0xC2, 0xC0, 0xA9, 0xA6, 0xA6, 0x2B,  //
    0x2B, 0xA2, 0xA5, 0x2B, 0x2B, 0x2D, 0x2D, 0x2B, 0x2D, 0x2B, 0xE3, 0xC3,  //
    0x2B, 0x2B, 0x2D, 0x2D, 0xA6, 0x2D, 0x2B, 0xA4, 0xF0, 0xD0, 0xCA, 0xCB,  //
    0xC8, 0x69, 0xCD, 0xCE, 0xCF, 0x2B, 0x2B, 0x5F, 0x5F, 0xA6, 0xCC, 0x2D,  //
    0xD3, 0xDF, 0xD4, 0xD2, 0xF5, 0xD5, 0xB5, 0xFE, 0xDE, 0xDA, 0xDB, 0xD9,  //
    0xFD, 0xDD, 0xAF, 0xB4, 0xAD, 0xB1, 0x5F, 0xBE, 0xB6, 0xA7, 0xF7, 0xB8,  //
    0xB0, 0xA8, 0xB7, 0xB9, 0xB3, 0xB2, 0x5F, 0xA0};

// Upper half of Mac Roman. "?" where there is no equivalent; infinity, comparisons, pi, omega,
// square root, fraction slash and dotless i become "8", "=", "p", "O", "v", "/" and "i".
constexpr Table kMacintoshTable = {
    0xC4, 0xC5, 0xC7, 0xC9, 0xD1, 0xD6, 0xDC, 0xE1, 0xE0, 0xE2, 0xE4, 0xE3,  //
    0xE5, 0xE7, 0xE9, 0xE8, 0xEA, 0xEB, 0xED, 0xEC, 0xEE, 0xEF, 0xF1, 0xF3,  //
    0xF2, 0xF4, 0xF6, 0xF5, 0xFA, 0xF9, 0xFB, 0xFC, 0x86, 0xB0, 0xA2, 0xA3,  //
    0xA7, 0x95, 0xB6, 0xDF, 0xAE, 0xA9, 0x99, 0xB4, 0xA8, 0x3F, 0xC6, 0xD8,  //
    0x38, 0xB1, 0x3D, 0x3D, 0xA5, 0xB5, 0x3F, 0x3F, 0x3F, 0x70, 0x3F, 0xAA,  //
    0xBA, 0x4F, 0xE6, 0xF8, 0xBF, 0xA1, 0xAC, 0x76, 0x83, 0x3F, 0x3F, 0xAB,  //
    0xBB, 0x85, 0xA0, 0xC0, 0xC3, 0xD5, 0x8C, 0x9C, 0x96, 0x97, 0x93, 0x94,  //
    0x91, 0x92, 0xF7, 0x3F, 0xFF, 0x9F, 0x2F, 0x80, 0x8B, 0x9B, 0x3F, 0x3F,  //
    0x87, 0xB7, 0x82, 0x84, 0x89, 0xC2, 0xCA, 0xC1, 0xCB, 0xC8, 0xCD, 0xCE,  //
    0xCF, 0xCC, 0xD3, 0xD4, 0x3F, 0xD2, 0xDA, 0xDB, 0xD9, 0x69, 0x88, 0x98,  //
    0xAF, 0x3F, 0x3F, 0x3F, 0xB8, 0x3F, 0x3F, 0x3F};

/// By code page number; null where the text is left as it is.
constexpr std::array<const Table*, 3> kTables = {nullptr, &kDosTable, &kMacintoshTable};

bool Contains(const ProbeSet& set, unsigned char code) {
  return std::find(set.begin(), set.end(), code) != set.end();
}

/// The page that a high character speaks for, -1 when it is no probe of any. Pages overlap; the
/// lower one has the say.
int Classify(unsigned char code) {
  for (std::size_t page = 0; page < kProbeSets.size(); ++page) {
    if (Contains(kProbeSets[page], code)) return static_cast<int>(page);
  }
  return kCodePageNone;
}

void AppendFromUtf8(std::string_view text, std::string& converted) {
  while (!text.empty()) {
    const std::size_t mark = text.find(kUtf8ByteOrderMark);
    AppendWindows1252FromUtf8(text.substr(0, mark), '?', converted);
    if (mark == std::string_view::npos) return;
    text.remove_prefix(mark + kUtf8ByteOrderMark.size());
  }
}

}  // namespace

void LyricCodePages::DetectCodePage(std::string_view text) {
  if (text == kReset) {
    counts_.fill(0);
    detected_ = kCodePageNone;
    return;
  }
  bool high_seen = false;
  for (const char character : text) {
    const auto code = static_cast<unsigned char>(character);
    if (code < 128) continue;
    high_seen = true;
    const int page = Classify(code);
    if (page < 0) continue;
    std::int16_t& count = counts_[static_cast<std::size_t>(page)];
    if (count < std::numeric_limits<std::int16_t>::max()) ++count;
  }
  if (!high_seen) return;
  detected_ = kCodePageNone;
  std::int16_t best = 0;
  for (std::size_t page = 0; page < counts_.size(); ++page) {
    if (counts_[page] > best) {
      best = counts_[page];
      detected_ = static_cast<std::int16_t>(page);
    }
  }
}

std::string LyricCodePages::ConvertLyricText(std::string_view text) const {
  std::string converted;
  converted.reserve(text.size());
  AppendConverted(text, converted);
  return converted;
}

void LyricCodePages::AppendConverted(std::string_view text, std::string& converted) const {
  const std::int16_t forced_page = forced();
  const std::int16_t page = forced_page >= 0 ? forced_page : detected_;
  if (page == kCodePageUtf8) {
    AppendFromUtf8(text, converted);
    return;
  }
  if (page < 1 || static_cast<std::size_t>(page) >= kTables.size()) {
    converted += text;
    return;
  }
  const Table& table = *kTables[static_cast<std::size_t>(page)];
  for (const char character : text) {
    const auto code = static_cast<unsigned char>(character);
    converted += code < 128 ? character : static_cast<char>(table[code - 128u]);
  }
}

}  // namespace vexolo
