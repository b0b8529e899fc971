// Whole files in and out. A result appears under its name only when it is complete.
#pragma once

#include <string>

#include "pictures/bytes.h"

namespace tool::pictures {

// The name that stands for standard input where a file is read, and for standard output where one is written.
inline bool isStandardStream(const std::string& path) {
  return path == "-";
}

// The file's bytes; "-" reads standard input. Throws Failure.
Bytes readWhole(const std::string& path);

// What a file begins with, enough to know its format by.
struct Beginning {
  bool isFile = false;  // not a pipe or device, which would lose what is read, nor one that cannot be read
  std::uintmax_t size = 0;
  Bytes bytes;
};
Beginning readBeginning(const std::string& path);

// Has the system read the file ahead, while other work goes on.
void willRead(const std::string& path);

// Whether a file has the name of one that is being written, or was when its process was killed; and removing those from
// a folder that nobody writes any more.
bool isLeftover(const std::string& path);
void removeLeftovers(const std::string& folder);

// Writes bytes to a new file in path's folder and renames it to path; "-" writes to standard output. An existing
// file is replaced only when overwrite is set. Throws Failure, and leaves nothing behind then, nor when a signal ends
// the process.
void writeWhole(const std::string& path, const std::uint8_t* bytes, std::size_t size, bool overwrite);
inline void writeWhole(const std::string& path, const Bytes& bytes, bool overwrite) {
  writeWhole(path, bytes.data(), bytes.size(), overwrite);
}

}  // namespace tool::pictures
