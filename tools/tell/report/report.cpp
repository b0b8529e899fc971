#include "tell/report/report.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "base/failure.h"
#include "pictures/file_io.h"
#include "pictures/libvips.h"
#include "tell/describe.h"
#include "tell/html.h"
#include "tell/places.h"
#include "tell/print.h"
#include "tell/report/page.h"

namespace tool::tell {
namespace {

using vips::VImage;

constexpr double kMostPixels = 24e6;  // of the pictures in the page
constexpr int kCropWidth = 320, kCropHeight = 240;

// Bigger pictures are shown smaller, which the page says.
double scaleOf(const VImage& image) {
  return std::min(1.0, std::sqrt(kMostPixels / (static_cast<double>(image.width()) * image.height())));
}

VImage scaled(const VImage& image, double scale) {
  return scale < 1 ? image.resize(scale) : image;
}

const char* wordsFor(Look look) {
  switch (look) {
    case Look::kChange:
      return "most changed";
    case Look::kDetail:
      return "most detail";
    default:
      return "detail that changed";
  }
}

std::string figure(const VImage& crop, const std::string& words) {
  return fmt::format(
      "<figure><div class=\"window\" role=\"group\" tabindex=\"0\" aria-label=\"{0}\"><img alt=\"{0}\" "
      "width=\"{1}\" height=\"{2}\" src=\"{3}\"></div><figcaption>{0}</figcaption></figure>",
      words, crop.width(), crop.height(), dataUri(crop, 97));
}

std::string cropsOf(const DisplayPair& display, const std::vector<Place>& places) {
  const VImage difference = magnifiedDifference(display);
  std::string html;
  for (const Place& place : places) {
    const Rectangle& r = place.window;
    const std::string where = fmt::format("{}, at {}, {}", wordsFor(place.look), r.left, r.top);
    html += "<div class=\"crop\">" + figure(r.cutFrom(display.before), "before: " + where) +
            figure(r.cutFrom(display.after), "after: " + where) +
            figure(r.cutFrom(difference), "difference: " + where) + "</div>";
  }
  return html;
}

Json placesAsJson(const std::vector<Place>& places) {
  Json json = Json::array();
  for (const Place& place : places) {
    const Rectangle& r = place.window;
    json.push_back(
        {{"words", wordsFor(place.look)}, {"left", r.left}, {"top", r.top}, {"width", r.width}, {"height", r.height}});
  }
  return json;
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

// JSON that can stand in a script element: no value may end it.
std::string embedded(const Json& json) {
  std::string text = oneLine(json);
  for (std::size_t at = 0; (at = text.find("</", at)) != std::string::npos; at += 3) text.replace(at, 2, "<\\/");
  return text;
}

std::string percent(double scale) {
  return fmt::format("{:.0f} %", 100 * scale);
}

// What the picture is, for who reads the page without its script.
std::string summaryOf(const run::FileResult& file, const run::Settings& settings) {
  const pictures::Layout& layout = file.outcome()->decoded.layout;
  return escaped(fmt::format("{} × {} · {} · preset {} · strength {}", layout.width, layout.height, samplesOf(layout),
                             settings.preset, settings.strength));
}

std::string nameOf(const std::string& path) {
  return pictures::isStandardStream(path) ? "standard input" : path.substr(path.rfind('/') + 1);
}

Json dataOf(const run::FileResult& file, const run::Settings& settings, const std::vector<Place>& places) {
  Json data = describe(file, settings);
  data["places"] = placesAsJson(places);
  if (const auto* work = std::get_if<run::FilterWork>(&file.outcome()->done.work))
    data["blocks"] = blocksOf(work->noise);
  return data;
}

std::string pageOf(const run::FileResult& file, const DisplayPair& display, const run::Settings& settings) {
  const std::vector<Place> places =
      placesOf(display, kCropWidth, kCropHeight, {Look::kChange, Look::kDetail, Look::kBoth});
  const double scale = scaleOf(display.before);
  const VImage before = scaled(display.before, scale);
  Json data = dataOf(file, settings, places);
  data["width_shown"] = display.before.width();
  data["picture"] = {{"width", before.width()}, {"height", before.height()}, {"scale", percent(scale)}};
  const std::string width = std::to_string(before.width()), height = std::to_string(before.height());
  return filledIn(kReportHtml, {{"name", escaped(nameOf(file.input))},
                                {"summary", summaryOf(file, settings)},
                                {"width", width},
                                {"height", height},
                                {"scale", percent(scale)},
                                {"before", dataUri(before, 90)},
                                {"after", dataUri(scaled(display.after, scale), 90)},
                                {"magnification", fmt::format("{:.0f}", kMagnification)},
                                {"crops", cropsOf(display, places)},
                                {"style", filledIn(kReportStyle, {{"width", width}, {"height", height}})},
                                {"data", embedded(data)},
                                {"script", kReportScript}});
}

}  // namespace

void writeReport(const std::string& path, const run::FileResult& file, const DisplayPair& display,
                 const run::Settings& settings, const pictures::Writing& writing) try {
  pictures::writeWhole(path, pageOf(file, display, settings), writing);
} catch (const vips::VError& error) {
  throw Failure("cannot make " + path + ": " + pictures::vipsReason(error));
}

}  // namespace tool::tell
