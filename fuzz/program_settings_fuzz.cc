// layer: core
// The program's settings: any bytes load, whatever they hold comes out within its range, and what
// is stored is read as the same.
#include <string>

#include "app/song_converter.h"
#include "convert/conversion_form.h"
#include "convert/conversion_settings.h"
#include "fuzz/support/fuzz_input.h"
#include "lyrics/lyric_colours.h"
#include "lyrics/lyric_view_options.h"
#include "mixer/options.h"
#include "platform/text_encoding.h"
#include "settings/window_place.h"

namespace {

using namespace vexolo;
using fuzz::Require;

constexpr std::chrono::year_month_day kDay{std::chrono::year(2009), std::chrono::month(3),
                                           std::chrono::day(5)};

void CheckConversion(ModIni& ini, const fuzz::OneFile& file) {
  ConversionSettings settings = LoadConversionSettings(ini);
  Require(settings.format == AudioFormat::kWav || settings.format == AudioFormat::kMp3 ||
          settings.format == AudioFormat::kOgg);
  for (const std::string* text : {&settings.folder, &settings.scheme, &settings.rate,
                                  &settings.tags.artist, &settings.tags.comment}) {
    Require(IsValidUtf8(*text) && CountCharacters(*text) <= ModIni::kMaxLength);
  }
  const ConvertDefaults defaults = LoadConvertDefaults(ini);
  Require(defaults.max_length >= 0 && defaults.max_length <= 99);

  ConversionForm form(ini, {"", "Title", "/songs/a.mid"}, kDay);
  Require(form.boxes.bitrate >= -1 && form.boxes.genre >= 0);
  form.ValidateFolder();
  form.Preview();
  MemoParam(ini, settings);
  file.Age();
  const ConversionSettings again = LoadConversionSettings(ini);
  Require(again.format == settings.format && again.max_line_length == settings.max_line_length);
  Require(again.make_lyrics_file == settings.make_lyrics_file);
}

void CheckWindows(ModIni& ini, const fuzz::OneFile& file) {
  const LyricViewOptions options = LoadLyricViewOptions(ini);
  Require(options.theme >= 0 && options.theme < static_cast<int>(kLyricThemes.size()));
  for (const char* section : {"Main", "Paroles", "PlayList"}) {
    ReadExtent(ini, section);
    ReadShow(ini, section);
    if (const auto place = ReadPlace(ini, section)) {
      WritePlace(ini, section, *place);
      file.Age();
      Require(ReadPlace(ini, section) == place);
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const fuzz::OneFile file("Vexolo.ini");
  file.Write(fuzz::Text(data, size));
  fuzz::NoBoxes boxes;
  ModIni ini(file.path(), boxes);
  IsAutoMuteOn(ini.ReadIni("Vexolo", "AutoMute"));
  CheckConversion(ini, file);
  CheckWindows(ini, file);
  return 0;
}
