#include "command/tune.h"

#include <fmt/format.h>

#include <filesystem>

#include "base/failure.h"
#include "base/interruption.h"
#include "base/own_words.h"
#include "find/naming.h"
#include "pictures/file_io.h"
#include "tell/printable.h"
#include "tune/browser.h"
#include "tune/server.h"

namespace tool::command {
namespace {

pictures::Format formatOf(const pictures::Bytes& file) {
  const std::optional<pictures::Format> format = pictures::sniffFormat(file);
  if (!format) throw Failure("not a PNG, JPEG, TIFF or WebP picture");
  if (pictures::isHdr(*format))
    throw Failure("tune takes photographs; high dynamic range goes through veskaro-nr alone");
  return *format;
}

tune::Saving savingOf(const Tune& command, pictures::Format format) {
  find::Naming naming;
  naming.force = command.force;
  tune::Saving saving{std::filesystem::path(command.input).filename().string(),
                      command.input,
                      command.output,
                      command.recipe,
                      format,
                      format,
                      command.force};
  if (command.output) {
    saving.outputFormat = find::outputFormat(*command.output, naming, format);
    find::requireWritable(*command.output, naming);
  }
  if (command.recipe) find::requireWritable(*command.recipe, naming);
  return saving;
}

void show(const Tune& command, const tune::Signpost& signpost) {
  fmt::print("file://{}\nCtrl-C ends.\n", tell::printable(signpost.path()));
  std::fflush(stdout);
  const auto onFailure = [] {
    fmt::print(standardError(), "veskaro-nr: no browser was found; open this file in one\n");
  };
  if (command.opensBrowser) tune::startBrowser(signpost.path(), onFailure);
}

void serve(const Tune& command) {
  pictures::Bytes file = pictures::readWhole(command.input);
  const pictures::Format format = formatOf(file);
  const tune::Saving saving = savingOf(command, format);
  pictures::Photo photo = pictures::decodePhoto(file, format);
  if (command.output) pictures::requireFits(photo, saving.outputFormat);
  file = pictures::Bytes();
  const tune::Session session(std::move(photo), command.threads, interruptedBy());
  tune::Server server(session, saving);
  tune::Signpost signpost(server.firstAddress());
  show(command, signpost);
  server.run([&] {
    if (server.wasOpened()) signpost.remove();
    return !isInterrupted() && server.idle().count() < 60 * command.linger;
  });
}

}  // namespace

// Ctrl-C is how it usually ends, and no failure.
int execute(const Tune& command) try {
  const StopsInOrder stops;
  serve(command);
  return 0;
} catch (const Interrupted&) {
  return 0;
} catch (const std::exception& failure) {
  fmt::print(standardError(), "veskaro-nr: {}: {}\n", tell::printable(command.input), tell::printable(failure.what()));
  return 1;
}

}  // namespace tool::command
