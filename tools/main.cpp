// veskaro-nr: the command-line companion of VeskaroNRLib.
#include <fmt/format.h>

#include <cstdio>
#include <cstring>
#include <vips/vips8>

#include "batch.h"
#include "decode.h"
#include "file_io.h"
#include "options.h"
#include "profile_command.h"
#include "selftest.h"

namespace {

constexpr int kAllDone = 0, kSomeFailed = 1, kUsage = 2;

int run(int argc, char** argv) {
  if (argc > 1 && std::strcmp(argv[1], "profile") == 0) return tool::runProfile(argc - 1, argv + 1);
  const std::optional<tool::Options> options = tool::parseOptions(argc, argv);
  if (!options) return kAllDone;
  vips_concurrency_set(options->settings.threads);
  tool::removeUnfinishedFileOnSignals();
  return tool::runBatch(*options);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 2 && std::strcmp(argv[1], "selftest") == 0) return tool::selfTest();
  if (VIPS_INIT(argv[0]) != 0) {
    fmt::print(stderr, "veskaro-nr: libvips does not start\n");
    return kSomeFailed;
  }
  tool::listenToDecoders();
  // Every picture is decoded once; keeping it would only take memory.
  vips_cache_set_max(0);
  try {
    return run(argc, argv);
  } catch (const tool::UsageError& error) {
    fmt::print(stderr, "veskaro-nr: {} (see veskaro-nr --help)\n", error.text);
    return kUsage;
  } catch (const std::exception& unexpected) {
    fmt::print(stderr, "veskaro-nr: {}\n", unexpected.what());
    return kSomeFailed;
  }
}
