#include "engine/renderer.h"

#include <algorithm>
#include <bitset>
#include <limits>
#include <utility>

namespace vexolo::engine {
namespace {

constexpr std::uint64_t kNever = std::numeric_limits<std::uint64_t>::max();
constexpr std::uint32_t kNoChange = 100;  ///< transpose in the interface's units
/// Whether the decay is over is asked this often, counted from its beginning, so that the end does
/// not depend on how the run is cut into blocks.
constexpr std::uint64_t kDecayCheck = 512;

constexpr int kDataEntryMsb = 6;
constexpr int kDataEntryLsb = 38;
constexpr int kRpnLsb = 100;
constexpr int kRpnMsb = 101;

std::uint32_t Sounding(std::uint32_t value, ChannelValue which) {
  return std::min(value, kChannelValueTable[static_cast<std::size_t>(which)].highest);
}

/// What acts when it arrives and is no value that holds: data entry, the choice of a parameter, the
/// key that the next note glides from; and the bank's low byte, which is not used.
bool IsMomentary(int controller) {
  constexpr int kBankLsb = 32;
  constexpr int kPortamentoKey = 84;
  return controller == kDataEntryMsb || controller == kDataEntryLsb || controller == kBankLsb ||
         controller == kPortamentoKey || (controller >= 96 && controller <= kRpnMsb);
}

std::uint32_t ClampTempo(std::uint32_t tempo) {
  return std::clamp<std::uint32_t>(tempo, 1, (1u << 24) - 1);
}

}  // namespace

Renderer::Renderer(std::shared_ptr<const Song> song, RenderFor purpose, bool decay_at_end,
                   bass::DWORD stream, RendererObserver& observer, SyncList& syncs, DspList& dsps)
    : song_(std::move(song)),
      decay_at_end_(decay_at_end),
      stream_(stream),
      observer_(observer),
      syncs_(syncs),
      dsps_(dsps) {
  if (purpose == RenderFor::kFile) {
    ensemble_ = std::make_unique<Ensemble>();
    voices_ = ensemble_.get();
  } else {
    dry_ = std::make_unique<DryBlock>();
    dry_outgoing_ = std::make_unique<DryBlock>();
  }
  Seek(0);
  Chase();
}

Renderer::~Renderer() = default;

// ---- Rendering

int Renderer::Render(std::int16_t* out, int frames) {
  Chase();
  // What a DSP sees is counted from the first frame of a block on.
  for (std::size_t index = 0; index < dsps_.size(); ++index) {
    if (Dsp* dsp = dsps_.At(index))
      dsp->first_frame = std::max(dsp->first_frame - block_frames_, 0);
  }
  block_frames_ = 0;
  if (ensemble_ != nullptr) {
    RenderFile(out, frames);
  } else {
    RenderLive(out, frames);
  }
  RunDsps(out, block_frames_);
  return block_frames_;
}

void Renderer::RenderLive(std::int16_t* out, int frames) {
  while (block_frames_ < frames && ReachPlace() == Reached::kRender) {
    const int count = FramesToNextPlace(frames - block_frames_);
    RenderPiece(out + 2 * block_frames_, count);
    observer_.OnPiece(block_frames_, count, position_, ratio_);
    block_frames_ += count;
    MoveOn(count);
  }
}

void Renderer::RenderFile(std::int16_t* out, int frames) {
  while (block_frames_ < frames) {
    PlanAhead(frames - block_frames_);
    if (!ensemble_->HasClosed()) break;
    if (font_ != nullptr) console_.SetMaster(Master());
    block_frames_ += ensemble_->Take(console_, out + 2 * block_frames_, frames - block_frames_);
  }
}

// Plans as many windows as there is room for; without running ahead, no more than are wanted.
void Renderer::PlanAhead(int wanted) {
  planning_ = true;
  while (ensemble_->HasRoom()) {
    const int missing = run_ahead_ ? Ensemble::kWindow : wanted - ensemble_->FramesAhead();
    if (missing <= 0 || !PlanWindow(std::min(missing, Ensemble::kWindow))) break;
  }
  planning_ = false;
}

// False where the sequencer cannot go on.
bool Renderer::PlanWindow(int frames) {
  Reached reached = Reached::kRender;
  while (reached == Reached::kRender && ensemble_->OpenFrames() < frames) {
    reached = ReachPlace();
    if (reached != Reached::kRender) break;
    if (fresh_) Desk({.kind = DeskEvent::Kind::kSnap});
    fresh_ = false;
    const int count = FramesToNextPlace(frames - ensemble_->OpenFrames());
    ensemble_->Advance(count, {position_, ratio_});
    MoveOn(count);
  }
  ensemble_->Close();
  return reached == Reached::kRender || reached == Reached::kClose;
}

void Renderer::MoveOn(int frames) {
  position_ += static_cast<std::uint64_t>(frames);
  if (decaying_) decayed_ += static_cast<std::uint64_t>(frames);
}

// Does all that is due before the next frame.
Renderer::Reached Renderer::ReachPlace() {
  if (ended_ || stopped_) return Reached::kEnd;
  for (;;) {
    if (IsAhead() && PositionSyncIsDue()) return Reached::kWait;
    if (!FirePositionSyncs()) return Reached::kEnd;
    if (next_ >= song_->events().size() || next_frame_ > position_) break;
    if (!ProcessEvent(next_++)) return Reached::kEnd;
    if (ensemble_ != nullptr && ensemble_->IsFull()) return Reached::kClose;
  }
  if (next_ < song_->events().size()) return Reached::kRender;
  if (!decaying_) {
    decaying_ = true;
    decayed_ = 0;
    ReleaseEverything();
  }
  if (decay_at_end_ && decayed_ % kDecayCheck != 0) return Reached::kRender;
  if (ensemble_ != nullptr && !ensemble_->IsSettled()) return Reached::kWait;
  if (decay_at_end_ && !DecayIsOver()) return Reached::kRender;
  ended_ = true;
  CallSyncs(bass::BASS_SYNC_END, 0, 0);
  return Reached::kEnd;
}

bool Renderer::DecayIsOver() {
  if (decayed_ >= kLongestDecay) return true;
  const bool voices = ensemble_ != nullptr
                          ? ensemble_->ActiveVoices() > 0 || ensemble_->IsCrossing()
                          : (synth_ != nullptr && synth_->ActiveVoices() > 0) || fade_left_ > 0;
  return !voices && console_.TailIsOver();
}

float Renderer::Master() const {
  return kMasterGain * font_->volume.load(std::memory_order_relaxed);
}

int Renderer::FramesToNextPlace(int wanted) {
  std::uint64_t count = static_cast<std::uint64_t>(std::min(wanted, kMaxBlock));
  if (next_ < song_->events().size()) count = std::min(count, next_frame_ - position_);
  if (decaying_) count = std::min(count, kDecayCheck - decayed_ % kDecayCheck);
  for (std::size_t index = 0; index < syncs_.size(); ++index) {
    Sync* sync = syncs_.At(index);
    if (sync == nullptr || sync->type != bass::BASS_SYNC_POS || sync->passed) continue;
    UpdateSync(*sync);
    if (sync->frame > position_) count = std::min(count, sync->frame - position_);
  }
  return static_cast<int>(count);
}

void Renderer::RenderPiece(std::int16_t* out, int frames) {
  std::uint32_t audible = 0;
  if (synth_ != nullptr) {
    console_.SetMaster(Master());
    synth_->Render(*dry_, frames);
    for (int channel = 0; channel < kChannels; ++channel) {
      if (synth_->Audible(channel)) audible |= 1u << channel;
    }
  }
  if (fade_left_ > 0) {
    if (synth_ == nullptr) *dry_ = DryBlock{};
    MixOutgoing(frames);
    audible = 0xFFFF;
  }
  if (fresh_) {
    console_.Snap();
    fresh_ = false;
  }
  console_.Process(*dry_, audible, left_.data(), right_.data(), frames);
  LimitTo16Bit(left_.data(), right_.data(), out, frames);
}

// The bank that is left goes down while the new one comes up, both linearly.
void Renderer::MixOutgoing(int frames) {
  fading_->Render(*dry_outgoing_, frames);
  for (int channel = 0; channel < kChannels; ++channel) {
    float* left = dry_->left[channel].data();
    float* right = dry_->right[channel].data();
    const float* old_left = dry_outgoing_->left[channel].data();
    const float* old_right = dry_outgoing_->right[channel].data();
    for (int frame = 0; frame < frames; ++frame) {
      const float old =
          static_cast<float>(std::max(fade_left_ - frame, 0)) / static_cast<float>(kCrossFade);
      left[frame] += (old_left[frame] - left[frame]) * old;
      right[frame] += (old_right[frame] - right[frame]) * old;
    }
  }
  fade_left_ = std::max(fade_left_ - frames, 0);
}

// In falling priority; among equals in the order in which they were added. A DSP that a callback of
// this block has added sees only the frames after it.
void Renderer::RunDsps(std::int16_t* out, int frames) {
  const std::size_t count = dsps_.size();
  std::array<Dsp*, DspList::kRoom> order;
  std::size_t found = 0;
  for (std::size_t index = 0; index < count; ++index) {
    Dsp* dsp = dsps_.At(index);
    if (dsp == nullptr || dsp->first_frame >= frames) continue;
    std::size_t place = found++;
    for (; place > 0 && order[place - 1]->priority < dsp->priority; --place) {
      order[place] = order[place - 1];
    }
    order[place] = dsp;
  }
  for (std::size_t index = 0; index < found; ++index) {
    const Dsp& dsp = *order[index];
    dsp.proc(dsp.handle, stream_, out + 2 * dsp.first_frame,
             static_cast<bass::DWORD>(4 * (frames - dsp.first_frame)), dsp.user);
  }
}

// ---- Syncs

void Renderer::UpdateSync(Sync& sync) {
  if (sync.ratio_serial == ratio_serial_) return;
  sync.frame = song_->time_line().Rescale(sync.named_frame, sync.named_ratio, ratio_);
  sync.ratio_serial = ratio_serial_;
}

bool Renderer::PositionSyncIsDue() {
  for (std::size_t index = 0; index < syncs_.size(); ++index) {
    Sync* sync = syncs_.At(index);
    if (sync == nullptr || sync->type != bass::BASS_SYNC_POS || sync->passed) continue;
    UpdateSync(*sync);
    if (sync->frame == position_) return true;
  }
  return false;
}

bool Renderer::FirePositionSyncs() {
  for (std::size_t index = 0; index < syncs_.size(); ++index) {
    Sync* sync = syncs_.At(index);
    if (sync == nullptr || sync->type != bass::BASS_SYNC_POS || sync->passed) continue;
    UpdateSync(*sync);
    if (sync->frame > position_) continue;
    sync->passed = true;
    if (sync->frame < position_) continue;  // it was set behind the place
    sync->proc(sync->handle, stream_, 0, sync->user);
    if (stopped_) return false;
  }
  return true;
}

void Renderer::CallSyncs(bass::DWORD type, bass::DWORD param, bass::DWORD data) {
  for (std::size_t index = 0; index < syncs_.size(); ++index) {
    const Sync* sync = syncs_.At(index);
    if (sync == nullptr || sync->type != type) continue;
    if (type == bass::BASS_SYNC_MIDI_EVENT && sync->param != param) continue;
    if (sync->mix_time) {
      sync->proc(sync->handle, stream_, data, sync->user);
    } else {
      observer_.OnHeardSync(index, data, frame_of_block());
    }
  }
}

void Renderer::CallMarkSyncs(std::size_t event, Song::MarkKind kind) {
  const auto& marks = song_->marks(kind);
  const auto place = std::lower_bound(marks.begin(), marks.end(), event);
  CallSyncs(kind == Song::MarkKind::kLyric ? bass::BASS_SYNC_MIDI_LYRIC : bass::BASS_SYNC_MIDI_TEXT,
            0, static_cast<bass::DWORD>(place - marks.begin()));
}

void Renderer::Raise(bass::DWORD event, int channel, std::uint32_t param) {
  if (raised_count_ == kMaxRaised) return;
  const bass::DWORD data = event == bass::MIDI_EVENT_TEMPO
                               ? param & 0xFFFFFF
                               : (param & 0xFFFF) | (static_cast<bass::DWORD>(channel) << 16);
  raised_[raised_count_++] = {event, data};
}

// ---- Events of the file

bool Renderer::ProcessEvent(std::size_t index) {
  const MidiEvent& event = song_->events()[index];
  in_event_ = true;
  event_tick_ = event.tick;
  raised_count_ = 0;
  if (event.status == 0xFF && event.data1 == 0x05) {
    CallMarkSyncs(index, Song::MarkKind::kLyric);
  } else if (event.status == 0xFF && event.data1 == 0x01) {
    CallMarkSyncs(index, Song::MarkKind::kText);
  } else {
    Interpret(state_, event, event.status == 0xF0 ? song_->file().Data(event) : std::string_view(),
              *this);
    for (std::size_t place = 0; place < raised_count_; ++place) {
      CallSyncs(bass::BASS_SYNC_MIDI_EVENT, raised_[place].event, raised_[place].data);
    }
  }
  in_event_ = false;
  if (event.status == 0xFF && event.data1 == 0x51) observer_.OnTempo(state_.tempo);
  UpdateNextFrame();
  return !stopped_;
}

void Renderer::Note(int channel, int key, int velocity) {
  if (velocity > 0) {
    Press(channel, key, velocity);
  } else {
    Release(channel, key);
  }
  Raise(bass::MIDI_EVENT_NOTE, channel, static_cast<std::uint32_t>(key | (velocity << 8)));
}

void Renderer::KeyPressure(int channel, int key, int value) {
  const HeldKey& held = held_[channel][key];
  if (voices_ == nullptr || held.count == 0 || held.notes[0].key == kUnplayable) return;
  voices_->KeyPressure(channel, held.notes[0].key, value);
}

void Renderer::ChannelPressure(int channel, int value) {
  if (voices_ != nullptr) voices_->ChannelPressure(channel, value);
}

void Renderer::Controller(int channel, int controller, int value) {
  // The low byte of the bank is not part of a SoundFont's bank number.
  if (voices_ != nullptr && controller != 32) voices_->Controller(channel, controller, value);
}

void Renderer::Mode(int channel, bass::DWORD event) {
  if (event == bass::MIDI_EVENT_SOUNDOFF) {
    if (voices_ != nullptr) voices_->AllSoundOff(channel);
    ForgetHeld(channel);
  } else if (event == bass::MIDI_EVENT_NOTESOFF) {
    if (voices_ != nullptr) voices_->AllNotesOff(channel);
    ForgetHeld(channel);
  } else if (voices_ != nullptr) {
    for (const int pedal : {65, 66, 67, 68}) voices_->Controller(channel, pedal, 0);
    voices_->Controller(channel, kRpnMsb, 127);
    voices_->Controller(channel, kRpnLsb, 127);
    voices_->ChannelPressure(channel, 0);
  }
  Raise(event, channel, 0);
}

void Renderer::ValueChanged(int channel, ChannelValue which) {
  SendValue(channel, which);
  const std::uint32_t value = state_.channel[channel].Get(which);
  observer_.OnValue(channel, which, value);
  Raise(kChannelValueTable[static_cast<std::size_t>(which)].event, channel, value);
}

void Renderer::EffectChanged(EffectParameter which) {
  const std::uint32_t value = state_.effect[static_cast<std::size_t>(which)];
  Desk({DeskEvent::Kind::kEffect, static_cast<std::uint8_t>(which), value});
  observer_.OnEffect(which, value);
  Raise(bass::MIDI_EVENT_REVERB_TIME + static_cast<bass::DWORD>(which), 0, value);
}

void Renderer::TempoChanged(std::uint32_t tempo) {
  MoveToRatio({});
  Raise(bass::MIDI_EVENT_TEMPO, 0, tempo);
}

void Renderer::SystemReset() {
  for (int channel = 0; channel < kChannels; ++channel) {
    ReleaseChannel(channel);
    SendChannel(channel);
  }
}

// ---- Notes

void Renderer::StartNote(int channel, int key, int velocity) {
  if (voices_ == nullptr) return;
  if (ensemble_ != nullptr && ensemble_->Wake(channel)) SendChannel(channel);
  voices_->NoteOn(channel, key, velocity);
}

void Renderer::Press(int channel, int key, int velocity) {
  const ChannelState& strip = state_.channel[channel];
  int sounding = key;
  if (strip.Get(ChannelValue::kDrums) == 0) {
    sounding +=
        static_cast<int>(Sounding(strip.Get(ChannelValue::kTranspose), ChannelValue::kTranspose)) -
        static_cast<int>(kNoChange);
  }
  const bool playable = sounding >= 0 && sounding <= 127;
  HeldKey& held = held_[channel][key];
  if (held.count == kHeldPerKey) Release(channel, key);
  held.notes[held.count++] = {playable ? static_cast<std::uint8_t>(sounding) : kUnplayable,
                              static_cast<std::uint8_t>(velocity)};
  if (playable) StartNote(channel, sounding, velocity);
}

// Ends the oldest note that this key started.
void Renderer::Release(int channel, int key) {
  HeldKey& held = held_[channel][key];
  if (held.count == 0) return;
  const HeldNote note = held.notes[0];
  std::move(held.notes.begin() + 1, held.notes.begin() + held.count, held.notes.begin());
  --held.count;
  if (note.key != kUnplayable && voices_ != nullptr) voices_->NoteOff(channel, note.key);
}

void Renderer::ForgetHeld(int channel) {
  for (HeldKey& held : held_[channel]) held.count = 0;
}

// No key and no pedal is held any longer, so that everything can decay. The values at the interface
// stay.
void Renderer::ReleaseChannel(int channel) {
  ForgetHeld(channel);
  if (voices_ == nullptr) return;
  for (const int pedal : {64, 66, 69}) voices_->Controller(channel, pedal, 0);
  voices_->AllNotesOff(channel);
}

void Renderer::ReleaseEverything() {
  for (int channel = 0; channel < kChannels; ++channel) ReleaseChannel(channel);
}

// ---- Values on their way to synthesiser and console

void Renderer::Desk(const DeskEvent& event) {
  if (ensemble_ != nullptr) {
    ensemble_->Desk(event);
  } else {
    event.Apply(console_);
  }
}

void Renderer::SendPreset(int channel) {
  if (voices_ == nullptr) return;
  const ChannelState& strip = state_.channel[channel];
  voices_->Preset(channel, strip.preset_bank, strip.preset_program,
                  strip.Get(ChannelValue::kDrums) != 0);
}

void Renderer::SendValue(int channel, ChannelValue which) {
  const std::uint32_t value = Sounding(state_.channel[channel].Get(which), which);
  const auto index = static_cast<std::uint8_t>(channel);
  switch (which) {
    case ChannelValue::kProgram:
    case ChannelValue::kDrums:
      SendPreset(channel);
      break;
    case ChannelValue::kPitch:
      if (voices_ != nullptr) voices_->PitchWheel(channel, static_cast<int>(value));
      break;
    case ChannelValue::kReverb:
      Desk({DeskEvent::Kind::kReverbSend, index, value});
      break;
    case ChannelValue::kChorus:
      Desk({DeskEvent::Kind::kChorusSend, index, value});
      break;
    case ChannelValue::kMixLevel:
      Desk({DeskEvent::Kind::kMixLevel, index, value});
      break;
    case ChannelValue::kBank:       // waits for the next program change
    case ChannelValue::kTranspose:  // acts on the next press
      break;
    default:
      if (voices_ != nullptr) {
        const auto& info = kChannelValueTable[static_cast<std::size_t>(which)];
        voices_->Controller(channel, info.controller, static_cast<int>(value));
      }
      break;
  }
}

void Renderer::SendChannel(int channel) {
  const ChannelState& strip = state_.channel[channel];
  for (int which = 0; which < kChannelValues; ++which) {
    SendValue(channel, static_cast<ChannelValue>(which));
  }
  if (voices_ == nullptr) return;
  voices_->ChannelPressure(channel, strip.pressure);
  for (int controller = 0; controller < 120; ++controller) {
    if (IsMomentary(controller) || ChannelValueOfController(controller) >= 0) continue;
    voices_->Controller(channel, controller, strip.controller[controller]);
  }
  const std::array<std::array<std::uint8_t, 2>, 3> registered = {{
      {strip.bend_range_semitones, strip.bend_range_cents},
      {strip.fine_tuning_msb, strip.fine_tuning_lsb},
      {strip.coarse_tuning, 0},
  }};
  for (int parameter = 0; parameter < 3; ++parameter) {
    voices_->Controller(channel, kRpnMsb, 0);
    voices_->Controller(channel, kRpnLsb, parameter);
    voices_->Controller(channel, kDataEntryMsb, registered[parameter][0]);
    voices_->Controller(channel, kDataEntryLsb, registered[parameter][1]);
  }
  const bool rpn = strip.registered_selected;
  const std::array<int, 4> selections =
      rpn ? std::array{98, 99, 100, 101} : std::array{100, 101, 98, 99};
  for (const int selection : selections) {
    voices_->Controller(channel, selection, strip.controller[selection]);
  }
}

void Renderer::SendConsole() {
  for (int which = 0; which < kEffectParameters; ++which) {
    Desk({DeskEvent::Kind::kEffect, static_cast<std::uint8_t>(which), state_.effect[which]});
  }
}

// ---- Places

Renderer::Place Renderer::place() const {
  if (planning_ || !IsAhead()) return {position_, ratio_};
  const Ensemble::Place next = ensemble_->NextPlace();
  if (next.ratio == ratio_) return {next.position, ratio_};
  return {song_->time_line().Rescale(next.position, next.ratio, ratio_), ratio_};
}

int Renderer::frame_of_block() const {
  return block_frames_ + (planning_ ? ensemble_->FramesAhead() : 0);
}

void Renderer::Stop() {
  stopped_ = true;
  if (ensemble_ == nullptr || planning_) return;
  position_ = place().position;
  ensemble_->Reset();
}

void Renderer::RunAhead(int threads) {
  if (ensemble_ == nullptr) return;
  run_ahead_ = threads > 0;
  ensemble_->SetThreads(threads);
}

std::uint32_t Renderer::Tick(std::uint64_t frame, TempoRatio ratio) const {
  return std::min(song_->time_line().TickOfFrame(frame, ratio), song_->file().last_tick());
}

std::uint64_t Renderer::Length(TempoRatio ratio) const {
  return song_->time_line().FrameOfTick(song_->file().last_tick(), ratio);
}

void Renderer::UpdateNextFrame() {
  const auto& events = song_->events();
  next_frame_ =
      next_ < events.size() ? song_->time_line().FrameOfTick(events[next_].tick, ratio_) : kNever;
}

// Inside an event the place is that event's tick, exactly. Rounding must not carry the place over a
// sync that is still ahead of it.
void Renderer::MoveToRatio(TempoRatio ratio) {
  if (ratio == ratio_) return;
  std::bitset<SyncList::kRoom> ahead;
  for (std::size_t index = 0; index < syncs_.size(); ++index) {
    Sync* sync = syncs_.At(index);
    if (sync == nullptr || sync->type != bass::BASS_SYNC_POS || sync->passed) continue;
    UpdateSync(*sync);
    ahead[index] = sync->frame >= position_;
  }
  position_ = in_event_ ? song_->time_line().FrameOfTick(event_tick_, ratio)
                        : song_->time_line().Rescale(position_, ratio_, ratio);
  ratio_ = ratio;
  ++ratio_serial_;
  for (std::size_t index = 0; index < ahead.size(); ++index) {
    if (!ahead[index]) continue;
    Sync* sync = syncs_.At(index);
    UpdateSync(*sync);
    sync->frame = std::max(sync->frame, position_);
  }
  UpdateNextFrame();
}

void Renderer::SetTempo(std::uint32_t tempo) {
  const std::uint32_t tick =
      in_event_ ? event_tick_ : song_->time_line().TickOfFrame(position_, ratio_);
  const std::uint32_t own = song_->time_line().TempoAt(tick);
  state_.tempo = tempo;
  const std::uint32_t clamped = ClampTempo(tempo);
  MoveToRatio(clamped == own ? TempoRatio{} : TempoRatio{clamped, own});
  if (!in_event_) observer_.OnTempo(tempo);
}

void Renderer::SeekFrame(std::uint64_t frame) {
  Seek(song_->time_line().Rescale(frame, ratio_, {}));
}

void Renderer::SeekTick(std::uint32_t tick) { Seek(song_->time_line().FrameOfTick(tick, {})); }

void Renderer::Seek(std::uint64_t frame) {
  ratio_ = {};
  ++ratio_serial_;
  position_ = frame;
  decaying_ = ended_ = stopped_ = false;
  decayed_ = 0;
  fresh_ = true;
  if (ensemble_ != nullptr) ensemble_->Reset();
  chase_pending_.store(true, std::memory_order_release);
}

// Events that stand exactly at the frame are still to come: their notes sound and their syncs are
// raised when rendering goes on. The values that they set can be read already; what hides behind
// the values (the preset in use, the parameter selected for data entry) waits for the events
// themselves, which find what they would find had everything been played.
void Renderer::Chase() {
  if (!ChaseIsPending()) return;
  const TimeLine& line = song_->time_line();
  next_ = position_ == 0 ? 0 : song_->FirstEventAt(line.TickOfFrame(position_ - 1, ratio_) + 1);
  const std::uint32_t tick = line.TickOfFrame(position_, ratio_);
  const std::size_t peek =
      tick >= MidiFile::kMaxTick ? song_->events().size() : song_->FirstEventAt(tick + 1);
  const ControlState shown = song_->StateBefore(peek, state_);
  state_ = song_->StateBefore(next_, state_);
  for (int channel = 0; channel < kChannels; ++channel) {
    state_.channel[channel].value = shown.channel[channel].value;
  }
  state_.effect = shown.effect;
  state_.tempo = shown.tempo;
  UpdateNextFrame();
  if (synth_ != nullptr) synth_->Reset();
  for (int channel = 0; channel < kChannels; ++channel) {
    ForgetHeld(channel);
    SendChannel(channel);
  }
  SendConsole();
  Desk({.kind = DeskEvent::Kind::kSilence});
  fade_left_ = 0;
  for (std::size_t index = 0; index < syncs_.size(); ++index) {
    Sync* sync = syncs_.At(index);
    if (sync == nullptr || sync->type != bass::BASS_SYNC_POS) continue;
    UpdateSync(*sync);
    sync->passed = sync->frame < position_;
  }
  PublishAll();
  chase_pending_.store(false, std::memory_order_release);
}

void Renderer::PublishAll() {
  for (int channel = 0; channel < kChannels; ++channel) {
    for (int which = 0; which < kChannelValues; ++which) {
      Publish(channel, static_cast<ChannelValue>(which));
    }
  }
  for (int which = 0; which < kEffectParameters; ++which) {
    observer_.OnEffect(static_cast<EffectParameter>(which), state_.effect[which]);
  }
  observer_.OnTempo(state_.tempo);
}

void Renderer::Publish(int channel, ChannelValue which) {
  observer_.OnValue(channel, which, state_.channel[channel].Get(which));
}

// ---- Events of the program

void Renderer::Apply(int channel, bass::DWORD event, std::uint32_t param) {
  Chase();
  ChannelState& strip = state_.channel[channel];
  if (event == bass::MIDI_EVENT_NOTE) {
    const int key = static_cast<int>(param & 0x7F);
    const int velocity = static_cast<int>((param >> 8) & 0x7F);
    velocity > 0 ? Press(channel, key, velocity) : Release(channel, key);
  } else if (event == bass::MIDI_EVENT_TEMPO) {
    SetTempo(param);
  } else if (event >= bass::MIDI_EVENT_REVERB_TIME && event <= bass::MIDI_EVENT_CHORUS_REVERB) {
    const auto which = static_cast<EffectParameter>(event - bass::MIDI_EVENT_REVERB_TIME);
    state_.effect[static_cast<std::size_t>(which)] = param;
    Desk({DeskEvent::Kind::kEffect, static_cast<std::uint8_t>(which), param});
    observer_.OnEffect(which, param);
  } else if (const int index = ChannelValueOfEvent(event); index >= 0) {
    const auto which = static_cast<ChannelValue>(index);
    strip.value[index] = param;
    const auto sounding = static_cast<std::uint8_t>(Sounding(param, which));
    if (which == ChannelValue::kBank) strip.next_bank = sounding;
    if (which == ChannelValue::kProgram) {
      strip.preset_program = sounding;
      strip.preset_bank = strip.next_bank;
    }
    SendValue(channel, which);
    Publish(channel, which);
  } else {
    raised_count_ = in_event_ ? raised_count_ : 0;
    const std::size_t before = raised_count_;
    if (event == bass::MIDI_EVENT_RESET) {
      const MidiEvent reset{.tick = 0,
                            .value = 0,
                            .track = 0,
                            .status = static_cast<std::uint8_t>(0xB0 | channel),
                            .data1 = 121};
      Interpret(state_, reset, {}, *this);
    } else {
      Mode(channel, event);
    }
    raised_count_ = before;  // what the program sends raises no syncs
  }
}

bool Renderer::ChangeSynth(std::unique_ptr<SoundFontSynth>& synth,
                           std::shared_ptr<SoundFont> font) {
  if (fading_ != nullptr) return false;
  Chase();
  fading_ = std::move(synth_);
  retired_font_ = std::move(font_);
  synth_ = std::move(synth);
  voices_ = synth_.get();
  font_ = std::move(font);
  fade_left_ = fading_ != nullptr ? kCrossFade : 0;
  for (int channel = 0; channel < kChannels; ++channel) SendChannel(channel);
  StartHeldNotes();
  return true;
}

void Renderer::ChangeFont(std::shared_ptr<SoundFont> font) {
  Chase();
  font_ = font;
  ensemble_->ChangeFont(std::move(font));
  StartHeldNotes();
}

// Held notes of melodic channels begin again with another bank.
void Renderer::StartHeldNotes() {
  for (int channel = 0; channel < kChannels; ++channel) {
    if (state_.channel[channel].Get(ChannelValue::kDrums) != 0) continue;
    for (const HeldKey& key : held_[channel]) {
      for (int note = 0; note < key.count; ++note) {
        if (key.notes[note].key == kUnplayable) continue;
        StartNote(channel, key.notes[note].key, key.notes[note].velocity);
      }
    }
  }
}

}  // namespace vexolo::engine
