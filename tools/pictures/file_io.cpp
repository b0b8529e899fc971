#include "pictures/file_io.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "base/failure.h"
#include "base/interruption.h"
#include "pictures/memory_limit.h"

namespace tool::pictures {
namespace {

constexpr std::size_t kLeastRead = 1 << 16, kLargeInput = std::size_t{1} << 30;

std::string reason() {
  return std::strerror(errno);
}

[[noreturn]] void failToRead(const std::string& name) {
  throw Failure(Kind::kUnreadable, "cannot read " + name + ": " + reason());
}

[[noreturn]] void failToWrite(const std::string& name) {
  // Whoever read has gone: nothing is left to be done.
  if (errno == EPIPE) {
    interruptBy(SIGPIPE);
    throw Interrupted{};
  }
  const bool isFull = errno == ENOSPC || errno == EDQUOT;
  throw Failure(isFull ? Kind::kNoSpace : Kind::kUnwritable, "cannot write " + name + ": " + reason());
}

void writeFully(int fd, const std::uint8_t* bytes, std::size_t size, const std::string& name) {
  while (size > 0) {
    const ssize_t written = write(fd, bytes, size);
    if (written < 0) {
      if (errno == EINTR) continue;
      failToWrite(name);
    }
    bytes += written;
    size -= static_cast<std::size_t>(written);
  }
}

constexpr char kUnfinished[] = ".veskaro-nr-";
constexpr std::size_t kUnfinishedName = sizeof kUnfinished - 1 + 6;

// Whether this process alone has the file, under a name still. Where files cannot be locked nobody takes it away.
bool isOurs(int fd) {
  struct stat status;
  const bool isTaken = flock(fd, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
  return !isTaken && fstat(fd, &status) == 0 && status.st_nlink > 0;
}

// A new file, locked as long as it is open: a process that ends leaves it unlocked. The name ends in six free letters.
int createLocked(std::string& name) {
  for (;;) {
    std::fill(name.end() - 6, name.end(), 'X');
    const int fd = mkostemp(name.data(), O_CLOEXEC);
    if (fd < 0 || isOurs(fd)) return fd;
    // Another process took it for one that was left behind, before it was locked.
    close(fd);
  }
}

// The mode of new files without one of their own. Read while there is one thread: reading it sets it.
const mode_t kNewFileMode = [] {
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}();

// A file of its own name beside path, removed again unless it is committed.
class UnfinishedFile {
 public:
  explicit UnfinishedFile(const std::string& path) : path_(path) {
    const std::size_t slash = path.rfind('/');
    name_ = (slash == std::string::npos ? "" : path.substr(0, slash + 1)) + kUnfinished + "XXXXXX";
    if (name_.size() >= PATH_MAX) throw Failure(Kind::kUnwritable, "cannot write " + path + ": the name is too long");
    const NotEnding untilNoted;
    fd_ = createLocked(name_);
    if (fd_ < 0) failToWrite(path);
    noteUnfinished(name_);
  }
  UnfinishedFile(const UnfinishedFile&) = delete;
  UnfinishedFile& operator=(const UnfinishedFile&) = delete;
  ~UnfinishedFile() {
    const NotEnding untilForgotten;
    if (!committed_) unlink(name_.c_str());
    close(fd_);
    forgetUnfinished(name_);
  }

  int fd() const { return fd_; }

  void commit(bool overwrite) {
    setMode();
    // Some disks say only now that they are full; the file stays open, and so locked.
    if (close(dup(fd_)) != 0) failToWrite(path_);
    const NotEnding untilNamed;
    overwrite ? takeName() : takeFreeName();
    committed_ = true;
  }

 private:
  void takeName() const {
    if (std::rename(name_.c_str(), path_.c_str()) != 0) failToWrite(path_);
  }

  // Of the ways to name a file without replacing another only the first is one step everywhere it works.
  void takeFreeName() const {
    if (renameat2(AT_FDCWD, name_.c_str(), AT_FDCWD, path_.c_str(), RENAME_NOREPLACE) == 0) return;
    if (errno == EEXIST) throw Failure(Kind::kExists, path_ + " exists already (--force replaces it)");
    if (access(path_.c_str(), F_OK) == 0) failToWrite(path_);
    takeName();
  }

  // mkostemp makes files that only the owner may read: give the result the mode of the file that it replaces, or of
  // any new file.
  void setMode() {
    struct stat old;
    fchmod(fd_, stat(path_.c_str(), &old) == 0 ? old.st_mode & 0777 : kNewFileMode);
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
  if (got < 0) failToRead(name);
  bytes.resize(size);
  return bytes;
}

// Pipes and devices are written, never replaced.
void writeInto(const std::string& path, const std::uint8_t* bytes, std::size_t size) {
  const OpenFile file{open(path.c_str(), O_WRONLY | O_CLOEXEC)};
  if (file.fd < 0) failToWrite(path);
  writeFully(file.fd, bytes, size, path);
}

struct CloseFolder {
  void operator()(DIR* folder) const { closedir(folder); }
};

// A lock tells that the process that writes it lives, on whatever machine.
void removeUnlessWritten(int folder, const char* name) {
  const OpenFile file{openat(folder, name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC)};
  if (file.fd >= 0 && flock(file.fd, LOCK_EX | LOCK_NB) == 0) unlinkat(folder, name, 0);
}

}  // namespace

bool isLeftover(const std::string& path) {
  const std::size_t name = path.rfind('/') + 1;  // 0 without one
  return path.size() - name == kUnfinishedName && path.compare(name, sizeof kUnfinished - 1, kUnfinished) == 0;
}

void removeLeftovers(const std::string& folder) {
  const std::unique_ptr<DIR, CloseFolder> open(opendir(folder.empty() ? "." : folder.c_str()));
  if (!open) return;
  while (const dirent* entry = readdir(open.get())) {
    if (isLeftover(entry->d_name)) removeUnlessWritten(dirfd(open.get()), entry->d_name);
  }
}

Beginning readBeginning(const std::string& path) {
  constexpr std::size_t kEnough = 1024;
  Beginning beginning;
  const OpenFile file{open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC)};
  struct stat status;
  if (file.fd < 0 || fstat(file.fd, &status) != 0) return beginning;
  beginning.isFile = S_ISREG(status.st_mode);
  if (!beginning.isFile) return beginning;
  beginning.size = static_cast<std::uintmax_t>(status.st_size);
  beginning.bytes.resize(kEnough);
  beginning.bytes.resize(
      static_cast<std::size_t>(std::max<ssize_t>(0, read(file.fd, beginning.bytes.data(), kEnough))));
  return beginning;
}

void willRead(const std::string& path) {
  const OpenFile file{open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC)};
  if (file.fd >= 0) posix_fadvise(file.fd, 0, 0, POSIX_FADV_WILLNEED);
}

Bytes readWhole(const std::string& path) {
  const bool fromStream = isStandardStream(path);
  const std::string name = fromStream ? "standard input" : path;
  const OpenFile file{fromStream ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC)};
  if (file.fd < 0) failToRead(name);
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
