#include "vips/grid.h"

#include <cstdint>

namespace plugin {
namespace {

// From what the first and the last tile of a picture write.
bool axisOf(int picture, int firstEnd, int lastStart, GridAxis* axis) {
  axis->picture = picture;
  axis->unit = firstEnd;
  axis->tiles = lastStart / firstEnd + 1;
  axis->cell = picture - lastStart > firstEnd ? picture - lastStart : firstEnd;
  return std::int64_t{axis->cell} * axis->tiles <= VNR_MOST_PIXELS;
}

}  // namespace

bool gridOf(const vnr_plan* plan, int width, int height, Grid* grid) {
  const vnr_rectangle firstPixel = {0, 1, 0, 1}, lastPixel = {width - 1, width, height - 1, height};
  vnr_rectangle read, first, last;
  return vnr_plan_cover(plan, &firstPixel, &read, &first) == VNR_OK &&
         vnr_plan_cover(plan, &lastPixel, &read, &last) == VNR_OK && axisOf(width, first.x1, last.x0, &grid->x) &&
         axisOf(height, first.y1, last.y0, &grid->y);
}

}  // namespace plugin
