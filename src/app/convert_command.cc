#include "app/convert_command.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <exception>
#include <new>
#include <ostream>
#include <thread>

#include "app/song_converter.h"
#include "audio/audio_binding.h"
#include "audio/error_report.h"
#include "lyrics/midi_dump.h"
#include "platform/file_io.h"
#include "playlist/dropped_files.h"
#include "playlist/list_file.h"

namespace vexolo {

namespace {

constexpr const char* kProgram = "vexolo-convert";
constexpr int kNoSound = 0;  ///< output device
constexpr const char* kNoMemory = "memory has run out";

/// A song, or an input that stands for none and why.
struct Item {
  std::string path;
  std::string problem;
};

void AddList(const std::string& path, std::vector<Item>& items) {
  FileError error;
  const auto bytes = ReadWholeFile(path, &error, kMaxTextFileSize);
  if (!bytes) {
    items.push_back({path, error.description});
    return;
  }
  const std::vector<std::string> songs = SongsOfList(*bytes, path);
  if (songs.empty()) items.push_back({path, "the list names no song"});
  for (const std::string& song : songs) items.push_back({song, {}});
}

std::vector<Item> ItemsOf(const std::vector<std::string>& inputs) {
  std::vector<Item> items;
  for (const std::string& input : inputs) {
    if (IsListFile(input)) {
      AddList(input, items);
    } else {
      items.push_back({input, {}});
    }
  }
  return items;
}

double SystemClock() {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration<double>(now).count();
}

/// What the binding has to say goes where failures go.
class StandardErrorBoxes : public MessageBoxes {
 public:
  explicit StandardErrorBoxes(std::ostream& err) : err_(err) {}
  void Show(const std::string& text, const std::string&, BoxIcon) override {
    err_ << kProgram << ": " << text << std::endl;
  }
  bool AskYesNo(const std::string&, const std::string&) override { return false; }

 private:
  std::ostream& err_;
};

/// One call of the program.
class Command {
 public:
  Command(const ConvertOptions& options, const ConvertEnvironment& environment)
      : options_(options),
        environment_(environment),
        boxes_(environment.streams.err),
        ini_(environment.settings_file, boxes_),
        binding_(environment.api, audio_, ini_, boxes_),
        items_(ItemsOf(options.inputs)) {}

  int Dump() {
    bool all_done = true;
    for (const Item& item : items_) {
      const bool done = item.problem.empty() && DumpMidiFile(item.path, environment_.streams.out);
      if (!done)
        Complain(item.path + ": " + (item.problem.empty() ? "cannot be read" : item.problem));
      all_done = all_done && done;
    }
    return all_done ? kExitDone : kExitFailed;
  }

  int Convert() {
    if (!CheckAudioVersion(environment_.api, boxes_)) return kExitFailed;
    if (!binding_.Initialise(nullptr, kNoSound)) return kExitFailed;
    try {
      const int status = ConvertWithLibrary();
      binding_.Shutdown();
      return status;
    } catch (...) {
      binding_.Shutdown();
      throw;
    }
  }

 private:
  void Complain(const std::string& text) {
    environment_.streams.err << kProgram << ": " << text << std::endl;
  }

  /// Empty, after a complaint, where there is none.
  std::string FindBank() {
    std::string path;
    if (options_.sound_font) {
      path = *options_.sound_font;
    } else {
      const BankAtStart bank = FindBankAtStart(ini_, environment_.program_folder);
      if (!bank.user_chooses) path = bank.path;
    }
    if (path.empty()) {
      Complain("no SoundFont: give one with -s, or put Orvanel.SF2 into the program's folder");
    } else if (!FileExists(path)) {
      Complain(path + ": there is no such SoundFont");
      path.clear();
    }
    return path;
  }

  int ConvertWithLibrary() {
    const std::string bank = FindBank();
    if (bank.empty()) return kExitFailed;
    BankPool banks(environment_.api, [&] { return binding_.LoadBank(bank); });
    // There is no default bank: a stream that began with it would cross over to its own.
    if (banks.ForGain(options_.gain.value_or(0)) == 0) {
      Complain(bank + ": the SoundFont cannot be opened (" +
               AudioErrorName(environment_.api.BASS_ErrorGetCode()) + ")");
      return kExitFailed;
    }
    const ConvertDefaults defaults = LoadConvertDefaults(ini_);
    OutputClaims claims;
    const ConvertContext context = {environment_.api,
                                    options_,
                                    defaults,
                                    banks,
                                    claims,
                                    environment_.program_folder,
                                    environment_.settings_file,
                                    environment_.decimal_separator};
    return RunWorkers(context);
  }

  int RunWorkers(const ConvertContext& context) {
    const std::size_t workers =
        std::min(static_cast<std::size_t>(options_.jobs), std::max<std::size_t>(items_.size(), 1));
    ConvertReport report(environment_.streams, options_, items_.size(), workers,
                         environment_.clock ? environment_.clock : SystemClock);
    next_ = 0;
    std::vector<std::thread> others;
    others.reserve(workers);
    try {
      for (std::size_t worker = 1; worker < workers; ++worker) {
        others.emplace_back([&, worker] { Work(worker, context, report); });
      }
    } catch (const std::exception&) {
      // Where the system has no more threads, those that are there do the work.
    }
    Work(0, context, report);
    for (std::thread& other : others) other.join();
    if (failed_) throw std::bad_alloc();
    return report.Finish();
  }

  void Work(std::size_t worker, const ConvertContext& context, ConvertReport& report) {
    try {
      WorkThroughSongs(worker, context, report);
    } catch (const std::exception&) {
      failed_ = true;  // the songs that are left have no report
    }
  }

  void WorkThroughSongs(std::size_t worker, const ConvertContext& context, ConvertReport& report) {
    SongConverter converter(context);
    const RunProgress progress = [&](double share) {
      report.Progress(worker, share);
      return !IsInterrupted();
    };
    while (!IsInterrupted()) {
      const std::size_t index = next_.fetch_add(1);
      if (index >= items_.size()) return;
      report.Add(worker, ReportOf(items_[index], converter, progress));
    }
  }

  static SongReport ReportOf(const Item& item, SongConverter& converter,
                             const RunProgress& progress) {
    SongReport report;
    report.song = item.path;
    report.outcome = SongReport::Outcome::kFailed;
    report.reason = item.problem;
    try {
      if (item.problem.empty()) return converter.Convert(item.path, progress);
    } catch (const std::bad_alloc&) {
      report.reason = kNoMemory;
    }
    return report;
  }

  bool IsInterrupted() const {
    return environment_.is_interrupted && environment_.is_interrupted();
  }

  const ConvertOptions& options_;
  const ConvertEnvironment& environment_;
  StandardErrorBoxes boxes_;
  ModIni ini_;
  AudioState audio_;
  AudioBinding binding_;
  const std::vector<Item> items_;
  std::atomic<std::size_t> next_ = 0;
  std::atomic<bool> failed_ = false;  ///< a worker has ended for want of memory
};

}  // namespace

namespace {

int RunTask(const std::vector<std::string>& arguments, const ConvertEnvironment& environment) {
  const ConvertStreams& streams = environment.streams;
  std::string error;
  const std::optional<ConvertOptions> options = ParseConvertOptions(arguments, &error);
  if (!options) {
    streams.err << kProgram << ": " << error << "\nTry \"" << kProgram << " --help\"." << std::endl;
    return kExitUsage;
  }
  switch (options->task) {
    case ConvertOptions::Task::kHelp:
      streams.out << kConvertHelp << std::flush;
      return kExitDone;
    case ConvertOptions::Task::kVersion:
      streams.out << kProgram << " " << VEXOLO_VERSION_MAJOR << "." << VEXOLO_VERSION_MINOR << "."
                  << VEXOLO_VERSION_REVISION << std::endl;
      return kExitDone;
    case ConvertOptions::Task::kDump:
      return Command(*options, environment).Dump();
    case ConvertOptions::Task::kConvert:
      return Command(*options, environment).Convert();
  }
  return kExitFailed;
}

}  // namespace

int RunConvertCommand(const std::vector<std::string>& arguments,
                      const ConvertEnvironment& environment) {
  try {
    return RunTask(arguments, environment);
  } catch (const std::bad_alloc&) {
    environment.streams.err << kProgram << ": " << kNoMemory << std::endl;
  } catch (const std::exception& reason) {
    environment.streams.err << kProgram << ": " << reason.what() << std::endl;
  }
  return kExitFailed;
}

}  // namespace vexolo
