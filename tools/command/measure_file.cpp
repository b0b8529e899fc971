#include "command/measure_file.h"

#include "base/failure.h"
#include "pictures/file_io.h"
#include "pictures/hdr.h"
#include "pictures/libvips.h"
#include "pictures/photo.h"
#include "run/denoise_linear.h"
#include "run/library.h"

namespace tool::command {
namespace {

using pictures::Bytes;
using pictures::Format;

constexpr int kNominalStrength = 100;

template <typename Decode>
auto decoded(Decode decode) -> decltype(decode()) {
  return pictures::besideOthers([&] { return orFailAs(Kind::kDamaged, decode); });
}

Measured measurePhoto(const std::string& name, const Bytes& file, Format format, const run::Watch& watch) {
  const pictures::Photo photo = decoded([&] { return pictures::decodePhoto(file, format); });
  run::StripProgress progress{watch};
  const vnr_control control = run::controlOf(watch.pool->threads(), progress);
  return {name, photo.layout(), run::measureNoise(run::pictureOf(photo, photo.samples()), &control), std::nullopt};
}

// None for a picture that denoise1 refuses.
std::optional<run::HdrStatistics> statisticsOf(pictures::HdrPicture& picture) try {
  return run::hdrStatistics(picture, kNominalStrength);
} catch (const Failure&) {
  return std::nullopt;
}

Measured measureHdr(const std::string& name, const Bytes& file, Format format, const run::Watch& watch) {
  pictures::HdrPicture picture = decoded([&] { return pictures::decodeHdr(file, format); });
  return {name, picture.layout(), run::measureLight(picture, watch), statisticsOf(picture)};
}

}  // namespace

Measured measureFile(const std::string& name, const Bytes& file, const run::Watch& watch) {
  const std::optional<Format> format = pictures::sniffFormat(file);
  if (!format) throw Failure(Kind::kUnsupported, name + ": not a PNG, JPEG, TIFF, WebP, Radiance or OpenEXR picture");
  try {
    return isHdr(*format) ? measureHdr(name, file, *format, watch) : measurePhoto(name, file, *format, watch);
  } catch (const Failure& failure) {
    throw Failure(failure.kind, name + ": " + failure.what());
  } catch (const std::bad_alloc&) {
    throw Failure(Kind::kNoMemory, name + ": memory exhausted");
  }
}

Measured measureFile(const std::string& name, const run::Watch& watch) {
  return measureFile(name, pictures::readWhole(name), watch);
}

}  // namespace tool::command
