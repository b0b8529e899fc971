// Random calls to every exported function: sizes from 1 to a few hundred, odd strides and addresses, buffers against
// unmapped pages, values from sensible to not a number, arguments that have to be refused.
#ifndef VESKARO_TESTS_SAFETY_CALL_GENERATOR_H
#define VESKARO_TESTS_SAFETY_CALL_GENERATOR_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace veskaro::test {

// What a call is made of. Its choices come from a seed, or from a fuzzer's bytes for as long as they last; the contents
// of buffers always from a generator that one choice seeds.
class Choices {
 public:
  explicit Choices(std::uint64_t seed) : state_(seed) {}
  Choices(const std::uint8_t* bytes, std::size_t size) : bytes_(bytes), left_(size) {}
  static Choices ofCall(std::uint64_t number) { return Choices(number * 0x2545f4914f6cdd1du); }

  int number(int low, int high);  // inclusive
  bool oneIn(int n) { return number(1, n) == 1; }
  float real(float low, float high);
  Choices contents() { return Choices(nextBits(8)); }

 private:
  std::uint64_t nextBits(int bytes);

  std::uint64_t state_ = 0;
  const std::uint8_t* bytes_ = nullptr;
  std::size_t left_ = 0;
};

// What surrounds the calls to the library, and nothing of the test's own work.
class Surroundings {
 public:
  virtual ~Surroundings() = default;
  virtual void enter() {}
  virtual void leave() {}
  virtual bool isShortOfMemory() const { return false; }
};

struct Outcome {
  std::string wrong;      // what was wrong with the call, empty when nothing was
  std::string digest;     // of what came back and what the buffers hold, scratch excepted
  bool ranShort = false;  // of memory, and said so
};

Outcome makeRandomCall(Choices choices, Surroundings&& around = Surroundings());

}  // namespace veskaro::test

#endif  // VESKARO_TESTS_SAFETY_CALL_GENERATOR_H
