// veskaro-nr: the command-line companion of VeskaroNRLib.
#include <fmt/format.h>

#include <cstdio>
#include <type_traits>
#include <vips/vips8>

#include "base/failure.h"
#include "base/interruption.h"
#include "base/own_words.h"
#include "command/command_line.h"
#include "command/denoise.h"
#include "command/profile.h"
#include "command/selftest.h"
#include "command/tune.h"
#include "pictures/libvips.h"
#include "pictures/metadata/metadata.h"

namespace {

constexpr int kAllDone = 0, kSomeFailed = 1, kUsage = 2;

void startLibvips(const char* name) {
  if (VIPS_INIT(name) != 0) throw tool::Failure("libvips does not start");
  tool::keepOwnWords();
  tool::pictures::listenToDecoders();
  tool::pictures::blockOtherLoaders();
  tool::pictures::startTags();
  // Every picture is decoded once; keeping it would only take memory.
  vips_cache_set_max(0);
}

struct Run {
  const char* name;

  template <typename OnPictures>
  int operator()(const OnPictures& command) const {
    // Signals end profile at once: it writes nothing.
    if (!std::is_same_v<OnPictures, tool::command::Profile>) tool::watchForSignals();
    startLibvips(name);
    return execute(command);
  }
  int operator()(const tool::command::SelfTest&) const { return tool::command::selfTest(); }
  int operator()(const tool::command::Answered&) const { return kAllDone; }
};

}  // namespace

int main(int argc, char** argv) try {
  return std::visit(Run{argv[0]}, tool::command::parseCommandLine(argc, argv));
} catch (const tool::command::UsageError& error) {
  fmt::print(tool::standardError(), "veskaro-nr: {} (see veskaro-nr --help)\n", error.text);
  return kUsage;
} catch (const tool::Interrupted&) {
  tool::endInterrupted();
} catch (const std::exception& unexpected) {
  fmt::print(tool::standardError(), "veskaro-nr: {}\n", unexpected.what());
  return kSomeFailed;
}
