#include "batch.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <numeric>

#include "describe.h"
#include "jobs.h"
#include "print.h"
#include "process.h"
#include "progress.h"

namespace tool {
namespace {

void say(const Outcome& outcome, const Options& options) {
  if (!outcome.error.empty()) fmt::print(stderr, "veskaro-nr: {}\n", printable(outcome.error));
  // A picture on standard output leaves no room for words there.
  std::FILE* to = outcome.output == "-" ? stderr : stdout;
  if (options.json) {
    fmt::print(to, "{}\n", oneLine(describe(outcome, options)));
  } else if (outcome.error.empty() && !options.quiet) {
    fmt::print(to, "{}\n", printable(lineOf(outcome, options)));
    if (options.verbose) fmt::print(to, "{}", detailsOf(outcome, options));
  }
  std::fflush(to);
}

}  // namespace

int runBatch(const Options& options) {
  const std::vector<Job> jobs = planJobs(options);
  const std::uintmax_t bytes = std::accumulate(jobs.begin(), jobs.end(), std::uintmax_t{0},
                                               [](std::uintmax_t sum, const Job& job) { return sum + job.size; });
  Progress progress(jobs.size(), bytes, !options.quiet);
  Written written;
  std::size_t failed = 0;
  double megapixels = 0;
  const Timer timer;
  for (const Job& job : jobs) {
    progress.begin(job.input);
    const Outcome outcome = processFile(job, options, written);
    progress.clear();
    say(outcome, options);
    failed += outcome.error.empty() ? 0 : 1;
    if (outcome.error.empty()) megapixels += outcome.megapixels();
    progress.done(job.size, outcome.megapixels());
  }
  if (jobs.size() > 1 && !options.quiet && !options.json && options.output != "-") {
    fmt::print("{} done, {} failed, {:.1f} MP in {:.1f} s\n", jobs.size() - failed, failed, megapixels,
               timer.seconds());
  }
  return failed > 0 ? 1 : 0;
}

}  // namespace tool
