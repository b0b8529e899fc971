// A program that asks libvips for regions of a filtered picture, as a viewer does: FILE. Ends with 0 if all is well.
#include <vips/vips.h>

#include <cstdio>
#include <cstring>
#include <random>
#include <thread>
#include <vector>

namespace {

VipsImage* filtered(const char* file) {
  VipsImage *in = vips_image_new_from_file(file, nullptr), *out = nullptr;
  if (in == nullptr || vips_call("veskaro_denoise", in, &out, "preset", 0, nullptr) != 0) vips_error_exit("filter");
  g_object_unref(in);
  return out;
}

bool isAsWhole(VipsRegion* region, const VipsRect& r, const std::vector<char>& whole) {
  if (vips_region_prepare(region, &r) != 0) return false;
  const std::size_t row = VIPS_IMAGE_SIZEOF_LINE(region->im), pixel = VIPS_IMAGE_SIZEOF_PEL(region->im);
  for (int y = r.top; y < r.top + r.height; ++y) {
    const char* wanted = whole.data() + y * row + r.left * pixel;
    if (std::memcmp(VIPS_REGION_ADDR(region, r.left, y), wanted, r.width * pixel) != 0) return false;
  }
  return true;
}

// Regions of any place and size, from an empty one to the whole, as one of several threads.
void look(VipsImage* image, const std::vector<char>& whole, unsigned seed, bool* isRight) {
  std::mt19937 random(seed);
  VipsRegion* region = vips_region_new(image);
  *isRight = region != nullptr;
  for (int round = 0; round < 12 && *isRight; ++round) {
    const int left = static_cast<int>(random() % image->Xsize), top = static_cast<int>(random() % image->Ysize);
    const int wide = 1 + static_cast<int>(random() % (image->Xsize - left));
    *isRight = isAsWhole(region, {left, top, round % 3 ? wide : 1, image->Ysize - top < 40 ? 1 : 40}, whole);
  }
  g_object_unref(region);
  vips_thread_shutdown();
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 2 || VIPS_INIT(arguments[0]) != 0) return 2;
  vips_cache_set_max(0);  // so that the second operation is another one
  VipsImage* image = filtered(arguments[1]);
  std::size_t bytes = 0;
  char* memory = static_cast<char*>(vips_image_write_to_memory(image, &bytes));
  if (memory == nullptr) vips_error_exit("write");
  const std::vector<char> whole(memory, memory + bytes);
  g_free(memory);
  g_object_unref(image);

  image = filtered(arguments[1]);
  bool isRight[4];
  std::vector<std::thread> threads;
  for (unsigned n = 0; n < 4; ++n) threads.emplace_back(look, image, std::cref(whole), n, &isRight[n]);
  for (std::thread& thread : threads) thread.join();
  g_object_unref(image);  // closed with most of it never asked for
  vips_shutdown();
  std::puts("compared");
  return isRight[0] && isRight[1] && isRight[2] && isRight[3] ? 0 : 1;
}
