/* An exact preview with pan: only what the view shows is filtered, with the bytes of the whole run. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <veskaronr.h>

#include "noisy_picture.h"

enum { WIDTH = 2000, HEIGHT = 1400, STRIDE = 3 * WIDTH, VIEW_WIDTH = 500, VIEW_HEIGHT = 350 };

/* What the host does whenever the view has moved: in is the open picture, view the pixels on the screen. */
static int show(const vnr_plan* plan, const vnr_picture* in, int left, int top, unsigned char* view) {
  vnr_picture out = vnr_interleaved(VNR_UINT8, VIEW_WIDTH, VIEW_HEIGHT, 3, view, 3 * VIEW_WIDTH);
  out.x = left; /* where the view lies in the whole picture */
  out.y = top;
  return vnr_plan_filter(plan, in, &out, NULL);
}

int main(void) {
  unsigned char* picture = malloc((size_t)HEIGHT * STRIDE);
  unsigned char* whole = malloc((size_t)HEIGHT * STRIDE);
  unsigned char view[3 * VIEW_WIDTH * VIEW_HEIGHT];
  if (!picture || !whole) return 1;
  make_noisy(picture, WIDTH, HEIGHT, STRIDE);
  const vnr_picture in = vnr_interleaved(VNR_UINT8, WIDTH, HEIGHT, 3, picture, STRIDE);

  /* Once, when the picture is opened... */
  vnr_noise noise;
  vnr_settings settings;
  vnr_plan* plan = NULL;
  noise.struct_size = sizeof noise;
  settings.struct_size = sizeof settings;
  int result = vnr_measure(&in, NULL, &noise);
  if (result == VNR_OK) result = vnr_settings_classic(&noise, 1.0f, &settings);
  /* ...and anew whenever a dial moves: measuring is not needed again. */
  if (result == VNR_OK) result = vnr_plan_begin(WIDTH, HEIGHT, &settings, &plan);

  const vnr_picture all = vnr_interleaved(VNR_UINT8, WIDTH, HEIGHT, 3, whole, STRIDE);
  if (result == VNR_OK) result = vnr_plan_filter(plan, &in, &all, NULL);
  int equal = result == VNR_OK;
  for (int step = 0; equal && step < 4; ++step) {
    const int left = 130 + 410 * step, top = 90 + 300 * step;
    result = show(plan, &in, left, top, view);
    for (int y = 0; y < VIEW_HEIGHT && result == VNR_OK; ++y) {
      equal = equal &&
              memcmp(view + 3 * VIEW_WIDTH * y, whole + (size_t)(top + y) * STRIDE + 3 * left, 3 * VIEW_WIDTH) == 0;
    }
    printf("view at %d, %d: %s, %s\n", left, top, vnr_result_text(result), equal ? "as in the whole" : "DIFFERS");
  }
  vnr_plan_end(plan);
  free(picture);
  free(whole);
  return result == VNR_OK && equal ? 0 : 1;
}
