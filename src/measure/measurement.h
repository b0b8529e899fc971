// The measurement of one picture's noise, whole or in pieces.
#ifndef VESKARO_MEASURE_MEASUREMENT_H
#define VESKARO_MEASURE_MEASUREMENT_H

#include <cstdint>

#include "measure/block_table.h"
#include "measure/fragments.h"
#include "measure/haar/haar_blocks.h"
#include "measure/haar/noise_by_scale.h"
#include "measure/result.h"
#include "measure/smoothest.h"
#include "platform/loop.h"

namespace veskaro::measure {

enum class Reason { kMeasured, kNoUsableBlock, kNoContrast };

// What the blocks seen so far tell.
struct Noise {
  Reason reason = Reason::kNoUsableBlock;
  float statistic = 0.0f;
  float linearScale = 1.0f;
  float whiteRoot = 1.0f;  // its root
  std::int64_t seen = 0, usable = 0;
  Candidates candidates;
  float evenedOut[2 * kMostOfHalf];  // second measurement of the candidates; display: a mean difference of a pair
  Decision decision;
  NoiseByScale byScale;
};

// What is measured: denoise2 asks for its own profile alone.
enum class Scope { kProfile, kAll };

class Measurement {
 public:
  Measurement(int width, int height, Scope scope)
      : width_(width),
        height_(height),
        table_(width, height),
        haarBlocks_(scope == Scope::kAll ? width : 0, scope == Scope::kAll ? height : 0) {}

  explicit operator bool() const { return static_cast<bool>(table_) && static_cast<bool>(haarBlocks_); }
  int width() const { return width_; }
  int height() const { return height_; }
  bool isBegun() const { return isBegun_; }
  pixels::Encoding encoding() const { return encoding_; }
  const BlockTable& table() const { return table_; }
  const Fragments& fragments() const { return fragments_; }
  const HaarBlocks& haarBlocks() const { return haarBlocks_; }

  // Blocks seen before are left out, so that pieces may overlap.
  Result add(const pixels::PictureView& piece, const pixels::SampleScale& scale, const platform::Control& control);
  Result merge(const Measurement& other);

  // What may be called at any time. False when memory is refused.
  bool noise(Noise* noise) const;
  static int brightnessOf(const BlockRecord& linear, float whiteRoot);
  static bool isUsableLinear(const BlockRecord& linear, float whiteRoot);

  // For one that comes from bytes: what of it is known, a piece of it at a time.
  void begin(pixels::Encoding encoding) {
    encoding_ = encoding;
    isBegun_ = true;
  }
  void restore(std::int64_t block, const BlockRecord& record);
  Result restore(const Fragment& fragment);
  void restore(std::int64_t block, const HaarRecord& record) { haarBlocks_.restore(block, record); }
  Result restore(const HaarFragment& fragment) { return haarBlocks_.restore(fragment, encoding_); }
  Result restore(const SpectrumRecord& spectrum) { return haarBlocks_.restore(spectrum, encoding_); }

 private:
  bool begins(pixels::Encoding encoding);
  Result addWholeBlocks(const pixels::PictureView& piece, const pixels::SampleScale& scale,
                        const pixels::Region& blocks, const platform::Control& control);
  Result addToFragments(const pixels::PictureView& piece, const pixels::SampleScale& scale,
                        const pixels::Region& blocks);
  Result addToFragment(const pixels::PictureView& piece, const pixels::SampleScale& scale, std::int64_t block);
  bool measureBlock(const pixels::PictureView& piece, const pixels::SampleScale& scale, std::int64_t block);
  Result complete(Fragment* fragment);
  Result measureAgain(const pixels::PictureView& piece, const pixels::SampleScale& scale, const pixels::Region& blocks,
                      const platform::Control& control);
  void markSeen(std::int64_t block);
  void rank(std::int64_t block);
  bool wantsDense(std::int64_t block) const;
  std::size_t listUsable(UsableBlock* usable) const;
  void noiseOfDisplay(UsableBlock* usable, Noise* noise) const;
  bool noiseOfLinear(UsableBlock* usable, Noise* noise) const;

  int width_, height_;
  pixels::Encoding encoding_ = pixels::Encoding::kDisplay;
  bool isBegun_ = false;
  BlockTable table_;
  Fragments fragments_;
  SmoothestBlocks smoothest_;
  HaarBlocks haarBlocks_;
  std::int64_t seen_ = 0;
};

}  // namespace veskaro::measure

#endif  // VESKARO_MEASURE_MEASUREMENT_H
