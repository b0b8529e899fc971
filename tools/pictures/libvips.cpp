#include "pictures/libvips.h"

#include <atomic>
#include <clocale>
#include <condition_variable>
#include <cstring>
#include <mutex>

#include "base/failure.h"

namespace tool::pictures {
namespace {

std::atomic<std::size_t> tilesLeftBlack{0};

// Where a decoder fails, libvips's line cache puts black pixels and says so in a warning; whether the reader also gets
// an error depends on which of its threads came first.
void onMessage(const char*, GLogLevelFlags, const char* message, void*) {
  if (message != nullptr && std::strstr(message, "error in tile") != nullptr) ++tilesLeftBlack;
}

// Who uses libvips: any number of threads beside one another, or one alone, which goes first.
struct Users {
  std::mutex mutex;
  std::condition_variable changed;
  std::size_t inside = 0, entered = 0, waitingToBeAlone = 0;
  bool isOneAlone = false;
};

Users& users() {
  static Users all;
  return all;
}

std::string firstReason(std::string text) {
  vips_error_clear();
  text = text.substr(0, text.find('\n'));
  while (!text.empty() && (text.back() == ' ' || text.back() == '.')) text.pop_back();
  return text.empty() ? "the picture cannot be read" : text;
}

}  // namespace

void listenToDecoders() {
  // libvips took the user's language; the reasons that it gives stand within English sentences.
  std::setlocale(LC_MESSAGES, "C");
  g_log_set_default_handler(onMessage, nullptr);
}

void leaveThread() {
  vips_thread_shutdown();
}

Beside::Beside() {
  std::unique_lock<std::mutex> lock(users().mutex);
  users().changed.wait(lock, [] { return !users().isOneAlone && users().waitingToBeAlone == 0; });
  wasAlone_ = users().inside++ == 0;
  entered_ = ++users().entered;
}

Beside::~Beside() {
  const std::lock_guard<std::mutex> lock(users().mutex);
  if (--users().inside == 0) users().changed.notify_all();
}

bool Beside::wasAlone() const {
  const std::lock_guard<std::mutex> lock(users().mutex);
  return wasAlone_ && users().entered == entered_;
}

Alone::Alone() {
  std::unique_lock<std::mutex> lock(users().mutex);
  ++users().waitingToBeAlone;
  users().changed.wait(lock, [] { return !users().isOneAlone && users().inside == 0; });
  --users().waitingToBeAlone;
  users().isOneAlone = true;
  vips_error_clear();
}

Alone::~Alone() {
  const std::lock_guard<std::mutex> lock(users().mutex);
  users().isOneAlone = false;
  users().changed.notify_all();
}

DecodedPixels readPixels(const vips::VImage& image) {
  const std::size_t before = tilesLeftBlack;
  DecodedPixels pixels;
  pixels.samples.reset(static_cast<std::uint8_t*>(image.write_to_memory(&pixels.bytes)));
  if (tilesLeftBlack != before) throw Failure(firstReason(vips_error_buffer()));
  return pixels;
}

std::string vipsReason(const vips::VError& error) {
  return firstReason(error.what());
}

}  // namespace tool::pictures
