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
#include "pictures/light.h"
#include "pictures/photo.h"
#include "pictures/recognise.h"
#include "run/denoise_hdr.h"
#include "run/denoise_linear.h"
#include "run/denoise_photo.h"
#include "run/recipe.h"
#include "tell/comparison.h"
#include "tell/display.h"
#include "tell/report/batch.h"
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

Through hdrThrough(const Bytes& file, const Denoise& command, const run::Watch& watch) {
  Timer timer;
  const pictures::HdrPicture picture = decoded([&] { return pictures::decodeHdr(file); });
  const run::Decoded about{picture.layout(), std::nullopt, timer.lap()};
  run::DenoisedHdr after = run::denoiseHdr(picture, command.settings, watch);
  std::optional<tell::DisplayPair> display;
  if (wantsDisplay(command)) display = beside([&] { return tell::displayPair(picture, after.planar); });
  timer.lap();
  Bytes encoded = beside([&] { return pictures::encodeHdr(picture, after.planar); });
  return {about, std::move(after.done), std::move(encoded), timer.lap(), std::move(display)};
}

Through lightThrough(Bytes file, Format from, Format to, const Denoise& command, const run::Watch& watch) {
  Timer timer;
  pictures::LightPicture picture = decoded([&] { return pictures::decodeLight(file, from); });
  file = Bytes();
  const run::Decoded about{picture.layout(), noteOn(picture, command.settings, to), timer.lap()};
  orFailAs(Kind::kUnsupported, [&] { pictures::requireFits(picture, to); });
  run::DenoisedLight after = run::denoiseLight(picture, command.settings, watch);
  std::optional<tell::DisplayPair> display;
  if (wantsDisplay(command))
    display = beside([&] { return tell::displayPair(picture, after.after, command.settings.displayReferred); });
  picture.light = std::move(after.after);
  timer.lap();
  Bytes encoded = beside([&] { return pictures::encodeLight(picture, to); });
  return {about, std::move(after.done), std::move(encoded), timer.lap(), std::move(display)};
}

Through goThrough(Bytes file, Format from, Format to, const Denoise& command, const run::Watch& watch) {
  if (from == Format::kRadiance && to == Format::kRadiance) return hdrThrough(file, command, watch);
  if (isHdr(from) || decoded([&] { return pictures::holdsFloats(file, from); }))
    return lightThrough(std::move(file), from, to, command, watch);
  return photoThrough(std::move(file), from, to, command, watch);
}

bool isThere(const std::string& output) {
  std::error_code error;
  const auto status = std::filesystem::status(output, error);
  return !pictures::isStandardStream(output) && exists(status) && !is_directory(status);
}

// All that may stand in the way of the results, before the work is done rather than after it.
void requireWritable(const std::string& output, const Denoise& command) {
  find::requireWritable(output, command.naming);
  // A batch's were looked at once.
  if (command.isBatch()) return;
  for (const std::string& beside : command.beside()) find::requireWritable(beside, command.naming);
}

const vnr_settings& settingsOf(const run::Outcome& outcome) {
  if (const auto* work = std::get_if<run::FilterWork>(&outcome.done.work)) return work->settings;
  throw Failure(Kind::kUnsupported, "denoise1, which this preset uses, has no settings for a recipe");
}

// One file's way; what has to be known of it is in the result as soon as it is known.
class Way {
 public:
  Way(const find::Plan& plan, std::size_t index, const Denoise& command, run::FileResult& result)
      : plan_(plan),
        index_(index),
        command_(command),
        result_(result),
        writing_{command.naming.force, {result.input}} {}

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
      find::outputFormat(result_.output, command_.naming, pictures::recognise(beginning, result_.input));
    result_.end = run::Planned{};
  }

  void denoise(const run::Watch& watch) {
    requireNotInterrupted();
    const Timer total;
    Bytes file = pictures::readWhole(result_.input);
    const double reading = total.seconds();
    const Format from = pictures::recognise(file, result_.input),
                 to = find::outputFormat(result_.output, command_.naming, from);
    const Through through = goThrough(std::move(file), from, to, command_, watch);
    requireNotInterrupted();
    const Timer writing;
    find::makeFolderOf(result_.output, command_.naming);
    pictures::writeWhole(result_.output, through.encoded, writing_);
    const run::Written written{to, through.encodeSeconds, writing.seconds()};
    result_.end = run::Outcome{{from, reading}, through.decoded, through.done, written, total.seconds()};
    writeBeside(through);
  }

  void writeBeside(const Through& through) {
    if (through.display) beside([&] { show(*through.display); });
    if (command_.saveRecipe)
      pictures::writeWhole(*command_.saveRecipe, run::recipeOf(settingsOf(*result_.outcome())), writing_);
  }

  void show(const tell::DisplayPair& display) {
    if (command_.compare) tell::writeComparison(*command_.compare, display, writing_);
    if (!command_.report) return;
    if (!command_.isBatch()) return tell::writeReport(*command_.report, result_, display, command_.settings, writing_);
    // What lies in the folder of a batch's reports is that batch's own.
    const std::string report = tell::reportInBatch(*command_.report, index_, result_.input);
    tell::writeReport(report, result_, display, command_.settings, {true, {result_.input}});
    result_.shown = tell::thumbnailOf(display);
  }

  const find::Plan& plan_;
  const std::size_t index_;
  const Denoise& command_;
  run::FileResult& result_;
  const pictures::Writing writing_;
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
