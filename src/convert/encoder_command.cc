#include "convert/encoder_command.h"

#include <array>

#include "audio/loader.h"
#include "convert/bitrates.h"
#include "platform/file_io.h"

namespace vexolo {

namespace {

/// How a tag is handed over. `value_prefix` stands between the quotes, before the value.
struct TagOption {
  CommandField field;
  std::string SongTags::*value;
  std::string_view mp3;
  std::string_view ogg;
  std::string_view ogg_prefix;
};
constexpr std::array<TagOption, 7> kTagOptions = {{
    {CommandField::kArtist, &SongTags::artist, "--ta", "-a", ""},
    {CommandField::kTitle, &SongTags::title, "--tt", "-t", ""},
    {CommandField::kAlbum, &SongTags::album, "--tl", "-l", ""},
    {CommandField::kYear, &SongTags::year, "--ty", "-d", ""},
    {CommandField::kTrack, &SongTags::track, "--tn", "-N", ""},
    {CommandField::kGenre, &SongTags::genre, "--tg", "-G", ""},
    {CommandField::kComment, &SongTags::comment, "--tc", "-c", "comment="},
}};

std::string Quoted(std::string_view text) { return '"' + std::string(text) + '"'; }

std::string RateOption(const EncoderRequest& request) {
  return "-b" + std::string(BitrateInUse(request.rate));
}

std::string Mp3Command(const EncoderRequest& request) {
  std::string line =
      Quoted(request.program) + " -h " + RateOption(request) + " --ignore-tag-errors";
  for (const TagOption& tag : kTagOptions) {
    const std::string& value = request.tags.*tag.value;
    if (!value.empty()) line.append(" ").append(tag.mp3).append(" ").append(Quoted(value));
  }
  return line + " - " + Quoted(request.output);
}

std::string OggCommand(const EncoderRequest& request) {
  std::string line = Quoted(request.program) + " -o " + RateOption(request);
  for (const TagOption& tag : kTagOptions) {
    const std::string& value = request.tags.*tag.value;
    if (value.empty()) continue;
    line.append(" ").append(tag.ogg).append(Quoted(std::string(tag.ogg_prefix) + value));
  }
  return line + " " + Quoted(request.output) + " -";
}

std::vector<std::string> Mp3Arguments(const EncoderRequest& request) {
  std::vector<std::string> arguments = {request.program, "-h", RateOption(request),
                                        "--ignore-tag-errors"};
  for (const TagOption& tag : kTagOptions) {
    const std::string& value = request.tags.*tag.value;
    if (!value.empty()) arguments.insert(arguments.end(), {std::string(tag.mp3), value});
  }
  arguments.insert(arguments.end(), {"-", request.output});
  return arguments;
}

std::vector<std::string> OggArguments(const EncoderRequest& request) {
  std::vector<std::string> arguments = {request.program, "-o", RateOption(request)};
  for (const TagOption& tag : kTagOptions) {
    const std::string& value = request.tags.*tag.value;
    if (value.empty()) continue;
    arguments.push_back(std::string(tag.ogg).append(tag.ogg_prefix).append(value));
  }
  arguments.insert(arguments.end(), {request.output, "-"});
  return arguments;
}

bool IsFaithful(const EncoderRequest& request) {
  return SplitEncoderCommand(EncoderCommand(request)) == EncoderArguments(request);
}

}  // namespace

std::string EncoderProgram(AudioFormat format, const std::string& program_folder, PathStyle style) {
  const std::string name = format == AudioFormat::kMp3 ? "lame" : "oggenc";
  if (style == PathStyle::kWindows) return Join(program_folder, name + ".exe", style);
  const std::string path = Join(program_folder, name, style);
  return format == AudioFormat::kMp3 && !FileExists(path) ? name : path;
}

std::string EncoderCommand(const EncoderRequest& request) {
  return request.format == AudioFormat::kMp3 ? Mp3Command(request) : OggCommand(request);
}

std::vector<std::string> EncoderArguments(const EncoderRequest& request) {
  return request.format == AudioFormat::kMp3 ? Mp3Arguments(request) : OggArguments(request);
}

std::string_view FieldName(CommandField field) {
  constexpr std::array<std::string_view, 9> kNames = {"Artiste",     "Titre",   "Album",
                                                      "Année",       "Piste",   "Genre",
                                                      "Commentaire", "Fichier", "Programme"};
  return kNames[static_cast<std::size_t>(field)];
}

std::optional<CommandField> BadField(const EncoderRequest& request) {
  if (IsFaithful(request)) return std::nullopt;
  // Each field on its own, among harmless ones: two bad ones may make up for each other.
  EncoderRequest alone = {request.format, "program", request.rate, {}, "output"};
  alone.program = request.program;
  if (!IsFaithful(alone)) return CommandField::kProgram;
  alone.program = "program";
  for (const TagOption& tag : kTagOptions) {
    alone.tags = {};
    alone.tags.*tag.value = request.tags.*tag.value;
    if (!IsFaithful(alone)) return tag.field;
  }
  return CommandField::kOutput;
}

}  // namespace vexolo
