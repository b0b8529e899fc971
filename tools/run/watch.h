// How work that takes long tells how far it is, and how it is told to stop.
#pragma once

#include <cstdint>
#include <functional>

namespace tool::run {

struct Watch {
  std::function<void(double share)> progress;  // called from any thread, by one at a time
  const std::int32_t* cancel = nullptr;        // stops when not 0
};

}  // namespace tool::run
