#include "base/interruption.h"

#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <mutex>
#include <set>
#include <thread>

namespace tool {
namespace {

constexpr timespec kPatience = {2, 0};

std::int32_t raised = 0;  // the signal that came
std::atomic<int> stoppingInOrder{0};

// Never destroyed: a signal may come while the process ends by itself.
struct Notes {
  std::shared_mutex ending;  // held by whoever ends the process, and shared by those who must not be cut short
  std::mutex mutex;          // of the rest
  std::set<std::string> unfinished;
  std::string lastWords;
};

Notes& notes() {
  static Notes* const all = new Notes;
  return *all;
}

sigset_t setOf(std::initializer_list<int> signals) {
  sigset_t set;
  sigemptyset(&set);
  for (int signal : signals) sigaddset(&set, signal);
  return set;
}

// Standard error may be closed, and there is nothing to be done then.
void say(const std::string& words) {
  if (write(STDERR_FILENO, words.data(), words.size()) < 0) return;
}

[[noreturn]] void endBy(int signal) {
  notes().ending.lock();
  notes().mutex.lock();
  for (const std::string& name : notes().unfinished) unlink(name.c_str());
  if (signal != SIGPIPE) say(notes().lastWords);
  std::signal(signal, SIG_DFL);
  const sigset_t set = setOf({signal});
  pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
  raise(signal);
  std::abort();
}

void waitFor(sigset_t set) {
  int signal = 0;
  while (sigwait(&set, &signal) != 0) continue;
  interruptBy(signal);
  if (stoppingInOrder > 0) sigtimedwait(&set, nullptr, &kPatience);
  endBy(signal);
}

}  // namespace

void watchForSignals() {
  const sigset_t set = setOf({SIGINT, SIGTERM, SIGHUP});
  pthread_sigmask(SIG_BLOCK, &set, nullptr);
  // Where nobody reads any more writing fails, and whoever writes ends the work.
  std::signal(SIGPIPE, SIG_IGN);
  noteHowFar("before any picture was done", false);
  std::thread(waitFor, set).detach();
}

void noteHowFar(const std::string& words, bool clearsLine) {
  const std::lock_guard<std::mutex> lock(notes().mutex);
  notes().lastWords = (clearsLine ? "\r\033[K" : "") + ("veskaro-nr: interrupted " + words) + "\n";
}

StopsInOrder::StopsInOrder() {
  ++stoppingInOrder;
}

StopsInOrder::~StopsInOrder() {
  --stoppingInOrder;
}

const std::int32_t* interruptedBy() {
  return &raised;
}

void interruptBy(int signal) {
  __atomic_store_n(&raised, signal, __ATOMIC_RELAXED);
}

NotEnding::NotEnding() : lock_(notes().ending) {}

void noteUnfinished(const std::string& name) {
  const std::lock_guard<std::mutex> lock(notes().mutex);
  notes().unfinished.insert(name);
}

void forgetUnfinished(const std::string& name) {
  const std::lock_guard<std::mutex> lock(notes().mutex);
  notes().unfinished.erase(name);
}

void endInterrupted() {
  endBy(*interruptedBy());
}

}  // namespace tool
