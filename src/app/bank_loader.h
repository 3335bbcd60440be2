/// Loads a bank without keeping the window waiting.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include "app/post_to_window.h"
#include "audio/audio_binding.h"
#include "audio/audio_state.h"
#include "audio/bass.h"

namespace vexolo {

/// Opens banks on a thread of its own, one after the other, and takes them into use on the window
/// thread. Window thread only.
class BankLoader {
 public:
  /// Told when a bank has been taken into use (true) or could not be opened (false).
  using Done = std::function<void(bool loaded)>;

  /// The objects must outlive this one. A function that `post` gets too late to run is dropped.
  BankLoader(const bass::Api& api, AudioState& audio, AudioBinding& binding, PostToWindow post);
  ~BankLoader();
  BankLoader(const BankLoader&) = delete;
  BankLoader& operator=(const BankLoader&) = delete;

  /// Begins to load. A bank that is still on its way then is given up: it is not taken into use,
  /// and nobody is told of it.
  void Load(const std::string& path, KeepBank keep, Done done = {});
  bool loading() const { return loading_; }

  /// Calls `action` at once or, while the program's first bank is on its way, when that has
  /// arrived or has failed. Only the latest action waits.
  void WhenReady(std::function<void()> action);
  /// Nothing waits any more.
  void Forget() { waiting_ = {}; }

  /// Waits for the thread and frees what it has opened; for the end of the program.
  void GiveUp();

 private:
  struct Request {
    std::string path;
    KeepBank keep = KeepBank::kInSettings;
    Done done;
  };
  void Begin();
  void Arrived();
  void FreeArrived();

  const bass::Api& api_;
  AudioState& audio_;
  AudioBinding& binding_;
  PostToWindow post_;
  std::thread thread_;
  bool loading_ = false;
  Request current_;
  std::optional<Request> next_;
  std::atomic<bass::HSOUNDFONT> arrived_{0};
  std::function<void()> waiting_;
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace vexolo
