// Which samples lie upon each other, against counting their bytes.
#include "api/vnr/lattice.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <random>
#include <vector>

namespace veskaro::api {
namespace {

constexpr int kMiddle = 500;

struct Samples {
  int first, pixelStride, rowStride, width, height, bytes;

  Lattice lattice() const {
    return Lattice(static_cast<std::uintptr_t>(first), pixelStride, rowStride, width, height, bytes);
  }
  // How many samples hold each byte.
  std::vector<int> holders() const {
    std::vector<int> count(2 * kMiddle);
    for (int i = 0; i < width * height * bytes; ++i) {
      ++count[static_cast<std::size_t>(first + i / bytes % width * pixelStride + i / bytes / width * rowStride +
                                       i % bytes)];
    }
    return count;
  }
  // Lines of either direction lie beside each other, and so do their samples.
  bool liesInLines() const {
    const auto isNested = [this](int inner, int n, int outer, int lines) {
      return (n == 1 || inner >= bytes) && (lines == 1 || outer >= (n - 1) * inner + bytes);
    };
    const int pixel = std::abs(pixelStride), row = std::abs(rowStride);
    return isNested(pixel, width, row, height) || isNested(row, height, pixel, width);
  }
};

TEST(Lattice, KnowsWhatLiesUponWhat) {
  std::mt19937 random(1);
  const auto number = [&](int low, int high) {
    return low + static_cast<int>(random() % static_cast<unsigned>(high - low + 1));
  };
  int sound = 0, shared = 0, apart = 0;
  for (int round = 0; round < 60000; ++round) {
    const Samples a = {kMiddle, number(-9, 9), number(-30, 30), number(1, 4), number(1, 4), 1 << number(0, 2)};
    const Lattice own = a.lattice();
    ASSERT_EQ(own.isSound(), a.liesInLines());
    if (!own.isSound()) continue;
    ++sound;
    const std::vector<int> bytes = a.holders();
    EXPECT_EQ(*std::max_element(bytes.begin(), bytes.end()), 1);
    Samples b = a;
    b.first += number(-70, 70);
    b.width = number(1, 4), b.height = number(1, 4);
    const bool isAlike = number(0, 2) > 0;
    if (!isAlike) b.rowStride += number(-5, 5);
    const Lattice other = b.lattice();
    if (!other.isSound()) continue;
    const std::vector<int> others = b.holders();
    bool share = false;
    for (std::size_t k = 0; k < bytes.size(); ++k) share = share || bytes[k] + others[k] > 1;
    if (isAlike && a.width > 1 && a.height > 1 && b.width > 1 && b.height > 1) {
      ASSERT_EQ(own.sharesBytesWith(other), share);
      ++(share ? shared : apart);
    } else {
      ASSERT_TRUE(own.sharesBytesWith(other) || !share);
    }
  }
  EXPECT_GT(std::min({sound, shared, apart}), 1000);
}

TEST(Lattice, OfOtherStridesMeetWhereLinesDo) {
  const Lattice a(100, 2, 30, 5, 3, 1);
  EXPECT_FALSE(a.sharesBytesWith(Lattice(110, 2, 31, 5, 3, 1)));
  EXPECT_TRUE(a.sharesBytesWith(Lattice(103, 2, 31, 5, 3, 1)));
}

TEST(Lattice, EndsWithinTheAddressSpace) {
  constexpr std::ptrdiff_t kMost = std::numeric_limits<std::ptrdiff_t>::max();
  EXPECT_TRUE(Lattice(1, 4, kMost - 8, 2, 2, 4).isSound());
  EXPECT_FALSE(Lattice(1, 4, kMost - 7, 2, 2, 4).isSound());
  EXPECT_FALSE(Lattice(std::uintptr_t(-16), 4, 16, 2, 2, 4).isSound());
  EXPECT_FALSE(Lattice(16, 4, -16, 2, 2, 4).isSound()) << "begins at null";
  EXPECT_FALSE(Lattice(kMost, 4, -kMost - 1, 2, 2, 4).isSound());
}

}  // namespace
}  // namespace veskaro::api
