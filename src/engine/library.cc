#include "engine/library.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <new>
#include <utility>

#include "engine/command_line.h"

namespace vexolo::engine {
namespace {

/// How often the dispatching thread looks for syncs that have become audible.
constexpr std::chrono::milliseconds kDispatchEvery{4};
/// How long the output goes on after the last stream has ended.
constexpr int kIdleRounds = 250;
/// A song is kept in memory whole; a file beyond this is none.
constexpr std::uint64_t kLargestSong = 256ull << 20;

std::filesystem::path Utf8Path(const std::string& path) {
  return std::filesystem::path(std::u8string(path.begin(), path.end()));
}

int ReadSong(const std::string& path, std::uint64_t offset, std::uint64_t length,
             std::vector<std::uint8_t>* bytes) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(Utf8Path(path), error)) return bass::BASS_ERROR_FILEOPEN;
  std::ifstream file(Utf8Path(path), std::ios::binary | std::ios::ate);
  if (!file) return bass::BASS_ERROR_FILEOPEN;
  const auto size = static_cast<std::uint64_t>(file.tellg());
  if (offset > size) return bass::BASS_ERROR_FILEFORM;
  const std::uint64_t wanted = length == 0 ? size - offset : std::min(length, size - offset);
  if (wanted > kLargestSong) return bass::BASS_ERROR_FILEFORM;
  bytes->resize(wanted);
  file.seekg(static_cast<std::streamoff>(offset));
  file.read(reinterpret_cast<char*>(bytes->data()), static_cast<std::streamsize>(wanted));
  return file ? bass::BASS_OK : bass::BASS_ERROR_FILEOPEN;
}

}  // namespace

Library::~Library() { Free(); }

// ---- Start and end

int Library::Init(int device, bass::DWORD frequency) {
  if (device < -1 || device > 1) return bass::BASS_ERROR_DEVICE;
  if (frequency != kSampleRate) return bass::BASS_ERROR_FREQ;
  if (Stream::InCallback() != nullptr) return bass::BASS_ERROR_ALREADY;
  const std::lock_guard starting(life_mutex_);
  const std::lock_guard lock(mutex_);
  if (initialised_) return bass::BASS_ERROR_ALREADY;
  const std::lock_guard device_lock(device_mutex_);
  plays_.store(device != 0);
  device_ = OutputDevice::Create(device != 0, &Library::Render, this);
  taken_.store(0);
  device_view_.store(device_.get());
  device_running_ = false;
  leaving_.store(false);
  dispatcher_ = std::thread(&Library::DispatchLoop, this);
  background_ = std::make_unique<Background>();
  initialised_ = true;
  return bass::BASS_OK;
}

int Library::Free() {
  if (Stream::InCallback() != nullptr) return bass::BASS_ERROR_NOTAVAIL;
  const std::lock_guard ending(life_mutex_);
  std::vector<bass::HSTREAM> streams;
  {
    const std::lock_guard lock(mutex_);
    if (!initialised_) return bass::BASS_ERROR_INIT;
    initialised_ = false;  // nothing new from here on
    for (const auto& [handle, stream] : streams_) streams.push_back(handle);
  }
  for (const bass::HSTREAM handle : streams) FreeStream(handle);
  leaving_.store(true);
  dispatcher_.join();
  std::unique_ptr<Background> background;
  {
    const std::lock_guard lock(mutex_);
    background = std::move(background_);
  }
  background.reset();  // waits, which its work must be able to outlast
  const std::lock_guard lock(mutex_);
  const std::lock_guard device_lock(device_mutex_);
  device_view_.store(nullptr);
  device_.reset();
  fonts_.clear();
  encoders_.clear();
  default_font_ = 0;
  return bass::BASS_OK;
}

bool Library::initialised() const {
  const std::lock_guard lock(mutex_);
  return initialised_;
}

bool Library::OutputIsSilent() const {
  const std::lock_guard lock(device_mutex_);
  return device_ != nullptr && device_->IsSilent();
}

std::string Library::OutputName() const {
  const std::lock_guard lock(device_mutex_);
  return device_ != nullptr ? device_->DeviceName() : std::string();
}

std::uint64_t Library::LateBlocks() const {
  const std::lock_guard lock(device_mutex_);
  return device_ != nullptr ? device_->LateBlocks() : 0;
}

void Library::SetProcessStarter(ProcessStarter starter) {
  const std::lock_guard lock(mutex_);
  starter_ = std::move(starter);
}

void Library::SetRenderThreads(int threads) { render_threads_.store(std::max(threads, 0)); }

bass::DWORD Library::NewHandle() { return last_handle_.fetch_add(1) + 1; }

void Library::Beside(std::function<void()> work) {
  {
    const std::lock_guard lock(mutex_);
    if (background_ != nullptr) return background_->Run(std::move(work));
  }
  work();
}

// ---- Streams

std::shared_ptr<Stream> Library::FindStream(bass::DWORD handle) const {
  Stream* own = Stream::InCallback();
  if (own != nullptr && own->handle() == handle) {
    return {std::shared_ptr<Stream>(), own};  // lives at least as long as the callback
  }
  const std::lock_guard lock(mutex_);
  const auto place = streams_.find(handle);
  return place == streams_.end() ? nullptr : place->second;
}

int Library::CreateStream(const std::string& path, std::uint64_t offset, std::uint64_t length,
                          bass::DWORD flags, bass::HSTREAM* handle) {
  if (!initialised()) return bass::BASS_ERROR_INIT;
  std::vector<std::uint8_t> bytes;
  if (const int error = ReadSong(path, offset, length, &bytes); error != 0) return error;
  return AddStream(Song::Parse(bytes), flags, handle);
}

int Library::CreateStreamFromMemory(const std::uint8_t* data, std::uint64_t length,
                                    bass::DWORD flags, bass::HSTREAM* handle) {
  if (!initialised()) return bass::BASS_ERROR_INIT;
  if (data == nullptr || length == 0) return bass::BASS_ERROR_ILLPARAM;
  if (length > kLargestSong) return bass::BASS_ERROR_FILEFORM;
  return AddStream(Song::Parse({data, static_cast<std::size_t>(length)}), flags, handle);
}

int Library::AddStream(std::shared_ptr<const Song> song, bass::DWORD flags, bass::HSTREAM* handle) {
  if (song == nullptr) return bass::BASS_ERROR_FILEFORM;
  const bool decoding = (flags & bass::BASS_STREAM_DECODE) != 0;
  if (!decoding) plays_.store(true);
  *handle = NewHandle();
  auto stream =
      std::make_shared<Stream>(*handle, std::move(song), (flags & bass::BASS_STREAM_DECODE) != 0,
                               (flags & bass::BASS_MIDI_DECAYEND) != 0, render_threads_.load(),
                               static_cast<StreamOutput&>(*this));
  bass::HSOUNDFONT font_handle = 0;
  std::shared_ptr<SoundFont> font;
  {
    const std::lock_guard lock(mutex_);
    font_handle = default_font_;
    if (const auto place = fonts_.find(font_handle); place != fonts_.end()) font = place->second;
  }
  if (font != nullptr) {
    if (const int error = stream->SetFont(font, font_handle); error != 0) return error;
    // The next song that plays finds a synthesiser ready.
    if (!decoding) Beside([font] { font->Prepare(); });
  }
  const std::lock_guard lock(mutex_);
  if (!initialised_) return bass::BASS_ERROR_INIT;
  streams_.emplace(*handle, std::move(stream));
  return bass::BASS_OK;
}

int Library::FreeStream(bass::HSTREAM handle) {
  const Stream* own = Stream::InCallback();
  if (own != nullptr && own->handle() == handle) return bass::BASS_ERROR_NOTAVAIL;
  std::shared_ptr<Stream> stream;
  {
    const std::lock_guard lock(mutex_);
    const auto place = streams_.find(handle);
    if (place == streams_.end()) return bass::BASS_ERROR_HANDLE;
    if (!place->second->CanRest()) return bass::BASS_ERROR_NOTAVAIL;
    stream = std::move(place->second);
    streams_.erase(place);
  }
  stream->Close();
  std::vector<std::shared_ptr<Encoder>> ending;  // finished, or waited for, outside the lock
  {
    const std::lock_guard lock(mutex_);
    std::erase_if(encoders_, [&](auto& entry) {
      if (entry.second.stream != handle) return false;
      ending.push_back(std::move(entry.second.encoder));
      return true;
    });
  }
  // Its synthesiser takes a while to go. With encoders the caller is to find finished files.
  if (ending.empty()) Beside([stream = std::move(stream)]() mutable { stream.reset(); });
  return bass::BASS_OK;
}

// ---- Banks

int Library::LoadFont(const std::string& path, bass::HSOUNDFONT* handle) {
  if (!initialised()) return bass::BASS_ERROR_INIT;
  SoundFont::Error error = SoundFont::Error::kNone;
  // Where nothing plays, songs are rendered to files, and these read what they need of a bank.
  const bool plays = plays_.load();
  std::shared_ptr<SoundFont> font = SoundFont::Load(
      path, &error, plays ? SoundFont::Samples::kAtOnce : SoundFont::Samples::kWhenPlayed);
  if (font == nullptr) {
    return error == SoundFont::Error::kOpen ? bass::BASS_ERROR_FILEOPEN : bass::BASS_ERROR_FILEFORM;
  }
  if (plays) font->Prepare();
  *handle = NewHandle();
  const std::lock_guard lock(mutex_);
  if (!initialised_) return bass::BASS_ERROR_INIT;
  fonts_.emplace(*handle, std::move(font));
  return bass::BASS_OK;
}

int Library::FreeFont(bass::HSOUNDFONT handle) {
  std::shared_ptr<SoundFont> font;
  {
    const std::lock_guard lock(mutex_);
    const auto place = fonts_.find(handle);
    if (place == fonts_.end()) return bass::BASS_ERROR_HANDLE;
    font = std::move(place->second);
    fonts_.erase(place);
    if (default_font_ == handle) default_font_ = 0;
  }
  Beside([font = std::move(font)]() mutable { font.reset(); });
  return bass::BASS_OK;
}

std::shared_ptr<SoundFont> Library::FindFont(bass::HSOUNDFONT handle) const {
  const std::lock_guard lock(mutex_);
  const auto place = fonts_.find(handle);
  return place == fonts_.end() ? nullptr : place->second;
}

int Library::SetFont(bass::HSTREAM stream, bass::HSOUNDFONT font) {
  std::shared_ptr<SoundFont> bank;
  if (font != 0) {
    bank = FindFont(font);
    if (bank == nullptr) return bass::BASS_ERROR_HANDLE;
  }
  if (stream == 0) {
    const std::lock_guard lock(mutex_);
    default_font_ = font;
    return bass::BASS_OK;
  }
  const std::shared_ptr<Stream> target = FindStream(stream);
  if (target == nullptr) return bass::BASS_ERROR_HANDLE;
  const int error = target->SetFont(bank, font);
  if (error == bass::BASS_OK && bank != nullptr && !target->decoding()) {
    Beside([bank] { bank->Prepare(); });
  }
  return error;
}

int Library::GetFont(bass::HSTREAM stream, bass::HSOUNDFONT* font) const {
  if (stream == 0) {
    const std::lock_guard lock(mutex_);
    *font = default_font_;
    return bass::BASS_OK;
  }
  const std::shared_ptr<Stream> source = FindStream(stream);
  if (source == nullptr) return bass::BASS_ERROR_HANDLE;
  *font = source->font();
  return bass::BASS_OK;
}

// ---- Encoders

int Library::StartEncoder(bass::DWORD stream, const std::string& command, bass::DWORD flags,
                          bass::HENCODE* handle) {
  const std::shared_ptr<Stream> source = FindStream(stream);
  if (source == nullptr) return bass::BASS_ERROR_HANDLE;
  std::shared_ptr<Encoder> encoder;
  if ((flags & bass::BASS_ENCODE_PCM) != 0) {
    encoder = CreateWavEncoder(command);
  } else {
    ProcessStarter starter;
    {
      const std::lock_guard lock(mutex_);
      starter = starter_;
    }
    if (!starter) return bass::BASS_ERROR_NOTAVAIL;
    const std::vector<std::string> arguments = SplitCommandLine(command);
    if (arguments.empty() || arguments.front().empty()) return bass::BASS_ERROR_ILLPARAM;
    encoder = CreateProcessEncoder(arguments, starter);
  }
  if (encoder == nullptr) {
    return (flags & bass::BASS_ENCODE_PCM) != 0 ? bass::BASS_ERROR_CREATE
                                                : bass::BASS_ERROR_FILEOPEN;
  }
  *handle = NewHandle();
  const bool auto_free = (flags & bass::BASS_ENCODE_AUTOFREE) != 0;
  if (const int error = source->AddEncoder(*handle, encoder, auto_free); error != 0) return error;
  const std::lock_guard lock(mutex_);
  encoders_.emplace(*handle, EncoderEntry{stream, std::move(encoder)});
  return bass::BASS_OK;
}

int Library::EncoderIsActive(bass::DWORD handle, bool* active) const {
  std::vector<std::shared_ptr<Encoder>> asked;
  bool known = false;
  {
    const std::lock_guard lock(mutex_);
    known = encoders_.contains(handle) || streams_.contains(handle);
    for (const auto& [number, entry] : encoders_) {
      if (number == handle || entry.stream == handle) asked.push_back(entry.encoder);
    }
  }
  *active = std::any_of(asked.begin(), asked.end(),
                        [](const auto& encoder) { return encoder->IsActive(); });
  return known ? bass::BASS_OK : bass::BASS_ERROR_HANDLE;
}

int Library::StopEncoder(bass::HENCODE handle) {
  EncoderEntry entry;
  {
    const std::lock_guard lock(mutex_);
    const auto place = encoders_.find(handle);
    if (place == encoders_.end()) return bass::BASS_ERROR_HANDLE;
    entry = std::move(place->second);
    encoders_.erase(place);
  }
  if (const std::shared_ptr<Stream> stream = FindStream(entry.stream)) {
    stream->RemoveEncoder(handle);
  }
  return entry.encoder->Finish() ? bass::BASS_OK : bass::BASS_ERROR_UNKNOWN;
}

// ---- Output

void Library::Render(void* library, std::int16_t* out, int frames) {
  static_cast<Library*>(library)->Mix(out, frames);
}

void Library::Mix(std::int16_t* out, int frames) {
  std::fill_n(out, 2 * frames, std::int16_t{0});
  mixing_.fetch_add(1);
  for (std::atomic<Stream*>& slot : playing_) {
    if (Stream* stream = slot.load()) stream->Mix(out, frames);
  }
  taken_.fetch_add(static_cast<std::uint64_t>(frames));
  mixing_.fetch_add(1);
}

bool Library::Attach(Stream& stream) {
  starts_.fetch_add(1);
  for (std::atomic<Stream*>& slot : playing_) {
    Stream* none = nullptr;
    if (!slot.compare_exchange_strong(none, &stream)) continue;
    const std::lock_guard lock(device_mutex_);
    if (!device_running_ && device_ != nullptr) device_running_ = device_->Start();
    return true;
  }
  return false;
}

void Library::Detach(Stream& stream) {
  for (std::atomic<Stream*>& slot : playing_) {
    Stream* expected = &stream;
    slot.compare_exchange_strong(expected, nullptr);
  }
  const std::uint64_t seen = mixing_.load();
  if (seen % 2 == 0) return;
  while (mixing_.load() == seen) std::this_thread::sleep_for(std::chrono::microseconds(100));
}

std::uint64_t Library::TakenFrames() const { return taken_.load(std::memory_order_acquire); }

std::uint64_t Library::HeardFrames() const {
  const OutputDevice* device = device_view_.load(std::memory_order_acquire);
  return device != nullptr ? device->HeardFrames() : TakenFrames();
}

std::vector<std::shared_ptr<Stream>> Library::PlayingStreams() const {
  std::vector<std::shared_ptr<Stream>> streams;
  const std::lock_guard lock(mutex_);
  for (const auto& [handle, stream] : streams_) {
    if (!stream->decoding()) streams.push_back(stream);
  }
  return streams;
}

// A stream that has begun to play since `starts` was read keeps the output going.
void Library::StopOutputUnlessStarted(std::uint64_t starts) {
  const std::lock_guard lock(device_mutex_);
  if (!device_running_ || starts_.load() != starts) return;
  device_->Stop();
  device_running_ = false;
}

void Library::DispatchLoop() {
  int idle = 0;
  while (!leaving_.load()) {
    const std::uint64_t starts = starts_.load();
    bool busy = false;
    try {
      for (const auto& stream : PlayingStreams()) busy = stream->Dispatch() || busy;
    } catch (const std::bad_alloc&) {
      busy = true;  // what has not been called waits for the next round
    }
    idle = busy ? 0 : idle + 1;
    if (idle >= kIdleRounds && starts_.load() == starts) StopOutputUnlessStarted(starts);
    std::this_thread::sleep_for(kDispatchEvery);
  }
}

}  // namespace vexolo::engine
