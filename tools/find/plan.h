// What is to be done: each picture, and where its result goes.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "find/naming.h"
#include "find/pictures.h"

namespace tool::find {

class Plan {
 public:
  // Inputs whose result is that of an input before, or an input itself, have that as their problem. resumes: takes away
  // what killed runs left half done where results go. Throws Failure when there is no list of names.
  Plan(const Inputs& inputs, const Naming& naming, bool resumes);

  std::size_t size() const { return pictures_.size(); }
  std::string input(std::size_t index) const { return pictures_[index].name; }
  std::uint64_t bytes(std::size_t index) const { return pictures_[index].size; }
  std::uintmax_t bytes() const { return pictures_.bytes(); }
  const Failure* problem(std::size_t index) const { return pictures_.problem(index); }

  // The name of the result; empty when none can be told, since the input's format is not known.
  std::string output(std::size_t index) const;

  // Throws Failure when a file that is written beside the results is an input or a result itself.
  void requireApart(const std::string& beside) const;

 private:
  struct Use;

  std::optional<pictures::Format> formatOf(std::size_t index);
  template <typename NameOf>
  std::vector<Use> usesInOrder(NameOf nameOf) const;
  void lookAtInputs();
  void refuseShared();
  void removeLeftoversOfResults() const;

  const Naming& naming_;
  Pictures pictures_;
  std::vector<std::int8_t> formats_;  // of the inputs; below 0 when not known
};

}  // namespace tool::find
