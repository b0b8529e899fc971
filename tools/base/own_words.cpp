#include "base/own_words.h"

#include <fcntl.h>
#include <unistd.h>

namespace tool {
namespace {

std::FILE* own = nullptr;
int number = STDERR_FILENO;

}  // namespace

void keepOwnWords() {
  const int copy = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
  std::FILE* const file = copy < 0 || nowhere < 0 ? nullptr : fdopen(copy, "w");
  if (file != nullptr) {
    std::setvbuf(file, nullptr, _IONBF, 0);
    dup2(nowhere, STDERR_FILENO);
    own = file;
    number = copy;
  } else if (copy >= 0) {
    close(copy);
  }
  if (nowhere >= 0) close(nowhere);
}

std::FILE* standardError() {
  return own != nullptr ? own : stderr;
}

int standardErrorNumber() {
  return number;
}

}  // namespace tool
