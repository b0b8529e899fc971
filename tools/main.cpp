// veskaro-nr: the command-line companion of VeskaroNRLib.
#include <fmt/format.h>

#include <cstdio>
#include <vips/vips8>

#include "file_io.h"
#include "options.h"
#include "print.h"

namespace {

constexpr int kAllDone = 0, kSomeFailed = 1, kUsage = 2;

// libvips and GLib would otherwise write what they think of a file to standard error.
void silence(const char*, GLogLevelFlags, const char*, void*) {}

int run(const tool::Options& options) {
  bool failed = false;
  for (const tool::Job& job : tool::planJobs(options)) {
    const tool::Outcome outcome = tool::processFile(job, options);
    if (!outcome.error.empty()) {
      failed = true;
      fmt::print(stderr, "veskaro-nr: {}\n", outcome.error);
      continue;
    }
    std::FILE* to = outcome.output == "-" ? stderr : stdout;
    if (!options.quiet) fmt::print(to, "{}\n", tool::lineOf(outcome, options));
    if (options.verbose) fmt::print(to, "{}", tool::detailsOf(outcome, options));
  }
  return failed ? kSomeFailed : kAllDone;
}

}  // namespace

int main(int argc, char** argv) {
  if (VIPS_INIT(argv[0]) != 0) {
    fmt::print(stderr, "veskaro-nr: libvips does not start\n");
    return kSomeFailed;
  }
  g_log_set_default_handler(silence, nullptr);
  try {
    const std::optional<tool::Options> options = tool::parseOptions(argc, argv);
    if (!options) return kAllDone;
    vips_concurrency_set(options->settings.threads);
    vips_cache_set_max(0);
    tool::removeUnfinishedFileOnSignals();
    return run(*options);
  } catch (const tool::UsageError& error) {
    fmt::print(stderr, "veskaro-nr: {} (see veskaro-nr --help)\n", error.text);
    return kUsage;
  }
}
