#include "lyrics/lyric_scene.h"

#include <algorithm>

#include "platform/locale_format.h"

namespace vexolo {

namespace {

constexpr const char* kSection = "Lyrics";
constexpr const char* kZoomKey = "Zoom";
constexpr float kNearestDistance = 10.0f;
constexpr float kUsualScrollFactor = 0.0005f;
constexpr std::size_t kMostTexts = 2 * kLinesAround + 3;  // the current line is in three pieces

int ZoomOfDigit(int digit) { return digit == 0 ? 0 : 10 - digit; }

/// The part of a line that a syllable stands for. The line may have lost its last space since.
std::string_view Part(std::string_view line, std::int32_t first, std::int32_t length) {
  const std::size_t start = std::min(static_cast<std::size_t>(first), line.size());
  return line.substr(start, static_cast<std::size_t>(length));
}

}  // namespace

int CurrentSyllable(const LyricModel& model, std::int64_t tick) {
  const int count = model.nNbParoles();
  if (count == 0 || tick < model.syllable(1).tick) return 0;
  if (tick >= model.syllable(count).tick) return count;
  int low = 1;
  int high = count;
  int middle = 1;
  while (low <= high) {
    middle = (low + high) / 2;
    const std::int32_t at = model.syllable(middle).tick;
    if (tick == at) return middle;
    if (tick > at) {
      low = middle + 1;
    } else {
      high = middle - 1;
    }
  }
  while (middle > 1 && model.syllable(middle).tick > tick) --middle;
  return middle;
}

LyricScene::LyricScene(ModIni& ini) : ini_(ini) { frame_.texts.reserve(kMostTexts); }

void LyricScene::EffaceLyrics() {
  scroll_factor_ = 0;
  const std::string stored = ini_.ReadIni(kSection, kZoomKey);
  const int zoom = stored.empty() ? kLyricZoomDefault : RoundToInt(TextToNumber(stored));
  set_zoom(std::clamp(zoom, 0, kLyricZoomMax));
}

void LyricScene::DisplayLyrics(int mark_index) {
  mark_index_.store(mark_index, std::memory_order_relaxed);
  flash_remaining_.store(kFlashDuration, std::memory_order_relaxed);
}

void LyricScene::set_refresh_interval(int milliseconds) {
  tick_period_ = static_cast<float>(milliseconds) * 0.001f;
}

void LyricScene::Tick(int ticks) {
  float remaining = flash_remaining();
  if (remaining <= 0) return;
  const float lowered = std::max(0.0f, remaining - static_cast<float>(ticks) * tick_period_);
  // A flash that begins in this very moment is not to be lost.
  flash_remaining_.compare_exchange_strong(remaining, lowered, std::memory_order_relaxed);
}

void LyricScene::KeyDown(LyricKey key) {
  int zoom = zoom_;
  if (key >= LyricKey::kPad0 && key <= LyricKey::kPad9) {
    zoom = ZoomOfDigit(static_cast<int>(key) - static_cast<int>(LyricKey::kPad0));
  } else if (key == LyricKey::kPadMinus) {
    zoom = std::min(zoom + 1, kLyricZoomMax);
  } else if (key == LyricKey::kPadPlus) {
    zoom = std::max(zoom - 1, 0);
  }
  set_zoom(zoom);
  ini_.WriteIni(kSection, kZoomKey, std::to_string(zoom));
}

void LyricScene::set_zoom(int zoom) {
  zoom_ = static_cast<std::int16_t>(zoom);
  distance_ = static_cast<float>(zoom) + kNearestDistance;
}

void LyricScene::set_theme(int theme) {
  theme_ = theme >= 0 && theme < kLyricThemeCount ? theme : 0;
}

const LyricFrame& LyricScene::BuildFrame(const LyricModel& model, const GlyphTable& glyphs,
                                         std::optional<std::int64_t> tick) {
  const LyricTheme& theme = colours();
  const Colours colours = {RGB2CouleurRVB(theme.background), RGB2CouleurRVB(theme.sung),
                           RGB2CouleurRVB(theme.flash), RGB2CouleurRVB(theme.unsung)};
  frame_.background = colours.background;
  frame_.distance = distance_;
  frame_.syllable = 0;
  frame_.line = 0;
  frame_.texts.clear();
  frame_.bytes.clear();
  if (!tick) return frame_;

  frame_.syllable = CurrentSyllable(model, *tick);
  frame_.line = frame_.syllable == 0 ? 0 : model.syllable(frame_.syllable).line;
  if (scroll_factor_ == 0) PrepareSong(model, glyphs);
  // Before the first syllable the window shows what it will show when that comes.
  const int middle = std::max(frame_.line, 1);
  const int last = std::min(middle + kLinesAround, model.line_count());
  for (int line = std::max(middle - kLinesAround, 1); line <= last; ++line) {
    const LinePlace place = PlaceLine(model.line_start_tick(line), *tick, colours);
    if (line == frame_.line) {
      AddCurrentLine(model, glyphs, place, colours);
    } else {
      const std::string_view text = model.line_text(line);
      AddText(model, glyphs, text, StartOf(model, glyphs, text), place,
              line < frame_.line ? place.sung : colours.unsung);
    }
  }
  return frame_;
}

/// The first frame of a song: how fast it scrolls, and room for its texts.
void LyricScene::PrepareSong(const LyricModel& model, const GlyphTable& glyphs) {
  std::size_t longest = 0;
  for (int line = 1; line <= model.line_count(); ++line) {
    longest = std::max(longest, model.line_text(line).size());
  }
  frame_.bytes.reserve(longest * kMostTexts);
  if (model.line_count() < 2) return;
  const std::int32_t gap = model.minimum_line_gap();
  scroll_factor_ =
      gap > 0 ? TextHeight3D(glyphs, "[") / static_cast<float>(gap) : kUsualScrollFactor;
}

LyricScene::LinePlace LyricScene::PlaceLine(std::int32_t start_tick, std::int64_t tick,
                                            const Colours& colours) const {
  const float travelled = scroll_factor_ * static_cast<float>(tick - start_tick);
  LinePlace place;
  place.y = travelled;
  float brightness = 0;
  if (travelled <= 0) {
    place.z = 0.5f + 0.1f * travelled;
  } else {
    place.z = 0.5f - 1.1f * travelled;
    brightness = 1.0f / (0.1f * travelled + 1.0f);
  }
  place.sung = Blend(colours.background, colours.sung, brightness);
  return place;
}

void LyricScene::AddCurrentLine(const LyricModel& model, const GlyphTable& glyphs,
                                const LinePlace& place, const Colours& colours) {
  const LyricSyllable& syllable = model.syllable(frame_.syllable);
  const std::string_view line = model.line_text(frame_.line);
  const std::string_view before = Part(line, 0, syllable.column);
  const std::string_view current = Part(line, syllable.column, syllable.length);
  const std::string_view rest = line.substr(before.size() + current.size());
  const Rgb flashing = Blend(place.sung, colours.flash, flash_remaining() / kFlashDuration);
  float x = StartOf(model, glyphs, line);
  x += AddText(model, glyphs, before, x, place, place.sung);
  x += AddText(model, glyphs, current, x, place, flashing);
  AddText(model, glyphs, rest, x, place, colours.unsung);
}

float LyricScene::StartOf(const LyricModel& model, const GlyphTable& glyphs,
                          std::string_view line) {
  const std::size_t before = frame_.bytes.size();
  model.code_pages().AppendConverted(line, frame_.bytes);
  const float width = TextWidth3D(glyphs, std::string_view(frame_.bytes).substr(before));
  frame_.bytes.resize(before);
  return -width / 2;
}

float LyricScene::AddText(const LyricModel& model, const GlyphTable& glyphs, std::string_view raw,
                          float x, const LinePlace& place, const Rgb& colour) {
  const std::size_t first = frame_.bytes.size();
  model.code_pages().AppendConverted(raw, frame_.bytes);
  const std::size_t length = frame_.bytes.size() - first;
  if (length == 0) return 0;
  frame_.texts.push_back({first, length, x, place.y, place.z, colour});
  return TextWidth3D(glyphs, std::string_view(frame_.bytes).substr(first));
}

}  // namespace vexolo
