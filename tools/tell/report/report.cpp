#include "tell/report/report.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include "base/failure.h"
#include "pictures/blob.h"
#include "pictures/file_io.h"
#include "pictures/libvips.h"
#include "tell/describe.h"
#include "tell/most_changed.h"
#include "tell/report/page.h"

namespace tool::tell {
namespace {

using vips::VImage;

constexpr int kLongestEdge = 1600;  // of the pictures under the slider
constexpr int kCropWidth = 320, kCropHeight = 240, kCrops = 3;

std::string dataUri(const VImage& image, int quality) {
  const pictures::Blob jpeg(image.jpegsave_buffer(
      VImage::option()->set("Q", quality)->set("strip", true)->set("subsample_mode", VIPS_FOREIGN_SUBSAMPLE_OFF)));
  const std::unique_ptr<gchar, pictures::FreeByGlib> text(g_base64_encode(jpeg.data(), jpeg.size()));
  return std::string("data:image/jpeg;base64,") + text.get();
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
  const VImage difference = magnifiedDifference(display);
  Json crops = Json::array();
  for (const Rectangle& r : mostChanged(display, kCropWidth, kCropHeight, kCrops)) {
    const auto cut = [&](const VImage& image) { return dataUri(r.cutFrom(image), 97); };
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
Json blocksOf(const run::NoiseProfile& profile) {
  Json blocks = Json::array();
  for (const vnr_block& block : profile.blocks) {
    const double deviation = std::round(static_cast<double>(block.deviation) * 1000) / 1000;
    blocks.push_back({block.brightness, deviation, block.role - VNR_BLOCK_USABLE});
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

std::string pageOf(const Json& data) {
  std::string page = kReportHtml;
  replace(page, "@style@", kReportStyle);
  replace(page, "@script@", kReportScript);
  replace(page, "@data@", embedded(data));
  return page;
}

}  // namespace

void writeReport(const std::string& path, const run::FileResult& file, const DisplayPair& display,
                 const run::Settings& settings, bool overwrite) try {
  Json data = describe(file, settings);
  data["magnification"] = kMagnification;
  data["picture"] = picturesOf(display);
  data["crops"] = cropsOf(display);
  if (const auto* work = std::get_if<run::FilterWork>(&file.outcome()->done.work)) {
    data["blocks"] = blocksOf(work->noise);
  }
  const std::string page = pageOf(data);
  pictures::writeWhole(path, reinterpret_cast<const std::uint8_t*>(page.data()), page.size(), overwrite);
} catch (const vips::VError& error) {
  throw Failure("cannot make " + path + ": " + pictures::vipsReason(error));
}

}  // namespace tool::tell
