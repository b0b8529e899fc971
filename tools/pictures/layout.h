// What a picture is made of, as far as the user is told.
#pragma once

namespace tool::pictures {

enum class Colour { kGrey, kRgb, kRgbe };

struct Layout {
  int width = 0;
  int height = 0;
  int bits = 8;  // of a sample
  Colour colour = Colour::kRgb;
  int channels = 3;  // alpha and the like, or the shared exponent, included
  bool isFloat = false;

  double megapixels() const { return static_cast<double>(width) * height * 1e-6; }
};

}  // namespace tool::pictures
