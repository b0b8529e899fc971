// How far the work is: a bar on the terminal, nothing when standard error is none; and the words for an interruption.
// Several pictures may be at work, and each thread tells of its own.
#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "base/timer.h"

namespace tool::tell {

class Progress {
 public:
  // places: how many pictures may be at work at once.
  Progress(std::size_t files, std::uintmax_t bytes, std::size_t places, bool wanted);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void begin(std::size_t place, const std::string& name, std::uintmax_t bytes);
  // Of the file that was begun there.
  void advance(std::size_t place, double share);
  void done(std::size_t place, double megapixels);

  // Calls print while no bar is in the way of lines; the next step brings it back.
  template <typename Print>
  void without(Print print) {
    const std::lock_guard<std::mutex> lock(mutex_);
    clear();
    print();
  }

 private:
  struct AtWork {
    double bytes = 0, share = 0;
  };

  bool isOne() const { return files_ == 1; }
  void clear();
  void note() const;
  void draw();
  double shareOfAll() const;
  std::string figures() const;

  const bool shown_;
  const std::size_t files_;
  const double bytes_;

  std::mutex mutex_;  // of all that follows
  bool isDrawn_ = false;
  std::size_t filesDone_ = 0;
  double bytesDone_ = 0, megapixels_ = 0;
  std::vector<AtWork> atWork_;
  std::string name_;  // of the file that was begun last
  Timer timer_, sinceDrawn_;
};

}  // namespace tool::tell
