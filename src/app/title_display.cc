#include "app/title_display.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "platform/paths.h"
#include "platform/text_encoding.h"
#include "settings/language.h"

namespace vexolo {
namespace {

constexpr char kBlank = ' ';
constexpr const char* kGap = "   ";  ///< between the end of a running text and its beginning

/// Likenesses of the characters from U+00A0 to U+00FF.
constexpr std::array<const char*, 96> kLatin = {
    " ", "!",  "c", "L", "*", "Y", "|",  "S", "\"", "c", "a", "<<", "-", "-",   "r",   "-",
    "o", "+-", "2", "3", "'", "u", "P",  ".", ",",  "1", "o", ">>", " ", "1/2", "3/4", "?",
    "A", "A",  "A", "A", "A", "A", "AE", "C", "E",  "E", "E", "E",  "I", "I",   "I",   "I",
    "D", "N",  "O", "O", "O", "O", "O",  "x", "O",  "U", "U", "U",  "U", "Y",   "P",   "ss",
    "a", "a",  "a", "a", "a", "a", "ae", "c", "e",  "e", "e", "e",  "i", "i",   "i",   "i",
    "d", "n",  "o", "o", "o", "o", "o",  "/", "o",  "u", "u", "u",  "u", "y",   "p",   "y"};

struct Likeness {
  char32_t character;
  const char* text;
};
constexpr std::array<Likeness, 18> kOthers = {{
    {0x0152, "OE"},
    {0x0153, "oe"},
    {0x0160, "S"},
    {0x0161, "s"},
    {0x0178, "Y"},
    {0x017D, "Z"},
    {0x017E, "z"},
    {0x2013, "-"},
    {0x2014, "-"},
    {0x2018, "'"},
    {0x2019, "'"},
    {0x201A, ","},
    {0x201C, "\""},
    {0x201D, "\""},
    {0x201E, "\""},
    {0x2026, "..."},
    {0x20AC, "E"},
    {0x2022, "*"},
}};

std::string LikenessOf(char32_t character) {
  if (character >= 0xA0 && character <= 0xFF) return kLatin[character - 0xA0];
  for (const Likeness& other : kOthers) {
    if (other.character == character) return other.text;
  }
  return {kBlank};
}

/// Takes one character off the front of valid UTF-8.
char32_t TakeCharacter(std::string_view& text) {
  const std::string_view first = CutToCharacters(text, 1);
  const auto lead = static_cast<unsigned char>(first[0]);
  constexpr std::array<std::uint8_t, 5> kLeadBits = {0, 0x7F, 0x1F, 0x0F, 0x07};
  char32_t character = lead & kLeadBits[std::min<std::size_t>(first.size(), 4)];
  for (std::size_t i = 1; i < first.size(); ++i) {
    character = character << 6 | (static_cast<unsigned char>(first[i]) & 0x3F);
  }
  text.remove_prefix(first.size());
  return character;
}

}  // namespace

std::string LedText(std::string_view text) {
  const std::string decoded = DecodeText(text).text;
  std::string_view left = decoded;
  std::string shown;
  while (!left.empty()) {
    const char32_t character = TakeCharacter(left);
    if (character >= 0x20 && character < 0x7F) {
      shown += static_cast<char>(character);
    } else {
      shown += LikenessOf(character);
    }
  }
  return shown;
}

std::string SongName(const LyricModel& lyrics, std::string_view song_path) {
  const auto readable = [&](std::string_view text) {
    return DecodeText(lyrics.ConvertLyricText(text)).text;
  };
  const std::string title = readable(lyrics.title());
  if (title.empty()) return StemOf(song_path);
  const std::string artist = readable(lyrics.artist());
  return artist.empty() ? title : title + " - " + artist;
}

std::string TitleText(const TitleTexts& texts, const std::string& name, int place, int count) {
  const std::string& text = count < 1      ? texts.no_song
                            : name.empty() ? texts.none_current
                            : count == 1   ? texts.one_song
                                           : texts.several;
  return FillIn(text, {name, std::to_string(place), std::to_string(count)});
}

void LedScroller::SetText(const std::string& text) {
  if (text == text_) return;
  text_ = text;
  ticks_ = 0;
}

void LedScroller::Notice(const std::string& text) {
  notice_ = text;
  notice_left_ = kNoticeTime;
}

void LedScroller::Tick() {
  if (notice_left_ > 0) {
    --notice_left_;
    return;
  }
  const int length = static_cast<int>(text_.size());
  if (length <= width_) return;
  const int round = length + static_cast<int>(std::string_view(kGap).size());
  if (++ticks_ >= kRest + round * kStep) ticks_ = 0;
}

std::string LedScroller::Visible() const {
  const auto width = static_cast<std::size_t>(width_);
  std::string shown = notice_left_ > 0 ? notice_ : text_;
  if (notice_left_ <= 0 && shown.size() > width) {
    const auto gone = static_cast<std::size_t>(std::max(ticks_ - kRest, 0) / kStep);
    shown = (shown + kGap + shown).substr(gone);
  }
  shown.resize(width, kBlank);
  return shown;
}

}  // namespace vexolo
