// Where the C environment is not all there is to set, it is set by name: on x86 the control word. On 64-bit ARM flushing
// denormal numbers is part of the C environment; other processors do not flush them unless told by a word of their own.
#include "platform/fp_environment.h"

#if defined(__SSE__)
#include <xmmintrin.h>
#endif

namespace veskaro::platform {

DefaultFpEnvironment::DefaultFpEnvironment() {
  std::fegetenv(&host_);
  std::fesetenv(FE_DFL_ENV);
#if defined(__SSE__)
  // Flush-to-zero and denormals-are-zero are not part of the C environment: clear them by name.
  constexpr unsigned kDefaultControl = 0x1f80;
  _mm_setcsr(kDefaultControl);
#endif
}

DefaultFpEnvironment::~DefaultFpEnvironment() {
  std::fesetenv(&host_);
}

}  // namespace veskaro::platform
