// How a step with two forms ends.
#ifndef VESKARO_HDR_FORMS_H
#define VESKARO_HDR_FORMS_H

#include "simd/vector_result.h"

namespace veskaro::hdr {

// Whether the step is done, by the plain form where the vector form leaves it to it; false when there was no memory.
template <class PlainForm>
bool isDone(simd::VectorResult result, const PlainForm& plainForm) {
  return result == simd::VectorResult::kPlainFormNeeded ? plainForm() : result == simd::VectorResult::kDone;
}

}  // namespace veskaro::hdr

#endif  // VESKARO_HDR_FORMS_H
