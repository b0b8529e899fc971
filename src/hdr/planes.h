// Float planes in a host's memory, and memory of our own that may be refused.
#ifndef VESKARO_HDR_PLANES_H
#define VESKARO_HDR_PLANES_H

#include <cstddef>
#include <cstdlib>

namespace veskaro {

// A float at any address: hosts hand over byte pointers. The type keeps such accesses defined.
using PlaneSample = float __attribute__((aligned(1), may_alias));

struct PictureSize {
  int width;
  int height;

  bool Empty() const { return width < 1 || height < 1; }
  std::size_t Pixels() const { return static_cast<std::size_t>(width) * static_cast<std::size_t>(height); }
};

// Zero-filled array that tests false when the memory could not be had.
template <class T>
class ZeroedArray {
 public:
  explicit ZeroedArray(std::size_t count) : data_(static_cast<T*>(std::calloc(count, sizeof(T)))) {}
  ~ZeroedArray() { std::free(data_); }
  ZeroedArray(const ZeroedArray&) = delete;
  ZeroedArray& operator=(const ZeroedArray&) = delete;

  explicit operator bool() const { return data_ != nullptr; }
  T* data() { return data_; }

 private:
  T* data_;
};

}  // namespace veskaro

#endif  // VESKARO_HDR_PLANES_H
