#include "tell/describe.h"

#include <cmath>

#include "tell/print.h"
#include "tell/versions.h"

namespace tool::tell {
namespace {

// Floats with the digits that they have, not those of the double that holds them.
double rounded(double value, double digits = 1e6) {
  return std::round(value * digits) / digits;
}

Json parametersOf(const run::Parameters& parameters) {
  Json json = Json::object();
  for (const run::Parameter& parameter : parameters) {
    json[parameter.name] = {{"value", rounded(parameter.value, 1e5)},
                            {"default", rounded(parameter.byDefault, 1e5)},
                            {"origin", run::nameOf(parameter.origin)},
                            {"meaning", parameter.meaning}};
  }
  return json;
}

void addWork(const run::FilterWork& work, const run::Settings& settings, Json& json) {
  addNoise(work.noise, json);
  const bool usesDefaults = work.rule == run::Rule::kClassic && !work.noise.measured();
  json["defaults_used"] = usesDefaults;
  if (usesDefaults) json["defaults_reason"] = work.noise.whyNoLevel();
  json["strength"] = settings.strength;
  json["preset"] = settings.preset;
  json["threads"] = settings.threads;
  json["tile"] = settings.tile;
  json["parameters"] = parametersOf(work.parameters);
}

void addWork(const run::HdrWork& work, const run::Settings& settings, Json& json) {
  json["mode"] = work.chromaOnly ? "chroma" : "full";
  json["strength"] = work.strength;
  json["preset"] = settings.preset;
  json["threads"] = 1;
  json["statistics"] = describe(work.statistics);
}

void addPicture(const run::Outcome& outcome, Json& json) {
  const pictures::Layout& layout = outcome.decoded.layout;
  json["input_format"] = pictures::formatName(outcome.read.format);
  json["output_format"] = pictures::formatName(outcome.written.format);
  json["width"] = layout.width;
  json["height"] = layout.height;
  json["bits"] = layout.bits;
  json["channels"] = layout.channels;
  json["samples"] = samplesOf(layout);
}

const char* scaleOf(const run::Outcome& outcome) {
  const pictures::Layout& layout = outcome.decoded.layout;
  return layout.isFloat ? "floats" : layout.colour == pictures::Colour::kRgbe ? "bytes" : "0 to 255";
}

Json changeOf(const run::Outcome& outcome) {
  const run::Done& done = outcome.done;
  return {{"share", rounded(done.change.share)},
          {"mean", rounded(done.change.mean)},
          {"largest", rounded(done.change.largest)},
          {"scale", scaleOf(outcome)}};
}

Json secondsOf(const run::Outcome& outcome) {
  return {{"read", rounded(outcome.read.seconds)},
          {"decode", rounded(outcome.decoded.seconds)},
          {"measure", rounded(outcome.done.measureSeconds)},
          {"denoise", rounded(outcome.done.seconds)},
          {"encode", rounded(outcome.written.encodeSeconds)},
          {"write", rounded(outcome.written.seconds)},
          {"total", rounded(outcome.totalSeconds)}};
}

void addOutcome(const run::Outcome& outcome, const run::Settings& settings, Json& json) {
  addPicture(outcome, json);
  const pictures::Layout& layout = outcome.decoded.layout;
  // Unless denoise1 had it.
  if (layout.colour == pictures::Colour::kRgbe || (layout.isFloat && !settings.displayReferred)) json["mode"] = "light";
  std::visit([&](const auto& work) { addWork(work, settings, json); }, outcome.done.work);
  json["changed"] = changeOf(outcome);
  if (outcome.done.whyUnchanged) json["why_unchanged"] = *outcome.done.whyUnchanged;
  if (outcome.decoded.note) json["note"] = *outcome.decoded.note;
  json["seconds"] = secondsOf(outcome);
  json["megapixels_per_second"] = rounded(outcome.megapixelsPerSecond(), 1e3);
  for (const auto& [name, version] : versions()) json["versions"][name] = version;
}

}  // namespace

void addNoise(const run::NoiseProfile& profile, Json& json) {
  const vnr_noise& noise = profile.noise;
  json["noise_grain"] = profile.grain();
  if (noise.grain != VNR_GRAIN_UNKNOWN) {
    json["noise_sigma"] = {rounded(noise.sigma[0], 1e5), rounded(noise.sigma[1], 1e5), rounded(noise.sigma[2], 1e5)};
    json["noise_correlation"] = rounded(noise.correlation, 1e5);
    json["noise_blotches"] = rounded(noise.blotches, 1e5);
  }
  json["noise_measured"] = profile.measured();
  json["blocks_usable"] = profile.blocks.size();
  if (!profile.measured()) return;
  json["noise_level"] = rounded(noise.level, 1e5);
  json["noise_statistic"] = rounded(noise.statistic);
}

Json describe(const run::HdrStatistics& statistics) {
  static constexpr const char* kNames[] = {"log_sum_shadows",      "log_sum_saturation", "log_luminance_shadows",
                                           "log_luminance_median", "log_luminance_p99",  "luminance_threshold"};
  Json json = Json::object();
  for (std::size_t i = 0; i < statistics.size(); ++i) json[kNames[i]] = rounded(statistics[i]);
  return json;
}

Json describe(const run::FileResult& file, const run::Settings& settings) {
  Json json = {{"input", file.input}, {"output", file.output}};
  if (const Failure* failure = file.failure()) {
    json["error"] = failure->what();
  } else {
    addOutcome(*file.outcome(), settings, json);
  }
  return json;
}

std::string oneLine(const Json& value) {
  return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace tool::tell
