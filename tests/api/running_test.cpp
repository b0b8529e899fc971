// How calls run: told, stopped, and many at once.
#include <VeskaroNRLib.h>

#include <atomic>
#include <functional>
#include <set>
#include <string>
#include <thread>

#include "api/pictures.h"

namespace veskaro::test {
namespace {

struct Told {
  std::int64_t calls = 0, last = 0, total = 0, cancelAt = -1;
};

int hear(void* host, std::int64_t done, std::int64_t total) {
  Told& told = *static_cast<Told*>(host);
  ++told.calls;
  told.last = done;
  told.total = total;
  return done == told.cancelAt;
}

TEST(Running, ResultsHaveTexts) {
  std::set<std::string> texts;
  for (int result = VNR_OK; result >= VNR_CANCELLED - 1; --result) texts.insert(vnr_result_text(result));
  EXPECT_EQ(texts.size(), 15u);
  EXPECT_EQ(texts.count(vnr_result_text(99)), 1u) << "unknown";
  EXPECT_EQ(vnr_version(), 10000 * VESKARONR_VERSION_MAJOR + 100 * VESKARONR_VERSION_MINOR + VESKARONR_VERSION_PATCH);
}

TEST(Running, TellsOfEveryTileAndStopsWithinOne) {
  constexpr int kWidth = 400, kHeight = 300, kThreads = 3;
  const auto samples = sceneOf<std::uint8_t>(kWidth, kHeight, 1);
  std::vector<std::uint8_t> result(samples.size());
  const vnr_picture in = viewOf(samples, kWidth, kHeight), out = viewOf(result, kWidth, kHeight);
  const vnr_settings settings = classicFor(noiseOf(in), 1.0f, 56);
  Told told;
  vnr_control control = {sizeof control, kThreads, nullptr, hear, nullptr, &told};
  EXPECT_EQ(vnr_denoise(&in, &out, &settings, &control), VNR_OK);
  EXPECT_GT(told.calls, 40);
  EXPECT_EQ(told.calls, told.total);
  EXPECT_EQ(told.last, told.total);

  told = {0, 0, 0, 5};
  EXPECT_EQ(vnr_denoise(&in, &out, &settings, &control), VNR_CANCELLED);
  EXPECT_LE(told.calls, told.cancelAt + kThreads - 1) << "tiles that the others had begun";
  const std::int32_t cancel = 1;
  told = {};
  control.cancel = &cancel;
  EXPECT_EQ(vnr_denoise(&in, &out, nullptr, &control), VNR_CANCELLED);
  EXPECT_EQ(told.calls, 0);
}

using Work = std::function<std::vector<unsigned char>()>;

template <typename T>
std::vector<unsigned char> bytesOf(const std::vector<T>& values) {
  const auto* first = reinterpret_cast<const unsigned char*>(values.data());
  return {first, first + values.size() * sizeof(T)};
}

template <typename Sample>
Work filtering(float strength, int tile, int encoding = VNR_DISPLAY) {
  return [=] {
    const auto samples = sceneOf<Sample>(170, 120, 4);
    vnr_picture in = viewOf(samples, 170, 120, std::is_floating_point_v<Sample> ? 255.0f : 0.0f);
    in.encoding = encoding;
    const vnr_control two = {sizeof two, 2, nullptr, nullptr, nullptr, nullptr};
    return bytesOf(filtered(samples, in, classicFor(noiseOf(in), strength, tile), &two));
  };
}

std::vector<unsigned char> measuredFromBothSides() {
  const auto samples = sceneOf<std::uint16_t>(300, 200, 5);
  const vnr_picture whole = viewOf(samples, 300, 200, 255.0f);
  vnr_measurement* m = nullptr;
  vnr_measure_begin(300, 200, &m);
  for (const vnr_rectangle& part : {vnr_rectangle{150, 300, 0, 200}, vnr_rectangle{0, 150, 0, 200}}) {
    const vnr_picture piece = vnr_piece(whole, part);
    EXPECT_EQ(vnr_measure_add(m, &piece, nullptr), VNR_OK);
  }
  vnr_noise noise = noiseOf(whole);
  EXPECT_EQ(vnr_measure_finish(m, &noise), VNR_OK);
  vnr_measure_end(m);
  return bytesOf(std::vector<float>{noise.level, noise.statistic, static_cast<float>(noise.blocks_usable)});
}

std::vector<unsigned char> hdrDenoised() {
  auto in = sceneOf<std::uint8_t>(64, 86, 6);
  in.resize(4 * 64 * 64);
  for (std::size_t k = 0; k < in.size(); ++k) {
    if (k / 64 % 4 == 3) in[k] = static_cast<std::uint8_t>(126 + k % 5);
  }
  std::vector<std::uint8_t> out(in.size());
  EXPECT_EQ(denoise1(110, 64, 64, 0, 0, 32, in.data(), out.data()), 64);
  return out;
}

TEST(Running, EightCallsAtOnceGiveWhatTheyGiveAlone) {
  const std::vector<Work> works = {filtering<std::uint8_t>(1.0f, 64),
                                   filtering<std::uint8_t>(0.6f, 90),
                                   filtering<std::uint16_t>(1.4f, 64),
                                   filtering<float>(1.0f, 70),
                                   filtering<float>(1.2f, 56, VNR_LINEAR),
                                   filtering<float>(0.8f, 128),
                                   measuredFromBothSides,
                                   hdrDenoised};
  std::vector<std::vector<unsigned char>> alone;
  for (const Work& work : works) alone.push_back(work());
  std::vector<std::thread> threads;
  std::atomic<unsigned> ready{0};
  for (std::size_t k = 0; k < works.size(); ++k) {
    threads.emplace_back([&, k] {
      for (++ready; ready < works.size();) std::this_thread::yield();
      for (int round = 0; round < 3; ++round) EXPECT_EQ(works[k](), alone[k]) << "call " << k;
    });
  }
  for (std::thread& t : threads) t.join();
}

}  // namespace
}  // namespace veskaro::test
