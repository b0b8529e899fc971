// Filtering: the bytes of denoise2 in any pieces, from any layout and type.
#include <VeskaroNRLib.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <random>

#include "api/pictures.h"
#include "support/compare.h"
#include "support/guarded.h"
#include "support/injected_failures.h"
#include "support/targets.h"
#include "support/tuning.h"

namespace veskaro::test {
namespace {

using Random = std::mt19937;

int number(Random& random, int low, int high) {
  return low + static_cast<int>(random() % static_cast<unsigned>(high - low + 1));
}

// The cells of a random grid, in random order.
std::vector<vnr_rectangle> randomCut(Random& random, int width, int height) {
  const int columns = number(random, 1, 300), rows = number(random, 1, 300);
  std::vector<vnr_rectangle> cells;
  for (int y = 0; y < height; y += rows) {
    for (int x = 0; x < width; x += columns) {
      cells.push_back({x, std::min(x + columns, width), y, std::min(y + rows, height)});
    }
  }
  std::shuffle(cells.begin(), cells.end(), random);
  return cells;
}

template <typename Sample>
std::vector<Sample> filteredInPieces(Random& random, const std::vector<Sample>& samples, const vnr_picture& in,
                                     const vnr_settings& settings) {
  std::vector<Sample> result(samples.size());
  const vnr_picture out = viewOf(result, in.width, in.height);
  vnr_plan* plan = nullptr;
  EXPECT_EQ(vnr_plan_begin(in.width, in.height, &settings, &plan), VNR_OK);
  for (const vnr_rectangle& cell : randomCut(random, in.width, in.height)) {
    vnr_rectangle read;
    EXPECT_EQ(vnr_plan_cover(plan, &cell, &read, nullptr), VNR_OK);
    const vnr_picture from = vnr_piece(in, read), to = vnr_piece(out, cell);
    const vnr_control control = {sizeof control, number(random, 0, 3), nullptr, nullptr, nullptr, nullptr};
    EXPECT_EQ(vnr_plan_filter(plan, &from, &to, &control), VNR_OK);
  }
  vnr_plan_end(plan);
  return result;
}

template <typename Sample>
void expectDenoise2InPieces(unsigned seed) {
  Random random(seed);
  const int width = number(random, 1, 300), height = number(random, 1, 200), tile = number(random, 56, 260);
  auto samples = makePicture<Sample>(width, height, seed).samples;
  if (seed % 4 == 0) std::fill(samples.begin(), samples.end(), Sample{7});
  const float strength = std::array{1.0f, 0.7f, 1.3f, 9.0f}[random() % 4];
  std::vector<Sample> expected(samples.size());
  std::vector<float> params = defaultParams({{NR_NOISE_LEVEL, strength}});
  ASSERT_EQ(
      denoise2(width, height, 3, 3 * width, 8 * sizeof(Sample), tile, 3, params.data(), nullptr,
               reinterpret_cast<unsigned char*>(samples.data()), reinterpret_cast<unsigned char*>(expected.data())),
      NR_OK);
  const vnr_picture in = viewOf(samples, width, height);
  const vnr_settings settings = classicFor(noiseOf(in), strength, tile);
  EXPECT_TRUE(sameBits(params, std::vector<float>(settings.params, settings.params + NR_PARAM_COUNT)));
  EXPECT_TRUE(sameBits(expected, filteredInPieces(random, samples, in, settings)));
  const vnr_settings staged = withStages(settings, seed);
  EXPECT_TRUE(sameBits(filtered(samples, in, staged), filteredInPieces(random, samples, in, staged))) << "with stages";
}

TEST(Filter, IsDenoise2InAnyPieces) {
  tune();
  for (unsigned seed = 0; seed < 16; ++seed) {
    SCOPED_TRACE(seed);
    expectDenoise2InPieces<std::uint8_t>(seed);
    expectDenoise2InPieces<std::uint16_t>(seed);
  }
}

constexpr int kWidth = 150, kHeight = 90, kTile = 64;

TEST(Filter, TakesAnyLayout) {
  const auto samples = sceneOf<std::uint8_t>(kWidth, kHeight, 5);
  const vnr_picture plain = viewOf(samples, kWidth, kHeight);
  const vnr_settings settings = classicFor(noiseOf(plain), 1.0f, kTile);
  const auto expected = filtered(samples, plain, settings);
  struct Layout {
    const char* name;
    int pixel, row, channel[3];  // strides, and where the channels begin
  };
  constexpr int kPlane = kWidth * kHeight, kLast = 4 * kWidth * kHeight;
  for (const Layout& l :
       {Layout{"planar", 1, kWidth, {0, kPlane, 2 * kPlane}}, Layout{"BGR", 3, 3 * kWidth, {2, 1, 0}},
        Layout{"alpha first", 4, 4 * kWidth, {1, 2, 3}},
        Layout{"mirrored", -3, 3 * kWidth, {3 * kWidth - 3, 3 * kWidth - 2, 3 * kWidth - 1}},
        Layout{"bottom-up", 4, -4 * kWidth, {kLast - 4 * kWidth, kLast - 4 * kWidth + 1, kLast - 4 * kWidth + 2}},
        Layout{"columns", 3 * kHeight, 3, {0, 1, 2}}}) {
    SCOPED_TRACE(l.name);
    std::vector<std::uint8_t> memory(kLast), result(kLast, 99), as(samples.size());
    vnr_picture in = plain, out = plain;
    in.pixel_stride = out.pixel_stride = l.pixel;
    in.row_stride = out.row_stride = l.row;
    const auto visit = [&](const auto& each) {
      for (int i = 0; i < 3 * kWidth * kHeight; ++i) {
        each(i, l.channel[i % 3] + i / 3 % kWidth * l.pixel + i / 3 / kWidth * l.row);
      }
    };
    visit([&](int i, int at) { memory[at] = samples[i]; });
    for (int k = 0; k < 3; ++k) in.channel[k] = &memory[l.channel[k]], out.channel[k] = &result[l.channel[k]];
    ASSERT_EQ(vnr_denoise(&in, &out, &settings, nullptr), VNR_OK);
    visit([&](int i, int at) { as[i] = result[at]; });
    EXPECT_TRUE(sameBits(expected, as));
    EXPECT_EQ(noiseOf(in).statistic, noiseOf(plain).statistic);
  }
}

TEST(Filter, GreyIsGreenOfThreeAlike) {
  auto samples = sceneOf<std::uint8_t>(kWidth, kHeight, 6);
  for (std::size_t i = 0; i < samples.size(); ++i) samples[i] = samples[i - i % 3];
  const vnr_picture colour = viewOf(samples, kWidth, kHeight);
  const vnr_settings classic = classicFor(noiseOf(colour), 1.0f, kTile);
  vnr_picture grey = colour;
  grey.channels = 1;
  EXPECT_EQ(noiseOf(grey).level, noiseOf(colour).level);
  for (const vnr_settings& settings : {classic, withStages(classic, 3)}) {
    const auto expected = filtered(samples, colour, settings);
    std::vector<std::uint8_t> result(samples.size(), 3);
    vnr_picture out = viewOf(result, kWidth, kHeight);
    out.channels = 1;
    ASSERT_EQ(vnr_denoise(&grey, &out, &settings, nullptr), VNR_OK);
    for (std::size_t i = 0; i < result.size(); ++i) ASSERT_EQ(result[i], i % 3 == 0 ? expected[i + 1] : 3) << i;
  }
}

// Working values are whole for 8 bits and quarters for 10, on every type's scale.
TEST(Filter, TypesAndRoundingsAgree) {
  const auto bytes = sceneOf<std::uint8_t>(kWidth, kHeight, 7);
  const vnr_picture in = viewOf(bytes, kWidth, kHeight);
  const vnr_noise noise = noiseOf(in);
  const auto with = [&](int rounding) { return classicFor(noise, 1.3f, kTile, rounding); };
  const std::vector<float> floats(bytes.begin(), bytes.end());
  const vnr_picture ofFloats = viewOf(floats, kWidth, kHeight, 255.0f);
  EXPECT_EQ(noiseOf(ofFloats).statistic, noise.statistic);
  const auto truncated = filtered(bytes, in, with(VNR_ROUND_TRUNCATE)),
             nearest = filtered(bytes, in, with(VNR_ROUND_NEAREST));
  EXPECT_TRUE(sameBits(std::vector<float>(truncated.begin(), truncated.end()),
                       filtered(floats, ofFloats, with(VNR_ROUND_TRUNCATE))));
  EXPECT_NE(truncated, nearest);

  auto exact = filtered(floats, ofFloats, with(VNR_ROUND_NONE));
  EXPECT_TRUE(sameBits(exact, filtered(floats, ofFloats, with(VNR_ROUND_AUTO))));
  for (float& v : exact) v = std::nearbyint(std::clamp(v, 0.0f, 255.0f));
  EXPECT_TRUE(sameBits(exact, filtered(floats, ofFloats, with(VNR_ROUND_NEAREST))));
  EXPECT_TRUE(sameBits(exact, std::vector<float>(nearest.begin(), nearest.end())));

  std::vector<std::uint16_t> tenBits(bytes.size());
  std::vector<float> quarters(bytes.size());
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    tenBits[i] = static_cast<std::uint16_t>(i % 999 == 0 ? 5000 : 4 * bytes[i] + i % 4);
    quarters[i] = std::min<float>(tenBits[i], 1023) / 4.0f;
  }
  auto expected = filtered(quarters, viewOf(quarters, kWidth, kHeight, 255.0f), with(VNR_ROUND_NONE));
  for (float& v : expected) v = std::nearbyint(std::clamp(4.0f * v, 0.0f, 1023.0f));
  const auto ofTen = filtered(tenBits, viewOf(tenBits, kWidth, kHeight, 1023.0f), with(VNR_ROUND_NEAREST));
  EXPECT_TRUE(sameBits(expected, std::vector<float>(ofTen.begin(), ofTen.end())));
}

TEST(Filter, LinearHasNoScaleOfItsOwn) {
  auto dim = sceneOf<float>(kWidth, kHeight, 8);
  for (float& v : dim) v = v * v / 65536.0f;
  for (int i = 0; i < 8 * 30; ++i) dim[3 * (kWidth * (i / 30 + 40)) + i % 30] = 20.0f;  // a lamp, beyond the scale
  auto bright = dim;
  for (float& v : bright) v *= 4.0f;
  vnr_picture in = viewOf(dim, kWidth, kHeight), inBright = viewOf(bright, kWidth, kHeight);
  in.encoding = inBright.encoding = VNR_LINEAR;
  const vnr_noise noise = noiseOf(in), noiseBright = noiseOf(inBright);
  EXPECT_EQ(noise.reason, VNR_MEASURED);
  EXPECT_LT(noise.linear_scale, 10.0f);
  EXPECT_EQ(noiseBright.linear_scale, 4.0f * noise.linear_scale);
  EXPECT_EQ(noiseBright.level, noise.level);
  EXPECT_EQ(classicFor(noise, 1.0f, kTile).params[NR_HIGHLIGHT_NOISE], 1.0f) << "roots have one noise";
  auto result = filtered(dim, in, classicFor(noise, 1.0f, kTile));
  EXPECT_GT(*std::max_element(result.begin(), result.end()), 15.0f);
  EXPECT_NE(result, dim);
  for (float& v : result) v *= 4.0f;
  EXPECT_TRUE(sameBits(result, filtered(bright, inBright, classicFor(noiseBright, 1.0f, kTile))));

  const std::vector<float> black(dim.size());
  vnr_picture dark = viewOf(black, kWidth, kHeight);
  dark.encoding = VNR_LINEAR;
  EXPECT_EQ(filtered(black, dark, classicFor(noiseOf(dark), 1.0f, kTile)), black);
}

template <typename Sample>
void expectSameOnEveryTarget(const vnr_picture& in, const std::vector<Sample>& samples, const vnr_settings& filters) {
  SCOPED_TRACE(testing::Message() << "type " << in.type << ", rounding " << filters.rounding);
  for (const vnr_settings& settings : {filters, withStages(filters, 5), withStages(filters, 6)}) {
    const auto expected = onPlainTarget([&] { return filtered(samples, in, settings); });
    forEachTarget([&](const char*) { EXPECT_TRUE(sameBits(expected, filtered(samples, in, settings))); });
  }
}

TEST(Filter, IsTheSameOnEveryTarget) {
  const auto bytes = makePicture<std::uint8_t>(97, 65, 9).samples;
  const auto words = makePicture<std::uint16_t>(97, 65, 9).samples;
  std::vector<float> floats(bytes.begin(), bytes.end());
  for (float& v : floats) v = v * 1.3f - 20.0f;
  vnr_picture ofBytes = viewOf(bytes, 97, 65), ofFloats = viewOf(floats, 97, 65, 254.0f);
  const vnr_noise noise = noiseOf(ofBytes);
  for (const int rounding : {VNR_ROUND_TRUNCATE, VNR_ROUND_NEAREST, VNR_ROUND_NONE}) {
    vnr_settings settings = classicFor(noise, 1.2f, 56, rounding);
    settings.linear_scale = 170.0f;
    if (rounding != VNR_ROUND_NONE) {
      expectSameOnEveryTarget(ofBytes, bytes, settings);
      expectSameOnEveryTarget(viewOf(words, 97, 65), words, settings);
      expectSameOnEveryTarget(viewOf(words, 97, 65, 4095.0f), words, settings);
    }
    for (const int encoding : {VNR_DISPLAY, VNR_LINEAR}) {
      ofFloats.encoding = encoding;
      expectSameOnEveryTarget(ofFloats, floats, settings);
    }
  }
}

TEST(Filter, RefusesWhatCannotBeRight) {
  const std::vector<std::uint8_t> samples = sceneOf<std::uint8_t>(60, 60, 5), filling(samples.size(), 77);
  auto result = filling;
  const vnr_picture in = viewOf(samples, 60, 60), out = viewOf(result, 60, 60);
  const auto codeOf = [&](auto spoil, vnr_settings settings) {
    vnr_picture from = in, to = out;
    spoil(&from, &to, &settings);
    const int code = vnr_denoise(&from, &to, &settings, nullptr);
    EXPECT_EQ(result, filling) << "wrote";
    return code;
  };
  const vnr_settings right = classicFor(noiseOf(in), 1.0f, 64);
  using P = vnr_picture*;
  using S = vnr_settings*;
  EXPECT_EQ(codeOf([](P, P to, S) { to->x = 1; }, right), VNR_ERROR_RECTANGLE);
  EXPECT_EQ(codeOf([](P, P to, S) { to->height = 59; }, right), VNR_ERROR_RECTANGLE);
  EXPECT_EQ(codeOf([](P from, P to, S) { from->y = to->y = 2; }, right), VNR_ERROR_RECTANGLE);
  EXPECT_EQ(codeOf([](P from, P to, S) { from->encoding = to->encoding = VNR_LINEAR; }, right), VNR_ERROR_FORMAT);
  EXPECT_EQ(codeOf([](P from, P to, S) { from->channels = to->channels = 2; }, right), VNR_ERROR_FORMAT);
  EXPECT_EQ(codeOf([](P from, P to, S) { from->white = to->white = 511; }, right), VNR_ERROR_FORMAT);
  EXPECT_EQ(codeOf([](P, P, S s) { s->tile = 55; }, right), VNR_ERROR_SETTINGS);
  EXPECT_EQ(codeOf([](P, P, S s) { s->tile = 32769; }, right), VNR_ERROR_SETTINGS);
  EXPECT_EQ(codeOf([](P, P to, S s) { s->tile = 32768, to->x = 1; }, right), VNR_ERROR_RECTANGLE);
  EXPECT_EQ(codeOf([](P, P, S s) { s->struct_size = 8; }, right), VNR_ERROR_STRUCT);
  EXPECT_EQ(codeOf([](P from, P to, S) { *to = vnr_piece(*from, {0, 60, 0, 60}); }, right), VNR_ERROR_OVERLAP);
  EXPECT_EQ(codeOf([](P, P to, S) { to->channel[2] = to->channel[0]; }, right), VNR_ERROR_OVERLAP);
  EXPECT_EQ(vnr_denoise(&in, &out, nullptr, nullptr), VNR_OK);
  EXPECT_EQ(result, filtered(samples, in, classicFor(noiseOf(in), 1.0f, 256)));
}

// Where the vectors' slice is the larger one, the plain form works inside the host's memory.
TEST(Filter, TakesNoMemoryBesideTheHosts) {
  int refusals = 0;
  for (const int side : {1, 40, 57, 77}) {
    SCOPED_TRACE(side);
    auto samples = makePicture<std::uint16_t>(side, side, 10).samples;
    const int needed = mem4denoise(side, side, 256, 2);
    ASSERT_GT(needed, 0);
    Guarded<unsigned char> work(static_cast<std::size_t>(needed), Against::kEnd);
    const auto run = [&](unsigned char* memory, std::vector<std::uint16_t>* result) {
      std::vector<float> params = defaultParams({{NR_NOISE_LEVEL, 1.0f}});
      result->assign(samples.size(), 0);
      return denoise2(side, side, 3, 3 * side, 16, 256, 2, params.data(), memory,
                      reinterpret_cast<unsigned char*>(samples.data()),
                      reinterpret_cast<unsigned char*>(result->data()));
    };
    std::vector<std::uint16_t> expected, result;
    EXPECT_EQ(run(nullptr, &expected), NR_OK);
    EXPECT_EQ(run(work.data(), &result), NR_OK);
    EXPECT_TRUE(sameBits(expected, result));
    bool more = true;
    for (int nth = 0; more; ++nth) {  // what measuring takes may be refused
      const FailAllocation failure(nth);
      EXPECT_EQ(run(work.data(), &result), NR_OK);
      more = failure.happened();
      refusals += more;
    }
  }
  EXPECT_GT(refusals, 0);
}

}  // namespace
}  // namespace veskaro::test
