#include "tiled/plan.h"

namespace veskaro::tiled {

TileBlock tilesTouching(const Plan& plan, const pixels::Region& part) {
  return {tilesTouching(plan.grid.x, part.x0, part.x1), tilesTouching(plan.grid.y, part.y0, part.y1)};
}

pixels::Region readBy(const Plan& plan, const TileBlock& tiles) {
  const auto spanOf = [](const GridAxis& axis, int picture, int tile) { return tileSpan(axis, picture, tile); };
  return {spanOf(plan.grid.x, plan.width, tiles.x.first).readStart,
          spanOf(plan.grid.x, plan.width, tiles.x.end - 1).readEnd,
          spanOf(plan.grid.y, plan.height, tiles.y.first).readStart,
          spanOf(plan.grid.y, plan.height, tiles.y.end - 1).readEnd};
}

pixels::Region writtenBy(const Plan& plan, const TileBlock& tiles) {
  const auto mainEnd = [](const GridAxis& axis, int picture, int tile) {
    const TileSpan span = tileSpan(axis, picture, tile);
    return span.mainStart + span.mainSize;
  };
  return {tileSpan(plan.grid.x, plan.width, tiles.x.first).mainStart, mainEnd(plan.grid.x, plan.width, tiles.x.end - 1),
          tileSpan(plan.grid.y, plan.height, tiles.y.first).mainStart,
          mainEnd(plan.grid.y, plan.height, tiles.y.end - 1)};
}

}  // namespace veskaro::tiled
