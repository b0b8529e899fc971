/* The least a host needs: a picture in, a clean picture out. */
#include <VeskaroNRLib.h>
#include <stdio.h>
#include <stdlib.h>

#include "noisy_picture.h"

/* Reads an 8-bit binary PPM file without comments; null when it cannot be read. */
static unsigned char* read_ppm(const char* name, int* width, int* height) {
  FILE* file = fopen(name, "rb");
  unsigned char* picture = NULL;
  int white = 0;
  if (file && fscanf(file, "P6 %d %d %d", width, height, &white) == 3 && white == 255 && *width > 0 && *height > 0 &&
      *width < 100000 && *height < 100000) {
    const size_t size = (size_t)*width * *height * 3;
    fgetc(file); /* the one white space after the head */
    picture = malloc(size);
    if (picture && fread(picture, 1, size, file) != size) {
      free(picture);
      picture = NULL;
    }
  }
  if (file) fclose(file);
  return picture;
}

static int write_ppm(const char* name, const unsigned char* picture, int width, int height) {
  FILE* file = fopen(name, "wb");
  if (!file) return 0;
  fprintf(file, "P6\n%d %d\n255\n", width, height);
  const size_t size = (size_t)width * height * 3;
  const int written = fwrite(picture, 1, size, file) == size;
  return fclose(file) == 0 && written;
}

int main(int argc, char** argv) {
  int width = 640, height = 480;
  unsigned char* in = argc == 3 ? read_ppm(argv[1], &width, &height) : malloc((size_t)width * height * 3);
  unsigned char* out = in ? malloc((size_t)width * height * 3) : NULL;
  if (!out) {
    fprintf(stderr, "%s: cannot be read\n", argc == 3 ? argv[1] : "picture");
    free(in);
    return 1;
  }
  if (argc != 3) make_noisy(in, width, height, 3 * (size_t)width);

  float params[NR_PARAM_COUNT];
  nr_def(params);
  params[NR_NOISE_LEVEL] = 1.0f; /* the strength, 0.5 to 1.5; set it before every call */

  const int threads = 4;
  const int result = denoise2(width, height, 3, 3 * width, 8, 256, threads, params, NULL, in, out);

  int good = result == NR_OK;
  if (!good) {
    fprintf(stderr, "denoise2 failed with code %d\n", result);
  } else if (argc == 3) {
    printf("measured noise level %.1f\n", params[NR_NOISE_LEVEL]);
    good = write_ppm(argv[2], out, width, height);
  } else {
    const double before = noise_left(in, width, height, 3 * (size_t)width);
    const double after = noise_left(out, width, height, 3 * (size_t)width);
    printf("measured noise level %.1f; noise %.2f before, %.2f after\n", params[NR_NOISE_LEVEL], before, after);
    good = after < 0.8 * before;
  }
  free(in);
  free(out);
  return good ? 0 : 1;
}
