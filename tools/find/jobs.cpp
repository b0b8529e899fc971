#include "find/jobs.h"

#include <algorithm>
#include <filesystem>

#include "pictures/file_io.h"

namespace tool::find {
namespace {

namespace fs = std::filesystem;

bool endsWith(const std::string& text, const std::string& end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

Found unreadable(const std::string& folder, const std::string& why) {
  return {folder, "", 0, "cannot read " + folder + ": " + why};
}

// Adds the pictures of one folder given as input, in order of name. A folder below it that cannot be listed is found
// with its problem; the others go on.
class FolderSearch {
 public:
  FolderSearch(const fs::path& top, const EarlierResults& passedOver, std::vector<Found>& found)
      : top_(top), passedOver_(passedOver), found_(found) {}

  void search(const fs::path& folder) {
    for (const fs::directory_entry& entry : listed(folder)) {
      std::error_code error;
      if (entry.is_directory(error)) {
        if (isToBeSearched(entry)) search(entry.path());
      } else if (isInput(entry)) {
        found_.push_back({entry.path().string(), entry.path().lexically_relative(top_).parent_path().string(),
                          entry.file_size(error), std::nullopt});
      }
    }
  }

 private:
  std::vector<fs::directory_entry> listed(const fs::path& folder) {
    std::error_code error;
    std::vector<fs::directory_entry> entries;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
      if (entry->path().filename().string()[0] != '.') entries.push_back(*entry);
    }
    if (error) found_.push_back(unreadable(folder.string(), error.message()));
    std::sort(entries.begin(), entries.end());
    return entries;
  }

  // A result folder inside the input folder must not feed the next run, nor a link lead round in circles.
  bool isToBeSearched(const fs::directory_entry& folder) const {
    std::error_code error;
    const bool results = passedOver_.folder && fs::equivalent(folder.path(), *passedOver_.folder, error);
    return !results && !folder.is_symlink(error);
  }

  bool isInput(const fs::directory_entry& file) const {
    std::error_code error;
    if (!file.is_regular_file(error)) return false;
    if (!pictures::formatOfExtension(file.path().extension().string())) return false;
    return !passedOver_.suffix || !endsWith(file.path().stem().string(), *passedOver_.suffix);
  }

  const fs::path top_;
  const EarlierResults& passedOver_;
  std::vector<Found>& found_;
};

Found fileGiven(const std::string& name) {
  std::error_code error;
  const std::uintmax_t size = pictures::isStandardStream(name) ? 0 : fs::file_size(name, error);
  return {name, "", error ? 0 : size, std::nullopt};
}

EarlierResults resultsOf(const Naming& naming) {
  if (naming.outputDir) return {naming.outputDir, std::nullopt};
  if (naming.output || naming.suffixBesideInputs().empty()) return {};
  return {std::nullopt, naming.suffixBesideInputs()};
}

Place placeOf(const Found& found, const Naming& naming) {
  if (naming.output && endsWith(*naming.output, "/")) return InFolder{*naming.output};
  if (naming.output) return Exactly{*naming.output};
  if (pictures::isStandardStream(found.name)) return Exactly{found.name};
  if (naming.outputDir) return InFolder{(fs::path(*naming.outputDir) / found.below).string()};
  return BesideInput{};
}

}  // namespace

std::vector<Found> findPictures(const std::vector<std::string>& inputs, const EarlierResults& passedOver) {
  std::vector<Found> found;
  for (const std::string& input : inputs) {
    std::error_code error;
    if (pictures::isStandardStream(input) || !fs::is_directory(input, error)) {
      found.push_back(fileGiven(input));
      continue;
    }
    const std::size_t before = found.size();
    FolderSearch(input, passedOver, found).search(input);
    if (found.size() == before) found.push_back(unreadable(input, "there are no pictures in the folder"));
  }
  return found;
}

std::vector<Job> planJobs(const std::vector<std::string>& inputs, const Naming& naming) {
  std::vector<Job> jobs;
  for (Found& found : findPictures(inputs, resultsOf(naming))) {
    const Place place = placeOf(found, naming);
    jobs.push_back({std::move(found), place});
  }
  return jobs;
}

}  // namespace tool::find
