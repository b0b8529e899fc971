// Memory of our own, which may be refused.
#ifndef VESKARO_PLATFORM_HEAP_ARRAY_H
#define VESKARO_PLATFORM_HEAP_ARRAY_H

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <type_traits>
#include <utility>

namespace veskaro::platform {

enum class Fill { kZeros, kNothing };

// An array that tests false when its memory could not be had.
template <class T>
class HeapArray {
  static_assert(std::is_trivially_copyable_v<T>, "elements come into being by their bytes");

 public:
  HeapArray() = default;
  HeapArray(std::size_t count, Fill fill) : data_(take(count, fill)) {}
  HeapArray(HeapArray&& other) noexcept : data_(std::exchange(other.data_, nullptr)) {}
  HeapArray& operator=(HeapArray&& other) noexcept {
    std::swap(data_, other.data_);
    return *this;
  }
  ~HeapArray() { std::free(data_); }

  explicit operator bool() const { return data_ != nullptr; }
  T* data() { return data_; }
  const T* data() const { return data_; }
  T& operator[](std::size_t i) { return data_[i]; }
  const T& operator[](std::size_t i) const { return data_[i]; }

 private:
  // One element at least, so that null means refused.
  static T* take(std::size_t count, Fill fill) {
    if (count == 0) count = 1;
    if (count > PTRDIFF_MAX / sizeof(T)) return nullptr;
    return static_cast<T*>(fill == Fill::kZeros ? std::calloc(count, sizeof(T)) : std::malloc(count * sizeof(T)));
  }

  T* data_ = nullptr;
};

}  // namespace veskaro::platform

#endif  // VESKARO_PLATFORM_HEAP_ARRAY_H
