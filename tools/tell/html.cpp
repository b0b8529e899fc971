#include "tell/html.h"

#include <glib.h>

#include <memory>

#include "pictures/blob.h"
#include "pictures/libvips.h"

namespace tool::tell {
namespace {

using Text = std::unique_ptr<gchar, pictures::FreeByGlib>;

}  // namespace

std::string dataUri(const vips::VImage& image, int quality) {
  const pictures::Blob jpeg(image.jpegsave_buffer(vips::VImage::option()
                                                      ->set("Q", quality)
                                                      ->set("strip", true)
                                                      ->set("optimize_coding", true)
                                                      ->set("subsample_mode", VIPS_FOREIGN_SUBSAMPLE_OFF)));
  const Text text(g_base64_encode(jpeg.data(), jpeg.size()));
  return std::string("data:image/jpeg;base64,") + text.get();
}

std::string escaped(const std::string& text) {
  const Text valid(g_utf8_make_valid(text.data(), static_cast<gssize>(text.size())));
  const Text marked(g_markup_escape_text(valid.get(), -1));
  return marked.get();
}

std::string filledIn(const std::string& page, const std::map<std::string, std::string>& values) {
  std::string filled;
  std::size_t from = 0;
  for (;;) {
    const std::size_t at = page.find('@', from), end = page.find('@', at + 1);
    if (at == std::string::npos || end == std::string::npos) return filled + page.substr(from);
    const auto value = values.find(page.substr(at + 1, end - at - 1));
    filled += page.substr(from, at - from) + (value != values.end() ? value->second : "@");
    from = value != values.end() ? end + 1 : at + 1;
  }
}

}  // namespace tool::tell
