// The same bytes on every instruction set and with every team that the system grants.
#include <gtest/gtest.h>

#include "command/selftest.h"
#include "support/injected_failures.h"
#include "support/targets.h"

namespace veskaro::test {
namespace {

TEST(Digest, IsTheSameOnEveryInstructionSet) {
  forEachTarget([](const char* target) {
    EXPECT_EQ(tool::command::selfTestDigest(), tool::command::kSelfTestExpected) << target;
  });
}

TEST(Digest, IsTheSameWithEveryGrantedTeam) {
  for (int threads = 0; threads < 8; ++threads) {
    const FailThreads failure(threads);
    EXPECT_EQ(tool::command::selfTestDigest(), tool::command::kSelfTestExpected)
        << threads << " threads beside the caller's";
  }
}

}  // namespace
}  // namespace veskaro::test
