#ifndef VESKARO_SIMD_VECTOR_RESULT_H
#define VESKARO_SIMD_VECTOR_RESULT_H

namespace veskaro::simd {

// What the vector form of a step answers. Unless it is done, nothing has been written.
enum class VectorResult {
  kDone,
  kPlainFormNeeded,  // no vectors on this processor, or an input that only the plain form handles
  kNoMemory,
};

}  // namespace veskaro::simd

#endif  // VESKARO_SIMD_VECTOR_RESULT_H
