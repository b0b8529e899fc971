/* An own parameter vector, and what becomes of it: denoise2 measures the noise and writes what it found. */
#include <VeskaroNRLib.h>
#include <stdio.h>
#include <string.h>

#include "noisy_picture.h"

enum { WIDTH = 500, HEIGHT = 400, STRIDE = 3 * WIDTH };

static unsigned char in[HEIGHT * STRIDE], plain[HEIGHT * STRIDE], smooth[HEIGHT * STRIDE];

int main(void) {
  make_noisy(in, WIDTH, HEIGHT, STRIDE);

  /* The defaults... */
  float params[NR_PARAM_COUNT];
  nr_def(params);
  params[NR_NOISE_LEVEL] = 1.0f;
  int result = denoise2(WIDTH, HEIGHT, 3, STRIDE, 8, 256, 2, params, NULL, in, plain);
  if (result != NR_OK) return 1;
  const float measured = params[NR_NOISE_LEVEL];

  /* ...and a smoother look: all luminance from the filter, no sharpening. The first entry holds the noise level by
   * now, so the strength is set anew. */
  params[NR_NOISE_LEVEL] = 1.0f;
  params[NR_LUMA_KEEP] = 0.0f;
  params[NR_SHARPENING] = 0.0f;
  params[NR_CHROMA_SHARPENING] = 0.0f;
  result = denoise2(WIDTH, HEIGHT, 3, STRIDE, 8, 256, 2, params, NULL, in, smooth);
  if (result != NR_OK) return 1;

  const double before = noise_left(in, WIDTH, HEIGHT, STRIDE);
  const double with_defaults = noise_left(plain, WIDTH, HEIGHT, STRIDE);
  const double with_own = noise_left(smooth, WIDTH, HEIGHT, STRIDE);
  printf("measured %.1f both times: %s\n", measured, measured == params[NR_NOISE_LEVEL] ? "yes" : "NO");
  printf("noise %.2f before, %.2f with the defaults, %.2f with own parameters\n", before, with_defaults, with_own);

  /* A picture too small to be measured is filtered with the defaults, and the whole vector says so. */
  float defaults[NR_PARAM_COUNT];
  nr_def(defaults);
  params[NR_NOISE_LEVEL] = 1.0f;
  result = denoise2(20, 20, 3, STRIDE, 8, 256, 2, params, NULL, in, plain);
  const int fell_back = result == NR_OK && memcmp(params, defaults, sizeof params) == 0;
  printf("20 x 20 pixels: %s\n", fell_back ? "defaults used" : "UNEXPECTED");
  return measured == defaults[NR_NOISE_LEVEL] || with_own >= with_defaults || !fell_back;
}
