/// A scriptable stand-in for the audio library, for tests of everything above `bass::Api`.
///
/// A test makes one FakeBass, describes songs and fonts, hands `api()` to the code under test and
/// then looks at what was called. The library's functions are plain C functions, so they reach the
/// fake through one global pointer of the test program: only one FakeBass lives at a time.
///
/// Calls that change something are recorded in order, once as text ("StreamEvent 1 0 12 100") and
/// once as a record (`Calls<FakeBass::StreamEvent>()`). Calls that only read are counted
/// (`CallCount("BASS_MIDI_StreamGetMark")`).
#pragma once

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "audio/bass.h"

namespace vexolo {

class FakeBass {
 public:
  static constexpr bass::QWORD kBytesPerSecond = 176400;
  // Handles are counted up from these, so that a test can tell the kinds apart.
  static constexpr bass::DWORD kFirstStream = 1;
  static constexpr bass::DWORD kFirstFont = 101;
  static constexpr bass::DWORD kFirstSync = 1001;
  static constexpr bass::DWORD kFirstDsp = 2001;
  static constexpr bass::DWORD kFirstEncoder = 3001;

  // What was called. Texts are the struct's name and its fields in order, apart from pointers.
  struct Init {
    int device;
    bass::DWORD freq;
    bass::DWORD flags;
    void* window;
  };
  struct Free {};
  struct PluginFree {
    bass::HPLUGIN plugin;
  };
  struct Play {
    bass::DWORD handle;
    bool restart;
  };
  struct Stop {
    bass::DWORD handle;
  };
  struct SetPosition {
    bass::DWORD handle;
    bass::QWORD pos;
    bass::DWORD mode;
  };
  struct SetSync {
    bass::DWORD handle;
    bass::DWORD type;  ///< with BASS_SYNC_MIXTIME where it was given
    bass::QWORD param;
    bass::SYNCPROC* proc;
    void* user;
    bass::HSYNC sync;  ///< the handle that was given out
  };
  struct SetDSP {
    bass::DWORD handle;
    bass::DSPPROC* proc;
    void* user;
    int priority;
    bass::HDSP dsp;
  };
  struct StreamFree {
    bass::HSTREAM handle;
  };
  struct StreamCreateFile {
    std::string path;  ///< UTF-8; "<memory>" for a file in memory
    bass::DWORD flags;
    bass::DWORD freq;
    bass::HSTREAM stream;
  };
  struct StreamEvent {
    bass::HSTREAM handle;
    bass::DWORD chan;
    bass::DWORD event;
    bass::DWORD param;
    bool operator==(const StreamEvent&) const = default;
  };
  struct SetFonts {
    bass::HSTREAM handle;
    std::vector<bass::BASS_MIDI_FONT> fonts;
  };
  struct FontInit {
    std::string path;
    bass::DWORD flags;
    bass::HSOUNDFONT font;
  };
  struct FontFree {
    bass::HSOUNDFONT font;
  };
  struct FontSetVolume {
    bass::HSOUNDFONT font;
    float volume;
  };
  struct EncodeStart {
    bass::DWORD handle;
    std::string cmdline;
    bass::DWORD flags;
    bass::HENCODE encoder;
  };
  struct EncodeStop {
    bass::HENCODE encoder;
  };
  using Call = std::variant<Init, Free, PluginFree, Play, Stop, SetPosition, SetSync, SetDSP,
                            StreamFree, StreamCreateFile, StreamEvent, SetFonts, FontInit, FontFree,
                            FontSetVolume, EncodeStart, EncodeStop>;

  struct Mark {
    bass::DWORD track = 0;
    bass::DWORD pos = 0;  ///< bytes
    std::string text;
  };

  /// What a stream is made of. Byte positions are at the file's own tempo.
  struct Song {
    std::vector<std::string> track_names;                    ///< one for each track
    std::map<bass::DWORD, std::vector<Mark>> marks;          ///< by type, in time order
    std::vector<std::vector<bass::BASS_MIDI_EVENT>> events;  ///< by track
    bass::QWORD length = 10 * kBytesPerSecond;               ///< bytes
    /// Bytes to ticks and back. Linear with `bytes_per_tick` unless a function is given.
    double bytes_per_tick = 100;
    std::function<bass::QWORD(bass::QWORD)> bytes_to_ticks;
    std::function<bass::QWORD(bass::QWORD)> ticks_to_bytes;
    /// What GetEvent answers at the song's start, by (channel, event), over the defaults.
    std::map<std::pair<bass::DWORD, bass::DWORD>, bass::DWORD> values;
    /// A tempo that the program sends scales bytes by (sent / the song's tempo), as the library
    /// does; a seek ends that. Off by default: most tests want fixed positions.
    bool rescale_on_tempo = false;
    /// Whether a seek puts the values back to the song's (not mix level and transpose).
    bool chase_on_seek = true;

    /// Ticks from a table of (bytes, ticks) points, straight lines between them.
    void SetTickTable(std::vector<std::pair<bass::QWORD, bass::QWORD>> points);
  };

  struct Sync {
    bass::HSYNC handle;
    bass::DWORD type;
    bass::QWORD param;
    bass::SYNCPROC* proc;
    void* user;
  };
  struct Dsp {
    bass::HDSP handle;
    bass::DSPPROC* proc;
    void* user;
    int priority;
  };
  struct Stream {
    Song song;
    std::string path;
    bass::DWORD flags = 0;
    bass::QWORD position = 0;  ///< bytes
    bass::DWORD active = bass::BASS_ACTIVE_STOPPED;
    bass::DWORD level = 0;  ///< what GetLevel answers
    double ratio = 1;
    bool ended = false;  ///< the end sync has come
    /// Change them through SetValue, so that a seek knows there is something to put back.
    std::map<std::pair<bass::DWORD, bass::DWORD>, bass::DWORD> values;
    bool values_changed = false;
    std::vector<Sync> syncs;
    std::vector<Dsp> dsps;  ///< in calling order
    std::vector<bass::BASS_MIDI_FONT> fonts;
    /// GetData answers these lengths first (kError32 ends the stream), then what is left.
    std::deque<bass::DWORD> data_lengths;
    /// Fills what GetData delivers, before the DSPs; silence without it.
    std::function<void(std::int16_t* samples, bass::DWORD count)> fill;
  };

  struct Font {
    std::string name = "Fake bank";
    std::string copyright;
    std::string comment;
    bass::DWORD samsize = 0;
    bass::DWORD samload = 0;
    bass::DWORD samtype = 0;
    std::map<std::pair<int, int>, std::string> presets;  ///< by (preset, bank)
    float volume = 1.0f;
  };

  struct Encoder {
    bass::DWORD stream = 0;
    std::string cmdline;
    bass::DWORD flags = 0;
    bool active = true;
    bass::QWORD bytes = 0;  ///< what it has been given
  };

  FakeBass();
  ~FakeBass();
  FakeBass(const FakeBass&) = delete;
  FakeBass& operator=(const FakeBass&) = delete;

  /// The table; valid as long as this object.
  const bass::Api& api() const { return api_; }

  // ---- Script: set before the code under test runs.

  bass::DWORD version = 0x02040F00;
  /// What a created stream is made of: the entry for its path, else `song`.
  Song song;
  std::map<std::string, Song> songs;
  /// What an opened font is: the entry for its path, else `font`.
  Font font;
  std::map<std::string, Font> fonts_by_path;
  /// Called after the record is made and the fake's state is changed; may be empty.
  std::function<void(const SetPosition&)> on_set_position;
  std::function<void(const StreamEvent&)> on_stream_event;
  std::function<void(const EncodeStart&)> on_encode_start;
  std::function<void(bass::HENCODE)> on_encode_stop;
  /// Encode_IsActive answers these first, then the encoder's own state.
  std::deque<bass::DWORD> encode_active;

  /// The next `times` calls of a function ("BASS_ChannelPlay") fail with that code; -1 = for good.
  /// A failing call is counted, not recorded.
  void Fail(const std::string& function, int code, int times = -1);
  void StopFailing(const std::string& function);

  /// A stream that is simply there, without a recorded call.
  bass::HSTREAM AddStream(const Song& of);
  bass::HSOUNDFONT AddFont(const Font& of);

  // ---- State.

  Stream& stream(bass::HSTREAM handle) { return *streams_.at(handle); }
  bool HasStream(bass::HSTREAM handle) const { return streams_.count(handle) != 0; }
  /// The stream made last; 0 when there was none.
  bass::HSTREAM last_stream() const { return next_stream_ - 1; }
  std::size_t stream_count() const { return streams_.size(); }
  Font& opened_font(bass::HSOUNDFONT handle) { return *fonts_.at(handle); }
  bool HasFont(bass::HSOUNDFONT handle) const { return fonts_.count(handle) != 0; }
  Encoder& encoder(bass::HENCODE handle) { return *encoders_.at(handle); }
  bool HasEncoder(bass::HENCODE handle) const { return encoders_.count(handle) != 0; }
  const std::vector<bass::BASS_MIDI_FONT>& default_fonts() const { return default_fonts_; }
  bool initialised() const { return initialised_; }

  /// Sets what GetEvent answers now on a stream.
  void SetValue(bass::HSTREAM handle, bass::DWORD chan, bass::DWORD event, bass::DWORD value);
  bass::DWORD Value(bass::HSTREAM handle, bass::DWORD chan, bass::DWORD event);

  // ---- What the library would do by itself.

  /// Calls every sync of the stream whose type is `type` (BASS_SYNC_MIXTIME need not be given; any
  /// sync matches by the rest) and, for positions and events, whose parameter is `param`.
  /// Returns how many were called.
  int FireSync(bass::HSTREAM handle, bass::DWORD type, bass::QWORD param, bass::DWORD data);
  /// Calls the sync with that handle; false when there is none.
  bool FireSyncHandle(bass::HSYNC sync, bass::DWORD data);
  /// Runs the stream's DSPs over a buffer, highest priority first.
  void RunDsp(bass::HSTREAM handle, void* buffer, bass::DWORD bytes);
  void RunDsp(bass::HSTREAM handle, std::vector<std::int16_t>* samples);

  // ---- What was called.

  std::vector<std::string> texts() const;
  std::vector<Call> calls() const;
  template <typename T>
  std::vector<T> Calls() const {
    std::lock_guard lock(mutex_);
    std::vector<T> found;
    for (const Call& call : calls_) {
      if (const T* record = std::get_if<T>(&call)) found.push_back(*record);
    }
    return found;
  }
  /// The place of the first recorded text that begins with `prefix`; -1 when there is none.
  int IndexOf(const std::string& prefix, int from = 0) const;
  /// How often a function was called, whether it succeeded or not.
  int CallCount(const std::string& function) const;
  void ClearCalls();

 private:
  friend struct FakeBassFunctions;

  /// Counts the call; false (and the error code set) when it is to fail.
  bool Enter(const char* function);
  Stream* Find(bass::HSTREAM handle);
  void Record(Call call);
  bass::DWORD Deliver(bass::HSTREAM handle, std::uint8_t* buffer, bass::DWORD length);
  bass::DWORD DeliverScripted(bass::HSTREAM handle, std::uint8_t* buffer, bass::DWORD length);
  void Produce(bass::HSTREAM handle, std::uint8_t* buffer, bass::DWORD bytes);

  mutable std::recursive_mutex mutex_;
  bass::Api api_{};
  bool initialised_ = false;
  bass::DWORD next_stream_ = kFirstStream;
  bass::DWORD next_font_ = kFirstFont;
  bass::DWORD next_sync_ = kFirstSync;
  bass::DWORD next_dsp_ = kFirstDsp;
  bass::DWORD next_encoder_ = kFirstEncoder;
  std::map<bass::HSTREAM, std::shared_ptr<Stream>> streams_;
  std::map<bass::HSOUNDFONT, std::shared_ptr<Font>> fonts_;
  std::map<bass::HENCODE, std::shared_ptr<Encoder>> encoders_;
  std::vector<bass::BASS_MIDI_FONT> default_fonts_;
  struct Failure {
    int code;
    int times;
  };
  std::map<std::string, Failure> failures_;
  std::map<std::string, int> counts_;
  std::vector<Call> calls_;
  std::vector<std::string> texts_;
};

}  // namespace vexolo
