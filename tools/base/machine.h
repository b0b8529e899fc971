// What of the machine the process may use: its own, or what a control group (of a container, say) leaves it.
#pragma once

#include <cstddef>

namespace tool {

// Processors, at least 1. A share of one that a control group grants counts as one.
int processors();

// Bytes of memory that can be taken without swapping; 0 when the system does not say.
std::size_t freeMemory();

}  // namespace tool
