// Linux and macOS.
#include <dlfcn.h>
#include <pthread.h>
#include <sched.h>
#include <signal.h>
#include <unistd.h>

#include <cstddef>

#include "platform/system.h"

namespace veskaro::platform {
namespace {

constexpr std::size_t kStackBytes = 1 << 20;

// Sleeping threads must not find the library unmapped under them. Where the linker has no word for it (on Linux it is
// nodelete), the library opens itself and never closes.
void stayLoaded() {
#if defined(__APPLE__)
  Dl_info self;
  if (dladdr(reinterpret_cast<const void*>(&stayLoaded), &self) != 0) dlopen(self.dli_fname, RTLD_LAZY | RTLD_NODELETE);
#endif
}

}  // namespace

int processors() {
#if defined(__linux__)
  cpu_set_t set;
  const long count = sched_getaffinity(0, sizeof(set), &set) == 0 ? CPU_COUNT(&set) : 1;
#else
  const long count = sysconf(_SC_NPROCESSORS_ONLN);
#endif
  return count > 1 ? static_cast<int>(count) : 1;
}

bool startThread(void* (*body)(void*)) {
  sigset_t all, hosts;
  sigfillset(&all);
  pthread_attr_t attributes;
  if (pthread_attr_init(&attributes) != 0) return false;
  stayLoaded();
  pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
  pthread_attr_setstacksize(&attributes, kStackBytes);
  pthread_sigmask(SIG_SETMASK, &all, &hosts);
  pthread_t thread;
  const bool started = pthread_create(&thread, &attributes, body, nullptr) == 0;
  pthread_sigmask(SIG_SETMASK, &hosts, nullptr);
  pthread_attr_destroy(&attributes);
  return started;
}

void endThread() {
  pthread_exit(nullptr);
}

bool callInForkedChildren(void (*function)()) {
  return pthread_atfork(nullptr, nullptr, function) == 0;
}

}  // namespace veskaro::platform
