// A number that stands for many results: what the plain form gives is compared with what it once gave.
#ifndef VESKARO_TESTS_SUPPORT_DIGEST_H
#define VESKARO_TESTS_SUPPORT_DIGEST_H

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

namespace veskaro::test {

// 64-bit FNV-1a (Fowler, Noll, Vo) over values, a byte at a time, the lowest first. All not-a-numbers count as one.
class Digest {
 public:
  template <typename T>
  void add(T value) {
    std::uint64_t bits = 0x7fc00000u;
    if constexpr (std::is_floating_point_v<T>) {
      static_assert(sizeof value == 4);
      std::uint32_t word;
      std::memcpy(&word, &value, sizeof word);
      if (!std::isnan(value)) bits = word;
    } else {
      bits = static_cast<std::uint64_t>(value);
    }
    for (std::size_t k = 0; k < sizeof value; ++k) value_ = (value_ ^ (bits >> 8 * k & 0xff)) * 0x100000001b3u;
  }
  template <typename T>
  void add(const std::vector<T>& values) {
    for (const T value : values) add(value);
  }
  std::string text() const {
    char digits[17];
    std::snprintf(digits, sizeof digits, "%016llx", static_cast<unsigned long long>(value_));
    return digits;
  }

 private:
  std::uint64_t value_ = 0xcbf29ce484222325u;
};

}  // namespace veskaro::test

#endif  // VESKARO_TESTS_SUPPORT_DIGEST_H
