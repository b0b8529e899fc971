// Makes an allocation of the code under test fail. The test executables are linked with malloc and calloc wrapped.
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

}  // namespace veskaro::test

#endif  // VESKARO_TESTS_INJECTED_FAILURES_H
