#include "tell/lines.h"

#include <cerrno>
#include <csignal>

#include "base/interruption.h"

namespace tool::tell {

void printNow(std::FILE* to, const std::string& text) {
  if (text.empty()) return;
  const bool isWritten = std::fwrite(text.data(), 1, text.size(), to) == text.size() && std::fflush(to) == 0;
  if (!isWritten && errno == EPIPE) interruptBy(SIGPIPE);
}

void Lines::say(std::size_t index, const Said& said) {
  std::unique_lock<std::mutex> lock(mutex_);
  if (!inOrder_) return print(said);
  changed_.wait(lock, [&] { return index < next_ + kMostAhead; });
  ahead_.emplace(index, said);
  for (auto first = ahead_.begin(); first != ahead_.end() && first->first == next_; first = ahead_.erase(first)) {
    print(first->second);
    ++next_;
  }
  changed_.notify_all();
}

void Lines::print(const Said& said) {
  progress_.without([&] {
    printNow(stderr, said.errors);
    printNow(said.wordsTo, said.words);
  });
}

}  // namespace tool::tell
