#include "support/injected_failures.h"

#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <cstddef>

namespace {

std::atomic<bool> armed{false}, threadsArmed{false};
std::atomic<int> remaining{0}, threadsRemaining{0};
std::atomic<int> live{0};

bool shallFail() {
  return armed && remaining-- == 0;
}

void* counted(void* block) {
  if (block != nullptr) ++live;
  return block;
}

}  // namespace

extern "C" {

void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void __real_free(void* block);
int __real_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*run)(void*), void* argument);

void* __wrap_malloc(std::size_t size) {
  return shallFail() ? nullptr : counted(__real_malloc(size));
}
void* __wrap_calloc(std::size_t count, std::size_t size) {
  return shallFail() ? nullptr : counted(__real_calloc(count, size));
}
void __wrap_free(void* block) {
  if (block != nullptr) --live;
  __real_free(block);
}
int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*run)(void*), void* argument) {
  if (threadsArmed && threadsRemaining-- <= 0) return EAGAIN;
  return __real_pthread_create(thread, attributes, run, argument);
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

FailThreads::FailThreads(int which) {
  threadsRemaining = which;
  threadsArmed = true;
}
FailThreads::~FailThreads() {
  threadsArmed = false;
}
bool FailThreads::happened() const {
  return threadsRemaining < 0;
}

int liveBlocks() {
  return live;
}

}  // namespace veskaro::test
