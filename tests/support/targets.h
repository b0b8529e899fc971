// Runs test bodies with the library's kernels forced to each instruction set of this machine in turn.
#ifndef VESKARO_TESTS_SUPPORT_TARGETS_H
#define VESKARO_TESTS_SUPPORT_TARGETS_H

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace veskaro::test {

struct Target {
  std::int64_t id;   // a HWY_* target bit
  std::string name;  // "plain" for the scalar fallback, else Highway's name: "SSE4", "AVX2", ...
};

// The targets that this build holds and this machine runs, best first; "plain" is always the last.
std::vector<Target> runnableTargets();

// Name of the target that a dispatched call takes now.
std::string chosenTarget();

// Forces dispatched calls to one target while in scope.
class ForcedTarget {
 public:
  explicit ForcedTarget(const Target& target);
  ~ForcedTarget();
  ForcedTarget(const ForcedTarget&) = delete;
  ForcedTarget& operator=(const ForcedTarget&) = delete;
};

// Calls body(name) once per target, after checking that the named target is the one that runs.
inline void forEachTarget(const std::function<void(const char*)>& body) {
  for (const Target& target : runnableTargets()) {
    const ForcedTarget forced(target);
    SCOPED_TRACE("target " + target.name);
    ASSERT_EQ(chosenTarget(), target.name);
    body(target.name.c_str());
    if (testing::Test::HasFatalFailure()) return;
  }
}

// Runs body once on the scalar fallback, for a result to compare the others with.
template <typename Body>
auto onPlainTarget(const Body& body) {
  const ForcedTarget forced(runnableTargets().back());
  EXPECT_EQ(chosenTarget(), "plain");
  return body();
}

}  // namespace veskaro::test

#endif  // VESKARO_TESTS_SUPPORT_TARGETS_H
