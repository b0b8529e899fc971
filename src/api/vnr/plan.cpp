#include <algorithm>
#include <cstdlib>
#include <new>

#include "api/vnr/check.h"
#include "api/vnr/measure.h"
#include "api/vnr/settings.h"
#include "params/tuning.h"
#include "platform/fp_environment.h"
#include "tiled/filter.h"

// What never changes once it has begun.
struct vnr_plan {
  veskaro::tiled::Plan plan;
  float linearScale;
  int rounding;  // vnr_rounding
};

namespace veskaro::api {
namespace {

params::ShrinkSettings shrinkSettings(const vnr_settings& s, float highlightReduction) {
  constexpr float kMostPower = 1e30f;  // so that products stay numbers
  constexpr float kWhite = 255.0f;
  params::ShrinkSettings shrink;
  shrink.slope = -highlightReduction / kWhite;
  for (int c = 0; c < params::kShrunkChannels; ++c) {
    const float factor = c == params::kShrunkY ? s.shrink_luma : s.shrink_chroma;
    const float* const residual = c == params::kShrunkY ? s.residual_luma : s.residual_chroma;
    shrink.isOn[c] = factor > 0.0f;
    std::copy(residual, residual + params::kBlock, shrink.residual[c]);
    for (int i = 0; i < params::kBlock * params::kBlock; ++i) {
      shrink.power[c][i] = std::min(factor * s.spectrum[c][i], kMostPower);
    }
  }
  return shrink;
}

params::TileSettings tileSettings(const vnr_settings& s) {
  const params::Tuning tuning = params::deriveTuning(s.params);
  params::TileSettings tile = params::tileSettings(tuning, {s.recon_threshold, s.recon_rolloff});
  tile.noise[0].patch = s.patch;
  tile.dots = {s.dots_luma, s.dots_chroma};
  tile.shrink = shrinkSettings(s, tuning.highlightReduction);
  return tile;
}

// The grid of two threads and more, whatever runs it.
vnr_plan planOf(int width, int height, const vnr_settings& s) {
  constexpr int kSeveralThreads = 2;
  vnr_plan p = {{width, height, {}, tileSettings(s)}, s.linear_scale, s.rounding};
  tiled::tileGrid(width, height, s.tile, kSeveralThreads, tiled::kPadding, tiled::kOverlap, &p.plan.grid);
  return p;
}

int roundingOf(int rounding, pixels::SampleType type, pixels::Rounding* own) {
  const bool isFloat = type == pixels::SampleType::kFloat32;
  if (rounding == VNR_ROUND_NONE && !isFloat) return VNR_ERROR_SETTINGS;
  *own = rounding == VNR_ROUND_TRUNCATE          ? pixels::Rounding::kTruncate
         : rounding == VNR_ROUND_NEAREST         ? pixels::Rounding::kNearest
         : rounding == VNR_ROUND_NONE || isFloat ? pixels::Rounding::kNone
         : rounding == VNR_ROUND_FINEST          ? pixels::Rounding::kNearest
                                                 : pixels::Rounding::kTruncate;
  return VNR_OK;
}

// Whether the input holds what the output's tiles read.
int checkRectangles(const tiled::Plan& plan, const CheckedPicture& in, const CheckedPicture& out) {
  if (!plan.picture().contains(out.view.region) || !plan.picture().contains(in.view.region)) {
    return VNR_ERROR_RECTANGLE;
  }
  const pixels::Region read = tiled::readBy(plan, tiled::tilesTouching(plan, out.view.region));
  return in.view.region.contains(read) ? VNR_OK : VNR_ERROR_RECTANGLE;
}

int checkPair(const vnr_picture* in, const vnr_picture* out, CheckedPicture* ownIn, CheckedPicture* ownOut) {
  int result = checkPicture(in, ownIn);
  if (result == VNR_OK) result = checkPicture(out, ownOut);
  if (result != VNR_OK) return result;
  return ownIn->isAlike(*ownOut) ? checkOverlap(*ownIn, *ownOut) : VNR_ERROR_FORMAT;
}

int filter(const vnr_plan& p, const CheckedPicture& in, const CheckedPicture& out, const platform::Control& control) {
  pixels::Rounding rounding;
  const int rounds = roundingOf(p.rounding, in.view.type, &rounding);
  if (rounds != VNR_OK) return rounds;
  const pixels::SampleScale scale = sampleScale(in, p.linearScale, rounding);
  const tiled::Engine engine = tiled::chooseEngine(p.plan, in.view.type);
  return resultOf(tiled::filter({p.plan, in.view, out.view, scale}, engine, control, nullptr));
}

void give(const pixels::Region& region, vnr_rectangle* to) {
  if (to != nullptr) *to = {region.x0, region.x1, region.y0, region.y1};
}

}  // namespace
}  // namespace veskaro::api

using namespace veskaro;

int vnr_plan_begin(int32_t width, int32_t height, const vnr_settings* settings, vnr_plan** plan) {
  if (plan == nullptr) return VNR_ERROR_NULL;
  const platform::DefaultFpEnvironment environment;
  vnr_settings own;
  int result = api::checkSettings(settings, &own);
  if (result == VNR_OK) result = api::checkSize(width, height);
  if (result != VNR_OK) return result;
  void* const memory = std::malloc(sizeof(vnr_plan));
  if (memory == nullptr) return VNR_ERROR_MEMORY;
  *plan = new (memory) vnr_plan(api::planOf(width, height, own));
  return VNR_OK;
}

int vnr_plan_cover(const vnr_plan* plan, const vnr_rectangle* wanted, vnr_rectangle* read, vnr_rectangle* write) {
  if (plan == nullptr || wanted == nullptr || read == nullptr) return VNR_ERROR_NULL;
  const pixels::Region region = {wanted->x0, wanted->x1, wanted->y0, wanted->y1};
  if (region.isEmpty() || !plan->plan.picture().contains(region)) return VNR_ERROR_RECTANGLE;
  const tiled::TileBlock tiles = tiled::tilesTouching(plan->plan, region);
  api::give(tiled::readBy(plan->plan, tiles), read);
  api::give(tiled::writtenBy(plan->plan, tiles), write);
  return VNR_OK;
}

int vnr_plan_filter(const vnr_plan* plan, const vnr_picture* in, const vnr_picture* out, const vnr_control* control) {
  if (plan == nullptr) return VNR_ERROR_NULL;
  api::CheckedPicture ownIn, ownOut;
  platform::Control how;
  int result = api::checkPair(in, out, &ownIn, &ownOut);
  if (result == VNR_OK) result = api::checkControl(control, &how);
  if (result == VNR_OK) result = api::checkRectangles(plan->plan, ownIn, ownOut);
  if (result != VNR_OK) return result;
  const platform::DefaultFpEnvironment environment;
  return api::filter(*plan, ownIn, ownOut, how);
}

void vnr_plan_end(vnr_plan* plan) {
  std::free(plan);
}

int vnr_denoise(const vnr_picture* in, const vnr_picture* out, const vnr_settings* settings,
                const vnr_control* control) {
  const platform::DefaultFpEnvironment environment;
  api::CheckedPicture ownIn, ownOut;
  platform::Control how;
  vnr_settings own;
  int result = api::checkPair(in, out, &ownIn, &ownOut);
  if (result == VNR_OK) result = api::checkControl(control, &how);
  if (result == VNR_OK && settings != nullptr) result = api::checkSettings(settings, &own);
  if (result != VNR_OK) return result;
  const pixels::Region& whole = ownIn.view.region;
  if (whole.x0 != 0 || whole.y0 != 0 || ownOut.view.region != whole) return VNR_ERROR_RECTANGLE;
  if (settings == nullptr) {
    vnr_noise noise = {};
    noise.struct_size = sizeof(noise);
    result = api::measureWhole(ownIn, how, &noise);
    if (result != VNR_OK) return result;
    own = api::classicSettings(&noise, 1.0f);
  }
  return api::filter(api::planOf(whole.x1, whole.y1, own), ownIn, ownOut, how);
}
