// Which files to denoise and what to call the results.
#pragma once

#include <string>
#include <vector>

#include "options.h"

namespace tool {

struct Job {
  std::string input;
  std::string output;       // empty: named once the input's format is known, see outputFor
  std::string problem;      // a folder that cannot be listed, say; the job fails with it
  std::uintmax_t size = 0;  // of the input file in bytes, 0 when not known
};

// The files among the inputs, and the pictures in the folders among them (all levels down, in order of name; results
// of earlier runs and hidden files left out).
std::vector<Job> planJobs(const Options& options);

// The name of the result of a job whose input has this format.
std::string outputFor(const Job& job, const Options& options, Format inputFormat);

// The format to write: by --format, the name of the result, or the input's. Throws Failure.
Format outputFormat(const std::string& output, const Options& options, Format inputFormat);

}  // namespace tool
