#include "command/denoise.h"

#include <fmt/format.h>

#include <cstdio>
#include <numeric>
#include <vips/vips8>

#include "base/interruption.h"
#include "base/timer.h"
#include "command/denoise_file.h"
#include "find/jobs.h"
#include "pictures/file_io.h"
#include "tell/describe.h"
#include "tell/print.h"
#include "tell/printable.h"
#include "tell/progress.h"

namespace tool::command {
namespace {

void say(const run::FileResult& file, const Denoise& command) {
  if (file.failure() != nullptr) fmt::print(stderr, "veskaro-nr: {}\n", tell::printable(file.failure()->what()));
  // A picture on standard output leaves no room for words there.
  std::FILE* to = pictures::isStandardStream(file.output) ? stderr : stdout;
  if (command.json) {
    fmt::print(to, "{}\n", tell::oneLine(tell::describe(file, command.settings)));
  } else if (file.outcome() != nullptr && command.words != Words::kQuiet) {
    fmt::print(to, "{}\n", tell::printable(tell::lineOf(file, command.settings)));
    if (command.words == Words::kVerbose) fmt::print(to, "{}", tell::detailsOf(*file.outcome(), command.settings));
  }
  std::fflush(to);
}

std::uintmax_t bytesOf(const std::vector<find::Job>& jobs) {
  return std::accumulate(jobs.begin(), jobs.end(), std::uintmax_t{0},
                         [](std::uintmax_t sum, const find::Job& job) { return sum + job.found.size; });
}

struct Totals {
  std::size_t done = 0, failed = 0;
  double megapixels = 0;
};

Totals denoiseAll(const std::vector<find::Job>& jobs, const Denoise& command) {
  tell::Progress progress(jobs.size(), bytesOf(jobs), command.words != Words::kQuiet);
  Taken taken;
  Totals totals;
  for (const find::Job& job : jobs) {
    progress.begin(job.found.name, job.found.size);
    const run::FileResult file = denoiseFile(job, command, taken, [&](double share) { progress.advance(share); });
    progress.clear();
    say(file, command);
    const double megapixels = file.outcome() != nullptr ? file.outcome()->decoded.layout.megapixels() : 0;
    progress.done(megapixels);
    totals.megapixels += megapixels;
    ++(file.outcome() != nullptr ? totals.done : totals.failed);
  }
  return totals;
}

bool wantsTotals(const std::vector<find::Job>& jobs, const Denoise& command) {
  const bool toStream = command.naming.output && pictures::isStandardStream(*command.naming.output);
  return jobs.size() > 1 && command.words != Words::kQuiet && !command.json && !toStream;
}

}  // namespace

int execute(const Denoise& command) {
  vips_concurrency_set(command.settings.threads);
  watchForSignals();
  const std::vector<find::Job> jobs = find::planJobs(command.inputs, command.naming);
  const Timer timer;
  const Totals totals = denoiseAll(jobs, command);
  if (wantsTotals(jobs, command)) {
    fmt::print("{} done, {} failed, {:.1f} MP in {:.1f} s\n", totals.done, totals.failed, totals.megapixels,
               timer.seconds());
  }
  return totals.failed > 0 ? 1 : 0;
}

}  // namespace tool::command
