// The addresses of one channel's samples.
#ifndef VESKARO_API_VNR_LATTICE_H
#define VESKARO_API_VNR_LATTICE_H

#include <cstddef>
#include <cstdint>

namespace veskaro::api {

// Samples of some bytes at first + y * rowStride + x * pixelStride, for x in [0, width) and y in [0, height). Inside,
// the strides are positive and the lines that lie farther apart are the outer ones, whether they are rows or columns.
class Lattice {
 public:
  Lattice(std::uintptr_t first, std::ptrdiff_t pixelStride, std::ptrdiff_t rowStride, int width, int height,
          int sampleBytes);

  // Samples lie beside each other, line after line, within the address space.
  bool isSound() const { return isSound_; }

  // Both are sound. Exact for lattices of the same strides; of different ones, lines that interlock count as sharing.
  bool sharesBytesWith(const Lattice& other) const;

 private:
  // Line spans [first + k * outer, + lineBytes()).
  std::uintptr_t lineBytes() const { return (innerCount_ - 1) * inner_ + bytes_; }
  std::uintptr_t end() const { return first_ + (outerCount_ - 1) * outer_ + lineBytes(); }
  bool hasSampleWithin(std::intptr_t distance, const Lattice& other) const;
  bool linesMeet(const Lattice& other) const;

  std::uintptr_t first_, inner_, outer_, innerCount_, outerCount_, bytes_;
  bool isSound_;
};

}  // namespace veskaro::api

#endif  // VESKARO_API_VNR_LATTICE_H
