// One number for the results of random calls, by value: the same on every processor, system and compiler.
#include <cinttypes>
#include <cstdio>
#include <cstdlib>

#include "safety/call_generator.h"
#include "support/digest.h"

int main(int argc, char** argv) {
  using namespace veskaro::test;
  const std::uint64_t calls = argc > 1 ? std::strtoull(argv[1], nullptr, 0) : 2000;
  const std::uint64_t first = argc > 2 ? std::strtoull(argv[2], nullptr, 0) : 1;
  const bool each = argc > 3;  // to find the call that differs
  Digest all;
  for (std::uint64_t number = first; number < first + calls; ++number) {
    const Outcome outcome = makeRandomCall(Choices::ofCall(number));
    if (!outcome.wrong.empty()) std::printf("call %" PRIu64 ": %s\n", number, outcome.wrong.c_str());
    if (each) std::printf("%" PRIu64 " %s\n", number, outcome.digest.c_str());
    for (const char letter : outcome.digest) all.add(letter);
  }
  std::printf("calls %" PRIu64 " to %" PRIu64 ": values %s\n", first, first + calls - 1, all.text().c_str());
  return 0;
}
