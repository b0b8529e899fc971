/* What the page asks of the library, said in numbers and pointers alone. A module serves one thread and one picture:
 * it keeps the measured noise, the settings and the plan. Pictures are bytes of red, green, blue and alpha. */
#include <stdlib.h>
#include <string.h>
#include <veskaronr.h>

#define EXPORTED(name) __attribute__((export_name(#name)))

static vnr_noise noise = {.struct_size = sizeof(vnr_noise)};
static vnr_settings settings = {.struct_size = sizeof(vnr_settings)};
static vnr_plan* plan;
static int32_t plan_width, plan_height;

EXPORTED(take) void* take(size_t bytes) {
  return malloc(bytes);
}
EXPORTED(give) void give(void* bytes) {
  free(bytes);
}
EXPORTED(text) const char* text(int result) {
  return vnr_result_text(result);
}
EXPORTED(version) int version(void) {
  return vnr_version();
}

static vnr_picture pieceOf(uint8_t* samples, vnr_rectangle r) {
  vnr_picture piece = vnr_interleaved(VNR_UINT8, r.x1 - r.x0, r.y1 - r.y0, 4, samples, 4 * (ptrdiff_t)(r.x1 - r.x0));
  piece.x = r.x0;
  piece.y = r.y0;
  return piece;
}

static const vnr_control kAlone = {.struct_size = sizeof(vnr_control), .threads = 1};

/* Measuring. */

EXPORTED(measure_begin) vnr_measurement* measure_begin(int32_t width, int32_t height) {
  vnr_measurement* measurement = NULL;
  return vnr_measure_begin(width, height, &measurement) == VNR_OK ? measurement : NULL;
}

EXPORTED(measure_add)
int measure_add(vnr_measurement* measurement, uint8_t* samples, int32_t x0, int32_t x1, int32_t y0, int32_t y1) {
  const vnr_rectangle r = {x0, x1, y0, y1};
  const vnr_picture piece = pieceOf(samples, r);
  return vnr_measure_add(measurement, &piece, &kAlone);
}

/* The size of a saved measurement; with room for it, it is written there. */
EXPORTED(measure_save) size_t measure_save(const vnr_measurement* measurement, void* bytes, size_t capacity) {
  size_t size = 0;
  return vnr_measure_save(measurement, bytes, capacity, &size) == VNR_OK ? size : 0;
}

EXPORTED(measure_take) int measure_take(vnr_measurement* into, const void* bytes, size_t size) {
  vnr_measurement* from = NULL;
  int result = vnr_measure_load(bytes, size, &from);
  if (result == VNR_OK) result = vnr_measure_merge(into, from);
  vnr_measure_end(from);
  return result;
}

EXPORTED(measure_finish) int measure_finish(vnr_measurement* measurement) {
  const int result = vnr_measure_finish(measurement, &noise);
  vnr_measure_end(measurement);
  return result;
}

/* The measured noise as numbers, in the order of core.js. */
EXPORTED(noise_figures) int noise_figures(double* to) {
  const double figures[] = {noise.reason,   noise.level,    noise.grain,         noise.sigma[0],
                            noise.sigma[1], noise.sigma[2], noise.blotches,      noise.correlation,
                            noise.luma,     noise.chroma,   noise.coarse_chroma, noise.texture_guard};
  memcpy(to, figures, sizeof figures);
  return sizeof figures / sizeof figures[0];
}

EXPORTED(noise_spectrum) const float* noise_spectrum(void) {
  return noise.spectrum[0];
}

/* Settings: what follows the size of the struct, all of it numbers of four bytes in the order of settings.js. */

enum { kBest, kFast, kClassic };

EXPORTED(choose) int choose(int preset, float strength) {
  static int (*const rules[])(const vnr_noise*, float, vnr_settings*) = {vnr_settings_best, vnr_settings_fast,
                                                                         vnr_settings_classic};
  return rules[preset](&noise, strength, &settings);
}

EXPORTED(settings_fields) void* settings_fields(void) {
  return settings.params;
}
EXPORTED(settings_count) size_t settings_count(void) {
  return (sizeof settings - offsetof(vnr_settings, params)) / sizeof(float);
}

/* Filtering with the settings as they stand. */

EXPORTED(plan_begin) int plan_begin(int32_t width, int32_t height) {
  vnr_plan* next = NULL;
  const int result = vnr_plan_begin(width, height, &settings, &next);
  if (result != VNR_OK) return result;
  vnr_plan_end(plan);
  plan = next;
  plan_width = width;
  plan_height = height;
  return VNR_OK;
}

/* The tiles along one axis: of each its first pixel, its end, and the same of what it reads. Returns their number. */
EXPORTED(tiles_along) int tiles_along(int vertical, int32_t* to) {
  int count = 0;
  const int32_t end = vertical ? plan_height : plan_width;
  for (int32_t at = 0; at < end; ++count) {
    vnr_rectangle wanted = {0, 1, 0, 1}, read, write;
    if (vertical) {
      wanted.y0 = at, wanted.y1 = at + 1;
    } else {
      wanted.x0 = at, wanted.x1 = at + 1;
    }
    if (vnr_plan_cover(plan, &wanted, &read, &write) != VNR_OK) return 0;
    const int32_t across[] = {write.x0, write.x1, read.x0, read.x1}, down[] = {write.y0, write.y1, read.y0, read.y1};
    if (to != NULL) memcpy(to + 4 * count, vertical ? down : across, sizeof down);
    at = vertical ? write.y1 : write.x1;
  }
  return count;
}

/* Filters [wx0, wx1) x [wy0, wy1) from input that holds [rx0, rx1) x [ry0, ry1). Alpha is copied. */
EXPORTED(filter)
int filter(uint8_t* in, int32_t rx0, int32_t rx1, int32_t ry0, int32_t ry1, uint8_t* out, int32_t wx0, int32_t wx1,
           int32_t wy0, int32_t wy1) {
  const vnr_rectangle read = {rx0, rx1, ry0, ry1}, write = {wx0, wx1, wy0, wy1};
  const vnr_picture from = pieceOf(in, read), to = pieceOf(out, write);
  for (int32_t y = wy0; y < wy1; ++y) {
    memcpy(out + 4 * (size_t)(y - wy0) * (size_t)(wx1 - wx0),
           in + 4 * ((size_t)(y - ry0) * (size_t)(rx1 - rx0) + (size_t)(wx0 - rx0)), 4 * (size_t)(wx1 - wx0));
  }
  return vnr_plan_filter(plan, &from, &to, &kAlone);
}
