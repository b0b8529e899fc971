#include "hdr/denoise1.h"

#include <gtest/gtest.h>

#include <thread>
#include <utility>

#include "VeskaroNRLib.h"
#include "hdr/rgbe_pictures.h"
#include "support/injected_failures.h"

namespace veskaro::test {
namespace {

bool allBytes(const RgbePicture& p, int value) {
  return std::all_of(p.bytes.begin(), p.bytes.end(), [value](unsigned char b) { return b == value; });
}

TEST(Denoise1, SettingsOfAStrength) {
  const hdr::HdrSettings nominal = hdr::settingsOfStrength(100), strongest = hdr::settingsOfStrength(150);
  EXPECT_FALSE(nominal.chromaOnly || nominal.midTonesToo);
  EXPECT_EQ(nominal.chromaThreshold, 0.4f);
  EXPECT_FLOAT_EQ(nominal.luminanceThreshold, 0.0013333333f);
  EXPECT_TRUE(strongest.midTonesToo && !strongest.chromaOnly);
  EXPECT_EQ(strongest.chromaThreshold, 1.0f);
  EXPECT_EQ(hdr::settingsOfStrength(120).chromaThreshold, 0.63999999f);
  EXPECT_EQ(hdr::settingsOfStrength(120).luminanceThreshold, 0.0021333334f);
  EXPECT_TRUE(hdr::settingsOfStrength(99).chromaOnly);
  EXPECT_EQ(hdr::settingsOfStrength(99).chromaThreshold, 0.396f);
  EXPECT_EQ(hdr::settingsOfStrength(50).chromaThreshold, 0.2f);
}

TEST(Denoise1, StrengthsOutsideTheRangeActAsNominal) {
  const RgbePicture picture = randomPicture(70, 50, Kind::kPhotograph, 1);
  const Outcome nominal = callDenoise1(picture, 100);
  for (int strength : {49, 151, 0, -2147483647 - 1, 2147483647}) {
    const Outcome other = callDenoise1(picture, strength, 32, -3, 1000);
    EXPECT_EQ(other.result.bytes, nominal.result.bytes) << strength;
    EXPECT_EQ(other.picture.bytes, nominal.picture.bytes) << strength;
  }
  EXPECT_NE(callDenoise1(picture, 101).result.bytes, nominal.result.bytes);
}

// The full mode is the chroma stage, left in the input, and the luminance stage run on it, with measured levels.
TEST(Denoise1, RunsTheStagesInOrder) {
  for (int strength : {60, 100, 140}) {
    RgbePicture picture = randomPicture(90, 64, Kind::kPhotograph, 2);
    const hdr::HdrSettings settings = hdr::settingsOfStrength(strength);
    float s[6];
    ASSERT_EQ(hdr_stats(0, 90, 64, 0, 0, 32, settings.luminanceThreshold, picture.data(), s), NR_OK);
    const RgbePicture chroma =
        callChroma(picture, {settings.midTonesToo, settings.chromaThreshold, std::exp(s[0]), std::exp(s[1])}).result;
    const RgbePicture full = callLuminance(chroma, {settings.midTonesToo, s[2], s[3], s[4], s[5]}).result;
    const Outcome call = callDenoise1(picture, strength);
    EXPECT_EQ(call.code, 64);
    EXPECT_EQ(call.result.bytes, (settings.chromaOnly ? chroma : full).bytes);
    EXPECT_EQ(call.picture.bytes, (settings.chromaOnly ? picture : chroma).bytes);
  }
}

TEST(Denoise1, RefusedCallsWriteNothing) {
  std::vector<unsigned char> bytes(4 * 40 * 40, 190), work(5 * bytes.size());
  unsigned char *const b = bytes.data(), *const w = work.data();
  const std::pair<int, int> calls[] = {
      // a code, and the call that is to return it
      {NR_REFUSED, denoise1(75, 40, 40, 0, 0, 24, b, b)},
      {NR_ERROR_ARGUMENT, denoise1(100, 40, 40, 0, 0, 24, b, b)},
      {NR_ERROR_ARGUMENT, denoise1(100, 31, 40, 0, 0, 32, b, b)},
      {NR_ERROR_ARGUMENT, denoise1(75, 40, 31, 0, 0, 32, b, b)},
      {NR_ERROR_ARGUMENT, denoise1(100, -64, -64, 0, 0, 32, b, b)},
      {NR_ERROR_ARGUMENT, denoise1(100, 1 << 14, 1 << 14, 0, 0, 32, b, b)},  // 2^31 bytes of offsets
      {NR_ERROR_ARGUMENT, denoise1(100, 40, 40, 0, 0, 32, nullptr, b)},
      {NR_ERROR_ARGUMENT, denoise1(100, 40, 40, 0, 0, 32, b, nullptr)},
      {NR_ERROR_STATISTICS, denoise1(100, 40, 40, 0, 0, 32, b, b)},  // no spread
      {NR_REFUSED, denoise_chroma(0, 0.4f, 40, 40, 0, 0, 24, 1e9f, 2e9f, nullptr, b, b)},
      {NR_ERROR_ARGUMENT, denoise_chroma(0, 0.4f, 40, 40, 0, 0, 32, 1e9f, 2e9f, nullptr, b, b)},
      {NR_ERROR_ARGUMENT, denoise_chroma(0, 0.4f, 0, 40, 0, 0, 32, 1e9f, 2e9f, w, b, b)},
      {NR_ERROR_ARGUMENT, denoise_chroma(0, 0.4f, 40, -1, 0, 0, 32, 1e9f, 2e9f, w, b, b)},
      {NR_ERROR_ARGUMENT, denoise_lumin(0, 40, 40, 0, 0, 24, 0, 1, 2, 0.1f, w, b, b)},
      {NR_ERROR_ARGUMENT, denoise_lumin(0, 40, 40, 0, 0, 32, 0, 1, 2, 0.1f, nullptr, b, b)},
      {NR_ERROR_ARGUMENT, denoise_lumin(0, -40, 40, 0, 0, 32, 0, 1, 2, 0.1f, w, b, b)}};
  for (const auto& [expected, code] : calls) EXPECT_EQ(code, expected);
  EXPECT_EQ(bytes, std::vector<unsigned char>(bytes.size(), 190));
}

// Whichever allocation fails: -4, and the buffers hold what the stages done so far left in them.
TEST(Denoise1, MemoryRunsOut) {
  const RgbePicture picture = randomPicture(64, 48, Kind::kPhotograph, 3);
  const Outcome whole = callDenoise1(picture, 100);
  int which = 0;
  for (bool failed = true; failed; ++which) {
    FailAllocation failure(which);
    const Outcome call = callDenoise1(picture, 100);
    failed = failure.happened();
    if (!failed) break;
    ASSERT_EQ(call.code, NR_ERROR_MEMORY) << which;
    if (call.picture.bytes == picture.bytes) {
      ASSERT_TRUE(allBytes(call.result, 0xEE)) << which;
    } else {
      ASSERT_EQ(call.picture.bytes, whole.picture.bytes) << which;
      ASSERT_TRUE(allBytes(call.result, 0)) << which;
    }
  }
  EXPECT_GE(which, 3);
}

TEST(Denoise1, CallsAtOnceAgreeWithCallsInTurn) {
  constexpr int kCalls = 4;
  std::vector<Outcome> parallel(kCalls, {0, {1, 1}, {1, 1}});
  std::vector<std::thread> threads;
  const auto input = [](int n) { return randomPicture(100 + n, 60 + 7 * n, Kind::kPhotograph, n); };
  for (int n = 0; n < kCalls; ++n) {
    threads.emplace_back([&, n] { parallel[n] = callDenoise1(input(n), 75 + 20 * n); });
  }
  for (std::thread& t : threads) t.join();
  for (int n = 0; n < kCalls; ++n) {
    const Outcome serial = callDenoise1(input(n), 75 + 20 * n);
    EXPECT_EQ(parallel[n].result.bytes, serial.result.bytes);
    EXPECT_EQ(parallel[n].picture.bytes, serial.picture.bytes);
  }
}

}  // namespace
}  // namespace veskaro::test
