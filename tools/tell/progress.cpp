#include "tell/progress.h"

#include <fmt/format.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "base/interruption.h"
#include "pictures/file_io.h"
#include "tell/printable.h"

namespace tool::tell {
namespace {

constexpr int kCells = 24;

std::size_t terminalWidth() {
  winsize size{};
  return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

std::string clock(double seconds) {
  const long whole = static_cast<long>(seconds + 0.5);
  return whole >= 3600 ? fmt::format("{}:{:02}:{:02}", whole / 3600, whole / 60 % 60, whole % 60)
                       : fmt::format("{}:{:02}", whole / 60, whole % 60);
}

std::string lastPart(const std::string& path) {
  return path.substr(path.rfind('/') + 1);
}

}  // namespace

Progress::Progress(std::size_t files, std::uintmax_t bytes, std::size_t places, bool wanted)
    : shown_(wanted && isatty(STDERR_FILENO) != 0),
      files_(files),
      bytes_(static_cast<double>(std::max<std::uintmax_t>(bytes, 1))),
      atWork_(places) {}

Progress::~Progress() {
  clear();
}

void Progress::begin(std::size_t place, const std::string& name, std::uintmax_t bytes) {
  const std::lock_guard<std::mutex> lock(mutex_);
  name_ = printable(pictures::isStandardStream(name) ? "standard input" : lastPart(name));
  // Of one picture the share itself is shown, so its bytes must not be 0 as those of a stream are.
  atWork_[place] = {isOne() ? bytes_ : static_cast<double>(bytes), 0};
  note();
  // One picture may be done before anybody looks.
  if (!isOne()) draw();
}

void Progress::advance(std::size_t place, double share) {
  constexpr double kSeconds = 0.2;
  const std::lock_guard<std::mutex> lock(mutex_);
  // What is left is the writing.
  atWork_[place].share = 0.99 * share;
  if (isOne()) note();
  if (!shown_ || sinceDrawn_.seconds() < kSeconds) return;
  sinceDrawn_.lap();
  draw();
}

void Progress::done(std::size_t place, double megapixels) {
  const std::lock_guard<std::mutex> lock(mutex_);
  ++filesDone_;
  bytesDone_ += atWork_[place].bytes;
  atWork_[place] = {};
  megapixels_ += megapixels;
  if (!isOne()) note();
}

void Progress::clear() {
  if (isDrawn_) fmt::print(stderr, "\r\033[K");
  isDrawn_ = false;
}

void Progress::note() const {
  noteHowFar(isOne() ? fmt::format("after {} % of {}", static_cast<int>(100 * atWork_[0].share), name_)
                     : fmt::format("after {} of {} pictures", filesDone_, files_),
             isDrawn_);
}

double Progress::shareOfAll() const {
  double done = bytesDone_;
  for (const AtWork& file : atWork_) done += file.share * file.bytes;
  return done / bytes_;
}

std::string Progress::figures() const {
  const double share = shareOfAll();
  std::string bar;
  for (int i = 0; i < kCells; ++i) bar += i < share * kCells ? "█" : "░";
  // Bytes of the files foretell the time well enough once the first files are done.
  const std::string rest = share > 0 ? clock(timer_.seconds() * (1 - share) / share) : "--:--";
  return isOne() ? fmt::format("{} {:.0f} %  ETA {}  ", bar, 100 * share, rest)
                 : fmt::format("{} {}/{}  {:.1f} MP  ETA {}  ", bar, filesDone_, files_, megapixels_, rest);
}

void Progress::draw() {
  if (!shown_) return;
  if (!isDrawn_) {
    isDrawn_ = true;
    note();
  }
  const std::string before = figures();
  // A cell of the bar takes three bytes.
  const std::size_t width = terminalWidth(), used = before.size() - std::size_t{2} * kCells + 1;
  std::string name = width > used ? name_.substr(0, width - used) : "";
  // Never the first bytes of a character without its last.
  while (name.size() < name_.size() && !name.empty() && (name_[name.size()] & 0xc0) == 0x80) name.pop_back();
  fmt::print(stderr, "\r\033[K{}{}", before, name);
  std::fflush(stderr);
}

}  // namespace tool::tell
