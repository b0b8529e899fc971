// The parameters of denoising that the user can see: the value of each, and where it comes from.
#pragma once

#include <veskaronr.h>

#include <array>
#include <optional>
#include <string>
#include <vector>

namespace tool::run {

// The entries of the parameter vector (all but the last, which nothing reads) come first, by their index; those of
// reconstruction and of the stages beyond denoise2's filters follow.
enum : std::size_t {
  kReconThreshold = NR_RESERVED,
  kReconRolloff,
  kPatch,
  kDotsLuma,
  kDotsChroma,
  kShrinkLuma,
  kShrinkChroma,
  kParameterCount
};

// How a measurement becomes settings.
enum class Rule { kBest, kFast, kClassic };

// Whether a rule works with the second measurement, by scale, instead of the noise level.
inline bool takesGrain(Rule rule) {
  return rule != Rule::kClassic;
}

enum class Origin { kDefault, kPreset, kSet, kMeasured, kRecipe };

// The word for it, wherever a parameter is told of.
const char* nameOf(Origin origin);

struct Parameter {
  const char* name;
  const char* meaning;
  float byDefault;
  float value;
  Origin origin;
};

using Parameters = std::array<Parameter, kParameterCount>;

// A parameter that is to have a value.
struct Setting {
  std::size_t parameter;
  float value;
};

// Names may be written luma-keep, luma_keep or NR_LUMA_KEEP.
std::optional<std::size_t> indexOfParameter(std::string name);
const char* nameOfParameter(std::size_t parameter);

// All names in a row.
std::string parameterNames();

struct Range {
  float least, most;
};
Range rangeOf(std::size_t parameter);

// What the library is told, and the same with the origin of each.
class Chosen {
 public:
  // As the rule has it, at a strength in percent that it takes. Throws Failure.
  Chosen(Rule rule, const vnr_noise& noise, int strength);
  // As a recipe has it.
  explicit Chosen(const vnr_settings& recipe);

  void set(const std::vector<Setting>& settings, Origin origin);

  const Parameters& parameters() const { return parameters_; }
  // With tiles of this edge.
  vnr_settings forLibrary(int tile) const;

 private:
  vnr_settings rule_{};
  Parameters parameters_;
};

}  // namespace tool::run
