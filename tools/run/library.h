// What calls of the library share.
#pragma once

#include <veskaronr.h>

#include <memory>

#include "pictures/photo.h"
#include "run/watch.h"

namespace tool::run {

// Samples in the photograph's layout. The library reads a picture that is only given to be read.
vnr_picture pictureOf(const pictures::Photo& photo, const std::uint8_t* samples);

struct EndPlan {
  void operator()(vnr_plan* plan) const { vnr_plan_end(plan); }
};
using Plan = std::unique_ptr<vnr_plan, EndPlan>;

// Throws Failure.
Plan beginPlan(int width, int height, const vnr_settings& settings);

// Tells the share of the strip at hand as one of the whole picture.
struct StripProgress {
  const Watch& watch;
  double begin = 0, share = 1;  // of the picture: before the strip, and of the strip
};

// Tells the progress, which must live as long, and stops as it says.
vnr_control controlOf(int threads, StripProgress& progress);

// Throws Interrupted for a cancelled call, and Failure for any other that has not succeeded.
void requireDone(int result);

}  // namespace tool::run
