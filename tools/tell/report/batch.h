// The report on many pictures: pages with a line for each, and a folder with a report on each.
#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "run/outcome.h"
#include "run/settings.h"
#include "tell/display.h"

namespace tool::tell {

// The name of the report on one picture in the folder NAME_files beside the page NAME.html.
std::string reportInBatch(const std::string& page, std::size_t index, const std::string& input);

// Before and after in one small picture, as an address.
std::string thumbnailOf(const DisplayPair& pair);

class BatchReport {
 public:
  static constexpr std::size_t kOfPage = 500;

  // Makes the folder. Further pages are NAME-2.html and so on. Throws Failure when one cannot be written.
  BatchReport(const std::string& page, std::size_t files, const run::Settings& settings, bool force);

  // From any thread, each file once. A page is written when it is complete.
  void add(std::size_t index, const run::FileResult& file);
  // Writes the pages that lack files, of a run that stopped early. Throws Failure when a page could not be written.
  void finish();

 private:
  struct Page {
    std::map<std::size_t, std::string> rows;
    std::size_t failed = 0;
    std::vector<std::string> inputs;
  };

  std::size_t pages() const { return (files_ + kOfPage - 1) / kOfPage; }
  std::string pageName(std::size_t page) const;
  std::string rowOf(std::size_t index, const run::FileResult& file) const;
  std::string htmlOf(std::size_t number, const Page& page) const;
  void write(std::size_t number, const Page& page);

  const std::string page_;
  const std::size_t files_;
  const run::Settings settings_;
  const bool force_;
  std::mutex mutex_;
  std::map<std::size_t, Page> open_;
  std::optional<Failure> failure_;
};

}  // namespace tool::tell
