#include "find/naming.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "base/failure.h"
#include "pictures/file_io.h"

namespace tool::find {
namespace {

namespace fs = std::filesystem;
using pictures::Format;

// The extension stays as the user spells it when it says the right thing.
std::string extensionOf(const fs::path& input, Format format) {
  const auto spelled = pictures::formatOfExtension(input.extension().string());
  return spelled == format && *spelled != Format::kOpenExr ? input.extension().string()
                                                           : pictures::extensionFor(format);
}

void requireReplaceable(const std::string& output, mode_t mode, const Naming& naming) {
  if (S_ISDIR(mode)) throw Failure(Kind::kUnwritable, "cannot write " + output + ": it is a folder");
  if (S_ISREG(mode) && !naming.force) throw Failure(Kind::kExists, output + " exists already (--force replaces it)");
}

// The folder, or where it is still to be made the one that it will be in.
void requireWritableFolder(const std::string& output, const Naming& naming) {
  fs::path folder = fs::path(output).parent_path();
  std::error_code error;
  while (naming.outputDir && !folder.empty() && !fs::exists(folder, error)) folder = folder.parent_path();
  if (access(folder.empty() ? "." : folder.c_str(), W_OK | X_OK) != 0) {
    throw Failure(Kind::kUnwritable, "cannot write " + output + ": " + std::strerror(errno));
  }
}

}  // namespace

std::string outputFor(const std::string& input, const Place& place, const Naming& naming, Format inputFormat) {
  if (const auto* exactly = std::get_if<Exactly>(&place)) return exactly->name;
  const fs::path path(input);
  const auto* elsewhere = std::get_if<InFolder>(&place);
  const fs::path folder = elsewhere != nullptr ? fs::path(elsewhere->folder) : path.parent_path();
  // In another folder the name stays, unless a suffix was asked for.
  const std::string suffix = elsewhere != nullptr ? naming.suffix.value_or("") : naming.suffixBesideInputs();
  return (folder / (path.stem().string() + suffix + extensionOf(path, naming.format.value_or(inputFormat)))).string();
}

Format outputFormat(const std::string& output, const Naming& naming, Format inputFormat) {
  if (naming.format) return *naming.format;
  if (pictures::isStandardStream(output) || output.compare(0, 5, "/dev/") == 0) {
    return inputFormat == Format::kOpenExr ? Format::kRadiance : inputFormat;
  }
  const auto named = pictures::formatOfExtension(fs::path(output).extension().string());
  if (!named) throw Failure("cannot write " + output + ": its name says no format (--format does)");
  if (*named == Format::kOpenExr)
    throw Failure("cannot write " + output + ": OpenEXR is read, not written; results are Radiance (.hdr)");
  return *named;
}

void requireWritable(const std::string& output, const Naming& naming) {
  if (pictures::isStandardStream(output)) {
    if (isatty(STDOUT_FILENO) != 0) throw Failure("a picture on a terminal helps nobody; redirect standard output");
    return;
  }
  struct stat status;
  if (stat(output.c_str(), &status) == 0) {
    requireReplaceable(output, status.st_mode, naming);
  } else {
    requireWritableFolder(output, naming);
  }
}

void makeFolderOf(const std::string& output, const Naming& naming) {
  if (!naming.outputDir) return;
  std::error_code error;
  fs::create_directories(fs::path(output).parent_path(), error);
}

}  // namespace tool::find
