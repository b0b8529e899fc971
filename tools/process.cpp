#include "process.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <new>

#include "display.h"
#include "failure.h"
#include "file_io.h"
#include "report/report.h"
#include "timer.h"

namespace tool {
namespace {

// Before the work is done rather than after it.
void requireWritable(const std::string& output, const Options& options) {
  if (output == "-") {
    if (isatty(STDOUT_FILENO) != 0) throw Failure("a picture on a terminal helps nobody; redirect standard output");
    return;
  }
  struct stat status;
  if (stat(output.c_str(), &status) == 0) {
    if (S_ISDIR(status.st_mode)) throw Failure("cannot write " + output + ": it is a folder");
    if (S_ISREG(status.st_mode) && !options.force) throw Failure(output + " exists already (--force replaces it)");
    return;
  }
  const std::filesystem::path folder = std::filesystem::path(output).parent_path();
  if (options.outputDir) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
  }
  if (access(folder.empty() ? "." : folder.c_str(), W_OK | X_OK) != 0) {
    throw Failure("cannot write " + output + ": " + std::strerror(errno));
  }
}

bool wantsDisplay(const Options& options) {
  return options.compare || options.report;
}

// The picture as a file, and what it looks like when that is wanted.
struct Denoised {
  Bytes encoded;
  std::optional<DisplayPair> display;
};

Denoised denoisePhotoFile(const Bytes& file, const Options& options, Outcome& outcome) {
  Timer timer;
  const Photo photo = decodePhoto(file, outcome.inputFormat);
  outcome.seconds.decode = timer.lap();
  requireFits(photo, outcome.outputFormat);
  outcome.width = photo.width;
  outcome.height = photo.height;
  outcome.bits = photo.bits;
  outcome.grey = photo.grey;
  outcome.channels = (photo.grey ? 1 : 3) + photo.extraBands;
  if (photo.pages > 1)
    outcome.note = fmt::format("only the first of the file's {} pictures is denoised and written", photo.pages);
  outcome.photo = denoisePhoto(photo, options.settings);
  PhotoResult& result = *outcome.photo;
  outcome.change = changeOf(photo, result.rgb);
  outcome.whyUnchanged = whyUnchanged(photo, result, outcome.change);
  Denoised denoised;
  if (wantsDisplay(options)) denoised.display = displayPair(photo, result.rgb);
  timer.lap();
  denoised.encoded = encodePhoto(photo, result.rgb, outcome.outputFormat, {options.quality});
  outcome.seconds.encode = timer.lap();
  result.rgb = Bytes();
  return denoised;
}

Denoised denoiseHdrFile(const Bytes& file, const Options& options, Outcome& outcome) {
  if (outcome.outputFormat != Format::kRadiance) {
    throw Failure(fmt::format("a high-dynamic-range picture cannot be written as {}; choose .hdr",
                              formatName(outcome.outputFormat)));
  }
  Timer timer;
  HdrPicture picture = decodeHdr(file, outcome.inputFormat);
  const Bytes before = picture.planar;
  outcome.seconds.decode = timer.lap();
  outcome.width = picture.width;
  outcome.height = picture.height;
  outcome.channels = 4;
  if (outcome.inputFormat == Format::kOpenExr) outcome.note = "OpenEXR goes through RGBE: 8 bits of mantissa, no alpha";
  outcome.hdr = denoiseHdr(picture, options.settings);
  HdrResult& result = *outcome.hdr;
  outcome.change = changeOf(picture, before, result.planar);
  outcome.whyUnchanged = whyUnchanged(outcome.change);
  Denoised denoised;
  if (wantsDisplay(options)) denoised.display = displayPair(picture, before, result.planar);
  timer.lap();
  denoised.encoded = encodeHdr(picture, result.planar);
  outcome.seconds.encode = timer.lap();
  result.planar = Bytes();
  return denoised;
}

void process(const Job& job, const Options& options, Written& written, Outcome& outcome) {
  if (!job.problem.empty()) throw Failure(job.problem);
  const Timer total;
  const Bytes file = readWhole(job.input);
  outcome.seconds.read = total.seconds();
  const std::optional<Format> format = sniffFormat(file);
  if (!format) {
    throw Failure(file.empty() ? "the file is empty" : "not a PNG, JPEG, TIFF, WebP, Radiance or OpenEXR picture");
  }
  outcome.inputFormat = *format;
  outcome.output = outputFor(job, options, *format);
  outcome.outputFormat = outputFormat(outcome.output, options, *format);
  if (outcome.output != "-" && written.count(outcome.output) != 0) {
    throw Failure(job.input + ": " + outcome.output + " is the result of another input of this run");
  }
  requireWritable(outcome.output, options);
  if (options.compare) requireWritable(*options.compare, options);
  if (options.report) requireWritable(*options.report, options);
  const Denoised denoised =
      isHdr(*format) ? denoiseHdrFile(file, options, outcome) : denoisePhotoFile(file, options, outcome);
  const Timer writing;
  writeWhole(outcome.output, denoised.encoded.data(), denoised.encoded.size(), options.force);
  written.insert(outcome.output);
  outcome.seconds.write = writing.seconds();
  outcome.seconds.total = total.seconds();
  if (options.compare) writeComparison(*options.compare, *denoised.display, options.force);
  if (options.report) writeReport(*options.report, outcome, *denoised.display, options);
}

}  // namespace

Outcome processFile(const Job& job, const Options& options, Written& written) {
  Outcome outcome;
  outcome.input = job.input;
  try {
    process(job, options, written, outcome);
  } catch (const Failure& failure) {
    outcome.error = failure.what();
  } catch (const std::bad_alloc&) {
    outcome.error = "memory exhausted";
  } catch (const std::exception& unexpected) {
    outcome.error = unexpected.what();
  }
  // Messages that name no file get the name of the one that was read.
  if (!outcome.error.empty() && outcome.error.find(job.input) == std::string::npos &&
      (outcome.output.empty() || outcome.error.find(outcome.output) == std::string::npos)) {
    outcome.error = (job.input == "-" ? "standard input" : job.input) + ": " + outcome.error;
  }
  return outcome;
}

}  // namespace tool
