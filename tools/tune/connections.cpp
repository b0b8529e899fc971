#include "tune/connections.h"

namespace tool::tune {

Connections::Connections() {
  for (int k = 0; k < kConnections; ++k) threads_.emplace_back([this] { work(); });
}

void Connections::enqueue(std::function<void()> serve) {
  std::unique_lock<std::mutex> locked(lock_);
  hasRoom_.wait(locked, [this] { return waiting_.size() < kConnections || isEnding_; });
  waiting_.push_back(std::move(serve));
  hasWork_.notify_one();
}

void Connections::shutdown() {
  {
    const std::lock_guard<std::mutex> locked(lock_);
    isEnding_ = true;
  }
  hasWork_.notify_all();
  for (std::thread& thread : threads_) thread.join();
}

void Connections::work() {
  for (;;) {
    std::unique_lock<std::mutex> locked(lock_);
    hasWork_.wait(locked, [this] { return !waiting_.empty() || isEnding_; });
    if (waiting_.empty()) return;
    const std::function<void()> serve = std::move(waiting_.front());
    waiting_.pop_front();
    hasRoom_.notify_one();
    locked.unlock();
    serve();
  }
}

}  // namespace tool::tune
