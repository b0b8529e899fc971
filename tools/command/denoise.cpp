#include "command/denoise.h"

#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <set>
#include <vips/vips8>

#include "base/interruption.h"
#include "command/denoise_file.h"
#include "command/measure_file.h"
#include "find/plan.h"
#include "pictures/file_io.h"
#include "run/noise_json.h"
#include "run/recipe.h"
#include "tell/describe.h"
#include "tell/lines.h"
#include "tell/print.h"
#include "tell/printable.h"
#include "tell/summary.h"

namespace tool::command {
namespace {

using run::FileResult;

// Of one file, without the line of its failure.
std::string wordsFor(const FileResult& file, const Denoise& command) {
  if (command.json) return tell::oneLine(tell::describe(file, command.settings)) + "\n";
  if (command.words == Words::kQuiet || file.failure() != nullptr) return "";
  const bool isVerbose = command.words == Words::kVerbose;
  if (const run::Outcome* outcome = file.outcome()) {
    return tell::printable(tell::lineOf(file, command.settings)) + "\n" +
           (isVerbose ? tell::detailsOf(*outcome, command.settings) : "");
  }
  const bool isSkipped = std::holds_alternative<run::Skipped>(file.end);
  if (isSkipped && !isVerbose && !command.dryRun) return "";
  return tell::printable(fmt::format("{} -> {}{}", file.input, file.output, isSkipped ? ": exists already" : "")) +
         "\n";
}

tell::Said saidOf(const FileResult& file, const Denoise& command) {
  tell::Said said;
  const Failure* failure = file.failure();
  // Of an interruption the user reads how far all came.
  if (failure != nullptr && failure->kind != Kind::kInterrupted)
    said.errors = fmt::format("veskaro-nr: {}\n", tell::printable(failure->what()));
  said.words = wordsFor(file, command);
  // A picture on standard output leaves no room for words there.
  said.wordsTo = pictures::isStandardStream(file.output) ? stderr : stdout;
  return said;
}

double megapixelsOf(const FileResult& file) {
  return file.outcome() != nullptr ? file.outcome()->decoded.layout.megapixels() : 0;
}

class Batch {
 public:
  Batch(const Denoise& command, const find::Plan& plan)
      : command_(command),
        plan_(plan),
        pool_(command.limits, plan.size()),
        progress_(plan.size(), plan.bytes(), static_cast<std::size_t>(pool_.jobs()), command.words != Words::kQuiet) {}

  // Denoises all; returns the exit status.
  int run() {
    command_.settings.threads = pool_.threads();
    vips_concurrency_set(std::max(1, pool_.threads() / pool_.jobs()));
    {
      const StopsInOrder stopping;
      pool_.forEachItem(
          [this](int worker, std::size_t index) { return workOn(static_cast<std::size_t>(worker), index); });
    }
    sayWhatItCameTo();
    if (isInterrupted()) throw Interrupted{};
    return summary_.failed() > 0 ? 1 : 0;
  }

 private:
  // False when there is no point in going on.
  bool workOn(std::size_t worker, std::size_t index) {
    if (isInterrupted()) return false;
    progress_.begin(worker, plan_.input(index), plan_.bytes(index));
    readAhead(index + static_cast<std::size_t>(pool_.jobs()));
    const FileResult file =
        denoiseFile(plan_, index, command_, pool_, [&](double share) { progress_.advance(worker, share); });
    summary_.add(file);
    lines_.say(index, saidOf(file, command_));
    progress_.done(worker, megapixelsOf(file));
    const bool isFull = file.failure() != nullptr && file.failure()->kind == Kind::kNoSpace;
    isFull_ = isFull_ || isFull;
    return !isFull && !isInterrupted();
  }

  // Those without a size may be pipes.
  void readAhead(std::size_t index) const {
    if (index < plan_.size() && plan_.bytes(index) > 0) pictures::willRead(plan_.input(index));
  }

  void sayWhatItCameTo() {
    const std::size_t left = plan_.size() - summary_.ended();
    if (isFull_ && left > 0) {
      tell::printNow(stderr, fmt::format("veskaro-nr: the disk is full: stopped with {} of {} pictures not tried\n",
                                         left, plan_.size()));
    }
    const bool toStream = command_.naming.output && pictures::isStandardStream(*command_.naming.output);
    if (command_.inputs.isOneFile() || toStream) return;
    if (command_.json)
      tell::printNow(stdout, tell::oneLine(summary_.json(plan_.size(), pool_)) + "\n");
    else if (command_.words != Words::kQuiet)
      tell::printNow(stdout, summary_.line(plan_.size()) + "\n");
  }

  Denoise command_;
  const find::Plan& plan_;
  run::Pool pool_;
  tell::Progress progress_;
  tell::Lines lines_{command_.ordered, progress_};
  tell::Summary summary_;
  std::atomic<bool> isFull_{false};
};

// The noise in a picture, or in what profile --json printed.
vnr_noise noiseIn(const std::string& name, const run::Limits& limits) {
  const pictures::Bytes file = pictures::readWhole(name);
  if (!pictures::sniffFormat(file)) return run::noiseOfProfile(std::string(file.begin(), file.end()));
  run::Pool pool(limits, 1);
  std::optional<Measured> measured;
  pool.forEachItem([&](int, std::size_t) {
    run::Watch watch;
    watch.pool = &pool;
    measured = measureFile(name, file, watch);
    return true;
  });
  return measured->noise.noise;
}

vnr_settings settingsIn(const std::string& name) {
  const pictures::Bytes file = pictures::readWhole(name);
  return run::settingsOfRecipe(std::string(file.begin(), file.end()));
}

template <typename Read>
auto named(const std::string& name, Read read) -> decltype(read()) try {
  return read();
} catch (const Failure& failure) {
  const std::string what = failure.what();
  throw Failure(failure.kind, what.find(name) != std::string::npos ? what : name + ": " + what);
}

// What the settings follow from beside the pictures.
void readSettings(Denoise& command) {
  run::Settings& settings = command.settings;
  if (const auto& name = command.noiseFrom) {
    settings.noise = std::make_shared<vnr_noise>(named(*name, [&] { return noiseIn(*name, command.limits); }));
  }
  if (const auto& name = command.recipe) {
    settings.recipe = std::make_shared<vnr_settings>(named(*name, [&] { return settingsIn(*name); }));
    settings.tile = settings.recipe->tile;
  }
  settings.tile = command.tile.value_or(settings.tile);
}

// What is written beside results must replace nothing that the run reads or writes.
void requireApart(const find::Plan& plan, const Denoise& command) {
  std::set<std::string> names;
  for (const std::string& beside : command.beside()) {
    plan.requireApart(beside);
    if (!names.insert(beside).second) throw Failure(Kind::kDuplicate, beside + " is to be written twice");
  }
}

}  // namespace

int execute(const Denoise& asked) {
  Denoise command = asked;
  readSettings(command);
  const find::Plan plan(command.inputs, command.naming, command.skipExisting && !command.dryRun);
  requireApart(plan, command);
  return Batch(command, plan).run();
}

}  // namespace tool::command
