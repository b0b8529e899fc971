// Makes what the code under test asks the system for fail. The test executables are linked with malloc, calloc, free
// and pthread_create wrapped, so only the calls of their own objects and the library's are seen.
#ifndef VESKARO_TESTS_INJECTED_FAILURES_H
#define VESKARO_TESTS_INJECTED_FAILURES_H

namespace veskaro::test {

// While one of these lives, the allocation number `which` (0 is the next one) returns null.
class FailAllocation {
 public:
  explicit FailAllocation(int which);
  ~FailAllocation();
  bool happened() const;  // false when the code made fewer allocations
};

// While one of these lives, the thread number `which` and all after it cannot be created.
class FailThreads {
 public:
  explicit FailThreads(int which);
  ~FailThreads();
  bool happened() const;
};

// Blocks taken and not released yet.
int liveBlocks();

}  // namespace veskaro::test

#endif  // VESKARO_TESTS_INJECTED_FAILURES_H
