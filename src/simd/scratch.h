#ifndef VESKARO_SIMD_SCRATCH_H
#define VESKARO_SIMD_SCRATCH_H

#include <cstdlib>

#include "simd/arena.h"

namespace veskaro::simd {

// Zeroed memory for Pieces, whose constructor takes an arena first and measures when the arena does: it is built twice,
// so anything dear belongs elsewhere. Tests false when the memory is not to be had.
template <class Pieces>
class Scratch {
 public:
  template <class... Arguments>
  explicit Scratch(const Arguments&... arguments)
      : memory_(zeroed(floatsOf(arguments...))), arena_(memory_), pieces_(&arena_, arguments...) {}
  ~Scratch() { std::free(memory_); }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;

  explicit operator bool() const { return memory_ != nullptr; }
  Pieces& operator*() { return pieces_; }
  Pieces* operator->() { return &pieces_; }

 private:
  template <class... Arguments>
  static std::ptrdiff_t floatsOf(const Arguments&... arguments) {
    Arena measure(nullptr);
    const Pieces pieces(&measure, arguments...);
    return measure.needed();
  }

  static float* zeroed(std::ptrdiff_t floats) {
    return static_cast<float*>(std::calloc(static_cast<std::size_t>(floats), sizeof(float)));
  }

  float* memory_;
  Arena arena_;
  Pieces pieces_;
};

}  // namespace veskaro::simd

#endif  // VESKARO_SIMD_SCRATCH_H
