// Measuring: what it tells, and what comes back as bytes. That the cutting does not show: safety/piecewise_call.cpp.
#include <algorithm>
#include <cstring>
#include <limits>
#include <random>

#include "api/pictures.h"

namespace veskaro::test {
namespace {

vnr_measurement* measurementOf(const vnr_picture& whole, const vnr_rectangle& part) {
  vnr_measurement* m = nullptr;
  EXPECT_EQ(vnr_measure_begin(whole.width, whole.height, &m), VNR_OK);
  const vnr_picture piece = vnr_piece(whole, part);
  EXPECT_EQ(vnr_measure_add(m, &piece, nullptr), VNR_OK);
  return m;
}

std::vector<vnr_block> blocksOf(const vnr_measurement* m) {
  std::size_t count = 0;
  EXPECT_EQ(vnr_measure_blocks(m, nullptr, 0, &count), VNR_OK);
  std::vector<vnr_block> blocks(count);
  EXPECT_EQ(vnr_measure_blocks(m, blocks.data(), count, &count), VNR_OK);
  return blocks;
}

TEST(Measure, TellsTheRolesOfBlocks) {
  auto samples = sceneOf<std::uint8_t>(10 * 32 + 5, 6 * 32, 1);
  for (int y = 0; y < 32; ++y) std::fill_n(&samples[static_cast<std::size_t>(y) * 3 * 325], 96, std::uint8_t{0});
  const vnr_picture picture = viewOf(samples, 325, 192);
  vnr_measurement* const m = measurementOf(picture, {0, 325, 0, 160});
  vnr_noise noise = noiseOf(picture);
  EXPECT_EQ(noise.blocks, 60);
  EXPECT_EQ(vnr_measure_finish(m, &noise), VNR_OK);
  EXPECT_EQ(noise.blocks_seen, 50);
  const auto blocks = blocksOf(m);
  ASSERT_EQ(blocks.size(), 50u);
  EXPECT_EQ(blocks[0].role, VNR_BLOCK_UNUSABLE);
  const auto inRole = [&](int role) {
    return std::count_if(blocks.begin(), blocks.end(), [role](const vnr_block& b) { return b.role >= role; });
  };
  EXPECT_EQ(inRole(VNR_BLOCK_USABLE), noise.blocks_usable);
  EXPECT_EQ(inRole(VNR_BLOCK_CANDIDATE) % 2, 0) << "as many of the darker half as of the brighter";
  float sum = 0.0f;
  for (std::size_t k = 0; k < blocks.size(); ++k) {
    EXPECT_EQ(blocks[k].row * 10 + blocks[k].column, static_cast<int>(k));
    if (blocks[k].role == VNR_BLOCK_DECIDING) sum += blocks[k].deviation;
  }
  EXPECT_NEAR(sum / static_cast<float>(inRole(VNR_BLOCK_DECIDING)), noise.statistic, 1e-5f);
  vnr_measure_end(m);
}

TEST(Measure, SaysWhyItCannot) {
  const std::vector<std::uint8_t> flat(3 * 64 * 64, 120);
  EXPECT_EQ(noiseOf(viewOf(flat, 64, 64)).reason, VNR_NO_USABLE_BLOCK);
  EXPECT_EQ(noiseOf(viewOf(sceneOf<std::uint8_t>(40, 40, 2), 40, 40)).reason, VNR_NO_CONTRAST);
  const std::vector<float> even(3 * 64 * 64, 0.5f);
  vnr_picture lit = viewOf(even, 64, 64);
  lit.encoding = VNR_LINEAR;
  EXPECT_EQ(noiseOf(lit).reason, VNR_NO_USABLE_BLOCK);
  // A scale that floats cannot hold is none.
  std::vector<float> faint(3 * 64 * 64);
  for (std::size_t i = 0; i < faint.size(); i += 50) faint[i] = std::numeric_limits<float>::denorm_min();
  vnr_picture linear = viewOf(faint, 64, 64);
  linear.encoding = VNR_LINEAR;
  EXPECT_GT(noiseOf(linear).linear_scale, 0.0f);
}

TEST(Measure, RefusesWhatCannotBeRight) {
  const auto samples = sceneOf<float>(96, 64, 4);
  const vnr_picture picture = viewOf(samples, 96, 64, 255.0f);
  vnr_measurement* const m = measurementOf(picture, {0, 96, 0, 64});
  const vnr_noise expected = noiseOf(picture);
  vnr_noise noise = expected;
  vnr_picture moved = picture, linear = picture;
  moved.x = 1;
  linear.encoding = VNR_LINEAR;
  EXPECT_EQ(vnr_measure(&moved, nullptr, &noise), VNR_ERROR_RECTANGLE);
  EXPECT_EQ(vnr_measure_add(m, &moved, nullptr), VNR_ERROR_RECTANGLE);
  EXPECT_EQ(vnr_measure_add(m, &linear, nullptr), VNR_ERROR_FORMAT);
  EXPECT_EQ(vnr_measure_add(nullptr, &picture, nullptr), VNR_ERROR_NULL);
  EXPECT_EQ(vnr_measure(&picture, nullptr, nullptr), VNR_ERROR_NULL);

  vnr_measurement *narrow = nullptr, *roots = measurementOf(linear, {0, 96, 0, 64});
  EXPECT_EQ(vnr_measure_begin(0, 64, &narrow), VNR_ERROR_SIZE);
  EXPECT_EQ(vnr_measure_begin(95, VNR_MOST_PIXELS + 1, &narrow), VNR_ERROR_SIZE);
  EXPECT_EQ(vnr_measure_begin(95, 64, nullptr), VNR_ERROR_NULL);
  EXPECT_EQ(vnr_measure_begin(95, 64, &narrow), VNR_OK);
  EXPECT_EQ(vnr_measure_merge(m, narrow), VNR_ERROR_STATE);
  EXPECT_EQ(vnr_measure_merge(m, roots), VNR_ERROR_STATE);
  EXPECT_EQ(vnr_measure_merge(m, nullptr), VNR_ERROR_NULL);
  EXPECT_EQ(vnr_measure_merge(nullptr, m), VNR_ERROR_NULL);
  EXPECT_EQ(vnr_measure_finish(nullptr, &noise), VNR_ERROR_NULL);
  EXPECT_EQ(vnr_measure_merge(m, m), VNR_OK);

  std::size_t count = 0;
  vnr_block block;
  EXPECT_EQ(vnr_measure_blocks(m, nullptr, 1, &count), VNR_ERROR_NULL);
  EXPECT_EQ(vnr_measure_blocks(m, &block, 1, nullptr), VNR_ERROR_NULL);
  EXPECT_EQ(vnr_measure_save(m, nullptr, 1, &count), VNR_ERROR_NULL);
  EXPECT_EQ(vnr_measure_save(m, &block, 1, nullptr), VNR_ERROR_NULL);
  EXPECT_EQ(vnr_measure_load(nullptr, 100, &narrow), VNR_ERROR_NULL);
  EXPECT_EQ(vnr_measure_load(&block, sizeof block, nullptr), VNR_ERROR_NULL);
  noise.struct_size += 1;
  EXPECT_EQ(vnr_measure_finish(m, &noise), VNR_ERROR_STRUCT);
  noise.struct_size = sizeof noise;
  EXPECT_EQ(vnr_measure_finish(m, &noise), VNR_OK);
  EXPECT_EQ(noise.statistic, expected.statistic);
  for (vnr_measurement* each : {m, narrow, roots}) vnr_measure_end(each);
}

// Far more blocks than can become candidates: those that are let go must not be missed.
TEST(Measure, PiecesOfManyBlocksGiveTheWhole) {
  constexpr int kWidth = 1600, kHeight = 640;
  for (unsigned seed = 0; seed < 6; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    std::vector<std::uint8_t> samples(std::size_t{3} * kWidth * kHeight);
    for (std::size_t i = 0; i < samples.size(); ++i) {  // blocks of any brightness and noise
      const std::size_t block = i / 96 % 50 + i / (3 * kWidth * 32) * 50, around = 20 + block * 7919 % 211;
      samples[i] = static_cast<std::uint8_t>(around + random() % (2 + block * 31 % 17));
    }
    const vnr_picture whole = viewOf(samples, kWidth, kHeight);
    std::vector<vnr_rectangle> cells;
    const int step = 32 * (1 + static_cast<int>(random() % 5));
    for (int y = 0; y < kHeight; y += step) {
      for (int x = 0; x < kWidth; x += step)
        cells.push_back({x, std::min(x + step, kWidth), y, std::min(y + step, kHeight)});
    }
    std::shuffle(cells.begin(), cells.end(), random);
    vnr_measurement *m = measurementOf(whole, cells[0]), *other = measurementOf(whole, cells[1]);
    for (const vnr_rectangle& cell : cells) {
      const vnr_picture piece = vnr_piece(whole, cell);
      EXPECT_EQ(vnr_measure_add(seed % 2 == 0 || random() % 2 == 0 ? m : other, &piece, nullptr), VNR_OK);
    }
    EXPECT_EQ(vnr_measure_merge(m, other), VNR_OK);
    const vnr_noise expected = noiseOf(whole);
    vnr_noise noise = expected;
    EXPECT_EQ(vnr_measure_finish(m, &noise), VNR_OK);
    EXPECT_EQ(noise.statistic, expected.statistic);
    EXPECT_EQ(noise.blocks_usable, expected.blocks_usable);
    for (vnr_measurement* each : {m, other}) vnr_measure_end(each);
  }
}

std::vector<unsigned char> bytesOf(const vnr_measurement* m) {
  std::size_t size = 0;
  EXPECT_EQ(vnr_measure_save(m, nullptr, 0, &size), VNR_OK);
  std::vector<unsigned char> bytes(size);
  EXPECT_EQ(vnr_measure_save(m, bytes.data(), size - 1, &size), VNR_ERROR_SIZE);
  EXPECT_EQ(vnr_measure_save(m, bytes.data(), size, &size), VNR_OK);
  return bytes;
}

// The bytes' own check, over all behind it.
void makeCheckRight(std::vector<unsigned char>* bytes) {
  std::uint64_t check = 0xcbf29ce484222325u;
  for (std::size_t at = 16; at + 4 <= bytes->size(); at += 4) {
    std::uint32_t word;
    std::memcpy(&word, &(*bytes)[at], sizeof word);
    check = (check ^ word) * 0x100000001b3u;
  }
  std::memcpy(&(*bytes)[8], &check, sizeof check);
}

// Damaged bytes are refused; forged ones, whose check is right, do no harm.
TEST(Measure, RefusesDamagedBytes) {
  const auto samples = sceneOf<std::uint8_t>(96, 70, 3);
  const vnr_picture picture = viewOf(samples, 96, 70);
  vnr_measurement* const m = measurementOf(picture, {0, 70, 0, 64});
  const std::vector<unsigned char> right = bytesOf(m);
  int taken = 0;
  for (std::size_t at = 0; at + 4 <= right.size(); at += at < 400 ? 4 : 404) {
    for (const std::uint32_t word : {0u, 1u, 0xffffffffu, 0x7fffffffu, 0x80000000u, 0x7f800000u, 0x7f7fffffu}) {
      auto damaged = right;
      std::memcpy(&damaged[at], &word, sizeof word);
      if (damaged == right) continue;
      vnr_measurement* loaded = nullptr;
      EXPECT_EQ(vnr_measure_load(damaged.data(), damaged.size(), &loaded), VNR_ERROR_STATE) << "byte " << at;
      EXPECT_EQ(vnr_measure_load(right.data(), at, &loaded), VNR_ERROR_STATE) << "cut at " << at;
      makeCheckRight(&damaged);
      const int code = vnr_measure_load(damaged.data(), damaged.size(), &loaded);
      if (at < 48) {
        EXPECT_TRUE(code == VNR_ERROR_STATE || at == 8 || at == 12 || at >= 24) << "byte " << at;
      }
      if (code != VNR_OK) continue;
      ++taken;
      vnr_noise noise;
      noise.struct_size = sizeof noise;
      EXPECT_EQ(vnr_measure_finish(loaded, &noise), VNR_OK);
      EXPECT_LE(blocksOf(loaded).size(), 6u);
      EXPECT_EQ(vnr_measure_add(loaded, &picture, nullptr), noise.encoding == VNR_LINEAR ? VNR_ERROR_FORMAT : VNR_OK);
      vnr_measure_merge(loaded, m);
      vnr_measure_end(loaded);
    }
  }
  EXPECT_GT(taken, 0);
  vnr_measure_end(m);
}

}  // namespace
}  // namespace veskaro::test
