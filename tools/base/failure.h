// A failure that ends the work on one file; what() is the one line that the user reads.
#pragma once

#include <stdexcept>
#include <string>

namespace tool {

// What kind of failure it is, for programs.
enum class Kind {
  kOther,
  kExists,       // the result is there already
  kDuplicate,    // the result is that of an input before, or an input itself
  kUnreadable,   // the file or folder cannot be read
  kUnwritable,   // the result cannot be written there
  kDamaged,      // the file is no whole picture of its format
  kUnsupported,  // a picture, but none that can be denoised or written like this
  kNoSpace,      // the disk, or what the user may have of it, is full
  kNoMemory,
  kInterrupted,
};

inline const char* nameOf(Kind kind) {
  static constexpr const char* kNames[] = {"other",   "exists",      "duplicate", "unreadable", "unwritable",
                                           "damaged", "unsupported", "no-space",  "no-memory",  "interrupted"};
  return kNames[static_cast<int>(kind)];
}

struct Failure : std::runtime_error {
  using std::runtime_error::runtime_error;
  Failure(Kind what, const std::string& text) : std::runtime_error(text), kind(what) {}

  Kind kind = Kind::kOther;
};

// What work returns; a failure of no kind gets this one.
template <typename Work>
auto orFailAs(Kind kind, Work work) -> decltype(work()) try {
  return work();
} catch (const Failure& failure) {
  if (failure.kind != Kind::kOther) throw;
  throw Failure(kind, failure.what());
}

}  // namespace tool
