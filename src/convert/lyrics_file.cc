#include "convert/lyrics_file.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace vexolo {

namespace {

constexpr std::string_view kLineBreak = "\r\n";
constexpr std::string_view kParagraphBreak = "\r\n \r\n";
constexpr std::string_view kBreakMarker = "\xA7\xB5";  // "§µ": a line break inside a syllable

/// Semicolons become spaces; every form of line break, the marker included, becomes CR LF, and goes
/// at the end.
std::string Cleaned(std::string_view syllable) {
  std::string cleaned;
  cleaned.reserve(syllable.size() + 2);
  while (!syllable.empty()) {
    std::size_t taken = 1;
    if (syllable.starts_with(kLineBreak) || syllable.starts_with(kBreakMarker)) {
      cleaned += kLineBreak;
      taken = 2;
    } else if (syllable.front() == '\r' || syllable.front() == '\n') {
      cleaned += kLineBreak;
    } else {
      cleaned += syllable.front() == ';' ? ' ' : syllable.front();
    }
    syllable.remove_prefix(taken);
  }
  while (cleaned.ends_with(kLineBreak)) cleaned.resize(cleaned.size() - kLineBreak.size());
  return cleaned;
}

bool IsBlank(std::string_view text) {
  return text.find_first_not_of(' ') == std::string_view::npos;
}

/// Four decimals after a comma.
std::string TimeText(double seconds) {
  std::array<char, 64> digits;
  const auto result = std::to_chars(digits.data(), digits.data() + digits.size(), seconds,
                                    std::chars_format::fixed, 4);
  std::string text(digits.data(), result.ptr);
  std::replace(text.begin(), text.end(), '.', ',');
  return text;
}

/// The output, and what the line rule needs to know of its current line. That is kept up to date
/// as the line grows, so that no line is scanned twice.
class Output {
 public:
  explicit Output(int max_length) : max_length_(max_length) {}

  bool empty() const { return text_.empty(); }
  std::string Take() { return std::move(text_); }

  void Append(std::string_view text) {
    text_ += text;
    const std::size_t last_break = text.rfind(kLineBreak);
    if (last_break != std::string_view::npos) {
      StartLine(text_.size() - text.size() + last_break + kLineBreak.size());
    }
    if (max_length_ > 0) Scan();
  }

  /// Breaks the current line at its last space when the coming syllable makes it too long. Only a
  /// space between two words of one syllable will do: one beside a separator belongs to the entry.
  void MakeRoomFor(std::string_view syllable) {
    if (max_length_ <= 0 || syllable.empty()) return;
    const std::size_t length = text_.size() - line_start_ + syllable.size();
    if (length <= static_cast<std::size_t>(max_length_) || !last_space_) return;
    const std::size_t space = *last_space_;
    if (space > line_start_ && text_[space - 1] == ';') return;
    if (space + 1 < text_.size() && text_[space + 1] == ';') return;
    text_.replace(space, 1, kLineBreak);
    StartLine(space + kLineBreak.size());
    Scan();
  }

 private:
  void StartLine(std::size_t place) {
    line_start_ = place;
    scanned_ = place;
    in_syllable_ = true;
    last_space_.reset();
  }

  /// Fields take turns, syllable and time, each ended by a semicolon.
  void Scan() {
    for (; scanned_ < text_.size(); ++scanned_) {
      if (text_[scanned_] == ';') in_syllable_ = !in_syllable_;
      if (text_[scanned_] == ' ' && in_syllable_) last_space_ = scanned_;
    }
  }

  const int max_length_;
  std::string text_;
  std::size_t line_start_ = 0;
  std::size_t scanned_ = 0;
  bool in_syllable_ = true;
  std::optional<std::size_t> last_space_;
};

/// The part of the song that is converted, in seconds.
struct Range {
  double start = 0;
  std::optional<double> end;
};

Range ConvertedRange(const bass::Api& api, bass::HSTREAM stream, const LyricsFileOptions& options) {
  const double length =
      api.BASS_ChannelBytes2Seconds(stream, api.BASS_ChannelGetLength(stream, bass::BASS_POS_BYTE));
  Range range;
  if (StartInForce(options.markers, options.speed_factor, length)) {
    range.start = ActingStart(options.markers, options.speed_factor);
  }
  if (EndInForce(options.markers, options.speed_factor, length)) {
    range.end = ActingEnd(options.markers, options.speed_factor);
  }
  return range;
}

void WriteMark(std::string_view text, double time, const LyricsFileOptions& options,
               Output& output) {
  if (text.starts_with('@')) return;
  if (text.starts_with('/') || text.starts_with('\\')) {
    if (!output.empty()) output.Append(text.front() == '/' ? kLineBreak : kParagraphBreak);
    text.remove_prefix(1);
  }
  std::string syllable = Cleaned(text);
  if (!IsBlank(syllable) && options.convert) syllable = options.convert(syllable);
  output.MakeRoomFor(syllable);
  output.Append(syllable + ';' + TimeText(time) + ';');
}

}  // namespace

std::string LyricsFileText(const bass::Api& api, bass::HSTREAM stream,
                           const LyricsFileOptions& options) {
  Output output(options.max_length);
  if (options.lyric_track < 0) return output.Take();
  const Range range = ConvertedRange(api, stream, options);
  bass::BASS_MIDI_MARK mark;
  for (bass::DWORD i = 0; api.BASS_MIDI_StreamGetMark(stream, options.mark_type, i, &mark); ++i) {
    if (mark.track != static_cast<bass::DWORD>(options.lyric_track)) continue;
    const double position = api.BASS_ChannelBytes2Seconds(stream, mark.pos);
    const double time = position - range.start;
    if (!(time >= 0) || (range.end && position > *range.end)) continue;
    WriteMark(mark.text == nullptr ? std::string_view() : mark.text, time, options, output);
  }
  return output.Take();
}

std::optional<FileError> WriteLyricsFile(const std::string& path, std::string_view text) {
  return WriteWholeFile(path, text, Durability::kInSystem);
}

}  // namespace vexolo
