// The noise of a clip, steady from frame to frame.
//
// Every frame's own measurement scatters by several percent, which shows as flicker. So the noise that is filtered with
// goes slowly, by at most one percent a frame, towards the mean of the last five measurements. Where that mean lies
// further than a tenth away, the noise is another one, and is taken at once; so is a new scene's first.
//
// Measuring costs a sixth of what filtering does, so every fourth frame is measured; but every one where a scene begins
// and while the last measurement lies further than a tenth away.
#pragma once

#include "veskaronr.h"

namespace plugin {

class SteadyNoise {
 public:
  void startScene() { *this = SteadyNoise(); }

  // Whether the next frame is to be measured.
  bool wants() const { return count_ < kRecent || isUnsure_ || sinceMeasured_ + 1 >= kEvery; }
  bool isEmpty() const { return count_ == 0; }

  // One frame further: with its measurement, or null.
  void advance(const vnr_noise* frame);

  // What to filter with. A frame whose noise cannot be told, a black one, leaves it as it was.
  const vnr_noise& current() const { return current_; }

 private:
  static constexpr int kRecent = 5;
  static constexpr int kEvery = 4;

  void add(const vnr_noise& frame);
  vnr_noise recentMean() const;

  vnr_noise recent_[kRecent] = {};
  int count_ = 0;          // measurements of this scene
  int sinceMeasured_ = 0;  // frames
  bool isUnsure_ = false;
  vnr_noise current_ = {};
  vnr_noise mean_ = {};
};

}  // namespace plugin
