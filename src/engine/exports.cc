#include "engine/exports.h"

#include <cmath>
#include <cstring>
#include <exception>
#include <new>
#include <string>

#include "engine/device_backend.h"
#include "engine/library.h"
#include "engine/sound_font.h"

namespace vexolo::engine {
namespace {

using namespace bass;  // NOLINT(google-build-using-namespace): this file speaks that interface

constexpr QWORD kFrameBytes = 4;
constexpr double kFramesPerSecond = kSampleRate;

/// The C interface has no object to carry the library's state, so the one library of the process
/// lives here.
Library& TheLibrary() {
  static Library library;
  return library;
}

thread_local int last_error = BASS_OK;

/// Keeps an operation's error code; true where it is 0.
bool Succeeded(int error) {
  last_error = error;
  return error == BASS_OK;
}

/// Nothing is thrown through the interface: what memory (or a thread) is missing for fails.
template <typename Result, typename Operation>
Result Guarded(Result failure, Operation operation) {
  try {
    return operation();
  } catch (const std::bad_alloc&) {
    last_error = BASS_ERROR_MEM;
  } catch (const engine::UnreadableBank&) {
    last_error = BASS_ERROR_FILEOPEN;
  } catch (const std::exception&) {
    last_error = BASS_ERROR_UNKNOWN;
  }
  return failure;
}

BOOL Outcome(int error) { return Succeeded(error) ? 1 : 0; }

/// Runs an operation that returns an error code.
template <typename Operation>
BOOL OutcomeOf(Operation operation) {
  return Guarded(BOOL{0}, [&] { return Outcome(operation()); });
}

/// Calls `operation` with the stream, or fails with error 5 and `failure`.
template <typename Result, typename Operation>
Result WithStream(DWORD handle, Result failure, Operation operation) {
  return Guarded(failure, [&]() -> Result {
    const std::shared_ptr<Stream> stream = TheLibrary().FindStream(handle);
    if (!Succeeded(stream == nullptr ? BASS_ERROR_HANDLE : BASS_OK)) return failure;
    return operation(*stream);
  });
}

template <typename Result, typename Operation>
Result WithFont(HSOUNDFONT handle, Result failure, Operation operation) {
  return Guarded(failure, [&]() -> Result {
    const std::shared_ptr<SoundFont> font = TheLibrary().FindFont(handle);
    if (!Succeeded(font == nullptr ? BASS_ERROR_HANDLE : BASS_OK)) return failure;
    return operation(*font);
  });
}

/// A path as UTF-8: wide where the flag says so and the platform has wide paths.
std::string PathText(const void* path, [[maybe_unused]] DWORD flags) {
#ifdef _WIN32
  if ((flags & BASS_UNICODE) != 0) {
    const std::u16string wide(static_cast<const char16_t*>(path));
    const std::u8string text = std::filesystem::path(wide).u8string();
    return {text.begin(), text.end()};
  }
#endif
  return static_cast<const char*>(path);
}

// ---- The library as a whole

DWORD BASS_CALLBACK GetVersion() {
  last_error = BASS_OK;
  return (BASSVERSION << 16) | 0x0101;
}

int BASS_CALLBACK ErrorGetCode() { return last_error; }

BOOL BASS_CALLBACK Init(int device, DWORD freq, DWORD, void*, const void*) {
  return OutcomeOf([&] { return TheLibrary().Init(device, freq); });
}

BOOL BASS_CALLBACK Free() {
  return OutcomeOf([] { return TheLibrary().Free(); });
}

BOOL BASS_CALLBACK PluginFree(HPLUGIN plugin) {
  return Outcome(plugin == 0 ? BASS_OK : BASS_ERROR_HANDLE);  // there are none
}

// ---- Channels

BOOL BASS_CALLBACK ChannelPlay(DWORD handle, BOOL restart) {
  return WithStream(handle, BOOL{0},
                    [&](Stream& stream) { return Outcome(stream.Play(restart != 0)); });
}

BOOL BASS_CALLBACK ChannelStop(DWORD handle) {
  return WithStream(handle, BOOL{0}, [](Stream& stream) { return Outcome(stream.Stop()); });
}

DWORD BASS_CALLBACK ChannelIsActive(DWORD handle) {
  return WithStream(handle, BASS_ACTIVE_STOPPED,
                    [](const Stream& stream) { return stream.IsActive(); });
}

QWORD BASS_CALLBACK ChannelGetLength(DWORD handle, DWORD mode) {
  return WithStream(handle, kError64, [&](const Stream& stream) {
    if (mode == BASS_POS_BYTE) return stream.LengthBytes();
    if (mode == BASS_POS_MIDI_TICK) return stream.LengthTicks();
    last_error = BASS_ERROR_NOTAVAIL;
    return kError64;
  });
}

QWORD BASS_CALLBACK ChannelGetPosition(DWORD handle, DWORD mode) {
  return WithStream(handle, kError64, [&](const Stream& stream) {
    if (mode == BASS_POS_BYTE) return stream.PositionBytes();
    if (mode == BASS_POS_MIDI_TICK) return stream.PositionTicks();
    last_error = BASS_ERROR_NOTAVAIL;
    return kError64;
  });
}

BOOL BASS_CALLBACK ChannelSetPosition(DWORD handle, QWORD pos, DWORD mode) {
  return WithStream(handle, BOOL{0},
                    [&](Stream& stream) { return Outcome(stream.SetPosition(pos, mode)); });
}

// Down to a whole frame, as Bytes2Seconds tells a frame's time: the product may have been rounded
// past it in either direction.
QWORD BASS_CALLBACK ChannelSeconds2Bytes(DWORD handle, double seconds) {
  return WithStream(handle, kError64, [&](const Stream&) {
    if (!(seconds >= 0) || seconds > 1e12) {
      last_error = BASS_ERROR_ILLPARAM;
      return kError64;
    }
    auto frame = static_cast<QWORD>(std::floor(seconds * kFramesPerSecond));
    if (static_cast<double>(frame + 1) / kFramesPerSecond <= seconds) ++frame;
    if (static_cast<double>(frame) / kFramesPerSecond > seconds) --frame;
    return frame * kFrameBytes;
  });
}

double BASS_CALLBACK ChannelBytes2Seconds(DWORD handle, QWORD bytes) {
  return WithStream(handle, -1.0, [&](const Stream&) {
    const QWORD whole_frames = bytes / kFrameBytes;
    return static_cast<double>(whole_frames) / kFramesPerSecond;
  });
}

DWORD BASS_CALLBACK ChannelGetLevel(DWORD handle) {
  return WithStream(handle, kError32, [](const Stream& stream) { return stream.Level(); });
}

DWORD BASS_CALLBACK ChannelGetData(DWORD handle, void* buffer, DWORD length) {
  return WithStream(handle, kError32, [&](Stream& stream) {
    if (!stream.decoding()) {
      last_error = BASS_ERROR_NOTAVAIL;
      return kError32;
    }
    if (buffer == nullptr || length > 0x7FFFFFFF) {
      last_error = BASS_ERROR_ILLPARAM;
      return kError32;
    }
    const DWORD delivered = stream.GetData(buffer, length);
    last_error = delivered == kError32 ? BASS_ERROR_ENDED : BASS_OK;
    return delivered;
  });
}

HSYNC BASS_CALLBACK ChannelSetSync(DWORD handle, DWORD type, QWORD param, SYNCPROC* proc,
                                   void* user) {
  return WithStream(handle, HSYNC{0}, [&](Stream& stream) {
    const HSYNC sync = TheLibrary().NewHandle();
    return Succeeded(stream.SetSync(sync, type, param, proc, user)) ? sync : 0;
  });
}

HDSP BASS_CALLBACK ChannelSetDSP(DWORD handle, DSPPROC* proc, void* user, int priority) {
  return WithStream(handle, HDSP{0}, [&](Stream& stream) {
    const HDSP dsp = TheLibrary().NewHandle();
    return Succeeded(stream.SetDsp(dsp, proc, user, priority)) ? dsp : 0;
  });
}

const char* BASS_CALLBACK ChannelGetTags(DWORD handle, DWORD tags) {
  return WithStream(handle, static_cast<const char*>(nullptr),
                    [&](const Stream& stream) -> const char* {
                      const MidiFile& file = stream.song().file();
                      const DWORD track = tags - BASS_TAG_MIDI_TRACK;
                      if (tags < BASS_TAG_MIDI_TRACK || track >= file.track_count()) {
                        last_error = BASS_ERROR_NOTAVAIL;
                        return nullptr;
                      }
                      return file.track_name(track).c_str();
                    });
}

// ---- MIDI streams

BOOL BASS_CALLBACK StreamFree(HSTREAM handle) {
  return OutcomeOf([&] { return TheLibrary().FreeStream(handle); });
}

HSTREAM BASS_CALLBACK MidiStreamCreateFile(BOOL mem, const void* file, QWORD offset, QWORD length,
                                           DWORD flags, DWORD freq) {
  if (!Succeeded(file == nullptr ? BASS_ERROR_ILLPARAM : BASS_OK)) return 0;
  if (!Succeeded(freq == 0 || freq == kSampleRate ? BASS_OK : BASS_ERROR_FREQ)) return 0;
  return Guarded(HSTREAM{0}, [&] {
    HSTREAM handle = 0;
    const int error =
        mem != 0 ? TheLibrary().CreateStreamFromMemory(
                       static_cast<const std::uint8_t*>(file) + offset, length, flags, &handle)
                 : TheLibrary().CreateStream(PathText(file, flags), offset, length, flags, &handle);
    return Succeeded(error) ? handle : 0;
  });
}

BOOL BASS_CALLBACK MidiStreamGetMark(HSTREAM handle, DWORD type, DWORD index,
                                     BASS_MIDI_MARK* mark) {
  return WithStream(handle, BOOL{0}, [&](const Stream& stream) {
    if (type != BASS_MIDI_MARK_LYRIC && type != BASS_MIDI_MARK_TEXT) {
      return Outcome(BASS_ERROR_ILLTYPE);
    }
    const auto& marks = stream.song().marks(type == BASS_MIDI_MARK_LYRIC ? Song::MarkKind::kLyric
                                                                         : Song::MarkKind::kText);
    if (mark == nullptr || index >= marks.size()) return Outcome(BASS_ERROR_ILLPARAM);
    const MidiEvent& event = stream.song().events()[marks[index]];
    mark->track = event.track;
    mark->pos = static_cast<DWORD>(stream.BytesOfTick(event.tick));
    mark->text = stream.song().file().Data(event).data();
    return BOOL{1};
  });
}

DWORD BASS_CALLBACK MidiStreamGetEvents(HSTREAM handle, int track, DWORD filter,
                                        BASS_MIDI_EVENT* events) {
  return WithStream(handle, kError32, [&](const Stream& stream) {
    const Song& song = stream.song();
    if (track < -1 ||
        (track >= 0 && static_cast<std::size_t>(track) >= song.file().track_count())) {
      last_error = BASS_ERROR_ILLPARAM;
      return kError32;
    }
    DWORD count = 0;
    for (const MidiEvent& event : song.events()) {
      if (track >= 0 && event.track != track) continue;
      DWORD param = 0;
      const DWORD number = InterfaceEvent(event, &param);
      if (number == 0 || (filter != 0 && number != filter)) continue;
      if (events != nullptr) {
        const DWORD channel = event.status == 0xFF ? 0 : static_cast<DWORD>(event.channel());
        events[count] = {number, param, channel, event.tick,
                         static_cast<DWORD>(stream.BytesOfTick(event.tick))};
      }
      ++count;
    }
    return count;
  });
}

BOOL BASS_CALLBACK MidiStreamEvent(HSTREAM handle, DWORD chan, DWORD event, DWORD param) {
  return WithStream(handle, BOOL{0},
                    [&](Stream& stream) { return Outcome(stream.SendEvent(chan, event, param)); });
}

DWORD BASS_CALLBACK MidiStreamGetEvent(HSTREAM handle, DWORD chan, DWORD event) {
  return WithStream(handle, kError32, [&](Stream& stream) {
    const DWORD value = stream.GetEvent(chan, event);
    if (value == kError32) last_error = BASS_ERROR_ILLPARAM;
    return value;
  });
}

// ---- Banks

// The font list has one entry that covers everything: preset -1, bank 0.
BOOL BASS_CALLBACK MidiStreamSetFonts(HSTREAM handle, const BASS_MIDI_FONT* fonts, DWORD count) {
  if (count > 0 && fonts == nullptr) return Outcome(BASS_ERROR_ILLPARAM);
  if (count > 1 || (count == 1 && (fonts->preset != -1 || fonts->bank != 0))) {
    return Outcome(BASS_ERROR_NOTAVAIL);
  }
  const HSOUNDFONT font = count == 0 ? 0 : fonts->font;
  return OutcomeOf([&] { return TheLibrary().SetFont(handle, font); });
}

DWORD BASS_CALLBACK MidiStreamGetFonts(HSTREAM handle, BASS_MIDI_FONT* fonts, DWORD count) {
  return Guarded(kError32, [&]() -> DWORD {
    HSOUNDFONT font = 0;
    if (!Succeeded(TheLibrary().GetFont(handle, &font))) return kError32;
    if (font == 0) return 0;
    if (fonts != nullptr && count > 0) *fonts = {font, -1, 0};
    return 1;
  });
}

HSOUNDFONT BASS_CALLBACK MidiFontInit(const void* path, DWORD flags) {
  if (!Succeeded(path == nullptr ? BASS_ERROR_ILLPARAM : BASS_OK)) return 0;
  return Guarded(HSOUNDFONT{0}, [&] {
    HSOUNDFONT handle = 0;
    return Succeeded(TheLibrary().LoadFont(PathText(path, flags), &handle)) ? handle : 0;
  });
}

BOOL BASS_CALLBACK MidiFontFree(HSOUNDFONT font) {
  return OutcomeOf([&] { return TheLibrary().FreeFont(font); });
}

BOOL BASS_CALLBACK MidiFontGetInfo(HSOUNDFONT handle, BASS_MIDI_FONTINFO* info) {
  return WithFont(handle, BOOL{0}, [&](const SoundFont& font) {
    if (info == nullptr) return Outcome(BASS_ERROR_ILLPARAM);
    const SoundFontInfo& known = font.info();
    *info = {known.name.c_str(),
             known.copyright.c_str(),
             known.comment.c_str(),
             known.presets,
             known.sample_bytes,
             known.sample_bytes,
             0};
    return BOOL{1};
  });
}

const char* BASS_CALLBACK MidiFontGetPreset(HSOUNDFONT handle, int preset, int bank) {
  return WithFont(handle, static_cast<const char*>(nullptr), [&](const SoundFont& font) {
    const char* name = font.PresetName(preset, bank);
    if (name == nullptr) last_error = BASS_ERROR_NOTAVAIL;
    return name;
  });
}

BOOL BASS_CALLBACK MidiFontSetVolume(HSOUNDFONT handle, float volume) {
  return WithFont(handle, BOOL{0}, [&](SoundFont& font) {
    if (!(volume >= 0.0F) || !std::isfinite(volume)) return Outcome(BASS_ERROR_ILLPARAM);
    font.volume.store(volume, std::memory_order_relaxed);
    return BOOL{1};
  });
}

// ---- Encoders

HENCODE BASS_CALLBACK EncodeStart(DWORD handle, const char* cmdline, DWORD flags, ENCODEPROC* proc,
                                  void*) {
  if (!Succeeded(cmdline == nullptr ? BASS_ERROR_ILLPARAM : BASS_OK)) return 0;
  if (!Succeeded(proc != nullptr ? BASS_ERROR_NOTAVAIL : BASS_OK)) return 0;
  return Guarded(HENCODE{0}, [&] {
    HENCODE encoder = 0;
    return Succeeded(TheLibrary().StartEncoder(handle, cmdline, flags, &encoder)) ? encoder : 0;
  });
}

DWORD BASS_CALLBACK EncodeIsActive(DWORD handle) {
  return Guarded(DWORD{0}, [&]() -> DWORD {
    bool active = false;
    return Succeeded(TheLibrary().EncoderIsActive(handle, &active)) && active ? 1 : 0;
  });
}

BOOL BASS_CALLBACK EncodeStop(DWORD handle) {
  return OutcomeOf([&] { return TheLibrary().StopEncoder(handle); });
}

constexpr Api kApi = {
    .BASS_GetVersion = GetVersion,
    .BASS_ErrorGetCode = ErrorGetCode,
    .BASS_Init = Init,
    .BASS_Free = Free,
    .BASS_PluginFree = PluginFree,
    .BASS_ChannelPlay = ChannelPlay,
    .BASS_ChannelStop = ChannelStop,
    .BASS_ChannelIsActive = ChannelIsActive,
    .BASS_ChannelGetLength = ChannelGetLength,
    .BASS_ChannelGetPosition = ChannelGetPosition,
    .BASS_ChannelSetPosition = ChannelSetPosition,
    .BASS_ChannelSeconds2Bytes = ChannelSeconds2Bytes,
    .BASS_ChannelBytes2Seconds = ChannelBytes2Seconds,
    .BASS_ChannelGetLevel = ChannelGetLevel,
    .BASS_ChannelGetData = ChannelGetData,
    .BASS_ChannelSetSync = ChannelSetSync,
    .BASS_ChannelSetDSP = ChannelSetDSP,
    .BASS_ChannelGetTags = ChannelGetTags,
    .BASS_StreamFree = StreamFree,
    .BASS_MIDI_StreamCreateFile = MidiStreamCreateFile,
    .BASS_MIDI_StreamGetMark = MidiStreamGetMark,
    .BASS_MIDI_StreamGetEvents = MidiStreamGetEvents,
    .BASS_MIDI_StreamEvent = MidiStreamEvent,
    .BASS_MIDI_StreamGetEvent = MidiStreamGetEvent,
    .BASS_MIDI_StreamSetFonts = MidiStreamSetFonts,
    .BASS_MIDI_StreamGetFonts = MidiStreamGetFonts,
    .BASS_MIDI_FontInit = MidiFontInit,
    .BASS_MIDI_FontFree = MidiFontFree,
    .BASS_MIDI_FontGetInfo = MidiFontGetInfo,
    .BASS_MIDI_FontGetPreset = MidiFontGetPreset,
    .BASS_MIDI_FontSetVolume = MidiFontSetVolume,
    .BASS_Encode_Start = EncodeStart,
    .BASS_Encode_IsActive = EncodeIsActive,
    .BASS_Encode_Stop = EncodeStop,
};

}  // namespace

const Api& EngineApi() { return kApi; }

void SetRenderThreads(int threads) { TheLibrary().SetRenderThreads(threads); }

void SetProcessStarter(ProcessStarter starter) {
  TheLibrary().SetProcessStarter(std::move(starter));
}

bool OutputIsSilent() { return TheLibrary().OutputIsSilent(); }

std::string OutputName() { return TheLibrary().OutputName(); }

std::vector<std::string> Components() { return {SynthesiserVersion(), SoundSystemVersion()}; }

std::uint64_t LateBlocks() { return TheLibrary().LateBlocks(); }

}  // namespace vexolo::engine
