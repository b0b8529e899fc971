// Every function that calculates does so in the default floating-point environment, whatever the host has set, and
// gives the host's back.
#include <fenv.h>
#include <gtest/gtest.h>
#include <xmmintrin.h>

#include <array>
#include <vector>

#include "platform/team.h"
#include "safety/call_generator.h"

namespace veskaro::test {
namespace {

constexpr unsigned kFlushed = 0x8040;  // to zero: results and operands that are denormal

struct Variant {
  int rounding = FE_TONEAREST;
  unsigned flushed = 0;
  int traps = 0;

  void set() const {
    fedisableexcept(FE_ALL_EXCEPT);
    fesetround(rounding);
    _mm_setcsr((_mm_getcsr() & ~kFlushed) | flushed);
    feenableexcept(traps);
  }
  // Threads have one each: those of the library keep what their creator had.
  void setInTeam() const {
    platform::runTeam(
        8, [](void* variant, int) { static_cast<const Variant*>(variant)->set(); }, const_cast<Variant*>(this));
    Variant().set();
  }
};

class UnusualEnvironment : public Surroundings {
 public:
  explicit UnusualEnvironment(const Variant& variant) : variant_(variant) {}
  void enter() override {
    variant_.set();
    before_ = _mm_getcsr();
  }
  void leave() override {
    constexpr unsigned kFlags = 0x3f;
    const unsigned after = _mm_getcsr();
    const int rounding = fegetround();
    Variant().set();
    EXPECT_EQ(after & ~kFlags, before_ & ~kFlags) << "not given back";
    EXPECT_EQ(rounding, variant_.rounding);
  }

 private:
  Variant variant_;
  unsigned before_ = 0;
};

TEST(Environment, IsTheDefaultOneInEveryCall) {
  constexpr unsigned kCalls = 1500;
  std::vector<std::string> expected;
  for (unsigned k = 0; k < kCalls; ++k) expected.push_back(makeRandomCall(Choices::ofCall(k)).digest);
  constexpr int kTraps = FE_ALL_EXCEPT & ~FE_INEXACT;
  const std::array variants = {Variant{FE_UPWARD, kFlushed, 0}, Variant{FE_DOWNWARD, kFlushed, kTraps},
                               Variant{FE_TOWARDZERO, kFlushed, 0}, Variant{FE_TONEAREST, kFlushed, kTraps},
                               Variant{FE_UPWARD, 0, kTraps}};
  for (unsigned v = 0; v < variants.size(); ++v) {
    variants[v].setInTeam();
    for (unsigned k = v; k < kCalls; k += variants.size()) {
      const Outcome got = makeRandomCall(Choices::ofCall(k), UnusualEnvironment(variants[v]));
      EXPECT_EQ(got.digest, expected[k]) << "call " << k << ", variant " << v;
    }
  }
  Variant().setInTeam();
}

}  // namespace
}  // namespace veskaro::test
