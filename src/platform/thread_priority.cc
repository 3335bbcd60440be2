#include "platform/thread_priority.h"

#ifdef _WIN32
#include <windows.h>
#elif defined(__linux__)
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>
#endif

namespace vexolo {

void LowerThreadPriority() {
#ifdef _WIN32
  SetThreadPriority(GetCurrentThread(), THREAD_PRIORITY_LOWEST);
#elif defined(__linux__)
  // Linux counts niceness by thread, and takes the thread's number where others take a process.
  constexpr int kNiceness = 15;
  setpriority(PRIO_PROCESS, static_cast<id_t>(syscall(SYS_gettid)), kNiceness);
#endif
}

}  // namespace vexolo
