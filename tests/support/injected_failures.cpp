#include "support/injected_failures.h"

#include <atomic>
#include <cstddef>

namespace {

std::atomic<bool> armed{false};
std::atomic<int> remaining{0};

bool shallFail() {
  return armed && remaining-- == 0;
}

}  // namespace

extern "C" {

void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);

void* __wrap_malloc(std::size_t size) {
  return shallFail() ? nullptr : __real_malloc(size);
}
void* __wrap_calloc(std::size_t count, std::size_t size) {
  return shallFail() ? nullptr : __real_calloc(count, size);
}
}

namespace veskaro::test {

FailAllocation::FailAllocation(int which) {
  remaining = which;
  armed = true;
}
FailAllocation::~FailAllocation() {
  armed = false;
}
bool FailAllocation::happened() const {
  return remaining < 0;
}

}  // namespace veskaro::test
