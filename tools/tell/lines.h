// What is said of many files by several threads: whole lines, as they come or in the order of the files.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdio>
#include <map>
#include <mutex>
#include <string>

#include "tell/progress.h"

namespace tool::tell {

// Of one file; each part may be empty, or ends its last line.
struct Said {
  std::string words, errors;
  std::FILE* wordsTo = stdout;
};

class Lines {
 public:
  Lines(bool inOrder, Progress& progress) : inOrder_(inOrder), progress_(progress) {}

  // Of file 0, 1, ..., each once. Where nobody reads any more the work is interrupted.
  void say(std::size_t index, const Said& said);

 private:
  void print(const Said& said);

  // What runs ahead of the file that is next waits, so that not all of it is kept.
  static constexpr std::size_t kMostAhead = 2000;

  const bool inOrder_;
  Progress& progress_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::size_t next_ = 0;
  std::map<std::size_t, Said> ahead_;
};

// Writes text at once.
void printNow(std::FILE* to, const std::string& text);

}  // namespace tool::tell
