/* A picture to work on: a soft gradient with a disc, and noise from a small generator. Not part of the library. */
#ifndef NOISY_PICTURE_H
#define NOISY_PICTURE_H

#include <stddef.h>

static inline unsigned noisy_next(unsigned* state) {
  *state = *state * 1664525u + 1013904223u;
  return *state >> 16;
}

/* The value without noise of sample s (0 red, 1 green, 2 blue) of pixel (x, y), 0..255. */
static inline double clean_sample(int width, int height, int x, int y, int s) {
  const double dx = x - width / 2.0, dy = y - height / 2.0, radius = height / 4.0;
  const double base = 60 + 90.0 * x / width + 40.0 * y / height + (dx * dx + dy * dy < radius * radius ? 40 : 0);
  return base * (s == 0 ? 1.0 : s == 1 ? 0.9 : 0.7);
}

/* Fills a picture whose rows are stride bytes apart. */
static inline void make_noisy(unsigned char* picture, int width, int height, size_t stride) {
  unsigned state = 1;
  for (int y = 0; y < height; ++y) {
    for (int i = 0; i < 3 * width; ++i) {
      int noise = -42;
      for (int k = 0; k < 12; ++k) noise += (int)(noisy_next(&state) & 7);
      const double value = clean_sample(width, height, i / 3, y, i % 3) + noise;
      picture[y * stride + i] = (unsigned char)(value < 0 ? 0 : value > 255 ? 255 : value);
    }
  }
}

/* The mean deviation of a picture from what it would be without noise. */
static inline double noise_left(const unsigned char* picture, int width, int height, size_t stride) {
  double sum = 0;
  for (int y = 0; y < height; ++y) {
    for (int i = 0; i < 3 * width; ++i) {
      const double d = picture[y * stride + i] - clean_sample(width, height, i / 3, y, i % 3);
      sum += d < 0 ? -d : d;
    }
  }
  return sum / (3.0 * width * height);
}

#endif
