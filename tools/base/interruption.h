// Signals that end the process: work that can stop in order is asked to, what is unfinished goes, and the user reads
// how far it came.
#pragma once

#include <csignal>
#include <cstdint>
#include <memory>
#include <shared_mutex>
#include <string>

namespace tool {

// Thrown where work was stopped: no failure of one file, so no std::exception.
struct Interrupted {};

// From here on a thread of its own waits for the signals; they reach no other. To be called before there are others.
void watchForSignals();

// How far the work is, as "interrupted" goes on. Clears the line of the terminal first when a bar stands there.
void noteHowFar(const std::string& words, bool clearsLine);

// While one lives, a signal raises the flag, and the process is ended only when that has led to nothing for two
// seconds, or by a second signal. Without one the first ends it.
class StopsInOrder {
 public:
  StopsInOrder();
  ~StopsInOrder();
  StopsInOrder(const StopsInOrder&) = delete;
  StopsInOrder& operator=(const StopsInOrder&) = delete;
};

// The flag: 0, or the signal.
const std::int32_t* interruptedBy();
inline bool isInterrupted() {
  return __atomic_load_n(interruptedBy(), __ATOMIC_RELAXED) != 0;
}
inline void requireNotInterrupted() {
  if (isInterrupted()) throw Interrupted{};
}

// As if the signal had come: nobody reads what is written, say.
void interruptBy(int signal);

// While one lives the process is not ended, so that a file and the note of it come and go as one.
class NotEnding {
 public:
  NotEnding();

 private:
  std::shared_lock<std::shared_mutex> lock_;
};

// Files that must not stay when the process is ended.
void noteUnfinished(const std::string& name);
void forgetUnfinished(const std::string& name);

// Ends the process as the signal that raised the flag would have.
[[noreturn]] void endInterrupted();

}  // namespace tool
