#include "lyrics/lyric_model.h"

#include <algorithm>
#include <limits>

namespace vexolo {

namespace {

struct Source {
  bass::DWORD mark_type;
  bass::DWORD sync_type;
};

constexpr Source kLyricSource = {bass::BASS_MIDI_MARK_LYRIC, bass::BASS_SYNC_MIDI_LYRIC};
constexpr Source kTextSource = {bass::BASS_MIDI_MARK_TEXT, bass::BASS_SYNC_MIDI_TEXT};

struct BestTrack {
  std::int16_t track = -1;
  int marks = 0;
};

/// The track with most marks of a type, the first of equals.
BestTrack FindBestTrack(const bass::Api& api, bass::HSTREAM stream, bass::DWORD mark_type,
                        int tracks) {
  std::vector<int> counts(static_cast<std::size_t>(tracks));
  bass::BASS_MIDI_MARK mark;
  for (bass::DWORD i = 0; api.BASS_MIDI_StreamGetMark(stream, mark_type, i, &mark); ++i) {
    if (mark.track < counts.size()) ++counts[mark.track];
  }
  constexpr std::size_t kTracks = std::numeric_limits<std::int16_t>::max() + std::size_t{1};
  BestTrack best;
  for (std::size_t track = 0; track < std::min(counts.size(), kTracks); ++track) {
    if (counts[track] > best.marks) best = {static_cast<std::int16_t>(track), counts[track]};
  }
  return best;
}

std::string_view Trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(' ');
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

bool IsLineBreak(char character) { return character == '\r' || character == '\n'; }

/// Semicolons become spaces, line breaks go, runs of spaces shrink to one; the first syllable of a
/// line loses its leading spaces.
std::string Cleaned(std::string_view syllable, bool starts_line) {
  std::string cleaned;
  cleaned.reserve(syllable.size());
  for (char character : syllable) {
    if (IsLineBreak(character)) continue;
    if (character == ';') character = ' ';
    if (character == ' ') {
      if (cleaned.empty() ? starts_line : cleaned.back() == ' ') continue;
    }
    cleaned += character;
  }
  return cleaned;
}

}  // namespace

/// One pass over the marks of the chosen track.
class LyricModel::Builder {
 public:
  Builder(LyricModel& model, bass::HSTREAM stream)
      : model_(model),
        api_(model.api_),
        stream_(stream),
        mark_type_(static_cast<bass::DWORD>(model.mark_type())),
        track_(static_cast<bass::DWORD>(model.nCanalLyrics())) {}

  void Run() {
    const bass::QWORD position = api_.BASS_ChannelGetPosition(stream_, bass::BASS_POS_BYTE);
    bass::BASS_MIDI_MARK mark;
    for (bass::DWORD i = 0; api_.BASS_MIDI_StreamGetMark(stream_, mark_type_, i, &mark); ++i) {
      if (mark.track == track_) TakeMark(mark, i);
    }
    if (!line_.empty()) CloseLine();
    api_.BASS_ChannelSetPosition(stream_, position, bass::BASS_POS_BYTE);
  }

 private:
  void TakeMark(const bass::BASS_MIDI_MARK& mark, bass::DWORD index) {
    std::string_view text = mark.text == nullptr ? std::string_view() : mark.text;
    model_.DetectCodePage(text);
    if (text.starts_with('@')) {
      TakeHeader(text);
      return;
    }
    BreakBefore(text);
    if (!text.empty()) AddSyllable(mark, index, text);
  }

  void TakeHeader(std::string_view text) {
    if (!text.starts_with("@T")) return;
    ++titles_seen_;
    if (titles_seen_ == 1) model_.title_ = Trimmed(text.substr(2));
    if (titles_seen_ == 2) model_.artist_ = Trimmed(text.substr(2));
  }

  /// Decides whether a new line begins with this syllable and takes what only said so off it.
  void BreakBefore(std::string_view& text) {
    bool breaks = break_pending_;
    break_pending_ = false;
    if (text.starts_with('\\') || text.starts_with('/')) {
      text.remove_prefix(1);
      breaks = true;
    } else if (!breaks && LineIsFull()) {
      if (text.starts_with(' ')) {
        text.remove_prefix(1);
        breaks = true;
      } else if (line_.ends_with(' ')) {
        line_.pop_back();
        breaks = true;
      }
    }
    if (breaks && !line_.empty()) CloseLine();
  }

  bool LineIsFull() const {
    const std::int16_t limit = model_.max_line_length_;
    return limit >= 1 && line_.size() >= static_cast<std::size_t>(limit);
  }

  void CloseLine() {
    LyricModel& m = model_;
    if (m.line_count() >= m.line_capacity_ - 1) m.line_capacity_ += kGrowthStep;
    m.line_texts_.push_back(std::move(line_));
    m.line_start_bytes_.push_back(static_cast<std::int32_t>(line_start_byte_));
    m.line_start_ticks_.push_back(line_start_tick_);
    m.line_start_times_.push_back(
        static_cast<float>(api_.BASS_ChannelBytes2Seconds(stream_, line_start_byte_)));
    const int count = m.line_count();
    if (count > 1) {
      // Wide: ticks are cut to 32 bits, so two of them may lie anywhere apart.
      const std::int64_t gap =
          std::int64_t{m.line_start_tick(count)} - m.line_start_tick(count - 1);
      if (gap < m.minimum_line_gap_) {
        m.minimum_line_gap_ = static_cast<std::int32_t>(
            std::max<std::int64_t>(gap, std::numeric_limits<std::int32_t>::min()));
      }
    }
    line_.clear();
    ++line_number_;
  }

  void AddSyllable(const bass::BASS_MIDI_MARK& mark, bass::DWORD index, std::string_view text) {
    if (std::any_of(text.begin(), text.end(), IsLineBreak)) break_pending_ = true;
    const std::string cleaned = Cleaned(text, line_.empty());
    LyricSyllable syllable;
    syllable.line = line_number_;
    syllable.column = static_cast<std::int32_t>(line_.size());
    syllable.length = static_cast<std::int32_t>(cleaned.size());
    syllable.time = api_.BASS_ChannelBytes2Seconds(stream_, mark.pos);
    syllable.mark_index = static_cast<std::int32_t>(index);
    syllable.byte_position = static_cast<std::int32_t>(mark.pos);
    syllable.tick = TickOf(mark.pos);
    if (line_.empty()) {
      line_start_byte_ = mark.pos;
      line_start_tick_ = syllable.tick;
    }
    line_ += cleaned;
    Append(syllable);
  }

  std::int32_t TickOf(bass::DWORD byte_position) {
    api_.BASS_ChannelSetPosition(stream_, byte_position, bass::BASS_POS_BYTE);
    return static_cast<std::int32_t>(
        api_.BASS_ChannelGetPosition(stream_, bass::BASS_POS_MIDI_TICK));
  }

  void Append(const LyricSyllable& syllable) {
    // The arrays themselves double: step by step a million syllables would be moved for minutes.
    if (model_.nNbParoles() >= model_.syllable_capacity_) model_.syllable_capacity_ += kGrowthStep;
    model_.syllables_.push_back(syllable);
  }

  LyricModel& model_;
  const bass::Api& api_;
  const bass::HSTREAM stream_;
  const bass::DWORD mark_type_;
  const bass::DWORD track_;
  std::string line_;
  std::int32_t line_number_ = 1;
  bass::DWORD line_start_byte_ = 0;
  std::int32_t line_start_tick_ = 0;
  bool break_pending_ = false;
  int titles_seen_ = 0;
};

LyricModel::LyricModel(const bass::Api& api, LyricDisplay* display)
    : api_(api),
      display_(display),
      sync_users_{{{this, static_cast<std::int32_t>(kLyricSource.mark_type)},
                   {this, static_cast<std::int32_t>(kTextSource.mark_type)}}} {}

void LyricModel::ResetForSong() {
  canal_lyrics_.store(-1, std::memory_order_relaxed);
  code_pages_.set_detected(kCodePageNone);
  code_pages_.set_forced(kCodePageNone);
}

void LyricModel::InitLyrics(bass::HSTREAM stream, bool song_loaded) {
  if (display_ != nullptr) display_->EffaceLyrics();
  ChooseLyricTrack(stream);
  BuildLyrics(stream);
  if (!song_loaded || nCanalLyrics() < 0) return;
  for (SyncUser& user : sync_users_) {
    if (user.mark_type != mark_type()) continue;
    api_.BASS_ChannelSetSync(stream, static_cast<bass::DWORD>(sync_type()), 0, &LyricSyncProc,
                             &user);
  }
}

void LyricModel::ChooseLyricTrack(bass::HSTREAM stream) {
  canal_lyrics_.store(-1, std::memory_order_relaxed);
  mark_type_.store(-1, std::memory_order_relaxed);
  sync_type_.store(0, std::memory_order_relaxed);
  const int tracks = CountTracks(stream);
  const BestTrack lyric = FindBestTrack(api_, stream, kLyricSource.mark_type, tracks);
  const BestTrack text = FindBestTrack(api_, stream, kTextSource.mark_type, tracks);
  // Without lyric marks the text marks are taken even when there are none of them either.
  const bool takes_text = lyric.track < 0 || text.marks > lyric.marks;
  const Source& source = takes_text ? kTextSource : kLyricSource;
  mark_type_.store(static_cast<std::int32_t>(source.mark_type), std::memory_order_relaxed);
  sync_type_.store(static_cast<std::int32_t>(source.sync_type), std::memory_order_relaxed);
  canal_lyrics_.store(takes_text ? text.track : lyric.track, std::memory_order_relaxed);
}

void LyricModel::BuildLyrics(bass::HSTREAM stream) {
  Clear();
  if (nCanalLyrics() < 0) return;
  code_pages_.DetectCodePage("*RAZ*");
  Builder(*this, stream).Run();
}

int LyricModel::CountTracks(bass::HSTREAM stream) const {
  bass::DWORD track = 0;
  while (api_.BASS_ChannelGetTags(stream, bass::BASS_TAG_MIDI_TRACK + track) != nullptr) ++track;
  return static_cast<int>(track);
}

void LyricModel::LyricSyncProc(bass::HSYNC, bass::DWORD channel, bass::DWORD data, void* user) {
  const SyncUser& sync_user = *static_cast<const SyncUser*>(user);
  const LyricModel& model = *sync_user.model;
  if (sync_user.mark_type != model.mark_type()) return;
  bass::BASS_MIDI_MARK mark;
  if (!model.api_.BASS_MIDI_StreamGetMark(channel, static_cast<bass::DWORD>(sync_user.mark_type),
                                          data, &mark)) {
    return;
  }
  if (mark.track != static_cast<bass::DWORD>(model.nCanalLyrics()) || mark.pos == 0) return;
  if (model.display_ != nullptr) model.display_->DisplayLyrics(static_cast<int>(data));
}

void LyricModel::Clear() {
  title_.clear();
  artist_.clear();
  minimum_line_gap_ = 0;
  // New arrays: the room of a long song is given back.
  syllables_ = {};
  line_texts_ = {};
  line_start_bytes_ = {};
  line_start_ticks_ = {};
  line_start_times_ = {};
  syllable_capacity_ = kGrowthStep;
  line_capacity_ = kGrowthStep;
  syllables_.reserve(kGrowthStep);
  line_texts_.reserve(kGrowthStep);
  line_start_bytes_.reserve(kGrowthStep);
  line_start_ticks_.reserve(kGrowthStep);
  line_start_times_.reserve(kGrowthStep);
}

}  // namespace vexolo
