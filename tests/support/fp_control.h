// The processor's word of floating-point control, for what the C environment has no functions for.
#ifndef VESKARO_TESTS_SUPPORT_FP_CONTROL_H
#define VESKARO_TESTS_SUPPORT_FP_CONTROL_H

#if defined(__SSE__)
#include <xmmintrin.h>
#endif

namespace veskaro::test {

#if defined(__SSE__)
constexpr unsigned kFlushed = 0x8040;  // to zero: results and operands that are denormal
constexpr unsigned kFpFlags = 0x3f;    // of what has happened
inline unsigned trapsMasked(int exceptions) {
  return static_cast<unsigned>(exceptions) << 7;
}
inline unsigned fpControl() {
  return _mm_getcsr();
}
inline void setFpControl(unsigned word) {
  _mm_setcsr(word);
}
#elif defined(__aarch64__)
constexpr unsigned kFlushed = 1u << 24, kFpFlags = 0;
inline unsigned trapsMasked(int) {
  return 0;  // few processors trap
}
inline unsigned fpControl() {
  return static_cast<unsigned>(__builtin_aarch64_get_fpcr());
}
inline void setFpControl(unsigned word) {
  __builtin_aarch64_set_fpcr(word);
}
#else  // nothing to set
constexpr unsigned kFlushed = 0, kFpFlags = 0;
inline unsigned trapsMasked(int) {
  return 0;
}
inline unsigned fpControl() {
  return 0;
}
inline void setFpControl(unsigned) {}
#endif

}  // namespace veskaro::test

#endif  // VESKARO_TESTS_SUPPORT_FP_CONTROL_H
