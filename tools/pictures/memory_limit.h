// Refusing pictures that the machine cannot hold, instead of being ended by the system half way.
#pragma once

#include <cstddef>

namespace tool::pictures {

// Throws Failure when the system has less than this many bytes of memory available.
void requireMemory(std::size_t bytes);

}  // namespace tool::pictures
