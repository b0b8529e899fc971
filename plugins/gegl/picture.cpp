#include "gegl/picture.h"

#include <algorithm>

#include "gegl/noise_text.h"

namespace plugin {
namespace {

constexpr int kMeasureRows = 256, kMeasureColumns = 4096;  // multiples of 32: no block is cut
constexpr int kTilesAtOnce = 16;                           // bounds the memory, and is enough for all threads

Bytes pixelsOf(GeglBuffer* buffer, const Form& form, const GeglRectangle& r) {
  const std::size_t count = static_cast<std::size_t>(r.width) * static_cast<std::size_t>(r.height);
  Bytes bytes = zeroedBytes(count, form.pixelBytes());
  if (bytes == nullptr) return bytes;
  gegl_buffer_get(buffer, &r, 1.0, form.format, bytes.get(), GEGL_AUTO_ROWSTRIDE, GEGL_ABYSS_NONE);
  makeFinite(form, bytes.get(), count);
  return bytes;
}

bool measurePiece(GeglBuffer* input, const Wanted& w, const GeglRectangle& r, vnr_measurement* measurement) {
  const Bytes bytes = pixelsOf(input, w.form, r);
  if (bytes == nullptr) return false;
  const vnr_picture piece = w.form.picture(bytes.get(), r.x - w.extent.x, r.y - w.extent.y, r.width, r.height);
  return vnr_measure_add(measurement, &piece, nullptr) == VNR_OK;
}

bool measure(GeglBuffer* input, const Wanted& w, vnr_noise* noise) {
  const Measurement measurement = measurementFor(w.extent.width, w.extent.height);
  if (measurement == nullptr) return false;
  for (int y = 0; y < w.extent.height; y += kMeasureRows) {
    for (int x = 0; x < w.extent.width; x += kMeasureColumns) {
      const GeglRectangle r = {w.extent.x + x, w.extent.y + y, std::min(kMeasureColumns, w.extent.width - x),
                               std::min(kMeasureRows, w.extent.height - y)};
      if (!measurePiece(input, w, r, measurement.get())) return false;
    }
  }
  noise->struct_size = sizeof *noise;
  return vnr_measure_finish(measurement.get(), noise) == VNR_OK;
}

vnr_rectangle within(const GeglRectangle& extent, const GeglRectangle& r) {
  return {r.x - extent.x, r.x - extent.x + r.width, r.y - extent.y, r.y - extent.y + r.height};
}

GeglRectangle placed(const GeglRectangle& extent, const vnr_rectangle& r) {
  return {r.x0 + extent.x, r.y0 + extent.y, r.x1 - r.x0, r.y1 - r.y0};
}

GeglRectangle cut(const GeglRectangle& a, const GeglRectangle& b) {
  GeglRectangle both;
  return gegl_rectangle_intersect(&both, &a, &b) ? both : GeglRectangle{0, 0, 0, 0};
}

}  // namespace

bool Wanted::hasSameInput(const Wanted& other) const {
  return gegl_rectangle_equal(&extent, &other.extent) && form == other.form;
}

bool Wanted::operator==(const Wanted& other) const {
  return hasSameInput(other) && choice == other.choice && holds == other.holds && held == other.held;
}

// ---- A version

Picture::Version::~Version() {
  if (pixels != nullptr) g_object_unref(pixels);
}

bool Picture::Version::setNoise(const vnr_noise& measured) {
  noise = measured;
  isMeasured = begin();
  return isMeasured;
}

// The plan and its grid, as the first and the last tile tell it.
bool Picture::Version::begin() {
  const int width = wanted.extent.width, height = wanted.extent.height;
  vnr_settings settings;
  if (settingsFor(wanted.choice, noise, &settings) != VNR_OK) return false;
  plan = planFor(width, height, settings);
  const vnr_rectangle firstPixel = {0, 1, 0, 1}, lastPixel = {width - 1, width, height - 1, height};
  vnr_rectangle read, first, last;
  if (plan == nullptr || vnr_plan_cover(plan.get(), &firstPixel, &read, &first) != VNR_OK) return false;
  if (vnr_plan_cover(plan.get(), &lastPixel, &read, &last) != VNR_OK) return false;
  unitX = first.x1;
  unitY = first.y1;
  columns = last.x0 / unitX + 1;
  rows = last.y0 / unitY + 1;
  isMade = zeroedBytes(static_cast<std::size_t>(columns), static_cast<std::size_t>(rows));
  pixels = gegl_buffer_new(&wanted.extent, wanted.form.format);
  return isMade != nullptr;
}

unsigned char* Picture::Version::made(int row, int column) const {
  return isMade.get() + static_cast<std::size_t>(row) * static_cast<std::size_t>(columns) +
         static_cast<std::size_t>(column);
}

int Picture::Version::column(int x) const {
  return std::min((x - wanted.extent.x) / unitX, columns - 1);
}

int Picture::Version::row(int y) const {
  return std::min((y - wanted.extent.y) / unitY, rows - 1);
}

// The pixels of some tiles of a row.
GeglRectangle Picture::Version::tiles(int row, int from, int end) const {
  const GeglRectangle& e = wanted.extent;
  return placed(e, {from * unitX, end == columns ? e.width : end * unitX, row * unitY,
                    row + 1 == rows ? e.height : (row + 1) * unitY});
}

bool Picture::Version::filter(GeglBuffer* input, const GeglRectangle& tiles) const {
  const Form& form = wanted.form;
  const vnr_rectangle write = within(wanted.extent, tiles);
  vnr_rectangle read;
  if (vnr_plan_cover(plan.get(), &write, &read, nullptr) != VNR_OK) return false;
  const Bytes in = pixelsOf(input, form, placed(wanted.extent, read));
  const Bytes out = pixelsOf(input, form, tiles);  // for its alpha
  if (in == nullptr || out == nullptr) return false;
  const vnr_picture given = form.picture(in.get(), read.x0, read.y0, read.x1 - read.x0, read.y1 - read.y0);
  const vnr_picture made = form.picture(out.get(), write.x0, write.y0, tiles.width, tiles.height);
  if (vnr_plan_filter(plan.get(), &given, &made, nullptr) != VNR_OK) return false;
  gegl_buffer_set(pixels, &tiles, 0, form.format, out.get(), GEGL_AUTO_ROWSTRIDE);
  return true;
}

// ---- Versions as they come and go

Picture::Shared Picture::renewed(const Version* before, const Wanted& wanted, bool keepsNoise) {
  Shared version = std::make_shared<Version>();
  version->wanted = wanted;
  vnr_noise held;
  if (wanted.holds && !wanted.held.empty() && noiseFrom(wanted.held.c_str(), &held)) {
    version->setNoise(held);
  } else if (before != nullptr && before->isMeasured && keepsNoise) {
    version->setNoise(before->noise);
  }
  return version;
}

Picture::Shared Picture::current() const {
  const std::lock_guard<std::mutex> guard(lock_);
  return version_;
}

void Picture::want(const Wanted& wanted) {
  const Shared before = current();
  if (before && before->wanted == wanted) return;
  // A text that was held is no measurement.
  const bool wasText = before && before->wanted.holds && !before->wanted.held.empty();
  const bool keepsNoise = before && !wasText && before->wanted.hasSameInput(wanted);
  Shared after = renewed(before.get(), wanted, keepsNoise);
  const std::lock_guard<std::mutex> guard(lock_);
  version_ = std::move(after);
}

void Picture::inputChanged() {
  const Shared before = current();
  if (!before) return;
  Shared after = renewed(before.get(), before->wanted, before->wanted.holds);
  const std::lock_guard<std::mutex> guard(lock_);
  version_ = std::move(after);
}

Picture::Shared Picture::measuredFrom(GeglBuffer* input) {
  const Shared before = current();
  if (!before || before->isMeasured) return before;
  Shared after = std::make_shared<Version>();
  after->wanted = before->wanted;
  vnr_noise noise = {};
  if (!measure(input, after->wanted, &noise) || !after->setNoise(noise)) return nullptr;
  const std::lock_guard<std::mutex> guard(lock_);
  if (version_ == before) version_ = after;  // or else the input has changed meanwhile
  return after;
}

std::string Picture::measured() const {
  const Shared v = current();
  return v && v->isMeasured ? textOf(v->noise) : std::string();
}

// ---- Pixels

// The first tile from `from` on that is made, or the end.
int Picture::endOfMissing(const Version& v, int row, int from, int end) const {
  const std::lock_guard<std::mutex> guard(lock_);
  while (from < end && *v.made(row, from) == 0) ++from;
  return from;
}

GeglRectangle Picture::required(const GeglRectangle& pixels) const {
  const Shared v = current();
  if (!v) return pixels;
  if (!v->isMeasured) return v->wanted.extent;
  const GeglRectangle p = cut(pixels, v->wanted.extent);
  GeglRectangle all = {0, 0, 0, 0};
  if (p.width < 1) return all;
  const int first = v->column(p.x), end = v->column(p.x + p.width - 1) + 1;
  for (int row = v->row(p.y); row <= v->row(p.y + p.height - 1); ++row) {
    for (int from = first, to; from < end; from = to + 1) {
      to = endOfMissing(*v, row, from, end);
      if (to == from) continue;
      const vnr_rectangle write = within(v->wanted.extent, v->tiles(row, from, to));
      vnr_rectangle read;
      if (vnr_plan_cover(v->plan.get(), &write, &read, nullptr) != VNR_OK) return v->wanted.extent;
      const GeglRectangle r = placed(v->wanted.extent, read);
      gegl_rectangle_bounding_box(&all, &all, &r);
    }
  }
  return all;
}

bool Picture::fill(Version& v, GeglBuffer* input, const GeglRectangle& p) {
  const int first = v.column(p.x), end = v.column(p.x + p.width - 1) + 1;
  for (int row = v.row(p.y); row <= v.row(p.y + p.height - 1); ++row) {
    for (int from = first, to; from < end; from = std::max(to, from + 1)) {
      to = endOfMissing(v, row, from, std::min(end, from + kTilesAtOnce));
      if (to == from) continue;
      if (!v.filter(input, v.tiles(row, from, to))) return false;
      const std::lock_guard<std::mutex> guard(lock_);
      std::fill(v.made(row, from), v.made(row, to), 1);
    }
  }
  return true;
}

bool Picture::make(GeglBuffer* input, GeglBuffer* output, const GeglRectangle& pixels) {
  const Shared v = measuredFrom(input);
  if (!v) return false;
  const GeglRectangle p = cut(pixels, v->wanted.extent);
  if (p.width < 1) return true;
  if (!fill(*v, input, p)) return false;
  gegl_buffer_copy(v->pixels, &p, GEGL_ABYSS_NONE, output, &p);
  return true;
}

}  // namespace plugin
