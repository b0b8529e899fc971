#ifndef VESKARO_PIXELS_RECTANGLE_H
#define VESKARO_PIXELS_RECTANGLE_H

namespace veskaro::pixels {

// Pixels that a filter writes; ends are exclusive.
struct Rectangle {
  int xStart, xEnd, yStart, yEnd;

  // From the int[4] of the public interface.
  static Rectangle fromCoordinates(const int* c) { return {c[0], c[1], c[2], c[3]}; }

  bool isEmpty() const { return xStart >= xEnd || yStart >= yEnd; }

  // The row at which a loop over the rows stops.
  int endRow() const { return yStart < yEnd ? yEnd : yStart; }
};

}  // namespace veskaro::pixels

#endif  // VESKARO_PIXELS_RECTANGLE_H
