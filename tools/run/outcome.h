// What each step of a file's way yields.
#pragma once

#include <optional>
#include <string>
#include <variant>

#include "base/failure.h"
#include "pictures/formats.h"
#include "pictures/layout.h"
#include "run/done.h"

namespace tool::run {

struct Read {
  pictures::Format format;
  double seconds;
};

struct Decoded {
  pictures::Layout layout;
  std::optional<std::string> note;  // what the user should know of the file though all goes well
  double seconds;
};

struct Written {
  pictures::Format format;
  double encodeSeconds;
  double seconds;
};

struct Outcome {
  Read read;
  Decoded decoded;
  Done done;
  Written written;
  double totalSeconds;

  double megapixelsPerSecond() const { return done.seconds > 0 ? decoded.layout.megapixels() / done.seconds : 0; }
};

// The result was there already; or nothing was to be done but saying what would be.
struct Skipped {};
struct Planned {};

// The end of one file's way. The output has no name when the way ended before its input was known.
struct FileResult {
  std::string input, output;
  std::variant<Failure, Outcome, Skipped, Planned> end;

  const Outcome* outcome() const { return std::get_if<Outcome>(&end); }
  const Failure* failure() const { return std::get_if<Failure>(&end); }
};

}  // namespace tool::run
