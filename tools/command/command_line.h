// The command line: which command is asked for, and with what.
#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "find/naming.h"
#include "pictures/save_options.h"
#include "run/settings.h"

namespace tool::command {

enum class Words { kQuiet, kLine, kVerbose };

struct Denoise {
  std::vector<std::string> inputs;  // files, folders or "-"
  find::Naming naming;
  pictures::SaveOptions save;
  run::Settings settings;
  std::optional<std::string> compare, report;
  Words words = Words::kLine;
  bool json = false;
};

enum class SortKey { kNone, kName, kNoise, kSize };

struct Profile {
  std::vector<std::string> inputs;
  SortKey sort = SortKey::kNone;
  bool reverse = false, json = false;
};

struct Tune {
  std::string input;
  std::optional<std::string> output, recipe;
  int threads = 1;
  double linger = 10;  // minutes after the page went
  bool force = false, opensBrowser = true;
};

struct SelfTest {};

// --help or --version: said already.
struct Answered {};

using Command = std::variant<Denoise, Profile, Tune, SelfTest, Answered>;

// A wrong command line; the text is the line to print. Ends with exit status 2.
struct UsageError {
  std::string text;
};

// Throws UsageError.
Command parseCommandLine(int argc, const char* const* argv);

}  // namespace tool::command
