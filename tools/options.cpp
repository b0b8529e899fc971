#include "options.h"

#include <fmt/format.h>
#include <sys/stat.h>

#include <CLI/CLI.hpp>
#include <exiv2/exiv2.hpp>
#include <thread>
#include <vips/vips8>

#include "failure.h"

namespace tool {
namespace {

bool isFolder(const std::string& path) {
  struct stat status;
  return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

int processors() {
  return std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
}

std::string presetNames() {
  std::string names;
  for (const Preset& preset : presets()) names += fmt::format("{}{}", names.empty() ? "" : ", ", preset.name);
  return names;
}

// INPUT OUTPUT: with two names and no rule for output names, the second is the output.
void takeSecondAsOutput(Options& options) {
  if (options.inputs.size() != 2 || options.output || options.outputDir || options.suffixGiven) return;
  if (isFolder(options.inputs[1]) || isFolder(options.inputs[0])) {
    throw UsageError{"with a folder, say where results go: --output-dir DIR or --suffix TEXT"};
  }
  options.output = options.inputs[1];
  options.inputs.pop_back();
}

void check(const Options& options) {
  const bool one = options.inputs.size() == 1 && !isFolder(options.inputs[0]);
  if (options.output && !one) throw UsageError{"--output names one file and takes one input (--output-dir takes many)"};
  if (options.output && options.outputDir) throw UsageError{"--output and --output-dir exclude each other"};
  if (options.compare && !one) throw UsageError{"--compare takes one input"};
  if (options.report && !one) throw UsageError{"--report takes one input"};
  if (options.verbose && options.quiet) throw UsageError{"--verbose and --quiet exclude each other"};
  if (options.suffix.find('/') != std::string::npos) throw UsageError{"--suffix is a part of a name and holds no /"};
  if (options.suffix.empty() && !options.outputDir && !options.output && !options.force) {
    throw UsageError{"an empty --suffix would replace the inputs; if that is meant, add --force"};
  }
  if (options.format && *options.format == Format::kOpenExr) {
    throw UsageError{"OpenEXR is read, not written; results are Radiance (--format hdr)"};
  }
  const int smallestTile = options.settings.threads == 1 ? 48 : 56;
  if (options.settings.tile < smallestTile) {
    throw UsageError{fmt::format("--tile is at least {}{}", smallestTile,
                                 options.settings.threads == 1 ? "" : " (48 with --threads 1)")};
  }
}

constexpr char kFooter[] =
    "\nveskaro-nr INPUT OUTPUT denoises one file. Otherwise results are named by --output, --output-dir or --suffix.\n"
    "veskaro-nr profile FILE... prints the noise of pictures and writes nothing (veskaro-nr profile --help).\n"
    "veskaro-nr selftest checks that the library computes on this machine what it computes on every other.\n"
    "\nExit status: 0 all done, 1 some files failed, 2 the command line is wrong.";

}  // namespace

std::vector<std::pair<std::string, std::string>> versions() {
  return {{"veskaro-nr",
           fmt::format("{}.{}.{}", VESKARONR_VERSION_MAJOR, VESKARONR_VERSION_MINOR, VESKARONR_VERSION_PATCH)},
          {"libvips", vips_version_string()},
          {"exiv2", Exiv2::version()}};
}

std::optional<Options> parseOptions(int argc, const char* const* argv) {
  Options options;
  std::string format;
  std::vector<std::string> settings;
  CLI::App app{"Removes noise from photographs and high-dynamic-range pictures.", "veskaro-nr"};
  app.footer(kFooter);
  app.get_formatter()->column_width(34);
  app.add_option("files", options.inputs, "Pictures or folders of pictures; - is standard input or output")
      ->required()
      ->type_name("FILE");

  const auto text = [&](const char* names, auto& target, const char* help, const char* type, const char* group) {
    return app.add_option(names, target, help)->type_name(type)->group(group);
  };
  const char* out = "Output";
  text("-o,--output", options.output, "Name of the result", "FILE", out);
  text("-d,--output-dir", options.outputDir, "Folder of the results; their names stay", "DIR", out);
  CLI::Option* suffix =
      text("--suffix", options.suffix, "Added to the names of results, before the extension [-clean]", "TEXT", out);
  app.add_flag("-f,--force", options.force, "Replace files that exist")->group(out);
  text("--format", format, "png, jpg, tif, webp or hdr, whatever the name says", "NAME", out);
  text("--quality", options.quality, "Of JPEG and lossy WebP [95]", "1..100", out)->check(CLI::Range(1, 100));

  const char* control = "Control";
  text("--strength", options.settings.strength, "100 is nominal; below 100 high-dynamic-range pictures get chroma only",
       "50..150", control)
      ->check(CLI::Range(50, 150));
  text("--preset", options.settings.preset, fmt::format("{} [default]", presetNames()).c_str(), "NAME", control);
  text("--set", settings, "Set a parameter; may be repeated", "NAME=VALUE", control)->allow_extra_args(false);
  app.add_flag("--chroma-only", options.settings.chromaOnly, "Leave luminance as it is")->group(control);
  options.settings.threads = processors();
  text("--threads", options.settings.threads, "Threads [one a processor]", "1..", control)->check(CLI::Range(1, 1024));
  text("--tile", options.settings.tile, "Edge of a tile in pixels [256]", "48..", control)
      ->check(CLI::Range(48, 1 << 15));

  const char* show = "To see and to know";
  text("--compare", options.compare, "Write a picture of before, after and difference", "FILE.png", show);
  text("--report", options.report, "Write a page to look at in a browser", "FILE.html", show);
  app.add_flag("-v,--verbose", options.verbose, "Say what was measured, set and changed")->group(show);
  app.add_flag("-q,--quiet", options.quiet, "Say nothing but errors")->group(show);
  app.add_flag("--json", options.json, "Print a JSON object a file, one a line")->group(show);

  std::string version;
  for (const auto& [name, number] : versions())
    version += fmt::format("{}{} {}", version.empty() ? "" : ", ", name, number);
  app.set_version_flag("--version", version);

  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& answered) {
    app.exit(answered);
    return std::nullopt;
  } catch (const CLI::ParseError& error) {
    throw UsageError{error.what()};
  }
  if (!format.empty()) {
    options.format = formatOfExtension(format);
    if (!options.format)
      throw UsageError{fmt::format("there is no format \"{}\"; there are png, jpg, tif, webp and hdr", format)};
  }
  if (findPreset(options.settings.preset) == nullptr) {
    throw UsageError{fmt::format("there is no preset \"{}\"; there are {}", options.settings.preset, presetNames())};
  }
  try {
    for (const std::string& setting : settings) options.settings.settings.push_back(parseSetting(setting));
  } catch (const Failure& failure) {
    throw UsageError{failure.what()};
  }
  options.suffixGiven = suffix->count() > 0;
  takeSecondAsOutput(options);
  check(options);
  return options;
}

}  // namespace tool
