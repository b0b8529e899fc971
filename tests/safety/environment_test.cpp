// Every function that calculates does so in the default floating-point environment, whatever the host has set, and
// gives the host's back.
#include <fenv.h>
#include <gtest/gtest.h>
#include <xmmintrin.h>

#include "safety/call_generator.h"

namespace veskaro::test {
namespace {

// Sets it in the threads of a team too: each has its own. Some runtimes give the caller's back behind the region.
void setEnvironment(int rounding, unsigned control) {
  const auto set = [rounding, control] {
    fesetround(rounding);
    _mm_setcsr((_mm_getcsr() & ~0x8040u) | control);
  };
#pragma omp parallel num_threads(2)
  set();
  set();
}

class UnusualEnvironment : public Surroundings {
 public:
  void enter() override {
    constexpr unsigned kFlushToZero = 0x8000, kDenormalsAreZero = 0x0040;
    setEnvironment(FE_UPWARD, kFlushToZero | kDenormalsAreZero);
    before_ = _mm_getcsr();
  }
  void leave() override {
    constexpr unsigned kFlags = 0x3f;
    const unsigned after = _mm_getcsr();
    const int rounding = fegetround();
    setEnvironment(FE_TONEAREST, 0);
    EXPECT_EQ(after & ~kFlags, before_ & ~kFlags) << "not given back";
    EXPECT_EQ(rounding, FE_UPWARD);
  }

 private:
  unsigned before_ = 0;
};

TEST(Environment, IsTheDefaultOneInEveryCall) {
  for (unsigned number = 1; number <= 1500; ++number) {
    SCOPED_TRACE(testing::Message() << "call " << number);
    const Outcome expected = makeRandomCall(Choices::ofCall(number));
    EXPECT_EQ(makeRandomCall(Choices::ofCall(number), UnusualEnvironment()).digest, expected.digest);
  }
}

}  // namespace
}  // namespace veskaro::test
