#include "run/noise_profile.h"

#include <fmt/format.h>

#include <algorithm>
#include <memory>

#include "base/failure.h"
#include "base/timer.h"
#include "run/library.h"

namespace tool::run {
namespace {

struct EndMeasurement {
  void operator()(vnr_measurement* measurement) const { vnr_measure_end(measurement); }
};
using Measurement = std::unique_ptr<vnr_measurement, EndMeasurement>;

Measurement begin(const vnr_picture& picture) {
  vnr_measurement* measurement = nullptr;
  requireDone(vnr_measure_begin(picture.width, picture.height, &measurement));
  return Measurement(measurement);
}

std::vector<vnr_block> usableBlocks(const vnr_measurement* measurement) {
  std::size_t count = 0;
  requireDone(vnr_measure_blocks(measurement, nullptr, 0, &count));
  std::vector<vnr_block> blocks(count);
  requireDone(vnr_measure_blocks(measurement, blocks.data(), blocks.size(), &count));
  const auto end = std::remove_if(blocks.begin(), blocks.end(),
                                  [](const vnr_block& block) { return block.role == VNR_BLOCK_UNUSABLE; });
  blocks.erase(end, blocks.end());
  return blocks;
}

}  // namespace

std::string NoiseProfile::whyNoLevel() const {
  switch (noise.reason) {
    case VNR_NO_USABLE_BLOCK:
      return "no 32 x 32 block of the picture is usable (the picture is too small, or all of it black, white or flat)";
    case VNR_NO_CONTRAST:
      return "the picture has no two brightnesses to tell shadows from highlights";
    default:
      return "";
  }
}

const char* NoiseProfile::grain() const {
  switch (noise.grain) {
    case VNR_GRAIN_MEASURED:
      return "measured";
    case VNR_GRAIN_TEXTURED:
      return "textured";
    default:
      return "unknown";
  }
}

NoiseProfile givenNoise(const vnr_noise& noise, std::int32_t encoding) {
  if (noise.encoding != encoding) {
    const char* const from[] = {"as it is displayed", "proportional to light"};
    throw Failure(Kind::kUnsupported, fmt::format("the given noise is that of a picture {}, and this one is {}",
                                                  from[noise.encoding], from[encoding]));
  }
  return {noise, {}, 0};
}

NoiseProfile measureNoise(const vnr_picture& picture, const vnr_control* control) {
  const Timer timer;
  NoiseProfile profile;
  const Measurement measurement = begin(picture);
  requireDone(vnr_measure_add(measurement.get(), &picture, control));
  profile.noise.struct_size = sizeof profile.noise;
  requireDone(vnr_measure_finish(measurement.get(), &profile.noise));
  profile.blocks = usableBlocks(measurement.get());
  profile.seconds = timer.seconds();
  return profile;
}

}  // namespace tool::run
