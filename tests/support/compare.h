// Comparison of buffers to the last bit.
#ifndef VESKARO_TESTS_SUPPORT_COMPARE_H
#define VESKARO_TESTS_SUPPORT_COMPARE_H

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstring>
#include <vector>

namespace veskaro::test {

// Equal bits; any two values that are not numbers count as equal.
inline bool isSame(float a, float b) {
  return (std::isnan(a) && std::isnan(b)) || std::memcmp(&a, &b, sizeof a) == 0;
}
template <typename Sample>
bool isSame(Sample a, Sample b) {
  return a == b;
}

template <typename T>
testing::AssertionResult sameBits(const std::vector<T>& expected, const std::vector<T>& actual) {
  if (expected.size() != actual.size()) {
    return testing::AssertionFailure() << expected.size() << " values expected, got " << actual.size();
  }
  std::size_t different = 0;
  std::size_t first = 0;
  for (std::size_t i = 0; i < expected.size(); ++i) {
    if (isSame(expected[i], actual[i])) continue;
    if (different++ == 0) first = i;
  }
  if (different == 0) return testing::AssertionSuccess();
  return testing::AssertionFailure() << different << " of " << expected.size() << " values differ, the first at "
                                     << first << ": expected " << testing::PrintToString(expected[first]) << ", got "
                                     << testing::PrintToString(actual[first]);
}

}  // namespace veskaro::test

#endif  // VESKARO_TESTS_SUPPORT_COMPARE_H
