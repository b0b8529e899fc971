// The parameters of denoise2 that the user can see: the value of each, and where it comes from.
#pragma once

#include <VeskaroNRLib.h>

#include <array>
#include <optional>
#include <string>

namespace tool::run {

using Params = std::array<float, NR_PARAM_COUNT>;

// The entries of the parameter vector (all but the last, which nothing reads) come first, by their index; two tuning
// variables that the library never writes follow.
enum : std::size_t { kReconThreshold = NR_RESERVED, kReconRolloff, kParameterCount };

enum class Origin { kDefault, kPreset, kSet, kMeasured };

// The word for it, wherever a parameter is told of.
const char* nameOf(Origin origin);

struct Parameter {
  const char* name;
  const char* meaning;
  bool isMeasured;  // by denoise2, in every picture; a host cannot set it
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

// The vector to hand to denoise2 at a strength in percent.
Params vectorOf(const Parameters& parameters, int strength);

// Gives the library's two tuning variables their values.
void applyTuning(const Parameters& parameters);

// The parameters that denoise2 worked with, by the vector that came back from it. Without a measurement it falls back
// to its own defaults for all of the vector.
Parameters usedParameters(const Parameters& asked, const Params& used, bool measured);

}  // namespace tool::run
