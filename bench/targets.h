// The instruction sets of this machine, to be measured one after the other.
#ifndef VESKARO_BENCH_TARGETS_H
#define VESKARO_BENCH_TARGETS_H

#include <cstdint>
#include <string>
#include <vector>

namespace veskaro::bench {

struct Target {
  std::int64_t id;
  std::string name;  // "plain": the scalar code
};

// Plain first, then from the narrowest vectors to the widest.
std::vector<Target> targets();

// Has every later call run on this target.
void runOn(const Target& target);

}  // namespace veskaro::bench

#endif  // VESKARO_BENCH_TARGETS_H
