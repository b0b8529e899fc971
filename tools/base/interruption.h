// Signals that end the process: what is unfinished goes, the user reads how far the work came, and a call that can be
// cancelled is cancelled first.
#pragma once

#include <csignal>
#include <cstdint>
#include <string>

namespace tool {

// Thrown where a cancelled call has returned: no failure of one file, so no std::exception.
struct Interrupted {};

// From here on signals that end the process find what is noted below.
void watchForSignals();

// How far the work is, as "interrupted after" goes on. Clears the line of the terminal first when a bar stands there.
// From one thread at a time.
void noteHowFar(const std::string& words, bool clearsLine);

// The file that must not stay; empty for none.
void noteUnfinished(const std::string& name);

// While one lives, a signal raises the flag instead of ending the process; a second signal ends it.
class Cancellable {
 public:
  Cancellable();
  ~Cancellable();
  Cancellable(const Cancellable&) = delete;
  Cancellable& operator=(const Cancellable&) = delete;

  const std::int32_t* flag() const;
  // Throws Interrupted when it was raised.
  void check() const;
};

// Keeps the signals from this thread, so that a file and the note of it come and go as one.
class SignalsBlocked {
 public:
  SignalsBlocked();
  ~SignalsBlocked();
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;

 private:
  sigset_t before_;
};

// Ends the process as the signal that raised the flag would have.
[[noreturn]] void endInterrupted();

}  // namespace tool
