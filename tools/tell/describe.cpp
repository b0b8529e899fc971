#include "tell/describe.h"

#include <fmt/format.h>

#include <algorithm>
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

void addWork(const run::FilterWork& work, const run::Settings& settings, Json& json) {
  addNoise(work.noise, json);
  const bool usesDefaults = work.rule == run::Rule::kClassic && !work.noise.measured();
  json["defaults_used"] = usesDefaults;
  if (usesDefaults) json["defaults_reason"] = work.noise.whyNoLevel();
  json["strength"] = settings.strength;
  json["preset"] = settings.recipe ? "recipe" : settings.preset;
  json["threads"] = settings.threads;
  json["tile"] = work.settings.tile;
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
}

bool isHdr(const run::Outcome& outcome) {
  return outcome.decoded.layout.colour == pictures::Colour::kRgbe;
}

Json changeOf(const run::Outcome& outcome) {
  const run::Done& done = outcome.done;
  return {{"share", rounded(done.change.share)},
          {"mean", rounded(done.change.mean)},
          {"largest", rounded(done.change.largest)},
          {"scale", isHdr(outcome) ? "bytes" : "0 to 255"}};
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
  if (isHdr(outcome)) json["mode"] = "light";  // unless denoise1 had it
  std::visit([&](const auto& work) { addWork(work, settings, json); }, outcome.done.work);
  json["changed"] = changeOf(outcome);
  if (outcome.done.whyUnchanged) json["why_unchanged"] = *outcome.done.whyUnchanged;
  if (outcome.decoded.note) json["note"] = *outcome.decoded.note;
  json["seconds"] = secondsOf(outcome);
  json["megapixels_per_second"] = rounded(outcome.megapixelsPerSecond(), 1e3);
  for (const auto& [name, version] : versions()) json["versions"][name] = version;
}

bool isContinued(const std::string& text, std::size_t at, std::size_t length) {
  if (at + length > text.size()) return false;
  return std::all_of(&text[at + 1], &text[at] + length, [](char c) { return (c & 0xc0) == 0x80; });
}

// Of the places that stand for bytes: U+10FF80 and up.
bool isStandIn(const std::string& text, std::size_t at) {
  return text.compare(at, 2, "\xf4\x8f") == 0 && at + 3 < text.size() && (text[at + 2] & 0xfe) == 0xbe;
}

// Bytes of the UTF-8 character there; 0 when there is none, or one that must not be.
std::size_t lengthOfCharacter(const std::string& text, std::size_t at) {
  const auto first = static_cast<unsigned char>(text[at]);
  if (first < 0x80) return 1;
  const std::size_t length = first >= 0xf0 ? 4 : first >= 0xe0 ? 3 : 2;
  if (first < 0xc2 || first > 0xf4 || !isContinued(text, at, length) || isStandIn(text, at)) return 0;
  const auto second = static_cast<unsigned char>(text[at + 1]);
  const bool isTooLong = (first == 0xe0 && second < 0xa0) || (first == 0xf0 && second < 0x90);
  const bool isNone = (first == 0xed && second > 0x9f) || (first == 0xf4 && second > 0x8f);
  return isTooLong || isNone ? 0 : length;
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
  json["blocks_usable"] = noise.blocks_usable;
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
  Json json = {{"input", nameAsText(file.input)}, {"output", nameAsText(file.output)}};
  if (const Failure* failure = file.failure()) {
    json["error"] = nameAsText(failure->what());
    json["kind"] = nameOf(failure->kind);
  } else if (file.outcome() != nullptr) {
    addOutcome(*file.outcome(), settings, json);
  } else {
    json[std::holds_alternative<run::Skipped>(file.end) ? "skipped" : "dry_run"] = true;
  }
  return json;
}

// Each byte that is no part of a character becomes one of the last 128 places of Unicode, which no name has but by
// such bytes: those of a name that uses these places are taken apart in the same way.
std::string nameAsText(const std::string& bytes) {
  std::string text;
  for (std::size_t at = 0; at < bytes.size();) {
    const std::size_t length = lengthOfCharacter(bytes, at);
    if (length > 0)
      text.append(bytes, at, length);
    else
      text += {'\xf4', '\x8f', static_cast<char>(0xbe | (bytes[at] >> 6 & 1)),
               static_cast<char>(0x80 | (bytes[at] & 0x3f))};
    at += std::max<std::size_t>(1, length);
  }
  return text;
}

std::string oneLine(const Json& value) {
  std::string text = value.dump(-1, ' ', false, Json::error_handler_t::replace);
  for (std::size_t at = 0; (at = text.find("\xf4\x8f", at)) != std::string::npos; ++at) {
    if (isStandIn(text, at))
      text.replace(at, 4, fmt::format("\\udc{:02x}", 0x80 | (text[at + 2] & 1) << 6 | (text[at + 3] & 0x3f)));
  }
  return text;
}

}  // namespace tool::tell
