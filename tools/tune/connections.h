// The connections that are served at once; more wait outside, in the system's short queue.
#pragma once

#include <httplib.h>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

namespace tool::tune {

constexpr int kConnections = 24;

class Connections : public httplib::TaskQueue {
 public:
  Connections();
  void enqueue(std::function<void()> serve) override;
  void shutdown() override;

 private:
  void work();

  std::mutex lock_;
  std::condition_variable hasWork_, hasRoom_;
  std::deque<std::function<void()>> waiting_;
  bool isEnding_ = false;
  std::vector<std::thread> threads_;
};

}  // namespace tool::tune
