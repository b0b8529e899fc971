// Isolated dots, which a filter by similarity leaves: nothing around resembles them. A pixel goes to the range of its
// eight neighbours where these lie within a radius of each other, and the pixel less than five radii beyond them.
// What is brighter stays, as a star does; lines stay, since two of the neighbours lie on them.
#ifndef VESKARO_DOTS_DOTS_H
#define VESKARO_DOTS_DOTS_H

#include <cmath>
#include <initializer_list>

namespace veskaro::dots {

constexpr int kReach = 1;          // pixels that are looked at around one
constexpr float kFarthest = 5.0f;  // radii beyond the neighbours

namespace plain {

inline float lesser(float a, float b) {
  return a < b ? a : b;
}
inline float greater(float a, float b) {
  return a > b ? a : b;
}

// The middle value of three rows of three. Adding 0 makes one zero of both.
inline float withoutDot(const float (&v)[3][3], float radius) {
  float low = lesser(v[0][1], v[2][1]), high = greater(v[0][1], v[2][1]);
  for (const int x : {0, 2}) {
    for (const auto& row : v) {
      low = lesser(low, row[x]);
      high = greater(high, row[x]);
    }
  }
  const float within = greater(low, lesser(high, v[1][1]));
  const bool isDot = high - low < radius && std::fabs(v[1][1] - within) < kFarthest * radius;
  return isDot ? within + 0.0f : v[1][1];
}

}  // namespace plain
}  // namespace veskaro::dots

#endif  // VESKARO_DOTS_DOTS_H
