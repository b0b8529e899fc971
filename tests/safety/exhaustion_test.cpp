// Memory and threads run out at every point where the library asks for them.
#include <VeskaroNRLib.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "support/guarded.h"
#include "support/injected_failures.h"
#include "support/pictures.h"
#include "support/tuning.h"

namespace veskaro::test {
namespace {

// A call on fresh buffers: its result code, and the bytes of what it writes.
struct Outcome {
  int code;
  std::vector<unsigned char> written;
  bool hostIntact;  // inputs unchanged, nothing outside the buffers
  bool untouched;   // no byte of the result written
};

struct Asking {
  const char* name;
  std::function<Outcome()> call;
  bool leavesResult = false;  // a failure leaves the result untouched
};

std::vector<unsigned char> bytesOf(const void* data, std::size_t size) {
  const auto* bytes = static_cast<const unsigned char*>(data);
  return {bytes, bytes + size};
}

Outcome callDenoise2(int threads, bool oddWork) {
  const auto picture = makePicture<std::uint8_t>(200, 170, 5, 7, 99);
  Guarded<std::uint8_t> in(picture.samples, Against::kEnd), out(picture.samples.size(), Against::kEnd);
  auto params = defaultParams({{NR_NOISE_LEVEL, 1.0f}});
  const int need = mem4denoise(picture.width, picture.height, 64, threads);
  Guarded<std::uint8_t> work(static_cast<std::size_t>(need) + 1, Against::kStart);
  const int code = denoise2(picture.width, picture.height, 3, picture.rowStride, 8, 64, threads, params.data(),
                            oddWork ? work.data() + 1 : nullptr, in.data(), out.data());
  bool intact = in.copy() == picture.samples && in.surroundingsIntact() && out.surroundingsIntact();
  for (std::size_t k = 0; k < out.size(); ++k) {
    const bool isPadding = static_cast<int>(k) % picture.rowStride >= 3 * picture.width;
    if (isPadding && out.data()[k] != 0xff) intact = false;
  }
  return {code, code == NR_OK ? out.copy() : std::vector<unsigned char>(), intact, false};
}

std::vector<unsigned char> hdrPicture(int w, int h) {
  std::vector<unsigned char> picture(static_cast<std::size_t>(4 * w * h));
  for (int k = 0; k < 4 * w * h; ++k) {
    const bool isExponent = k / w % 4 == 3;
    picture[static_cast<std::size_t>(k)] = static_cast<unsigned char>(isExponent ? 126 + k % 4 : 128 + k * 37 % 100);
  }
  return picture;
}

enum class HdrCall { kWhole, kStatistics, kChroma, kLuminance };

Outcome callHdr(HdrCall which, int side = 48) {
  const std::vector<unsigned char> picture = hdrPicture(side, side);
  Guarded<unsigned char> in(picture, Against::kEnd), out(picture.size(), Against::kStart);
  Guarded<float> work(static_cast<std::size_t>(5 * side * side), Against::kEnd), statistics(6, Against::kEnd);
  auto* scratch = reinterpret_cast<unsigned char*>(work.data());
  int code = 0;
  if (which == HdrCall::kWhole) code = denoise1(100, side, side, 0, 0, 32, in.data(), out.data());
  if (which == HdrCall::kStatistics) {
    code = hdr_stats(0, side, side, 0, 0, 32, 0.5f, in.data(), statistics.data());
  }
  if (which == HdrCall::kChroma) {
    code = denoise_chroma(1, 0.4f, side, side, 0, 0, 32, 1.0f, 4.0f, scratch, in.data(), out.data());
  }
  if (which == HdrCall::kLuminance) {
    code = denoise_lumin(1, side, side, 0, 0, 32, -1.0f, 0.0f, 2.0f, 0.4f, scratch, in.data(), out.data());
  }
  const bool guards = in.surroundingsIntact() && out.surroundingsIntact() && work.surroundingsIntact();
  const std::vector<unsigned char> blank(picture.size(), 0xff);
  const auto measured = bytesOf(statistics.data(), 6 * sizeof(float));
  const bool noStatistics = measured == std::vector<unsigned char>(measured.size(), 0xff);
  auto written = out.copy();
  written.insert(written.end(), measured.begin(), measured.end());
  return {code, written, guards && (which == HdrCall::kWhole || in.copy() == picture),
          noStatistics && out.copy() == blank};
}

Outcome callProfile() {
  const auto picture = makePicture<std::uint8_t>(200, 170, 5);
  Guarded<std::uint8_t> in(picture.samples, Against::kEnd);
  Guarded<unsigned char> work(48 * 6 * 5 + 1280 + 1, Against::kEnd);
  auto params = defaultParams({{NR_NOISE_LEVEL, 1.0f}});
  const auto before = params;
  const int code = auto_profile(200, 170, 600, params.data(), work.data() + 1, in.data());
  return {code, bytesOf(params.data(), params.size() * sizeof(float)),
          in.copy() == picture.samples && work.surroundingsIntact(), params == before};
}

Outcome callFilters(int workers, bool wholeTile) {
  tune();
  Level level = makeLevel(70, 60, Kind::kScene, 3);
  const auto pyramid = static_cast<std::size_t>(3 * len_pyram(3, 70, 60));
  level.samples.resize(pyramid);
  Guarded<float> a(pyramid, Against::kEnd), image(level.samples, Against::kEnd);
  Guarded<float> b(3 * 70 * 60, Against::kEnd), c(3 * 70 * 60, Against::kStart);
  int area[] = {8, 62, 8, 52};
  const int code =
      wholeTile ? denoise_tile(70, 60, area, 3, workers, a.data(), b.data(), c.data(), image.data())
                : (noiseReduce_set(0, 70, 60, area, 3, workers, 0, a.data(), b.data(), c.data(), image.data()), 0);
  return {code, bytesOf(image.data(), pyramid * sizeof(float)),
          a.surroundingsIntact() && b.surroundingsIntact() && c.surroundingsIntact(), false};
}

Outcome callRanking() {
  std::vector<int> keys = {5, 3, 9, 3}, order(4);
  const int code = iclassement2(4, keys.data(), order.data());
  return {code == 0 ? NR_ERROR_MEMORY : code, bytesOf(order.data(), 4 * sizeof(int)), keys[2] == 9, false};
}

const std::vector<Asking>& calls() {
  static const std::vector<Asking> all = {
      {"denoise2", [] { return callDenoise2(3, false); }},
      {"denoise2, one thread", [] { return callDenoise2(1, false); }},
      {"denoise2, work at an odd address", [] { return callDenoise2(2, true); }},
      {"denoise1", [] { return callHdr(HdrCall::kWhole); }},
      {"hdr_stats", [] { return callHdr(HdrCall::kStatistics); }, true},
      {"hdr_stats, many pixels", [] { return callHdr(HdrCall::kStatistics, 200); }, true},
      {"denoise_chroma", [] { return callHdr(HdrCall::kChroma); }, true},
      {"denoise_lumin", [] { return callHdr(HdrCall::kLuminance); }, true},
      {"auto_profile", callProfile, true},
      {"denoise_tile", [] { return callFilters(1, true); }},
      {"denoise_tile, workers", [] { return callFilters(3, true); }},
      {"noiseReduce_set, workers", [] { return callFilters(4, false); }},
      {"iclassement2", callRanking},
  };
  return all;
}

// Makes every call with the first, the second, ... of what it asks for refused, until a call asks for less. expectSound
// gets the outcome without a failure and the one with it. Returns how many calls met a failure.
template <class Failure, class ExpectSound>
int failOneByOne(const ExpectSound& expectSound) {
  int failures = 0;
  for (const Asking& asking : calls()) {
    const Outcome reference = asking.call();
    EXPECT_GE(reference.code, 0) << asking.name;
    for (int which = 0, more = 1; more && which < 1000; ++which) {
      SCOPED_TRACE(asking.name + std::string(", failure ") + std::to_string(which));
      const int before = liveBlocks();
      Outcome got;
      {
        const Failure failure(which);
        got = asking.call();
        more = failure.happened();
      }
      EXPECT_TRUE(got.hostIntact);
      EXPECT_EQ(liveBlocks(), before) << "leaked";
      expectSound(asking, reference, got);
      failures += more;
    }
  }
  return failures;
}

void expectSame(const Outcome& reference, const Outcome& got) {
  EXPECT_EQ(got.code, reference.code);
  EXPECT_TRUE(got.written == reference.written) << "other bytes than with enough of everything";
}

TEST(Exhaustion, MemoryFailsAtEveryAllocation) {
  const auto expectSound = [](const Asking& asking, const Outcome& reference, const Outcome& got) {
    if (got.code >= 0) return expectSame(reference, got);
    EXPECT_EQ(got.code, NR_ERROR_MEMORY);
    EXPECT_TRUE(!asking.leavesResult || got.untouched);
  };
  EXPECT_GE(failOneByOne<FailAllocation>(expectSound), 15) << "hardly any allocation was seen";
}

TEST(Exhaustion, ThreadsFailAtEveryCreation) {
  const auto expectSound = [](const Asking&, const Outcome& reference, const Outcome& got) {
    expectSame(reference, got);
  };
  EXPECT_GE(failOneByOne<FailThreads>(expectSound), 12) << "hardly any thread was seen";
}

}  // namespace
}  // namespace veskaro::test
