/* The building blocks on the caller's own pyramid: a level image is filtered, halved, filtered again, and so on, then
 * rebuilt from coarse to fine. That is what denoise_tile does; the program ends by comparing with it. */
#include <VeskaroNRLib.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "noisy_picture.h"

enum { WIDTH = 200, HEIGHT = 150, LEVELS = 4 };

struct level {
  int width, height;
  float* image;      /* the level */
  float* difference; /* prediction minus level; scratch of the filter before */
};

static float* floats(size_t count) {
  float* memory = calloc(count, sizeof(float));
  if (!memory) exit(1);
  return memory;
}

/* The rectangle that a filter may process: two pixels inside the level. */
static void filter(int rang, struct level* level, float* dest, float* temp) {
  int inside[4] = {2, level->width - 2, 2, level->height - 2};
  noiseReduce_set(rang, level->width, level->height, inside, 3, 1, 0, level->difference, dest, temp, level->image);
}

/* A prediction leaves the one-pixel frame alone, so it starts from zeros. */
static void predict(const struct level* fine, const struct level* coarse, float* prediction) {
  memset(prediction, 0, sizeof(float) * 3 * fine->width * fine->height);
  similarityReconstruct(fine->width, fine->height, coarse->image, fine->image, prediction);
}

int main(void) {
  static unsigned char picture[HEIGHT * WIDTH * 3];
  make_noisy(picture, WIDTH, HEIGHT, 3 * WIDTH);

  /* The tuning variables are the host's business here. */
  float params[NR_PARAM_COUNT];
  nr_def(params);
  params[NR_NOISE_LEVEL] = 60.0f;
  calcParams(params);

  struct level levels[LEVELS];
  for (int k = 0, w = WIDTH, h = HEIGHT; k < LEVELS; ++k, w = (w + 1) / 2, h = (h + 1) / 2) {
    levels[k].width = w;
    levels[k].height = h;
    levels[k].image = floats((size_t)3 * w * h);
    levels[k].difference = floats((size_t)3 * w * h);
  }
  for (int i = 0; i < 3 * WIDTH * HEIGHT; ++i) levels[0].image[i] = picture[i];

  const size_t size = (size_t)3 * WIDTH * HEIGHT, pyramid = (size_t)3 * len_pyram(3, WIDTH, HEIGHT);
  const double before = noise_left(picture, WIDTH, HEIGHT, 3 * WIDTH);
  float *dest = floats(size), *temp = floats(size), *tile = floats(pyramid), *tile_difference = floats(pyramid);
  memcpy(tile, levels[0].image, size * sizeof(float));

  filter(0, &levels[0], dest, temp);
  for (int k = 0; k + 1 < LEVELS; ++k) {
    struct level *fine = &levels[k], *coarse = &levels[k + 1];
    similarityLift(fine->width, fine->height, coarse->width, coarse->height, fine->image, coarse->image);
    predict(fine, coarse, temp);
    differencePass(fine->width, fine->height, fine->image, temp, fine->difference);
    filter(k + 1, coarse, dest, temp);
  }
  for (int k = LEVELS - 2; k >= 0; --k) {
    struct level *fine = &levels[k], *coarse = &levels[k + 1];
    predict(fine, coarse, temp);
    unDifferencePass(fine->width, fine->height, temp, fine->difference, fine->image);
  }

  int inside[4] = {2, WIDTH - 2, 2, HEIGHT - 2};
  denoise_tile(WIDTH, HEIGHT, inside, 3, 1, tile_difference, dest, temp, tile);
  const int same = memcmp(tile, levels[0].image, size * sizeof(float)) == 0;

  for (size_t i = 0; i < size; ++i) {
    const float v = levels[0].image[i];
    picture[i] = (unsigned char)(v < 0 ? 0 : v > 255 ? 255 : v);
  }
  const double after = noise_left(picture, WIDTH, HEIGHT, 3 * WIDTH);
  printf("noise %.2f before, %.2f after; %s denoise_tile\n", before, after,
         same ? "the same floats as" : "DIFFERENT from");
  for (int k = 0; k < LEVELS; ++k) {
    free(levels[k].image);
    free(levels[k].difference);
  }
  free(dest);
  free(temp);
  free(tile);
  free(tile_difference);
  return same && after < 0.5 * before ? 0 : 1;
}
