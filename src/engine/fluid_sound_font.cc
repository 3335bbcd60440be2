#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <fluidsynth.h>

#include "engine/preset_bank.h"
#include "engine/sound_font.h"
#include "engine/sound_font_check.h"
#include "engine/sound_font_synth.h"
#include "engine/time_line.h"

// FluidSynth's reader spreads its work over OpenMP's threads where it was built with OpenMP, and a
// system that has no more threads to give would end the program there. There is little to spread:
// presets are read by several threads anyway, and whole banks in one piece.
#if defined(__GNUC__) && !defined(_WIN32)
extern "C" __attribute__((weak)) void omp_set_num_threads(int threads);
#endif

namespace vexolo::engine {
namespace {

void ReadWithThisThreadAlone() {
#if defined(__GNUC__) && !defined(_WIN32)
  if (omp_set_num_threads != nullptr) omp_set_num_threads(1);
#endif
}

constexpr int kGrid = 64;
constexpr int kPrograms = 128;
constexpr int kDrumBank = 128;
constexpr int kBanks = kDrumBank + 1;
constexpr int kDrums = 9;

/// Voices at once: far above what a dense song needs, and few enough that a hostile one cannot
/// take the processor.
constexpr int kPolyphony = 512;
constexpr int kChannelPolyphony = 256;

/// A bank's full scale is one voice at full velocity and volume. Half of that leaves an
/// arrangement of many voices around 1.0.
constexpr double kGain = 0.5;

constexpr std::array kPedals = {64, 66};  // sustain, sostenuto
constexpr float kSilentCentibels = 1440.0f;
constexpr float kShortestTimecents = -12000.0f;

template <auto Delete>
struct Deleter {
  template <typename T>
  void operator()(T* object) const {
    Delete(object);
  }
};
using SettingsPointer = std::unique_ptr<fluid_settings_t, Deleter<delete_fluid_settings>>;
using SynthPointer = std::unique_ptr<fluid_synth_t, Deleter<delete_fluid_synth>>;

/// The file behind a bank. All that the synthesiser's reader follows (headers, tables) is kept in
/// memory as it was checked, so that a file changed in place later cannot mislead it; samples come
/// from the file, which stays open.
class BankFile : public ByteSource {
 public:
  explicit BankFile(const std::string& path) : file_(path) {}

  bool is_open() const { return file_.is_open(); }
  const SoundFontHeader& header() const { return header_; }

  bool Check() {
    constexpr std::uint64_t kListHead = 12;
    constexpr std::uint64_t kMaxHead = 1 << 20;
    if (!LooksLikeSoundFont(file_, &header_) || header_.samples.offset > kMaxHead) return false;
    const ChunkPlace& tables = header_.parameters;
    // The file may have changed between the look and the copy: what is kept is what counts.
    SoundFontHeader kept;
    return Keep(0, header_.samples.offset, &head_) &&
           Keep(tables.offset - kListHead, tables.size + kListHead, &tables_) &&
           LooksLikeSoundFont(*this, &kept) && kept.parameters.offset == tables.offset &&
           kept.parameters.size == tables.size && kept.samples.size == header_.samples.size;
  }

  /// Up to the end of the RIFF form: some banks have bytes after it.
  std::uint64_t size() const override { return header_.size; }

  bool Read(std::uint64_t offset, std::span<std::uint8_t> to) override {
    return head_.Read(offset, to) || tables_.Read(offset, to) || file_.Read(offset, to);
  }

 private:
  struct Part {
    std::uint64_t offset = 0;
    std::vector<std::uint8_t> bytes;

    bool Read(std::uint64_t at, std::span<std::uint8_t> to) const {
      return at >= offset && MemorySource(bytes).Read(at - offset, to);
    }
  };

  bool Keep(std::uint64_t offset, std::uint64_t size, Part* part) {
    part->offset = offset;
    part->bytes.resize(size);
    return file_.Read(offset, part->bytes);
  }

  FileSource file_;
  SoundFontHeader header_;
  Part head_;
  Part tables_;
};

/// FluidSynth opens banks by name; this name says which source is meant.
constexpr std::string_view kNamePrefix = "bank:";

std::string NameOf(const ByteSource& bank) {
  return std::string(kNamePrefix) + std::to_string(reinterpret_cast<std::uintptr_t>(&bank));
}

struct BankReader {
  ByteSource* bank;
  std::int64_t position = 0;
};

void* OpenBank(const char* name) {
  const std::string_view text(name);
  if (!text.starts_with(kNamePrefix)) return nullptr;
  std::uintptr_t address = 0;
  std::from_chars(name + kNamePrefix.size(), name + text.size(), address);
  // FluidSynth hands on nothing but a name, so that the name holds the address.
  auto* bank = reinterpret_cast<ByteSource*>(address);  // NOLINT(performance-no-int-to-ptr)
  return new (std::nothrow) BankReader{bank};
}

int ReadBank(void* to, fluid_long_long_t count, void* handle) {
  auto* reader = static_cast<BankReader*>(handle);
  if (count < 0 || reader->position < 0 ||
      !reader->bank->Read(static_cast<std::uint64_t>(reader->position),
                          {static_cast<std::uint8_t*>(to), static_cast<std::size_t>(count)})) {
    return FLUID_FAILED;
  }
  reader->position += count;
  return FLUID_OK;
}

int SeekBank(void* handle, fluid_long_long_t offset, int origin) {
  auto* reader = static_cast<BankReader*>(handle);
  const auto size = static_cast<std::int64_t>(reader->bank->size());
  const std::int64_t base = origin == SEEK_SET ? 0 : origin == SEEK_CUR ? reader->position : size;
  if (offset < -base || offset > size - base) return FLUID_FAILED;
  reader->position = base + offset;
  return FLUID_OK;
}

fluid_long_long_t TellBank(void* handle) { return static_cast<BankReader*>(handle)->position; }

int CloseBank(void* handle) {
  delete static_cast<BankReader*>(handle);
  return FLUID_OK;
}

/// When FluidSynth reads samples: all with the bank, or those of a preset when it is chosen.
enum class Reading { kWholeBank, kChosenPresets };

SettingsPointer MakeSettings(int polyphony, int channels, Reading reading) {
  SettingsPointer settings(new_fluid_settings());
  if (!settings) return settings;
  const std::pair<const char*, int> kNumbers[] = {
      {"synth.polyphony", polyphony},
      {"synth.audio-channels", channels},
      {"synth.audio-groups", channels},
      {"synth.midi-channels", kChannels},
      {"synth.reverb.active", 0},
      {"synth.chorus.active", 0},
      {"synth.cpu-cores", 1},
      {"synth.threadsafe-api", 0},
      {"synth.lock-memory", 0},
      {"synth.dynamic-sample-loading", reading == Reading::kChosenPresets},
  };
  for (const auto& [name, value] : kNumbers) fluid_settings_setint(settings.get(), name, value);
  fluid_settings_setnum(settings.get(), "synth.sample-rate", kSampleRate);
  fluid_settings_setnum(settings.get(), "synth.gain", kGain);
  return settings;
}

/// The wheel's range comes through a modulator that divides it by 128, while its default amount is
/// 12,700 cents: a range of 12 semitones would end 9 cents short. A second modulator adds the rest.
void TuneTheWheel(fluid_synth_t* synth) {
  constexpr double kMissingCents = 100.0;
  fluid_mod_t* modulator = new_fluid_mod();
  if (modulator == nullptr) return;
  fluid_mod_set_source1(modulator, FLUID_MOD_PITCHWHEEL,
                        FLUID_MOD_GC | FLUID_MOD_LINEAR | FLUID_MOD_BIPOLAR | FLUID_MOD_POSITIVE);
  fluid_mod_set_source2(modulator, FLUID_MOD_PITCHWHEELSENS,
                        FLUID_MOD_GC | FLUID_MOD_LINEAR | FLUID_MOD_UNIPOLAR | FLUID_MOD_POSITIVE);
  fluid_mod_set_dest(modulator, GEN_PITCH);
  fluid_mod_set_amount(modulator, kMissingCents);
  fluid_synth_add_default_mod(synth, modulator, FLUID_SYNTH_ADD);
  delete_fluid_mod(modulator);
}

/// FluidSynth's tables are made at its first use, without a guard against a second thread.
void InitialiseOnce() {
  static const bool done = [] {
    for (int level = FLUID_PANIC; level < LAST_LOG_LEVEL; ++level) {
      fluid_set_log_function(level, nullptr, nullptr);
    }
    const SettingsPointer settings = MakeSettings(1, 1, Reading::kWholeBank);
    if (settings) SynthPointer(new_fluid_synth(settings.get()));
    return true;
  }();
  static_cast<void>(done);
}

/// A FluidSynth that reads banks from sources. Each has parameters of its own, for FluidSynth
/// counts the voices that use a sample without a guard against other threads; the sample data
/// itself is shared.
struct LoadedSynth {
  SettingsPointer settings;
  SynthPointer synth;
  int bank_id = FLUID_FAILED;

  static std::optional<LoadedSynth> Make(int polyphony, int channels, Reading reading) {
    LoadedSynth made;
    made.settings = MakeSettings(polyphony, channels, reading);
    if (!made.settings) return std::nullopt;
    made.synth.reset(new_fluid_synth(made.settings.get()));
    fluid_sfloader_t* loader = new_fluid_defsfloader(made.settings.get());
    if (!made.synth || loader == nullptr) {
      if (loader != nullptr) delete_fluid_sfloader(loader);
      return std::nullopt;
    }
    fluid_sfloader_set_callbacks(loader, OpenBank, ReadBank, SeekBank, TellBank, CloseBank);
    fluid_synth_add_sfloader(made.synth.get(), loader);
    TuneTheWheel(made.synth.get());
    return made;
  }

  static std::optional<LoadedSynth> Make(const ByteSource& bank, int polyphony, int channels,
                                         Reading reading) {
    std::optional<LoadedSynth> made = Make(polyphony, channels, reading);
    if (made) made->bank_id = made->Load(bank);
    if (made && made->bank_id == FLUID_FAILED) made.reset();
    return made;
  }

  int Load(const ByteSource& bank) const {
    ReadWithThisThreadAlone();
    return fluid_synth_sfload(synth.get(), NameOf(bank).c_str(), 0);
  }
};

class FluidSoundFont;

/// A preset's place in a bank.
struct Place {
  int bank;
  int program;
  // clang-tidy takes the 0 within a defaulted comparison for a pointer.
  auto operator<=>(const Place&) const = default;  // NOLINT(modernize-use-nullptr)
};

/// The events of a SoundFontSynth or a ChannelSynth, handed to FluidSynth.
template <typename Interface>
class FluidEvents : public Interface {
 public:
  FluidEvents(LoadedSynth loaded, std::shared_ptr<FluidSoundFont> font)
      : font_(std::move(font)), loaded_(std::move(loaded)), synth_(loaded_.synth.get()) {}

  void NoteOn(int channel, int key, int velocity) override {
    if (presets_[channel]) fluid_synth_noteon(synth_, channel, key, velocity);
  }
  void NoteOff(int channel, int key) override { fluid_synth_noteoff(synth_, channel, key); }
  void KeyPressure(int channel, int key, int value) override {
    fluid_synth_key_pressure(synth_, channel, key, value);
  }
  void ChannelPressure(int channel, int value) override {
    fluid_synth_channel_pressure(synth_, channel, value);
  }
  void Controller(int channel, int controller, int value) override {
    fluid_synth_cc(synth_, channel, controller, value);
  }
  void PitchWheel(int channel, int value) override {
    fluid_synth_pitch_bend(synth_, channel, value);
  }
  void Preset(int channel, int bank, int program, bool drums) override;
  void AllNotesOff(int channel) override { fluid_synth_all_notes_off(synth_, channel); }
  void AllSoundOff(int channel) override;
  int ActiveVoices() const override { return fluid_synth_get_active_voice_count(synth_); }

 protected:
  void Choose(int channel, std::optional<Place> place) {
    presets_[channel] = place;
    Select(channel);
  }
  void Select(int channel);
  std::optional<Place> Find(int bank, int program, bool drums) const;
  void Discard(int frames);
  void Silence();

  /// Number of the loaded bank in which a preset stands.
  virtual int BankWith(const Place& /*place*/) { return loaded_.bank_id; }

  std::shared_ptr<FluidSoundFont> font_;  // outlives the synthesiser that reads its file
  LoadedSynth loaded_;
  fluid_synth_t* synth_;
  std::array<std::optional<Place>, kChannels> presets_;
  int phase_ = 0;  // frames already taken from the grid's present step

 private:
  std::array<fluid_voice_t*, kPolyphony> voices_;
};

class FluidSynthesiser final : public FluidEvents<SoundFontSynth> {
 public:
  FluidSynthesiser(LoadedSynth loaded, std::shared_ptr<FluidSoundFont> font);

  void Reset() override;
  void Render(DryBlock& block, int frames) override;
  bool Audible(int channel) const override { return audible_[channel]; }

 private:
  std::array<bool, kChannels> audible_{};
};

class FluidChannel final : public FluidEvents<ChannelSynth> {
 public:
  FluidChannel(LoadedSynth loaded, std::shared_ptr<FluidSoundFont> font, int channel);

  void Reset() override;
  bool Render(float* left, float* right, int frames) override;

 private:
  int BankWith(const Place& place) override;
  void Process(float* left, float* right, int frames);

  const int channel_;
  std::map<Place, int> banks_;  ///< presets that have been read
  bool resting_ = true;         ///< FluidSynth stands still at the beginning of a step
};

class FluidSoundFont : public SoundFont, public std::enable_shared_from_this<FluidSoundFont> {
 public:
  /// The catalogue is a synthesiser that has the bank and never plays.
  FluidSoundFont(std::unique_ptr<BankFile> bank, const LoadedSynth& catalogue)
      : bank_(std::move(bank)), names_(kBanks * kPrograms) {
    info_.name = bank_->header().name;
    info_.copyright = bank_->header().copyright;
    info_.comment = bank_->header().comment;
    info_.sample_bytes = bank_->header().samples.size;
    fluid_sfont_t* font = fluid_synth_get_sfont_by_id(catalogue.synth.get(), catalogue.bank_id);
    fluid_sfont_iteration_start(font);
    while (fluid_preset_t* preset = fluid_sfont_iteration_next(font)) {
      ++info_.presets;
      const int number = fluid_preset_get_num(preset);
      const int bank_number = fluid_preset_get_banknum(preset);
      if (!InRange(number, bank_number)) continue;
      auto& name = names_[Index(number, bank_number)];
      if (!name) name = fluid_preset_get_name(preset);
    }
  }

  /// Holds the samples in FluidSynth's cache from now on.
  void Keep(LoadedSynth whole) { whole_ = std::move(whole); }

  const SoundFontInfo& info() const override { return info_; }

  const char* PresetName(int preset, int bank) const override {
    return Has(preset, bank) ? names_[Index(preset, bank)]->c_str() : nullptr;
  }

  bool Has(int preset, int bank) const {
    return InRange(preset, bank) && names_[Index(preset, bank)].has_value();
  }

  std::unique_ptr<SoundFontSynth> CreateSynth() override {
    std::optional<LoadedSynth> loaded = TakeSpare();
    if (!loaded) loaded = Make();
    if (!loaded) return nullptr;
    return std::make_unique<FluidSynthesiser>(std::move(*loaded), shared_from_this());
  }

  std::unique_ptr<ChannelSynth> CreateChannelSynth(int channel) override {
    std::optional<LoadedSynth> loaded =
        LoadedSynth::Make(kChannelPolyphony, 1, Reading::kWholeBank);
    if (!loaded) return nullptr;
    return std::make_unique<FluidChannel>(std::move(*loaded), shared_from_this(), channel);
  }

  void Prepare() override {
    {
      const std::lock_guard lock(mutex_);
      if (spare_ || preparing_) return;
      preparing_ = true;
    }
    std::optional<LoadedSynth> made = Make();
    const std::lock_guard lock(mutex_);
    spare_ = std::move(made);
    preparing_ = false;
  }

  /// The preset as a bank of its own, the same one for every caller, so that its samples are
  /// shared. Null where it cannot be read.
  const ByteSource* PresetAlone(const Place& place) {
    const std::lock_guard lock(preset_mutex_);
    auto& preset = preset_banks_[place];
    if (preset == nullptr) {
      preset = PresetBank::Make(*bank_, bank_->header(), place.bank, place.program);
    }
    return preset.get();
  }

 private:
  static bool InRange(int preset, int bank) {
    return preset >= 0 && preset < kPrograms && bank >= 0 && bank < kBanks;
  }
  static std::size_t Index(int preset, int bank) {
    return static_cast<std::size_t>(bank) * kPrograms + static_cast<std::size_t>(preset);
  }

  std::optional<LoadedSynth> Make() {
    {
      const std::lock_guard lock(whole_mutex_);
      if (!whole_) whole_ = LoadedSynth::Make(*bank_, 1, 1, Reading::kWholeBank);
    }
    return LoadedSynth::Make(*bank_, kPolyphony, kChannels, Reading::kWholeBank);
  }

  std::optional<LoadedSynth> TakeSpare() {
    const std::lock_guard lock(mutex_);
    return std::exchange(spare_, std::nullopt);
  }

  std::unique_ptr<BankFile> bank_;
  std::mutex preset_mutex_;
  std::map<Place, std::unique_ptr<PresetBank>> preset_banks_;
  std::mutex whole_mutex_;
  std::optional<LoadedSynth> whole_;  // never plays: keeps the samples in FluidSynth's cache
  SoundFontInfo info_;
  std::vector<std::optional<std::string>> names_;
  std::mutex mutex_;
  std::optional<LoadedSynth> spare_;
  bool preparing_ = false;
};

// ---- Events

template <typename Interface>
std::optional<Place> FluidEvents<Interface>::Find(int bank, int program, bool drums) const {
  const Place choices[] = {{drums ? kDrumBank : bank, program},
                           drums ? Place{kDrumBank, 0} : Place{0, program}};
  for (const Place& place : choices) {
    if (font_->Has(place.program, place.bank)) return place;
  }
  return std::nullopt;
}

template <typename Interface>
void FluidEvents<Interface>::Preset(int channel, int bank, int program, bool drums) {
  const std::optional<Place> found = Find(bank, program, drums);
  if (found != presets_[channel]) Choose(channel, found);
}

template <typename Interface>
void FluidEvents<Interface>::Select(int channel) {
  const std::optional<Place>& place = presets_[channel];
  const int bank = place ? BankWith(*place) : FLUID_FAILED;
  if (bank != FLUID_FAILED) {
    fluid_synth_program_select(synth_, channel, bank, place->bank, place->program);
  } else {
    fluid_synth_unset_program(synth_, channel);
  }
}

// FluidSynth's own operation cuts the voices between two samples, which clicks. A voice whose
// attenuation changes gets there in one step of the grid instead; its release then ends it.
template <typename Interface>
void FluidEvents<Interface>::AllSoundOff(int channel) {
  fluid_synth_get_voicelist(synth_, voices_.data(), kPolyphony, -1);
  for (fluid_voice_t* voice : voices_) {
    if (voice == nullptr) break;
    if (fluid_voice_get_channel(voice) != channel) continue;
    fluid_voice_gen_set(voice, GEN_ATTENUATION, kSilentCentibels);
    fluid_voice_update_param(voice, GEN_ATTENUATION);
    fluid_voice_gen_set(voice, GEN_VOLENVRELEASE, kShortestTimecents);
    fluid_voice_update_param(voice, GEN_VOLENVRELEASE);
  }
  // Pedals hold voices against the release; they are lifted together and put back.
  std::array<int, kPedals.size()> held{};
  for (std::size_t i = 0; i < kPedals.size(); ++i) {
    fluid_synth_get_cc(synth_, channel, kPedals[i], &held[i]);
    if (held[i] != 0) fluid_synth_cc(synth_, channel, kPedals[i], 0);
  }
  fluid_synth_all_notes_off(synth_, channel);
  for (std::size_t i = 0; i < kPedals.size(); ++i) {
    if (held[i] != 0) fluid_synth_cc(synth_, channel, kPedals[i], held[i]);
  }
}

template <typename Interface>
void FluidEvents<Interface>::Discard(int frames) {
  std::array<float, kGrid> nowhere;
  float* out[] = {nowhere.data(), nowhere.data()};
  fluid_synth_process(synth_, frames, 0, nullptr, 2, out);
}

// A system reset alone would leave the voices playing, so they are ended first. They leave the
// mixer in the next step of the grid, which is thrown away together with the rest of the present
// one.
template <typename Interface>
void FluidEvents<Interface>::Silence() {
  constexpr int kAllChannels = -1;
  fluid_synth_all_sounds_off(synth_, kAllChannels);
  if (phase_ != 0) Discard(kGrid - phase_);
  Discard(kGrid);
  phase_ = 0;
  fluid_synth_system_reset(synth_);
}

// ---- All channels

FluidSynthesiser::FluidSynthesiser(LoadedSynth loaded, std::shared_ptr<FluidSoundFont> font)
    : FluidEvents(std::move(loaded), std::move(font)) {
  for (int channel = 0; channel < kChannels; ++channel) {
    Choose(channel, Find(0, 0, channel == kDrums));
  }
}

void FluidSynthesiser::Reset() {
  Silence();
  for (int channel = 0; channel < kChannels; ++channel) Select(channel);
  audible_.fill(false);
}

void FluidSynthesiser::Render(DryBlock& block, int frames) {
  std::array<float*, 2 * kChannels> out;
  for (int channel = 0; channel < kChannels; ++channel) {
    out[2 * channel] = block.left[channel].data();
    out[2 * channel + 1] = block.right[channel].data();
  }
  for (float* samples : out) std::fill_n(samples, frames, 0.0f);
  fluid_synth_process(synth_, frames, 0, nullptr, static_cast<int>(out.size()), out.data());
  phase_ = (phase_ + frames) % kGrid;
  for (int channel = 0; channel < kChannels; ++channel) {
    const float* left = out[2 * channel];
    const float* right = out[2 * channel + 1];
    std::uint32_t bits = 0;
    for (int i = 0; i < frames; ++i) {
      bits |= std::bit_cast<std::uint32_t>(left[i]) | std::bit_cast<std::uint32_t>(right[i]);
    }
    audible_[channel] = bits << 1 != 0;  // -0.0 is silent too
  }
}

// ---- One channel

FluidChannel::FluidChannel(LoadedSynth loaded, std::shared_ptr<FluidSoundFont> font, int channel)
    : FluidEvents(std::move(loaded), std::move(font)), channel_(channel) {}

int FluidChannel::BankWith(const Place& place) {
  const auto known = banks_.find(place);
  if (known != banks_.end()) return known->second;
  const ByteSource* preset = font_->PresetAlone(place);
  const int bank = preset != nullptr ? loaded_.Load(*preset) : FLUID_FAILED;
  if (bank == FLUID_FAILED) throw UnreadableBank();
  banks_.emplace(place, bank);
  return bank;
}

void FluidChannel::Reset() {
  if (resting_) phase_ = 0;
  Silence();
  resting_ = true;
  Select(channel_);
}

// While nothing sounds, FluidSynth stands still at the beginning of a step of the grid and only the
// place in that step moves on. A voice that is waiting begins with the next step.
bool FluidChannel::Render(float* left, float* right, int frames) {
  int done = 0;
  if (resting_) {
    const bool waiting = ActiveVoices() > 0;
    done = waiting ? std::min((kGrid - phase_) % kGrid, frames) : frames;
    std::fill_n(left, done, 0.0f);
    std::fill_n(right, done, 0.0f);
    phase_ = (phase_ + done) % kGrid;
    resting_ = !waiting || phase_ != 0;
  }
  if (done == frames) return false;
  Process(left + done, right + done, frames - done);
  return true;
}

void FluidChannel::Process(float* left, float* right, int frames) {
  float* out[] = {left, right};
  std::fill_n(left, frames, 0.0f);
  std::fill_n(right, frames, 0.0f);
  fluid_synth_process(synth_, frames, 0, nullptr, 2, out);
  phase_ = (phase_ + frames) % kGrid;
  resting_ = phase_ == 0 && ActiveVoices() == 0;
}

}  // namespace

std::shared_ptr<SoundFont> SoundFont::Load(const std::string& path, Error* error, Samples samples) {
  InitialiseOnce();
  auto bank = std::make_unique<BankFile>(path);
  *error = Error::kOpen;
  if (!bank->is_open()) return nullptr;
  *error = Error::kFormat;
  if (!bank->Check()) return nullptr;
  const bool at_once = samples == Samples::kAtOnce;
  std::optional<LoadedSynth> catalogue =
      LoadedSynth::Make(*bank, 1, 1, at_once ? Reading::kWholeBank : Reading::kChosenPresets);
  if (!catalogue) return nullptr;
  *error = Error::kNone;
  auto font = std::make_shared<FluidSoundFont>(std::move(bank), *catalogue);
  if (at_once) font->Keep(std::move(*catalogue));
  return font;
}

std::string SynthesiserVersion() { return std::string("FluidSynth ") + fluid_version_str(); }

}  // namespace vexolo::engine
