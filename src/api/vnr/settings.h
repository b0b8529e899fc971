#ifndef VESKARO_API_VNR_SETTINGS_H
#define VESKARO_API_VNR_SETTINGS_H

#include "measure/measurement.h"
#include "veskaronr.h"

namespace veskaro::api {

vnr_noise noiseOf(const measure::Measurement& measurement, const measure::Noise& noise);

// What denoise2 would use; noise may be null.
vnr_settings classicSettings(const vnr_noise* noise, float strength);

// What gains most with denoise2's filters alone.
vnr_settings fastSettings(const vnr_noise& noise, float strength);

// What gains most with all stages.
vnr_settings bestSettings(const vnr_noise& noise, float strength);

// A copy of a host's settings, every value of which is a number within its range.
int checkSettings(const vnr_settings* given, vnr_settings* settings);

}  // namespace veskaro::api

#endif  // VESKARO_API_VNR_SETTINGS_H
