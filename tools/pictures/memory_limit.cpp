#include "pictures/memory_limit.h"

#include <fmt/format.h>

#include <fstream>
#include <string>

#include "base/failure.h"

namespace tool::pictures {
namespace {

// What can be taken without swapping; 0 when the system does not say.
std::size_t availableBytes() {
  std::ifstream file("/proc/meminfo");
  std::string key, unit;
  std::size_t kib = 0;
  while (file >> key >> kib) {
    if (key == "MemAvailable:") return kib * 1024;
    std::getline(file, unit);
  }
  return 0;
}

}  // namespace

void requireMemory(std::size_t bytes) {
  const std::size_t available = availableBytes();
  if (available == 0 || bytes < available) return;
  throw Failure(fmt::format("the picture needs {:.1f} GB of memory and {:.1f} GB are free",
                            static_cast<double>(bytes) * 1e-9, static_cast<double>(available) * 1e-9));
}

}  // namespace tool::pictures
