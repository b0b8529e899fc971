#include "command/profile.h"

#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <tuple>
#include <vector>
#include <vips/vips8>

#include "command/measure_file.h"
#include "find/pictures.h"
#include "pictures/footprint.h"
#include "run/noise_json.h"
#include "run/pool.h"
#include "tell/describe.h"
#include "tell/lines.h"
#include "tell/print.h"
#include "tell/printable.h"

namespace tool::command {
namespace {

using run::NoiseProfile;
using tell::Json;

constexpr char kHeads[] = "{:<18} {:>5} {:>6}  {:<9} {:>7} {:>7} {:>7}  {:<13} {:<12} {}";

std::string headLine() {
  return fmt::format(kHeads, "sigma R, G, B", "corr", "blotch", "grain", "level", "pair", "blocks", "size", "samples",
                     "file") +
         "\n";
}

std::string rowOf(const Measured& m) {
  const NoiseProfile& noise = m.noise;
  const bool isKnown = noise.noise.grain != VNR_GRAIN_UNKNOWN;
  const auto shown = [](bool is, float value, int digits) { return is ? fmt::format("{:.{}f}", value, digits) : "-"; };
  std::string row =
      fmt::format(kHeads, isKnown ? tell::sigmaOf(noise) : "-", shown(isKnown, noise.noise.correlation, 2),
                  shown(isKnown, noise.noise.blotches, 2), noise.grain(), shown(noise.measured(), noise.noise.level, 1),
                  shown(noise.measured(), noise.noise.statistic, 2), noise.noise.blocks_usable,
                  fmt::format("{} x {}", m.layout.width, m.layout.height), tell::samplesOf(m.layout), m.name);
  if (!noise.measured()) row += fmt::format("  ({})", noise.whyNoLevel());
  return tell::printable(row) + "\n";
}

std::string jsonOf(const Measured& m) {
  Json json = {{"input", tell::nameAsText(m.name)},
               {"width", m.layout.width},
               {"height", m.layout.height},
               {"bits", m.layout.bits}};
  tell::addNoise(m.noise, json);
  if (!m.noise.measured()) json["reason"] = m.noise.whyNoLevel();
  if (m.statistics) json["statistics"] = tell::describe(*m.statistics);
  json["noise"] = run::jsonOfNoise(m.noise.noise);
  return tell::oneLine(json) + "\n";
}

tell::Said failureOf(const std::string& name, const Failure& failure, bool json) {
  const std::string words = fmt::format("veskaro-nr: {}\n", tell::printable(failure.what()));
  if (!json) return {"", words};
  const Json object = {
      {"input", tell::nameAsText(name)}, {"error", tell::nameAsText(failure.what())}, {"kind", nameOf(failure.kind)}};
  return {tell::oneLine(object) + "\n", words};
}

// What a row of the sorted table goes by, and the row.
struct Row {
  double number;
  std::string name;
  std::string text;

  bool operator<(const Row& other) const { return std::tie(number, name) < std::tie(other.number, other.name); }
};

Row rowFor(const Measured& m, SortKey key, std::string text) {
  const double number = key == SortKey::kNoise ? m.level() : key == SortKey::kSize ? m.layout.megapixels() : 0;
  return {number, key == SortKey::kName ? m.name : "", std::move(text)};
}

// Prints rows in the order of the inputs as files are measured, or sorted in the end.
class Table {
 public:
  Table(const Profile& command, const find::Pictures& pictures)
      : command_(command), pictures_(pictures), pool_(command.limits, pictures.size()) {
    if (isSorted()) rows_.resize(pictures.size());
  }

  // False when some failed.
  bool print() {
    vips_concurrency_set(std::max(1, pool_.threads() / pool_.jobs()));
    if (!command_.json) tell::printNow(stdout, headLine());
    pool_.forEachItem([this](int, std::size_t index) {
      lines_.say(index, said(index));
      return true;
    });
    printSorted();
    return !failed_;
  }

 private:
  bool isSorted() const { return command_.sort != SortKey::kNone || command_.reverse; }

  tell::Said said(std::size_t index) try {
    const Measured m = measured(index);
    std::string text = command_.json ? jsonOf(m) : rowOf(m);
    if (!isSorted()) return {std::move(text), ""};
    rows_[index] = rowFor(m, command_.sort, std::move(text));
    return {};
  } catch (const Failure& failure) {
    failed_ = true;
    return failureOf(pictures_[index].name, failure, command_.json);
  }

  Measured measured(std::size_t index) {
    if (const Failure* problem = pictures_.problem(index)) throw *problem;
    const find::Found& found = pictures_[index];
    const run::Pool::Part memory(pool_, pictures::footprintOf(found.name, found.size, false));
    run::Watch watch;
    watch.pool = &pool_;
    return measureFile(found.name, watch);
  }

  void printSorted() {
    if (command_.sort != SortKey::kNone) std::stable_sort(rows_.begin(), rows_.end());
    if (command_.reverse) std::reverse(rows_.begin(), rows_.end());
    for (const Row& row : rows_) tell::printNow(stdout, row.text);
  }

  const Profile& command_;
  const find::Pictures& pictures_;
  run::Pool pool_;
  tell::Progress progress_{pictures_.size(), 0, 1, false};
  tell::Lines lines_{true, progress_};
  std::vector<Row> rows_;
  std::atomic<bool> failed_{false};
};

}  // namespace

int execute(const Profile& command) {
  const find::Pictures pictures = find::findPictures(command.inputs, {});
  return Table(command, pictures).print() ? 0 : 1;
}

}  // namespace tool::command
