// Text without what would move the cursor or break the line: file names may hold anything.
#pragma once

#include <string>

namespace tool::tell {

inline std::string printable(std::string text) {
  for (char& c : text) {
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) c = '?';
  }
  return text;
}

}  // namespace tool::tell
