// How much memory a call makes resident.
#include <VeskaroNRLib.h>
#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "support/pictures.h"
#include "support/targets.h"
#include "support/tuning.h"

namespace veskaro::test {
namespace {

// The most that the process has had resident, in kB since the last reset; 0 where the system does not say.
long peakMemory(bool reset) {
  if (reset && !(std::ofstream("/proc/self/clear_refs") << "5" << std::flush)) return 0;
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.rfind("VmHWM:", 0) == 0) return std::stol(line.substr(6));
  }
  return 0;
}

void expectAtMost(long kilobytes, const std::function<int()>& call) {
  const long before = peakMemory(true);
  EXPECT_GT(call(), 0);
  EXPECT_LE(peakMemory(false) - before, kilobytes);
}

class Memory : public testing::Test {
  void SetUp() override {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a sanitizer keeps memory of its own";
#endif
    if (peakMemory(true) == 0) GTEST_SKIP() << "the system does not tell";
  }
};

TEST_F(Memory, Denoise2StaysWithinTheAmountThatMem4denoiseTells) {
  auto in = makePicture<std::uint16_t>(1200, 900, 71), out = in;
  std::vector<float> params = defaultParams();
  for (const int unitTile : {64, 256}) {
    expectAtMost(mem4denoise(1200, 900, unitTile, 2) / 1024 + 2048, [&] {
      return denoise2(1200, 900, 3, 3600, 16, unitTile, 2, params.data(), nullptr,
                      reinterpret_cast<unsigned char*>(in.samples.data()),
                      reinterpret_cast<unsigned char*>(out.samples.data()));
    });
  }
}

// Its work memory is reserved, 96 megabytes here, but the vector forms do without it.
TEST_F(Memory, Denoise1TouchesAFewMegabytes) {
  if (chosenTarget() == "plain") GTEST_SKIP() << "the plain form fills its work memory";
  constexpr int kWidth = 12000, kHeight = 400;
  std::vector<unsigned char> picture(4 * kWidth * kHeight), result = picture;
  for (std::size_t k = 0; k < picture.size(); ++k) {
    const bool isExponent = k / kWidth % 4 == 3;
    picture[k] = static_cast<unsigned char>(isExponent ? 126 + k % 4 : 128 + k * 37 % 100);
  }
  expectAtMost(16 * 1024, [&] { return denoise1(100, kWidth, kHeight, 0, 0, 32, picture.data(), result.data()); });
}

}  // namespace
}  // namespace veskaro::test
