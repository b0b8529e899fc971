#include "pictures/memory_limit.h"

#include <fmt/format.h>

#include "base/failure.h"
#include "base/machine.h"

namespace tool::pictures {
namespace {

// Asking the system takes longer than decoding a small picture.
constexpr std::size_t kSmall = std::size_t{64} << 20;

}  // namespace

void requireMemory(std::size_t bytes) {
  if (bytes < kSmall) return;
  const std::size_t available = freeMemory();
  if (available == 0 || bytes < available) return;
  throw Failure(Kind::kNoMemory, fmt::format("the picture needs {:.1f} GB of memory and {:.1f} GB are free",
                                             static_cast<double>(bytes) * 1e-9, static_cast<double>(available) * 1e-9));
}

}  // namespace tool::pictures
