#include "run/recipe.h"

#include <algorithm>
#include <vector>

#include "base/failure.h"
#include "run/exact_json.h"
#include "run/library.h"
#include "run/parameters.h"

namespace tool::run {
namespace {

constexpr int kVersion = 1;
constexpr char kWhat[] = "recipe";
constexpr const char* kRoundings[] = {"auto", "truncate", "nearest", "none", "finest"};

std::vector<FloatField> floatsOf(vnr_settings& s) {
  std::vector<FloatField> fields;
  for (std::size_t i = 0; i < NR_PARAM_COUNT; ++i) {
    std::string name = i == NR_RESERVED ? "reserved" : nameOfParameter(i);
    std::replace(name.begin(), name.end(), '-', '_');
    fields.push_back({name, &s.params[i]});
  }
  const FloatField others[] = {{"recon_threshold", &s.recon_threshold},
                               {"recon_rolloff", &s.recon_rolloff},
                               {"linear_scale", &s.linear_scale},
                               {"patch", &s.patch},
                               {"dots_luma", &s.dots_luma},
                               {"dots_chroma", &s.dots_chroma},
                               {"shrink_luma", &s.shrink_luma},
                               {"shrink_chroma", &s.shrink_chroma},
                               {"residual_luma", s.residual_luma, {8}},
                               {"residual_chroma", s.residual_chroma, {8}},
                               {"spectrum", s.spectrum[0], {3, 8, 8}}};
  fields.insert(fields.end(), std::begin(others), std::end(others));
  return fields;
}

vnr_settings usual() {
  vnr_settings settings{};
  settings.struct_size = sizeof settings;
  requireDone(vnr_settings_classic(nullptr, 1.0f, &settings));
  return settings;
}

// The library's own judgement, on one value at a time so that it can be named.
void requireUsable(const vnr_settings& settings, const std::string& name, const Json& value) {
  vnr_plan* plan = nullptr;
  const bool isUsable = vnr_plan_begin(64, 64, &settings, &plan) == VNR_OK;
  vnr_plan_end(plan);
  if (!isUsable) throw Failure(name + " cannot be " + value.dump().substr(0, 60));
}

int roundingOf(const Json& json) {
  for (int i = 0; i < 5; ++i) {
    if (json == kRoundings[i]) return i;
  }
  throw Failure("rounding is auto, truncate, nearest, none or finest, not " + json.dump(-1, ' ', true).substr(0, 60));
}

template <typename Take>
void takeField(const std::string& name, const Json& value, vnr_settings& settings, Take take) {
  vnr_settings alone = usual();
  take(alone);
  requireUsable(alone, name, value);
  take(settings);
}

}  // namespace

std::string recipeOf(const vnr_settings& settings) {
  vnr_settings copy = settings;
  Json fields = Json::object();
  for (const FloatField& field : floatsOf(copy)) fields[field.name] = field.json();
  fields["tile"] = settings.tile;
  fields["rounding"] = kRoundings[settings.rounding];
  return Json{{"recipe", kVersion}, {"settings", fields}}.dump(2) + "\n";
}

vnr_settings settingsOfRecipe(const std::string& text) {
  const Json recipe = parsedOnce(text, kWhat);
  requireMembers(recipe, {"recipe", "settings"}, kWhat);
  if (recipe["recipe"] != kVersion || !recipe["recipe"].is_number_integer())
    throw Failure("the recipe is of another version than 1, which is the one that is known");
  const Json& fields = recipe["settings"];
  if (!fields.is_object()) throw Failure("this is no recipe");
  vnr_settings settings = usual();
  std::vector<std::string> names = {"tile", "rounding"};
  for (const FloatField& field : floatsOf(settings)) names.push_back(field.name);
  requireMembers(fields, names, kWhat);
  for (std::size_t i = 0; i + 2 < names.size(); ++i) {
    const Json& value = fields[names[i + 2]];
    takeField(names[i + 2], value, settings, [&](vnr_settings& to) { floatsOf(to)[i].take(value); });
  }
  takeField("tile", fields["tile"], settings, [&](vnr_settings& to) {
    to.tile = static_cast<std::int32_t>(wholeNumber("tile", fields["tile"], 1, 1 << 30));
  });
  settings.rounding = roundingOf(fields["rounding"]);
  return settings;
}

}  // namespace tool::run
