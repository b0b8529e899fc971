#include "measure/haar/noise_by_scale.h"

#include <algorithm>
#include <cmath>

#include "measure/haar/structure.h"
#include "measure/spectrum/noise_spectrum.h"

namespace veskaro::measure {
namespace {

// Blocks with fewer clipped pixels than this pass; where hardly any does, as many as the ninth least clipped one has.
constexpr float kClippedShare = 0.02f;
constexpr std::size_t kFewBlocks = 8;

// Where all that is smooth is dark, it is clipped. If the smoothest of blocks with more clipped pixels read so much
// milder, those of the others are texture. The noise of JPEG, most of which is luminance, is clipped more; where
// luminance and colour have the usual ratio of white noise, nothing is texture. (Of 450 noisy photographs these bounds
// told all textured ones, the milder half of which were read 1.3 to 9 times too high, and no other.)
struct DarkBlocks {
  float clippedShare;
  double muchMilder, muchMilderOfLuma;
};
constexpr DarkBlocks kDarkBlocks[] = {{0.5f, 0.66, 0.48}, {0.25f, 0.76, 0.5}};
constexpr double kMostRatioOfWhite = 1.3, kLeastRatioOfLuma = 3.0;

// The smoothest 0.5 % decide, 6 at least.
constexpr double kDecidingShare = 0.005;
constexpr std::size_t kFewestDeciding = 6;

// The deviation of white noise is read within 2.2 % from 16 blocks, which take twice as many to choose from.
constexpr double kSigmaShare = 0.02;
constexpr std::size_t kFewestOfSigma = 32;

double clampedTo01(double v) {
  return v > 0.0 ? (v < 1.0 ? v : 1.0) : 0.0;
}

double lerp(double a, double b, double t) {
  return a + (b - a) * t;
}

// Linear light has no largest value.
float asFloat(double v) {
  constexpr double kMost = 1e30;
  return static_cast<float>(v < kMost ? v : kMost);
}

// A block with its noise evened out over brightness.
struct EvenBlock {
  const HaarBlock* block;
  double factor;  // on its energies
  double structure;
  std::int64_t index;
};

struct Selection {
  EvenBlock* blocks;
  std::size_t count;
};

// The blocks of a picture that have noise as it was, in row-major order.
class PassingBlocks {
 public:
  explicit PassingBlocks(const HaarBlocks& blocks)
      : scratch_(static_cast<std::size_t>(blocks.grid().count()), platform::Fill::kNothing),
        passing_(static_cast<std::size_t>(blocks.grid().count()), platform::Fill::kNothing) {}

  explicit operator bool() const { return scratch_ && passing_; }

  void select(const HaarBlocks& blocks, pixels::Encoding encoding, float clippedShare) {
    const float most = mostClipped(blocks, clippedShare);
    count_ = 0;
    for (std::int64_t i = 0; i < blocks.grid().count(); ++i) {
      const HaarBlock& b = blocks[i].block;
      if (blocks[i].isSeen == 0 || !(b.clipped <= most)) continue;
      const double factor = evenFactor(b, encoding);
      passing_[count_++] = {&b, factor, structureOf(b) * factor, i};
    }
  }

  // The smoothest share of them, so many at least (or all), smoothest first; records lie in row-major order.
  Selection smoothest(double share, std::size_t atLeast) {
    const auto shared = static_cast<std::size_t>(std::ceil(share * static_cast<double>(count_)));
    return smoothest(std::max(shared, atLeast));
  }
  Selection smoothest(std::size_t most) {
    const std::size_t n = std::min(count_, most);
    const auto isSmoother = [](const EvenBlock& a, const EvenBlock& b) {
      return a.structure != b.structure ? a.structure < b.structure : a.block < b.block;
    };
    std::partial_sort(passing_.data(), passing_.data() + n, passing_.data() + count_, isSmoother);
    return {passing_.data(), n};
  }
  std::int64_t count() const { return static_cast<std::int64_t>(count_); }
  // Deviation of the median block's straight luminance details at the second scale.
  double structure() {
    for (std::size_t i = 0; i < count_; ++i) {
      const double energy = static_cast<double>(passing_[i].block->straight[1][kY]) * passing_[i].factor;
      scratch_[i] = static_cast<float>(energy);
    }
    float* const median = scratch_.data() + count_ / 2;
    std::nth_element(scratch_.data(), median, scratch_.data() + count_);
    return std::sqrt(0.5 * static_cast<double>(*median));
  }

 private:
  float mostClipped(const HaarBlocks& blocks, float share) {
    std::size_t seen = 0, few = 0;
    for (std::int64_t i = 0; i < blocks.grid().count(); ++i) {
      if (blocks[i].isSeen == 0) continue;
      scratch_[seen++] = blocks[i].block.clipped;
      few += blocks[i].block.clipped < share ? 1 : 0;
    }
    if (few >= kFewBlocks || seen == 0) return std::nextafter(share, 0.0f);
    float* const ninth = scratch_.data() + std::min(kFewBlocks, seen - 1);
    std::nth_element(scratch_.data(), ninth, scratch_.data() + seen);
    return *ninth;
  }

  platform::HeapArray<float> scratch_;
  platform::HeapArray<EvenBlock> passing_;
  std::size_t count_ = 0;
};

// Deviations of the diagonal details.
struct Readings {
  double y[kScales], b[kScales], r[kScales];
};

template <class Energy>
double meanOf(const Selection& of, const Energy& energy) {
  double sum = 0.0;
  for (std::size_t i = 0; i < of.count; ++i) sum += energy(of.blocks[i]);
  return sum / static_cast<double>(of.count);
}

double deviation(const Selection& of, int scale, int channel) {
  return std::sqrt(meanOf(of, [scale, channel](const EvenBlock& b) {
    return static_cast<double>(b.block->diagonal[scale][channel]) * b.factor;
  }));
}

Readings read(const Selection& from, double toWorking) {
  Readings of;
  for (int s = 0; s < kScales; ++s) {
    of.y[s] = deviation(from, s, kY) * toWorking;
    of.b[s] = deviation(from, s, kCb) * toWorking;
    of.r[s] = deviation(from, s, kCr) * toWorking;
  }
  return of;
}

double fourthRoot(double v) {
  return std::sqrt(std::sqrt(v));
}

double levelOf(const Readings& of) {
  return std::sqrt(of.y[0] * of.y[1]);
}

double chromaOf(const Readings& of) {
  return fourthRoot(of.b[0] * of.b[1] * of.r[0] * of.r[1]);
}

// Whether darker blocks show that what was read is texture.
bool showsTexture(const Readings& dark, const Readings& usual, const DarkBlocks& how, bool mayBeJpeg) {
  const double level = levelOf(usual), chroma = chromaOf(usual);
  if (level < kMostRatioOfWhite * chroma) return false;
  const bool isOfLuma = mayBeJpeg && level >= kLeastRatioOfLuma * chroma;
  return levelOf(dark) < level * (isOfLuma ? how.muchMilderOfLuma : how.muchMilder);
}

double atLeast(double v, double low) {
  return v > low ? v : low;
}

// Texture is grey: where luminance has much more fine detail than colour, and is finer at the second scale than colour
// is, what is beyond the usual ratio of their noise does not count. JPEG too takes fine noise from colour, far more.
void guardAgainstTexture(Readings* of, double* level, double chroma, bool mayBeJpeg) {
  constexpr double kLeastChroma = 0.3, kUsualRatio = 1.15, kRatioOfScale = 1.3;
  if (!(chroma > kLeastChroma)) return;
  const double q = *level / chroma;
  const double slopeOfColour = std::sqrt(of->b[1] * of->r[1] / atLeast(of->b[0] * of->r[0], 1e-6));
  const double slope = slopeOfColour / atLeast(of->y[1] / atLeast(of->y[0], 1e-3), 1e-3);
  const double notOfJpeg = mayBeJpeg ? clampedTo01((kLeastRatioOfLuma - q) / 0.8) : 1.0;
  const double c = notOfJpeg * clampedTo01((1.6 - slope) / 0.3);
  if (q > kUsualRatio) *level = lerp(*level, kUsualRatio * chroma, c);
  if (q <= kRatioOfScale) return;
  const double asColour = of->y[0] * of->b[1] / atLeast(of->b[0], 1e-3);
  if (asColour < of->y[1]) of->y[1] = lerp(of->y[1], asColour, c);
}

// White noise has as much at every scale (0.75 to 1.23 seen), what demosaicing or JPEG has smoothed 2.4 to 4.4 times.
double correlationOf(const Readings& of) {
  return clampedTo01((atLeast(of.y[1], 1e-3) / atLeast(of.y[0], 1e-3) - 1.3) / 1.1);
}

double blotchesOf(const Readings& of, double blotch) {
  constexpr double kLeast = 3.0;
  return blotch > kLeast ? clampedTo01((blotch / atLeast(of.y[1], 1e-3) - 1.9) / 0.6) : 0.0;
}

void judge(Readings of, bool mayBeJpeg, NoiseByScale* noise) {
  const double unguarded = levelOf(of);
  const double chroma = chromaOf(of);
  const double blotch = fourthRoot(of.b[1] * of.b[2] * of.r[1] * of.r[2]);
  double level = unguarded;
  guardAgainstTexture(&of, &level, chroma, mayBeJpeg);
  noise->luma = asFloat(level);
  noise->chroma = asFloat(chroma);
  noise->coarseChroma = asFloat(blotch);
  noise->correlation = asFloat(correlationOf(of));
  noise->blotches = asFloat(blotchesOf(of, blotch));
  noise->kept = unguarded > 0.0 ? asFloat(level / unguarded) : 1.0f;
}

// Red, green and blue out of Y, Cb and Cr.
constexpr double kFromYcc[3][kChannels] = {{1.0, 0.0, 1.402}, {1.0, -0.344136, -0.714136}, {1.0, 1.772, 0.0}};

double energyOf(const HaarBlock& b, int scale, const double* from) {
  double energy = 0.0;
  for (int c = 0; c < kChannels; ++c) energy += from[c] * from[c] * static_cast<double>(b.diagonal[scale][c]);
  const auto product = [&b, scale](Pair pair) { return 2.0 * static_cast<double>(b.product[scale][pair]); };
  return energy + from[kY] * from[kCb] * product(kYCb) + from[kY] * from[kCr] * product(kYCr) +
         from[kCb] * from[kCr] * product(kCbCr);
}

// The deviation of a pixel. White: the finest details tell it, which have least of the picture. Smoothed alike both
// ways, the lowpass of a scale deviates by the mean of that of its diagonal details and of the next lowpass.
double deviationOf(const double* energies, double smoothed) {
  const double white = std::sqrt(energies[0]);
  const double any = 0.5 * white + 0.25 * std::sqrt(energies[1]) + 0.25 * std::sqrt(energies[2]);
  return lerp(white, any, smoothed);
}

// Of the smoothest blocks, as they are, the half that is nearest to mid grey.
Selection nearestToGrey(Selection of, double toWorking) {
  const auto isNearer = [toWorking](const EvenBlock& a, const EvenBlock& b) {
    const auto distance = [toWorking](const EvenBlock& e) {
      return std::fabs(static_cast<double>(e.block->luma) * toWorking - 127.5);
    };
    return distance(a) != distance(b) ? distance(a) < distance(b) : a.block < b.block;
  };
  std::sort(of.blocks, of.blocks + of.count, isNearer);
  return {of.blocks, (of.count + 1) / 2};
}

void takeSigma(const Selection& of, double toWorking, NoiseByScale* noise) {
  const float smoothed = std::max(noise->correlation, noise->blotches);
  for (int k = 0; k < 3; ++k) {
    double energies[kScales];
    for (int s = 0; s < kScales; ++s) {
      energies[s] = atLeast(meanOf(of, [k, s](const EvenBlock& b) { return energyOf(*b.block, s, kFromYcc[k]); }), 0.0);
    }
    const double sigma = deviationOf(energies, static_cast<double>(smoothed)) * toWorking;
    noise->sigma[k] = asFloat(sigma * static_cast<double>(noise->kept));
  }
}

// Reads the smoothest of the blocks, one of which has been seen at least; in the end those that the noise is taken
// from.
class Reader {
 public:
  Reader(const HaarBlocks& blocks, pixels::Encoding encoding, float toWorking)
      : blocks_(blocks), encoding_(encoding), toWorking_(static_cast<double>(toWorking)), passing_(blocks) {}

  bool hasMemory() const { return static_cast<bool>(passing_); }

  void take(NoiseByScale* noise) {
    const Readings usual = readSmoothest(kClippedShare);
    noise->grain = Grain::kMeasured;
    for (const DarkBlocks& darker : kDarkBlocks) {
      const Readings dark = readSmoothest(darker.clippedShare);
      if (!showsTexture(dark, usual, darker, mayBeJpeg())) continue;
      noise->grain = Grain::kTextured;
      return take(dark, noise);
    }
    readSmoothest(kClippedShare);
    take(usual, noise);
  }

 private:
  bool mayBeJpeg() const { return encoding_ == pixels::Encoding::kDisplay; }

  Readings readSmoothest(float clippedShare) {
    passing_.select(blocks_, encoding_, clippedShare);
    return read(passing_.smoothest(kDecidingShare, kFewestDeciding), toWorking_);
  }

  void take(const Readings& of, NoiseByScale* noise) {
    judge(of, mayBeJpeg(), noise);
    takeSpectrum(passing_.smoothest(spectrumBlocks(passing_.count())), noise);
    takeSigma(nearestToGrey(passing_.smoothest(kSigmaShare, kFewestOfSigma), toWorking_), toWorking_, noise);
    passing_.select(blocks_, encoding_, kDarkBlocks[1].clippedShare);
    noise->structure = asFloat(passing_.structure() * toWorking_);
  }

  // A block is without a spectrum only if adding it failed.
  void takeSpectrum(const Selection& of, NoiseByScale* noise) const {
    NoiseSpectrum mean;
    for (std::size_t i = 0; i < of.count; ++i) {
      const BlockSpectrum* const spectrum = blocks_.spectrumOf(of.blocks[i].index);
      if (spectrum != nullptr) mean.add(*spectrum, of.blocks[i].factor);
    }
    const auto kept = static_cast<double>(noise->kept);
    mean.finish(toWorking_ * toWorking_, kept * kept, noise->spectrum);
  }

  const HaarBlocks& blocks_;
  const pixels::Encoding encoding_;
  const double toWorking_;
  PassingBlocks passing_;
};

}  // namespace

bool noiseByScale(const HaarBlocks& blocks, pixels::Encoding encoding, float toWorking, NoiseByScale* noise) {
  for (std::int64_t i = 0; i < blocks.grid().count(); ++i) noise->blocks += blocks[i].isSeen != 0 ? 1 : 0;
  if (noise->blocks == 0) return true;
  Reader reader(blocks, encoding, toWorking);
  if (!reader.hasMemory()) return false;
  reader.take(noise);
  return true;
}

}  // namespace veskaro::measure
