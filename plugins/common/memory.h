// Memory and plans that end with their scope; a failure is a null pointer, never an exception.
#pragma once

#include <cstdlib>
#include <memory>

#include "veskaronr.h"

namespace plugin {

struct Release {
  void operator()(void* memory) const { std::free(memory); }
  void operator()(vnr_plan* plan) const { vnr_plan_end(plan); }
  void operator()(vnr_measurement* measurement) const { vnr_measure_end(measurement); }
};

using Bytes = std::unique_ptr<unsigned char, Release>;
using Plan = std::unique_ptr<vnr_plan, Release>;
using Measurement = std::unique_ptr<vnr_measurement, Release>;

// Zeroed, so that what is not written later is not what lay there before.
inline Bytes zeroedBytes(std::size_t pixels, std::size_t bytesPerPixel) {
  return Bytes(static_cast<unsigned char*>(std::calloc(pixels ? pixels : 1, bytesPerPixel)));
}

inline Plan planFor(int width, int height, const vnr_settings& settings) {
  vnr_plan* plan = nullptr;
  return vnr_plan_begin(width, height, &settings, &plan) == VNR_OK ? Plan(plan) : Plan();
}

inline Measurement measurementFor(int width, int height) {
  vnr_measurement* measurement = nullptr;
  return vnr_measure_begin(width, height, &measurement) == VNR_OK ? Measurement(measurement) : Measurement();
}

}  // namespace plugin
