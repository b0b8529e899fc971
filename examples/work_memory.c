/* Work memory of the caller, taken once and used for many pictures: the library then takes none of that size itself. */
#include <VeskaroNRLib.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "noisy_picture.h"

enum { WIDTH = 500, HEIGHT = 400, STRIDE = 3 * WIDTH, TILE = 256, THREADS = 2 };

static unsigned char in[HEIGHT * STRIDE], out[HEIGHT * STRIDE], reference[HEIGHT * STRIDE];

static int denoise(unsigned char* work, float strength, unsigned char* result) {
  float params[NR_PARAM_COUNT];
  nr_def(params);
  params[NR_NOISE_LEVEL] = strength;
  return denoise2(WIDTH, HEIGHT, 3, STRIDE, 8, TILE, THREADS, params, work, in, result);
}

int main(void) {
  /* The same four arguments as the calls that will use it. */
  const int bytes = mem4denoise(WIDTH, HEIGHT, TILE, THREADS);
  unsigned char* work = bytes > 0 ? malloc(bytes) : NULL;
  if (!work) {
    fprintf(stderr, "no work memory (%d)\n", bytes);
    return 1;
  }
  make_noisy(in, WIDTH, HEIGHT, STRIDE);
  int good = 1;
  for (int k = 0; k < 3; ++k) {
    const float strength = 0.5f + 0.5f * k;
    good = good && denoise(work, strength, out) == NR_OK && denoise(NULL, strength, reference) == NR_OK &&
           memcmp(out, reference, sizeof out) == 0;
  }
  printf("%d bytes served three calls: %s\n", bytes, good ? "the same pictures as without" : "FAILED");
  free(work);
  return good ? 0 : 1;
}
