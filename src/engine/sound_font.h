/// A SoundFont 2 bank: loading, information, presets.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace vexolo::engine {

class ChannelSynth;
class SoundFontSynth;

/// Thrown where a bank that has been loaded can be read no more.
struct UnreadableBank : std::runtime_error {
  UnreadableBank() : std::runtime_error("the bank can be read no more") {}
};

/// What the bank says of itself (RIFF INFO list).
struct SoundFontInfo {
  std::string name;
  std::string copyright;
  std::string comment;
  std::uint32_t presets = 0;       ///< number of presets
  std::uint32_t sample_bytes = 0;  ///< size of the sample data
};

/// A loaded bank, shared by every stream that plays it. All but `volume` is immutable.
///
/// Loading takes long (the samples are read): call it off the window thread. The file is checked
/// for its form (sound_font_check.h) before the synthesiser's own reader sees it.
///
/// Any thread may call any function.
class SoundFont {
 public:
  enum class Error { kNone, kOpen, kFormat };

  /// When the samples of the whole bank are read into memory: at once, or with the first
  /// synthesiser that plays all channels.
  enum class Samples { kAtOnce, kWhenPlayed };

  /// Null on failure; `error` then says why. The path is UTF-8.
  static std::shared_ptr<SoundFont> Load(const std::string& path, Error* error,
                                         Samples samples = Samples::kAtOnce);
  virtual ~SoundFont() = default;

  virtual const SoundFontInfo& info() const = 0;

  /// Name of a preset, null where the bank has none. Bank 128 = drum kits.
  virtual const char* PresetName(int preset, int bank) const = 0;

  /// A synthesiser that plays this bank (and keeps it alive). Takes some milliseconds; a spare made
  /// beforehand by Prepare is handed out at once. Null where memory runs out.
  virtual std::unique_ptr<SoundFontSynth> CreateSynth() = 0;

  /// Makes a spare synthesiser where there is none. Any thread but the mixing one.
  virtual void Prepare() = 0;

  /// A synthesiser for one channel (0..15) of a song that is rendered to a file. It keeps the bank
  /// alive, and reads from it the presets that it is asked for and nothing else. Null where memory
  /// runs out.
  virtual std::unique_ptr<ChannelSynth> CreateChannelSynth(int channel) = 0;

  /// Linear output volume, 1.0 = normal. Read by the mixing threads.
  std::atomic<float> volume{1.0f};
};

/// Name and version of the library that plays banks.
std::string SynthesiserVersion();

}  // namespace vexolo::engine
