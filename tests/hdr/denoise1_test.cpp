#include "hdr/denoise1.h"

#include <gtest/gtest.h>

#include <thread>

#include "VeskaroNRLib.h"
#include "hdr/rgbe_pictures.h"
#include "support/injected_failures.h"

namespace veskaro::test {
namespace {

struct Call {
  int result;
  RgbePicture picture, denoised;
};

Call denoise(const RgbePicture& input, int strength, int bits = 32, int rowStride = 0, int spp = 0) {
  Call call = {0, input, RgbePicture(input.width, input.height)};
  std::fill(call.denoised.bytes.begin(), call.denoised.bytes.end(), 0xEE);
  call.result =
      denoise1(strength, input.width, input.height, rowStride, spp, bits, call.picture.data(), call.denoised.data());
  return call;
}

bool allBytes(const RgbePicture& p, int value) {
  return std::all_of(p.bytes.begin(), p.bytes.end(), [value](unsigned char b) { return b == value; });
}

TEST(Denoise1, SettingsOfAStrength) {
  const HdrSettings nominal = settingsOfStrength(100), strongest = settingsOfStrength(150);
  EXPECT_FALSE(nominal.chromaOnly || nominal.strong);
  EXPECT_EQ(nominal.chromaThreshold, 0.4f);
  EXPECT_FLOAT_EQ(nominal.luminanceThreshold, 0.0013333333f);
  EXPECT_TRUE(strongest.strong && !strongest.chromaOnly);
  EXPECT_EQ(strongest.chromaThreshold, 1.0f);
  EXPECT_EQ(settingsOfStrength(120).chromaThreshold, 0.63999999f);
  EXPECT_EQ(settingsOfStrength(120).luminanceThreshold, 0.0021333334f);
  EXPECT_TRUE(settingsOfStrength(99).chromaOnly);
  EXPECT_EQ(settingsOfStrength(99).chromaThreshold, 0.396f);
  EXPECT_EQ(settingsOfStrength(50).chromaThreshold, 0.2f);
}

TEST(Denoise1, StrengthsOutsideTheRangeActAsNominal) {
  const RgbePicture picture = randomPicture(70, 50, Kind::kOrdinary, 1);
  const Call nominal = denoise(picture, 100);
  for (int strength : {49, 151, 0, -2147483647 - 1, 2147483647}) {
    const Call other = denoise(picture, strength, 32, -3, 1000);
    EXPECT_EQ(other.denoised.bytes, nominal.denoised.bytes) << strength;
    EXPECT_EQ(other.picture.bytes, nominal.picture.bytes) << strength;
  }
  EXPECT_NE(denoise(picture, 101).denoised.bytes, nominal.denoised.bytes);
}

// The full mode is the chroma stage, left in the input, and the luminance stage run on it, with measured levels.
TEST(Denoise1, RunsTheStagesInOrder) {
  for (int strength : {60, 100, 140}) {
    RgbePicture picture = randomPicture(90, 64, Kind::kOrdinary, 2), chroma(90, 64), full(90, 64);
    const HdrSettings settings = settingsOfStrength(strength);
    float s[6];
    ASSERT_EQ(hdr_stats(0, 90, 64, 0, 0, 32, settings.luminanceThreshold, picture.data(), s), NR_OK);
    std::vector<unsigned char> work(20 * 90 * 64);
    denoise_chroma(settings.strong, settings.chromaThreshold, 90, 64, 0, 0, 32, std::exp(s[0]), std::exp(s[1]),
                   work.data(), picture.data(), chroma.data());
    denoise_lumin(settings.strong, 90, 64, 0, 0, 32, s[2], s[3], s[4], s[5], work.data(), chroma.data(), full.data());
    const Call call = denoise(picture, strength);
    EXPECT_EQ(call.result, 64);
    EXPECT_EQ(call.denoised.bytes, (settings.chromaOnly ? chroma : full).bytes);
    EXPECT_EQ(call.picture.bytes, (settings.chromaOnly ? picture : chroma).bytes);
  }
}

TEST(Denoise1, RefusedCallsWriteNothing) {
  const RgbePicture picture = randomPicture(40, 40, Kind::kOrdinary, 3);
  const auto refused = [](const RgbePicture& p, int strength, int bits, int expected) {
    const Call call = denoise(p, strength, bits);
    EXPECT_EQ(call.result, expected);
    EXPECT_EQ(call.picture.bytes, p.bytes);
    EXPECT_TRUE(allBytes(call.denoised, 0xEE));
  };
  refused(picture, 75, 24, NR_REFUSED);
  refused(picture, 100, 24, NR_ERROR_ARGUMENT);
  refused(randomPicture(31, 40, Kind::kOrdinary, 3), 100, 32, NR_ERROR_ARGUMENT);
  refused(randomPicture(40, 31, Kind::kOrdinary, 3), 75, 32, NR_ERROR_ARGUMENT);
  refused(RgbePicture(40, 40), 100, 32, NR_ERROR_STATISTICS);

  unsigned char byte = 7;
  EXPECT_EQ(denoise1(100, 40, 40, 0, 0, 32, nullptr, &byte), NR_ERROR_ARGUMENT);
  EXPECT_EQ(denoise1(100, 40, 40, 0, 0, 32, &byte, nullptr), NR_ERROR_ARGUMENT);
  EXPECT_EQ(denoise1(100, 1 << 14, 1 << 14, 0, 0, 32, &byte, &byte), NR_ERROR_ARGUMENT) << "2^31 bytes of offsets";
  EXPECT_EQ(denoise1(100, -64, -64, 0, 0, 32, &byte, &byte), NR_ERROR_ARGUMENT);
  EXPECT_EQ(byte, 7);
}

// Whichever allocation fails: -4, and the buffers hold what the stages done so far left in them.
TEST(Denoise1, MemoryRunsOut) {
  const RgbePicture picture = randomPicture(64, 48, Kind::kOrdinary, 3);
  const Call whole = denoise(picture, 100);
  int which = 0;
  for (bool failed = true; failed; ++which) {
    FailAllocation failure(which);
    const Call call = denoise(picture, 100);
    failed = failure.happened();
    if (!failed) break;
    ASSERT_EQ(call.result, NR_ERROR_MEMORY) << which;
    if (call.picture.bytes == picture.bytes) {
      ASSERT_TRUE(allBytes(call.denoised, 0xEE)) << which;
    } else {
      ASSERT_EQ(call.picture.bytes, whole.picture.bytes) << which;
      ASSERT_TRUE(allBytes(call.denoised, 0)) << which;
    }
  }
  EXPECT_GE(which, 3);
}

TEST(Denoise1, CallsAtOnceAgreeWithCallsInTurn) {
  constexpr int kCalls = 4;
  std::vector<Call> parallel(kCalls, Call{0, RgbePicture(1, 1), RgbePicture(1, 1)});
  std::vector<std::thread> threads;
  const auto input = [](int n) { return randomPicture(100 + n, 60 + 7 * n, Kind::kOrdinary, n); };
  for (int n = 0; n < kCalls; ++n) {
    threads.emplace_back([&, n] { parallel[n] = denoise(input(n), 75 + 20 * n); });
  }
  for (std::thread& t : threads) t.join();
  for (int n = 0; n < kCalls; ++n) {
    const Call serial = denoise(input(n), 75 + 20 * n);
    EXPECT_EQ(parallel[n].denoised.bytes, serial.denoised.bytes);
    EXPECT_EQ(parallel[n].picture.bytes, serial.picture.bytes);
  }
}

}  // namespace
}  // namespace veskaro::test
