// Memory and threads run out at every point where the library asks for them.
#include <gtest/gtest.h>

#include <optional>

#include "safety/call_generator.h"
#include "support/injected_failures.h"

namespace veskaro::test {
namespace {

// Refuses what the library asks for the nth time in a call.
template <class Failure>
class Refusing : public Surroundings {
 public:
  Refusing(int nth, bool* happened) : nth_(nth), happened_(happened) {}
  void enter() override { failure_.emplace(nth_); }
  void leave() override {
    *happened_ = *happened_ || failure_->happened();
    failure_.reset();
  }
  bool isShortOfMemory() const override { return std::is_same_v<Failure, FailAllocation>; }

 private:
  int nth_;
  bool* happened_;
  std::optional<Failure> failure_;
};

// Makes random calls with the first, the second, ... of what they ask for refused, until they ask for less. The outcome
// has to be that of the call with enough of everything, or it says that memory ran short. Returns how many calls met a
// failure.
template <class Failure>
int failOneByOne(unsigned calls) {
  int failures = 0;
  for (unsigned number = 1; number <= calls; ++number) {
    const Outcome reference = makeRandomCall(Choices::ofCall(number));
    bool more = true;
    for (int nth = 0; more; ++nth) {
      SCOPED_TRACE(testing::Message() << "call " << number << ", failure " << nth);
      const int before = liveBlocks();
      more = false;
      const Outcome got = makeRandomCall(Choices::ofCall(number), Refusing<Failure>(nth, &more));
      EXPECT_EQ(liveBlocks(), before) << "leaked";
      EXPECT_EQ(got.wrong, "");
      EXPECT_TRUE(got.ranShort || got.digest == reference.digest) << "other bytes than with enough of everything";
      failures += more;
    }
  }
  return failures;
}

TEST(Exhaustion, MemoryFailsAtEveryAllocation) {
  EXPECT_GE(failOneByOne<FailAllocation>(1500), 1000) << "hardly any allocation was seen";
}

TEST(Exhaustion, ThreadsFailAtEveryCreation) {
  EXPECT_GE(failOneByOne<FailThreads>(250), 250) << "hardly any thread was seen";
}

}  // namespace
}  // namespace veskaro::test
