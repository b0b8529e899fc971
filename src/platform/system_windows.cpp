// Windows, with the POSIX threads that mingw-w64 brings: no signals, no forks.
#include <pthread.h>
#include <windows.h>

#include "platform/system.h"

namespace veskaro::platform {
namespace {

// Sleeping threads must not find the library unmapped under them.
bool stayLoaded() {
  constexpr DWORD kForEver = GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS;
  HMODULE self;
  return GetModuleHandleExW(kForEver, reinterpret_cast<LPCWSTR>(&stayLoaded), &self) != 0;
}

}  // namespace

int processors() {
  DWORD_PTR ours = 0, all = 0;
  GetProcessAffinityMask(GetCurrentProcess(), &ours, &all);
  const int count = __builtin_popcountll(ours);
  return count > 1 ? count : 1;
}

bool startThread(void* (*body)(void*)) {
  static const bool stays = stayLoaded();
  pthread_t thread;
  return stays && pthread_create(&thread, nullptr, body, nullptr) == 0 && pthread_detach(thread) == 0;
}

void endThread() {
  pthread_exit(nullptr);
  __builtin_unreachable();
}

bool callInForkedChildren(void (*)()) {
  return true;
}

}  // namespace veskaro::platform
