#include "engine/ensemble.h"

#include <algorithm>
#include <bit>
#include <new>
#include <utility>

namespace vexolo::engine {

void DeskEvent::Apply(Console& console) const {
  switch (kind) {
    case Kind::kMixLevel:
      return console.SetMixLevel(which, value);
    case Kind::kReverbSend:
      return console.SetReverbSend(which, value);
    case Kind::kChorusSend:
      return console.SetChorusSend(which, value);
    case Kind::kEffect:
      return console.SetEffect(static_cast<EffectParameter>(which), value);
    case Kind::kSnap:
      return console.Snap();
    case Kind::kSilence:
      return console.Silence();
  }
}

void Ensemble::Window::Clear() {
  frames = taken = 0;
  events = 0;
  for (auto& list : lane_events) list.clear();
  desk_events.clear();
  pieces.clear();
  playing = 0;
  audible.fill(false);
  mixed = false;
}

Ensemble::Ensemble() {
  for (auto& window : windows_) window = std::make_unique<Window>();
}

Ensemble::~Ensemble() { StopThreads(); }

// ---- Threads

void Ensemble::SetThreads(int threads) {
  const auto helpers = static_cast<std::size_t>(std::max(threads, 1) - 1);
  if (helpers == threads_.size()) return;
  StopThreads();
  leaving_ = false;
  while (threads_.size() < helpers) threads_.emplace_back([this] { Work(); });
}

void Ensemble::StopThreads() {
  {
    const std::lock_guard lock(mutex_);
    leaving_ = true;
  }
  work_.notify_all();
  for (std::thread& thread : threads_) thread.join();
  threads_.clear();
}

void Ensemble::Work() {
  std::unique_lock lock(mutex_);
  while (!leaving_) {
    if (const int channel = PickLane(); channel >= 0) {
      PlayNext(lock, channel);
    } else {
      ++idle_;
      work_.wait(lock);
      --idle_;
    }
  }
}

// Leads a channel on to the next window in which it has something to do. Under mutex_; at once, for
// windows that have been taken are used again.
void Ensemble::SkipWindows(int channel) {
  std::uint64_t& next = lanes_[channel].next;
  while (next < closed_ && (WindowAt(next).playing >> channel & 1) == 0) ++next;
}

// The channel that should play next, -1 where none can. Under mutex_.
int Ensemble::PickLane() {
  int best = -1;
  for (int channel = 0; channel < kChannels && !resting_; ++channel) {
    Lane& lane = lanes_[channel];
    if (lane.busy || lane.next == closed_) continue;
    const bool better = best < 0 || lane.next < lanes_[best].next ||
                        (lane.next == lanes_[best].next && lane.voices > lanes_[best].voices);
    if (better) best = channel;
  }
  return best;
}

// Plays one window of a channel; the lock is given up meanwhile.
void Ensemble::PlayNext(std::unique_lock<std::mutex>& lock, int channel) {
  Lane& lane = lanes_[channel];
  Window& window = WindowAt(lane.next);
  lane.busy = true;
  lock.unlock();
  std::exception_ptr failure;
  int voices = 0;
  try {
    Play(channel, window);
    if (lane.synth != nullptr) voices = lane.synth->ActiveVoices();
  } catch (...) {
    failure = std::current_exception();
  }
  lock.lock();
  lane.busy = false;
  lane.voices = voices;
  ++lane.next;
  SkipWindows(channel);
  if (failure != nullptr) failure_ = failure;
  if (--window.left_to_play == 0 || resting_) done_.notify_all();
}

bool Ensemble::AllHavePlayed(std::uint64_t begin, std::uint64_t end) {
  for (std::uint64_t number = begin; number < end; ++number) {
    if (WindowAt(number).left_to_play > 0) return false;
  }
  return true;
}

// Until every channel has played these windows. The caller plays too.
void Ensemble::PlayUntil(std::uint64_t begin, std::uint64_t end) {
  std::unique_lock lock(mutex_);
  while (!AllHavePlayed(begin, end)) {
    if (const int channel = PickLane(); channel >= 0) {
      PlayNext(lock, channel);
    } else {
      done_.wait(lock);
    }
  }
  if (idle_ > 0 && PickLane() >= 0) work_.notify_one();  // the channel that this thread leaves
  if (failure_ != nullptr) std::rethrow_exception(std::exchange(failure_, nullptr));
}

// ---- Planning

void Ensemble::Plan(int channel, LaneEvent event) {
  if ((awake_ >> channel & 1) == 0) return;
  Window& window = Open();
  event.frame = window.frames;
  window.lane_events[channel].push_back(event);
  ++window.events;
}

void Ensemble::CatchUp() {
  PlayUntil(first_, open_);
  Window& window = Open();
  for (int channel = 0; channel < kChannels; ++channel) {
    Play(channel, window);
    window.lane_events[channel].clear();
  }
  window.events = window.desk_events.size();
}

void Ensemble::ChangeFont(std::shared_ptr<SoundFont> font) {
  CatchUp();
  const bool crosses = font_ != nullptr;
  font_ = std::move(font);
  awake_ = 0;
  crossing_ = crosses ? kCrossFade : 0;
  for (Lane& lane : lanes_) {
    lane.fading = std::exchange(lane.synth, nullptr);
    lane.fade_left = crossing_;
    lane.font = font_;
  }
}

bool Ensemble::Wake(int channel) {
  if ((awake_ >> channel & 1) != 0 || font_ == nullptr) return false;
  awake_ |= 1U << channel;
  Plan(channel, {.frame = 0, .kind = LaneEvent::Kind::kWake});
  return true;
}

namespace {

std::uint8_t Byte(int value) { return static_cast<std::uint8_t>(value); }

}  // namespace

void Ensemble::NoteOn(int channel, int key, int velocity) {
  Plan(channel, {0, LaneEvent::Kind::kNoteOn, Byte(key), Byte(velocity)});
}

void Ensemble::NoteOff(int channel, int key) {
  Plan(channel, {0, LaneEvent::Kind::kNoteOff, Byte(key)});
}

void Ensemble::KeyPressure(int channel, int key, int value) {
  Plan(channel, {0, LaneEvent::Kind::kKeyPressure, Byte(key), Byte(value)});
}

void Ensemble::ChannelPressure(int channel, int value) {
  Plan(channel, {0, LaneEvent::Kind::kChannelPressure, Byte(value)});
}

void Ensemble::Controller(int channel, int controller, int value) {
  Plan(channel, {0, LaneEvent::Kind::kController, Byte(controller), Byte(value)});
}

void Ensemble::PitchWheel(int channel, int value) {
  Plan(channel, {0, LaneEvent::Kind::kPitchWheel, Byte(value & 0x7F), Byte(value >> 7)});
}

void Ensemble::Preset(int channel, int bank, int program, bool drums) {
  Plan(channel,
       {0, LaneEvent::Kind::kPreset, Byte(bank), Byte(program), static_cast<std::uint8_t>(drums)});
}

void Ensemble::AllNotesOff(int channel) { Plan(channel, {0, LaneEvent::Kind::kAllNotesOff}); }

void Ensemble::AllSoundOff(int channel) { Plan(channel, {0, LaneEvent::Kind::kAllSoundOff}); }

void Ensemble::Reset() {
  {
    std::unique_lock lock(mutex_);
    resting_ = true;
    done_.wait(lock, [this] { return std::ranges::none_of(lanes_, &Lane::busy); });
    for (Lane& lane : lanes_) lane.next = open_;
    failure_ = nullptr;
    resting_ = false;
  }
  for (Lane& lane : lanes_) {
    lane.synth.reset();
    lane.fading.reset();
    lane.fade_left = lane.voices = 0;
  }
  first_ = open_;
  frames_ahead_ = phase_ = crossing_ = 0;
  awake_ = 0;
  Open().Clear();
  Open().phase = 0;
}

void Ensemble::Desk(const DeskEvent& event) {
  Window& window = Open();
  window.desk_events.push_back({window.frames, event});
  ++window.events;
}

void Ensemble::Advance(int frames, Place place) {
  Window& window = Open();
  const bool goes_on =
      !window.pieces.empty() && window.pieces.back().place.ratio == place.ratio &&
      window.pieces.back().place.position +
              static_cast<std::uint64_t>(window.frames - window.pieces.back().frame) ==
          place.position;
  if (!goes_on) window.pieces.push_back({window.frames, place});
  window.frames += frames;
  frames_ahead_ += frames;
  phase_ = (phase_ + frames) % kGrid;
}

void Ensemble::Close() {
  Window& window = Open();
  if (window.frames == 0 && window.events == 0) return;
  window.playing = crossing_ > 0 ? 0xFFFF : awake_;
  crossing_ = std::max(crossing_ - window.frames, 0);
  {
    const std::lock_guard lock(mutex_);
    window.left_to_play = std::popcount(window.playing);
    closed_ = ++open_;
    for (int channel = 0; channel < kChannels; ++channel) {
      if (!lanes_[channel].busy) SkipWindows(channel);
    }
  }
  work_.notify_all();
  Open().Clear();
  Open().phase = phase_;
}

// ---- Playing, on any thread

void Ensemble::Play(int channel, Window& window) {
  Lane& lane = lanes_[channel];
  std::unique_ptr<Track>& track = window.tracks[channel];
  if (track == nullptr && window.frames > 0) track = std::make_unique<Track>();
  int done = 0;
  bool audible = false;
  for (const LaneEvent& event : window.lane_events[channel]) {
    // Nothing takes effect before the next step of the grid, so that the step is played in one.
    const int rest = (kGrid - (window.phase + event.frame) % kGrid) % kGrid;
    const int place = std::min(event.frame + rest, window.frames);
    if (place > done) audible |= Render(lane, *track, done, place);
    done = std::max(done, place);
    Do(channel, lane, event, (window.phase + done) % kGrid);
  }
  if (done < window.frames) audible |= Render(lane, *track, done, window.frames);
  window.audible[channel] = audible;
}

void Ensemble::Do(int channel, Lane& lane, const LaneEvent& event, int phase) {
  using Kind = LaneEvent::Kind;
  if (event.kind == Kind::kWake) {
    lane.synth = lane.font->CreateChannelSynth(channel);
    if (lane.synth == nullptr) throw std::bad_alloc();
    std::array<float, kGrid> nowhere;
    lane.synth->Render(nowhere.data(), nowhere.data(), phase);
    return;
  }
  if (lane.synth == nullptr) return;  // it could not be made
  switch (event.kind) {
    case Kind::kWake:
      break;
    case Kind::kNoteOn:
      return lane.synth->NoteOn(channel, event.a, event.b);
    case Kind::kNoteOff:
      return lane.synth->NoteOff(channel, event.a);
    case Kind::kKeyPressure:
      return lane.synth->KeyPressure(channel, event.a, event.b);
    case Kind::kChannelPressure:
      return lane.synth->ChannelPressure(channel, event.a);
    case Kind::kController:
      return lane.synth->Controller(channel, event.a, event.b);
    case Kind::kPitchWheel:
      return lane.synth->PitchWheel(channel, event.a | event.b << 7);
    case Kind::kPreset:
      return lane.synth->Preset(channel, event.a, event.b, event.c != 0);
    case Kind::kAllNotesOff:
      return lane.synth->AllNotesOff(channel);
    case Kind::kAllSoundOff:
      return lane.synth->AllSoundOff(channel);
  }
}

// False where there are nothing but zeros.
bool Ensemble::Render(Lane& lane, Track& track, int from, int to) {
  float* left = track.left.data() + from;
  float* right = track.right.data() + from;
  bool audible = false;
  if (lane.synth != nullptr) {
    audible = lane.synth->Render(left, right, to - from);
  } else {
    std::fill_n(left, to - from, 0.0F);
    std::fill_n(right, to - from, 0.0F);
  }
  if (lane.fade_left == 0) return audible;
  FadeOut(lane, left, right, to - from);
  return true;
}

// The bank that is left goes down while the new one comes up, both linearly.
void Ensemble::FadeOut(Lane& lane, float* left, float* right, int frames) {
  Track old;
  const bool sounds =
      lane.fading != nullptr && lane.fading->Render(old.left.data(), old.right.data(), frames);
  for (int frame = 0; frame < frames; ++frame) {
    const float share =
        static_cast<float>(std::max(lane.fade_left - frame, 0)) / static_cast<float>(kCrossFade);
    left[frame] += ((sounds ? old.left[frame] : 0.0F) - left[frame]) * share;
    right[frame] += ((sounds ? old.right[frame] : 0.0F) - right[frame]) * share;
  }
  lane.fade_left = std::max(lane.fade_left - frames, 0);
  if (lane.fade_left == 0) lane.fading.reset();
}

// ---- Taking

Ensemble::Place Ensemble::NextPlace() const {
  std::uint64_t number = first_;
  while (number < open_ && WindowAt(number).taken == WindowAt(number).frames) ++number;
  const Window& window = WindowAt(number);
  auto piece = window.pieces.rbegin();
  while (piece->frame > window.taken) ++piece;
  return {piece->place.position + static_cast<std::uint64_t>(window.taken - piece->frame),
          piece->place.ratio};
}

int Ensemble::Take(Console& console, std::int16_t* out, int frames) {
  Window& window = WindowAt(first_);
  if (!window.mixed) {
    PlayUntil(first_, first_ + 1);
    Mix(console, window);
    window.mixed = true;
  }
  const int taken = std::min(frames, window.frames - window.taken);
  std::copy_n(window.sound.data() + 2 * window.taken, 2 * taken, out);
  window.taken += taken;
  frames_ahead_ -= taken;
  if (window.taken == window.frames) ++first_;
  return taken;
}

void Ensemble::Mix(Console& console, Window& window) {
  int done = 0;
  for (const PlannedDeskEvent& planned : window.desk_events) {
    MixPart(console, window, done, planned.frame);
    done = planned.frame;
    planned.event.Apply(console);
  }
  MixPart(console, window, done, window.frames);
}

void Ensemble::MixPart(Console& console, Window& window, int from, int to) {
  std::array<float, kMaxBlock> left;
  std::array<float, kMaxBlock> right;
  for (int done = from; done < to;) {
    const int frames = std::min(kMaxBlock, to - done);
    DryChannels dry{};
    for (int channel = 0; channel < kChannels; ++channel) {
      if (!window.audible[channel]) continue;
      dry.left[channel] = window.tracks[channel]->left.data() + done;
      dry.right[channel] = window.tracks[channel]->right.data() + done;
    }
    console.Process(dry, left.data(), right.data(), frames);
    LimitTo16Bit(left.data(), right.data(), window.sound.data() + 2 * done, frames);
    done += frames;
  }
}

int Ensemble::ActiveVoices() const {
  int voices = 0;
  for (const Lane& lane : lanes_) voices += lane.synth != nullptr ? lane.synth->ActiveVoices() : 0;
  return voices;
}

bool Ensemble::IsCrossing() const {
  return std::ranges::any_of(lanes_, [](const Lane& lane) { return lane.fade_left > 0; });
}

}  // namespace vexolo::engine
