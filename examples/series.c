/* One measurement for a whole series, a time lapse or a video: every frame gets the same settings, so nothing flickers.
 */
#include <stdio.h>
#include <string.h>
#include <veskaronr.h>

#include "noisy_picture.h"

enum { WIDTH = 640, HEIGHT = 360, STRIDE = 3 * WIDTH, FRAMES = 4 };

static unsigned char frames[FRAMES][HEIGHT * STRIDE], clean[HEIGHT * STRIDE];

int main(void) {
  for (int k = 0; k < FRAMES; ++k) { /* the same scene, the noise a little further each time */
    make_noisy(frames[k], WIDTH, HEIGHT, STRIDE);
    memmove(frames[k], frames[k] + 3 * k, sizeof frames[k] - 3 * k);
  }
  vnr_noise noise;
  vnr_settings settings;
  vnr_plan* plan = NULL;
  noise.struct_size = sizeof noise;
  settings.struct_size = sizeof settings;
  const vnr_picture first = vnr_interleaved(VNR_UINT8, WIDTH, HEIGHT, 3, frames[0], STRIDE);
  int result = vnr_measure(&first, NULL, &noise);
  if (result == VNR_OK) result = vnr_settings_classic(&noise, 0.8f, &settings);
  settings.params[NR_SHARPENING] = 0.1f; /* any entry may be changed */
  if (result == VNR_OK) result = vnr_plan_begin(WIDTH, HEIGHT, &settings, &plan);

  int good = result == VNR_OK;
  for (int k = 0; k < FRAMES && good; ++k) {
    const vnr_picture in = vnr_interleaved(VNR_UINT8, WIDTH, HEIGHT, 3, frames[k], STRIDE);
    const vnr_picture out = vnr_interleaved(VNR_UINT8, WIDTH, HEIGHT, 3, clean, STRIDE);
    result = vnr_plan_filter(plan, &in, &out, NULL);
    const double before = noise_left(frames[k], WIDTH, HEIGHT, STRIDE),
                 after = noise_left(clean, WIDTH, HEIGHT, STRIDE);
    printf("frame %d: level %.1f, noise %.2f before, %.2f after\n", k, noise.level, before, after);
    good = result == VNR_OK && after < 0.9 * before;
  }
  vnr_plan_end(plan);
  return good ? 0 : 1;
}
