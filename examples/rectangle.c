/* A rectangle inside a bigger picture, in place of a copy: rowStride is the bigger picture's. */
#include <VeskaroNRLib.h>
#include <stdio.h>
#include <string.h>

#include "noisy_picture.h"

enum { WIDTH = 800, HEIGHT = 600, STRIDE = 3 * WIDTH };             /* the whole */
enum { LEFT = 120, TOP = 80, RECT_WIDTH = 400, RECT_HEIGHT = 300 }; /* the part */

static unsigned char in[HEIGHT * STRIDE], out[HEIGHT * STRIDE];

/* Whether out equals in everywhere but in the rectangle. */
static int surroundings_kept(void) {
  for (int y = 0; y < HEIGHT; ++y) {
    const int inside = y >= TOP && y < TOP + RECT_HEIGHT;
    const int left = inside ? 3 * LEFT : STRIDE, right = 3 * (LEFT + RECT_WIDTH);
    if (memcmp(in + y * STRIDE, out + y * STRIDE, left) != 0) return 0;
    if (inside && memcmp(in + y * STRIDE + right, out + y * STRIDE + right, STRIDE - right) != 0) return 0;
  }
  return 1;
}

int main(void) {
  make_noisy(in, WIDTH, HEIGHT, STRIDE);
  memcpy(out, in, sizeof in);

  float params[NR_PARAM_COUNT];
  nr_def(params);
  params[NR_NOISE_LEVEL] = 1.0f;
  const size_t first = (size_t)TOP * STRIDE + 3 * LEFT;
  const int result = denoise2(RECT_WIDTH, RECT_HEIGHT, 3, STRIDE, 8, 256, 2, params, NULL, in + first, out + first);

  const int changed = memcmp(in, out, sizeof in) != 0;
  printf("result %d, noise level %.1f, surroundings %s\n", result, params[NR_NOISE_LEVEL],
         surroundings_kept() ? "untouched" : "CHANGED");
  return result == NR_OK && changed && surroundings_kept() ? 0 : 1;
}
