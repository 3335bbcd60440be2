/// Song in, sound out: the sequencer with its synthesiser and console.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>

#include "engine/callbacks.h"
#include "engine/console.h"
#include "engine/control_state.h"
#include "engine/ensemble.h"
#include "engine/song.h"
#include "engine/sound_font.h"
#include "engine/sound_font_synth.h"

namespace vexolo::engine {

/// Linear gain from the synthesiser's scale to full scale at font volume 1.0. Found by measuring:
/// with it a well-filled song at a bank's usual level peaks a few decibels below full scale.
inline constexpr float kMasterGain = 1.7f;

/// What the renderer tells the stream around it, on the thread that renders.
class RendererObserver {
 public:
  virtual ~RendererObserver() = default;
  /// A sync that is not of mix time has become due at a frame, counted from the first one of the
  /// block under way; the frame may lie beyond the block where the renderer runs ahead.
  virtual void OnHeardSync(std::size_t sync, bass::DWORD data, int frame_of_block) = 0;
  /// `frames` frames from `position` on stand in the block from `frame_of_block` on. For the output
  /// only.
  virtual void OnPiece(int frame_of_block, int frames, std::uint64_t position,
                       TempoRatio ratio) = 0;
  /// Values of the state have changed and may be shown to other threads.
  virtual void OnValue(int channel, ChannelValue which, std::uint32_t value) = 0;
  virtual void OnEffect(EffectParameter which, std::uint32_t value) = 0;
  virtual void OnTempo(std::uint32_t tempo) = 0;
};

/// How a stream is rendered: for the mixing thread (neither allocating nor locking), or for a file,
/// where several threads may render and the sequencer may run ahead of what is delivered.
enum class RenderFor { kOutput, kFile };

/// Renders one stream. One thread at a time.
///
/// Positions are output frames at the ratio in force. Events of the file are applied at their
/// frame, in order; after each one its mix-time syncs run, before the next is applied.
///
/// Ahead of what has been delivered (only for a file, see RunAhead) events of the file and their
/// mix-time syncs are dealt with up to Ensemble::kWindow * Ensemble::kWindows frames early, and
/// what the program sends takes effect behind them. Position syncs and the end are not early: the
/// sequencer waits for the delivery of everything before.
class Renderer final : private EventSink {
 public:
  /// Longest decay after the last event.
  static constexpr std::uint64_t kLongestDecay = 60ull * kSampleRate;

  /// Positioned at the start. `observer`, `syncs` and `dsps` outlive the renderer.
  Renderer(std::shared_ptr<const Song> song, RenderFor purpose, bool decay_at_end,
           bass::DWORD stream, RendererObserver& observer, SyncList& syncs, DspList& dsps);
  ~Renderer() override;

  struct Place {
    std::uint64_t position;
    TempoRatio ratio;
  };

  /// Renders up to `frames` frames of interleaved 16-bit stereo and runs the DSPs over them. Fewer
  /// are delivered where the song ends or a callback stops the stream.
  int Render(std::int16_t* out, int frames);

  /// Everything has been delivered, or the stream has been stopped.
  bool finished() const { return (ended_ || stopped_) && !IsAhead(); }
  bool ended() const { return ended_; }
  /// Where a mix-time sync stops, the data end at its place; else with what has been delivered.
  void Stop();
  void Resume() { stopped_ = false; }

  /// For a file: `threads` threads render and the sequencer runs ahead; 0 = no longer.
  void RunAhead(int threads);

  /// Whether the sequencer is ahead of what has been delivered.
  bool IsAhead() const { return ensemble_ != nullptr && ensemble_->FramesAhead() > 0; }

  /// The place of the sequencer, inside of its callbacks; else the end of what has been delivered.
  /// At the ratio in force.
  Place place() const;
  TempoRatio ratio() const { return ratio_; }
  const ControlState& state() const { return state_; }
  const Song& song() const { return *song_; }

  /// Tick of a frame at the ratio in force; stops at the last event's.
  std::uint32_t Tick(std::uint64_t frame, TempoRatio ratio) const;
  /// Length without the decay.
  std::uint64_t Length(TempoRatio ratio) const;

  /// Moves to a frame that was read at the ratio in force, or to a tick; the ratio becomes 1.
  /// Sounding notes and effects end; values become what the file's events up to there have set.
  ///
  /// The place is there at once; the values follow when something needs them, so that a program may
  /// ask for the ticks of thousands of places.
  void SeekFrame(std::uint64_t frame);
  void SeekTick(std::uint32_t tick);

  /// Lets the values follow now. ChaseIsPending may be asked by any thread.
  void Chase();
  bool ChaseIsPending() const { return chase_pending_.load(std::memory_order_acquire); }

  /// An event that the program sends: applied now, without syncs. Arguments have been checked.
  void Apply(int channel, bass::DWORD event, std::uint32_t param);

  /// Plays another bank from here on (null = silence). Held notes of melodic channels begin again
  /// and the sound crosses over within kCrossFade frames. False (and `synth` stays where it is)
  /// while an earlier change is still crossing over.
  bool ChangeSynth(std::unique_ptr<SoundFontSynth>& synth, std::shared_ptr<SoundFont> font);
  static constexpr int kCrossFade = Ensemble::kCrossFade;

  /// The same where it is rendered for a file; an earlier change is over at once.
  void ChangeFont(std::shared_ptr<SoundFont> font);

  /// What the last change left behind, once the crossing is over: to be destroyed off the mixing
  /// thread. Null where there was nothing.
  bool CrossFadeIsOver() const { return fade_left_ == 0; }
  void EndCrossFade() { fade_left_ = 0; }
  std::unique_ptr<SoundFontSynth> TakeRetired() { return std::move(fading_); }
  std::shared_ptr<SoundFont> TakeRetiredFont() { return std::move(retired_font_); }

  /// Where the sequencer stands, counted from the first frame of the block under way; beyond it
  /// where it runs ahead.
  int frame_of_block() const;

 private:
  struct HeldNote {
    std::uint8_t key = 0;  ///< as the synthesiser was told, kUnplayable = not at all
    std::uint8_t velocity = 0;
  };
  static constexpr std::uint8_t kUnplayable = 0xFF;
  static constexpr int kHeldPerKey = 4;
  struct HeldKey {
    std::array<HeldNote, kHeldPerKey> notes;
    std::uint8_t count = 0;
  };
  struct Raised {
    bass::DWORD event;
    bass::DWORD data;
  };
  static constexpr std::size_t kMaxRaised = 512;

  // EventSink: what an event of the file does.
  void Note(int channel, int key, int velocity) override;
  void KeyPressure(int channel, int key, int value) override;
  void ChannelPressure(int channel, int value) override;
  void Controller(int channel, int controller, int value) override;
  void Mode(int channel, bass::DWORD event) override;
  void ValueChanged(int channel, ChannelValue which) override;
  void EffectChanged(EffectParameter which) override;
  void TempoChanged(std::uint32_t tempo) override;
  void SystemReset() override;

  /// What is to be done next at the sequencer's place.
  enum class Reached {
    kRender,  ///< frames
    kWait,    ///< until everything before has been delivered
    kClose,   ///< the window: it is full
    kEnd,     ///< nothing more
  };

  void RenderLive(std::int16_t* out, int frames);
  void RenderFile(std::int16_t* out, int frames);
  void PlanAhead(int wanted);
  bool PlanWindow(int frames);
  void MoveOn(int frames);
  Reached ReachPlace();
  bool PositionSyncIsDue();
  bool FirePositionSyncs();
  bool ProcessEvent(std::size_t index);
  void CallSyncs(bass::DWORD type, bass::DWORD param, bass::DWORD data);
  void CallMarkSyncs(std::size_t event, Song::MarkKind kind);
  bool DecayIsOver();
  float Master() const;
  int FramesToNextPlace(int wanted);
  void RenderPiece(std::int16_t* out, int frames);
  void MixOutgoing(int frames);
  void RunDsps(std::int16_t* out, int frames);

  void Seek(std::uint64_t frame);
  void Desk(const DeskEvent& event);
  void StartNote(int channel, int key, int velocity);
  void StartHeldNotes();
  void Press(int channel, int key, int velocity);
  void Release(int channel, int key);
  void ForgetHeld(int channel);
  void ReleaseChannel(int channel);
  void ReleaseEverything();
  void SendChannel(int channel);
  void SendPreset(int channel);
  void SendValue(int channel, ChannelValue which);
  void SendConsole();
  void SetTempo(std::uint32_t tempo);
  void MoveToRatio(TempoRatio ratio);
  void UpdateNextFrame();
  void UpdateSync(Sync& sync);
  void Raise(bass::DWORD event, int channel, std::uint32_t param);
  void Publish(int channel, ChannelValue which);
  void PublishAll();

  std::shared_ptr<const Song> song_;
  const bool decay_at_end_;
  const bass::DWORD stream_;
  RendererObserver& observer_;
  SyncList& syncs_;
  DspList& dsps_;

  std::shared_ptr<SoundFont> font_;
  std::unique_ptr<Ensemble> ensemble_;  ///< only for a file; all below stays empty then
  ChannelEvents* voices_ = nullptr;     ///< whichever plays; null = silence
  std::unique_ptr<SoundFontSynth> synth_;
  std::shared_ptr<SoundFont> retired_font_;
  std::unique_ptr<SoundFontSynth> fading_;
  int fade_left_ = 0;
  Console console_;
  std::unique_ptr<DryBlock> dry_;
  std::unique_ptr<DryBlock> dry_outgoing_;
  std::array<float, kMaxBlock> left_{};
  std::array<float, kMaxBlock> right_{};

  ControlState state_ = ControlState::Initial();
  TempoRatio ratio_;
  std::uint32_t ratio_serial_ = 1;
  std::uint64_t position_ = 0;
  std::size_t next_ = 0;          ///< index of the next event
  std::uint64_t next_frame_ = 0;  ///< its frame at the ratio in force
  bool in_event_ = false;         ///< an event is being applied ...
  std::uint32_t event_tick_ = 0;  ///< ... that stands at this tick
  bool decaying_ = false;
  std::uint64_t decayed_ = 0;  ///< frames of decay rendered
  bool fresh_ = true;  ///< nothing rendered since the last seek: values set until then need no ramp
  bool ended_ = false;
  bool stopped_ = false;
  std::atomic<bool> chase_pending_{false};
  int block_frames_ = 0;  ///< rendered of the block under way
  bool run_ahead_ = false;
  bool planning_ = false;  ///< the sequencer is at work for a file

  std::array<std::array<HeldKey, 128>, kChannels> held_{};
  std::array<Raised, kMaxRaised> raised_{};
  std::size_t raised_count_ = 0;
};

}  // namespace vexolo::engine
