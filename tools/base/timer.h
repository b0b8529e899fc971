// Seconds since it was made, or since the last lap.
#pragma once

#include <chrono>

namespace tool {

class Timer {
 public:
  double seconds() const { return std::chrono::duration<double>(Clock::now() - start_).count(); }
  double lap() {
    const double passed = seconds();
    start_ = Clock::now();
    return passed;
  }

 private:
  using Clock = std::chrono::steady_clock;
  Clock::time_point start_ = Clock::now();
};

}  // namespace tool
