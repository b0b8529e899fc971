// How far the work is: a bar on the terminal, nothing when standard error is none; and the words for an interruption.
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

  void begin(const std::string& name, std::uintmax_t bytes);
  // Of the file that was begun, from any thread, by one at a time.
  void advance(double share);
  void done(double megapixels);
  // Takes the bar away, so that lines can be printed; the next step brings it back.
  void clear();

 private:
  bool isOne() const { return files_ == 1; }
  void note() const;
  void drawInTime();
  void draw();
  std::string figures() const;

  bool shown_, isDrawn_ = false;
  std::size_t files_, filesDone_ = 0;
  std::uintmax_t bytes_, bytesDone_ = 0, bytesHere_ = 0;
  double share_ = 0;  // of the file at hand
  double megapixels_ = 0;
  std::string name_;
  Timer timer_, sinceDrawn_;
};

}  // namespace tool::tell
