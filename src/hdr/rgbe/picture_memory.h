// Sizes of pictures, float planes in a host's memory, and memory of our own that may be refused.
#ifndef VESKARO_HDR_RGBE_PICTURE_MEMORY_H
#define VESKARO_HDR_RGBE_PICTURE_MEMORY_H

#include <cstddef>
#include <cstdlib>

namespace veskaro::hdr {

// A float at any address: hosts hand over byte pointers. The type keeps such accesses defined.
using PlaneSample = float __attribute__((aligned(1), may_alias));

struct PictureSize {
  int width;
  int height;

  bool isEmpty() const { return width < 1 || height < 1; }
  std::size_t pixels() const { return static_cast<std::size_t>(width) * static_cast<std::size_t>(height); }
};

// An array that tests false when its memory could not be had.
enum class Fill { kZeros, kNothing };

template <class T>
class HeapArray {
 public:
  HeapArray(std::size_t count, Fill fill)
      : data_(static_cast<T*>(fill == Fill::kZeros ? std::calloc(count, sizeof(T)) : std::malloc(count * sizeof(T)))) {}
  ~HeapArray() { std::free(data_); }
  HeapArray(const HeapArray&) = delete;
  HeapArray& operator=(const HeapArray&) = delete;

  explicit operator bool() const { return data_ != nullptr; }
  T* data() { return data_; }

 private:
  T* data_;
};

}  // namespace veskaro::hdr

#endif  // VESKARO_HDR_RGBE_PICTURE_MEMORY_H
