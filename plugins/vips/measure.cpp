#include "vips/measure.h"

#include <mutex>

#include "common/memory.h"

namespace plugin {
namespace {

constexpr int kTile = 256;  // a multiple of 32: no block is cut

struct Sweep {
  const Layout& layout;
  vnr_measurement* whole;
  std::mutex merging;
  int result;  // the first that was none
};

void* start(VipsImage* image, void*, void*) {
  return measurementFor(image->Xsize, image->Ysize).release();
}

int add(VipsRegion* region, void* own, void*, void* sweep, gboolean*) {
  vnr_control here = {sizeof(vnr_control), 1, nullptr, nullptr, nullptr, nullptr};
  const vnr_picture piece = static_cast<Sweep*>(sweep)->layout.picture(region);
  const int result = vnr_measure_add(static_cast<vnr_measurement*>(own), &piece, &here);
  if (result != VNR_OK) vips_error("veskaro_denoise", "%s", vnr_result_text(result));
  return result == VNR_OK ? 0 : -1;
}

int stop(void* own, void*, void* sweep) {
  const Measurement mine(static_cast<vnr_measurement*>(own));
  Sweep& all = *static_cast<Sweep*>(sweep);
  const std::lock_guard<std::mutex> lock(all.merging);
  const int result = vnr_measure_merge(all.whole, mine.get());
  if (all.result == VNR_OK) all.result = result;
  return 0;
}

}  // namespace

bool measure(VipsImage* image, const Layout& layout, vnr_noise* noise) {
  const Measurement whole = measurementFor(image->Xsize, image->Ysize);
  Sweep sweep = {layout, whole.get(), {}, whole ? VNR_OK : VNR_ERROR_MEMORY};
  if (whole && vips_sink_tile(image, kTile, kTile, start, add, stop, nullptr, &sweep) != 0) return false;
  noise->struct_size = sizeof *noise;
  if (sweep.result == VNR_OK) sweep.result = vnr_measure_finish(whole.get(), noise);
  if (sweep.result != VNR_OK) vips_error("veskaro_denoise", "%s", vnr_result_text(sweep.result));
  return sweep.result == VNR_OK;
}

}  // namespace plugin
