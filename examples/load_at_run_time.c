/* The library as an option: loaded with dlopen when it is there. Its name may be given by VESKARONR_LIBRARY.
 * Once loaded it stays, since its threads live on, asleep: dlclose is allowed and unmaps nothing. */
#include <VeskaroNRLib.h>
#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "noisy_picture.h"

enum { WIDTH = 320, HEIGHT = 240, STRIDE = 3 * WIDTH };
static unsigned char in[HEIGHT * STRIDE], out[HEIGHT * STRIDE];

/* The header's own declarations give the types. */
static __typeof__(&nr_def) defaults;
static __typeof__(&denoise2) denoise;

static int find(void* library) {
  void* found = dlsym(library, "nr_def");
  memcpy(&defaults, &found, sizeof found);
  found = dlsym(library, "denoise2");
  memcpy(&denoise, &found, sizeof found);
  return defaults && denoise;
}

int main(void) {
  const char* named = getenv("VESKARONR_LIBRARY");
  void* library = dlopen(named && *named ? named : "VeskaroNRLib.so.1", RTLD_NOW | RTLD_LOCAL);
  if (!library || !find(library)) {
    fprintf(stderr, "noise reduction is not available: %s\n", dlerror());
    return 1;
  }
  /* Variables are found by name as well. */
  const float* white = dlsym(library, "WHITE_LEVEL");

  float params[NR_PARAM_COUNT];
  defaults(params);
  params[NR_NOISE_LEVEL] = 1.0f;
  make_noisy(in, WIDTH, HEIGHT, STRIDE);
  const int result = denoise(WIDTH, HEIGHT, 3, STRIDE, 8, 256, 2, params, NULL, in, out);
  const double before = noise_left(in, WIDTH, HEIGHT, STRIDE), after = noise_left(out, WIDTH, HEIGHT, STRIDE);
  printf("white level %g, result %d, noise %.2f before, %.2f after\n", white ? *white : 0.0, result, before, after);
  dlclose(library);
  return result == NR_OK && white && *white == 255 && after < 0.8 * before ? 0 : 1;
}
