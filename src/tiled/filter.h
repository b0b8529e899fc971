// The tiles of a picture, or of a piece of it, on a team.
#ifndef VESKARO_TILED_FILTER_H
#define VESKARO_TILED_FILTER_H

#include "platform/loop.h"
#include "tiled/plan.h"
#include "tiled/tile.h"

namespace veskaro::tiled {

struct FilterCall {
  const Plan& plan;
  const pixels::PictureView& in;  // holds readBy the tiles that out touches
  const pixels::PictureView& out;
  const pixels::SampleScale& scale;
};

// The fastest form that the processor has.
Engine chooseEngine(const Plan& plan, pixels::SampleType type);

// work: control.threads slices of engine.floats floats each, or null to take them. kNoWorker: out of memory.
platform::LoopResult filter(const FilterCall& call, const Engine& engine, const platform::Control& control,
                            float* work);

}  // namespace veskaro::tiled

#endif  // VESKARO_TILED_FILTER_H
