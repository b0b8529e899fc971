// A failure that ends the work on one file; what() is the one line that the user reads.
#pragma once

#include <stdexcept>
#include <string>

namespace tool {

struct Failure : std::runtime_error {
  using std::runtime_error::runtime_error;
};

}  // namespace tool
