// Between a picture as its file has it and as it stands upright.
#pragma once

#include <veskaronr.h>

#include <utility>
#include <vector>

namespace tool::tune {

// Pixels [start, end) along one axis.
using Span = std::pair<int, int>;

class Orientation {
 public:
  // The number that EXIF has for it, and the picture's size in the file.
  Orientation(int exif, int width, int height) : exif_(exif), width_(width), height_(height) {}

  int width() const { return isTurned() ? height_ : width_; }
  int height() const { return isTurned() ? width_ : height_; }

  // From a rectangle of the upright picture to the file's.
  vnr_rectangle inFile(const vnr_rectangle& upright) const;

  // Where a pixel of a piece of this size in the file is among those of the upright piece, row by row.
  std::size_t uprightIndex(int x, int y, int width, int height) const;

  // From the file's columns and rows to the upright ones: of the same kind, or of the other.
  std::vector<Span> uprightColumns(const std::vector<Span>& columns, const std::vector<Span>& rows) const;
  std::vector<Span> uprightRows(const std::vector<Span>& columns, const std::vector<Span>& rows) const;

 private:
  bool isTurned() const { return exif_ >= 5; }
  bool isMirroredAcross() const { return exif_ == 2 || exif_ == 3 || exif_ == 7 || exif_ == 8; }  // in the file
  bool isMirroredDown() const { return exif_ == 3 || exif_ == 4 || exif_ == 6 || exif_ == 7; }

  int exif_, width_, height_;
};

}  // namespace tool::tune
