// A fixed set of calls to the library, whose result bytes are the same on every machine.
#pragma once

#include <cstdint>

namespace tool::command {

// The calls' digest on this machine, and what it has to be.
std::uint64_t selfTestDigest();
extern const std::uint64_t kSelfTestExpected;

// Prints version, processor and digest; returns 0 when the digest is right, else 1.
int selfTest();

}  // namespace tool::command
