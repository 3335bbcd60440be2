/// The audio library's C interface, as far as this program calls it.
///
/// Declared here once: types, constants and the table of functions `bass::Api`. Two things stand
/// behind that table: the open engine (engine/exports.h), or the closed libraries when all three of
/// them lie in the program folder (audio/loader.h). Nothing else in the program may tell them
/// apart.
///
/// Every function accepts any number as a handle; a wrong one fails with error 5. Every call sets
/// the calling thread's error code. Unless a line says otherwise any thread may call any function.
#pragma once

#include <cstdint>

#if defined(_WIN32) && !defined(_WIN64)
#define BASS_CALLBACK __stdcall
#else
#define BASS_CALLBACK
#endif

namespace bass {

using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using QWORD = std::uint64_t;
using BOOL = std::int32_t;

using HSTREAM = DWORD;
using HSYNC = DWORD;
using HDSP = DWORD;
using HPLUGIN = DWORD;
using HSOUNDFONT = DWORD;
using HENCODE = DWORD;

/// What a DWORD or QWORD function returns where it fails.
inline constexpr DWORD kError32 = 0xFFFFFFFFu;
inline constexpr QWORD kError64 = 0xFFFFFFFFFFFFFFFFu;

/// High 16 bits of the version that this interface belongs to.
inline constexpr DWORD BASSVERSION = 0x0204;

// Error codes (BASS_ErrorGetCode). The texts are the business of audio/error_report.h.
inline constexpr int BASS_OK = 0;
inline constexpr int BASS_ERROR_MEM = 1;
inline constexpr int BASS_ERROR_FILEOPEN = 2;
inline constexpr int BASS_ERROR_DRIVER = 3;
inline constexpr int BASS_ERROR_HANDLE = 5;
inline constexpr int BASS_ERROR_FORMAT = 6;
inline constexpr int BASS_ERROR_POSITION = 7;
inline constexpr int BASS_ERROR_INIT = 8;
inline constexpr int BASS_ERROR_START = 9;
inline constexpr int BASS_ERROR_ALREADY = 14;
inline constexpr int BASS_ERROR_ILLTYPE = 19;
inline constexpr int BASS_ERROR_ILLPARAM = 20;
inline constexpr int BASS_ERROR_DEVICE = 23;
inline constexpr int BASS_ERROR_NOPLAY = 24;
inline constexpr int BASS_ERROR_FREQ = 25;
inline constexpr int BASS_ERROR_CREATE = 33;
inline constexpr int BASS_ERROR_PLAYING = 35;
inline constexpr int BASS_ERROR_NOTAVAIL = 37;
inline constexpr int BASS_ERROR_DECODE = 38;
inline constexpr int BASS_ERROR_FILEFORM = 41;
inline constexpr int BASS_ERROR_VERSION = 43;
inline constexpr int BASS_ERROR_ENDED = 45;
inline constexpr int BASS_ERROR_UNKNOWN = -1;

// Flags of BASS_MIDI_StreamCreateFile.
inline constexpr DWORD BASS_MIDI_DECAYEND = 0x1000;    ///< let notes and reverb decay at the end
inline constexpr DWORD BASS_STREAM_DECODE = 0x200000;  ///< decode only: pulled by GetData
inline constexpr DWORD BASS_UNICODE = 0x80000000u;     ///< the path is wide (see Api)

// Position modes.
inline constexpr DWORD BASS_POS_BYTE = 0;
inline constexpr DWORD BASS_POS_MIDI_TICK = 2;

// BASS_ChannelIsActive.
inline constexpr DWORD BASS_ACTIVE_STOPPED = 0;
inline constexpr DWORD BASS_ACTIVE_PLAYING = 1;
inline constexpr DWORD BASS_ACTIVE_STALLED = 2;
inline constexpr DWORD BASS_ACTIVE_PAUSED = 3;

// Sync types.
inline constexpr DWORD BASS_SYNC_POS = 0;  ///< parameter: byte position
inline constexpr DWORD BASS_SYNC_END = 2;
inline constexpr DWORD BASS_SYNC_MIDI_LYRIC = 0x10002;
inline constexpr DWORD BASS_SYNC_MIDI_TEXT = 0x10003;
inline constexpr DWORD BASS_SYNC_MIDI_EVENT = 0x10004;  ///< parameter: event number
inline constexpr DWORD BASS_SYNC_MIXTIME = 0x40000000;  ///< added: call on the mixing thread

// Mark types.
inline constexpr DWORD BASS_MIDI_MARK_LYRIC = 2;  ///< meta event 5
inline constexpr DWORD BASS_MIDI_MARK_TEXT = 3;   ///< meta event 1

/// BASS_ChannelGetTags: the name of track n is tag BASS_TAG_MIDI_TRACK + n.
inline constexpr DWORD BASS_TAG_MIDI_TRACK = 0x11000;

// MIDI event numbers; the unit of each parameter stands beside it.
inline constexpr DWORD MIDI_EVENT_NOTE = 1;     ///< low byte key, high byte velocity (0 = release)
inline constexpr DWORD MIDI_EVENT_PROGRAM = 2;  ///< 0..127
inline constexpr DWORD MIDI_EVENT_PITCH = 4;    ///< pitch wheel 0..16383, 8192 = centre
inline constexpr DWORD MIDI_EVENT_DRUMS = 6;    ///< 0 melodic, 1 drum kit
inline constexpr DWORD MIDI_EVENT_BANK = 10;    ///< 0..127 (controller 0)
inline constexpr DWORD MIDI_EVENT_MODULATION = 11;  ///< 0..127
inline constexpr DWORD MIDI_EVENT_VOLUME = 12;      ///< 0..127
inline constexpr DWORD MIDI_EVENT_PAN = 13;         ///< 0..127, 64 = middle
inline constexpr DWORD MIDI_EVENT_EXPRESSION = 14;  ///< 0..127
inline constexpr DWORD MIDI_EVENT_SUSTAIN = 15;     ///< 0..127, from 64 on = down
inline constexpr DWORD MIDI_EVENT_SOUNDOFF = 16;
inline constexpr DWORD MIDI_EVENT_RESET = 17;  ///< reset all controllers
inline constexpr DWORD MIDI_EVENT_NOTESOFF = 18;
inline constexpr DWORD MIDI_EVENT_REVERB = 23;  ///< reverb send, 0..127 (controller 91)
inline constexpr DWORD MIDI_EVENT_CHORUS = 24;  ///< chorus send, 0..127 (controller 93)
// Song-wide effect parameters, whatever channel they are sent on.
inline constexpr DWORD MIDI_EVENT_REVERB_TIME = 32;      ///< milliseconds
inline constexpr DWORD MIDI_EVENT_REVERB_DELAY = 33;     ///< tenths of a millisecond
inline constexpr DWORD MIDI_EVENT_REVERB_LOCUTOFF = 34;  ///< low-pass, hertz, 0 = off
inline constexpr DWORD MIDI_EVENT_REVERB_HICUTOFF = 35;  ///< high-pass, hertz, 0 = off
inline constexpr DWORD MIDI_EVENT_REVERB_LEVEL = 36;     ///< 0 = off, 100 = 0 dB, 200 = +6 dB
inline constexpr DWORD MIDI_EVENT_CHORUS_DELAY = 37;     ///< tenths of a millisecond
inline constexpr DWORD MIDI_EVENT_CHORUS_DEPTH = 38;     ///< tenths of a millisecond
inline constexpr DWORD MIDI_EVENT_CHORUS_RATE = 39;      ///< hundredths of a hertz
inline constexpr DWORD MIDI_EVENT_CHORUS_FEEDBACK = 40;  ///< 0 = -100 %, 100 = none, 200 = +100 %
inline constexpr DWORD MIDI_EVENT_CHORUS_LEVEL = 41;     ///< 0 = off, 100 = 0 dB, 200 = +6 dB
inline constexpr DWORD MIDI_EVENT_CHORUS_REVERB = 42;    ///< chorus to reverb, as a level
inline constexpr DWORD MIDI_EVENT_TEMPO = 62;            ///< microseconds per quarter note
inline constexpr DWORD MIDI_EVENT_MIXLEVEL = 0x10000;    ///< 0 = silent, 100 = 0 dB, 200 = +6 dB
inline constexpr DWORD MIDI_EVENT_TRANSPOSE =
    0x10001;  ///< 100 = none, 0..200 = -100..+100 semitones

// Encoder flags.
inline constexpr DWORD BASS_ENCODE_PCM = 0x40;  ///< write a WAV file named by cmdline
inline constexpr DWORD BASS_ENCODE_AUTOFREE =
    0x40000;  ///< free by itself at the end of its channel

/// One entry of a font list.
struct BASS_MIDI_FONT {
  HSOUNDFONT font;
  std::int32_t preset;  ///< -1 = all presets
  std::int32_t bank;
};

/// What BASS_MIDI_FontGetInfo tells; the texts live as long as the font.
struct BASS_MIDI_FONTINFO {
  const char* name;
  const char* copyright;
  const char* comment;
  DWORD presets;  ///< number of presets
  DWORD samsize;  ///< total size of the sample data in bytes
  DWORD samload;  ///< bytes of it that are loaded
  DWORD samtype;  ///< sample format, 0 = 16-bit PCM
};

/// A lyric or text mark; the text lives as long as the stream.
struct BASS_MIDI_MARK {
  DWORD track;
  DWORD pos;  ///< bytes
  const char* text;
};

/// One event of BASS_MIDI_StreamGetEvents.
struct BASS_MIDI_EVENT {
  DWORD event;
  DWORD param;
  DWORD chan;
  DWORD tick;
  DWORD pos;  ///< bytes
};

using SYNCPROC = void BASS_CALLBACK(HSYNC sync, DWORD channel, DWORD data, void* user);
using DSPPROC = void BASS_CALLBACK(HDSP dsp, DWORD channel, void* buffer, DWORD length, void* user);
using ENCODEPROC = void BASS_CALLBACK(HENCODE encoder, DWORD channel, const void* buffer,
                                      DWORD length, void* user);

/// The functions of the library and its two add-ons, under their own names.
struct Api {
  DWORD(BASS_CALLBACK* BASS_GetVersion)();
  /// Error of the calling thread's most recent call; 0 = ok.
  int(BASS_CALLBACK* BASS_ErrorGetCode)();
  /// Device -1 = system default, 0 = no sound; a second call without BASS_Free fails with 14.
  BOOL(BASS_CALLBACK* BASS_Init)
  (int device, DWORD freq, DWORD flags, void* window, const void* clsid);
  /// Stops and frees everything.
  BOOL(BASS_CALLBACK* BASS_Free)();
  BOOL(BASS_CALLBACK* BASS_PluginFree)(HPLUGIN plugin);

  BOOL(BASS_CALLBACK* BASS_ChannelPlay)(DWORD handle, BOOL restart);
  BOOL(BASS_CALLBACK* BASS_ChannelStop)(DWORD handle);
  DWORD(BASS_CALLBACK* BASS_ChannelIsActive)(DWORD handle);
  QWORD(BASS_CALLBACK* BASS_ChannelGetLength)(DWORD handle, DWORD mode);
  QWORD(BASS_CALLBACK* BASS_ChannelGetPosition)(DWORD handle, DWORD mode);
  BOOL(BASS_CALLBACK* BASS_ChannelSetPosition)(DWORD handle, QWORD pos, DWORD mode);
  QWORD(BASS_CALLBACK* BASS_ChannelSeconds2Bytes)(DWORD handle, double seconds);
  double(BASS_CALLBACK* BASS_ChannelBytes2Seconds)(DWORD handle, QWORD bytes);
  /// Low word left, high word right, 0..32768 each.
  DWORD(BASS_CALLBACK* BASS_ChannelGetLevel)(DWORD handle);
  /// Bytes delivered; all bits set at the end.
  DWORD(BASS_CALLBACK* BASS_ChannelGetData)(DWORD handle, void* buffer, DWORD length);
  HSYNC(BASS_CALLBACK* BASS_ChannelSetSync)
  (DWORD handle, DWORD type, QWORD param, SYNCPROC* proc, void* user);
  HDSP(BASS_CALLBACK* BASS_ChannelSetDSP)(DWORD handle, DSPPROC* proc, void* user, int priority);
  const char*(BASS_CALLBACK* BASS_ChannelGetTags)(DWORD handle, DWORD tags);
  BOOL(BASS_CALLBACK* BASS_StreamFree)(HSTREAM handle);

  /// With BASS_UNICODE the path is UTF-16 on Windows and UTF-8 elsewhere.
  HSTREAM(BASS_CALLBACK* BASS_MIDI_StreamCreateFile)
  (BOOL mem, const void* file, QWORD offset, QWORD length, DWORD flags, DWORD freq);
  BOOL(BASS_CALLBACK* BASS_MIDI_StreamGetMark)
  (HSTREAM handle, DWORD type, DWORD index, BASS_MIDI_MARK* mark);
  /// `events` null = the count only; track -1 = all; filter = an event number, 0 = every event.
  DWORD(BASS_CALLBACK* BASS_MIDI_StreamGetEvents)
  (HSTREAM handle, int track, DWORD filter, BASS_MIDI_EVENT* events);
  BOOL(BASS_CALLBACK* BASS_MIDI_StreamEvent)(HSTREAM handle, DWORD chan, DWORD event, DWORD param);
  DWORD(BASS_CALLBACK* BASS_MIDI_StreamGetEvent)(HSTREAM handle, DWORD chan, DWORD event);
  BOOL(BASS_CALLBACK* BASS_MIDI_StreamSetFonts)
  (HSTREAM handle, const BASS_MIDI_FONT* fonts, DWORD count);
  DWORD(BASS_CALLBACK* BASS_MIDI_StreamGetFonts)
  (HSTREAM handle, BASS_MIDI_FONT* fonts, DWORD count);
  /// The path is UTF-8 in the open engine; flag BASS_UNICODE as above.
  HSOUNDFONT(BASS_CALLBACK* BASS_MIDI_FontInit)(const void* path, DWORD flags);
  BOOL(BASS_CALLBACK* BASS_MIDI_FontFree)(HSOUNDFONT font);
  BOOL(BASS_CALLBACK* BASS_MIDI_FontGetInfo)(HSOUNDFONT font, BASS_MIDI_FONTINFO* info);
  const char*(BASS_CALLBACK* BASS_MIDI_FontGetPreset)(HSOUNDFONT font, int preset, int bank);
  BOOL(BASS_CALLBACK* BASS_MIDI_FontSetVolume)(HSOUNDFONT font, float volume);

  HENCODE(BASS_CALLBACK* BASS_Encode_Start)
  (DWORD handle, const char* cmdline, DWORD flags, ENCODEPROC* proc, void* user);
  DWORD(BASS_CALLBACK* BASS_Encode_IsActive)(DWORD handle);
  /// Ends the input, waits for the process to finish, completes the WAV header.
  BOOL(BASS_CALLBACK* BASS_Encode_Stop)(DWORD handle);
};

}  // namespace bass
