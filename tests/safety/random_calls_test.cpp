// Random calls in numbers: 20,000 by default, VESKARO_CALLS and VESKARO_SEED give others. A call that fails is named by
// its own seed; VESKARO_CALLS=1 VESKARO_SEED=that one makes it alone.
#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "safety/call_generator.h"

namespace veskaro::test {
namespace {

std::uint64_t fromEnvironment(const char* name, std::uint64_t otherwise) {
  const char* text = std::getenv(name);
  return text != nullptr ? std::strtoull(text, nullptr, 0) : otherwise;
}

// A call that ends the process names itself first.
volatile std::uint64_t seedOfCall = 0;

void nameCall(int signal) {
  char text[] = "\nin the call with VESKARO_CALLS=1 VESKARO_SEED=00000000000000000000\n";
  char* digit = text + sizeof(text) - 3;
  for (std::uint64_t rest = seedOfCall; rest > 0; rest /= 10) *digit-- = static_cast<char>('0' + rest % 10);
  if (write(STDERR_FILENO, text, sizeof(text) - 1) < 0) _exit(1);
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

TEST(RandomCalls, HarmNothing) {
  for (const int signal : {SIGSEGV, SIGABRT, SIGFPE, SIGILL}) std::signal(signal, nameCall);
  const std::uint64_t calls = fromEnvironment("VESKARO_CALLS", 20000);
  const std::uint64_t first = fromEnvironment("VESKARO_SEED", 1);
  int failures = 0;
  for (std::uint64_t seed = first; seed < first + calls && failures < 5; ++seed) {
    seedOfCall = seed;
    const std::string wrong = makeRandomCall(Choices::ofCall(seed)).wrong;
    if (!wrong.empty()) ++failures;
    EXPECT_EQ(wrong, "") << "with VESKARO_CALLS=1 VESKARO_SEED=" << seed;
  }
}

}  // namespace
}  // namespace veskaro::test
