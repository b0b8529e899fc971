#include "platform/worker_threads.h"

#include <pthread.h>

namespace veskaro::platform {
namespace {

struct Call {
  void (*work)(const void*, int);
  const void* context;
  int index;
};

void* runCall(void* call) {
  const Call& c = *static_cast<const Call*>(call);
  c.work(c.context, c.index);
  return nullptr;
}

}  // namespace

void runOnWorkers(int count, void (*work)(const void* context, int index), const void* context) {
  Call calls[kMaxWorkers];
  pthread_t threads[kMaxWorkers];
  int started = 0;
  for (int k = 0; k < count; ++k) calls[k] = {work, context, k};
  while (started < count && pthread_create(&threads[started], nullptr, runCall, &calls[started]) == 0) ++started;
  for (int k = 0; k < started; ++k) pthread_join(threads[k], nullptr);
  for (int k = started; k < count; ++k) work(context, k);
}

}  // namespace veskaro::platform
