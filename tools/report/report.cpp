#include "report/report.h"

#include <algorithm>
#include <cmath>

#include "decode.h"
#include "describe.h"
#include "failure.h"
#include "file_io.h"

namespace tool {
namespace {

using Json = nlohmann::ordered_json;
using vips::VImage;

constexpr int kLongestEdge = 1600;  // of the pictures under the slider
constexpr int kCropWidth = 320, kCropHeight = 240, kCrops = 3;

std::string dataUri(const VImage& image, int quality) {
  VipsBlob* blob = image.jpegsave_buffer(
      VImage::option()->set("Q", quality)->set("strip", true)->set("subsample_mode", VIPS_FOREIGN_SUBSAMPLE_OFF));
  gchar* text = g_base64_encode(static_cast<const guchar*>(VIPS_AREA(blob)->data), VIPS_AREA(blob)->length);
  std::string uri = std::string("data:image/jpeg;base64,") + text;
  g_free(text);
  vips_area_unref(VIPS_AREA(blob));
  return uri;
}

VImage fitted(const VImage& image) {
  const double scale = static_cast<double>(kLongestEdge) / std::max(image.width(), image.height());
  return scale < 1 ? image.resize(scale) : image;
}

Json picturesOf(const DisplayPair& display) {
  const VImage before = fitted(display.before);
  return {{"width", before.width()},
          {"height", before.height()},
          {"before", dataUri(before, 92)},
          {"after", dataUri(fitted(display.after), 92)}};
}

Json cropsOf(const DisplayPair& display) {
  const VImage difference = magnifiedDifference(display, kMagnification);
  Json crops = Json::array();
  for (const Rectangle& r : mostChanged(display, kCropWidth, kCropHeight, kCrops)) {
    const auto cut = [&](const VImage& image) { return dataUri(image.crop(r.left, r.top, r.width, r.height), 97); };
    crops.push_back({{"left", r.left},
                     {"top", r.top},
                     {"width", r.width},
                     {"height", r.height},
                     {"before", cut(display.before)},
                     {"after", cut(display.after)},
                     {"difference", cut(difference)}});
  }
  return crops;
}

// Brightness, deviation, and 0 for any block, 1 for a candidate, 2 for one that decided.
Json blocksOf(const NoiseProfile& profile) {
  Json blocks = Json::array();
  for (const NoiseBlock& block : profile.blocks) {
    if (!std::isfinite(block.deviation)) continue;
    const double deviation = std::round(static_cast<double>(block.deviation) * 1000) / 1000;
    blocks.push_back({block.brightness, deviation, block.chosen ? 2 : block.candidate ? 1 : 0});
  }
  return blocks;
}

void replace(std::string& text, const std::string& mark, const std::string& value) {
  const std::size_t at = text.find(mark);
  if (at != std::string::npos) text.replace(at, mark.size(), value);
}

// JSON that can stand in a script element: no value may end it.
std::string embedded(const Json& json) {
  std::string text = oneLine(json);
  for (std::size_t at = 0; (at = text.find("</", at)) != std::string::npos; at += 3) text.replace(at, 2, "<\\/");
  return text;
}

}  // namespace

void writeReport(const std::string& path, const Outcome& outcome, const DisplayPair& display,
                 const Options& options) try {
  Json data = describe(outcome, options);
  data["magnification"] = kMagnification;
  data["picture"] = picturesOf(display);
  data["crops"] = cropsOf(display);
  if (outcome.photo) data["blocks"] = blocksOf(outcome.photo->profile);
  std::string page = kReportHtml;
  replace(page, "@style@", kReportStyle);
  replace(page, "@script@", kReportScript);
  replace(page, "@data@", embedded(data));
  writeWhole(path, reinterpret_cast<const std::uint8_t*>(page.data()), page.size(), options.force);
} catch (const vips::VError& error) {
  throw Failure("cannot make " + path + ": " + vipsReason(error));
}

}  // namespace tool
