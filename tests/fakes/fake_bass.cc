#include "fakes/fake_bass.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <sstream>
#include <stdexcept>

namespace vexolo {

using namespace bass;

namespace {

FakeBass* g_fake = nullptr;
thread_local int g_error = BASS_OK;

constexpr DWORD kFrameBytes = 4;
constexpr DWORD kFrameRate = 44100;

struct Default {
  DWORD event;
  DWORD value;
};

constexpr Default kChannelDefaults[] = {
    {MIDI_EVENT_PROGRAM, 0},    {MIDI_EVENT_BANK, 0},         {MIDI_EVENT_DRUMS, 0},
    {MIDI_EVENT_PITCH, 8192},   {MIDI_EVENT_MODULATION, 0},   {MIDI_EVENT_VOLUME, 100},
    {MIDI_EVENT_PAN, 64},       {MIDI_EVENT_EXPRESSION, 127}, {MIDI_EVENT_SUSTAIN, 0},
    {MIDI_EVENT_REVERB, 40},    {MIDI_EVENT_CHORUS, 0},       {MIDI_EVENT_MIXLEVEL, 100},
    {MIDI_EVENT_TRANSPOSE, 100}};

constexpr Default kSongDefaults[] = {
    {MIDI_EVENT_REVERB_TIME, 1800},     {MIDI_EVENT_REVERB_DELAY, 200},
    {MIDI_EVENT_REVERB_LOCUTOFF, 9000}, {MIDI_EVENT_REVERB_HICUTOFF, 200},
    {MIDI_EVENT_REVERB_LEVEL, 100},     {MIDI_EVENT_CHORUS_DELAY, 100},
    {MIDI_EVENT_CHORUS_DEPTH, 40},      {MIDI_EVENT_CHORUS_RATE, 40},
    {MIDI_EVENT_CHORUS_FEEDBACK, 100},  {MIDI_EVENT_CHORUS_LEVEL, 100},
    {MIDI_EVENT_CHORUS_REVERB, 0},      {MIDI_EVENT_TEMPO, 500000}};

bool IsSongWide(DWORD event) {
  return std::any_of(std::begin(kSongDefaults), std::end(kSongDefaults),
                     [event](const Default& entry) { return entry.event == event; });
}

/// Song-wide values have one place, whatever channel they are sent on.
std::pair<DWORD, DWORD> ValueKey(DWORD chan, DWORD event) {
  return {IsSongWide(event) ? 0 : chan, event};
}

std::map<std::pair<DWORD, DWORD>, DWORD> StartValues(const FakeBass::Song& song) {
  std::map<std::pair<DWORD, DWORD>, DWORD> values;
  for (DWORD chan = 0; chan < 16; ++chan) {
    for (const Default& entry : kChannelDefaults) values[{chan, entry.event}] = entry.value;
  }
  values[{9, MIDI_EVENT_DRUMS}] = 1;
  for (const Default& entry : kSongDefaults) values[{0, entry.event}] = entry.value;
  for (const auto& [key, value] : song.values) values[ValueKey(key.first, key.second)] = value;
  return values;
}

QWORD Scaled(QWORD bytes, double ratio) {
  if (ratio == 1) return bytes;
  return static_cast<QWORD>(std::llround(static_cast<double>(bytes) * ratio)) / kFrameBytes *
         kFrameBytes;
}

QWORD TicksAt(const FakeBass::Stream& stream, QWORD bytes) {
  const QWORD own = Scaled(bytes, 1 / stream.ratio);
  if (stream.song.bytes_to_ticks) return stream.song.bytes_to_ticks(own);
  return static_cast<QWORD>(static_cast<double>(own) / stream.song.bytes_per_tick);
}

QWORD BytesAt(const FakeBass::Stream& stream, QWORD ticks) {
  const QWORD own =
      stream.song.ticks_to_bytes
          ? stream.song.ticks_to_bytes(ticks)
          : static_cast<QWORD>(std::ceil(static_cast<double>(ticks) * stream.song.bytes_per_tick));
  return Scaled(own, stream.ratio);
}

QWORD Interpolate(const std::vector<std::pair<QWORD, QWORD>>& points, QWORD x) {
  auto after = std::upper_bound(points.begin(), points.end(), x,
                                [](QWORD value, const auto& point) { return value < point.first; });
  if (after == points.begin()) return points.front().second;
  if (after == points.end()) return points.back().second;
  const auto before = std::prev(after);
  return before->second +
         (x - before->first) * (after->second - before->second) / (after->first - before->first);
}

std::string PathText(const void* path, DWORD flags) {
#ifdef _WIN32
  if (flags & BASS_UNICODE) {
    const auto text = std::filesystem::path(static_cast<const wchar_t*>(path)).u8string();
    return {text.begin(), text.end()};
  }
#else
  (void)flags;
#endif
  return static_cast<const char*>(path);
}

std::string Joined(std::initializer_list<std::string> parts) {
  std::string text;
  for (const std::string& part : parts) {
    if (!text.empty()) text += ' ';
    text += part;
  }
  return text;
}

template <typename T>
std::string Text(T value) {
  std::ostringstream out;
  out << value;
  return out.str();
}

struct TextOf {
  using F = FakeBass;
  std::string operator()(const F::Init& c) const {
    return Joined({"Init", Text(c.device), Text(c.freq), Text(c.flags)});
  }
  std::string operator()(const F::Free&) const { return "Free"; }
  std::string operator()(const F::PluginFree& c) const {
    return Joined({"PluginFree", Text(c.plugin)});
  }
  std::string operator()(const F::Play& c) const {
    return Joined({"Play", Text(c.handle), Text(c.restart)});
  }
  std::string operator()(const F::Stop& c) const { return Joined({"Stop", Text(c.handle)}); }
  std::string operator()(const F::SetPosition& c) const {
    return Joined({"SetPosition", Text(c.handle), Text(c.pos), Text(c.mode)});
  }
  std::string operator()(const F::SetSync& c) const {
    return Joined({"SetSync", Text(c.handle), Text(c.type), Text(c.param)});
  }
  std::string operator()(const F::SetDSP& c) const {
    return Joined({"SetDSP", Text(c.handle), Text(c.priority)});
  }
  std::string operator()(const F::StreamFree& c) const {
    return Joined({"StreamFree", Text(c.handle)});
  }
  std::string operator()(const F::StreamCreateFile& c) const {
    return Joined({"StreamCreateFile", c.path, Text(c.flags), Text(c.freq)});
  }
  std::string operator()(const F::StreamEvent& c) const {
    return Joined({"StreamEvent", Text(c.handle), Text(c.chan), Text(c.event), Text(c.param)});
  }
  std::string operator()(const F::SetFonts& c) const {
    std::string text = Joined({"SetFonts", Text(c.handle)});
    for (const BASS_MIDI_FONT& entry : c.fonts) text += ' ' + Text(entry.font);
    return text;
  }
  std::string operator()(const F::FontInit& c) const {
    return Joined({"FontInit", c.path, Text(c.flags)});
  }
  std::string operator()(const F::FontFree& c) const { return Joined({"FontFree", Text(c.font)}); }
  std::string operator()(const F::FontSetVolume& c) const {
    return Joined({"FontSetVolume", Text(c.font), Text(c.volume)});
  }
  std::string operator()(const F::EncodeStart& c) const {
    return Joined({"EncodeStart", Text(c.handle), c.cmdline, Text(c.flags)});
  }
  std::string operator()(const F::EncodeStop& c) const {
    return Joined({"EncodeStop", Text(c.encoder)});
  }
};

BOOL FailWith(int code) {
  g_error = code;
  return 0;
}

}  // namespace

/// The C functions of the table, under short names.
struct FakeBassFunctions {
  using Lock = std::lock_guard<std::recursive_mutex>;

  static DWORD BASS_CALLBACK GetVersion() {
    Lock lock(g_fake->mutex_);
    g_fake->Enter("BASS_GetVersion");
    return g_fake->version;
  }

  static int BASS_CALLBACK ErrorGetCode() {
    Lock lock(g_fake->mutex_);
    ++g_fake->counts_["BASS_ErrorGetCode"];
    return g_error;
  }

  static BOOL BASS_CALLBACK Init(int device, DWORD freq, DWORD flags, void* window, const void*) {
    Lock lock(g_fake->mutex_);
    if (!g_fake->Enter("BASS_Init")) return 0;
    if (g_fake->initialised_) return FailWith(BASS_ERROR_ALREADY);
    g_fake->initialised_ = true;
    g_fake->Record(FakeBass::Init{device, freq, flags, window});
    return 1;
  }

  static BOOL BASS_CALLBACK Free() {
    Lock lock(g_fake->mutex_);
    if (!g_fake->Enter("BASS_Free")) return 0;
    g_fake->initialised_ = false;
    g_fake->streams_.clear();
    g_fake->fonts_.clear();
    g_fake->encoders_.clear();
    g_fake->default_fonts_.clear();
    g_fake->Record(FakeBass::Free{});
    return 1;
  }

  static BOOL BASS_CALLBACK PluginFree(HPLUGIN plugin) {
    Lock lock(g_fake->mutex_);
    if (!g_fake->Enter("BASS_PluginFree")) return 0;
    g_fake->Record(FakeBass::PluginFree{plugin});
    return 1;
  }

  static BOOL BASS_CALLBACK ChannelPlay(DWORD handle, BOOL restart) {
    Lock lock(g_fake->mutex_);
    if (!g_fake->Enter("BASS_ChannelPlay")) return 0;
    FakeBass::Stream* stream = g_fake->Find(handle);
    if (stream == nullptr) return 0;
    stream->active = BASS_ACTIVE_PLAYING;
    stream->ended = false;
    if (restart) stream->position = 0;
    g_fake->Record(FakeBass::Play{handle, restart != 0});
    return 1;
  }

  static BOOL BASS_CALLBACK ChannelStop(DWORD handle) {
    Lock lock(g_fake->mutex_);
    if (!g_fake->Enter("BASS_ChannelStop")) return 0;
    FakeBass::Stream* stream = g_fake->Find(handle);
    if (stream == nullptr) return 0;
    stream->active = BASS_ACTIVE_STOPPED;
    g_fake->Record(FakeBass::Stop{handle});
    return 1;
  }

  static DWORD BASS_CALLBACK ChannelIsActive(DWORD handle) {
    Lock lock(g_fake->mutex_);
    if (!g_fake->Enter("BASS_ChannelIsActive")) return 0;
    FakeBass::Stream* stream = g_fake->Find(handle);
    return stream == nullptr ? 0 : stream->active;
  }

  static QWORD BASS_CALLBACK ChannelGetLength(DWORD handle, DWORD mode) {
    Lock lock(g_fake->mutex_);
    if (!g_fake->Enter("BASS_ChannelGetLength")) return kError64;
    FakeBass::Stream* stream = g_fake->Find(handle);
    if (stream == nullptr) return kError64;
    const QWORD bytes = Scaled(stream->song.length, stream->ratio);
    return mode == BASS_POS_MIDI_TICK ? TicksAt(*stream, bytes) : bytes;
  }

  static QWORD BASS_CALLBACK ChannelGetPosition(DWORD handle, DWORD mode) {
    Lock lock(g_fake->mutex_);
    if (!g_fake->Enter("BASS_ChannelGetPosition")) return kError64;
    FakeBass::Stream* stream = g_fake->Find(handle);
    if (stream == nullptr) return kError64;
    return mode == BASS_POS_MIDI_TICK ? TicksAt(*stream, stream->position) : stream->position;
  }

  static BOOL BASS_CALLBACK ChannelSetPosition(DWORD handle, QWORD pos, DWORD mode) {
    FakeBass* fake = g_fake;
    FakeBass::SetPosition call{handle, pos, mode};
    {
      Lock lock(fake->mutex_);
      if (!fake->Enter("BASS_ChannelSetPosition")) return 0;
      FakeBass::Stream* stream = fake->Find(handle);
      if (stream == nullptr) return 0;
      const QWORD bytes = mode == BASS_POS_MIDI_TICK ? BytesAt(*stream, pos) : pos;
      if (bytes > Scaled(stream->song.length, stream->ratio)) return FailWith(BASS_ERROR_POSITION);
      stream->position = bytes;
      stream->ended = false;
      if (stream->flags & BASS_STREAM_DECODE) stream->active = BASS_ACTIVE_PLAYING;
      Chase(stream);
      fake->Record(call);
    }
    if (fake->on_set_position) fake->on_set_position(call);
    return 1;
  }

  static void Chase(FakeBass::Stream* stream) {
    if (stream->ratio != 1) {
      stream->position = Scaled(stream->position, 1 / stream->ratio);
      stream->ratio = 1;
    }
    if (!stream->song.chase_on_seek || !std::exchange(stream->values_changed, false)) return;
    for (const auto& [key, value] : StartValues(stream->song)) {
      if (key.second == MIDI_EVENT_MIXLEVEL || key.second == MIDI_EVENT_TRANSPOSE) continue;
      stream->values[key] = value;
    }
  }

  static QWORD BASS_CALLBACK ChannelSeconds2Bytes(DWORD handle, double seconds) {
    Lock lock(g_fake->mutex_);
    if (!g_fake->Enter("BASS_ChannelSeconds2Bytes")) return kError64;
    if (g_fake->Find(handle) == nullptr) return kError64;
    if (!(seconds > 0)) return 0;
    // A hair up, so that a time made from a position gives that position again.
    return static_cast<QWORD>(std::floor(seconds * kFrameRate + 1e-6)) * kFrameBytes;
  }

  static double BASS_CALLBACK ChannelBytes2Seconds(DWORD handle, QWORD bytes) {
    Lock lock(g_fake->mutex_);
    if (!g_fake->Enter("BASS_ChannelBytes2Seconds")) return -1;
    if (g_fake->Find(handle) == nullptr) return -1;
    return static_cast<double>(bytes / kFrameBytes) / kFrameRate;
  }

  static DWORD BASS_CALLBACK ChannelGetLevel(DWORD handle) {
    Lock lock(g_fake->mutex_);
    if (!g_fake->Enter("BASS_ChannelGetLevel")) return kError32;
    FakeBass::Stream* stream = g_fake->Find(handle);
    return stream == nullptr ? kError32 : stream->level;
  }

  static DWORD BASS_CALLBACK ChannelGetData(DWORD handle, void* buffer, DWORD length) {
    {
      Lock lock(g_fake->mutex_);
      if (!g_fake->Enter("BASS_ChannelGetData")) return kError32;
      if (g_fake->Find(handle) == nullptr) return kError32;
    }
    return g_fake->Deliver(handle, static_cast<std::uint8_t*>(buffer), length);
  }

  static HSYNC BASS_CALLBACK ChannelSetSync(DWORD handle, DWORD type, QWORD param, SYNCPROC* proc,
                                            void* user) {
    Lock lock(g_fake->mutex_);
    if (!g_fake->Enter("BASS_ChannelSetSync")) return 0;
    FakeBass::Stream* stream = g_fake->Find(handle);
    if (stream == nullptr) return 0;
    const HSYNC sync = g_fake->next_sync_++;
    stream->syncs.push_back({sync, type, param, proc, user});
    g_fake->Record(FakeBass::SetSync{handle, type, param, proc, user, sync});
    return sync;
  }

  static HDSP BASS_CALLBACK ChannelSetDSP(DWORD handle, DSPPROC* proc, void* user, int priority) {
    Lock lock(g_fake->mutex_);
    if (!g_fake->Enter("BASS_ChannelSetDSP")) return 0;
    FakeBass::Stream* stream = g_fake->Find(handle);
    if (stream == nullptr) return 0;
    const HDSP dsp = g_fake->next_dsp_++;
    auto place = std::find_if(stream->dsps.begin(), stream->dsps.end(),
                              [priority](const auto& other) { return other.priority < priority; });
    stream->dsps.insert(place, {dsp, proc, user, priority});
    g_fake->Record(FakeBass::SetDSP{handle, proc, user, priority, dsp});
    return dsp;
  }

  static const char* BASS_CALLBACK ChannelGetTags(DWORD handle, DWORD tags) {
    Lock lock(g_fake->mutex_);
    if (!g_fake->Enter("BASS_ChannelGetTags")) return nullptr;
    FakeBass::Stream* stream = g_fake->Find(handle);
    if (stream == nullptr) return nullptr;
    const auto& names = stream->song.track_names;
    if (tags < BASS_TAG_MIDI_TRACK || tags - BASS_TAG_MIDI_TRACK >= names.size()) {
      FailWith(BASS_ERROR_NOTAVAIL);
      return nullptr;
    }
    return names[tags - BASS_TAG_MIDI_TRACK].c_str();
  }

  static BOOL BASS_CALLBACK StreamFree(HSTREAM handle) {
    Lock lock(g_fake->mutex_);
    if (!g_fake->Enter("BASS_StreamFree")) return 0;
    if (g_fake->Find(handle) == nullptr) return 0;
    for (auto& [unused, encoder] : g_fake->encoders_) {
      if (encoder->stream == handle) encoder->active = false;
    }
    g_fake->streams_.erase(handle);
    g_fake->Record(FakeBass::StreamFree{handle});
    return 1;
  }

  static HSTREAM BASS_CALLBACK StreamCreateFile(BOOL mem, const void* file, QWORD, QWORD,
                                                DWORD flags, DWORD freq) {
    Lock lock(g_fake->mutex_);
    if (!g_fake->Enter("BASS_MIDI_StreamCreateFile")) return 0;
    const std::string path = mem ? "<memory>" : PathText(file, flags);
    const auto scripted = g_fake->songs.find(path);
    const HSTREAM handle =
        g_fake->AddStream(scripted == g_fake->songs.end() ? g_fake->song : scripted->second);
    FakeBass::Stream& stream = g_fake->stream(handle);
    stream.path = path;
    stream.flags = flags;
    if (flags & BASS_STREAM_DECODE) stream.active = BASS_ACTIVE_PLAYING;
    g_fake->Record(FakeBass::StreamCreateFile{path, flags, freq, handle});
    return handle;
  }

  static BOOL BASS_CALLBACK StreamGetMark(HSTREAM handle, DWORD type, DWORD index,
                                          BASS_MIDI_MARK* mark) {
    Lock lock(g_fake->mutex_);
    if (!g_fake->Enter("BASS_MIDI_StreamGetMark")) return 0;
    FakeBass::Stream* stream = g_fake->Find(handle);
    if (stream == nullptr) return 0;
    const auto marks = stream->song.marks.find(type);
    if (marks == stream->song.marks.end() || index >= marks->second.size()) {
      return FailWith(BASS_ERROR_ILLPARAM);
    }
    const FakeBass::Mark& found = marks->second[index];
    *mark = {found.track, static_cast<DWORD>(Scaled(found.pos, stream->ratio)), found.text.c_str()};
    return 1;
  }

  static DWORD BASS_CALLBACK StreamGetEvents(HSTREAM handle, int track, DWORD filter,
                                             BASS_MIDI_EVENT* events) {
    Lock lock(g_fake->mutex_);
    if (!g_fake->Enter("BASS_MIDI_StreamGetEvents")) return kError32;
    FakeBass::Stream* stream = g_fake->Find(handle);
    if (stream == nullptr) return kError32;
    const auto& tracks = stream->song.events;
    if (track < -1 || track >= static_cast<int>(tracks.size())) {
      FailWith(BASS_ERROR_ILLPARAM);
      return kError32;
    }
    std::vector<BASS_MIDI_EVENT> found;
    for (int i = 0; i < static_cast<int>(tracks.size()); ++i) {
      if (track >= 0 && i != track) continue;
      for (BASS_MIDI_EVENT event : tracks[static_cast<std::size_t>(i)]) {
        if (filter != 0 && event.event != filter) continue;
        event.pos = static_cast<DWORD>(Scaled(event.pos, stream->ratio));
        found.push_back(event);
      }
    }
    std::stable_sort(found.begin(), found.end(),
                     [](const auto& a, const auto& b) { return a.tick < b.tick; });
    if (events != nullptr) std::copy(found.begin(), found.end(), events);
    return static_cast<DWORD>(found.size());
  }

  static BOOL BASS_CALLBACK StreamEvent(HSTREAM handle, DWORD chan, DWORD event, DWORD param) {
    FakeBass* fake = g_fake;
    FakeBass::StreamEvent call{handle, chan, event, param};
    {
      Lock lock(fake->mutex_);
      if (!fake->Enter("BASS_MIDI_StreamEvent")) return 0;
      FakeBass::Stream* stream = fake->Find(handle);
      if (stream == nullptr) return 0;
      if (event == MIDI_EVENT_TEMPO && stream->song.rescale_on_tempo) {
        const QWORD tick_bytes = Scaled(stream->position, 1 / stream->ratio);
        const DWORD own = StartValues(stream->song).at({0, MIDI_EVENT_TEMPO});
        stream->ratio = static_cast<double>(param) / own;
        stream->position = Scaled(tick_bytes, stream->ratio);
      }
      stream->values[ValueKey(chan, event)] = param;
      stream->values_changed = true;
      fake->Record(call);
    }
    if (fake->on_stream_event) fake->on_stream_event(call);
    return 1;
  }

  static DWORD BASS_CALLBACK StreamGetEvent(HSTREAM handle, DWORD chan, DWORD event) {
    Lock lock(g_fake->mutex_);
    if (!g_fake->Enter("BASS_MIDI_StreamGetEvent")) return kError32;
    FakeBass::Stream* stream = g_fake->Find(handle);
    if (stream == nullptr) return kError32;
    const auto value = stream->values.find(ValueKey(chan, event));
    if (value == stream->values.end()) {
      FailWith(BASS_ERROR_ILLPARAM);
      return kError32;
    }
    return value->second;
  }

  static BOOL BASS_CALLBACK StreamSetFonts(HSTREAM handle, const BASS_MIDI_FONT* fonts,
                                           DWORD count) {
    Lock lock(g_fake->mutex_);
    if (!g_fake->Enter("BASS_MIDI_StreamSetFonts")) return 0;
    FakeBass::Stream* stream = handle == 0 ? nullptr : g_fake->Find(handle);
    if (handle != 0 && stream == nullptr) return 0;
    std::vector<BASS_MIDI_FONT> list(fonts, fonts + count);
    (stream == nullptr ? g_fake->default_fonts_ : stream->fonts) = list;
    g_fake->Record(FakeBass::SetFonts{handle, list});
    return 1;
  }

  static DWORD BASS_CALLBACK StreamGetFonts(HSTREAM handle, BASS_MIDI_FONT* fonts, DWORD count) {
    Lock lock(g_fake->mutex_);
    if (!g_fake->Enter("BASS_MIDI_StreamGetFonts")) return kError32;
    FakeBass::Stream* stream = handle == 0 ? nullptr : g_fake->Find(handle);
    if (handle != 0 && stream == nullptr) return kError32;
    const auto& list = stream == nullptr ? g_fake->default_fonts_ : stream->fonts;
    const std::size_t copied = std::min<std::size_t>(count, list.size());
    if (fonts != nullptr) std::copy_n(list.begin(), copied, fonts);
    return static_cast<DWORD>(fonts == nullptr ? list.size() : copied);
  }

  static HSOUNDFONT BASS_CALLBACK FontInit(const void* path, DWORD flags) {
    Lock lock(g_fake->mutex_);
    if (!g_fake->Enter("BASS_MIDI_FontInit")) return 0;
    const std::string text = PathText(path, flags);
    const auto scripted = g_fake->fonts_by_path.find(text);
    const HSOUNDFONT handle =
        g_fake->AddFont(scripted == g_fake->fonts_by_path.end() ? g_fake->font : scripted->second);
    g_fake->Record(FakeBass::FontInit{text, flags, handle});
    return handle;
  }

  static FakeBass::Font* FindFont(HSOUNDFONT handle) {
    const auto font = g_fake->fonts_.find(handle);
    if (font != g_fake->fonts_.end()) return font->second.get();
    FailWith(BASS_ERROR_HANDLE);
    return nullptr;
  }

  static BOOL BASS_CALLBACK FontFree(HSOUNDFONT handle) {
    Lock lock(g_fake->mutex_);
    if (!g_fake->Enter("BASS_MIDI_FontFree")) return 0;
    if (FindFont(handle) == nullptr) return 0;
    g_fake->fonts_.erase(handle);
    g_fake->Record(FakeBass::FontFree{handle});
    return 1;
  }

  static BOOL BASS_CALLBACK FontGetInfo(HSOUNDFONT handle, BASS_MIDI_FONTINFO* info) {
    Lock lock(g_fake->mutex_);
    if (!g_fake->Enter("BASS_MIDI_FontGetInfo")) return 0;
    const FakeBass::Font* font = FindFont(handle);
    if (font == nullptr) return 0;
    *info = {font->name.c_str(),    font->copyright.c_str(),
             font->comment.c_str(), static_cast<DWORD>(font->presets.size()),
             font->samsize,         font->samload,
             font->samtype};
    return 1;
  }

  static const char* BASS_CALLBACK FontGetPreset(HSOUNDFONT handle, int preset, int bank) {
    Lock lock(g_fake->mutex_);
    if (!g_fake->Enter("BASS_MIDI_FontGetPreset")) return nullptr;
    const FakeBass::Font* font = FindFont(handle);
    if (font == nullptr) return nullptr;
    const auto name = font->presets.find({preset, bank});
    if (name == font->presets.end()) {
      FailWith(BASS_ERROR_NOTAVAIL);
      return nullptr;
    }
    return name->second.c_str();
  }

  static BOOL BASS_CALLBACK FontSetVolume(HSOUNDFONT handle, float volume) {
    Lock lock(g_fake->mutex_);
    if (!g_fake->Enter("BASS_MIDI_FontSetVolume")) return 0;
    FakeBass::Font* font = FindFont(handle);
    if (font == nullptr) return 0;
    font->volume = volume;
    g_fake->Record(FakeBass::FontSetVolume{handle, volume});
    return 1;
  }

  static HENCODE BASS_CALLBACK EncodeStart(DWORD handle, const char* cmdline, DWORD flags,
                                           ENCODEPROC*, void*) {
    FakeBass* fake = g_fake;
    FakeBass::EncodeStart call{handle, cmdline, flags, 0};
    {
      Lock lock(fake->mutex_);
      if (!fake->Enter("BASS_Encode_Start")) return 0;
      if (fake->Find(handle) == nullptr) return 0;
      call.encoder = fake->next_encoder_++;
      fake->encoders_[call.encoder] = std::make_shared<FakeBass::Encoder>(
          FakeBass::Encoder{handle, call.cmdline, flags, true, 0});
      fake->Record(call);
    }
    if (fake->on_encode_start) fake->on_encode_start(call);
    return call.encoder;
  }

  static DWORD BASS_CALLBACK EncodeIsActive(DWORD handle) {
    Lock lock(g_fake->mutex_);
    if (!g_fake->Enter("BASS_Encode_IsActive")) return 0;
    const auto encoder = g_fake->encoders_.find(handle);
    if (encoder == g_fake->encoders_.end()) {
      FailWith(BASS_ERROR_HANDLE);
      return 0;
    }
    if (!g_fake->encode_active.empty()) {
      const DWORD answer = g_fake->encode_active.front();
      g_fake->encode_active.pop_front();
      return answer;
    }
    return encoder->second->active ? 1 : 0;
  }

  static BOOL BASS_CALLBACK EncodeStop(DWORD handle) {
    FakeBass* fake = g_fake;
    {
      Lock lock(fake->mutex_);
      if (!fake->Enter("BASS_Encode_Stop")) return 0;
      if (fake->encoders_.erase(handle) == 0) return FailWith(BASS_ERROR_HANDLE);
      fake->Record(FakeBass::EncodeStop{handle});
    }
    if (fake->on_encode_stop) fake->on_encode_stop(handle);
    return 1;
  }
};

void FakeBass::Song::SetTickTable(std::vector<std::pair<QWORD, QWORD>> points) {
  std::vector<std::pair<QWORD, QWORD>> swapped;
  for (const auto& [bytes, ticks] : points) swapped.emplace_back(ticks, bytes);
  bytes_to_ticks = [points = std::move(points)](QWORD bytes) { return Interpolate(points, bytes); };
  ticks_to_bytes = [swapped = std::move(swapped)](QWORD ticks) {
    return Interpolate(swapped, ticks);
  };
}

FakeBass::FakeBass() {
  if (g_fake != nullptr) throw std::logic_error("only one FakeBass at a time");
  g_fake = this;
  g_error = BASS_OK;
  using F = FakeBassFunctions;
  api_ = {&F::GetVersion,
          &F::ErrorGetCode,
          &F::Init,
          &F::Free,
          &F::PluginFree,
          &F::ChannelPlay,
          &F::ChannelStop,
          &F::ChannelIsActive,
          &F::ChannelGetLength,
          &F::ChannelGetPosition,
          &F::ChannelSetPosition,
          &F::ChannelSeconds2Bytes,
          &F::ChannelBytes2Seconds,
          &F::ChannelGetLevel,
          &F::ChannelGetData,
          &F::ChannelSetSync,
          &F::ChannelSetDSP,
          &F::ChannelGetTags,
          &F::StreamFree,
          &F::StreamCreateFile,
          &F::StreamGetMark,
          &F::StreamGetEvents,
          &F::StreamEvent,
          &F::StreamGetEvent,
          &F::StreamSetFonts,
          &F::StreamGetFonts,
          &F::FontInit,
          &F::FontFree,
          &F::FontGetInfo,
          &F::FontGetPreset,
          &F::FontSetVolume,
          &F::EncodeStart,
          &F::EncodeIsActive,
          &F::EncodeStop};
}

FakeBass::~FakeBass() { g_fake = nullptr; }

void FakeBass::Fail(const std::string& function, int code, int times) {
  std::lock_guard lock(mutex_);
  failures_[function] = {code, times};
}

void FakeBass::StopFailing(const std::string& function) {
  std::lock_guard lock(mutex_);
  failures_.erase(function);
}

HSTREAM FakeBass::AddStream(const Song& of) {
  std::lock_guard lock(mutex_);
  auto stream = std::make_shared<Stream>();
  stream->song = of;
  stream->values = StartValues(of);
  stream->fonts = default_fonts_;
  streams_[next_stream_] = std::move(stream);
  return next_stream_++;
}

HSOUNDFONT FakeBass::AddFont(const Font& of) {
  std::lock_guard lock(mutex_);
  fonts_[next_font_] = std::make_shared<Font>(of);
  return next_font_++;
}

void FakeBass::SetValue(HSTREAM handle, DWORD chan, DWORD event, DWORD value) {
  std::lock_guard lock(mutex_);
  stream(handle).values[ValueKey(chan, event)] = value;
  stream(handle).values_changed = true;
}

DWORD FakeBass::Value(HSTREAM handle, DWORD chan, DWORD event) {
  std::lock_guard lock(mutex_);
  return stream(handle).values.at(ValueKey(chan, event));
}

int FakeBass::FireSync(HSTREAM handle, DWORD type, QWORD param, DWORD data) {
  const DWORD wanted = type & ~BASS_SYNC_MIXTIME;
  const bool by_param = wanted == BASS_SYNC_POS || wanted == BASS_SYNC_MIDI_EVENT;
  std::vector<Sync> found;
  {
    std::lock_guard lock(mutex_);
    for (const Sync& sync : stream(handle).syncs) {
      if ((sync.type & ~BASS_SYNC_MIXTIME) != wanted) continue;
      if (by_param && sync.param != param) continue;
      found.push_back(sync);
    }
  }
  for (const Sync& sync : found) sync.proc(sync.handle, handle, data, sync.user);
  return static_cast<int>(found.size());
}

bool FakeBass::FireSyncHandle(HSYNC sync, DWORD data) {
  std::optional<Sync> found;
  HSTREAM channel = 0;
  {
    std::lock_guard lock(mutex_);
    for (const auto& [handle, of] : streams_) {
      for (const Sync& other : of->syncs) {
        if (other.handle == sync) {
          found = other;
          channel = handle;
        }
      }
    }
  }
  if (!found) return false;
  found->proc(found->handle, channel, data, found->user);
  return true;
}

void FakeBass::RunDsp(HSTREAM handle, void* buffer, DWORD bytes) {
  std::vector<Dsp> dsps;
  {
    std::lock_guard lock(mutex_);
    dsps = stream(handle).dsps;
  }
  for (const Dsp& dsp : dsps) dsp.proc(dsp.handle, handle, buffer, bytes, dsp.user);
}

void FakeBass::RunDsp(HSTREAM handle, std::vector<std::int16_t>* samples) {
  RunDsp(handle, samples->data(), static_cast<DWORD>(samples->size() * sizeof(std::int16_t)));
}

std::vector<std::string> FakeBass::texts() const {
  std::lock_guard lock(mutex_);
  return texts_;
}

std::vector<FakeBass::Call> FakeBass::calls() const {
  std::lock_guard lock(mutex_);
  return calls_;
}

int FakeBass::IndexOf(const std::string& prefix, int from) const {
  std::lock_guard lock(mutex_);
  for (std::size_t i = static_cast<std::size_t>(from); i < texts_.size(); ++i) {
    if (texts_[i].starts_with(prefix)) return static_cast<int>(i);
  }
  return -1;
}

int FakeBass::CallCount(const std::string& function) const {
  std::lock_guard lock(mutex_);
  const auto count = counts_.find(function);
  return count == counts_.end() ? 0 : count->second;
}

void FakeBass::ClearCalls() {
  std::lock_guard lock(mutex_);
  calls_.clear();
  texts_.clear();
  counts_.clear();
}

bool FakeBass::Enter(const char* function) {
  ++counts_[function];
  g_error = BASS_OK;
  const auto failure = failures_.find(function);
  if (failure == failures_.end() || failure->second.times == 0) return true;
  if (failure->second.times > 0) --failure->second.times;
  g_error = failure->second.code;
  return false;
}

FakeBass::Stream* FakeBass::Find(HSTREAM handle) {
  const auto found = streams_.find(handle);
  if (found != streams_.end()) return found->second.get();
  g_error = BASS_ERROR_HANDLE;
  return nullptr;
}

void FakeBass::Record(Call call) {
  texts_.push_back(std::visit(TextOf{}, call));
  calls_.push_back(std::move(call));
}

void FakeBass::Produce(HSTREAM handle, std::uint8_t* buffer, DWORD bytes) {
  if (bytes == 0) return;
  std::memset(buffer, 0, bytes);
  Stream& of = stream(handle);
  if (of.fill) {
    of.fill(reinterpret_cast<std::int16_t*>(buffer),
            static_cast<DWORD>(bytes / sizeof(std::int16_t)));
  }
  RunDsp(handle, buffer, bytes);
  std::lock_guard lock(mutex_);
  of.position += bytes;
  for (auto& [unused, encoder] : encoders_) {
    if (encoder->stream == handle && encoder->active) encoder->bytes += bytes;
  }
}

DWORD FakeBass::DeliverScripted(HSTREAM handle, std::uint8_t* buffer, DWORD length) {
  Stream& of = stream(handle);
  const DWORD scripted = of.data_lengths.front();
  of.data_lengths.pop_front();
  if (scripted == kError32) {
    of.active = BASS_ACTIVE_STOPPED;
    g_error = BASS_ERROR_ENDED;
    return kError32;
  }
  Produce(handle, buffer, std::min(scripted, length));
  return std::min(scripted, length);
}

/// Position syncs split the block at their place, as the library does; the end sync comes once.
DWORD FakeBass::Deliver(HSTREAM handle, std::uint8_t* buffer, DWORD length) {
  Stream& of = stream(handle);
  if (!of.data_lengths.empty()) return DeliverScripted(handle, buffer, length);
  DWORD done = 0;
  while (done < length && of.active == BASS_ACTIVE_PLAYING) {
    const QWORD end = Scaled(of.song.length, of.ratio);
    if (of.position >= end) {
      of.active = BASS_ACTIVE_STOPPED;
      if (!std::exchange(of.ended, true)) FireSync(handle, BASS_SYNC_END, 0, 0);
      break;
    }
    QWORD next = std::min<QWORD>(end, of.position + (length - done));
    for (const Sync& sync : of.syncs) {
      if ((sync.type & ~BASS_SYNC_MIXTIME) == BASS_SYNC_POS && sync.param > of.position) {
        next = std::min(next, sync.param);
      }
    }
    const DWORD bytes = static_cast<DWORD>(next - of.position);
    Produce(handle, buffer + done, bytes);
    done += bytes;
    FireSync(handle, BASS_SYNC_POS, of.position, 0);
  }
  if (done == 0 && length > 0) {
    g_error = BASS_ERROR_ENDED;
    return kError32;
  }
  g_error = BASS_OK;
  return done;
}

}  // namespace vexolo
