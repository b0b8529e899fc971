// A file, or samples, in memory.
#pragma once

#include <cstdint>
#include <vector>

namespace tool::pictures {

using Bytes = std::vector<std::uint8_t>;

}  // namespace tool::pictures
