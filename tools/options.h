// The command line.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "formats.h"
#include "settings.h"

namespace tool {

struct Options {
  std::vector<std::string> inputs;  // files, folders or "-"
  std::optional<std::string> output, outputDir;
  std::string suffix = "-clean";
  bool suffixGiven = false;
  bool force = false;
  std::optional<Format> format;
  int quality = 95;
  Settings settings;
  std::optional<std::string> compare, report;
  bool verbose = false, quiet = false, json = false;
};

// A wrong command line; what() is the line to print. Ends with exit status 2.
struct UsageError {
  std::string text;
};

// Returns nothing when --help or --version has been answered. Throws UsageError.
std::optional<Options> parseOptions(int argc, const char* const* argv);

// Version of the tool and of the libraries under it, a name and a version each.
std::vector<std::pair<std::string, std::string>> versions();

}  // namespace tool
