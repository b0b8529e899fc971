// Every function that calculates does so in the default floating-point environment, whatever the host has set, and
// gives the host's back.
#include <fenv.h>
#include <gtest/gtest.h>
#include <xmmintrin.h>

#include <array>

#include "safety/call_generator.h"

namespace veskaro::test {
namespace {

constexpr unsigned kFlushed = 0x8040;  // to zero: results and operands that are denormal

// Sets it in the threads of a team too: each has its own. Some runtimes give the caller's back behind the region.
void setEnvironment(int rounding, unsigned flushed, int traps) {
  const auto set = [=] {
    fedisableexcept(FE_ALL_EXCEPT);
    fesetround(rounding);
    _mm_setcsr((_mm_getcsr() & ~kFlushed) | flushed);
    feenableexcept(traps);
  };
#pragma omp parallel num_threads(2)
  set();
  set();
}

// Each number gives another one: four roundings, with and without denormal numbers, with and without traps.
class UnusualEnvironment : public Surroundings {
 public:
  explicit UnusualEnvironment(unsigned number)
      : rounding_(std::array{FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO, FE_TONEAREST}[number % 4]),
        flushed_(number / 4 % 4 == 3 ? 0 : kFlushed),
        traps_(number / 16 % 2 == 0 ? 0 : FE_ALL_EXCEPT & ~FE_INEXACT) {}
  void enter() override {
    setEnvironment(rounding_, flushed_, traps_);
    before_ = _mm_getcsr();
  }
  void leave() override {
    constexpr unsigned kFlags = 0x3f;
    const unsigned after = _mm_getcsr();
    const int rounding = fegetround();
    setEnvironment(FE_TONEAREST, 0, 0);
    EXPECT_EQ(after & ~kFlags, before_ & ~kFlags) << "not given back";
    EXPECT_EQ(rounding, rounding_);
  }

 private:
  int rounding_;
  unsigned flushed_;
  int traps_;
  unsigned before_ = 0;
};

TEST(Environment, IsTheDefaultOneInEveryCall) {
  for (unsigned number = 1; number <= 800; ++number) {
    SCOPED_TRACE(testing::Message() << "call " << number);
    const Outcome expected = makeRandomCall(Choices::ofCall(number));
    EXPECT_EQ(makeRandomCall(Choices::ofCall(number), UnusualEnvironment(number)).digest, expected.digest);
  }
}

}  // namespace
}  // namespace veskaro::test
