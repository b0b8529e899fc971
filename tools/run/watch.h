// How work that takes long tells how far it is, and how it is told to stop.
#pragma once

#include <cstdint>
#include <functional>

#include "run/pool.h"

namespace tool::run {

struct Watch {
  std::function<void(double share)> progress;  // called from any thread, by one at a time
  const std::int32_t* cancel = nullptr;        // stops when not 0
  Pool* pool = nullptr;                        // whose threads do it; the library's own without one
};

}  // namespace tool::run
