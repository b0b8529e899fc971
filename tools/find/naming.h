// What results are called, and whether they may be written there.
#pragma once

#include <optional>
#include <string>
#include <variant>

#include "pictures/formats.h"

namespace tool::find {

// The rules of a command line.
struct Naming {
  std::optional<std::string> output, outputDir;
  std::optional<std::string> suffix;  // when one was asked for
  std::optional<pictures::Format> format;
  bool force = false;  // replace files that exist

  // The suffix of results that stand beside their inputs.
  std::string suffixBesideInputs() const { return suffix.value_or("-clean"); }
};

// Where the result of one input goes.
struct Exactly {
  std::string name;
};
struct InFolder {
  std::string folder;
};
struct BesideInput {};
using Place = std::variant<BesideInput, InFolder, Exactly>;

// The name of the result of an input of this format.
std::string outputFor(const std::string& input, const Place& place, const Naming& naming, pictures::Format inputFormat);

// The format to write: by --format, the name of the result, or the input's. Throws Failure.
pictures::Format outputFormat(const std::string& output, const Naming& naming, pictures::Format inputFormat);

// Throws Failure when the output cannot be written: to be asked before the work is done rather than after it.
void requireWritable(const std::string& output, const Naming& naming);

// Makes the folder of results, and that of this one in it. What goes wrong shows when the result is written.
void makeFolderOf(const std::string& output, const Naming& naming);

}  // namespace tool::find
