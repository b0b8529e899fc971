// The plain form. Transforms go down the columns first, then along the rows; the overlapping halves of neighbouring
// blocks are added up between the two inverse ones.
#include "shrink/shrink.h"

#include <cstring>

namespace veskaro::shrink {

Rule::Rule(const params::ShrinkSettings& s) : slope(s.slope) {
  constexpr float kLeastPower = 1e-6f;  // divides where there is neither noise nor guide
  for (int c = 0; c < params::kShrunkChannels; ++c) {
    isOn[c] = s.isOn[c];
    for (int i = 0; i < kBlock * kBlock; ++i) {
      const int v = i / kBlock, h = i % kBlock;
      const float weight = pixels::kDctWeight[v] * pixels::kDctWeight[h];
      const float residual = s.residual[c][v > h ? v : h];
      gains[c].power[i] = (s.power[c][i] + kLeastPower) / weight;
      gains[c].ofGuide[i] = (1.0f - residual) * weight;
      gains[c].ofNoisy[i] = residual * weight;
    }
  }
}

namespace plain {
namespace {

struct Block {
  float line[kBlock][kBlock] = {};
};

Block transformed(const Image& image, int x0, int y0, int channel) {
  Block b;
  for (int x = 0; x < kBlock; ++x) {
    float column[kBlock];
    for (int y = 0; y < kBlock; ++y) column[y] = image.at(x0 + x, y0 + y)[channel];
    pixels::forwardDct(column);
    for (int y = 0; y < kBlock; ++y) b.line[y][x] = column[y];
  }
  for (auto& line : b.line) pixels::forwardDct(line);
  return b;
}

// Sum of 4 x 4 pixels' Y.
float cellSum(const Image& guide, int x0, int y0) {
  float sum = 0.0f;
  for (int y = y0; y < y0 + kStep; ++y) {
    const auto at = [&](int x) { return guide.at(x0 + x, y)[params::kShrunkY]; };
    sum += (at(0) + at(1)) + (at(2) + at(3));
  }
  return sum;
}

// m^2 of a block.
float noiseFactor(const Image& guide, int x0, int y0, float slope) {
  const float upper = cellSum(guide, x0, y0) + cellSum(guide, x0 + kStep, y0);
  const float lower = cellSum(guide, x0, y0 + kStep) + cellSum(guide, x0 + kStep, y0 + kStep);
  const float mean = (upper + lower) * kBlockShare;
  const float raised = mean > 0.0f ? mean : 0.0f;
  const float m = 1.0f + slope * (raised < kWhite ? raised : kWhite);
  return m * m;
}

float shrunk(float guide, float noisy, float noiseFactor, const Gains& g, int i) {
  const float power = noiseFactor * g.power[i];
  const float restored = guide * g.ofGuide[i] + noisy * g.ofNoisy[i];
  return restored - restored * (power / (guide * guide + power));
}

// The rows of coefficients, back along the rows and windowed.
Block shrunkBlock(const Image& noisy, const Image& guide, int x0, int y0, int channel, const Rule& rule) {
  const Block n = transformed(noisy, x0, y0, channel);
  Block b = transformed(guide, x0, y0, channel);
  const float factor = noiseFactor(guide, x0, y0, rule.slope);
  for (int v = 0; v < kBlock; ++v) {
    for (int h = 0; h < kBlock; ++h) {
      b.line[v][h] = shrunk(b.line[v][h], n.line[v][h], factor, rule.gains[channel], v * kBlock + h);
    }
    pixels::inverseDct(b.line[v]);
    for (int h = 0; h < kBlock; ++h) b.line[v][h] *= kWindow[h];
  }
  return b;
}

// Four columns: the right half of one block and the left half of the next, on top of what the blocks above have left.
void addColumns(const Block& left, const Block& right, const Image& result, int x0, int y0, int channel) {
  for (int x = 0; x < kStep; ++x) {
    float column[kBlock];
    for (int v = 0; v < kBlock; ++v) column[v] = right.line[v][x] + left.line[v][x + kStep];
    pixels::inverseDct(column);
    for (int y = 0; y < kBlock; ++y) {
      float& to = result.at(x0 + x, y0 + y)[channel];
      const float windowed = column[y] * kWindow[y];
      to = y < kStep ? to + windowed : windowed;
    }
  }
}

void shrinkChannel(const Image& noisy, const Image& guide, const Rule& rule, const Image& result, int channel) {
  for (int y = 0; y + kBlock <= result.height; y += kStep) {
    Block left;
    for (int x = 0; x < result.width; x += kStep) {
      Block right;
      if (x + kBlock <= result.width) right = shrunkBlock(noisy, guide, x, y, channel, rule);
      addColumns(left, right, result, x, y, channel);
      left = right;
    }
  }
}

}  // namespace

void shrink(const Image& noisy, const Image& guide, const Rule& rule, const Image& result) {
  std::memcpy(result.samples, guide.samples,
              sizeof(float) * static_cast<std::size_t>(guide.at(0, guide.height) - guide.samples));
  for (int channel = 0; channel < params::kShrunkChannels; ++channel) {
    if (rule.isOn[channel]) shrinkChannel(noisy, guide, rule, result, channel);
  }
}

}  // namespace plain
}  // namespace veskaro::shrink
