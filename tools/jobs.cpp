#include "jobs.h"

#include <algorithm>
#include <filesystem>

#include "failure.h"

namespace tool {
namespace {

namespace fs = std::filesystem;

bool endsWith(const std::string& text, const std::string& end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

// Where the result of a file found in a folder goes, relative to the folder; the same tree under --output-dir.
std::string placeUnder(const Options& options, const fs::path& folder, const fs::path& file) {
  return options.outputDir ? (fs::path(*options.outputDir) / file.lexically_relative(folder).parent_path()).string()
                           : "";
}

// Adds the pictures below a folder, in order of name. A folder that cannot be listed becomes a job that fails; the
// others go on.
void addPicturesIn(const fs::path& folder, const fs::path& top, const Options& options, std::vector<Job>& jobs) {
  const bool besideInputs = !options.outputDir && !options.output;
  std::error_code error;
  std::vector<fs::directory_entry> entries;
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
    if (entry->path().filename().string()[0] != '.') entries.push_back(*entry);
  }
  if (error) jobs.push_back({folder.string(), "", "cannot read " + folder.string() + ": " + error.message(), 0});
  std::sort(entries.begin(), entries.end());
  for (const fs::directory_entry& entry : entries) {
    const fs::path& path = entry.path();
    if (entry.is_directory(error)) {
      // A result folder inside the input folder must not feed the next run, nor a link lead round in circles.
      const bool results = options.outputDir && fs::equivalent(path, *options.outputDir, error);
      if (!results && !entry.is_symlink(error)) addPicturesIn(path, top, options, jobs);
      continue;
    }
    if (!entry.is_regular_file(error) || !formatOfExtension(path.extension().string())) continue;
    if (besideInputs && !options.suffix.empty() && endsWith(path.stem().string(), options.suffix)) continue;
    Job job{path.string(), placeUnder(options, top, path), "", entry.file_size(error)};
    if (!job.output.empty() && job.output.back() != '/') job.output += '/';
    jobs.push_back(job);
  }
}

}  // namespace

std::vector<Job> planJobs(const Options& options) {
  std::vector<Job> jobs;
  for (const std::string& input : options.inputs) {
    std::error_code error;
    if (input == "-" || !fs::is_directory(input, error)) {
      Job job{input, options.output.value_or(""), "", 0};
      if (input == "-" && !options.output) job.output = "-";
      const std::uintmax_t size = input == "-" ? 0 : fs::file_size(input, error);
      if (!error) job.size = size;
      jobs.push_back(job);
      continue;
    }
    const std::size_t before = jobs.size();
    addPicturesIn(input, input, options, jobs);
    if (jobs.size() == before)
      jobs.push_back({input, "", "cannot read " + input + ": there are no pictures in the folder", 0});
  }
  return jobs;
}

std::string outputFor(const Job& job, const Options& options, Format inputFormat) {
  if (!job.output.empty() && job.output.back() != '/') return job.output;
  const fs::path input(job.input);
  const Format format = options.format.value_or(inputFormat);
  // The extension stays as the user spells it when it says the right thing.
  const auto spelled = formatOfExtension(input.extension().string());
  const std::string extension =
      spelled == format && *spelled != Format::kOpenExr ? input.extension().string() : extensionFor(format);
  const bool elsewhere = !job.output.empty() || options.outputDir;
  const std::string folder = !job.output.empty() ? job.output
                             : options.outputDir ? *options.outputDir
                                                 : input.parent_path().string();
  // In another folder the name stays, unless a suffix was asked for.
  const std::string suffix = elsewhere && !options.suffixGiven ? "" : options.suffix;
  return (fs::path(folder) / (input.stem().string() + suffix + extension)).string();
}

Format outputFormat(const std::string& output, const Options& options, Format inputFormat) {
  if (options.format) return *options.format;
  const Format natural = inputFormat == Format::kOpenExr ? Format::kRadiance : inputFormat;
  const std::string extension = fs::path(output).extension().string();
  if (output == "-" || output.compare(0, 5, "/dev/") == 0) return natural;
  const auto named = formatOfExtension(extension);
  if (!named) throw Failure("cannot write " + output + ": its name says no format (--format does)");
  if (*named == Format::kOpenExr)
    throw Failure("cannot write " + output + ": OpenEXR is read, not written; results are Radiance (.hdr)");
  return *named;
}

}  // namespace tool
