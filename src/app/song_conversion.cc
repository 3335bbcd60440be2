#include "app/song_conversion.h"

#include <string_view>
#include <utility>

namespace vexolo {

SongConversion::SongConversion(modMidiTest& state, SongStart& song_start, std::string song_path,
                               SongStartOptions options)
    : state_(state),
      song_start_(song_start),
      song_path_(std::move(song_path)),
      options_(std::move(options)) {
  options_.use = SongUse::kConversion;
}

bass::HSTREAM SongConversion::OpenForRendering() {
  state_.playing = false;
  state_.converting = true;
  song_start_.Start(song_path_, options_);
  return state_.audio.stream;
}

double SongConversion::RenderedSeconds() const {
  const AudioState& audio = state_.audio;
  const double factor = audio.speed_factor;
  double end = audio.song_length;
  if (EndInForce(audio.markers, factor, audio.song_length)) {
    end = ActingEnd(audio.markers, factor) + audio.fade_length + audio.tail;
  }
  const bool cut = StartInForce(audio.markers, factor, audio.song_length);
  return cut ? end - ActingStart(audio.markers, factor) : end;
}

LyricsFileOptions SongConversion::LyricsOptions() const {
  LyricsFileOptions options;
  options.lyric_track = state_.lyrics.nCanalLyrics();
  options.mark_type = static_cast<bass::DWORD>(state_.lyrics.mark_type());
  options.markers = state_.audio.markers;
  options.speed_factor = state_.audio.speed_factor;
  options.max_length = state_.conversion.max_line_length;
  options.convert = [this](std::string_view text) { return state_.lyrics.ConvertLyricText(text); };
  return options;
}

void SongConversion::Close() {
  song_start_.CloseSong();
  state_.converting = false;
}

}  // namespace vexolo
