#include "pictures/file_io.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "base/failure.h"
#include "base/interruption.h"
#include "pictures/memory_limit.h"

namespace tool::pictures {
namespace {

constexpr std::size_t kLeastRead = 1 << 16, kLargeInput = std::size_t{1} << 30;

std::string reason() {
  return std::strerror(errno);
}

void writeFully(int fd, const std::uint8_t* bytes, std::size_t size, const std::string& name) {
  while (size > 0) {
    const ssize_t written = write(fd, bytes, size);
    if (written < 0) {
      if (errno == EINTR) continue;
      throw Failure("cannot write " + name + ": " + reason());
    }
    bytes += written;
    size -= static_cast<std::size_t>(written);
  }
}

// A file of its own name beside path, removed again unless it is committed.
class UnfinishedFile {
 public:
  explicit UnfinishedFile(const std::string& path) : path_(path) {
    const std::size_t slash = path.rfind('/');
    name_ = (slash == std::string::npos ? "" : path.substr(0, slash + 1)) + ".veskaro-nr-XXXXXX";
    if (name_.size() >= PATH_MAX) throw Failure("cannot write " + path + ": the name is too long");
    const SignalsBlocked blocked;
    fd_ = mkstemp(name_.data());
    if (fd_ < 0) throw Failure("cannot write " + path + ": " + reason());
    noteUnfinished(name_);
  }
  UnfinishedFile(const UnfinishedFile&) = delete;
  UnfinishedFile& operator=(const UnfinishedFile&) = delete;
  ~UnfinishedFile() {
    if (fd_ >= 0) close(fd_);
    const SignalsBlocked blocked;
    if (!committed_) unlink(name_.c_str());
    noteUnfinished("");
  }

  int fd() const { return fd_; }

  void commit(bool overwrite) {
    setMode();
    if (close(std::exchange(fd_, -1)) != 0) fail();
    const SignalsBlocked blocked;
    overwrite ? takeName() : takeFreeName();
    committed_ = true;
  }

 private:
  [[noreturn]] void fail() const { throw Failure("cannot write " + path_ + ": " + reason()); }

  void takeName() const {
    if (std::rename(name_.c_str(), path_.c_str()) != 0) fail();
  }

  // Of the ways to name a file without replacing another only the first is one step everywhere it works.
  void takeFreeName() const {
    if (renameat2(AT_FDCWD, name_.c_str(), AT_FDCWD, path_.c_str(), RENAME_NOREPLACE) == 0) return;
    if (errno == EEXIST) throw Failure(path_ + " exists already (--force replaces it)");
    if (access(path_.c_str(), F_OK) == 0) fail();
    takeName();
  }

  // mkstemp makes files that only the owner may read: give the result the mode of the file that it replaces, or of
  // any new file.
  void setMode() {
    struct stat old;
    if (stat(path_.c_str(), &old) == 0) {
      fchmod(fd_, old.st_mode & 0777);
    } else {
      const mode_t mask = umask(0);
      umask(mask);
      fchmod(fd_, 0666 & ~mask);
    }
  }

  std::string path_, name_;
  int fd_ = -1;
  bool committed_ = false;
};

struct OpenFile {
  int fd;
  ~OpenFile() {
    if (fd > STDERR_FILENO) close(fd);
  }
};

Bytes withRoomFor(int fd) {
  Bytes bytes;
  struct stat status;
  if (fstat(fd, &status) == 0 && S_ISREG(status.st_mode)) bytes.reserve(static_cast<std::size_t>(status.st_size) + 1);
  return bytes;
}

void grow(Bytes& bytes) {
  const std::size_t twice = 2 * bytes.size();
  // Some inputs have no end.
  if (bytes.size() > kLargeInput) requireMemory(twice);
  bytes.resize(std::max({bytes.capacity(), twice, kLeastRead}));
}

Bytes readToEnd(int fd, const std::string& name) {
  Bytes bytes = withRoomFor(fd);
  std::size_t size = 0;
  ssize_t got;
  do {
    if (size == bytes.size()) grow(bytes);
    got = read(fd, bytes.data() + size, bytes.size() - size);
    if (got > 0) size += static_cast<std::size_t>(got);
  } while (got > 0 || (got < 0 && errno == EINTR));
  if (got < 0) throw Failure("cannot read " + name + ": " + reason());
  bytes.resize(size);
  return bytes;
}

// Pipes and devices are written, never replaced.
void writeInto(const std::string& path, const std::uint8_t* bytes, std::size_t size) {
  const OpenFile file{open(path.c_str(), O_WRONLY | O_CLOEXEC)};
  if (file.fd < 0) throw Failure("cannot write " + path + ": " + reason());
  writeFully(file.fd, bytes, size, path);
}

}  // namespace

Bytes readWhole(const std::string& path) {
  const bool fromStream = isStandardStream(path);
  const std::string name = fromStream ? "standard input" : path;
  const OpenFile file{fromStream ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC)};
  if (file.fd < 0) throw Failure("cannot read " + name + ": " + reason());
  return readToEnd(file.fd, name);
}

void writeWhole(const std::string& path, const std::uint8_t* bytes, std::size_t size, bool overwrite) {
  if (isStandardStream(path)) {
    writeFully(STDOUT_FILENO, bytes, size, "standard output");
    return;
  }
  struct stat status;
  if (stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
    writeInto(path, bytes, size);
    return;
  }
  // A link keeps pointing at the picture: its target is what gets replaced.
  char target[PATH_MAX];
  UnfinishedFile file(realpath(path.c_str(), target) != nullptr ? target : path);
  writeFully(file.fd(), bytes, size, path);
  file.commit(overwrite);
}

}  // namespace tool::pictures
