// One random call: its buffers, and what it says about them.
#ifndef VESKARO_TESTS_SAFETY_CALL_H
#define VESKARO_TESTS_SAFETY_CALL_H

#include <VeskaroNRLib.h>

#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <list>
#include <string>
#include <vector>

#include "safety/call_generator.h"
#include "support/digest.h"
#include "support/guarded.h"

namespace veskaro::test {

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

inline float extremeValue(Choices& c) {
  static const float values[] = {kNaN,  kInf,  -kInf,  3.4e38f,       -3.4e38f,       1e-45f, -1e-45f, 1.2e-38f, 0.0f,
                                 -0.0f, 1e20f, -1e20f, 2147483648.0f, -2147483648.0f, 255.0f, 256.0f,  65536.0f, 1e-5f};
  return values[c.number(0, std::size(values) - 1)];
}

inline int extremeInt(Choices& c) {
  constexpr int kMost = std::numeric_limits<int>::max();
  static const int values[] = {0, -1, 1, -2, kMost, -kMost - 1, kMost - 16, 46341, 65536, 1 << 30};
  return c.oneIn(2) ? values[c.number(0, std::size(values) - 1)]
                    : c.number(std::numeric_limits<int>::min(), std::numeric_limits<int>::max());
}

// One call's buffers and what it says about them.
class Call {
 public:
  Call(Choices& choices, Surroundings& around) : c(choices), around_(around) {}

  Choices& c;

  // Calls the library. What comes back joins the outcome; a refusal must leave everything but scratch as it was, a call
  // that runs short of memory too unless it mayHaveWritten.
  template <class Function>
  auto made(const Function& function, bool mayHaveWritten = false) {
    const auto result = ask(function, mayHaveWritten, NR_ERROR_MEMORY);
    results_.add(result);
    return result;
  }
  template <class Function>
  auto ask(const Function& function, bool mayHaveWritten, int codeOfShortage) {
    std::vector<std::vector<unsigned char>> before;
    for (Buffer& b : buffers_) before.push_back(b.isScratch ? std::vector<unsigned char>() : b.bytes.copy());
    around_.enter();
    const auto result = function();
    around_.leave();
    ranShort_ = ranShort_ || (result == codeOfShortage && around_.isShortOfMemory());
    const bool hasRefused = result < 0 && !(result == codeOfShortage && mayHaveWritten);
    auto was = before.begin();
    for (Buffer& b : buffers_) {
      if (b.isInput || (hasRefused && !b.isScratch)) blameUnless(b.bytes.copy() == *was, "wrote what it should not");
      ++was;
    }
    return result;
  }

  template <typename T>
  void note(T value) {
    results_.add(value);
  }
  bool isShortOfMemory() const { return around_.isShortOfMemory(); }
  void sayRanShort() { ranShort_ = true; }
  // Without memory there is no other result to expect.
  void expect(bool right, const char* what) { blameUnless(right || ranShort_, what); }
  void expectCode(int code, std::initializer_list<int> defined, const char* what) {
    expect(std::find(defined.begin(), defined.end(), code) != defined.end(), what);
  }

  int side() { return c.number(1, c.oneIn(25) ? 300 : c.oneIn(8) ? 80 : 24); }
  int level() { return c.oneIn(8) ? extremeInt(c) : c.number(0, 3); }
  int threads() { return c.oneIn(6) ? c.number(0, 64) : c.number(0, 5); }
  float value(bool extreme) { return extreme && c.oneIn(3) ? extremeValue(c) : c.real(-300.0f, 300.0f); }

  unsigned char* bytes(std::size_t size) {
    const std::size_t offset = c.oneIn(2) ? static_cast<std::size_t>(c.number(0, 3)) : 0;
    unsigned char* b = add(size + offset) + offset;
    Choices contents = c.contents();
    for (std::size_t k = 0; k < size; k += 4) {
      const int word = contents.number(std::numeric_limits<int>::min(), std::numeric_limits<int>::max());
      for (std::size_t n = 0; n < std::min<std::size_t>(4, size - k); ++n) {
        b[k + n] = static_cast<unsigned char>(static_cast<unsigned>(word) >> 8 * n);
      }
    }
    return b;
  }

  // A level image or scratch: noise, edges, a flat field or values of every kind.
  float* image(int w, int h) { return floats(3 * static_cast<std::size_t>(w) * static_cast<std::size_t>(h)); }
  float* floats(std::size_t count) {
    auto* values = reinterpret_cast<float*>(add(count * sizeof(float)));
    buffers_.back().isFloat = true;
    const int kind = c.number(0, 4);
    const float around = c.real(0.0f, 255.0f), spread = c.real(0.0f, 30.0f);
    Choices contents = c.contents();
    for (std::size_t k = 0; k < count; ++k) {
      float v = around;
      if (kind == 0) v = contents.real(0.0f, 256.0f);
      if (kind == 1) v += contents.real(-spread, spread);
      if (kind == 2) v = (k / 40 % 2 == 0 ? around : 255.0f - around) + contents.real(-3.0f, 3.0f);
      if (kind == 3) v = contents.oneIn(4) ? extremeValue(contents) : contents.real(-1000.0f, 1000.0f);
      values[k] = v;
    }
    return values;
  }

  int* ints(std::size_t count) {
    auto* values = reinterpret_cast<int*>(add(count * sizeof(int)));
    buffers_.back().isInt = true;
    return values;
  }

  // Between the order of bytes that the generator writes and the machine's, so that samples have the same values on
  // all.
  static void turnSamples(unsigned char* samples, std::size_t bytes, int sampleBytes) {
    if (__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__) return;
    for (std::size_t k = 0; k + sampleBytes <= bytes; k += sampleBytes)
      std::reverse(samples + k, samples + k + sampleBytes);
  }

  // The buffer made last: what it holds afterwards is nobody's, or as before.
  template <typename T>
  T* scratch(T* data) {
    buffers_.back().isScratch = true;
    return data;
  }
  template <typename T>
  T* input(T* data) {
    buffers_.back().isInput = true;
    return data;
  }

  int* rectangle(int w, int h) {
    int* r = ints(4);
    const bool whole = c.oneIn(2) || w < 5 || h < 5;
    r[0] = whole ? 2 : c.number(2, w - 2);
    r[1] = whole ? w - 2 : c.number(2, w - 2);
    r[2] = whole ? 2 : c.number(2, h - 2);
    r[3] = whole ? h - 2 : c.number(2, h - 2);
    return r;
  }

  float* params() {
    float* p = floats(NR_PARAM_COUNT);
    const int kind = c.number(0, 3);
    if (kind > 0) nr_def(p);
    if (kind > 1) p[NR_NOISE_LEVEL] = c.real(0.3f, 1.7f);
    if (kind > 2) {
      for (int k = 0; k < NR_PARAM_COUNT; ++k) {
        if (c.oneIn(4)) p[k] = value(true);
      }
    }
    return p;
  }

  void tuning() {
    float* p = params();
    made([p] { return calcParams(p), 0; });
    for (const float v : {level0noiseLevel, level2SharpAmount, highlightNRhighThreshold, highlightNRintercept,
                          highlightNRslope, highnoiseLevelReduce}) {
      results_.add(v);
    }
    reconSimilarityThreshold = c.oneIn(8) ? value(true) : 10.0f;
    reconSimilarityRolloff = c.oneIn(8) ? value(true) : 50.0f;
    if (!c.oneIn(8)) return;
    for (float* v : {&highnoiseLevelReduce, &level0noiseLevel, &level1noiseLevel, &level2noiseLevel, &level3noiseLevel,
                     &level0NR, &level1NR, &level2NR, &level3NR, &level0SharpAmount, &level1SharpAmount,
                     &level2SharpAmount, &level3SharpAmount, &chromaSharpeningAmount}) {
      *v = value(true);
    }
  }

  Outcome outcome() {
    for (const Buffer& b : buffers_) blameUnless(b.bytes.surroundingsIntact(), "wrote outside a buffer");
    return {wrong_, results_.text() + contents().text(), ranShort_};
  }

 private:
  struct Buffer {
    Buffer(std::size_t size, Against edge) : bytes(size, edge) {}
    Guarded<unsigned char> bytes;
    bool isFloat = false, isInt = false, isScratch = false, isInput = false;
  };

  unsigned char* add(std::size_t size) {
    return buffers_.emplace_back(size, c.oneIn(2) ? Against::kStart : Against::kEnd).bytes.data();
  }
  template <typename T>
  static void addValues(Buffer& b, Digest* digest) {
    const auto* values = reinterpret_cast<const T*>(b.bytes.data());
    digest->add(std::vector<T>(values, values + b.bytes.size() / sizeof(T)));
  }
  Digest contents() {
    Digest digest;
    for (Buffer& b : buffers_) {
      if (b.isScratch || b.isInput) continue;
      if (b.isFloat) {
        addValues<float>(b, &digest);
      } else if (b.isInt) {
        addValues<int>(b, &digest);
      } else {
        digest.add(b.bytes.copy());
      }
    }
    return digest;
  }
  void blameUnless(bool right, const char* what) {
    if (!right && wrong_.empty()) wrong_ = what;
  }

  Surroundings& around_;
  std::list<Buffer> buffers_;
  Digest results_;
  std::string wrong_;
  bool ranShort_ = false;
};

// A call of the second interface: a picture in any layout, measured and filtered in pieces.
void callPiecewise(Call& call);

}  // namespace veskaro::test

#endif  // VESKARO_TESTS_SAFETY_CALL_H
