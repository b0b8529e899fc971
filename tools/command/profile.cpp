#include "command/profile.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <optional>

#include "base/failure.h"
#include "find/jobs.h"
#include "pictures/file_io.h"
#include "pictures/hdr.h"
#include "pictures/light.h"
#include "pictures/photo.h"
#include "pictures/recognise.h"
#include "run/denoise_linear.h"
#include "run/hdr_statistics.h"
#include "run/library.h"
#include "run/noise_profile.h"
#include "tell/describe.h"
#include "tell/print.h"
#include "tell/printable.h"

namespace tool::command {
namespace {

using pictures::Bytes;
using pictures::Format;
using run::HdrStatistics;
using run::NoiseProfile;
using tell::Json;

constexpr int kNominalStrength = 100;

struct Measured {
  std::string name;
  pictures::Layout layout;
  NoiseProfile noise;
  std::optional<HdrStatistics> statistics;

  // Pictures without a level come first.
  double level() const { return noise.measured() ? noise.noise.level : -1; }
};

Measured measurePhoto(const std::string& name, const Bytes& file, Format format) {
  const pictures::Photo photo = pictures::decodePhoto(file, format);
  return {name, photo.layout(), run::measureNoise(run::pictureOf(photo, photo.samples()), nullptr), std::nullopt};
}

// None for a picture that denoise1 refuses.
std::optional<HdrStatistics> statisticsOf(pictures::HdrPicture& picture) try {
  return run::hdrStatistics(picture, kNominalStrength);
} catch (const Failure&) {
  return std::nullopt;
}

Measured measureHdr(const std::string& name, const Bytes& file) {
  pictures::HdrPicture picture = pictures::decodeHdr(file);
  return {name, picture.layout(), run::measureLight(pictures::lightOf(picture, 3)), statisticsOf(picture)};
}

Measured measureFloats(const std::string& name, const Bytes& file, Format format) {
  const pictures::LightPicture picture = pictures::decodeLight(file, format);
  return {name, picture.layout(), run::measureLight(picture.light), std::nullopt};
}

Measured measure(const std::string& name, const Bytes& file, Format format) {
  if (format == Format::kRadiance) return measureHdr(name, file);
  const bool isFloat = format == Format::kOpenExr || pictures::holdsFloats(file, format);
  return isFloat ? measureFloats(name, file, format) : measurePhoto(name, file, format);
}

Measured measure(const find::Found& found) {
  if (found.problem) throw Failure(*found.problem);
  const std::string& name = found.name;
  const Bytes file = pictures::readWhole(name);
  try {
    return measure(name, file, pictures::recognise(file, name));
  } catch (const Failure& failure) {
    throw Failure(name + ": " + failure.what());
  }
}

constexpr char kHeads[] = "{:<18} {:>5} {:>6}  {:<9} {:>7} {:>7} {:>7}  {:<13} {:<12} {}";

std::string rowOf(const Measured& m) {
  const NoiseProfile& noise = m.noise;
  const bool isKnown = noise.noise.grain != VNR_GRAIN_UNKNOWN;
  const auto shown = [](bool is, float value, int digits) { return is ? fmt::format("{:.{}f}", value, digits) : "-"; };
  std::string row =
      fmt::format(kHeads, isKnown ? tell::sigmaOf(noise) : "-", shown(isKnown, noise.noise.correlation, 2),
                  shown(isKnown, noise.noise.blotches, 2), noise.grain(), shown(noise.measured(), noise.noise.level, 1),
                  shown(noise.measured(), noise.noise.statistic, 2), noise.blocks.size(),
                  fmt::format("{} x {}", m.layout.width, m.layout.height), tell::samplesOf(m.layout), m.name);
  if (!noise.measured()) row += fmt::format("  ({})", noise.whyNoLevel());
  return row;
}

std::string jsonOf(const Measured& m) {
  Json json = {{"input", m.name}, {"width", m.layout.width}, {"height", m.layout.height}, {"bits", m.layout.bits}};
  tell::addNoise(m.noise, json);
  if (!m.noise.measured()) json["reason"] = m.noise.whyNoLevel();
  if (m.statistics) json["statistics"] = tell::describe(*m.statistics);
  return tell::oneLine(json);
}

template <typename Value>
void sortBy(std::vector<Measured>& all, Value value) {
  std::stable_sort(all.begin(), all.end(), [&](const Measured& a, const Measured& b) { return value(a) < value(b); });
}

void sort(std::vector<Measured>& all, SortKey key) {
  if (key == SortKey::kNoise) sortBy(all, [](const Measured& m) { return m.level(); });
  if (key == SortKey::kSize) sortBy(all, [](const Measured& m) { return m.layout.megapixels(); });
  if (key == SortKey::kName) sortBy(all, [](const Measured& m) { return m.name; });
}

void print(const std::vector<Measured>& all, const Profile& command) {
  if (!command.json && !all.empty()) {
    fmt::print("{}\n", fmt::format(kHeads, "sigma R, G, B", "corr", "blotch", "grain", "level", "pair", "blocks",
                                   "size", "samples", "file"));
  }
  for (const Measured& m : all) fmt::print("{}\n", command.json ? jsonOf(m) : tell::printable(rowOf(m)));
}

}  // namespace

int execute(const Profile& command) {
  bool failed = false;
  std::vector<Measured> all;
  for (const find::Found& found : find::findPictures(command.inputs, {})) {
    try {
      all.push_back(measure(found));
    } catch (const std::exception& failure) {
      failed = true;
      fmt::print(stderr, "veskaro-nr: {}\n", tell::printable(failure.what()));
    }
  }
  sort(all, command.sort);
  if (command.reverse) std::reverse(all.begin(), all.end());
  print(all, command);
  return failed ? 1 : 0;
}

}  // namespace tool::command
