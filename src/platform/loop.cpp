#include "platform/loop.h"

#include <atomic>
#include <mutex>

#include "platform/fp_environment.h"
#include "platform/team.h"

namespace veskaro::platform {
namespace {

class Loop {
 public:
  Loop(const Control& control, std::int64_t items, const LoopBody& body)
      : control_(control), items_(items), body_(body) {}

  void work(int worker) {
    const DefaultFpEnvironment environment;
    // A worker may begin late, when the others have left nothing to prepare for.
    if (isStopped() || next_ >= items_) return;
    if (!body_.prepare(body_.argument, worker)) {
      refused_ = true;
      return;
    }
    while (!isStopped()) {
      const std::int64_t item = next_++;
      if (item >= items_) return;
      if (!body_.item(body_.argument, worker, item)) return stop(LoopResult::kBadItem);
      tell();
    }
  }

  LoopResult result() const {
    if (done_ == items_) return LoopResult::kDone;
    if (result_ != LoopResult::kDone) return result_;
    return refused_ ? LoopResult::kNoWorker : LoopResult::kExecutorFailed;
  }

 private:
  bool isStopped() {
    if (control_.cancel != nullptr && __atomic_load_n(control_.cancel, __ATOMIC_RELAXED) != 0) {
      stop(LoopResult::kCancelled);
    }
    return result_ != LoopResult::kDone;
  }

  void stop(LoopResult why) {
    LoopResult none = LoopResult::kDone;
    result_.compare_exchange_strong(none, why);
  }

  void tell() {
    if (control_.progress == nullptr) {
      ++done_;
      return;
    }
    const std::lock_guard<std::mutex> one(telling_);
    if (control_.progress(control_.host, ++done_, items_) != 0) stop(LoopResult::kCancelled);
  }

  const Control& control_;
  const std::int64_t items_;
  const LoopBody& body_;
  std::atomic<std::int64_t> next_{0}, done_{0};
  std::atomic<bool> refused_{false};
  std::atomic<LoopResult> result_{LoopResult::kDone};
  std::mutex telling_;
};

}  // namespace

int workersFor(const Control& control, std::int64_t items) {
  const int most = control.threads < kMostThreads ? control.threads : kMostThreads;
  return items < most ? static_cast<int>(items) : most;
}

LoopResult forEachItem(const Control& control, std::int64_t items, const LoopBody& body) {
  if (items <= 0) return LoopResult::kDone;
  Loop loop(control, items, body);
  const auto work = [](void* argument, int worker) { static_cast<Loop*>(argument)->work(worker); };
  if (control.run == nullptr) {
    runTeam(workersFor(control, items), work, &loop);
  } else if (control.run(control.host, workersFor(control, items), work, &loop) != 0) {
    return LoopResult::kExecutorFailed;
  }
  return loop.result();
}

}  // namespace veskaro::platform
