/// The engine with an eye on it: what the window thread asks of it and how long that takes, and
/// when the first block of a stream goes to the device.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <ctime>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "audio/loader.h"

namespace vexolo {

/// A moment of the window thread: the time, and the processor time that the thread has had.
struct Moment {
  double wall = 0;  ///< milliseconds
  double processor = 0;

  static Moment Now() {
    timespec spent{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &spent);
    const auto time = std::chrono::steady_clock::now().time_since_epoch();
    return {std::chrono::duration<double, std::milli>(time).count(),
            static_cast<double>(spent.tv_sec) * 1e3 + static_cast<double>(spent.tv_nsec) / 1e6};
  }
  Moment operator-(const Moment& other) const {
    return {wall - other.wall, processor - other.processor};
  }
};

class WatchedEngine : public AudioLibrary {
 public:
  using Clock = std::chrono::steady_clock;

  /// Made on the window thread; one at a time.
  WatchedEngine() : engine_(AudioLibrary::OpenEngine()), real_(engine_->api()), api_(real_) {
    watched = this;
    api_.BASS_MIDI_StreamCreateFile = Create;
    api_.BASS_MIDI_StreamGetEvents = GetEvents;
    api_.BASS_ChannelSetSync = SetSync;
    api_.BASS_ChannelPlay = Play;
    api_.BASS_MIDI_StreamSetFonts = SetFonts;
    api_.BASS_MIDI_FontFree = FreeFont;
    api_.BASS_MIDI_FontGetPreset = GetPreset;
  }
  const bass::Api& api() const override { return api_; }
  bool is_open_engine() const override { return true; }
  bool OutputIsSilent() const override { return engine_->OutputIsSilent(); }
  std::string OutputName() const override { return engine_->OutputName(); }
  std::vector<std::string> Components() const override { return engine_->Components(); }
  std::uint64_t LateBlocks() const override { return engine_->LateBlocks(); }

  /// When the first block was handed over; 0 = not yet.
  std::atomic<Clock::rep> first_block{0};

  /// The last start of a song on the window thread. Its notes are asked for once its words are
  /// known, where it has any; syncs are set after that and, for the words, before.
  struct {
    Moment create, created, notes, first_sync, play, played;
  } start;

  /// The last change of a bank there: from the first call on, until the old one is freed, and the
  /// first and the last question for a preset's name.
  struct {
    Moment begin, set, freed, names, named;
  } change;

 private:
  static bool IsWindow() { return std::this_thread::get_id() == watched->window_; }

  static bass::HSTREAM BASS_CALLBACK Create(bass::BOOL mem, const void* file, bass::QWORD offset,
                                            bass::QWORD length, bass::DWORD flags,
                                            bass::DWORD freq) {
    if (!IsWindow()) {
      return watched->real_.BASS_MIDI_StreamCreateFile(mem, file, offset, length, flags, freq);
    }
    watched->start = {};
    watched->start.create = Moment::Now();
    const bass::HSTREAM stream =
        watched->real_.BASS_MIDI_StreamCreateFile(mem, file, offset, length, flags, freq);
    watched->start.created = Moment::Now();
    return stream;
  }
  static bass::DWORD BASS_CALLBACK GetEvents(bass::HSTREAM stream, int track, bass::DWORD filter,
                                             bass::BASS_MIDI_EVENT* events) {
    if (IsWindow() && watched->start.notes.wall == 0) {
      watched->start.notes = Moment::Now();
      watched->start.first_sync = {};
    }
    return watched->real_.BASS_MIDI_StreamGetEvents(stream, track, filter, events);
  }
  static bass::HSYNC BASS_CALLBACK SetSync(bass::DWORD handle, bass::DWORD type, bass::QWORD param,
                                           bass::SYNCPROC* proc, void* user) {
    if (IsWindow() && watched->start.first_sync.wall == 0)
      watched->start.first_sync = Moment::Now();
    return watched->real_.BASS_ChannelSetSync(handle, type, param, proc, user);
  }
  static bass::BOOL BASS_CALLBACK Play(bass::DWORD handle, bass::BOOL restart) {
    watched->first_block = 0;
    watched->real_.BASS_ChannelSetDSP(handle, BlockRendered, watched, 0);
    watched->start.play = Moment::Now();
    const bass::BOOL plays = watched->real_.BASS_ChannelPlay(handle, restart);
    watched->start.played = Moment::Now();
    return plays;
  }
  // The last step before the block is the device's.
  static void BASS_CALLBACK BlockRendered(bass::HDSP, bass::DWORD, void*, bass::DWORD, void* user) {
    auto* self = static_cast<WatchedEngine*>(user);
    if (self->first_block == 0) self->first_block = Clock::now().time_since_epoch().count();
  }

  static bass::BOOL BASS_CALLBACK SetFonts(bass::HSTREAM stream, const bass::BASS_MIDI_FONT* fonts,
                                           bass::DWORD count) {
    if (!IsWindow()) return watched->real_.BASS_MIDI_StreamSetFonts(stream, fonts, count);
    if (stream == 0) {
      watched->change = {};
      watched->change.begin = Moment::Now();
    }
    const bass::BOOL done = watched->real_.BASS_MIDI_StreamSetFonts(stream, fonts, count);
    watched->change.set = Moment::Now();
    return done;
  }
  static bass::BOOL BASS_CALLBACK FreeFont(bass::HSOUNDFONT font) {
    const bass::BOOL done = watched->real_.BASS_MIDI_FontFree(font);
    if (IsWindow()) watched->change.freed = Moment::Now();
    return done;
  }
  static const char* BASS_CALLBACK GetPreset(bass::HSOUNDFONT font, int preset, int bank) {
    const bool is_first = IsWindow() && watched->change.names.wall == 0;
    if (is_first) watched->change.names = Moment::Now();
    const char* name = watched->real_.BASS_MIDI_FontGetPreset(font, preset, bank);
    if (preset == 127 && bank == 128 && IsWindow()) watched->change.named = Moment::Now();
    return name;
  }

  inline static WatchedEngine* watched = nullptr;
  const std::thread::id window_ = std::this_thread::get_id();
  std::unique_ptr<AudioLibrary> engine_;
  const bass::Api real_;
  bass::Api api_;
};

}  // namespace vexolo
