// A bar on the terminal while several files are worked on; nothing when standard error is no terminal.
#pragma once

#include <cstdint>
#include <string>

#include "base/timer.h"

namespace tool::tell {

class Progress {
 public:
  Progress(std::size_t files, std::uintmax_t bytes, bool wanted);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void begin(const std::string& name);
  void done(std::uintmax_t bytes, double megapixels);
  // Takes the bar away, so that lines can be printed; the next begin brings it back.
  void clear();

 private:
  void draw() const;

  bool shown_;
  std::size_t files_, filesDone_ = 0;
  std::uintmax_t bytes_, bytesDone_ = 0;
  double megapixels_ = 0;
  std::string name_;
  Timer timer_;
};

}  // namespace tool::tell
