#include "platform/interrupt.h"

#include <array>
#include <atomic>
#include <chrono>
#include <limits>

#include <signal.h>

namespace vexolo {

namespace {

constexpr std::array<int, 4> kSignals = {SIGINT, SIGTERM, SIGHUP, SIGPIPE};

using Clock = std::chrono::steady_clock;

constexpr Clock::rep kNever = std::numeric_limits<Clock::rep>::min();

/// When the first request came, in ticks of the clock. A signal handler is given nothing but the
/// signal's number, so what it writes has to be here.
std::atomic<Clock::rep> g_requested_at = kNever;
static_assert(std::atomic<Clock::rep>::is_always_lock_free);

Clock::rep Now() { return Clock::now().time_since_epoch().count(); }

void SetAction(int signal, void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  action.sa_flags = SA_RESTART;
  sigemptyset(&action.sa_mask);
  sigaction(signal, &action, nullptr);
}

/// Nothing in here is forbidden to a signal handler, the reading of the clock included.
void Note(int signal) {
  const Clock::rep now = Now();
  Clock::rep first = kNever;
  if (g_requested_at.compare_exchange_strong(first, now)) return;
  if (Clock::duration(now - first) < InterruptWatch::kOneRequest) return;
  SetAction(signal, SIG_DFL);
  raise(signal);
}

void SetActions(void (*handler)(int)) {
  for (const int signal : kSignals) SetAction(signal, handler);
}

}  // namespace

InterruptWatch::InterruptWatch() {
  g_requested_at.store(kNever);
  SetActions(Note);
}

InterruptWatch::~InterruptWatch() { SetActions(SIG_DFL); }

bool InterruptWatch::IsRequested() const { return g_requested_at.load() != kNever; }

void SurviveFileSizeLimit() {
#ifdef SIGXFSZ
  SetAction(SIGXFSZ, SIG_IGN);
#endif
}

}  // namespace vexolo
