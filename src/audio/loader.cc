#include "audio/loader.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <memory>
#include <mutex>
#include <utility>

#include "engine/command_line.h"
#include "engine/exports.h"
#include "engine/song.h"
#include "platform/file_io.h"
#include "platform/paths.h"
#include "platform/process.h"
#include "platform/shared_library.h"

namespace vexolo {
namespace {

/// Which of the three libraries a function lives in.
enum Home : std::size_t { kBass, kMidi, kEncode };

#ifdef _WIN32
constexpr std::array<const char*, 3> kFiles = {"bass.dll", "bassmidi.dll", "bassenc.dll"};
#elif defined(__APPLE__)
constexpr std::array<const char*, 3> kFiles = {"libbass.dylib", "libbassmidi.dylib",
                                               "libbassenc.dylib"};
#else
constexpr std::array<const char*, 3> kFiles = {"libbass.so", "libbassmidi.so", "libbassenc.so"};
#endif

struct Function {
  const char* name;
  std::size_t offset;  ///< of its pointer in the table
};

#define VEXOLO_FUNCTION(name) \
  Function { #name, offsetof(bass::Api, name) }
constexpr std::array kFunctions = {
    VEXOLO_FUNCTION(BASS_GetVersion),
    VEXOLO_FUNCTION(BASS_ErrorGetCode),
    VEXOLO_FUNCTION(BASS_Init),
    VEXOLO_FUNCTION(BASS_Free),
    VEXOLO_FUNCTION(BASS_PluginFree),
    VEXOLO_FUNCTION(BASS_ChannelPlay),
    VEXOLO_FUNCTION(BASS_ChannelStop),
    VEXOLO_FUNCTION(BASS_ChannelIsActive),
    VEXOLO_FUNCTION(BASS_ChannelGetLength),
    VEXOLO_FUNCTION(BASS_ChannelGetPosition),
    VEXOLO_FUNCTION(BASS_ChannelSetPosition),
    VEXOLO_FUNCTION(BASS_ChannelSeconds2Bytes),
    VEXOLO_FUNCTION(BASS_ChannelBytes2Seconds),
    VEXOLO_FUNCTION(BASS_ChannelGetLevel),
    VEXOLO_FUNCTION(BASS_ChannelGetData),
    VEXOLO_FUNCTION(BASS_ChannelSetSync),
    VEXOLO_FUNCTION(BASS_ChannelSetDSP),
    VEXOLO_FUNCTION(BASS_ChannelGetTags),
    VEXOLO_FUNCTION(BASS_StreamFree),
    VEXOLO_FUNCTION(BASS_MIDI_StreamCreateFile),
    VEXOLO_FUNCTION(BASS_MIDI_StreamGetMark),
    VEXOLO_FUNCTION(BASS_MIDI_StreamGetEvents),
    VEXOLO_FUNCTION(BASS_MIDI_StreamEvent),
    VEXOLO_FUNCTION(BASS_MIDI_StreamGetEvent),
    VEXOLO_FUNCTION(BASS_MIDI_StreamSetFonts),
    VEXOLO_FUNCTION(BASS_MIDI_StreamGetFonts),
    VEXOLO_FUNCTION(BASS_MIDI_FontInit),
    VEXOLO_FUNCTION(BASS_MIDI_FontFree),
    VEXOLO_FUNCTION(BASS_MIDI_FontGetInfo),
    VEXOLO_FUNCTION(BASS_MIDI_FontGetPreset),
    VEXOLO_FUNCTION(BASS_MIDI_FontSetVolume),
    VEXOLO_FUNCTION(BASS_Encode_Start),
    VEXOLO_FUNCTION(BASS_Encode_IsActive),
    VEXOLO_FUNCTION(BASS_Encode_Stop),
};
#undef VEXOLO_FUNCTION
static_assert(kFunctions.size() * sizeof(void*) == sizeof(bass::Api),
              "every function of the table is looked up");

Home HomeOf(const char* function) {
  if (std::strncmp(function, "BASS_MIDI_", 10) == 0) return kMidi;
  if (std::strncmp(function, "BASS_Encode_", 12) == 0) return kEncode;
  return kBass;
}

class ClosedLibraries final : public AudioLibrary {
 public:
  /// Empty on success, else what is missing.
  std::string Open(const std::string& folder) {
    for (std::size_t index = 0; index < kFiles.size(); ++index) {
      libraries_[index] = SharedLibrary::Open(Join(folder, kFiles[index]));
      if (libraries_[index] == nullptr) {
        return std::string(kFiles[index]) + ": cannot be loaded";
      }
    }
    for (const Function& function : kFunctions) {
      const Home home = HomeOf(function.name);
      void* symbol = libraries_[home]->Symbol(function.name);
      if (symbol == nullptr) return std::string(kFiles[home]) + ": no " + function.name;
      std::memcpy(reinterpret_cast<char*>(&api_) + function.offset, &symbol, sizeof symbol);
    }
    return {};
  }

  const bass::Api& api() const override { return api_; }
  bool is_open_engine() const override { return false; }
  bool OutputIsSilent() const override { return false; }
  std::string OutputName() const override { return {}; }
  std::vector<std::string> Components() const override { return {}; }
  std::uint64_t LateBlocks() const override { return 0; }

 private:
  std::array<std::unique_ptr<SharedLibrary>, kFiles.size()> libraries_;
  bass::Api api_{};
};

/// Tags reach the encoders as UTF-8, and `lame` reads its arguments in the locale's encoding: so it
/// gets one in which they are right, whatever the user's is.
constexpr const char* kEncoderLocale = "LC_ALL=C.UTF-8";

/// A process of the platform, as the engine's encoders see it.
class EncoderProcess final : public engine::ChildProcess {
 public:
  explicit EncoderProcess(std::shared_ptr<Process> process) : process_(std::move(process)) {}
  bool Write(std::span<const std::uint8_t> bytes) override { return process_->Write(bytes); }
  bool Running() override { return process_->Running(); }
  void CloseInput() override { process_->CloseInput(); }
  int Wait() override { return process_->Wait(); }

 private:
  std::shared_ptr<Process> process_;
};

/// The encoders that were started and are not over. Any thread.
class RunningEncoders {
 public:
  std::unique_ptr<engine::ChildProcess> Start(const std::vector<std::string>& arguments) {
    std::shared_ptr<Process> process = Process::Start(arguments, {}, {kEncoderLocale});
    if (process == nullptr) return nullptr;
    const std::lock_guard lock(mutex_);
    std::erase_if(processes_, [](const auto& known) { return known.expired(); });
    processes_.push_back(process);
    return std::make_unique<EncoderProcess>(std::move(process));
  }

  void EndAll() {
    const std::lock_guard lock(mutex_);
    for (const std::weak_ptr<Process>& known : processes_) {
      if (const std::shared_ptr<Process> process = known.lock()) process->Kill();
    }
  }

 private:
  std::mutex mutex_;
  std::vector<std::weak_ptr<Process>> processes_;
};

class OpenEngineLibrary final : public AudioLibrary {
 public:
  OpenEngineLibrary() {
    engine::SetProcessStarter([encoders = encoders_](const std::vector<std::string>& arguments) {
      return encoders->Start(arguments);
    });
  }
  const bass::Api& api() const override { return engine::EngineApi(); }
  bool is_open_engine() const override { return true; }
  bool OutputIsSilent() const override { return engine::OutputIsSilent(); }
  std::string OutputName() const override { return engine::OutputName(); }
  std::vector<std::string> Components() const override { return engine::Components(); }
  std::uint64_t LateBlocks() const override { return engine::LateBlocks(); }
  void EndEncoders() override { encoders_->EndAll(); }

 private:
  /// Shared with what the engine starts them by, which outlives this.
  const std::shared_ptr<RunningEncoders> encoders_ = std::make_shared<RunningEncoders>();
};

void AddMarks(const engine::Song& song, const std::vector<std::uint32_t>& indexes, bool are_lyrics,
              std::vector<OutlineMark>* marks) {
  for (const std::uint32_t index : indexes) {
    const engine::MidiEvent& event = song.events()[index];
    // As a C string, as a stream's marks are read.
    marks->push_back({event.track, are_lyrics, song.file().Data(event).data()});
  }
}

bool AllStandIn(const std::string& folder) {
  return std::all_of(kFiles.begin(), kFiles.end(),
                     [&](const char* file) { return FileExists(Join(folder, file)); });
}

}  // namespace

std::unique_ptr<AudioLibrary> AudioLibrary::OpenEngine() {
  return std::make_unique<OpenEngineLibrary>();
}

std::unique_ptr<AudioLibrary> AudioLibrary::Load(const std::string& program_folder,
                                                 std::string* problem) {
  if (!AllStandIn(program_folder)) return OpenEngine();
  auto closed = std::make_unique<ClosedLibraries>();
  const std::string error = closed->Open(program_folder);
  if (error.empty()) return closed;
  if (problem != nullptr) *problem = error;
  return OpenEngine();
}

std::optional<SongOutline> ReadSongOutline(std::string_view bytes) {
  const auto song =
      engine::Song::Parse({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
  if (song == nullptr) return std::nullopt;
  SongOutline outline;
  const std::uint64_t frames = song->time_line().FrameOfTick(song->file().last_tick(), {});
  outline.seconds = static_cast<double>(frames) / engine::kSampleRate;
  AddMarks(*song, song->marks(engine::Song::MarkKind::kLyric), true, &outline.marks);
  AddMarks(*song, song->marks(engine::Song::MarkKind::kText), false, &outline.marks);
  return outline;
}

std::vector<std::string> SplitEncoderCommand(std::string_view command) {
  return engine::SplitCommandLine(command);
}

}  // namespace vexolo
