// What working with libvips shares, whatever the picture is.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vips/vips8>

#include "base/failure.h"

namespace tool::pictures {

struct FreeByGlib {
  void operator()(void* memory) const { g_free(memory); }
};

struct DecodedPixels {
  std::unique_ptr<std::uint8_t, FreeByGlib> samples;
  std::size_t bytes = 0;
};

// Keeps libvips and GLib from writing what they think of a file to standard error, and notes what readPixels must know.
// Call once, after libvips has started.
void listenToDecoders();

// Lets a thread that used libvips go.
void leaveThread();

// Whoever uses libvips beside others, or alone.
class Beside {
 public:
  Beside();
  ~Beside();
  Beside(const Beside&) = delete;
  Beside& operator=(const Beside&) = delete;
  bool wasAlone() const;

 private:
  std::size_t entered_;
  bool wasAlone_;
};
class Alone {
 public:
  Alone();
  ~Alone();
  Alone(const Alone&) = delete;
  Alone& operator=(const Alone&) = delete;
};

// What work() returns, which uses libvips on one of several threads. Libvips keeps what went wrong process-wide: work
// that fails beside others is done again alone, so that the failure and its reason are its own.
template <typename Work>
auto besideOthers(Work work) -> decltype(work()) {
  {
    const Beside others;
    try {
      return work();
    } catch (const Failure&) {
      if (others.wasAlone()) throw;
    }
  }
  const Alone alone;
  return work();
}

// Every pixel of a picture; throws vips::VError or Failure unless each of them was really decoded.
DecodedPixels readPixels(const vips::VImage& image);

// The first line of what libvips says went wrong.
std::string vipsReason(const vips::VError& error);

}  // namespace tool::pictures
