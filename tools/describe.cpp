#include "describe.h"

#include <cmath>

namespace tool {
namespace {

using Json = nlohmann::ordered_json;

// Floats with the digits that they have, not those of the double that holds them.
double rounded(double value, double digits = 1e6) {
  return std::round(value * digits) / digits;
}

const char* originOf(const PhotoResult& photo, std::size_t index, float byDefault) {
  if (!photo.profile.measured()) return "default";
  if (paramTable()[index].measured) return "measured";
  return photo.used[index] != byDefault ? "set" : "default";
}

Json parametersOf(const PhotoResult& photo) {
  Params defaults;
  nr_def(defaults.data());
  Json parameters = Json::object();
  for (std::size_t i = 0; i < NR_RESERVED; ++i) {
    parameters[paramTable()[i].name] = {{"value", rounded(photo.used[i], 1e5)},
                                        {"default", rounded(defaults[i], 1e5)},
                                        {"origin", originOf(photo, i, defaults[i])},
                                        {"meaning", paramTable()[i].summary}};
  }
  parameters["recon-similarity-threshold"] = {{"value", rounded(reconSimilarityThreshold)},
                                              {"default", 10},
                                              {"origin", reconSimilarityThreshold != 10 ? "set" : "default"},
                                              {"meaning", "colour distance that counts as equal between levels"}};
  parameters["recon-similarity-rolloff"] = {{"value", rounded(reconSimilarityRolloff)},
                                            {"default", 50},
                                            {"origin", reconSimilarityRolloff != 50 ? "set" : "default"},
                                            {"meaning", "further distance over which similarity falls to 0"}};
  return parameters;
}

void addPhoto(const PhotoResult& photo, const Options& options, Json& json) {
  json["noise_level"] = rounded(photo.used[NR_NOISE_LEVEL], 1e5);
  json["noise_measured"] = photo.profile.measured();
  json["defaults_used"] = !photo.profile.measured();
  if (!photo.profile.measured()) json["defaults_reason"] = photo.profile.whyDefaults();
  if (photo.profile.measured()) json["noise_statistic"] = rounded(photo.profile.statistic);
  json["blocks_usable"] = photo.profile.blocks.size();
  json["strength"] = options.settings.effectiveStrength();
  json["preset"] = options.settings.preset;
  json["threads"] = options.settings.threads;
  json["tile"] = options.settings.tile;
  json["parameters"] = parametersOf(photo);
}

void addHdr(const HdrResult& hdr, Json& json) {
  json["mode"] = hdr.chromaOnly ? "chroma" : "full";
  json["strength"] = hdr.strength;
  json["threads"] = 1;
  json["statistics"] = describeStatistics(hdr.statistics);
}

}  // namespace

Json describeStatistics(const std::array<float, 6>& statistics) {
  static constexpr const char* kNames[] = {"log_sum_shadows",      "log_sum_saturation", "log_luminance_shadows",
                                           "log_luminance_median", "log_luminance_p99",  "luminance_threshold"};
  Json json = Json::object();
  for (std::size_t i = 0; i < 6; ++i) json[kNames[i]] = rounded(statistics[i]);
  return json;
}

Json describe(const Outcome& outcome, const Options& options) {
  Json json = {{"input", outcome.input}, {"output", outcome.output}};
  if (!outcome.error.empty()) {
    json["error"] = outcome.error;
    return json;
  }
  json["input_format"] = formatName(outcome.inputFormat);
  json["output_format"] = formatName(outcome.outputFormat);
  json["width"] = outcome.width;
  json["height"] = outcome.height;
  json["bits"] = outcome.bits;
  json["channels"] = outcome.channels;
  if (outcome.photo) addPhoto(*outcome.photo, options, json);
  if (outcome.hdr) addHdr(*outcome.hdr, json);
  json["changed"] = {{"share", rounded(outcome.change.share)},
                     {"mean", rounded(outcome.change.mean)},
                     {"largest", rounded(outcome.change.largest)},
                     {"scale", outcome.photo ? "0 to 255" : "bytes"}};
  if (!outcome.whyUnchanged.empty()) json["why_unchanged"] = outcome.whyUnchanged;
  if (!outcome.note.empty()) json["note"] = outcome.note;
  const double measure = outcome.photo ? outcome.photo->profile.seconds : outcome.hdr->statisticsSeconds;
  json["seconds"] = {{"read", rounded(outcome.seconds.read)},
                     {"decode", rounded(outcome.seconds.decode)},
                     {"measure", rounded(measure)},
                     {"denoise", rounded(outcome.denoiseSeconds())},
                     {"encode", rounded(outcome.seconds.encode)},
                     {"write", rounded(outcome.seconds.write)},
                     {"total", rounded(outcome.seconds.total)}};
  json["megapixels_per_second"] = rounded(outcome.megapixelsPerSecond(), 1e3);
  for (const auto& [name, version] : versions()) json["versions"][name] = version;
  return json;
}

std::string oneLine(const Json& value) {
  return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace tool
