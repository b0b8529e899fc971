// The library's own threads. They begin when a call first wants them and sleep between calls.
#ifndef VESKARO_PLATFORM_TEAM_H
#define VESKARO_PLATFORM_TEAM_H

namespace veskaro::platform {

constexpr int kMostThreads = 256;

// Calls body(argument, worker) for worker 0 on the calling thread and, at the same time, for workers 1 to workers - 1
// on as many threads as can be had before worker 0 is done; returns when all of them have. Any number of teams may run
// at once. A forked child begins without threads and creates its own.
void runTeam(int workers, void (*body)(void* argument, int worker), void* argument);

}  // namespace veskaro::platform

#endif  // VESKARO_PLATFORM_TEAM_H
