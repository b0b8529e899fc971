#include "find/plan.h"

#include <algorithm>
#include <filesystem>
#include <functional>
#include <set>
#include <tuple>

#include "base/interruption.h"
#include "pictures/file_io.h"

namespace tool::find {
namespace {

namespace fs = std::filesystem;
using pictures::Format;

constexpr std::int8_t kUnknown = -1;

EarlierResults resultsOf(const Naming& naming) {
  if (naming.outputDir) return {naming.outputDir, std::nullopt};
  if (naming.output || naming.suffixBesideInputs().empty()) return {};
  return {std::nullopt, naming.suffixBesideInputs()};
}

Place placeOf(const Found& found, const Naming& naming) {
  if (naming.output && !naming.output->empty() && naming.output->back() == '/') return InFolder{*naming.output};
  if (naming.output) return Exactly{*naming.output};
  if (pictures::isStandardStream(found.name)) return Exactly{found.name};
  if (naming.outputDir) return InFolder{(fs::path(*naming.outputDir) / found.folderBelow()).string()};
  return BesideInput{};
}

// A path that a file has whatever way leads to it. Most files lie in the folder of the one before.
class RealNames {
 public:
  std::string of(const std::string& name) {
    std::error_code error;
    const fs::path path(name);
    if (fs::is_symlink(path, error)) return fs::weakly_canonical(path, error).string();
    const std::string folder = path.has_parent_path() ? path.parent_path().string() : ".";
    if (folder != folder_) {
      real_ = fs::weakly_canonical(folder, error).string() + "/";
      folder_ = folder;
    }
    return real_ + path.filename().string();
  }

 private:
  std::string folder_, real_;
};

}  // namespace

// A file that a run reads or writes, by a number that few others have. Results come after inputs.
struct Plan::Use {
  std::size_t hash;
  std::uint32_t index;
  bool isResult;

  bool operator<(const Use& other) const {
    return std::tie(hash, isResult, index) < std::tie(other.hash, other.isResult, other.index);
  }
};

Plan::Plan(const Inputs& inputs, const Naming& naming, bool resumes)
    : naming_(naming), pictures_(findPictures(inputs, resultsOf(naming))) {
  lookAtInputs();
  if (size() > 1) refuseShared();
  if (resumes) removeLeftoversOfResults();
}

std::string Plan::output(std::size_t index) const {
  const Found& found = pictures_[index];
  const Place place = placeOf(found, naming_);
  if (const auto* exactly = std::get_if<Exactly>(&place)) return exactly->name;
  if (formats_[index] == kUnknown && !naming_.format) return "";
  const Format format = naming_.format ? *naming_.format : static_cast<Format>(formats_[index]);
  return outputFor(found.name, place, naming_, format);
}

std::optional<Format> Plan::formatOf(std::size_t index) {
  const Found& found = pictures_[index];
  if (problem(index) != nullptr || pictures::isStandardStream(found.name)) return std::nullopt;
  const pictures::Beginning beginning = pictures::readBeginning(found.name);
  std::error_code error;
  if (!beginning.isFile && !naming_.output && !naming_.format && fs::is_other(found.name, error)) {
    pictures_.setProblem(
        index, {Kind::kUnsupported, std::string(found.name) +
                                        ": not a regular file, whose format would "
                                        "be known beforehand (--format or --output says that of the result)"});
  }
  return pictures::sniffFormat(beginning.bytes);
}

void Plan::lookAtInputs() {
  formats_.assign(size(), kUnknown);
  for (std::size_t i = 0; i < size(); ++i) {
    requireNotInterrupted();
    if (const std::optional<Format> format = formatOf(i)) formats_[i] = static_cast<std::int8_t>(*format);
  }
}

template <typename NameOf>
auto Plan::usesInOrder(NameOf nameOf) const -> std::vector<Use> {
  std::vector<Use> uses;
  const std::hash<std::string> hash;
  const auto add = [&](std::uint32_t index, bool isResult) {
    Use use = {0, index, isResult};
    use.hash = hash(nameOf(use));
    uses.push_back(use);
  };
  for (std::uint32_t i = 0; i < size(); ++i) {
    requireNotInterrupted();
    if (problem(i) != nullptr || output(i).empty()) continue;
    // What is no result is never replaced unless that is asked for.
    if (naming_.force) add(i, false);
    add(i, true);
  }
  std::sort(uses.begin(), uses.end());
  return uses;
}

// By hashes, as a million names twice would take much.
void Plan::refuseShared() {
  RealNames inputs, results;
  const auto nameOf = [&](const Use& use) {
    return use.isResult ? results.of(output(use.index)) : inputs.of(input(use.index));
  };
  const std::vector<Use> uses = usesInOrder(nameOf);
  for (auto use = uses.begin(), first = use; use != uses.end(); ++use) {
    if (first->hash != use->hash) first = use;
    const auto isSame = [&](const Use& other) { return other.index != use->index && nameOf(other) == nameOf(*use); };
    const auto other = use->isResult ? std::find_if(first, use, isSame) : use;
    if (other == use) continue;
    const char* what = other->isResult ? " is the result of another input of this run" : " is an input of this run";
    pictures_.setProblem(use->index, {Kind::kDuplicate, input(use->index) + ": " + output(use->index) + what});
  }
}

void Plan::removeLeftoversOfResults() const {
  std::set<std::string> folders;
  for (std::size_t i = 0; i < size(); ++i) {
    const std::string result = output(i);
    if (!result.empty()) folders.insert(fs::path(result).parent_path().string());
  }
  for (const std::string& folder : folders) pictures::removeLeftovers(folder);
}

void Plan::requireApart(const std::string& beside) const {
  RealNames names;
  const std::string real = names.of(beside);
  for (std::size_t i = 0; i < size(); ++i) {
    if (names.of(input(i)) == real) throw Failure(Kind::kDuplicate, beside + " is an input of this run");
    if (names.of(output(i)) == real) throw Failure(Kind::kDuplicate, beside + " is the result of an input of this run");
  }
}

}  // namespace tool::find
