/// The open engine as a whole: handles, output, the threads that mix and dispatch.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "audio/bass.h"
#include "engine/background.h"
#include "engine/encoder.h"
#include "engine/output_device.h"
#include "engine/sound_font.h"
#include "engine/stream.h"

namespace vexolo::engine {

/// What stands between the exported functions and the streams. Any thread may call any function;
/// those that can fail return a library error code, 0 = ok.
class Library final : private StreamOutput {
 public:
  Library() = default;
  ~Library() override;

  int Init(int device, bass::DWORD frequency);
  int Free();
  bool initialised() const;
  bool OutputIsSilent() const;
  std::string OutputName() const;
  std::uint64_t LateBlocks() const;
  void SetProcessStarter(ProcessStarter starter);
  void SetRenderThreads(int threads);

  /// Null where the handle is none of a stream. A callback that asks for its own stream gets it
  /// without a lock.
  std::shared_ptr<Stream> FindStream(bass::DWORD handle) const;
  int CreateStream(const std::string& path, std::uint64_t offset, std::uint64_t length,
                   bass::DWORD flags, bass::HSTREAM* handle);
  int CreateStreamFromMemory(const std::uint8_t* data, std::uint64_t length, bass::DWORD flags,
                             bass::HSTREAM* handle);
  int FreeStream(bass::HSTREAM handle);

  int LoadFont(const std::string& path, bass::HSOUNDFONT* handle);
  int FreeFont(bass::HSOUNDFONT handle);
  std::shared_ptr<SoundFont> FindFont(bass::HSOUNDFONT handle) const;
  /// Stream 0 = what new streams begin with.
  int SetFont(bass::HSTREAM stream, bass::HSOUNDFONT font);
  int GetFont(bass::HSTREAM stream, bass::HSOUNDFONT* font) const;

  int StartEncoder(bass::DWORD stream, const std::string& command, bass::DWORD flags,
                   bass::HENCODE* handle);
  /// Whether an encoder lives; a stream's handle asks for any of its encoders.
  int EncoderIsActive(bass::DWORD handle, bool* active) const;
  int StopEncoder(bass::HENCODE handle);

  /// A number that no other handle has or had.
  bass::DWORD NewHandle();

 private:
  static constexpr std::size_t kMostPlaying = 32;
  struct EncoderEntry {
    bass::DWORD stream;
    std::shared_ptr<Encoder> encoder;
  };

  // StreamOutput
  bool Attach(Stream& stream) override;
  void Detach(Stream& stream) override;
  std::uint64_t TakenFrames() const override;
  std::uint64_t HeardFrames() const override;

  /// Has `work` done where it keeps no caller waiting: a bank takes long to make and to free.
  void Beside(std::function<void()> work);
  static void Render(void* library, std::int16_t* out, int frames);
  void Mix(std::int16_t* out, int frames);
  void DispatchLoop();
  void StopOutputUnlessStarted(std::uint64_t starts);
  int AddStream(std::shared_ptr<const Song> song, bass::DWORD flags, bass::HSTREAM* handle);
  std::vector<std::shared_ptr<Stream>> PlayingStreams() const;

  std::mutex life_mutex_;     ///< Init against Free; taken before the others
  mutable std::mutex mutex_;  ///< guards the tables; never held while a callback may run
  bool initialised_ = false;
  std::atomic<bool> plays_{false};  ///< there is a device, or a stream that plays without one
  std::atomic<int> render_threads_{static_cast<int>(std::thread::hardware_concurrency())};
  std::map<bass::HSTREAM, std::shared_ptr<Stream>> streams_;
  std::map<bass::HSOUNDFONT, std::shared_ptr<SoundFont>> fonts_;
  std::map<bass::HENCODE, EncoderEntry> encoders_;
  bass::HSOUNDFONT default_font_ = 0;
  ProcessStarter starter_;
  std::unique_ptr<Background> background_;  ///< from Init to Free
  std::atomic<bass::DWORD> last_handle_{0x80000000u};

  mutable std::mutex device_mutex_;  ///< starting and stopping the output
  std::unique_ptr<OutputDevice> device_;
  std::atomic<OutputDevice*> device_view_{nullptr};  ///< device_, for readers without the lock
  bool device_running_ = false;
  std::array<std::atomic<Stream*>, kMostPlaying> playing_{};
  std::atomic<std::uint64_t> mixing_{0};  ///< odd while the mixing thread is in Mix
  std::atomic<std::uint64_t> taken_{0};   ///< frames that the device has taken
  std::atomic<std::uint64_t> starts_{0};  ///< how often a stream has begun to play

  std::thread dispatcher_;
  std::atomic<bool> leaving_{false};
};

}  // namespace vexolo::engine
