#include "platform/fp_environment.h"

#if defined(__SSE__)
#include <xmmintrin.h>
#endif

namespace veskaro::platform {
namespace {

// What the C environment lacks, by name. On x86 that is the control word: flush-to-zero and denormals-are-zero are not
// part of C, and not every C library gives the rest back. On 64-bit ARM C has it all, and other processors do not flush
// denormal numbers unless told by a word of their own.
#if defined(__SSE__)
constexpr unsigned kDefaultControl = 0x1f80;  // round to nearest, traps masked, nothing flushed

unsigned control() {
  return _mm_getcsr();
}
void setControl(unsigned word) {
  _mm_setcsr(word);
}
#else
constexpr unsigned kDefaultControl = 0;

unsigned control() {
  return 0;
}
void setControl(unsigned) {}
#endif

}  // namespace

DefaultFpEnvironment::DefaultFpEnvironment() : hostsControl_(control()) {
  std::fegetenv(&host_);
  std::fesetenv(FE_DFL_ENV);
  setControl(kDefaultControl);
}

DefaultFpEnvironment::~DefaultFpEnvironment() {
  std::fesetenv(&host_);
  setControl(hostsControl_);
}

}  // namespace veskaro::platform
