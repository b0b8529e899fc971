// Tells where a clip cuts to another scene, from a coarse picture of every frame.
#pragma once

#include <cstdint>

namespace plugin {

class CutDetector {
 public:
  // Whether this frame, of red, green, blue and alpha, belongs to another scene than the one before; the first does.
  bool isCut(double time, const std::uint8_t* frame, int width, int height);

 private:
  static constexpr int kColumns = 32, kRows = 18;

  double sumOfChanges(const float (&cells)[kRows][kColumns]) const;

  bool hasFrame_ = false;
  double time_ = 0.0;
  float cells_[kRows][kColumns] = {};  // brightness of each cell of a grid over the frame
};

}  // namespace plugin
