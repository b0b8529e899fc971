// The parameters of denoising that the user can see: the value of each, and where it comes from.
#pragma once

#include <veskaronr.h>

#include <array>
#include <optional>
#include <string>

namespace tool::run {

// The entries of the parameter vector (all but the last, which nothing reads) come first, by their index; those of
// reconstruction follow.
enum : std::size_t { kReconThreshold = NR_RESERVED, kReconRolloff, kParameterCount };

enum class Origin { kDefault, kPreset, kSet, kMeasured };

// The word for it, wherever a parameter is told of.
const char* nameOf(Origin origin);

struct Parameter {
  const char* name;
  const char* meaning;
  bool isMeasured;  // in every picture; the user cannot set it
  float byDefault;
  float value;
  Origin origin;

  void set(float to, Origin from) {
    value = to;
    origin = from;
  }
};

using Parameters = std::array<Parameter, kParameterCount>;

Parameters defaultParameters();

// Names may be written luma-keep, luma_keep or NR_LUMA_KEEP.
std::optional<std::size_t> indexOfParameter(std::string name);

// The names that can be set, in a row.
std::string settableNames();

// What the library works with, at a strength in percent and with tiles of this edge. Without a measurement its own
// defaults hold for all of the vector, as in denoise2.
vnr_settings librarySettings(const Parameters& asked, const vnr_noise& noise, int strength, int tile);

// The parameters as they are in these settings.
Parameters usedParameters(const Parameters& asked, const vnr_settings& settings, bool measured);

}  // namespace tool::run
