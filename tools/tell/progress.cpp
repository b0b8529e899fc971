#include "tell/progress.h"

#include <fmt/format.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "tell/printable.h"

namespace tool::tell {
namespace {

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

Progress::Progress(std::size_t files, std::uintmax_t bytes, bool wanted)
    : shown_(wanted && files > 1 && isatty(STDERR_FILENO) != 0),
      files_(files),
      bytes_(std::max<std::uintmax_t>(bytes, 1)) {}

Progress::~Progress() {
  clear();
}

void Progress::begin(const std::string& name) {
  name_ = printable(lastPart(name));
  draw();
}

void Progress::done(std::uintmax_t bytes, double megapixels) {
  ++filesDone_;
  bytesDone_ += bytes;
  megapixels_ += megapixels;
}

void Progress::clear() {
  if (shown_) fmt::print(stderr, "\r\033[K");
}

void Progress::draw() const {
  if (!shown_) return;
  const double share = static_cast<double>(bytesDone_) / static_cast<double>(bytes_);
  constexpr int kCells = 24;
  std::string bar;
  for (int i = 0; i < kCells; ++i) bar += i < share * kCells ? "█" : "░";
  // Bytes of the files foretell the time well enough once the first files are done.
  const std::string rest = share > 0 ? clock(timer_.seconds() * (1 - share) / share) : "--:--";
  const std::string figures = fmt::format(" {}/{}  {:.1f} MP  ETA {}  ", filesDone_, files_, megapixels_, rest);
  const std::size_t width = terminalWidth(), used = kCells + figures.size() + 1;
  std::string name = width > used ? name_.substr(0, width - used) : "";
  // Never the first bytes of a character without its last.
  while (name.size() < name_.size() && !name.empty() && (name_[name.size()] & 0xc0) == 0x80) name.pop_back();
  fmt::print(stderr, "\r\033[K{}{}{}", bar, figures, name);
  std::fflush(stderr);
}

}  // namespace tool::tell
