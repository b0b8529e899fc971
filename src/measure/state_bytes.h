// A measurement as plain bytes: a header, the records of all blocks, the fragments, the same of the Haar blocks,
// and the spectra of some of these.
// Bytes that come back damaged are refused.
#ifndef VESKARO_MEASURE_STATE_BYTES_H
#define VESKARO_MEASURE_STATE_BYTES_H

#include <cstddef>

#include "measure/measurement.h"

namespace veskaro::measure {

std::size_t stateBytes(const Measurement& measurement);
void saveState(const Measurement& measurement, unsigned char* bytes);

// The size of the picture that the bytes speak of; false for bytes of another kind, version or length, or whose check
// does not hold.
struct StateSize {
  int width, height;
};
bool readStateSize(const unsigned char* bytes, std::size_t size, StateSize* picture);

// Into a new measurement of that size. kOtherPicture for contents that no measurement has.
Result loadState(const unsigned char* bytes, Measurement* measurement);

}  // namespace veskaro::measure

#endif  // VESKARO_MEASURE_STATE_BYTES_H
