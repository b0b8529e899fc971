/* A picture that is too large for memory, strip by strip: measured on one way through it, filtered on a second. Here a
 * generator stands for the file. */
#include <stdio.h>
#include <stdlib.h>
#include <veskaronr.h>

#include "noisy_picture.h"

enum { WIDTH = 3000, HEIGHT = 2000, ROW = 3 * WIDTH };

/* Rows [first, end) of the file: the same bytes whenever they are asked for. */
static void read_rows(int first, int end, unsigned char* to) {
  for (int y = first; y < end; ++y) {
    unsigned state = 77u * (unsigned)y + 1;
    for (int i = 0; i < ROW; ++i) {
      const int noise = (int)(noisy_next(&state) % 41) - 20;
      *to++ = (unsigned char)(100 + 60 * y / HEIGHT + 40 * (i / 3) / WIDTH + noise);
    }
  }
}

static vnr_picture rows_in(unsigned char* memory, int first, int end) {
  vnr_picture strip = vnr_interleaved(VNR_UINT8, WIDTH, end - first, 3, memory, ROW);
  strip.y = first;
  return strip;
}

static int measure(unsigned char* memory, int rows, vnr_noise* noise) {
  vnr_measurement* measurement;
  int result = vnr_measure_begin(WIDTH, HEIGHT, &measurement);
  if (result != VNR_OK) return result;
  for (int first = 0; first < HEIGHT && result == VNR_OK; first += rows) {
    const int end = first + rows < HEIGHT ? first + rows : HEIGHT;
    read_rows(first, end, memory);
    const vnr_picture strip = rows_in(memory, first, end);
    result = vnr_measure_add(measurement, &strip, NULL);
  }
  if (result == VNR_OK) result = vnr_measure_finish(measurement, noise);
  vnr_measure_end(measurement);
  return result;
}

int main(void) {
  enum { MOST_ROWS = 600 }; /* a tile's rows and what lies beside them; vnr_plan_cover says how many it takes */
  unsigned char* in = malloc((size_t)MOST_ROWS * ROW);
  unsigned char* out = malloc((size_t)MOST_ROWS * ROW);
  vnr_noise noise;
  vnr_settings settings;
  vnr_plan* plan = NULL;
  noise.struct_size = sizeof noise;
  settings.struct_size = sizeof settings;
  if (!in || !out || measure(in, 200, &noise) != VNR_OK) return 1;
  int result = vnr_settings_classic(&noise, 1.0f, &settings);
  if (result == VNR_OK) result = vnr_plan_begin(WIDTH, HEIGHT, &settings, &plan);

  int written = 0, strips = 0;
  double before = 0, after = 0;
  while (result == VNR_OK && written < HEIGHT) {
    const vnr_rectangle next = {0, WIDTH, written, written + 1};
    vnr_rectangle read, write; /* write: whole rows of tiles, none of which is filtered twice */
    result = vnr_plan_cover(plan, &next, &read, &write);
    if (result != VNR_OK || read.y1 - read.y0 > MOST_ROWS) break;
    read_rows(read.y0, read.y1, in);
    const vnr_picture source = rows_in(in, read.y0, read.y1), target = rows_in(out, write.y0, write.y1);
    result = vnr_plan_filter(plan, &source, &target, NULL);
    for (int i = 3; i < ROW; ++i) { /* the roughness of the strip's first row, in place of writing it to a file */
      before += abs(in[(write.y0 - read.y0) * ROW + i] - in[(write.y0 - read.y0) * ROW + i - 3]);
      after += abs(out[i] - out[i - 3]);
    }
    written = write.y1;
    ++strips;
  }
  printf("noise level %.1f, %d strips, roughness %.2f before, %.2f after\n", noise.level, strips, before / strips / ROW,
         after / strips / ROW);
  vnr_plan_end(plan);
  free(in);
  free(out);
  return result == VNR_OK && written == HEIGHT && after < 0.8 * before ? 0 : 1;
}
