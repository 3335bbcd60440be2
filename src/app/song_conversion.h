/// What a conversion needs of a song, over the routine that starts songs.
#pragma once

#include <string>

#include "app/program_state.h"
#include "app/song_start.h"
#include "convert/encoding_run.h"

namespace vexolo {

/// One song of one conversion. Belongs to the thread of the run.
class SongConversion : public SongToConvert {
 public:
  /// The objects must outlive this one. `options`: whatever the use in it says, the song is opened
  /// for conversion.
  SongConversion(modMidiTest& state, SongStart& song_start, std::string song_path,
                 SongStartOptions options = {});

  bass::HSTREAM OpenForRendering() override;
  double RenderedSeconds() const override;
  bool EndHasRun() const override { return song_start_.end_has_run(); }
  LyricsFileOptions LyricsOptions() const override;
  void Close() override;

 private:
  modMidiTest& state_;
  SongStart& song_start_;
  const std::string song_path_;
  SongStartOptions options_;
};

}  // namespace vexolo
