#include "support/plain_reading.h"

#include <algorithm>
#include <cmath>

#include "VeskaroNRLib.h"

namespace veskaro::test::plain {
namespace {

const float kWeight[25] = {0.1f, 0.3f, 0.5f, 0.3f, 0.1f, 0.3f, 0.7f, 1.0f, 0.7f, 0.3f, 0.5f, 1.0f, 0.0f,
                           1.0f, 0.5f, 0.3f, 0.7f, 1.0f, 0.7f, 0.3f, 0.1f, 0.3f, 0.5f, 0.3f, 0.1f};

float byLevel(int rang, float zero, float one, float two, float three) {
  return rang == 1 ? one : rang == 2 ? two : rang == 3 ? three : zero;
}

double absolute(float difference) {
  return std::fabs(static_cast<double>(difference));
}

float l1(const float* p, const float* q) {
  return static_cast<float>((absolute(p[1] - q[1]) + absolute(p[2] - q[2])) + absolute(p[0] - q[0]));
}

void toYcc(const float* rgb, float* ycc) {
  const float green = rgb[1] * 0.587f;
  const float blue = 0.114f * rgb[2];
  const float red = 0.299f * rgb[0];
  ycc[0] = (green + blue) + red;
  ycc[1] = rgb[2] - ycc[0];
  ycc[2] = rgb[0] - ycc[0];
}

void toRgb(const float* ycc, float* rgb) {
  rgb[0] = ycc[2] + ycc[0];
  rgb[2] = ycc[1] + ycc[0];
  rgb[1] = ((ycc[0] - 0.299f * rgb[0]) - 0.114f * rgb[2]) * 1.70357752f;
}

void reducePixel(int x, int y, float threshold, float noise, float amount, const Level& img, const Level& ycc,
                 float* record, float* dest) {
  const float* p = img.at(x, y);
  float s = (p[1] + p[2]) + p[0];
  s = s > 0.0f ? s : 0.0f;
  s = s < 765.0f ? s : 765.0f;
  const float m = 1.0f + (-highnoiseLevelReduce * 0.0013071896f) * s;
  const float sT = threshold * m;
  const float sR = noise * m;
  const float sIR = sR > 0.0f ? 1.0f / sR : 0.0f;
  float cnv[5][3] = {};
  float wgt[5] = {};
  for (int n = 0; n < 25; ++n) {
    if (n == 12) continue;
    const float* a = ycc.at(x, y);
    const float* b = ycc.at(x + n % 5 - 2, y + n / 5 - 2);
    const double chroma = absolute(a[2] - b[2]) + absolute(a[1] - b[1]);
    const float distance = static_cast<float>(2.0 * absolute(a[0] - b[0]) + 0.5 * chroma);
    if (distance > sT + sR) continue;
    const float weight = kWeight[n] * (distance <= sT ? 1.0f : 1.0f + (sT - distance) * sIR);
    wgt[n % 5] += weight;
    for (int k = 0; k < 3; ++k) cnv[n % 5][k] += img.at(x + n % 5 - 2, y + n / 5 - 2)[k] * weight;
  }
  const float weightSum = wgt[0] + wgt[1] + wgt[2] + wgt[3] + wgt[4];
  float mix = 0.0f;
  if (weightSum != 0.0f) mix = amount * (1.0f - 1.0f / (weightSum + 1.0f));
  const float inverse = 1.0f / weightSum;
  const float kept = 1.0f - mix;
  for (int k = 0; k < 3; ++k) {
    const float average = (cnv[0][k] + cnv[1][k] + cnv[2][k] + cnv[3][k] + cnv[4][k]) * inverse;
    dest[k] = weightSum == 0.0f ? p[k] : dest[k] * kept + average * mix;
  }
  record[0] = mix;
  record[1] = sT;
  record[2] = sR;
}

void sharpenPixel(int x, int y, float amount, const Level& img, const float* record, float* dest) {
  const float* p = img.at(x, y);
  const float sT = record[2];
  const float sR = 0.25f * sT;
  const float sIT = 1.0f / sT;
  const float sIR = 1.0f / sR;
  float sum[3] = {};
  float wgt = 0.0f;
  for (int n = 0; n < 25; ++n) {
    if (n == 12) continue;
    const float* q = img.at(x + n % 5 - 2, y + n / 5 - 2);
    const float distance = l1(p, q);
    const float fallingClass = n == 2 || n == 22 ? 0.3f : kWeight[n];
    float weight = (kWeight[n] * sIT) * distance;
    if (!(distance <= sT)) {
      if (distance >= sT + sR) continue;
      weight = (sT - distance) * (fallingClass * sIR) + kWeight[n];
    }
    wgt += weight;
    for (int k = 0; k < 3; ++k) sum[k] += q[k] * weight;
  }
  if (wgt == 0.0f) {
    std::copy(p, p + 3, dest);
    return;
  }
  const float mix = record[0] > 0.0f ? record[0] : 0.0f;
  const float inverse = 1.0f / wgt;
  const float average[3] = {sum[0] * inverse, sum[1] * inverse, sum[2] * inverse};
  float around[3];
  float centre[3];
  toYcc(average, around);
  toYcc(p, centre);
  const float chroma = (wgt * chromaSharpeningAmount) * mix;
  const float sharp[3] = {centre[0] + (((centre[0] - around[0]) * wgt) * amount) * mix,
                          (centre[1] - around[1]) * chroma + centre[1], (centre[2] - around[2]) * chroma + centre[2]};
  toRgb(sharp, dest);
}

Level subtract(const Level& a, const Level& b) {
  Level difference(a.w, a.h);
  for (std::size_t i = 0; i < a.samples.size(); ++i) difference.samples[i] = a.samples[i] - b.samples[i];
  return difference;
}

// One tile along one axis.
struct Span {
  int readStart, readEnd, mainStart, mainEnd, before, after;
};

Span spanOf(int index, int tiles, int unit, int size) {
  const bool first = index == 0;
  const bool last = index == tiles - 1;
  Span s;
  s.mainStart = index * unit;
  s.mainEnd = last ? size : s.mainStart + unit;
  s.readStart = first ? 0 : s.mainStart - 32;
  s.readEnd = last ? size : s.mainEnd + 32;
  s.before = first ? 8 : 0;
  s.after = last ? 8 : 0;
  return s;
}

template <typename Sample>
Sample truncated(double value) {
  constexpr double kMost = static_cast<Sample>(~Sample{0});
  return static_cast<Sample>(value < 0.0 ? 0.0 : std::min(value, kMost));
}

template <typename Sample>
constexpr float kToEightBit = sizeof(Sample) == 1 ? 1.0f : 0.00390625f;

template <typename Sample>
void denoiseOneTile(const Picture<Sample>& in, const Span& x, const Span& y, Picture<Sample>* out) {
  Level tile(x.before + x.readEnd - x.readStart + x.after, y.before + y.readEnd - y.readStart + y.after);
  for (int row = y.readStart; row < y.readEnd; ++row) {
    for (int k = 0; k < 3 * (x.readEnd - x.readStart); ++k) {
      const float sample = static_cast<float>(in.row(row)[3 * x.readStart + k]);
      tile.at(x.before, y.before + row - y.readStart)[k] = sample * kToEightBit<Sample>;
    }
  }
  const int left = x.before + x.mainStart - x.readStart;
  const int top = y.before + y.mainStart - y.readStart;
  tile = denoiseTile(tile, {left, left + x.mainEnd - x.mainStart, top, top + y.mainEnd - y.mainStart});
  for (int row = y.mainStart; row < y.mainEnd; ++row) {
    for (int k = 0; k < 3 * (x.mainEnd - x.mainStart); ++k) {
      const double value = tile.at(left, top + row - y.mainStart)[k];
      out->row(row)[3 * x.mainStart + k] = truncated<Sample>(sizeof(Sample) == 1 ? value : value * 256.0);
    }
  }
}

template <typename Sample>
void blendPixel(const Sample* in, Sample* out) {
  const float before[3] = {static_cast<float>(in[0]), static_cast<float>(in[1]), static_cast<float>(in[2])};
  const float after[3] = {static_cast<float>(out[0]), static_cast<float>(out[1]), static_cast<float>(out[2])};
  float orig[3];
  float nr[3];
  toYcc(before, orig);
  toYcc(after, nr);
  const float y = nr[0] * kToEightBit<Sample>;
  float factor = highlightNRslope * y + highlightNRintercept;
  if (!(y > highlightNRlowThreshold))
    factor = highlightNRbelowThreshold;
  else if (y >= highlightNRhighThreshold)
    factor = highlightNRaboveThreshold;
  const float share = factor * lumaMix;
  const float filtered = nr[0] * share;
  const float kept = 1.0f - chromaMix;
  const float dest[3] = {static_cast<float>((1.0 - static_cast<double>(share)) * static_cast<double>(orig[0]) +
                                            static_cast<double>(filtered)),
                         nr[1] * chromaMix + kept * orig[1], nr[2] * chromaMix + orig[2] * kept};
  float rgb[3];
  toRgb(dest, rgb);
  for (int k = 0; k < 3; ++k) out[k] = truncated<Sample>(rgb[k]);
}

}  // namespace

void reduceNoise(int rang, const Level& img, const Level& ycc, const Area& area, Level* records, Level* dest) {
  const float level = byLevel(rang, level0noiseLevel, level1noiseLevel, level2noiseLevel, level3noiseLevel);
  const float noise = level > 0.00001f ? level : 0.00001f;
  const float amount = byLevel(rang, level0NR, level1NR, level2NR, level3NR);
  const float threshold = byLevel(rang, 0.00001f, 0.00002f, 0.00004f, 0.00008f);
  for (int y = area.yStart; y < area.yEnd; ++y) {
    for (int x = area.xStart; x < area.xEnd; ++x) {
      reducePixel(x, y, threshold, noise, amount, img, ycc, records->at(x, y), dest->at(x, y));
    }
  }
}

void sharpen(int rang, const Level& img, const Level& records, const Area& area, Level* dest) {
  const float amount = byLevel(rang, level0SharpAmount, level1SharpAmount, level2SharpAmount, level3SharpAmount);
  for (int y = area.yStart; y < area.yEnd; ++y) {
    for (int x = area.xStart; x < area.xEnd; ++x) {
      sharpenPixel(x, y, amount, img, records.at(x, y), dest->at(x, y));
    }
  }
}

FilteredLevel filterLevel(int rang, const Level& level, const Area& area, float filling) {
  FilteredLevel f = {level, level, level, Level(level.w, level.h, filling)};
  for (std::size_t i = 0; i < level.samples.size(); i += 3) {
    const float* rgb = &level.samples[i];
    const float luma = (0.587f * rgb[1] + 0.299f * rgb[0]) + 0.114f * rgb[2];
    f.comparison.samples[i] = luma;
    f.comparison.samples[i + 1] = rgb[2] - luma;
    f.comparison.samples[i + 2] = rgb[0] - luma;
  }
  reduceNoise(rang, level, f.comparison, area, &f.records, &f.reduced);
  sharpen(rang, f.reduced, f.records, area, &f.result);
  return f;
}

float similarity(const float* p, const float* q) {
  const float distance = l1(p, q);
  if (reconSimilarityThreshold >= distance) return 1.0f;
  if (distance > reconSimilarityRolloff + reconSimilarityThreshold) return 0.0f;
  return (reconSimilarityThreshold - distance) / reconSimilarityRolloff + 1.0f;
}

void reconstruct(const Level& lifted, const Level& original, Level* recon) {
  for (int y = 1; y < original.h - 1; ++y) {
    for (int x = 1; x < original.w - 1; ++x) {
      const auto sim = [&](int dx, int dy) { return similarity(original.at(x, y), original.at(x + dx, y + dy)); };
      const auto coarse = [&](int dx, int dy) { return lifted.at((x + dx) / 2, (y + dy) / 2); };
      float* out = recon->at(x, y);
      if (x % 2 == 0 && y % 2 == 0) {
        std::copy_n(coarse(0, 0), 3, out);
      } else if (y % 2 == 0) {
        float left = sim(-1, 0);
        float right = sim(1, 0);
        right = right > 0.01f ? right : 0.01f;  // not a number: 0.01 ...
        left = 0.01f > left ? 0.01f : left;     // ... but not on this side
        const float sum = right + left;
        for (int k = 0; k < 3; ++k) out[k] = coarse(1, 0)[k] * (right / sum) + coarse(-1, 0)[k] * (left / sum);
      } else if (x % 2 == 0) {
        const float top = sim(0, -1);
        const float bottom = sim(0, 1);
        const float sum = bottom + top;
        const bool none = top == 0.0f && bottom == 0.0f;
        const float a = none ? 0.5f : bottom / sum;
        const float b = none ? 0.5f : top / sum;
        for (int k = 0; k < 3; ++k) out[k] = coarse(0, 1)[k] * a + coarse(0, -1)[k] * b;
      } else {
        const float s[4] = {sim(1, -1), sim(-1, -1), sim(-1, 1), sim(1, 1)};
        const bool none = s[0] == 0.0f && s[1] == 0.0f && s[2] == 0.0f && s[3] == 0.0f;
        const float inv = 1.0f / (((s[0] + s[1]) + s[2]) + s[3]);
        float c[4];
        for (int i = 0; i < 4; ++i) c[i] = none ? 0.25f : s[i] * inv;
        for (int k = 0; k < 3; ++k) {
          out[k] =
              ((coarse(1, -1)[k] * c[0] + coarse(-1, -1)[k] * c[1]) + coarse(-1, 1)[k] * c[2]) + coarse(1, 1)[k] * c[3];
        }
      }
    }
  }
}

Level denoiseTile(Level tile, const Area& area) {
  std::vector<Level> level = {filterLevel(0, tile, area, 0.0f).result};
  std::vector<Level> difference;
  for (int k = 0; k < 3; ++k) {
    const Level& fine = level[static_cast<std::size_t>(k)];
    Level coarse((fine.w + 1) / 2, (fine.h + 1) / 2);
    for (int y = 0; y < coarse.h; ++y) {
      for (int x = 0; x < coarse.w; ++x) std::copy_n(fine.at(2 * x, 2 * y), 3, coarse.at(x, y));
    }
    Level prediction(fine.w, fine.h);
    reconstruct(coarse, fine, &prediction);
    difference.push_back(subtract(prediction, fine));
    level.push_back(filterLevel(k + 1, coarse, {2, coarse.w - 2, 2, coarse.h - 2}, 0.0f).result);
  }
  for (std::size_t k = 3; k-- > 0;) {
    Level prediction(level[k].w, level[k].h);
    reconstruct(level[k + 1], level[k], &prediction);
    level[k] = subtract(prediction, difference[k]);
  }
  return level[0];
}

template <typename Sample>
Picture<Sample> denoise(const Picture<Sample>& in, int baseUnitTile, int threads) {
  int tilesX, tilesY, unitX, unitY, ignored;
  getDenoiseTileInfo(in.width, in.height, baseUnitTile, threads, 8, 32, &tilesX, &tilesY, &unitX, &unitY, &ignored,
                     &ignored, &ignored, &ignored);
  Picture<Sample> out(in.width, in.height);
  for (int j = 0; j < tilesY; ++j) {
    for (int i = 0; i < tilesX; ++i) {
      denoiseOneTile(in, spanOf(i, tilesX, unitX, in.width), spanOf(j, tilesY, unitY, in.height), &out);
    }
  }
  for (int y = 0; y < in.height; ++y) {
    for (int x = 0; x < in.width; ++x) blendPixel(in.row(y) + 3 * x, out.row(y) + 3 * x);
  }
  return out;
}

template Picture<std::uint8_t> denoise(const Picture<std::uint8_t>&, int, int);
template Picture<std::uint16_t> denoise(const Picture<std::uint16_t>&, int, int);

}  // namespace veskaro::test::plain
