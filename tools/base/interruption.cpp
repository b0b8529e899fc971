#include "base/interruption.h"

#include <unistd.h>

#include <atomic>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>

namespace tool {
namespace {

constexpr int kEndingSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGPIPE};

// A text that a signal handler may read at any time: the next one is written beside it, and then takes its place.
class Note {
 public:
  void set(const std::string& text) {
    char* const next = current_ == texts_[0] ? texts_[1] : texts_[0];
    next[text.copy(next, kMost)] = '\0';
    current_ = next;
  }
  const char* text() const { return current_; }

 private:
  static constexpr std::size_t kMost = PATH_MAX + 100;
  char texts_[2][kMost + 1] = {};
  std::atomic<const char*> current_{texts_[0]};
};

Note unfinished, lastWords;
std::atomic<bool> cancellable{false};
std::int32_t raised = 0;  // the signal that came

std::int32_t raisedSignal() {
  return __atomic_load_n(&raised, __ATOMIC_RELAXED);
}

void sayLastWords() {
  const char* const text = lastWords.text();
  // There is nothing to be done when nobody listens.
  if (write(STDERR_FILENO, text, std::strlen(text)) < 0) return;
}

// Also from a handler, where the signal comes into force on return.
void endBy(int signal) {
  if (unfinished.text()[0] != '\0') unlink(unfinished.text());
  if (signal != SIGPIPE) sayLastWords();
  std::signal(signal, SIG_DFL);
  raise(signal);
}

void onSignal(int signal) {
  if (cancellable && signal != SIGPIPE && raisedSignal() == 0) {
    __atomic_store_n(&raised, signal, __ATOMIC_RELAXED);
  } else {
    endBy(signal);
  }
}

sigset_t endingSignals() {
  sigset_t set;
  sigemptyset(&set);
  for (int signal : kEndingSignals) sigaddset(&set, signal);
  return set;
}

}  // namespace

void watchForSignals() {
  struct sigaction action {};
  action.sa_handler = onSignal;
  for (int signal : kEndingSignals) sigaction(signal, &action, nullptr);
}

void noteHowFar(const std::string& words, bool clearsLine) {
  lastWords.set((clearsLine ? "\r\033[K" : "") + ("veskaro-nr: interrupted after " + words) + "\n");
}

void noteUnfinished(const std::string& name) {
  unfinished.set(name);
}

Cancellable::Cancellable() {
  cancellable = true;
}

Cancellable::~Cancellable() {
  cancellable = false;
}

const std::int32_t* Cancellable::flag() const {
  return &raised;
}

void Cancellable::check() const {
  if (raisedSignal() != 0) throw Interrupted{};
}

SignalsBlocked::SignalsBlocked() {
  const sigset_t set = endingSignals();
  pthread_sigmask(SIG_BLOCK, &set, &before_);
}

SignalsBlocked::~SignalsBlocked() {
  pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

void endInterrupted() {
  endBy(raisedSignal());
  std::abort();
}

}  // namespace tool
