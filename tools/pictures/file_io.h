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

// Writes bytes to a new file in path's folder and renames it to path; "-" writes to standard output. An existing
// file is replaced only when overwrite is set. Throws Failure, and leaves nothing behind then, nor when a signal ends
// the process.
void writeWhole(const std::string& path, const std::uint8_t* bytes, std::size_t size, bool overwrite);
inline void writeWhole(const std::string& path, const Bytes& bytes, bool overwrite) {
  writeWhole(path, bytes.data(), bytes.size(), overwrite);
}

}  // namespace tool::pictures
