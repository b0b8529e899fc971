// Which files are meant: those named, those in folders, those on a list.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/failure.h"

namespace tool::find {

// What is no input, though it lies in a folder that is one: results of earlier runs.
struct EarlierResults {
  std::optional<std::string> folder, suffix;
};

// Where the names come from.
struct Inputs {
  std::vector<std::string> names;   // files, folders or "-"
  std::optional<std::string> list;  // a file of further names, taken as they are; "-" is standard input
  bool endsWithNul = false;         // a name on the list, instead of a new line

  bool isOneFile() const;
};

// A file to work on.
struct Found {
  const char* name;        // lives as long as the list of all
  std::uint64_t size = 0;  // in bytes, 0 when not known
  std::uint32_t below =
      0;  // where the part of the name begins that lies below the folder given; 0 for a file given itself

  // The folder of the file, seen from the one that was given.
  std::string folderBelow() const;
};

// A million names take little more than their letters.
class Pictures {
 public:
  void add(const std::string& name, std::uint64_t size, std::size_t below);
  // What cannot be worked on, and why.
  void addProblem(const std::string& name, const Failure& failure);
  void setProblem(std::size_t index, const Failure& failure);
  // Brings those from the first on in the order of their names.
  void sortFrom(std::size_t first);

  std::size_t size() const { return found_.size(); }
  const Found& operator[](std::size_t index) const { return found_[index]; }
  // Null when there is none.
  const Failure* problem(std::size_t index) const;
  std::uintmax_t bytes() const;

 private:
  const char* keep(const std::string& name);

  static constexpr std::size_t kBlock = 1 << 18;
  std::vector<std::unique_ptr<char[]>> blocks_;
  char* next_ = nullptr;
  std::size_t room_ = 0;  // left in the last block
  std::deque<Found> found_;
  std::map<const char*, Failure> problems_;  // by the name
};

// The files among the inputs and on the list, and the pictures in the folders among them (all levels down, in order of
// name; hidden files left out). Files that killed runs left behind are never among them. Throws Failure when the list
// cannot be read.
Pictures findPictures(const Inputs& inputs, const EarlierResults& passedOver);

}  // namespace tool::find
