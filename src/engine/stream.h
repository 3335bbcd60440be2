/// One MIDI stream of the library's interface: a renderer and everything around it that threads
/// share.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "engine/callbacks.h"
#include "engine/encoder.h"
#include "engine/output_device.h"
#include "engine/play_record.h"
#include "engine/renderer.h"

namespace vexolo::engine {

/// The output as a stream sees it; implemented by the library.
class StreamOutput {
 public:
  virtual ~StreamOutput() = default;
  /// From now on the mixing thread calls the stream's Mix. False where too many streams play.
  virtual bool Attach(class Stream& stream) = 0;
  /// Returns once the mixing thread no longer touches the stream and will not do so again.
  virtual void Detach(class Stream& stream) = 0;
  /// Frames that the device has taken, and that have been heard.
  virtual std::uint64_t TakenFrames() const = 0;
  virtual std::uint64_t HeardFrames() const = 0;
};

/// Threads. A decoding stream is rendered by whoever calls GetData, one at a time; while an encoder
/// is attached, further threads render with it and the sequencer runs ahead (see renderer.h).
/// Positions tell what has been delivered; an event that the program sends meanwhile takes effect
/// where the sequencer is. A playing stream is
/// rendered by the mixing thread, which takes no lock: events reach it through a queue, a new bank
/// through a mailbox, and what needs the stream at rest (seek, stop) takes it off the output
/// meanwhile. Any thread may call any function; callbacks on the rendering thread act on the
/// renderer directly. Functions that can fail return a library error code, 0 = ok.
class Stream final : private RendererObserver {
 public:
  /// `threads` render while an encoder is attached to a decoding stream, 0 = one that does not run
  /// ahead.
  Stream(bass::HSTREAM handle, std::shared_ptr<const Song> song, bool decoding, bool decay_at_end,
         int threads, StreamOutput& output);
  ~Stream() override;

  bass::HSTREAM handle() const { return handle_; }
  bool decoding() const { return decoding_; }
  const Song& song() const { return renderer_.song(); }

  /// The stream whose callback the calling thread is in, null outside callbacks.
  static Stream* InCallback();

  /// Whether the calling thread may wait until nothing renders this stream. Another playing
  /// stream's callback at mix time may not: it is what the wait would be for. What changes this
  /// stream fails there with 37.
  bool CanRest() const;

  int Play(bool restart);
  int Stop();
  bass::DWORD IsActive() const;

  bass::QWORD LengthBytes() const;
  bass::QWORD LengthTicks() const;
  bass::QWORD PositionBytes() const;
  bass::QWORD PositionTicks() const;
  int SetPosition(bass::QWORD position, bass::DWORD mode);
  /// Byte position of a tick at the ratio in force.
  bass::QWORD BytesOfTick(std::uint32_t tick) const;
  bass::DWORD Level() const;

  /// Decoding streams. Bytes delivered, in whole frames; kError32 at the end.
  bass::DWORD GetData(void* buffer, bass::DWORD length);

  int SetSync(bass::HSYNC handle, bass::DWORD type, bass::QWORD param, bass::SYNCPROC* proc,
              void* user);
  int SetDsp(bass::HDSP handle, bass::DSPPROC* proc, void* user, int priority);

  int SendEvent(bass::DWORD channel, bass::DWORD event, bass::DWORD param);
  /// kError32 where the event has no value.
  bass::DWORD GetEvent(bass::DWORD channel, bass::DWORD event);

  /// Null = silence. Building the synthesiser is done here, on the calling thread.
  int SetFont(std::shared_ptr<SoundFont> font, bass::HSOUNDFONT handle);
  bass::HSOUNDFONT font() const { return font_handle_.load(std::memory_order_relaxed); }

  int AddEncoder(bass::HENCODE handle, std::shared_ptr<Encoder> encoder, bool auto_free);
  /// Takes an encoder off the stream; null where it is not (or no longer) there.
  std::shared_ptr<Encoder> RemoveEncoder(bass::HENCODE handle);

  /// Ends everything: called once, by StreamFree, outside of this stream's callbacks. Waits for
  /// running callbacks.
  void Close();

  /// Mixing thread: renders and adds `frames` frames to `out`.
  void Mix(std::int16_t* out, int frames);
  /// Dispatching thread: calls what has become audible. True while there is more to come.
  bool Dispatch();

 private:
  struct SentEvent {
    std::uint8_t channel;
    bass::DWORD event;
    bass::DWORD param;
  };
  struct HeardSync {
    std::uint32_t generation;
    std::uint32_t sync;
    bass::DWORD data;
    std::uint64_t device_frame;
  };
  struct AttachedEncoder {
    bass::HENCODE handle;
    std::shared_ptr<Encoder> encoder;
    bool auto_free;
  };
  struct NewBank {
    std::unique_ptr<SoundFontSynth> synth;
    std::shared_ptr<SoundFont> font;
  };
  static constexpr std::size_t kSentEvents = 4096;  // powers of two
  static constexpr std::size_t kHeardSyncs = 16384;
  static constexpr std::size_t kLevels = 256;
  static constexpr std::uint64_t kLevelFrames = 512;

  // RendererObserver
  void OnHeardSync(std::size_t sync, bass::DWORD data, int frame_of_block) override;
  void OnPiece(int frame_of_block, int frames, std::uint64_t position, TempoRatio ratio) override;
  void OnValue(int channel, ChannelValue which, std::uint32_t value) override;
  void OnEffect(EffectParameter which, std::uint32_t value) override;
  void OnTempo(std::uint32_t tempo) override;

  template <typename Operation>
  auto AtRest(Operation operation);
  template <typename Operation>
  auto AtRestLocked(Operation operation);  ///< with api_ held
  int RenderBlock(std::int16_t* out, int frames);
  bool SendToDecoder(const SentEvent& event);
  void TakeSentEvents();
  void TakeNewBank();
  void PublishPlace();
  PlayRecord::Place CurrentPlace() const;
  void MeasureLevel(const std::int16_t* data, int frames, std::uint64_t device_frame);
  void FinishAutoFree();
  bool ValidEvent(bass::DWORD channel, bass::DWORD event, bass::DWORD param) const;
  void HandOverRetired();
  void CollectRetired();
  void Forget();
  void PublishValue(int channel, bass::DWORD event, bass::DWORD param);
  TempoRatio Ratio() const;
  void CallHeard(const HeardSync& heard);
  void CallDelivered();

  void RunAheadIfEncoding();

  const bass::HSTREAM handle_;
  const bool decoding_;
  const int threads_;
  StreamOutput& output_;
  SyncList syncs_;
  DspList dsps_;

  // What other threads may read at any time. Before renderer_, which fills it when it is made.
  std::array<std::array<std::atomic<std::uint32_t>, kChannelValues>, kChannels> values_{};
  std::array<std::atomic<std::uint32_t>, kEffectParameters> effects_{};
  std::atomic<std::uint32_t> tempo_{0};
  std::atomic<std::uint32_t> place_serial_{0};  ///< odd while the three below change
  std::atomic<std::uint64_t> place_position_{0};
  std::atomic<std::uint64_t> place_ratio_{0};
  std::atomic<bool> finished_{false};
  std::atomic<bass::DWORD> decoded_level_{0};

  Renderer renderer_;

  mutable std::mutex api_;  ///< callers take turns; never taken by the mixing thread
  std::mutex rendering_;    ///< decoding: held by GetData
  std::mutex dispatching_;  ///< held while heard callbacks run
  bool closed_ = false;     ///< under api_

  std::atomic<bool> attached_{false};
  std::atomic<bool> playing_{false};
  PlayRecord record_;
  std::uint64_t block_device_frame_ = 0;  ///< decoding: frames delivered before this block
  std::array<std::atomic<std::uint64_t>, kLevels> levels_{};  ///< window number and two peaks

  std::array<SentEvent, kSentEvents> sent_{};
  std::atomic<std::uint64_t> sent_written_{0};
  std::atomic<std::uint64_t> sent_read_{0};

  std::atomic<NewBank*> new_bank_{nullptr};
  std::atomic<NewBank*> retired_{nullptr};
  std::atomic<bass::HSOUNDFONT> font_handle_{0};

  std::vector<HeardSync> heard_ahead_;  ///< decoding: due when their frame is delivered
  bool calling_heard_ = false;          ///< decoding: they are being called
  std::array<HeardSync, kHeardSyncs> heard_{};
  std::atomic<std::uint64_t> heard_written_{0};
  std::atomic<std::uint64_t> heard_read_{0};
  std::atomic<std::uint32_t> generation_{0};  ///< grows with every seek and stop
  std::atomic<std::uint64_t> end_device_frame_{~0ull};

  std::vector<AttachedEncoder> encoders_;  ///< changed at rest only
  NewBank* emptied_ = nullptr;  ///< what the last new bank came in, for the old one to go out in
  std::array<std::int16_t, 2 * OutputDevice::kMaxOutputBlock> mix_buffer_{};
};

}  // namespace vexolo::engine
