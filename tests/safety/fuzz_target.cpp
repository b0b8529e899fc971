// libFuzzer over the random calls: its bytes make the choices that a seed makes in the tests.
#include <cstdint>
#include <cstdlib>

#include "safety/call_generator.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  veskaro::test::Choices choices(bytes, size);
  if (!veskaro::test::makeRandomCall(choices).wrong.empty()) std::abort();
  return 0;
}
