#include "tell/report/batch.h"

#include <fmt/format.h>
#include <glib.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <memory>

#include "base/failure.h"
#include "pictures/file_io.h"
#include "pictures/libvips.h"
#include "tell/html.h"
#include "tell/print.h"
#include "tell/report/page.h"
#include "tell/versions.h"

namespace tool::tell {
namespace {

namespace fs = std::filesystem;
using vips::VImage;

constexpr int kThumbnail = 120;            // edge of the box of one, in pixels
constexpr std::size_t kLongestName = 180;  // of a file, in bytes; what comes before and after it takes some

fs::path withoutExtension(const std::string& page) {
  const fs::path path(page);
  return path.extension() == ".html" || path.extension() == ".htm" ? path.parent_path() / path.stem() : path;
}

fs::path folderOf(const std::string& page) {
  return withoutExtension(page).string() + "_files";
}

std::string shortName(const std::string& input) {
  const std::string name = pictures::isStandardStream(input) ? "standard input" : fs::path(input).filename().string();
  return name.substr(0, kLongestName);
}

// A relative address; letters that mean something in addresses, and bytes of any kind, are written as numbers.
std::string addressOf(const fs::path& below) {
  const std::string path = below.string();
  const std::unique_ptr<gchar, pictures::FreeByGlib> address(g_uri_escape_string(path.c_str(), "/", FALSE));
  return std::string("./") + address.get();
}

VImage fitted(const VImage& image) {
  const double scale = static_cast<double>(kThumbnail) / std::max(image.width(), image.height());
  return scale < 1 ? image.resize(scale) : image;
}

std::string cell(const std::string& key, const std::string& html, const char* style = "") {
  return fmt::format("<td{} data-key=\"{}\">{}</td>", style, key, html);
}

std::string number(const std::string& key, const std::string& words) {
  return cell(key, words, " class=\"number\"");
}

std::string noiseCell(const run::Work& work) {
  const auto* filters = std::get_if<run::FilterWork>(&work);
  if (filters == nullptr || filters->noise.noise.grain == VNR_GRAIN_UNKNOWN) return number("", "");
  const float* sigma = filters->noise.noise.sigma;
  const float strongest = std::max({sigma[0], sigma[1], sigma[2]});
  return number(fmt::format("{:.5f}", strongest), sigmaOf(filters->noise));
}

std::string cellsOf(const run::Outcome& outcome) {
  const pictures::Layout& layout = outcome.decoded.layout;
  const double share = 100 * outcome.done.change.share;
  return number(fmt::format("{:.6f}", layout.megapixels()),
                fmt::format("{} × {}, {}", layout.width, layout.height, samplesOf(layout))) +
         noiseCell(outcome.done.work) + number(fmt::format("{:.5f}", share), fmt::format("{:.1f} %", share)) +
         number(fmt::format("{:.6f}", outcome.totalSeconds), fmt::format("{:.2f}", outcome.totalSeconds));
}

// The last column; in order of its key failures come first.
std::string stateOf(const run::FileResult& file) {
  if (const Failure* failure = file.failure())
    return cell(fmt::format("0 {}", nameOf(failure->kind)), fmt::format("failed: {}", escaped(failure->what())));
  const run::Outcome* outcome = file.outcome();
  if (outcome == nullptr) return cell("1", "there already");
  const run::Done& done = outcome->done;
  std::string words = "done";
  if (done.whyUnchanged) words += fmt::format("; nothing changed: {}", escaped(*done.whyUnchanged));
  if (outcome->decoded.note) words += fmt::format("; {}", escaped(*outcome->decoded.note));
  return cell("2", words);
}

std::string linkTo(const std::string& address, const std::string& words, const char* more = "") {
  return fmt::format("<a href=\"{}\"{}>{}</a>", address, more, words);
}

}  // namespace

std::string reportInBatch(const std::string& page, std::size_t index, const std::string& input) {
  return (folderOf(page) / fmt::format("{:05}-{}.html", index + 1, shortName(input))).string();
}

std::string thumbnailOf(const DisplayPair& pair) {
  return dataUri(
      fitted(pair.before).join(fitted(pair.after), VIPS_DIRECTION_HORIZONTAL, VImage::option()->set("shim", 2)), 80);
}

BatchReport::BatchReport(const std::string& page, std::size_t files, const run::Settings& settings, bool force)
    : page_(page), files_(files), settings_(settings), force_(force) {
  std::error_code error;
  for (std::size_t number = 0; number < pages() && !force; ++number) {
    if (fs::exists(pageName(number), error))
      throw Failure(Kind::kExists, pageName(number) + " exists already (--force replaces it)");
  }
  fs::create_directories(folderOf(page), error);
  if (error)
    throw Failure(Kind::kUnwritable, fmt::format("cannot write {}: {}", folderOf(page).string(), error.message()));
}

void BatchReport::add(std::size_t index, const run::FileResult& file) {
  const std::lock_guard<std::mutex> lock(mutex_);
  const std::size_t number = index / kOfPage;
  Page& page = open_[number];
  page.rows[index] = rowOf(index, file);
  page.failed += file.failure() != nullptr ? 1 : 0;
  page.inputs.push_back(file.input);
  if (page.rows.size() < std::min(kOfPage, files_ - number * kOfPage)) return;
  write(number, page);
  open_.erase(number);
}

void BatchReport::finish() {
  const std::lock_guard<std::mutex> lock(mutex_);
  for (const auto& [number, page] : open_) write(number, page);
  open_.clear();
  if (failure_) throw *failure_;
}

std::string BatchReport::pageName(std::size_t page) const {
  if (page == 0) return page_;
  return fmt::format("{}-{}{}", withoutExtension(page_).string(), page + 1,
                     page_.substr(withoutExtension(page_).string().size()));
}

std::string BatchReport::rowOf(std::size_t index, const run::FileResult& file) const {
  const std::string name = escaped(shortName(file.input)), full = escaped(file.input);
  const fs::path report = reportInBatch(page_, index, file.input);
  const std::string address = addressOf(report.lexically_relative(fs::path(page_).parent_path()));
  const bool isShown = !file.shown.empty();
  const std::string picture =
      isShown ? fmt::format("<img src=\"{}\" alt=\"{}, before and after\">", file.shown, name) : "";
  const run::Outcome* outcome = file.outcome();
  return fmt::format("<tr class=\"{}\">", file.failure() != nullptr ? "failed" : "") +
         number(std::to_string(index + 1), std::to_string(index + 1)) + "<td>" + picture + "</td>" +
         cell(full, isShown ? linkTo(address, name, fmt::format(" title=\"{}\"", full).c_str()) : name) +
         (outcome != nullptr ? cellsOf(*outcome) : number("", "") + number("", "") + number("", "") + number("", "")) +
         stateOf(file) + "</tr>\n";
}

std::string BatchReport::htmlOf(std::size_t number, const Page& page) const {
  std::string rows, links, versionWords;
  for (const auto& [index, row] : page.rows) rows += row;
  for (std::size_t other = 0; pages() > 1 && other < pages(); ++other) {
    const std::string address = addressOf(fs::path(pageName(other)).filename());
    links += linkTo(address, std::to_string(other + 1), other == number ? " aria-current=\"page\"" : "") + " ";
  }
  for (const auto& [name, version] : versions())
    versionWords += fmt::format("{}{} {}", versionWords.empty() ? "" : " · ", name, version);
  const std::string of = pages() > 1 ? fmt::format(" · page {} of {}", number + 1, pages()) : "";
  return filledIn(
      kBatchHtml,
      {{"title", fmt::format("{} pictures", files_)},
       {"summary", escaped(fmt::format("{} here, {} of them failed · preset {} · strength {}{}", page.rows.size(),
                                       page.failed, settings_.preset, settings_.strength, of))},
       {"style", filledIn(kReportStyle, {{"width", "1"}, {"height", "1"}})},
       {"rows", rows},
       {"pages", links.empty() ? "" : "<nav aria-label=\"Pages\">" + links + "</nav>"},
       {"versions", escaped(versionWords)},
       {"script", kBatchScript}});
}

void BatchReport::write(std::size_t number, const Page& page) try {
  pictures::writeWhole(pageName(number), htmlOf(number, page), {force_, page.inputs});
} catch (const Failure& failure) {
  failure_ = failure;
}

}  // namespace tool::tell
