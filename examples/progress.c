/* Progress, and a user who changes their mind: a call tells how far it is and stops when asked to. */
#include <stdio.h>
#include <stdlib.h>
#include <veskaronr.h>

#include "noisy_picture.h"

enum { WIDTH = 1600, HEIGHT = 1200, STRIDE = 3 * WIDTH };

struct user {
  int patience; /* in percent */
  int seen;
};

/* Called after every tile, by one thread at a time. */
static int tell(void* host, int64_t done, int64_t total) {
  struct user* user = host;
  const int percent = (int)(100 * done / total);
  if (percent / 20 > user->seen / 20) printf("  %d %%\n", percent);
  user->seen = percent;
  return percent >= user->patience; /* anything but 0 cancels */
}

static int denoise(const vnr_picture* in, const vnr_picture* out, struct user* user) {
  vnr_control control = {sizeof(vnr_control), 0, NULL, tell, NULL, user};
  /* A flag that another thread sets, when a button is pressed, would do as well: control.cancel. */
  const int result = vnr_denoise(in, out, NULL, &control);
  printf("%s\n", vnr_result_text(result));
  return result;
}

int main(void) {
  unsigned char* picture = malloc((size_t)HEIGHT * STRIDE);
  unsigned char* result = malloc((size_t)HEIGHT * STRIDE);
  if (!picture || !result) return 1;
  make_noisy(picture, WIDTH, HEIGHT, STRIDE);
  const vnr_picture in = vnr_interleaved(VNR_UINT8, WIDTH, HEIGHT, 3, picture, STRIDE);
  const vnr_picture out = vnr_interleaved(VNR_UINT8, WIDTH, HEIGHT, 3, result, STRIDE);

  struct user hasty = {40, 0}, patient = {1000, 0};
  const int cancelled = denoise(&in, &out, &hasty); /* the result is of no use then */
  const int done = denoise(&in, &out, &patient);
  const double before = noise_left(picture, WIDTH, HEIGHT, STRIDE), after = noise_left(result, WIDTH, HEIGHT, STRIDE);
  free(picture);
  free(result);
  return cancelled == VNR_CANCELLED && done == VNR_OK && patient.seen == 100 && after < before ? 0 : 1;
}
