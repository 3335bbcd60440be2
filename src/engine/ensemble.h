/// The voices of a song that is rendered to a file, channel by channel on several threads.
#pragma once

#include <array>
#include <condition_variable>
#include <cstdint>
#include <exception>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "engine/console.h"
#include "engine/sound_font.h"
#include "engine/sound_font_synth.h"
#include "engine/time_line.h"

namespace vexolo::engine {

/// Something that happens at the mixing desk.
struct DeskEvent {
  enum class Kind : std::uint8_t { kMixLevel, kReverbSend, kChorusSend, kEffect, kSnap, kSilence };
  Kind kind;
  std::uint8_t which = 0;  ///< channel or EffectParameter
  std::uint32_t value = 0;

  void Apply(Console& console) const;
};

/// Between the sequencer, which runs ahead, and the encoder.
///
/// The sequencer plans window by window: what happens on each channel and at the desk at which
/// frame. Closed windows are rendered by the channels, each on whichever thread is free, one window
/// after the other; the channel that is furthest behind comes first, of several the one with the
/// most voices. The oldest window is then mixed, limited and taken. Every channel has a synthesiser
/// of its own and the desk adds them up in their order, so that the sound does not depend on the
/// number of threads nor on how windows are cut.
///
/// One thread at a time calls the functions; the others are the ensemble's own. Allocates: not for
/// the mixing thread.
class Ensemble final : public ChannelEvents {
 public:
  static constexpr int kWindow = 2048;    ///< frames of a window, at most
  static constexpr int kWindows = 8;      ///< closed windows, at most
  static constexpr int kCrossFade = 882;  ///< frames from one bank to the next

  struct Place {
    std::uint64_t position;
    TempoRatio ratio;
  };

  Ensemble();
  ~Ensemble() override;
  Ensemble(const Ensemble&) = delete;
  Ensemble& operator=(const Ensemble&) = delete;

  /// From now on this many threads render, the calling one included. At rest.
  void SetThreads(int threads);

  // ---- Planning: all happens behind the frames that have been planned so far.

  /// Null = silence. All channels go to sleep; what sounds is faded out. The window may not have
  /// frames yet.
  void ChangeFont(std::shared_ptr<SoundFont> font);

  /// Lets the channels play all that has been planned for them. The window may not have frames yet.
  void CatchUp();

  /// A channel sleeps until its first note, and what happens on it is not kept. True where this
  /// call has woken it: it is now to be told all its values.
  bool Wake(int channel);

  // ChannelEvents
  void NoteOn(int channel, int key, int velocity) override;
  void NoteOff(int channel, int key) override;
  void KeyPressure(int channel, int key, int value) override;
  void ChannelPressure(int channel, int value) override;
  void Controller(int channel, int controller, int value) override;
  void PitchWheel(int channel, int value) override;
  void Preset(int channel, int bank, int program, bool drums) override;
  void AllNotesOff(int channel) override;
  void AllSoundOff(int channel) override;

  /// Throws away what has been planned and not been taken, and ends all sound. Channels sleep.
  void Reset() override;

  void Desk(const DeskEvent& event);

  /// `frames` more frames, the first of which stands at `place`.
  void Advance(int frames, Place place);

  int OpenFrames() const { return Open().frames; }
  bool HasRoom() const { return open_ - first_ < kWindows; }
  /// So many events have been planned that the window should be closed, however short it is.
  bool IsFull() const { return Open().events >= kMostEvents; }
  /// Hands the open window over to be rendered, unless nothing is in it. There has to be room.
  void Close();

  // ---- Taking

  /// Frames that have been planned, but not been taken.
  int FramesAhead() const { return frames_ahead_; }
  /// Nothing is left of what was planned.
  bool IsSettled() const { return first_ == open_ && Open().frames == 0 && Open().events == 0; }
  bool HasClosed() const { return first_ < open_; }
  /// The place of the next frame to be taken. There has to be one ahead.
  Place NextPlace() const;

  /// Takes up to `frames` frames of the oldest closed window, which is mixed first where it has not
  /// been yet. None of an empty window, which is thereby gone. Where a channel fails for want of
  /// memory or because its bank can be read no more, the exception comes out here.
  int Take(Console& console, std::int16_t* out, int frames);

  /// Voices that still sound; settled.
  int ActiveVoices() const;
  /// Whether the change of a bank can still be heard; settled.
  bool IsCrossing() const;

 private:
  struct LaneEvent {
    enum class Kind : std::uint8_t {
      kWake,
      kNoteOn,
      kNoteOff,
      kKeyPressure,
      kChannelPressure,
      kController,
      kPitchWheel,
      kPreset,
      kAllNotesOff,
      kAllSoundOff,
    };
    std::int32_t frame;
    Kind kind;
    std::uint8_t a = 0;
    std::uint8_t b = 0;
    std::uint8_t c = 0;
  };

  struct PlannedDeskEvent {
    std::int32_t frame;
    DeskEvent event;
  };

  struct Piece {
    int frame;  ///< of the window, where it begins
    Place place;
  };

  /// One channel's sound.
  struct Track {
    alignas(64) std::array<float, kWindow> left;
    alignas(64) std::array<float, kWindow> right;
  };

  struct Window {
    int frames = 0;
    int taken = 0;
    int phase = 0;  ///< of the grid of events, at its beginning
    std::size_t events = 0;
    std::array<std::vector<LaneEvent>, kChannels> lane_events;
    std::vector<PlannedDeskEvent> desk_events;
    std::vector<Piece> pieces;

    std::uint32_t playing = 0;  ///< bit n: channel n has something to do
    int left_to_play = 0;       ///< channels that have not yet done it; under mutex_
    std::array<std::unique_ptr<Track>, kChannels> tracks;
    std::array<bool, kChannels> audible{};

    bool mixed = false;
    std::array<std::int16_t, 2 * kWindow> sound;

    void Clear();
  };

  /// A channel and its place among the windows.
  struct Lane {
    std::uint64_t next = 0;  ///< the window that it plays next; under mutex_, as is the next one
    bool busy = false;
    int voices = 0;  ///< after the last window; under mutex_

    // Belongs to whoever has made it busy.
    std::shared_ptr<SoundFont> font;
    std::unique_ptr<ChannelSynth> synth;
    std::unique_ptr<ChannelSynth> fading;
    int fade_left = 0;
  };

  static constexpr std::size_t kMostEvents = 65536;
  static constexpr int kGrid = 64;

  Window& WindowAt(std::uint64_t number) { return *windows_[number % windows_.size()]; }
  const Window& WindowAt(std::uint64_t number) const { return *windows_[number % windows_.size()]; }
  Window& Open() { return WindowAt(open_); }
  const Window& Open() const { return WindowAt(open_); }

  void Plan(int channel, LaneEvent event);
  void StopThreads();
  void Work();
  void SkipWindows(int channel);
  int PickLane();
  void PlayNext(std::unique_lock<std::mutex>& lock, int channel);
  bool AllHavePlayed(std::uint64_t begin, std::uint64_t end);
  void PlayUntil(std::uint64_t begin, std::uint64_t end);
  void Play(int channel, Window& window);
  static void Do(int channel, Lane& lane, const LaneEvent& event, int phase);
  static bool Render(Lane& lane, Track& track, int from, int to);
  static void FadeOut(Lane& lane, float* left, float* right, int frames);
  static void Mix(Console& console, Window& window);
  static void MixPart(Console& console, Window& window, int from, int to);

  std::shared_ptr<SoundFont> font_;
  std::uint32_t awake_ = 0;  ///< channels, bit by bit, at the place of planning
  int crossing_ = 0;         ///< frames of a change of banks that are still to be planned
  int phase_ = 0;            ///< of the grid of events, at the place of planning
  int frames_ahead_ = 0;
  std::uint64_t first_ = 0;  ///< number of the oldest closed window
  std::uint64_t open_ = 0;   ///< number of the window that is planned at present
  std::array<std::unique_ptr<Window>, kWindows + 1> windows_;
  std::array<Lane, kChannels> lanes_;

  std::mutex mutex_;
  std::condition_variable work_;  ///< there is a channel that can play
  std::condition_variable done_;  ///< a channel has played
  bool leaving_ = false;          ///< under mutex_, as are the next ones
  bool resting_ = false;          ///< nobody is to begin another window
  std::uint64_t closed_ = 0;      ///< what the threads know as open_
  int idle_ = 0;
  std::exception_ptr failure_;
  std::vector<std::thread> threads_;
};

}  // namespace vexolo::engine
