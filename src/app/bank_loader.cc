#include "app/bank_loader.h"

#include <utility>

namespace vexolo {

BankLoader::BankLoader(const bass::Api& api, AudioState& audio, AudioBinding& binding,
                       PostToWindow post)
    : api_(api), audio_(audio), binding_(binding), post_(std::move(post)) {}

BankLoader::~BankLoader() { GiveUp(); }

void BankLoader::Load(const std::string& path, KeepBank keep, Done done) {
  next_ = Request{path, keep, std::move(done)};
  if (!loading_) Begin();
}

void BankLoader::Begin() {
  current_ = std::move(*next_);
  next_.reset();
  // Made here, so that the thread has nothing to make: it could tell nobody that it cannot.
  std::function<void()> arrival = [this, alive = std::weak_ptr<bool>(alive_)] {
    if (!alive.expired()) Arrived();
  };
  thread_ = std::thread([this, arrival = std::move(arrival), path = current_.path] {
    arrived_ = binding_.LoadBank(path);
    PostSurely(post_, arrival);
  });
  loading_ = true;
}

void BankLoader::Arrived() {
  if (!loading_) return;
  thread_.join();
  loading_ = false;
  if (next_) {
    FreeArrived();
    Begin();
    return;
  }
  const bool loaded = binding_.AdoptBank(arrived_.exchange(0), current_.path, current_.keep);
  // Either may load the next bank.
  const Done done = std::exchange(current_.done, {});
  if (done) done(loaded);
  if (const auto action = std::exchange(waiting_, {})) WhenReady(action);
}

void BankLoader::WhenReady(std::function<void()> action) {
  if (loading_ && audio_.font == 0) {
    waiting_ = std::move(action);
  } else {
    action();
  }
}

void BankLoader::GiveUp() {
  Forget();
  next_.reset();
  if (!loading_) return;
  thread_.join();
  loading_ = false;
  FreeArrived();
}

void BankLoader::FreeArrived() {
  const bass::HSOUNDFONT font = arrived_.exchange(0);
  if (font != 0) api_.BASS_MIDI_FontFree(font);
}

}  // namespace vexolo
