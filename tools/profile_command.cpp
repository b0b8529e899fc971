#include "profile_command.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>

#include "describe.h"
#include "failure.h"
#include "file_io.h"
#include "noise_profile.h"
#include "options.h"
#include "print.h"

namespace tool {
namespace {

struct Measured {
  std::string name;
  int width = 0, height = 0, bits = 0;
  bool grey = false;
  std::optional<NoiseProfile> profile;             // of a photograph
  std::optional<std::array<float, 6>> statistics;  // of a high-dynamic-range picture
  double noise() const { return profile && profile->measured() ? profile->noiseLevel : -1; }
};

void measurePhoto(const Bytes& file, Format format, Measured& measured) {
  const Photo photo = decodePhoto(file, format);
  measured.width = photo.width;
  measured.height = photo.height;
  measured.bits = photo.bits;
  measured.grey = photo.grey;
  measured.profile = measureNoise(photo, prepareParams(Settings()));
}

void measureHdr(const Bytes& file, Format format, Measured& measured) {
  HdrPicture picture = decodeHdr(file, format);
  measured.width = picture.width;
  measured.height = picture.height;
  measured.bits = 8;
  measured.statistics = hdrStatistics(picture, 100);
}

Measured measure(const std::string& input) {
  Measured measured;
  measured.name = input;
  const Bytes file = readWhole(input);
  const std::optional<Format> format = sniffFormat(file);
  if (!format) throw Failure(input + ": not a PNG, JPEG, TIFF, WebP, Radiance or OpenEXR picture");
  try {
    isHdr(*format) ? measureHdr(file, *format, measured) : measurePhoto(file, *format, measured);
  } catch (const Failure& failure) {
    throw Failure(input + ": " + failure.what());
  }
  return measured;
}

std::string rowOf(const Measured& m) {
  const std::string size = fmt::format("{} x {}", m.width, m.height);
  if (m.statistics) {
    const auto& s = *m.statistics;
    return fmt::format("{:>7} {:>9} {:>7}  {:<13} {:<12} {}  (log luminance: median {:.2f}, 99 % {:.2f})", "-", "-",
                       "-", size, "RGBE", m.name, s[3], s[4]);
  }
  const std::string layout = fmt::format("{}-bit {}", m.bits, m.grey ? "grey" : "RGB");
  if (!m.profile->measured())
    return fmt::format("{:>7} {:>9} {:>7}  {:<13} {:<12} {}  ({})", "-", "-", m.profile->blocks.size(), size, layout,
                       m.name, m.profile->whyDefaults());
  return fmt::format("{:>7.1f} {:>9.2f} {:>7}  {:<13} {:<12} {}", m.profile->noiseLevel, m.profile->statistic,
                     m.profile->blocks.size(), size, layout, m.name);
}

nlohmann::ordered_json jsonOf(const Measured& m) {
  nlohmann::ordered_json json = {{"input", m.name}, {"width", m.width}, {"height", m.height}, {"bits", m.bits}};
  if (m.statistics) {
    json["statistics"] = describeStatistics(*m.statistics);
    return json;
  }
  json["noise_measured"] = m.profile->measured();
  json["blocks_usable"] = m.profile->blocks.size();
  if (m.profile->measured()) {
    json["noise_level"] = m.profile->noiseLevel;
    json["noise_statistic"] = m.profile->statistic;
  } else {
    json["reason"] = m.profile->whyDefaults();
  }
  return json;
}

void sort(std::vector<Measured>& all, const std::string& key) {
  const auto by = [&](auto value) {
    std::stable_sort(all.begin(), all.end(), [&](const Measured& a, const Measured& b) { return value(a) < value(b); });
  };
  if (key == "noise") by([](const Measured& m) { return m.noise(); });
  if (key == "size") by([](const Measured& m) { return static_cast<double>(m.width) * m.height; });
  if (key == "name") by([](const Measured& m) { return m.name; });
}

}  // namespace

int runProfile(int argc, const char* const* argv) {
  Options options;
  std::string key;
  bool json = false, reverse = false;
  CLI::App app{
      "Prints the measured noise of pictures and writes nothing. The level is what denoise2 works with at "
      "strength 100; pair is the mean difference of neighbouring samples in the smoothest blocks.",
      "veskaro-nr profile"};
  app.add_option("files", options.inputs, "Pictures or folders of pictures")->required()->type_name("FILE");
  app.add_option("--sort", key, "name, noise or size; as given otherwise")
      ->check(CLI::IsMember({"name", "noise", "size"}))
      ->type_name("KEY");
  app.add_flag("--reverse", reverse, "The other way round");
  app.add_flag("--json", json, "A JSON object a file, one a line");
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& answered) {
    return app.exit(answered);
  } catch (const CLI::ParseError& error) {
    throw UsageError{error.what()};
  }
  // With a folder for results nothing in the folders passes for an earlier result.
  options.outputDir = "/nowhere";
  bool failed = false;
  std::vector<Measured> all;
  for (const Job& job : planJobs(options)) {
    try {
      if (!job.problem.empty()) throw Failure(job.problem);
      all.push_back(measure(job.input));
    } catch (const std::exception& failure) {
      failed = true;
      fmt::print(stderr, "veskaro-nr: {}\n", printable(failure.what()));
    }
  }
  sort(all, key);
  if (reverse) std::reverse(all.begin(), all.end());
  if (!json && !all.empty())
    fmt::print("{:>7} {:>9} {:>7}  {:<13} {:<12} {}\n", "level", "pair", "blocks", "size", "samples", "file");
  for (const Measured& measured : all)
    fmt::print("{}\n", json ? oneLine(jsonOf(measured)) : printable(rowOf(measured)));
  return failed ? 1 : 0;
}

}  // namespace tool
