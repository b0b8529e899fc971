#include "command/profile.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>

#include "base/failure.h"
#include "find/jobs.h"
#include "pictures/file_io.h"
#include "pictures/hdr.h"
#include "pictures/photo.h"
#include "run/hdr_statistics.h"
#include "run/noise_profile.h"
#include "run/parameters.h"
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
  std::variant<NoiseProfile, HdrStatistics> noise;

  // Pictures without a level come first.
  double level() const {
    const auto* profile = std::get_if<NoiseProfile>(&noise);
    return profile != nullptr && profile->measured() ? profile->noise.level : -1;
  }
};

Measured measurePhoto(const std::string& name, const Bytes& file, Format format) {
  const pictures::Photo photo = pictures::decodePhoto(file, format);
  return {name, photo.layout(), run::measureNoise(photo, nullptr)};
}

Measured measureHdr(const std::string& name, const Bytes& file, Format format) {
  pictures::HdrPicture picture = pictures::decodeHdr(file, format);
  return {name, picture.layout(), run::hdrStatistics(picture, kNominalStrength)};
}

Measured measure(const find::Found& found) {
  if (found.problem) throw Failure(*found.problem);
  const std::string& name = found.name;
  const Bytes file = pictures::readWhole(name);
  const std::optional<Format> format = pictures::sniffFormat(file);
  if (!format) throw Failure(name + ": not a PNG, JPEG, TIFF, WebP, Radiance or OpenEXR picture");
  try {
    return isHdr(*format) ? measureHdr(name, file, *format) : measurePhoto(name, file, *format);
  } catch (const Failure& failure) {
    throw Failure(name + ": " + failure.what());
  }
}

constexpr char kHeads[] = "{:>7} {:>9} {:>7}  {:<13} {:<12} {}";

std::string rowOf(const Measured& m, const std::string& level, const std::string& pair, const std::string& blocks) {
  return fmt::format(kHeads, level, pair, blocks, fmt::format("{} x {}", m.layout.width, m.layout.height),
                     tell::samplesOf(m.layout), m.name);
}

std::string rowOf(const Measured& m, const HdrStatistics& statistics) {
  return rowOf(m, "-", "-", "-") +
         fmt::format("  (log luminance: median {:.2f}, 99 % {:.2f})", statistics[3], statistics[4]);
}

std::string rowOf(const Measured& m, const NoiseProfile& profile) {
  const std::string blocks = fmt::format("{}", profile.blocks.size());
  if (!profile.measured()) return rowOf(m, "-", "-", blocks) + fmt::format("  ({})", profile.whyDefaults());
  return rowOf(m, fmt::format("{:.1f}", profile.noise.level), fmt::format("{:.2f}", profile.noise.statistic), blocks);
}

void add(const HdrStatistics& statistics, Json& json) {
  json["statistics"] = tell::describe(statistics);
}

void add(const NoiseProfile& profile, Json& json) {
  json["noise_measured"] = profile.measured();
  json["blocks_usable"] = profile.blocks.size();
  if (profile.measured()) {
    json["noise_level"] = profile.noise.level;
    json["noise_statistic"] = profile.noise.statistic;
  } else {
    json["reason"] = profile.whyDefaults();
  }
}

std::string lineOf(const Measured& m, const Profile& command) {
  if (!command.json) {
    return tell::printable(std::visit([&](const auto& noise) { return rowOf(m, noise); }, m.noise));
  }
  Json json = {{"input", m.name}, {"width", m.layout.width}, {"height", m.layout.height}, {"bits", m.layout.bits}};
  std::visit([&](const auto& noise) { add(noise, json); }, m.noise);
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
  if (!command.json && !all.empty())
    fmt::print("{}\n", fmt::format(kHeads, "level", "pair", "blocks", "size", "samples", "file"));
  for (const Measured& measured : all) fmt::print("{}\n", lineOf(measured, command));
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
