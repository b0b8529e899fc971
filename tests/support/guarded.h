// A buffer whose first or last byte lies against a page that cannot be touched.
#ifndef VESKARO_TESTS_SUPPORT_GUARDED_H
#define VESKARO_TESTS_SUPPORT_GUARDED_H

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <vector>

#include "support/pages.h"

namespace veskaro::test {

enum class Against { kStart, kEnd };  // which end of the buffer meets its guard page exactly

template <typename T>
class Guarded {
 public:
  Guarded(std::size_t count, Against edge) : count_(count) {
    const std::size_t page = pageBytes();
    const std::size_t bytes = count * sizeof(T);
    const std::size_t inner = (bytes + page - 1) / page * page;
    mapped_ = inner + 2 * page;
    map_ = reservePages(mapped_, page, inner);
    // Not a number as floats, and unlikely as samples: what is read by mistake shows.
    std::memset(map_ + page, kFilling, inner);
    data_ = reinterpret_cast<T*>(map_ + page + (edge == Against::kEnd ? inner - bytes : 0));
  }
  Guarded(const std::vector<T>& values, Against edge) : Guarded(values.size(), edge) {
    if (count_ > 0) std::memcpy(data_, values.data(), count_ * sizeof(T));
  }
  ~Guarded() { releasePages(map_, mapped_); }
  Guarded(const Guarded&) = delete;
  Guarded& operator=(const Guarded&) = delete;

  T* data() { return data_; }
  std::size_t size() const { return count_; }
  std::vector<T> copy() const { return {data_, data_ + count_}; }

  // Whether the page's rest on the other side is as it was.
  bool surroundingsIntact() const {
    const std::size_t page = pageBytes();
    const auto isFilling = [](unsigned char byte) { return byte == kFilling; };
    const auto* begin = reinterpret_cast<const unsigned char*>(data_);
    return std::all_of(static_cast<const unsigned char*>(map_ + page), begin, isFilling) &&
           std::all_of(begin + count_ * sizeof(T), static_cast<const unsigned char*>(map_ + mapped_ - page), isFilling);
  }

 private:
  static constexpr unsigned char kFilling = 0xff;
  std::size_t count_;
  std::size_t mapped_ = 0;
  unsigned char* map_ = nullptr;
  T* data_ = nullptr;
};

}  // namespace veskaro::test

#endif  // VESKARO_TESTS_SUPPORT_GUARDED_H
