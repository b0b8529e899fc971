#ifndef VESKARO_PLATFORM_WORKER_THREADS_H
#define VESKARO_PLATFORM_WORKER_THREADS_H

namespace veskaro::platform {

constexpr int kMaxWorkers = 32;

// Calls work(context, index) for every index in [0, count), count at most kMaxWorkers, each on a thread of its own.
// Those whose thread cannot be had are worked on here, once the others are done.
void runOnWorkers(int count, void (*work)(const void* context, int index), const void* context);

}  // namespace veskaro::platform

#endif  // VESKARO_PLATFORM_WORKER_THREADS_H
