#include "tune/browser.h"

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <thread>

#include "base/failure.h"

extern char** environ;

namespace tool::tune {
namespace {

// Of the user alone where there is such a folder.
std::filesystem::path folder() {
  const char* own = std::getenv("XDG_RUNTIME_DIR");
  std::error_code error;
  if (own != nullptr && std::filesystem::is_directory(own, error)) return own;
  return std::filesystem::temp_directory_path();
}

bool writeAll(int fd, const std::string& text) {
  return write(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size());
}

// In a process group of its own and with no signal held back, so that Ctrl-C here ends no browser.
bool spawn(const std::string& path, pid_t* child) {
  char command[] = "xdg-open";
  std::string file = path;
  char* arguments[] = {command, file.data(), nullptr};
  posix_spawnattr_t attributes;
  if (posix_spawnattr_init(&attributes) != 0) return false;
  sigset_t none;
  sigemptyset(&none);
  posix_spawnattr_setsigmask(&attributes, &none);
  posix_spawnattr_setpgroup(&attributes, 0);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETPGROUP);
  const bool spawned = posix_spawnp(child, command, nullptr, &attributes, arguments, environ) == 0;
  posix_spawnattr_destroy(&attributes);
  return spawned;
}

}  // namespace

Signpost::Signpost(const std::string& address) : path_((folder() / "veskaro-nr-XXXXXX.html").string()) {
  const int fd = mkstemps(path_.data(), 5);  // with mode 0600
  if (fd < 0) throw Failure("cannot write " + path_ + ": " + std::strerror(errno));
  const bool isWritten = writeAll(fd,
                                  "<!doctype html><meta charset=utf-8><meta name=referrer content=no-referrer>"
                                  "<link rel=icon href=\"data:,\">"
                                  "<meta http-equiv=refresh content=\"0; url=" +
                                      address + "\"><title>veskaro-nr</title>\n");
  if (close(fd) != 0 || !isWritten) throw Failure("cannot write " + path_ + ": " + std::strerror(errno));
}

void Signpost::remove() {
  if (!path_.empty()) unlink(path_.c_str());
  path_.clear();
}

void startBrowser(const std::string& path, const std::function<void()>& onFailure) {
  pid_t child = 0;
  if (!spawn(path, &child)) return onFailure();
  // Some browsers stay in the foreground: who waits is a thread of its own.
  std::thread([child, onFailure] {
    int status = 0;
    if (waitpid(child, &status, 0) == child && !(WIFEXITED(status) && WEXITSTATUS(status) == 0)) onFailure();
  }).detach();
}

}  // namespace tool::tune
