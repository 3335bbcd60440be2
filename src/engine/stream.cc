#include "engine/stream.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <thread>
#include <utility>

namespace vexolo::engine {
namespace {

constexpr std::uint32_t kFrameBytes = 4;
constexpr std::uint64_t kNever = ~0ull;
/// Room in the queue of heard syncs that only end syncs may use.
constexpr std::uint64_t kReservedSyncs = 64;

/// The stream whose callbacks the thread may be in.
thread_local Stream* rendering_stream = nullptr;
/// The thread is the mixing thread, at work.
thread_local bool mixing = false;
/// The stream whose heard callbacks the dispatching thread is in.
thread_local Stream* dispatching_stream = nullptr;

class RenderingScope {
 public:
  explicit RenderingScope(Stream* stream) : before_(rendering_stream) { rendering_stream = stream; }
  ~RenderingScope() { rendering_stream = before_; }
  RenderingScope(const RenderingScope&) = delete;
  RenderingScope& operator=(const RenderingScope&) = delete;

 private:
  Stream* before_;
};

void WaitABit() { std::this_thread::sleep_for(std::chrono::microseconds(200)); }

std::int16_t Saturate(int value) {
  return static_cast<std::int16_t>(std::clamp(value, -32768, 32767));
}

bool IsEffectEvent(bass::DWORD event) {
  return event >= bass::MIDI_EVENT_REVERB_TIME && event <= bass::MIDI_EVENT_CHORUS_REVERB;
}

}  // namespace

Stream::Stream(bass::HSTREAM handle, std::shared_ptr<const Song> song, bool decoding,
               bool decay_at_end, int threads, StreamOutput& output)
    : handle_(handle),
      decoding_(decoding),
      threads_(threads),
      output_(output),
      renderer_(std::move(song), decoding ? RenderFor::kFile : RenderFor::kOutput, decay_at_end,
                handle, *this, syncs_, dsps_) {
  PublishPlace();
}

Stream::~Stream() {
  delete new_bank_.load();
  delete retired_.load();
  delete emptied_;
}

Stream* Stream::InCallback() {
  return rendering_stream != nullptr ? rendering_stream : dispatching_stream;
}

bool Stream::CanRest() const { return !mixing || decoding_ || rendering_stream == this; }

// Runs an operation while nothing renders. Events that were sent before are applied before.
template <typename Operation>
auto Stream::AtRest(Operation operation) {
  if (rendering_stream == this) return operation();
  const std::lock_guard api(api_);
  return AtRestLocked(operation);
}

template <typename Operation>
auto Stream::AtRestLocked(Operation operation) {
  if (decoding_) {
    const std::lock_guard rendering(rendering_);
    TakeSentEvents();
    return operation();
  }
  const bool was_attached = attached_.load(std::memory_order_relaxed);
  if (was_attached) output_.Detach(*this);
  attached_.store(false, std::memory_order_relaxed);
  TakeSentEvents();
  TakeNewBank();
  auto result = operation();
  PublishPlace();
  if (playing_.load()) attached_.store(output_.Attach(*this));
  return result;
}

// ---- Transport

int Stream::Play(bool restart) {
  if (decoding_) return bass::BASS_ERROR_DECODE;
  if (InCallback() == this || !CanRest()) return bass::BASS_ERROR_NOTAVAIL;
  const int result = AtRest([&] {
    if (closed_) return bass::BASS_ERROR_HANDLE;
    if (restart || renderer_.ended()) {
      renderer_.SeekTick(0);
      Forget();
    } else if (!playing_.load()) {
      if (renderer_.finished()) renderer_.Resume();
      Forget();
    }
    renderer_.Chase();
    playing_.store(true);
    return bass::BASS_OK;
  });
  if (result != bass::BASS_OK || attached_.load()) return result;
  playing_.store(false);
  return bass::BASS_ERROR_NOTAVAIL;
}

// What was to be heard of the sound so far is called off; the record begins anew at this place.
void Stream::Forget() {
  generation_.fetch_add(1);
  end_device_frame_.store(kNever);
  const Renderer::Place place = renderer_.place();
  record_.Begin(output_.TakenFrames(), {place.position, place.ratio});
}

// What was rendered before a stop at mix time plays out, and its syncs with it.
int Stream::Stop() {
  if (!CanRest()) return bass::BASS_ERROR_NOTAVAIL;
  const bool at_mix_time = rendering_stream == this && !calling_heard_;
  const int result = AtRest([&] {
    if (rendering_stream != this && closed_) return bass::BASS_ERROR_HANDLE;
    playing_.store(false);
    if (!at_mix_time) generation_.fetch_add(1);
    if (decoding_ || rendering_stream == this) renderer_.Stop();
    finished_.store(renderer_.finished());
    return bass::BASS_OK;
  });
  if (!decoding_ && InCallback() != this) {
    const std::lock_guard wait_for_running_callbacks(dispatching_);
  }
  return result;
}

bass::DWORD Stream::IsActive() const {
  const bool active = decoding_ ? !finished_.load() : playing_.load();
  return active ? bass::BASS_ACTIVE_PLAYING : bass::BASS_ACTIVE_STOPPED;
}

void Stream::Close() {
  AtRest([&] {
    closed_ = true;
    playing_.store(false);
    generation_.fetch_add(1);
    renderer_.Stop();
    finished_.store(true);
    return 0;
  });
  { const std::lock_guard wait_for_running_callbacks(dispatching_); }
  FinishAutoFree();
  CollectRetired();
}

// ---- Positions

TempoRatio Stream::Ratio() const {
  if (rendering_stream == this) return renderer_.ratio();
  return PlayRecord::Unpack(place_ratio_.load(std::memory_order_acquire));
}

void Stream::PublishPlace() {
  const Renderer::Place place = renderer_.place();
  const std::uint32_t serial = place_serial_.load(std::memory_order_relaxed);
  place_serial_.store(serial + 1, std::memory_order_relaxed);
  place_position_.store(place.position, std::memory_order_release);
  place_ratio_.store(PlayRecord::Pack(place.ratio), std::memory_order_release);
  place_serial_.store(serial + 2, std::memory_order_release);
  finished_.store(renderer_.finished(), std::memory_order_release);
}

// The place that the caller is to be told, at the ratio in force.
PlayRecord::Place Stream::CurrentPlace() const {
  if (attached_.load(std::memory_order_acquire)) {
    const PlayRecord::Place heard = record_.At(output_.HeardFrames());
    const TempoRatio ratio = Ratio();
    if (heard.ratio == ratio) return heard;
    return {song().time_line().Rescale(heard.position, heard.ratio, ratio), ratio};
  }
  if (rendering_stream == this) {
    const Renderer::Place place = renderer_.place();
    return {place.position, place.ratio};
  }
  for (;;) {
    const std::uint32_t before = place_serial_.load(std::memory_order_acquire);
    const PlayRecord::Place place = {
        place_position_.load(std::memory_order_acquire),
        PlayRecord::Unpack(place_ratio_.load(std::memory_order_acquire))};
    if (before % 2 == 0 && place_serial_.load(std::memory_order_relaxed) == before) return place;
  }
}

bass::QWORD Stream::LengthBytes() const { return renderer_.Length(Ratio()) * kFrameBytes; }

bass::QWORD Stream::LengthTicks() const { return song().file().last_tick(); }

bass::QWORD Stream::PositionBytes() const { return CurrentPlace().position * kFrameBytes; }

bass::QWORD Stream::PositionTicks() const {
  const PlayRecord::Place place = CurrentPlace();
  return renderer_.Tick(place.position, place.ratio);
}

bass::QWORD Stream::BytesOfTick(std::uint32_t tick) const {
  return song().time_line().FrameOfTick(tick, Ratio()) * kFrameBytes;
}

int Stream::SetPosition(bass::QWORD position, bass::DWORD mode) {
  if (rendering_stream == this || !CanRest()) return bass::BASS_ERROR_NOTAVAIL;
  if (mode != bass::BASS_POS_BYTE && mode != bass::BASS_POS_MIDI_TICK) {
    return bass::BASS_ERROR_NOTAVAIL;
  }
  return AtRest([&] {
    if (closed_) return bass::BASS_ERROR_HANDLE;
    if (mode == bass::BASS_POS_MIDI_TICK) {
      if (position > song().file().last_tick()) return bass::BASS_ERROR_POSITION;
      renderer_.SeekTick(static_cast<std::uint32_t>(position));
    } else {
      if (position / kFrameBytes > renderer_.Length(renderer_.ratio())) {
        return bass::BASS_ERROR_POSITION;
      }
      renderer_.SeekFrame(position / kFrameBytes);
    }
    if (playing_.load()) renderer_.Chase();  // not on the mixing thread
    Forget();
    PublishPlace();
    return bass::BASS_OK;
  });
}

// ---- Levels

// Peaks are kept in windows of the device's time: 32 bits window number, two of 16 bits peak.
void Stream::MeasureLevel(const std::int16_t* data, int frames, std::uint64_t device_frame) {
  int peak[2] = {0, 0};
  for (int frame = 0; frame < frames; ++frame) {
    peak[0] = std::max(peak[0], std::abs(static_cast<int>(data[2 * frame])));
    peak[1] = std::max(peak[1], std::abs(static_cast<int>(data[2 * frame + 1])));
  }
  const auto level = static_cast<bass::DWORD>(peak[0] | (peak[1] << 16));
  if (decoding_) {
    decoded_level_.store(level, std::memory_order_relaxed);
    return;
  }
  const std::uint64_t first = device_frame / kLevelFrames;
  const std::uint64_t last = (device_frame + static_cast<std::uint64_t>(frames)) / kLevelFrames;
  for (std::uint64_t window = first; window <= last; ++window) {
    auto& slot = levels_[window % kLevels];
    const std::uint64_t had = slot.load(std::memory_order_relaxed);
    bass::DWORD merged = level;
    if (had >> 32 == (window & 0xFFFFFFFF)) {
      const auto old = static_cast<bass::DWORD>(had);
      merged = std::max(level & 0xFFFF, old & 0xFFFF) | (std::max(level >> 16, old >> 16) << 16);
    }
    slot.store((window << 32) | merged, std::memory_order_relaxed);
  }
}

bass::DWORD Stream::Level() const {
  if (decoding_) return decoded_level_.load(std::memory_order_relaxed);
  if (!playing_.load()) return 0;
  const std::uint64_t window = output_.HeardFrames() / kLevelFrames;
  const std::uint64_t slot = levels_[window % kLevels].load(std::memory_order_relaxed);
  return slot >> 32 == (window & 0xFFFFFFFF) ? static_cast<bass::DWORD>(slot) : 0;
}

// ---- Rendering

bass::DWORD Stream::GetData(void* buffer, bass::DWORD length) {
  if (rendering_stream == this) return bass::kError32;
  const std::lock_guard rendering(rendering_);
  const int frames = static_cast<int>(length / kFrameBytes);
  if (renderer_.finished()) return bass::kError32;
  const RenderingScope scope(this);
  const int delivered = RenderBlock(static_cast<std::int16_t*>(buffer), frames);
  block_device_frame_ += static_cast<std::uint64_t>(delivered);
  CallDelivered();
  CollectRetired();
  if (delivered == 0 && frames > 0) return bass::kError32;
  return static_cast<bass::DWORD>(delivered) * kFrameBytes;
}

// Calls the heard syncs of what has been delivered.
void Stream::CallDelivered() {
  calling_heard_ = true;
  std::size_t called = 0;
  for (; called < heard_ahead_.size(); ++called) {
    const HeardSync heard = heard_ahead_[called];
    if (heard.generation != generation_.load()) continue;
    if (heard.device_frame >= block_device_frame_ && renderer_.IsAhead()) break;
    CallHeard(heard);
  }
  heard_ahead_.erase(heard_ahead_.begin(),
                     heard_ahead_.begin() + static_cast<std::ptrdiff_t>(called));
  calling_heard_ = false;
}

void Stream::Mix(std::int16_t* out, int frames) {
  const RenderingScope scope(this);
  mixing = true;
  block_device_frame_ = output_.TakenFrames();
  const int delivered = RenderBlock(mix_buffer_.data(), frames);
  for (int sample = 0; sample < 2 * delivered; ++sample) {
    out[sample] = Saturate(out[sample] + mix_buffer_[sample]);
  }
  if (renderer_.ended() && end_device_frame_.load() == kNever) {
    end_device_frame_.store(block_device_frame_ + static_cast<std::uint64_t>(delivered));
  }
  mixing = false;
}

int Stream::RenderBlock(std::int16_t* out, int frames) {
  TakeSentEvents();
  TakeNewBank();
  const int delivered = renderer_.Render(out, frames);
  MeasureLevel(out, delivered, block_device_frame_);
  const std::span<const std::uint8_t> bytes(reinterpret_cast<const std::uint8_t*>(out),
                                            static_cast<std::size_t>(delivered) * kFrameBytes);
  for (AttachedEncoder& attached : encoders_) {
    if (delivered > 0 && attached.encoder->IsActive()) attached.encoder->Write(bytes);
  }
  HandOverRetired();
  PublishPlace();
  return delivered;
}

void Stream::OnPiece(int frame_of_block, int frames, std::uint64_t position, TempoRatio ratio) {
  if (decoding_) return;
  record_.Add(block_device_frame_ + static_cast<std::uint64_t>(frame_of_block),
              static_cast<std::uint64_t>(frames), {position, ratio});
}

void Stream::OnValue(int channel, ChannelValue which, std::uint32_t value) {
  values_[channel][static_cast<std::size_t>(which)].store(value, std::memory_order_relaxed);
}

void Stream::OnEffect(EffectParameter which, std::uint32_t value) {
  effects_[static_cast<std::size_t>(which)].store(value, std::memory_order_relaxed);
}

void Stream::OnTempo(std::uint32_t tempo) { tempo_.store(tempo, std::memory_order_relaxed); }

// ---- Syncs and DSPs

int Stream::SetSync(bass::HSYNC handle, bass::DWORD type, bass::QWORD param, bass::SYNCPROC* proc,
                    void* user) {
  if (proc == nullptr) return bass::BASS_ERROR_ILLPARAM;
  Sync sync;
  sync.handle = handle;
  sync.type = type & ~bass::BASS_SYNC_MIXTIME;
  sync.mix_time = (type & bass::BASS_SYNC_MIXTIME) != 0;
  sync.param = param;
  sync.proc = proc;
  sync.user = user;
  switch (sync.type) {
    case bass::BASS_SYNC_POS:
      sync.named_frame = param / kFrameBytes;
      sync.named_ratio = Ratio();
      break;
    case bass::BASS_SYNC_END:
    case bass::BASS_SYNC_MIDI_LYRIC:
    case bass::BASS_SYNC_MIDI_TEXT:
    case bass::BASS_SYNC_MIDI_EVENT:
      break;
    default:
      return bass::BASS_ERROR_ILLTYPE;
  }
  return syncs_.Append(sync) ? bass::BASS_OK : bass::BASS_ERROR_MEM;
}

int Stream::SetDsp(bass::HDSP handle, bass::DSPPROC* proc, void* user, int priority) {
  if (proc == nullptr) return bass::BASS_ERROR_ILLPARAM;
  const int first = rendering_stream == this ? renderer_.frame_of_block() : 0;
  return dsps_.Append({handle, proc, user, priority, first}) ? bass::BASS_OK : bass::BASS_ERROR_MEM;
}

void Stream::OnHeardSync(std::size_t sync, bass::DWORD data, int frame_of_block) {
  const HeardSync heard = {generation_.load(std::memory_order_relaxed),
                           static_cast<std::uint32_t>(sync), data,
                           block_device_frame_ + static_cast<std::uint64_t>(frame_of_block)};
  if (decoding_) {
    heard_ahead_.push_back(heard);
    return;
  }
  const std::uint64_t written = heard_written_.load(std::memory_order_relaxed);
  const std::uint64_t waiting = written - heard_read_.load(std::memory_order_acquire);
  const bool is_end = syncs_.At(sync)->type == bass::BASS_SYNC_END;
  if (waiting + (is_end ? 0 : kReservedSyncs) >= kHeardSyncs) return;
  heard_[written % kHeardSyncs] = heard;
  heard_written_.store(written + 1, std::memory_order_release);
}

void Stream::CallHeard(const HeardSync& heard) {
  const Sync* sync = syncs_.At(heard.sync);
  if (sync != nullptr) sync->proc(sync->handle, handle_, heard.data, sync->user);
}

bool Stream::Dispatch() {
  CollectRetired();
  const std::lock_guard dispatching(dispatching_);
  dispatching_stream = this;
  // The end is looked up first: what came before it has then been queued.
  const std::uint32_t generation = generation_.load();
  const std::uint64_t end = end_device_frame_.load();
  const std::uint64_t heard_frames = output_.HeardFrames();
  std::uint64_t read = heard_read_.load(std::memory_order_relaxed);
  const std::uint64_t written = heard_written_.load(std::memory_order_acquire);
  const bool over = end <= heard_frames;
  if (over && generation == generation_.load()) playing_.store(false);
  while (read < written) {
    const HeardSync heard = heard_[read % kHeardSyncs];
    const bool current = heard.generation == generation_.load();
    if (current && heard.device_frame > heard_frames) break;
    heard_read_.store(++read, std::memory_order_release);
    if (current) CallHeard(heard);
  }
  dispatching_stream = nullptr;
  return playing_.load() || read < written;
}

// ---- Events

bool Stream::ValidEvent(bass::DWORD channel, bass::DWORD event, bass::DWORD param) const {
  if (channel >= kChannels) return false;
  switch (event) {
    case bass::MIDI_EVENT_NOTE:
      return (param & 0xFF) <= 127 && (param >> 8) <= 127;
    case bass::MIDI_EVENT_TEMPO:
      return param > 0;
    case bass::MIDI_EVENT_SOUNDOFF:
    case bass::MIDI_EVENT_RESET:
    case bass::MIDI_EVENT_NOTESOFF:
      return true;
    default:
      return IsEffectEvent(event) || ChannelValueOfEvent(event) >= 0;
  }
}

void Stream::PublishValue(int channel, bass::DWORD event, bass::DWORD param) {
  if (IsEffectEvent(event)) {
    OnEffect(static_cast<EffectParameter>(event - bass::MIDI_EVENT_REVERB_TIME), param);
  } else if (const int which = ChannelValueOfEvent(event); which >= 0) {
    OnValue(channel, static_cast<ChannelValue>(which), param);
  }
}

int Stream::SendEvent(bass::DWORD channel, bass::DWORD event, bass::DWORD param) {
  if (!ValidEvent(channel, event, param)) return bass::BASS_ERROR_ILLPARAM;
  if (rendering_stream == this) {
    renderer_.Apply(static_cast<int>(channel), event, param);
    return bass::BASS_OK;
  }
  if (!CanRest()) return bass::BASS_ERROR_NOTAVAIL;
  const std::lock_guard api(api_);
  if (closed_) return bass::BASS_ERROR_HANDLE;
  if (decoding_ && SendToDecoder({static_cast<std::uint8_t>(channel), event, param})) {
    return bass::BASS_OK;
  }
  // A stream that has come to its end, or was stopped by a callback, may still be on the output;
  // but that goes to sleep, and then nobody would read the queue.
  if (!attached_.load(std::memory_order_relaxed) || !playing_.load()) {
    return AtRestLocked([&] {
      renderer_.Apply(static_cast<int>(channel), event, param);
      PublishPlace();
      return bass::BASS_OK;
    });
  }
  // Shown before it is queued: whatever the mixing thread shows later is then the later value.
  PublishValue(static_cast<int>(channel), event, param);
  const std::uint64_t written = sent_written_.load(std::memory_order_relaxed);
  while (written - sent_read_.load(std::memory_order_acquire) >= kSentEvents) WaitABit();
  sent_[written % kSentEvents] = {static_cast<std::uint8_t>(channel), event, param};
  sent_written_.store(written + 1, std::memory_order_release);
  if (event == bass::MIDI_EVENT_TEMPO) {  // positions are to tell it as soon as this returns
    while (sent_read_.load(std::memory_order_acquire) <= written) WaitABit();
  }
  return bass::BASS_OK;
}

// While another thread pulls (and may wait for an encoder), the event is left for it to take before
// its next block. False where it has to be applied at rest: nobody pulls, positions are to tell it
// at once, or nothing more can be left.
bool Stream::SendToDecoder(const SentEvent& event) {
  std::unique_lock rendering(rendering_, std::try_to_lock);
  if (rendering.owns_lock() || event.event == bass::MIDI_EVENT_TEMPO) return false;
  const std::uint64_t written = sent_written_.load(std::memory_order_relaxed);
  if (written - sent_read_.load(std::memory_order_acquire) >= kSentEvents) return false;
  PublishValue(event.channel, event.event, event.param);
  sent_[written % kSentEvents] = event;
  sent_written_.store(written + 1, std::memory_order_release);
  return true;
}

void Stream::TakeSentEvents() {
  std::uint64_t read = sent_read_.load(std::memory_order_relaxed);
  const std::uint64_t written = sent_written_.load(std::memory_order_acquire);
  if (read == written) return;
  for (; read < written; ++read) {
    const SentEvent& event = sent_[read % kSentEvents];
    renderer_.Apply(event.channel, event.event, event.param);
  }
  PublishPlace();
  sent_read_.store(read, std::memory_order_release);
}

bass::DWORD Stream::GetEvent(bass::DWORD channel, bass::DWORD event) {
  if (channel >= kChannels) return bass::kError32;
  const bool live = rendering_stream == this;
  if (!live && renderer_.ChaseIsPending() && CanRest()) {
    AtRest([this] {
      renderer_.Chase();
      return 0;
    });
  }
  if (event == bass::MIDI_EVENT_TEMPO) return live ? renderer_.state().tempo : tempo_.load();
  if (IsEffectEvent(event)) {
    const std::size_t which = event - bass::MIDI_EVENT_REVERB_TIME;
    return live ? renderer_.state().effect[which] : effects_[which].load();
  }
  const int which = ChannelValueOfEvent(event);
  if (which < 0) return bass::kError32;
  return live ? renderer_.state().channel[channel].value[which] : values_[channel][which].load();
}

// ---- Banks

int Stream::SetFont(std::shared_ptr<SoundFont> font, bass::HSOUNDFONT handle) {
  if (rendering_stream == this || !CanRest()) return bass::BASS_ERROR_NOTAVAIL;
  if (decoding_) {
    return AtRest([&] {
      if (closed_) return bass::BASS_ERROR_HANDLE;
      font_handle_.store(handle, std::memory_order_relaxed);
      renderer_.ChangeFont(std::move(font));
      return bass::BASS_OK;
    });
  }
  auto bank = std::make_unique<NewBank>();
  if (font != nullptr) {
    bank->synth = font->CreateSynth();
    if (bank->synth == nullptr) return bass::BASS_ERROR_MEM;
  }
  bank->font = std::move(font);
  CollectRetired();
  const std::lock_guard api(api_);
  if (closed_) return bass::BASS_ERROR_HANDLE;
  font_handle_.store(handle, std::memory_order_relaxed);
  delete new_bank_.exchange(bank.release(), std::memory_order_acq_rel);
  if (attached_.load(std::memory_order_relaxed)) return bass::BASS_OK;
  const std::lock_guard rendering(rendering_);
  renderer_.EndCrossFade();
  HandOverRetired();
  CollectRetired();
  TakeNewBank();
  return bass::BASS_OK;
}

// The box that a bank came in stays for the bank that it replaces to go out in, so that the mixing
// thread neither makes nor frees anything.
void Stream::TakeNewBank() {
  if (new_bank_.load(std::memory_order_relaxed) == nullptr || emptied_ != nullptr) return;
  NewBank* bank = new_bank_.exchange(nullptr, std::memory_order_acq_rel);
  if (bank == nullptr) return;
  renderer_.ChangeSynth(bank->synth, std::move(bank->font));
  emptied_ = bank;
}

void Stream::HandOverRetired() {
  if (emptied_ == nullptr || !renderer_.CrossFadeIsOver()) return;
  if (retired_.load(std::memory_order_acquire) != nullptr) return;
  emptied_->synth = renderer_.TakeRetired();
  emptied_->font = renderer_.TakeRetiredFont();
  retired_.store(std::exchange(emptied_, nullptr), std::memory_order_release);
}

void Stream::CollectRetired() { delete retired_.exchange(nullptr, std::memory_order_acq_rel); }

// ---- Encoders

int Stream::AddEncoder(bass::HENCODE handle, std::shared_ptr<Encoder> encoder, bool auto_free) {
  if (!CanRest()) return bass::BASS_ERROR_NOTAVAIL;
  return AtRest([&] {
    if (closed_) return bass::BASS_ERROR_HANDLE;
    encoders_.push_back({handle, std::move(encoder), auto_free});
    RunAheadIfEncoding();
    return bass::BASS_OK;
  });
}

std::shared_ptr<Encoder> Stream::RemoveEncoder(bass::HENCODE handle) {
  if (!CanRest()) return nullptr;
  return AtRest([&] {
    std::shared_ptr<Encoder> found;
    const auto place =
        std::find_if(encoders_.begin(), encoders_.end(),
                     [&](const AttachedEncoder& attached) { return attached.handle == handle; });
    if (place != encoders_.end()) {
      found = std::move(place->encoder);
      encoders_.erase(place);
      RunAheadIfEncoding();
    }
    return found;
  });
}

void Stream::RunAheadIfEncoding() { renderer_.RunAhead(encoders_.empty() ? 0 : threads_); }

void Stream::FinishAutoFree() {
  std::vector<AttachedEncoder> ending;
  AtRest([&] {
    for (AttachedEncoder& attached : encoders_) {
      if (attached.auto_free) ending.push_back(std::move(attached));
    }
    std::erase_if(encoders_,
                  [](const AttachedEncoder& attached) { return attached.encoder == nullptr; });
    RunAheadIfEncoding();
    return 0;
  });
  for (const AttachedEncoder& attached : ending) attached.encoder->Finish();
}

}  // namespace vexolo::engine
