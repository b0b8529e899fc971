#include "tune/session.h"

#include <algorithm>
#include <cstring>

#include "base/failure.h"
#include "run/denoise_photo.h"
#include "run/library.h"
#include "run/recipe.h"

namespace tool::tune {
namespace {

using pictures::Bytes;

constexpr std::int64_t kMostPixels = 1 << 22;  // of a piece

std::vector<Span> spansOf(const vnr_plan* plan, int end, bool vertical) {
  std::vector<Span> spans;
  for (int at = 0; at < end; at = spans.back().second) {
    vnr_rectangle wanted = {0, 1, 0, 1}, read, write;
    (vertical ? wanted.y0 : wanted.x0) = at;
    (vertical ? wanted.y1 : wanted.x1) = at + 1;
    run::requireDone(vnr_plan_cover(plan, &wanted, &read, &write));
    spans.emplace_back(vertical ? write.y0 : write.x0, vertical ? write.y1 : write.x1);
  }
  return spans;
}

Json jsonOf(const std::vector<Span>& spans) {
  Json json = Json::array();
  for (const auto& [start, end] : spans)
    json.push_back({{"start", start}, {"end", end}, {"readStart", start}, {"readEnd", end}});
  return json;
}

std::size_t bytesOf(const pictures::Photo& photo, const vnr_rectangle& r) {
  return static_cast<std::size_t>(r.x1 - r.x0) * static_cast<std::size_t>(r.y1 - r.y0) *
         static_cast<std::size_t>(photo.bands() * photo.bits / 8);
}

// A piece in the photograph's layout, for its samples alone.
vnr_picture pieceOver(const pictures::Photo& photo, std::uint8_t* samples, const vnr_rectangle& r) {
  vnr_picture piece = run::pictureOf(photo, samples);
  piece.row_stride = piece.pixel_stride * (r.x1 - r.x0);
  piece.x = r.x0;
  piece.y = r.y0;
  piece.width = r.x1 - r.x0;
  piece.height = r.y1 - r.y0;
  return piece;
}

void copyRows(const vnr_picture& from, const vnr_picture& to) {
  for (int y = 0; y < to.height; ++y)
    std::memcpy(static_cast<char*>(to.channel[0]) + y * to.row_stride,
                static_cast<const char*>(from.channel[0]) + y * from.row_stride,
                static_cast<std::size_t>(to.row_stride));
}

}  // namespace

Session::Session(pictures::Photo photo, int threads, const std::int32_t* cancel)
    : photo_(std::move(photo)),
      orientation_(photo_.coding.orientation, photo_.width, photo_.height),
      screen_(photo_, orientation_),
      threads_(threads),
      watch_{{}, cancel} {
  run::StripProgress progress{watch_};
  const vnr_control control = run::controlOf(threads_, progress);
  noise_ = run::measureNoise(run::pictureOf(photo_, photo_.samples()), &control);
}

Json Session::about() const {
  return {{"width", orientation_.width()}, {"height", orientation_.height()}, {"bits", photo_.bits}};
}

Json Session::noise() const {
  const vnr_noise& n = noise_.noise;
  Json spectrum = Json::array();
  for (const auto& channel : n.spectrum) spectrum.push_back(channel);
  return {{"measured", noise_.measured()},
          {"level", n.level},
          {"grain", noise_.grain()},
          {"sigma", n.sigma},
          {"blotches", n.blotches},
          {"correlation", n.correlation},
          {"luma", n.luma},
          {"chroma", n.chroma},
          {"coarseChroma", n.coarse_chroma},
          {"spectrum", spectrum}};
}

std::string Session::chosen(int rule, float strength) const {
  static constexpr decltype(&vnr_settings_best) kRules[] = {vnr_settings_best, vnr_settings_fast, vnr_settings_classic};
  if (rule < 0 || rule >= static_cast<int>(std::size(kRules))) throw Failure("there is no such preset");
  vnr_settings settings{};
  settings.struct_size = sizeof settings;
  run::requireDone(kRules[rule](&noise_.noise, strength, &settings));
  return run::recipeOf(settings);
}

Json Session::grid(const vnr_settings& settings) const {
  const run::Plan plan = run::beginPlan(photo_.width, photo_.height, settings);
  const std::vector<Span> columns = spansOf(plan.get(), photo_.width, false);
  const std::vector<Span> rows = spansOf(plan.get(), photo_.height, true);
  return {{"columns", jsonOf(orientation_.uprightColumns(columns, rows))},
          {"rows", jsonOf(orientation_.uprightRows(columns, rows))}};
}

vnr_rectangle Session::inFile(const vnr_rectangle& r) const {
  const bool isInside = 0 <= r.x0 && r.x0 < r.x1 && r.x1 <= orientation_.width() && 0 <= r.y0 && r.y0 < r.y1 &&
                        r.y1 <= orientation_.height();
  if (!isInside || static_cast<std::int64_t>(r.x1 - r.x0) * (r.y1 - r.y0) > kMostPixels)
    throw Failure("there is no such piece");
  return orientation_.inFile(r);
}

Bytes Session::before(const vnr_rectangle& upright) const {
  const vnr_rectangle piece = inFile(upright);
  return screen_.upright(original(piece).data(), piece.x1 - piece.x0, piece.y1 - piece.y0);
}

Bytes Session::after(const vnr_settings& settings, const vnr_rectangle& upright) const {
  const vnr_rectangle piece = inFile(upright);
  return screen_.upright(filtered(settings, piece).data(), piece.x1 - piece.x0, piece.y1 - piece.y0);
}

Bytes Session::original(const vnr_rectangle& piece) const {
  Bytes samples(bytesOf(photo_, piece));
  copyRows(vnr_piece(run::pictureOf(photo_, photo_.samples()), piece), pieceOver(photo_, samples.data(), piece));
  return samples;
}

Bytes Session::filtered(const vnr_settings& settings, const vnr_rectangle& piece) const {
  const run::Plan plan = run::beginPlan(photo_.width, photo_.height, settings);
  run::StripProgress progress{watch_};
  const vnr_control control = run::controlOf(1, progress);
  Bytes samples = original(piece), others(run::isFilteredAsColour(photo_, settings) ? 2 * samples.size() : 0);
  vnr_picture in = run::pictureOf(photo_, photo_.samples()), out = pieceOver(photo_, samples.data(), piece);
  if (!others.empty()) {
    in.channels = out.channels = 3;
    in.channel[1] = in.channel[2] = in.channel[0];
    out.channel[1] = others.data();
    out.channel[2] = others.data() + samples.size();
  }
  run::requireDone(vnr_plan_filter(plan.get(), &in, &out, &control));
  return samples;
}

Bytes Session::result(const vnr_settings& settings, pictures::Format format) const {
  pictures::requireFits(photo_, format);
  const std::lock_guard<std::mutex> one(oneResult_);
  Bytes samples = run::filterPhoto(photo_, settings, threads_, watch_);
  return pictures::encodePhoto(photo_, std::move(samples), format, {});
}

}  // namespace tool::tune
