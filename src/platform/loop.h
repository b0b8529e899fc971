// The one parallel loop: measuring and filtering go through it.
#ifndef VESKARO_PLATFORM_LOOP_H
#define VESKARO_PLATFORM_LOOP_H

#include <cstdint>

namespace veskaro::platform {

// How a loop runs: on whose threads, who is told, who may stop it.
struct Control {
  int threads = 1;
  int (*run)(void* host, std::int32_t count, void (*job)(void* argument, std::int32_t index), void* argument) = nullptr;
  int (*progress)(void* host, std::int64_t done, std::int64_t total) = nullptr;
  const std::int32_t* cancel = nullptr;
  void* host = nullptr;
};

enum class LoopResult {
  kDone,
  kBadItem,   // an item's body said so
  kNoWorker,  // none could be prepared
  kCancelled,
  kExecutorFailed  // the host's, which did not run every job
};

// What a loop does: both are called on a worker's thread, in the default floating-point environment.
struct LoopBody {
  bool (*prepare)(void* argument, int worker);                   // once a worker; without it the worker leaves
  bool (*item)(void* argument, int worker, std::int64_t index);  // false stops the loop
  void* argument;
};

// Does every item of [0, items), each once, on at most control.threads workers. A worker is one thread at a time.
LoopResult forEachItem(const Control& control, std::int64_t items, const LoopBody& body);

// The same with a callable body(index).
template <class Item>
LoopResult forEachItem(const Control& control, std::int64_t items, Item item) {
  const LoopBody body = {[](void*, int) { return true; },
                         [](void* argument, int, std::int64_t index) { return (*static_cast<Item*>(argument))(index); },
                         &item};
  return forEachItem(control, items, body);
}

// Workers that a loop over so many items has.
int workersFor(const Control& control, std::int64_t items);

}  // namespace veskaro::platform

#endif  // VESKARO_PLATFORM_LOOP_H
