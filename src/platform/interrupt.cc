#include "platform/interrupt.h"

#include <array>
#include <atomic>

#include <signal.h>

namespace vexolo {

namespace {

constexpr std::array<int, 3> kSignals = {SIGINT, SIGTERM, SIGHUP};

/// A signal handler is given nothing but the signal's number, so what it writes has to be here.
std::atomic<bool> g_requested = false;
static_assert(std::atomic<bool>::is_always_lock_free);

void Note(int /*signal*/) { g_requested.store(true); }

void SetAction(void (*handler)(int), int flags) {
  struct sigaction action {};
  action.sa_handler = handler;
  action.sa_flags = flags;
  sigemptyset(&action.sa_mask);
  for (const int signal : kSignals) sigaction(signal, &action, nullptr);
}

}  // namespace

InterruptWatch::InterruptWatch() {
  g_requested.store(false);
  SetAction(Note, static_cast<int>(SA_RESETHAND) | SA_RESTART);
}

InterruptWatch::~InterruptWatch() { SetAction(SIG_DFL, 0); }

bool InterruptWatch::IsRequested() const { return g_requested.load(); }

}  // namespace vexolo
