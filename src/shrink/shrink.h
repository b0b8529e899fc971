// Blocks of 8 x 8 pixels of the input, shrunk under the guidance of the filtered picture. A coefficient of a block's
// cosine transform keeps the share of its power that the guide's has over the guide's and the noise's (a block
// transform's coefficients scaled one by one: Yaroslavsky 1985; by a pilot estimate's Wiener gain: Ghael, Sayeed,
// Baraniuk 1997; Dabov, Foi, Katkovnik, Egiazarian 2007). What is kept is the guide and a part of what it lacks.
//
//   G, N    coefficients of guide and noisy input            S = m(Y)^2 P, m(Y) = 1 + slope Y, Y the guide's mean
//   out   = (G + residual (N - G)) (1 - S / (G^2 + S))
//
// Blocks lie at every fourth row and column of the picture, so four hold each pixel, in windows that add up to 1.
#ifndef VESKARO_SHRINK_SHRINK_H
#define VESKARO_SHRINK_SHRINK_H

#include <cstddef>

#include "params/settings.h"
#include "pixels/dct.h"

namespace veskaro::shrink {

using params::kBlock;
static_assert(kBlock == pixels::kDctSize, "a block is transformed line by line");

constexpr int kStep = 4;            // from block to block
constexpr int kReach = kBlock - 1;  // how far from a pixel the blocks that hold it reach

// s / (s + s of the block four pixels away), with s = sin(pi (i + 1/2) / 8)^1.5. At the power 1 neighbouring pixels
// differ more at blocks' edges than inside, at 2 less, and both show as a grid in what noise is left.
constexpr float kWindow[kBlock] = {0.08148521758f, 0.35324639501f, 0.64675360499f, 0.91851478242f,
                                   0.91851478242f, 0.64675360499f, 0.35324639501f, 0.08148521758f};

// Pixels of an axis, multiples of kStep, that the blocks holding some of [start, end) cover; four more on each side
// than what they add up for.
struct Cover {
  int start, end;

  static Cover of(int start, int end) { return {floored(start - kReach + kStep - 1), floored(end - 1) + kBlock}; }
  int size() const { return end - start; }

 private:
  static int floored(int i) { return i >= 0 ? i / kStep * kStep : -((-i + kStep - 1) / kStep * kStep); }
};

// What the coefficients of a channel are told, 8 * vertical + horizontal, on the scale of the unscaled transform.
struct Gains {
  float power[kBlock * kBlock];
  float ofGuide[kBlock * kBlock];
  float ofNoisy[kBlock * kBlock];
};

// Settings as the blocks need them.
struct Rule {
  Gains gains[params::kShrunkChannels];
  float slope;
  bool isOn[params::kShrunkChannels];

  explicit Rule(const params::ShrinkSettings& settings);
};

constexpr float kBlockShare = 1.0f / (kBlock * kBlock);
constexpr float kWhite = 255.0f;

namespace plain {

// Pixels of Y, B - Y, R - Y, what Covers cover.
struct Image {
  float* samples;
  int width, height;

  float* at(int x, int y) const { return samples + (std::ptrdiff_t{y} * width + x) * params::kShrunkChannels; }
};

// The images are of one size and apart. The result's frame of four pixels is not the whole sum.
void shrink(const Image& noisy, const Image& guide, const Rule& rule, const Image& result);

}  // namespace plain
}  // namespace veskaro::shrink

#endif  // VESKARO_SHRINK_SHRINK_H
