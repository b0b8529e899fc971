// A buffer whose first or last byte lies against a page that cannot be touched.
#ifndef VESKARO_TESTS_SUPPORT_GUARDED_H
#define VESKARO_TESTS_SUPPORT_GUARDED_H

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <stdexcept>
#include <vector>

namespace veskaro::test {

enum class Against { kStart, kEnd };  // which end of the buffer meets its guard page exactly

template <typename T>
class Guarded {
 public:
  Guarded(std::size_t count, Against edge) : count_(count) {
    const std::size_t page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::size_t bytes = count * sizeof(T);
    const std::size_t inner = (bytes + page - 1) / page * page;
    mapped_ = inner + 2 * page;
    map_ = static_cast<unsigned char*>(
        mmap(nullptr, mapped_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0));
    if (map_ == MAP_FAILED || (inner > 0 && mprotect(map_ + page, inner, PROT_READ | PROT_WRITE) != 0)) {
      throw std::runtime_error("no memory for a guarded buffer");
    }
    // Not a number as floats, and unlikely as samples: what is read by mistake shows.
    std::memset(map_ + page, kFilling, inner);
    data_ = reinterpret_cast<T*>(map_ + page + (edge == Against::kEnd ? inner - bytes : 0));
  }
  Guarded(const std::vector<T>& values, Against edge) : Guarded(values.size(), edge) {
    if (count_ > 0) std::memcpy(data_, values.data(), count_ * sizeof(T));
  }
  ~Guarded() { munmap(map_, mapped_); }
  Guarded(const Guarded&) = delete;
  Guarded& operator=(const Guarded&) = delete;

  T* data() { return data_; }
  std::size_t size() const { return count_; }
  std::vector<T> copy() const { return {data_, data_ + count_}; }

  // Whether the page's rest on the other side is as it was.
  bool surroundingsIntact() const {
    const std::size_t page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
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
