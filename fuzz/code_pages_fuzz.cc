// layer: core
// Code pages and encodings: any bytes are converted, and what can be turned back is the same.
#include <string>
#include <vector>

#include "fuzz/support/fuzz_input.h"
#include "lyrics/code_pages.h"
#include "lyrics/song_titles.h"
#include "platform/text_encoding.h"

namespace {

using namespace vexolo;
using fuzz::Require;

void CheckEncodings(std::string_view bytes) {
  const std::string utf8 = Utf8FromWindows1252(bytes);
  Require(IsValidUtf8(utf8) && CountCharacters(utf8) == bytes.size());
  Require(Windows1252FromUtf8(utf8) == bytes);
  Require(Windows1252FromUtf8OrReplace(bytes).size() <= bytes.size());

  const DecodedText decoded = DecodeText(bytes);
  Require(IsValidUtf8(decoded.text));
  const std::string encoded = EncodeText(decoded.text, decoded.encoding);
  Require((decoded.has_byte_order_mark ? std::string(kUtf8ByteOrderMark) : "") + encoded == bytes);
  const DecodedText again = DecodeText(EncodeText(decoded.text, TextEncoding::kWindows1252));
  if (!again.has_byte_order_mark) Require(again.text == decoded.text);

  const std::string folded = FoldCase(decoded.text);
  Require(IsValidUtf8(folded) && FoldCase(folded) == folded);
  const std::size_t count = CountCharacters(decoded.text);
  for (const std::size_t wanted : {std::size_t{0}, count / 2, count, count + 1}) {
    const std::string_view cut = CutToCharacters(decoded.text, wanted);
    Require(IsValidUtf8(cut) && CountCharacters(cut) == std::min(wanted, count));
    Require(decoded.text.starts_with(cut));
  }
}

void CheckPages(const std::vector<std::string>& texts) {
  LyricCodePages pages;
  for (const std::string& text : texts) pages.DetectCodePage(text);
  Require(pages.detected() >= kCodePageNone && pages.detected() <= kCodePageMacintosh);
  for (const int page : {-32768, -1, 0, 1, 2, 3, 4, 32767}) {
    pages.set_forced(static_cast<std::int16_t>(page));
    for (const std::string& text : texts) {
      const std::string converted = pages.ConvertLyricText(text);
      Require(page == kCodePageUtf8 ? converted.size() <= text.size()
                                    : converted.size() == text.size());
      std::string appended = "x";
      pages.AppendConverted(text, appended);
      Require(appended == "x" + converted);
    }
  }
}

void CheckTitles(const std::vector<std::string>& texts) {
  std::vector<OutlineMark> marks;
  for (const std::string& text : texts) {
    const auto first = static_cast<unsigned char>(text.empty() ? 0 : text[0]);
    marks.push_back({first % 3u, first % 2 == 0, text});
    marks.push_back({first % 3u, first % 2 == 0, "@T" + text});
  }
  const SongTitles titles = TitlesOf(marks);
  Require(IsValidUtf8(titles.title) && IsValidUtf8(titles.artist));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes = fuzz::Text(data, size);
  CheckEncodings(bytes);
  const std::vector<std::string> texts = fuzz::SplitAtZeros(bytes);
  CheckPages(texts);
  CheckTitles(texts);
  return 0;
}
