#include "run/noise_json.h"

#include <limits>
#include <vector>

#include "base/failure.h"
#include "run/library.h"

namespace tool::run {
namespace {

constexpr char kWhat[] = "noise";

std::vector<FloatField> floatsOf(vnr_noise& n) {
  return {{"level", &n.level},
          {"statistic", &n.statistic},
          {"linear_scale", &n.linear_scale},
          {"sigma", n.sigma, {3}},
          {"correlation", &n.correlation},
          {"blotches", &n.blotches},
          {"luma", &n.luma},
          {"chroma", &n.chroma},
          {"coarse_chroma", &n.coarse_chroma},
          {"texture_guard", &n.texture_guard},
          {"structure", &n.structure},
          {"spectrum", n.spectrum[0], {3, 8, 8}}};
}

// A field of one of two widths.
struct WholeField {
  const char* name;
  std::int64_t most;
  std::int32_t* narrow;
  std::int64_t* wide = nullptr;

  std::int64_t value() const { return wide != nullptr ? *wide : *narrow; }
  void take(std::int64_t value) const {
    if (wide != nullptr)
      *wide = value;
    else
      *narrow = static_cast<std::int32_t>(value);
  }
};

std::vector<WholeField> wholesOf(vnr_noise& n) {
  constexpr std::int64_t kMany = std::numeric_limits<std::int32_t>::max(), kVeryMany = kMany * kMany;
  return {{"reason", VNR_NO_CONTRAST, &n.reason},
          {"encoding", VNR_LINEAR, &n.encoding},
          {"grain", VNR_GRAIN_TEXTURED, &n.grain},
          {"grain_blocks", kMany, &n.grain_blocks},
          {"blocks", kVeryMany, nullptr, &n.blocks},
          {"blocks_seen", kVeryMany, nullptr, &n.blocks_seen},
          {"blocks_usable", kVeryMany, nullptr, &n.blocks_usable}};
}

vnr_noise noiseOf(const Json& fields) {
  vnr_noise noise{};
  noise.struct_size = sizeof noise;
  std::vector<std::string> names;
  for (const WholeField& field : wholesOf(noise)) names.push_back(field.name);
  for (const FloatField& field : floatsOf(noise)) names.push_back(field.name);
  requireMembers(fields, names, kWhat);
  for (const WholeField& field : wholesOf(noise))
    field.take(wholeNumber(field.name, fields[field.name], 0, field.most));
  for (const FloatField& field : floatsOf(noise)) field.take(fields[field.name]);
  return noise;
}

void requireUsable(const vnr_noise& noise) {
  vnr_settings settings{};
  settings.struct_size = sizeof settings;
  for (const auto rule : {vnr_settings_best, vnr_settings_classic}) {
    vnr_plan* plan = nullptr;
    const bool isUsable = rule(&noise, 1.0f, &settings) == VNR_OK && vnr_plan_begin(64, 64, &settings, &plan) == VNR_OK;
    vnr_plan_end(plan);
    if (!isUsable) throw Failure("the noise has values that no picture has");
  }
}

}  // namespace

Json jsonOfNoise(const vnr_noise& noise) {
  vnr_noise copy = noise;
  Json json = Json::object();
  for (const WholeField& field : wholesOf(copy)) json[field.name] = field.value();
  for (const FloatField& field : floatsOf(copy)) json[field.name] = field.json();
  return json;
}

vnr_noise noiseOfProfile(const std::string& text) {
  const Json profile = parsedOnce(text, "picture, nor the profile of one");
  if (!profile.contains("noise") || !profile["noise"].is_object()) throw Failure("there is no noise in it");
  const vnr_noise noise = noiseOf(profile["noise"]);
  requireUsable(noise);
  return noise;
}

}  // namespace tool::run
