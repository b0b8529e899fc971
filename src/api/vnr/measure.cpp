#include "api/vnr/measure.h"

#include <cmath>
#include <cstdlib>
#include <new>

#include "api/vnr/check.h"
#include "api/vnr/settings.h"
#include "measure/state_bytes.h"
#include "platform/fp_environment.h"

struct vnr_measurement {
  vnr_measurement(int width, int height) : measurement(width, height, veskaro::measure::Scope::kAll) {}
  veskaro::measure::Measurement measurement;
};

namespace veskaro::api {
namespace {

using measure::Measurement;

// Null when memory is refused.
vnr_measurement* newMeasurement(int width, int height) {
  void* const memory = std::malloc(sizeof(vnr_measurement));
  if (memory == nullptr) return nullptr;
  auto* const m = new (memory) vnr_measurement(width, height);
  if (m->measurement) return m;
  vnr_measure_end(m);
  return nullptr;
}

int codeOf(measure::Result result) {
  switch (result) {
    case measure::Result::kDone:
      return VNR_OK;
    case measure::Result::kNotANumber:
      return VNR_ERROR_SAMPLES;
    case measure::Result::kNoMemory:
      return VNR_ERROR_MEMORY;
    case measure::Result::kCancelled:
      return VNR_CANCELLED;
    case measure::Result::kExecutorFailed:
      return VNR_ERROR_CONTROL;
    default:
      return VNR_ERROR_STATE;
  }
}

// Measuring reads integers cut off, and floats as they are: rounding and linear scale have no say.
int add(Measurement* m, const CheckedPicture& piece, platform::Control control) {
  const pixels::Region whole = {0, m->width(), 0, m->height()};
  if (!whole.contains(piece.view.region)) return VNR_ERROR_RECTANGLE;
  control.progress = nullptr;
  if (m->isBegun() && m->encoding() != piece.encoding) return VNR_ERROR_FORMAT;
  return codeOf(m->add(piece.view, sampleScale(piece, 1.0f, pixels::Rounding::kTruncate), control));
}

int finish(const Measurement& m, vnr_noise* given) {
  measure::Noise noise;
  if (!m.noise(&noise)) return VNR_ERROR_MEMORY;
  return giveStruct(noiseOf(m, noise), given);
}

// The roles of candidates, by block, as a list that is short enough to look through.
int roleOf(const measure::Noise& noise, std::int64_t block, float* deviation) {
  for (int k = 0; k < noise.candidates.count(); ++k) {
    if (noise.candidates.blocks[k].index != block) continue;
    if (!std::isnan(noise.evenedOut[k])) *deviation = noise.evenedOut[k];
    for (int d = 0; d < noise.decision.decidingCount; ++d) {
      if (noise.decision.deciding[d] == k) return VNR_BLOCK_DECIDING;
    }
    return VNR_BLOCK_CANDIDATE;
  }
  return VNR_BLOCK_USABLE;
}

vnr_block describe(const Measurement& m, const measure::Noise& noise, std::int64_t block) {
  const measure::BlockRecord& r = m.table()[block];
  const bool isLinear = m.encoding() == pixels::Encoding::kLinear;
  vnr_block b = {static_cast<std::int32_t>(block % m.table().columns()),
                 static_cast<std::int32_t>(block / m.table().columns()), r.average, VNR_BLOCK_UNUSABLE,
                 measure::evenedOut(r.sparse, r.average) / static_cast<float>(measure::kFirstDifferences)};
  if (isLinear) {
    b.brightness = Measurement::brightnessOf(r, noise.whiteRoot);
    b.deviation = r.dense / noise.whiteRoot * 255.0f;
  }
  const bool isUsable = isLinear ? Measurement::isUsableLinear(r, noise.whiteRoot) : measure::isUsable(r.average);
  if (isUsable) b.role = roleOf(noise, block, &b.deviation);
  return b;
}

}  // namespace

int measureWhole(const CheckedPicture& picture, const platform::Control& control, vnr_noise* noise) {
  const pixels::Region& r = picture.view.region;
  if (r.x0 != 0 || r.y0 != 0) return VNR_ERROR_RECTANGLE;
  Measurement m(r.x1, r.y1, measure::Scope::kAll);
  if (!m) return VNR_ERROR_MEMORY;
  const int added = add(&m, picture, control);
  return added == VNR_OK ? finish(m, noise) : added;
}

}  // namespace veskaro::api

using namespace veskaro;

int vnr_measure(const vnr_picture* picture, const vnr_control* control, vnr_noise* noise) {
  api::CheckedPicture own;
  platform::Control how;
  int result = api::checkPicture(picture, &own);
  if (result == VNR_OK) result = api::checkControl(control, &how);
  if (result == VNR_OK) result = api::checkStruct(noise);
  if (result != VNR_OK) return result;
  const platform::DefaultFpEnvironment environment;
  return api::measureWhole(own, how, noise);
}

int vnr_measure_begin(int32_t width, int32_t height, vnr_measurement** measurement) {
  if (measurement == nullptr) return VNR_ERROR_NULL;
  const int size = api::checkSize(width, height);
  if (size != VNR_OK) return size;
  vnr_measurement* const begun = api::newMeasurement(width, height);
  if (begun == nullptr) return VNR_ERROR_MEMORY;
  *measurement = begun;
  return VNR_OK;
}

int vnr_measure_add(vnr_measurement* measurement, const vnr_picture* piece, const vnr_control* control) {
  if (measurement == nullptr) return VNR_ERROR_NULL;
  api::CheckedPicture own;
  platform::Control how;
  int result = api::checkPicture(piece, &own);
  if (result == VNR_OK) result = api::checkControl(control, &how);
  if (result != VNR_OK) return result;
  const platform::DefaultFpEnvironment environment;
  return api::add(&measurement->measurement, own, how);
}

int vnr_measure_merge(vnr_measurement* into, const vnr_measurement* from) {
  if (into == nullptr || from == nullptr) return VNR_ERROR_NULL;
  if (into == from) return VNR_OK;
  const platform::DefaultFpEnvironment environment;
  return api::codeOf(into->measurement.merge(from->measurement));
}

int vnr_measure_finish(const vnr_measurement* measurement, vnr_noise* noise) {
  if (measurement == nullptr) return VNR_ERROR_NULL;
  const int given = api::checkStruct(noise);
  if (given != VNR_OK) return given;
  const platform::DefaultFpEnvironment environment;
  return api::finish(measurement->measurement, noise);
}

int vnr_measure_blocks(const vnr_measurement* measurement, vnr_block* blocks, size_t capacity, size_t* count) {
  if (measurement == nullptr || count == nullptr || (blocks == nullptr && capacity > 0)) return VNR_ERROR_NULL;
  const platform::DefaultFpEnvironment environment;
  const measure::Measurement& m = measurement->measurement;
  measure::Noise noise;
  if (!m.noise(&noise)) return VNR_ERROR_MEMORY;
  *count = 0;
  for (std::int64_t block = 0; block < m.table().count(); ++block) {
    if (!m.table()[block].isSeen()) continue;
    if (*count < capacity) blocks[*count] = api::describe(m, noise, block);
    ++*count;
  }
  return VNR_OK;
}

int vnr_measure_save(const vnr_measurement* measurement, void* bytes, size_t capacity, size_t* size) {
  if (measurement == nullptr || size == nullptr || (bytes == nullptr && capacity > 0)) return VNR_ERROR_NULL;
  *size = measure::stateBytes(measurement->measurement);
  if (capacity == 0) return VNR_OK;
  if (capacity < *size) return VNR_ERROR_SIZE;
  measure::saveState(measurement->measurement, static_cast<unsigned char*>(bytes));
  return VNR_OK;
}

int vnr_measure_load(const void* bytes, size_t size, vnr_measurement** measurement) {
  if (bytes == nullptr || measurement == nullptr) return VNR_ERROR_NULL;
  const auto* const state = static_cast<const unsigned char*>(bytes);
  measure::StateSize picture;
  if (!measure::readStateSize(state, size, &picture)) return VNR_ERROR_STATE;
  if (api::checkSize(picture.width, picture.height) != VNR_OK) return VNR_ERROR_STATE;
  vnr_measurement* const loaded = api::newMeasurement(picture.width, picture.height);
  if (loaded == nullptr) return VNR_ERROR_MEMORY;
  const platform::DefaultFpEnvironment environment;
  const int result = api::codeOf(measure::loadState(state, &loaded->measurement));
  if (result == VNR_OK) {
    *measurement = loaded;
  } else {
    vnr_measure_end(loaded);
  }
  return result;
}

void vnr_measure_end(vnr_measurement* measurement) {
  if (measurement == nullptr) return;
  measurement->~vnr_measurement();
  std::free(measurement);
}
