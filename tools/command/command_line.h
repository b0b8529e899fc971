// The command line: which command is asked for, and with what.
#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "find/naming.h"
#include "find/pictures.h"
#include "pictures/save_options.h"
#include "run/pool.h"
#include "run/settings.h"

namespace tool::command {

enum class Words { kQuiet, kLine, kVerbose };

struct Denoise {
  find::Inputs inputs;
  find::Naming naming;
  pictures::SaveOptions save;
  run::Settings settings;
  run::Limits limits;
  bool skipExisting = false, dryRun = false, ordered = false;
  std::optional<std::string> noiseFrom, recipe;  // read before the work begins
  std::optional<int> tile;                       // instead of the recipe's
  std::optional<std::string> compare, report, saveRecipe;
  Words words = Words::kLine;
  bool json = false;
  bool one = false;  // input, by the command line

  bool isBatch() const { return !one; }

  // What is written beside the result.
  std::vector<std::string> beside() const;
};

enum class SortKey { kNone, kName, kNoise, kSize };

struct Profile {
  find::Inputs inputs;
  run::Limits limits;
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
