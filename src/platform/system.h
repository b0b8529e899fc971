// What systems do differently: processors, threads that hosts do not see, forks, being unloaded.
#ifndef VESKARO_PLATFORM_SYSTEM_H
#define VESKARO_PLATFORM_SYSTEM_H

namespace veskaro::platform {

// Processors that the process may use, at least 1.
int processors();

// Begins a thread of the library's own: no signal of the host's is handled on it and nobody joins it. The library stays
// loaded from then on. False when the system refuses.
bool startThread(void* (*body)(void*));

// Ends the calling thread, as the body that pthread_create was given may.
[[noreturn]] void endThread();

// Has a function called in every child of a fork, which has none of its parent's threads. False when that cannot be
// had.
bool callInForkedChildren(void (*function)());

}  // namespace veskaro::platform

#endif  // VESKARO_PLATFORM_SYSTEM_H
