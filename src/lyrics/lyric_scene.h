/// What the lyric window shows: the arithmetic of its frames, without window and without OpenGL.
///
/// Upcoming lines wait below the middle, the line that is sung stands in it, sung lines rise,
/// recede and fade into the background. The result is a list of texts with place and colour.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "lyrics/glyph_table.h"
#include "lyrics/lyric_colours.h"
#include "lyrics/lyric_model.h"
#include "settings/mod_ini.h"

namespace vexolo {

inline constexpr int kLyricZoomMax = 9;
inline constexpr int kLyricZoomDefault = 5;
inline constexpr int kLinesAround = 7;  ///< drawn before and after the current line

/// The keys that mean something to the zoom; everything else is kOther.
enum class LyricKey {
  kPad0,
  kPad1,
  kPad2,
  kPad3,
  kPad4,
  kPad5,
  kPad6,
  kPad7,
  kPad8,
  kPad9,
  kPadMinus,
  kPadPlus,
  kOther,
};

/// One text of a frame: a line or a piece of the current one.
struct LyricText {
  std::size_t first = 0;   ///< of its characters, in LyricFrame::bytes
  std::size_t length = 0;  ///< never 0
  float x = 0;             ///< left end of the base line
  float y = 0;
  float z = 0;
  Rgb colour;
};

struct LyricFrame {
  Rgb background;
  float distance = 0;  ///< of the camera from the origin
  int syllable = 0;    ///< the current one, 0 = none yet
  int line = 0;        ///< its line
  std::vector<LyricText> texts;
  std::string bytes;  ///< the characters of all texts, Windows-1252

  std::string_view Text(const LyricText& text) const {
    return std::string_view(bytes).substr(text.first, text.length);
  }
};

/// The syllable at `tick` or the last one before it, from 1; 0 before the first and without any.
int CurrentSyllable(const LyricModel& model, std::int64_t tick);

/// The state of the lyric window. Window thread, but for DisplayLyrics.
class LyricScene final : public LyricDisplay {
 public:
  /// `ini` must outlive this object.
  explicit LyricScene(ModIni& ini);
  LyricScene(const LyricScene&) = delete;
  LyricScene& operator=(const LyricScene&) = delete;

  /// Makes the scroll factor be found anew and takes the zoom from the settings.
  void EffaceLyrics() override;
  /// A mark is reached: the flash begins. Any thread; waits for nothing.
  void DisplayLyrics(int mark_index) override;
  int mark_index() const { return mark_index_.load(std::memory_order_relaxed); }

  /// Interval of the refresh timer in milliseconds.
  void set_refresh_interval(int milliseconds);
  /// Lets the flash fade by as many ticks of the refresh timer as have passed.
  void Tick(int ticks = 1);
  /// Seconds.
  float flash_remaining() const { return flash_remaining_.load(std::memory_order_relaxed); }
  static constexpr float kFlashDuration = 1.0f;

  /// Every key, whatever it does, is followed by the zoom being written to the settings.
  void KeyDown(LyricKey key);
  int zoom() const { return zoom_; }
  float distance() const { return distance_; }
  /// World units for one MIDI tick; 0 until a frame of at least two lines has been built.
  float scroll_factor() const { return scroll_factor_; }

  /// Number of one of kLyricThemes; any other means the first.
  void set_theme(int theme);
  int theme() const { return theme_; }
  const LyricTheme& colours() const { return kLyricThemes[static_cast<std::size_t>(theme_)]; }

  /// The frame at the stream's position `tick`; without a song only the background. Belongs to this
  /// object and holds until the next call. Takes memory only when a song is longer than all before.
  const LyricFrame& BuildFrame(const LyricModel& model, const GlyphTable& glyphs,
                               std::optional<std::int64_t> tick);
  /// The last one that was built.
  const LyricFrame& frame() const { return frame_; }

 private:
  struct Colours {
    Rgb background;
    Rgb sung;
    Rgb flash;
    Rgb unsung;
  };
  /// Where a line stands and how it looks when it is sung.
  struct LinePlace {
    float y;
    float z;
    Rgb sung;
  };
  void set_zoom(int zoom);
  void PrepareSong(const LyricModel& model, const GlyphTable& glyphs);
  LinePlace PlaceLine(std::int32_t start_tick, std::int64_t tick, const Colours& colours) const;
  /// The characters before the current syllable, the syllable, the rest.
  void AddCurrentLine(const LyricModel& model, const GlyphTable& glyphs, const LinePlace& place,
                      const Colours& colours);
  /// Half the width of a line, to the left: where it begins so that it stands in the middle.
  float StartOf(const LyricModel& model, const GlyphTable& glyphs, std::string_view line);
  /// Converts a text and adds it to the frame; returns its width.
  float AddText(const LyricModel& model, const GlyphTable& glyphs, std::string_view raw, float x,
                const LinePlace& place, const Rgb& colour);

  ModIni& ini_;
  std::atomic<std::int32_t> mark_index_{0};
  std::atomic<float> flash_remaining_{0.0f};
  float tick_period_ = 0.016f;
  std::int16_t zoom_ = kLyricZoomDefault;
  float distance_ = 10.0f;
  float scroll_factor_ = 0;
  int theme_ = 0;
  LyricFrame frame_;
};

}  // namespace vexolo
