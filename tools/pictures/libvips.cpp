#include "pictures/libvips.h"

#include <fmt/format.h>

#include <atomic>
#include <clocale>
#include <cstring>

#include "base/failure.h"

namespace tool::pictures {
namespace {

std::atomic<bool> tileLeftBlack{false};

// Where a decoder fails, libvips's line cache puts black pixels and says so in a warning; whether the reader also gets
// an error depends on which of its threads came first.
void onMessage(const char*, GLogLevelFlags, const char* message, void*) {
  if (message != nullptr && std::strstr(message, "error in tile") != nullptr) tileLeftBlack = true;
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

void blockOtherLoaders() {
  vips_operation_block_set("VipsForeignLoad", TRUE);
  for (const char* format : {"Png", "Jpeg", "Tiff", "Webp", "Heif", "Jxl", "Ppm", "Rad"})
    vips_operation_block_set(fmt::format("VipsForeignLoad{}", format).c_str(), FALSE);
}

void requireOperation(const char* nickname, const char* format) {
  if (vips_type_find("VipsForeign", nickname) != 0) return;
  throw Failure(fmt::format("{} needs {}, which the libvips of this system was built without", format, nickname));
}

DecodedPixels readPixels(const vips::VImage& image) {
  tileLeftBlack = false;
  DecodedPixels pixels;
  pixels.samples.reset(static_cast<std::uint8_t*>(image.write_to_memory(&pixels.bytes)));
  if (tileLeftBlack) throw Failure(firstReason(vips_error_buffer()));
  return pixels;
}

std::string vipsReason(const vips::VError& error) {
  return firstReason(error.what());
}

}  // namespace tool::pictures
