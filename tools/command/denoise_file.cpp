#include "command/denoise_file.h"

#include <fmt/format.h>

#include <filesystem>
#include <new>
#include <optional>

#include "base/interruption.h"
#include "base/timer.h"
#include "pictures/file_io.h"
#include "pictures/footprint.h"
#include "pictures/hdr.h"
#include "pictures/libvips.h"
#include "pictures/photo.h"
#include "run/denoise_hdr.h"
#include "run/denoise_photo.h"
#include "run/recipe.h"
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

std::optional<std::string> noteOn(const pictures::Photo& photo) {
  if (photo.pages <= 1) return std::nullopt;
  return fmt::format("only the first of the file's {} pictures is denoised and written", photo.pages);
}

std::optional<std::string> noteOn(const pictures::HdrPicture& picture) {
  if (picture.format != Format::kOpenExr) return std::nullopt;
  return "OpenEXR goes through RGBE: 8 bits of mantissa, no alpha";
}

// The picture in a file, or a failure that is that file's alone.
template <typename Decode>
auto decoded(Decode decode) -> decltype(decode()) {
  requireNotInterrupted();
  return pictures::besideOthers([&] { return orFailAs(Kind::kDamaged, decode); });
}

// What libvips is used for after that, beside other threads.
template <typename Work>
auto beside(Work work) -> decltype(work()) {
  requireNotInterrupted();
  const pictures::Beside others;
  return work();
}

// Neither the file nor the picture before stays in memory longer than it is needed.
Through photoThrough(Bytes file, Format from, Format to, const Denoise& command, const run::Watch& watch) {
  Timer timer;
  pictures::Photo photo = decoded([&] { return pictures::decodePhoto(file, from); });
  file = Bytes();
  const run::Decoded about{photo.layout(), noteOn(photo), timer.lap()};
  orFailAs(Kind::kUnsupported, [&] { pictures::requireFits(photo, to); });
  run::DenoisedPhoto after = run::denoisePhoto(photo, command.settings, watch);
  std::optional<tell::DisplayPair> display;
  if (wantsDisplay(command)) display = beside([&] { return tell::displayPair(photo, after.samples); });
  photo.decoded = {};
  timer.lap();
  Bytes encoded = beside([&] { return pictures::encodePhoto(photo, std::move(after.samples), to, command.save); });
  return {about, std::move(after.done), std::move(encoded), timer.lap(), std::move(display)};
}

Through hdrThrough(const Bytes& file, Format from, const Denoise& command, const run::Watch& watch) {
  Timer timer;
  const pictures::HdrPicture picture = decoded([&] { return pictures::decodeHdr(file, from); });
  const run::Decoded about{picture.layout(), noteOn(picture), timer.lap()};
  run::DenoisedHdr after = run::denoiseHdr(picture, command.settings, watch);
  std::optional<tell::DisplayPair> display;
  if (wantsDisplay(command)) display = beside([&] { return tell::displayPair(picture, after.planar); });
  timer.lap();
  Bytes encoded = beside([&] { return pictures::encodeHdr(picture, after.planar); });
  return {about, std::move(after.done), std::move(encoded), timer.lap(), std::move(display)};
}

Through goThrough(Bytes file, Format from, Format to, const Denoise& command, const run::Watch& watch) {
  if (!isHdr(from)) return photoThrough(std::move(file), from, to, command, watch);
  if (to == Format::kRadiance) return hdrThrough(file, from, command, watch);
  throw Failure(Kind::kUnsupported,
                fmt::format("a high-dynamic-range picture cannot be written as {}; choose .hdr", formatName(to)));
}

Format requireFormat(const Bytes& file) {
  const std::optional<Format> format = pictures::sniffFormat(file);
  if (format) return *format;
  if (file.empty()) throw Failure(Kind::kDamaged, "the file is empty");
  throw Failure(Kind::kUnsupported, "not a PNG, JPEG, TIFF, WebP, Radiance or OpenEXR picture");
}

bool isThere(const std::string& output) {
  std::error_code error;
  return !pictures::isStandardStream(output) && std::filesystem::exists(output, error);
}

// All that may stand in the way of the results, before the work is done rather than after it.
void requireWritable(const std::string& output, const Denoise& command) {
  find::requireWritable(output, command.naming);
  for (const std::string& beside : command.beside()) find::requireWritable(beside, command.naming);
}

const vnr_settings& settingsOf(const run::Outcome& outcome) {
  if (const auto* work = std::get_if<run::FilterWork>(&outcome.done.work)) return work->settings;
  throw Failure(Kind::kUnsupported, "denoise1, which this preset uses, has no settings for a recipe");
}

void writeRecipe(const std::string& path, const vnr_settings& settings, bool overwrite) {
  const std::string text = run::recipeOf(settings);
  pictures::writeWhole(path, reinterpret_cast<const std::uint8_t*>(text.data()), text.size(), overwrite);
}

void show(const run::FileResult& result, const tell::DisplayPair& display, const Denoise& command) {
  const bool force = command.naming.force;
  if (command.compare) tell::writeComparison(*command.compare, display, force);
  if (command.report) tell::writeReport(*command.report, result, display, command.settings, force);
}

// One file's way; what has to be known of it is in the result as soon as it is known.
class Way {
 public:
  Way(const find::Plan& plan, std::size_t index, const Denoise& command, run::FileResult& result)
      : plan_(plan), index_(index), command_(command), result_(result) {}

  void go(run::Pool& pool, const Progress& progress) {
    if (const Failure* problem = plan_.problem(index_)) throw *problem;
    result_.output = plan_.output(index_);
    if (command_.skipExisting && isThere(result_.output)) return skip();
    if (!result_.output.empty()) requireWritable(result_.output, command_);
    if (command_.dryRun && !result_.output.empty()) return plan();
    const run::Pool::Part memory(pool,
                                 pictures::footprintOf(result_.input, plan_.bytes(index_), wantsDisplay(command_)));
    denoise({progress, interruptedBy(), &pool});
  }

 private:
  void skip() { result_.end = run::Skipped{}; }

  void plan() {
    // What can be told by the names alone.
    const Bytes beginning = pictures::readBeginning(result_.input).bytes;
    if (!pictures::isStandardStream(result_.input))
      find::outputFormat(result_.output, command_.naming, requireFormat(beginning));
    result_.end = run::Planned{};
  }

  void denoise(const run::Watch& watch) {
    requireNotInterrupted();
    const Timer total;
    Bytes file = pictures::readWhole(result_.input);
    const double reading = total.seconds();
    const Format from = requireFormat(file), to = find::outputFormat(result_.output, command_.naming, from);
    const Through through = goThrough(std::move(file), from, to, command_, watch);
    requireNotInterrupted();
    const Timer writing;
    find::makeFolderOf(result_.output, command_.naming);
    pictures::writeWhole(result_.output, through.encoded, command_.naming.force);
    const run::Written written{to, through.encodeSeconds, writing.seconds()};
    result_.end = run::Outcome{{from, reading}, through.decoded, through.done, written, total.seconds()};
    writeBeside(through);
  }

  void writeBeside(const Through& through) {
    if (through.display) beside([&] { show(result_, *through.display, command_); });
    if (command_.saveRecipe) writeRecipe(*command_.saveRecipe, settingsOf(*result_.outcome()), command_.naming.force);
  }

  const find::Plan& plan_;
  const std::size_t index_;
  const Denoise& command_;
  run::FileResult& result_;
};

// Messages that name no file get the name of the one that was read.
Failure withName(Kind kind, const std::string& message, const run::FileResult& result) {
  const auto names = [&](const std::string& file) { return message.find(file) != std::string::npos; };
  if (names(result.input) || (!result.output.empty() && names(result.output))) return {kind, message};
  return {kind, (pictures::isStandardStream(result.input) ? "standard input" : result.input) + ": " + message};
}

}  // namespace

run::FileResult denoiseFile(const find::Plan& plan, std::size_t index, const Denoise& command, run::Pool& pool,
                            const Progress& progress) {
  run::FileResult result{plan.input(index), "", Failure("")};
  try {
    Way(plan, index, command, result).go(pool, progress);
  } catch (const Interrupted&) {
    result.end = withName(Kind::kInterrupted, "interrupted", result);
  } catch (const std::bad_alloc&) {
    result.end = withName(Kind::kNoMemory, "memory exhausted", result);
  } catch (const Failure& failure) {
    result.end = withName(failure.kind, failure.what(), result);
    if (command.skipExisting && failure.kind == Kind::kExists) result.end = run::Skipped{};
  } catch (const std::exception& failure) {
    result.end = withName(Kind::kOther, failure.what(), result);
  }
  return result;
}

}  // namespace tool::command
