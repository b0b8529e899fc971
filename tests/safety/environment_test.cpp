// Every function that calculates does so in the default floating-point environment, whatever the host has set, and
// gives the host's back.
#include <fenv.h>
#include <gtest/gtest.h>

#include <array>
#include <vector>

#include "platform/team.h"
#include "safety/call_generator.h"
#include "support/fp_control.h"

namespace veskaro::test {
namespace {

struct Variant {
  int rounding = FE_TONEAREST;
  unsigned flushed = 0;
  int traps = 0;

  void set() const {
    fesetround(rounding);
    setFpControl(((fpControl() | trapsMasked(FE_ALL_EXCEPT)) & ~kFlushed & ~trapsMasked(traps)) | flushed);
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
    before_ = fpControl();
  }
  void leave() override {
    const unsigned after = fpControl();
    const int rounding = fegetround();
    Variant().set();
    EXPECT_EQ(after & ~kFpFlags, before_ & ~kFpFlags) << "not given back";
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
