// The directories of a TIFF structure, as they lie in a file or an EXIF block: as much of them as is asked for here.
#pragma once

#include <functional>
#include <optional>

#include "pictures/bytes.h"

namespace tool::pictures {

class TiffDirectories {
 public:
  struct Entry {
    std::size_t tag, type, count;
    std::size_t field;  // where the value, or where it lies, is
  };

  // The bytes stay the caller's. Nothing is found in what is no (classic) TIFF structure.
  explicit TiffDirectories(const Bytes& bytes);

  // Where the first directory is, and the one after another; 0: there is none.
  std::size_t first() const;
  std::size_t next(std::size_t directory) const;
  std::vector<Entry> entries(std::size_t directory) const;
  std::optional<Entry> find(std::size_t directory, std::size_t tag) const;
  // The entry's values, whole numbers of 16 or 32 bits; at most so many.
  std::vector<std::size_t> numbers(const Entry& entry, std::size_t most) const;

  // What the bytes at a place are to be for a number of 2 or 4 of them.
  static void put(Bytes& bytes, std::size_t at, std::size_t size, std::size_t value);

 private:
  std::size_t number(std::size_t at, std::size_t size) const;

  const Bytes& bytes_;
  bool isTiff_ = false;
};

// Sets the tag that says how the picture is to be turned, where there is one.
void setOrientation(Bytes& exif, int orientation);

// True of a TIFF file that holds what a camera's sensor saw, or a thumbnail in front of it.
bool isRawTiff(const Bytes& file);

}  // namespace tool::pictures
