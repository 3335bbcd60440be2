#include "mixer/sound_font_info.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <istream>
#include <optional>
#include <string_view>
#include <system_error>

#include "platform/locale_format.h"
#include "platform/paths.h"
#include "platform/text_encoding.h"

namespace vexolo {
namespace {

constexpr std::size_t kHeaderBytes = 8;   ///< four letters and a size
constexpr std::size_t kFormBytes = 4;     ///< of a "RIFF" or "LIST" chunk: what it holds
constexpr std::size_t kMaxText = 1024;    ///< bytes; the format allows 256
constexpr std::size_t kMaxFonts = 64;     ///< entries of the listing
constexpr int kMaxChunksPassed = 100000;  ///< a file of empty chunks must not hold up the window

struct RiffChunk {
  std::uint64_t data = 0;
  std::uint32_t size = 0;

  std::uint64_t End() const { return data + size; }
  std::uint64_t Next() const { return End() + size % 2; }
};

std::uint32_t Number(const char* bytes, int count) {
  std::uint32_t number = 0;
  while (count-- > 0) number = number << 8 | static_cast<std::uint8_t>(bytes[count]);
  return number;
}

/// Looks for chunks from a place on, one after the other, without looking into them.
class RiffReader {
 public:
  explicit RiffReader(std::istream& file) : file_(file) {
    file_.seekg(0, std::ios::end);
    const std::streamoff end = file_.tellg();
    size_ = file_.good() && end > 0 ? static_cast<std::uint64_t>(end) : 0;
  }

  std::uint64_t size() const { return size_; }

  /// The first chunk of that name that begins in [from, end); with a `form`, the first that holds
  /// it. The size is as the file states it.
  std::optional<RiffChunk> Find(std::string_view id, std::string_view form, std::uint64_t from,
                                std::uint64_t end) {
    end = std::min(end, size_);
    for (int passed = 0; passed < kMaxChunksPassed && from + kHeaderBytes <= end; ++passed) {
      const std::string head = Read(from, kHeaderBytes + form.size());
      if (head.size() < kHeaderBytes) break;
      const RiffChunk chunk = {from + kHeaderBytes, Number(&head[4], 4)};
      if (head.starts_with(id) && head.substr(kHeaderBytes) == form) return chunk;
      from = chunk.Next();
    }
    return std::nullopt;
  }

  /// As many of these bytes as the file has.
  std::string Read(std::uint64_t from, std::size_t count) {
    std::string bytes(count, '\0');
    file_.clear();
    file_.seekg(static_cast<std::streamoff>(from));
    file_.read(bytes.data(), static_cast<std::streamsize>(count));
    bytes.resize(static_cast<std::size_t>(std::max<std::streamsize>(file_.gcount(), 0)));
    return bytes;
  }

 private:
  std::istream& file_;
  std::uint64_t size_ = 0;
};

}  // namespace

SoundFontInfo ReadSoundFontInfo(std::istream& file) {
  SoundFontInfo info;
  const auto without = [&info](const char* problem) {
    info.problem = problem;
    return info;
  };
  RiffReader reader(file);
  const auto bank = reader.Find("RIFF", "sfbk", 0, reader.size());
  if (!bank) return without("No soundfont bank found!");
  const auto list = reader.Find("LIST", "", bank->data + kFormBytes, bank->End());
  if (!list) return without("No LIST chunk found!");
  const auto version = reader.Find("ifil", "", list->data + kFormBytes, list->End());
  if (!version) return without("No ifil chunk found!");
  std::string words = reader.Read(version->data, std::min<std::size_t>(version->size, 4));
  words.resize(4);
  info.major = static_cast<std::uint16_t>(Number(&words[0], 2));
  info.minor = static_cast<std::uint16_t>(Number(&words[2], 2));
  const auto engine = reader.Find("isng", "", version->Next(), list->End());
  if (!engine) return without("No isng chunk found!");
  const std::string text = reader.Read(engine->data, std::min<std::size_t>(engine->size, kMaxText));
  info.engine = DecodeText(std::string_view(text).substr(0, text.find('\0'))).text;
  return info;
}

SoundFontInfo ReadSoundFontInfo(const std::string& path) {
  std::ifstream file;
  std::error_code error;
  // Anything else that can be opened might wait for somebody at its other end.
  if (std::filesystem::is_regular_file(ToNativePath(path), error)) {
    file.open(ToNativePath(path), std::ios::binary);
  }
  return ReadSoundFontInfo(file);
}

std::string SoundFontInfoText(const SoundFontInfo& info) {
  return info.engine + "\nVersion " + std::to_string(info.major) + "." + std::to_string(info.minor);
}

std::string FontListing(const bass::Api& api, const AudioState& audio) {
  std::array<bass::BASS_MIDI_FONT, kMaxFonts> fonts = {};
  bass::DWORD count = api.BASS_MIDI_StreamGetFonts(audio.stream, fonts.data(), kMaxFonts);
  if (count == bass::kError32) count = 0;
  std::string listing = "font_=" + std::to_string(audio.font) + "\n";
  for (std::size_t i = 0; i < std::min<std::size_t>(count, fonts.size()); ++i) {
    listing += " font=" + std::to_string(fonts[i].font) + " " +
               FormatNumber(fonts[i].preset, "000", '.') + " " +
               FormatNumber(fonts[i].bank, "000", '.') + "\n";
  }
  return listing;
}

void ShowSoundFontInfo(const bass::Api& api, const AudioState& audio, MessageBoxes& boxes,
                       const std::string& title) {
  boxes.Show(FontListing(api, audio), title, BoxIcon::kInformation);
  const SoundFontInfo info = ReadSoundFontInfo(audio.font_path);
  if (info.problem != nullptr) {
    boxes.Show(info.problem, title, BoxIcon::kCritical);
  } else {
    boxes.Show(SoundFontInfoText(info), title, BoxIcon::kNone);
  }
}

}  // namespace vexolo
