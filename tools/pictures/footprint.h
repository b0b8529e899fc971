// How much memory a picture will take, told before it is decoded.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace tool::pictures {

// Bytes from reading the file to writing the result, by what its header says: rather too much than too little. A guess
// where the header cannot be read, and more than there is for a stream. display: when what the eye sees is kept, too.
std::size_t footprintOf(const std::string& path, std::uintmax_t fileSize, bool display);

}  // namespace tool::pictures
