#include "find/pictures.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <numeric>

#include "base/interruption.h"
#include "pictures/file_io.h"
#include "pictures/formats.h"

namespace tool::find {
namespace {

namespace fs = std::filesystem;

bool endsWith(const std::string& text, const std::string& end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

Failure unreadable(const std::string& name, const std::string& why) {
  return {Kind::kUnreadable, "cannot read " + name + ": " + why};
}

// Adds the pictures of one folder given as input. A folder below it that cannot be listed is found with its problem;
// the others go on.
class FolderSearch {
 public:
  FolderSearch(const fs::path& top, const EarlierResults& passedOver, Pictures& found)
      : passedOver_(passedOver), found_(found), below_(top.string().size() + (endsWith(top.string(), "/") ? 0 : 1)) {}

  void search(const fs::path& folder) {
    std::error_code error;
    std::vector<fs::path> folders;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
      requireNotInterrupted();
      if (entry->path().filename().string()[0] != '.') take(*entry, folders);
    }
    if (error) found_.addProblem(folder.string(), unreadable(folder.string(), error.message()));
    for (const fs::path& below : folders) search(below);
  }

 private:
  void take(const fs::directory_entry& entry, std::vector<fs::path>& folders) {
    std::error_code error;
    if (entry.is_directory(error)) {
      if (isToBeSearched(entry)) folders.push_back(entry.path());
    } else if (isInput(entry)) {
      found_.add(entry.path().string(), entry.file_size(error), below_);
    }
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

  const EarlierResults& passedOver_;
  Pictures& found_;
  const std::size_t below_;
};

void addFolder(const std::string& folder, const EarlierResults& passedOver, Pictures& found) {
  const std::size_t before = found.size();
  FolderSearch(folder, passedOver, found).search(folder);
  if (found.size() == before) found.addProblem(folder, unreadable(folder, "there are no pictures in the folder"));
  found.sortFrom(before);
}

void addFile(const std::string& name, Pictures& found) {
  if (pictures::isLeftover(name)) return;
  std::error_code error;
  const std::uintmax_t size = pictures::isStandardStream(name) ? 0 : fs::file_size(name, error);
  found.add(name, error ? 0 : size, 0);
}

struct Free {
  void operator()(char* line) const { std::free(line); }
};
struct CloseList {
  void operator()(std::FILE* file) const {
    if (file != stdin) std::fclose(file);
  }
};

// The next name of a list; false at its end.
class List {
 public:
  List(const std::string& name, char end) : name_(name), end_(end) {
    file_.reset(pictures::isStandardStream(name) ? stdin : std::fopen(name.c_str(), "re"));
    if (!file_) throw unreadable(name_, std::strerror(errno));
  }

  bool next(std::string& name) {
    char* line = line_.release();
    const ssize_t length = getdelim(&line, &room_, end_, file_.get());
    line_.reset(line);
    if (length < 0 && std::ferror(file_.get()) != 0) throw unreadable(name_, std::strerror(errno));
    if (length < 0) return false;
    name.assign(line, static_cast<std::size_t>(length));
    if (!name.empty() && name.back() == end_) name.pop_back();
    return true;
  }

 private:
  const std::string name_;
  const char end_;
  std::unique_ptr<std::FILE, CloseList> file_;
  std::unique_ptr<char, Free> line_;
  std::size_t room_ = 0;
};

void addList(const Inputs& inputs, Pictures& found) {
  List list(*inputs.list, inputs.endsWithNul ? '\0' : '\n');
  std::string name;
  while (list.next(name)) {
    requireNotInterrupted();
    if (std::strlen(name.c_str()) < name.size())
      found.addProblem(name.c_str(), unreadable(name.c_str(), "the name on the list holds a NUL (--null is missing?)"));
    else if (!name.empty())
      // Names are of files, one that is a dash too.
      addFile(pictures::isStandardStream(name) ? "./" + name : name, found);
  }
}

}  // namespace

bool Inputs::isOneFile() const {
  std::error_code error;
  return !list && names.size() == 1 && !fs::is_directory(names[0], error);
}

std::string Found::folderBelow() const {
  return below == 0 ? "" : fs::path(name + below).parent_path().string();
}

const char* Pictures::keep(const std::string& name) {
  const std::size_t size = name.size() + 1;
  if (room_ < size) {
    room_ = std::max(kBlock, size);
    blocks_.emplace_back(new char[room_]);
    next_ = blocks_.back().get();
  }
  const char* const kept = static_cast<const char*>(std::memcpy(next_, name.c_str(), size));
  next_ += size;
  room_ -= size;
  return kept;
}

void Pictures::add(const std::string& name, std::uint64_t size, std::size_t below) {
  found_.push_back({keep(name), size, static_cast<std::uint32_t>(below)});
}

void Pictures::addProblem(const std::string& name, const Failure& failure) {
  add(name, 0, 0);
  setProblem(size() - 1, failure);
}

void Pictures::setProblem(std::size_t index, const Failure& failure) {
  problems_.emplace(found_[index].name, failure);
}

const Failure* Pictures::problem(std::size_t index) const {
  const auto found = problems_.find(found_[index].name);
  return found == problems_.end() ? nullptr : &found->second;
}

void Pictures::sortFrom(std::size_t first) {
  const auto inOrder = [](const Found& a, const Found& b) {
    // A folder with all that is in it stands where its name does.
    const auto rank = [](char c) { return c == '/' ? 0 : static_cast<unsigned char>(c); };
    const char *p = a.name, *q = b.name;
    while (*p != '\0' && *p == *q) ++p, ++q;
    return rank(*p) < rank(*q);
  };
  std::sort(found_.begin() + static_cast<std::ptrdiff_t>(first), found_.end(), inOrder);
}

std::uintmax_t Pictures::bytes() const {
  return std::accumulate(found_.begin(), found_.end(), std::uintmax_t{0},
                         [](std::uintmax_t sum, const Found& found) { return sum + found.size; });
}

Pictures findPictures(const Inputs& inputs, const EarlierResults& passedOver) {
  Pictures found;
  for (const std::string& input : inputs.names) {
    std::error_code error;
    if (pictures::isStandardStream(input) || !fs::is_directory(input, error)) {
      addFile(input, found);
    } else {
      addFolder(input, passedOver, found);
    }
  }
  if (inputs.list) addList(inputs, found);
  return found;
}

}  // namespace tool::find
