#include "command/denoise_file.h"

#include <fmt/format.h>

#include <new>
#include <optional>

#include "base/interruption.h"
#include "base/timer.h"
#include "pictures/file_io.h"
#include "pictures/hdr.h"
#include "pictures/light.h"
#include "pictures/photo.h"
#include "pictures/recognise.h"
#include "run/denoise_hdr.h"
#include "run/denoise_linear.h"
#include "run/denoise_photo.h"
#include "tell/comparison.h"
#include "tell/display.h"
#include "tell/report/report.h"

namespace tool::command {
namespace {

using pictures::Bytes;
using pictures::Format;

// A picture that has gone through, as a file again; and what it looks like when that is wanted.
struct Through {
  run::Decoded decoded;
  run::Done done;
  Bytes encoded;
  double encodeSeconds;
  std::optional<tell::DisplayPair> display;
};

bool wantsDisplay(const Denoise& command) {
  return command.compare || command.report;
}

std::string onPages(int pages) {
  if (pages <= 1) return "";
  return fmt::format("only the first of the file's {} pictures is denoised and written", pages);
}

std::optional<std::string> noteOn(const pictures::Photo& photo) {
  std::string note = onPages(photo.pages);
  if (!photo.leftBehind.empty()) note += fmt::format("{}{} is left behind", note.empty() ? "" : "; ", photo.leftBehind);
  return note.empty() ? std::nullopt : std::optional(note);
}

std::optional<std::string> noteOn(const pictures::LightPicture& picture, const run::Settings& settings, Format to) {
  std::string note = onPages(picture.pages);
  const bool isRgbe = !settings.displayReferred && settings.rule() == run::Rule::kClassic;
  const char* as = isRgbe ? "denoised" : to == Format::kRadiance ? "written" : nullptr;
  if (as != nullptr) note += fmt::format("{}{} as RGBE: 8 bits of mantissa", note.empty() ? "" : "; ", as);
  return note.empty() ? std::nullopt : std::optional(note);
}

run::DenoisedPhoto denoised(const pictures::Photo& photo, const run::Settings& settings, const Progress& progress) {
  const Cancellable cancellable;
  run::DenoisedPhoto denoised = run::denoisePhoto(photo, settings, {progress, cancellable.flag()});
  cancellable.check();
  return denoised;
}

// Neither the file nor the picture before stays in memory longer than it is needed.
Through photoThrough(Bytes file, Format from, Format to, const Denoise& command, const Progress& progress) {
  Timer timer;
  pictures::Photo photo = pictures::decodePhoto(file, from);
  file = Bytes();
  const run::Decoded decoded{photo.layout(), noteOn(photo), timer.lap()};
  pictures::requireFits(photo, to);
  run::DenoisedPhoto after = denoised(photo, command.settings, progress);
  std::optional<tell::DisplayPair> display;
  if (wantsDisplay(command)) display = tell::displayPair(photo, after.samples);
  photo.decoded = {};
  timer.lap();
  Bytes encoded = pictures::encodePhoto(photo, std::move(after.samples), to, command.save);
  return {decoded, std::move(after.done), std::move(encoded), timer.lap(), std::move(display)};
}

run::DenoisedHdr denoised(const pictures::HdrPicture& picture, const run::Settings& settings,
                          const Progress& progress) {
  // denoise1 cannot be cancelled: a signal ends the process there.
  if (settings.rule() == run::Rule::kClassic) return run::denoiseHdr(picture, settings, {});
  const Cancellable cancellable;
  run::DenoisedHdr denoised = run::denoiseHdr(picture, settings, {progress, cancellable.flag()});
  cancellable.check();
  return denoised;
}

Through hdrThrough(const Bytes& file, const Denoise& command, const Progress& progress) {
  Timer timer;
  const pictures::HdrPicture picture = pictures::decodeHdr(file);
  const run::Decoded decoded{picture.layout(), std::nullopt, timer.lap()};
  run::DenoisedHdr after = denoised(picture, command.settings, progress);
  std::optional<tell::DisplayPair> display;
  if (wantsDisplay(command)) display = tell::displayPair(picture, after.planar);
  timer.lap();
  Bytes encoded = pictures::encodeHdr(picture, after.planar);
  return {decoded, std::move(after.done), std::move(encoded), timer.lap(), std::move(display)};
}

run::DenoisedLight denoised(const pictures::LightPicture& picture, const run::Settings& settings,
                            const Progress& progress) {
  const Cancellable cancellable;
  run::DenoisedLight denoised = run::denoiseLight(picture, settings, {progress, cancellable.flag()});
  cancellable.check();
  return denoised;
}

Through lightThrough(Bytes file, Format from, Format to, const Denoise& command, const Progress& progress) {
  Timer timer;
  pictures::LightPicture picture = pictures::decodeLight(file, from);
  file = Bytes();
  const run::Decoded decoded{picture.layout(), noteOn(picture, command.settings, to), timer.lap()};
  pictures::requireFits(picture, to);
  run::DenoisedLight after = denoised(picture, command.settings, progress);
  std::optional<tell::DisplayPair> display;
  if (wantsDisplay(command)) display = tell::displayPair(picture, after.after, command.settings.displayReferred);
  picture.light = std::move(after.after);
  timer.lap();
  Bytes encoded = pictures::encodeLight(picture, to);
  return {decoded, std::move(after.done), std::move(encoded), timer.lap(), std::move(display)};
}

Through goThrough(Bytes file, Format from, Format to, const Denoise& command, const Progress& progress) {
  if (from == Format::kRadiance && to == Format::kRadiance) return hdrThrough(file, command, progress);
  if (isHdr(from) || pictures::holdsFloats(file, from))
    return lightThrough(std::move(file), from, to, command, progress);
  return photoThrough(std::move(file), from, to, command, progress);
}

// All that may stand in the way of the results, before the work is done rather than after it.
void requireWritable(const std::string& input, const std::string& output, const Denoise& command, const Taken& taken) {
  if (!pictures::isStandardStream(output) && taken.count(output) != 0) {
    throw Failure(input + ": " + output + " is the result of another input of this run");
  }
  find::requireWritable(output, command.naming);
  if (command.compare) find::requireWritable(*command.compare, command.naming);
  if (command.report) find::requireWritable(*command.report, command.naming);
}

void show(const run::FileResult& result, const tell::DisplayPair& display, const Denoise& command) {
  const bool force = command.naming.force;
  if (command.compare) tell::writeComparison(*command.compare, display, force);
  if (command.report) tell::writeReport(*command.report, result, display, command.settings, force);
}

void denoise(const find::Job& job, const Denoise& command, Taken& taken, const Progress& progress,
             run::FileResult& result) {
  if (job.found.problem) throw Failure(*job.found.problem);
  const Timer total;
  Bytes file = pictures::readWhole(result.input);
  const double reading = total.seconds();
  const Format from = pictures::recognise(file, result.input);
  result.output = find::outputFor(result.input, job.place, command.naming, from);
  const Format to = find::outputFormat(result.output, command.naming, from);
  requireWritable(result.input, result.output, command, taken);
  const Through through = goThrough(std::move(file), from, to, command, progress);
  const Timer writing;
  pictures::writeWhole(result.output, through.encoded, command.naming.force);
  taken.insert(result.output);
  const run::Written written{to, through.encodeSeconds, writing.seconds()};
  result.end = run::Outcome{{from, reading}, through.decoded, through.done, written, total.seconds()};
  if (through.display) show(result, *through.display, command);
}

// Messages that name no file get the name of the one that was read.
Failure withName(const std::string& message, const run::FileResult& result) {
  const auto names = [&](const std::string& file) { return message.find(file) != std::string::npos; };
  if (names(result.input) || (!result.output.empty() && names(result.output))) return Failure(message);
  return Failure((pictures::isStandardStream(result.input) ? "standard input" : result.input) + ": " + message);
}

}  // namespace

run::FileResult denoiseFile(const find::Job& job, const Denoise& command, Taken& taken, const Progress& progress) {
  run::FileResult result{job.found.name, "", Failure("")};
  try {
    denoise(job, command, taken, progress, result);
  } catch (const std::bad_alloc&) {
    result.end = withName("memory exhausted", result);
  } catch (const std::exception& failure) {
    result.end = withName(failure.what(), result);
  }
  return result;
}

}  // namespace tool::command
