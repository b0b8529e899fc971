// Samples of a photograph as a screen shows them.
#pragma once

#include <array>
#include <vector>

#include "pictures/photo.h"
#include "tune/orientation.h"

namespace tool::tune {

class Screen {
 public:
  // Asks once what becomes of the photograph's colours; the photograph has to live as long.
  Screen(const pictures::Photo& photo, const Orientation& orientation);

  // A piece in the photograph's layout as red, green, blue and alpha of sRGB, 8 bits each, upright.
  pictures::Bytes upright(const std::uint8_t* samples, int width, int height) const;

 private:
  float sampleAt(const std::uint8_t* pixel, int band) const;  // 0 to 1
  void show(const std::uint8_t* pixel, std::uint8_t* to) const;
  void showByTable(const std::uint8_t* pixel, std::uint8_t* to) const;

  const pictures::Photo& photo_;
  const Orientation& orientation_;
  const std::size_t sampleBytes_;
  std::vector<std::uint8_t> table_;  // sRGB by red, green and blue; empty: the numbers are shown as they are
};

}  // namespace tool::tune
