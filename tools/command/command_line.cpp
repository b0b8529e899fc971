#include "command/command_line.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <map>
#include <memory>

#include "base/failure.h"
#include "base/machine.h"
#include "tell/versions.h"

namespace tool::command {
namespace {

constexpr char kFooter[] =
    "\nveskaro-nr INPUT OUTPUT denoises one file. Otherwise results are named by --output, --output-dir or --suffix.\n"
    "veskaro-nr profile FILE... prints the noise of pictures and writes nothing (veskaro-nr profile --help).\n"
    "veskaro-nr tune PICTURE opens a page to turn the dials on it in a browser (veskaro-nr tune --help).\n"
    "veskaro-nr selftest checks that the library computes on this machine what it computes on every other.\n"
    "\nExit status: 0 all done, 1 some files failed, 2 the command line is wrong.";

bool isFolder(const std::string& path) {
  std::error_code error;
  return std::filesystem::is_directory(path, error);
}

// The options of denoising and of profile that say where names come from and how many pictures are at work.
CLI::Option* addNames(CLI::App& app, find::Inputs& inputs, const char* help) {
  return app.add_option("files", inputs.names, help)->type_name("FILE");
}

void addList(CLI::App& app, find::Inputs& inputs, const char* group) {
  CLI::Option* list =
      app.add_option("--files-from", inputs.list, "Names of pictures, a line each; - is standard input");
  list->type_name("FILE")->group(group);
  app.add_flag("--null", inputs.endsWithNul, "The names on that list end in NUL, as those of find -print0")
      ->group(group)
      ->needs(list);
}

void addLimits(CLI::App& app, run::Limits& limits, const char* group) {
  const auto add = [&](const char* name, std::optional<int>& number, const char* help) {
    app.add_option(name, number, help)->type_name("1..")->group(group)->check(CLI::Range(1, 1024));
  };
  add("--jobs", limits.jobs, "Pictures at once, at most [as many as threads]");
  add("--threads", limits.threads, "Threads of all together [one a processor]");
  app.add_option("--memory", limits.memory, "That pictures at once may take, as 4G or 500M [half of what is free]")
      ->type_name("SIZE")
      ->group(group)
      ->transform(CLI::AsSizeValue(false));
}

void requireInputs(const find::Inputs& inputs, const CLI::Option* files) {
  if (inputs.names.empty() && !inputs.list) throw UsageError{CLI::RequiredError(files->get_name()).what()};
}

std::string versionLine() {
  std::string line;
  for (const auto& [name, number] : tell::versions())
    line += fmt::format("{}{} {}", line.empty() ? "" : ", ", name, number);
  return line;
}

// The short help is of denoising; the footer names the other commands.
class DenoiseHelp : public CLI::Formatter {
 public:
  DenoiseHelp() { column_width(34); }
  std::string make_usage(const CLI::App*, std::string name) const override {
    return fmt::format("Usage: {} [OPTIONS] files...\n", name);
  }
};

// Denoising, as it is said without the name of a command.
class DenoiseOptions {
 public:
  explicit DenoiseOptions(CLI::App& app) : app_(app) {
    app.footer(kFooter);
    app.formatter(std::make_shared<DenoiseHelp>());
    files_ = addNames(app, denoise_.inputs, "Pictures or folders of pictures; - is standard input or output");
    addOutput();
    addControl();
    addBatches();
    addShow();
    app.set_version_flag("--version", versionLine());
  }

  // Only now, as a command's name would be taken for a file as long as one is missing.
  void requireFiles() { files_->required(); }

  Denoise denoise() {
    requireInputs(denoise_.inputs, files_);
    takeFormat();
    takeSettings();
    takeSecondAsOutput();
    check();
    denoise_.one = denoise_.inputs.isOneFile();
    denoise_.words = quiet_ ? Words::kQuiet : verbose_ ? Words::kVerbose : Words::kLine;
    return std::move(denoise_);
  }

 private:
  template <typename Target>
  CLI::Option* add(const char* names, Target& target, const std::string& help, const char* type, const char* group) {
    return app_.add_option(names, target, help)->type_name(type)->group(group);
  }

  void addOutput() {
    const char* group = "Output";
    find::Naming& naming = denoise_.naming;
    add("-o,--output", naming.output, "Name of the result", "FILE", group);
    add("-d,--output-dir", naming.outputDir, "Folder of the results; their names stay", "DIR", group);
    add("--suffix", naming.suffix, "Added to the names of results, before the extension [-clean]", "TEXT", group);
    app_.add_flag("-f,--force", naming.force, "Replace files that exist")->group(group);
    add("--format", format_, fmt::format("{}, whatever the name says", pictures::writtenWords()), "NAME", group);
    add("--quality", denoise_.save.quality, "Of JPEG, AVIF and what else has losses [a JPEG's own, or 95]", "1..100",
        group)
        ->check(CLI::Range(1, 100));
  }

  void addControl() {
    const char* group = "Control";
    run::Settings& settings = denoise_.settings;
    strength_ =
        add("--strength", settings.strength, "100 is nominal; best and fast take 60 at least", "50..150", group);
    preset_ = add("--preset", settings.preset, fmt::format("{} [best]", run::presetNames()), "NAME", group);
    add("--set", set_, "Set a parameter; may be repeated", "NAME=VALUE", group)->allow_extra_args(false);
    app_.add_flag("--chroma-only", settings.chromaOnly, "Leave luminance as it is")->group(group);
    app_.add_flag("--display-referred", settings.displayReferred, "Floats are as a screen takes them, not light")
        ->group(group);
    add("--tile", denoise_.tile, "Edge of a tile in pixels [256]", "56..", group)->check(CLI::Range(56, 1 << 15));
    CLI::Option* noise = add("--noise-from", denoise_.noiseFrom,
                             "Go by the noise of this picture, or profile --json of one", "FILE", group);
    add("--recipe", denoise_.recipe, "Use these settings, all of them", "FILE", group)
        ->excludes(strength_)
        ->excludes(preset_)
        ->excludes(noise);
    add("--save-recipe", denoise_.saveRecipe, "Write the settings that were used", "FILE", group);
  }

  void addBatches() {
    const char* group = "Batches";
    addList(app_, denoise_.inputs, group);
    app_.add_flag("--skip-existing", denoise_.skipExisting, "Pass over pictures whose result exists, whatever is in it")
        ->group(group)
        ->excludes(app_.get_option("--force"));
    app_.add_flag("--dry-run", denoise_.dryRun, "Say what would be done")->group(group);
    app_.add_flag("--ordered", denoise_.ordered, "Tell of pictures in the order of the inputs, not as they are done")
        ->group(group);
    addLimits(app_, denoise_.limits, group);
  }

  void addShow() {
    const char* group = "To see and to know";
    add("--compare", denoise_.compare, "Write a picture of before, after and difference", "FILE.png", group);
    add("--report", denoise_.report, "Write a page to look at in a browser, of one picture or a batch", "FILE.html",
        group);
    app_.add_flag("-v,--verbose", verbose_, "Say what was measured, set and changed")->group(group);
    app_.add_flag("-q,--quiet", quiet_, "Say nothing but errors")->group(group);
    app_.add_flag("--json", denoise_.json, "Print a JSON object a file, one a line")->group(group);
  }

  void takeFormat() {
    if (!format_) return;
    denoise_.naming.format = pictures::formatOfExtension(*format_);
    const std::optional<pictures::Format> format = denoise_.naming.format;
    if (!format || pictures::resultFormat(*format) != *format)
      throw UsageError{
          fmt::format("there is no format \"{}\" to write; there are {}", *format_, pictures::writtenWords())};
  }

  void takeSettings() try {
    denoise_.settings.check();
    for (const std::string& setting : set_) denoise_.settings.settings.push_back(run::parseSetting(setting));
  } catch (const Failure& failure) {
    throw UsageError{failure.what()};
  }

  // INPUT OUTPUT: with two names and no rule for output names, the second is the output.
  void takeSecondAsOutput() {
    std::vector<std::string>& inputs = denoise_.inputs.names;
    find::Naming& naming = denoise_.naming;
    if (denoise_.inputs.list || inputs.size() != 2 || naming.output || naming.outputDir || naming.suffix) return;
    if (isFolder(inputs[1]) || isFolder(inputs[0])) {
      throw UsageError{"with a folder, say where results go: --output-dir DIR or --suffix TEXT"};
    }
    naming.output = inputs[1];
    inputs.pop_back();
  }

  void check() const {
    checkOne();
    if (verbose_ && quiet_) throw UsageError{"--verbose and --quiet exclude each other"};
    checkSuffix();
  }

  void checkOne() const {
    const find::Naming& naming = denoise_.naming;
    const bool one = denoise_.inputs.isOneFile();
    if (naming.output && !one)
      throw UsageError{"--output names one file and takes one input (--output-dir takes many)"};
    if (naming.output && naming.outputDir) throw UsageError{"--output and --output-dir exclude each other"};
    if (denoise_.compare && !one) throw UsageError{"--compare takes one input"};
    if (denoise_.saveRecipe && !one) throw UsageError{"--save-recipe takes one input"};
  }

  void checkSuffix() const {
    const find::Naming& naming = denoise_.naming;
    const std::string suffix = naming.suffixBesideInputs();
    if (suffix.find('/') != std::string::npos) throw UsageError{"--suffix is a part of a name and holds no /"};
    if (suffix.empty() && !naming.outputDir && !naming.output && !naming.force) {
      throw UsageError{"an empty --suffix would replace the inputs; if that is meant, add --force"};
    }
  }

  CLI::App& app_;
  CLI::Option *files_ = nullptr, *strength_ = nullptr, *preset_ = nullptr;
  Denoise denoise_;
  std::optional<std::string> format_;
  std::vector<std::string> set_;
  bool verbose_ = false, quiet_ = false;
};

// A command with a name takes nothing of denoising before it.
CLI::App* addCommand(CLI::App& app, const char* name, const char* help) {
  CLI::App* command =
      app.add_subcommand(name, help)->group("")->footer("")->formatter(std::make_shared<CLI::Formatter>());
  for (CLI::Option* option : app.get_options()) command->excludes(option);
  return command;
}

CLI::App* addProfile(CLI::App& app, Profile& profile) {
  static const std::map<std::string, SortKey> keys = {
      {"name", SortKey::kName}, {"noise", SortKey::kNoise}, {"size", SortKey::kSize}};
  CLI::App* command = addCommand(
      app, "profile",
      "Prints the measured noise of pictures and writes nothing. Sigma is its standard deviation in red, "
      "green and blue at mid grey, of 255; corr its correlation, 0 for white noise to 1 for smoothed; blotch "
      "0 to 1 for blotches of colour. The level is what denoise2 works with at strength 100; pair is the mean "
      "difference of neighbouring samples in the smoothest blocks.");
  addNames(*command, profile.inputs, "Pictures or folders of pictures");
  addList(*command, profile.inputs, "Options");
  addLimits(*command, profile.limits, "Options");
  command
      ->add_option_function<std::string>(
          "--sort", [&profile](const std::string& key) { profile.sort = keys.at(key); },
          "name, noise or size; as given otherwise")
      ->check(CLI::IsMember({"name", "noise", "size"}))
      ->type_name("KEY");
  command->add_flag("--reverse", profile.reverse, "The other way round");
  command->add_flag("--json", profile.json, "A JSON object a file, one a line");
  return command;
}

CLI::App* addTune(CLI::App& app, Tune& tune) {
  CLI::App* command =
      addCommand(app, "tune",
                 "Opens a page in the browser on a photograph: before and after, every dial, the noise, and what the "
                 "same is on the command line. Only that browser is let in. The page saves to the names given here, or "
                 "the browser downloads.");
  tune.threads = processors();
  command->add_option("picture", tune.input, "A photograph")->required()->type_name("PICTURE");
  command->add_option("-o,--output", tune.output, "Where the page may save the result")->type_name("FILE");
  command->add_option("--save-recipe", tune.recipe, "Where it may save the recipe")->type_name("FILE.json");
  command->add_flag("-f,--force", tune.force, "Replace files that exist");
  command->add_flag("!--no-browser", tune.opensBrowser, "Only print the file that leads a browser there");
  command->add_option("--linger", tune.linger, "Minutes to wait after the page went [10]")
      ->type_name("N")
      ->check(CLI::Range(0.0, 1440.0));
  command->add_option("--threads", tune.threads, "Threads [one a processor]")->check(CLI::Range(1, 1024));
  return command;
}

}  // namespace

std::vector<std::string> Denoise::beside() const {
  std::vector<std::string> names;
  for (const std::optional<std::string>& name : {compare, report, saveRecipe}) {
    if (name) names.push_back(*name);
  }
  return names;
}

Command parseCommandLine(int argc, const char* const* argv) {
  CLI::App app{"Removes noise from photographs and high-dynamic-range pictures.", "veskaro-nr"};
  DenoiseOptions options(app);
  Profile profile;
  const CLI::App* profileCommand = addProfile(app, profile);
  Tune tune;
  const CLI::App* tuneCommand = addTune(app, tune);
  const CLI::App* selfTestCommand =
      addCommand(app, "selftest", "Checks that the library computes on this machine what it computes on every other.");
  // So that after a command's name further ones are files.
  app.require_subcommand(0, 1);
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& answered) {
    options.requireFiles();
    app.exit(answered);
    return Answered{};
  } catch (const CLI::ExcludesError& error) {
    if (app.get_subcommands().empty()) throw UsageError{error.what()};
    const std::string name = app.get_subcommands().front()->get_name();
    throw UsageError{fmt::format("{0} comes before all else (a file of that name is ./{0})", name)};
  } catch (const CLI::ParseError& error) {
    throw UsageError{error.what()};
  }
  if (profileCommand->parsed()) {
    requireInputs(profile.inputs, profileCommand->get_option("files"));
    return profile;
  }
  if (tuneCommand->parsed()) return tune;
  if (selfTestCommand->parsed()) return SelfTest{};
  return options.denoise();
}

}  // namespace tool::command
