#include "tell/describe.h"

#include <cmath>

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

void addWork(const run::PhotoWork& work, const run::Settings& settings, Json& json) {
  json["noise_level"] = rounded(work.parameters[NR_NOISE_LEVEL].value, 1e5);
  json["noise_measured"] = work.noise.measured();
  json["defaults_used"] = !work.noise.measured();
  if (!work.noise.measured()) json["defaults_reason"] = work.noise.whyDefaults();
  if (work.noise.measured()) json["noise_statistic"] = rounded(work.noise.noise.statistic);
  json["blocks_usable"] = work.noise.blocks.size();
  json["strength"] = settings.effectiveStrength();
  json["preset"] = settings.preset;
  json["threads"] = settings.threads;
  json["tile"] = settings.tile;
  json["parameters"] = parametersOf(work.parameters);
}

void addWork(const run::HdrWork& work, const run::Settings&, Json& json) {
  json["mode"] = work.chromaOnly ? "chroma" : "full";
  json["strength"] = work.strength;
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
}

Json changeOf(const run::Done& done) {
  return {{"share", rounded(done.change.share)},
          {"mean", rounded(done.change.mean)},
          {"largest", rounded(done.change.largest)},
          {"scale", std::holds_alternative<run::PhotoWork>(done.work) ? "0 to 255" : "bytes"}};
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
  std::visit([&](const auto& work) { addWork(work, settings, json); }, outcome.done.work);
  json["changed"] = changeOf(outcome.done);
  if (outcome.done.whyUnchanged) json["why_unchanged"] = *outcome.done.whyUnchanged;
  if (outcome.decoded.note) json["note"] = *outcome.decoded.note;
  json["seconds"] = secondsOf(outcome);
  json["megapixels_per_second"] = rounded(outcome.megapixelsPerSecond(), 1e3);
  for (const auto& [name, version] : versions()) json["versions"][name] = version;
}

}  // namespace

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
