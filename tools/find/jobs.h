// Which files are meant, and where the result of each goes.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "find/naming.h"

namespace tool::find {

// A file to work on.
struct Found {
  std::string name;
  std::string below;                   // its folder, seen from the folder that was given; empty for a file given itself
  std::uintmax_t size = 0;             // in bytes, 0 when not known
  std::optional<std::string> problem;  // of a folder that cannot be listed, say: the work on it fails with this
};

// What is no input, though it lies in a folder that is one: results of earlier runs.
struct EarlierResults {
  std::optional<std::string> folder, suffix;
};

// The files among the inputs, and the pictures in the folders among them (all levels down, in order of name; hidden
// files left out).
std::vector<Found> findPictures(const std::vector<std::string>& inputs, const EarlierResults& passedOver);

struct Job {
  Found found;
  Place place;
};

std::vector<Job> planJobs(const std::vector<std::string>& inputs, const Naming& naming);

}  // namespace tool::find
