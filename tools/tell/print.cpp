#include "tell/print.h"

#include <fmt/format.h>

#include "pictures/file_io.h"

namespace tool::tell {
namespace {

using run::FilterWork;
using run::HdrWork;
using run::Outcome;
using run::Settings;

std::string nameOf(const std::string& path, const char* stream) {
  return pictures::isStandardStream(path) ? stream : path;
}

std::string channelsOf(const pictures::Layout& layout) {
  if (layout.colour == pictures::Colour::kRgbe) return samplesOf(layout);
  const int more = layout.channels - (layout.colour == pictures::Colour::kGrey ? 1 : 3);
  if (more == 0) return samplesOf(layout);
  return samplesOf(layout) + (more == 1 ? " + alpha" : fmt::format(" + {} channels", more));
}

std::string summaryOf(const HdrWork& work, const Settings&) {
  return fmt::format("{}, strength {}, 1 thread", work.chromaOnly ? "chroma only" : "full (chroma and luminance)",
                     work.strength);
}

std::string presetOf(const Settings& settings) {
  return settings.recipe ? "by a recipe" : settings.preset;
}

std::string levelOf(const run::NoiseProfile& profile) {
  return profile.measured() ? fmt::format("noise level {:.1f}", profile.noise.level) : "noise level not measurable";
}

std::string summaryOf(const FilterWork& work, const Settings& settings) {
  const bool isKnown = work.noise.noise.grain != VNR_GRAIN_UNKNOWN;
  return fmt::format("{}, {}{}, {} thread{}", presetOf(settings), isKnown ? "sigma " + sigmaOf(work.noise) + ", " : "",
                     levelOf(work.noise), settings.threads, settings.threads == 1 ? "" : "s");
}

std::string grainLine(const run::NoiseProfile& profile) {
  const vnr_noise& noise = profile.noise;
  if (noise.grain == VNR_GRAIN_UNKNOWN) return "  noise: unknown, the picture has less than 16 x 16 pixels\n";
  const char* guarded =
      noise.grain == VNR_GRAIN_TEXTURED ? "; textured: no block is smooth, so the milder of the readings counts" : "";
  return fmt::format("  noise: sigma {} of 255 at mid grey, correlation {:.2f}, blotches {:.2f}{}\n", sigmaOf(profile),
                     noise.correlation, noise.blotches, guarded);
}

std::string levelLine(const FilterWork& work) {
  if (work.noise.measured()) {
    return fmt::format("  noise level {:.1f}: {:.2f} a neighbour pair over the smoothest of {} usable blocks\n",
                       work.noise.noise.level, work.noise.noise.statistic, work.noise.noise.blocks_usable);
  }
  const char* what = work.rule == run::Rule::kClassic ? "the library's defaults were used" : "no noise level";
  return fmt::format("  {}: {}\n", what, work.noise.whyNoLevel());
}

std::string parameterLine(const run::Parameter& parameter) {
  return fmt::format("  {:<26} {:>9.4g}  {:<9} {}\n", parameter.name, parameter.value, run::nameOf(parameter.origin),
                     parameter.meaning);
}

std::string workDetails(const FilterWork& work, const Settings& settings) {
  std::string text = settings.recipe ? "  by a recipe\n"
                                     : fmt::format("  preset {}, strength {}\n", settings.preset, settings.strength);
  text += grainLine(work.noise) + levelLine(work);
  for (const run::Parameter& parameter : work.parameters) text += parameterLine(parameter);
  return text;
}

std::string workDetails(const HdrWork& work, const Settings&) {
  static constexpr const char* kNames[] = {"log colour sum, shadows below",  "log colour sum, highlights above",
                                           "log luminance, shadows below",   "log luminance, median",
                                           "log luminance, 99th percentile", "luminance threshold"};
  std::string text;
  for (std::size_t i = 0; i < work.statistics.size(); ++i)
    text += fmt::format("  {:<34} {:>10.5f}\n", kNames[i], work.statistics[i]);
  return text;
}

std::string changeLines(const Outcome& outcome) {
  const run::Done& done = outcome.done;
  const char* unit = outcome.decoded.layout.colour == pictures::Colour::kRgbe ? "in the bytes" : "of 255";
  std::string text = fmt::format("  changed: {:.1f} % of the pixels, by {:.2f} {} on average and at most {:.1f}\n",
                                 100 * done.change.share, done.change.mean, unit, done.change.largest);
  if (done.whyUnchanged) text += fmt::format("  nothing changed: {}\n", *done.whyUnchanged);
  return text;
}

std::string secondsLine(const Outcome& outcome) {
  return fmt::format(
      "  seconds: read {:.3f}, decode {:.3f}, measure {:.3f}, denoise {:.3f}, encode {:.3f}, write {:.3f}, all "
      "{:.3f}\n",
      outcome.read.seconds, outcome.decoded.seconds, outcome.done.measureSeconds, outcome.done.seconds,
      outcome.written.encodeSeconds, outcome.written.seconds, outcome.totalSeconds);
}

}  // namespace

std::string sigmaOf(const run::NoiseProfile& profile) {
  const float* sigma = profile.noise.sigma;
  if (sigma[0] == sigma[1] && sigma[1] == sigma[2]) return fmt::format("{:.1f}", sigma[0]);
  return fmt::format("{:.1f}, {:.1f}, {:.1f}", sigma[0], sigma[1], sigma[2]);
}

std::string samplesOf(const pictures::Layout& layout) {
  if (layout.colour == pictures::Colour::kRgbe) return "RGBE";
  return fmt::format("{}-bit {}", layout.bits, layout.colour == pictures::Colour::kGrey ? "grey" : "RGB");
}

std::string lineOf(const run::FileResult& file, const Settings& settings) {
  const Outcome& outcome = *file.outcome();
  const pictures::Layout& layout = outcome.decoded.layout;
  const std::string work = std::visit([&](const auto& own) { return summaryOf(own, settings); }, outcome.done.work);
  const std::string note = outcome.decoded.note ? fmt::format(" ({})", *outcome.decoded.note) : "";
  return fmt::format("{} -> {}: {} x {} {}, {}, {:.2f} s, {:.1f} MP/s{}", nameOf(file.input, "standard input"),
                     nameOf(file.output, "standard output"), layout.width, layout.height, channelsOf(layout), work,
                     outcome.done.seconds, outcome.megapixelsPerSecond(), note);
}

std::string detailsOf(const Outcome& outcome, const Settings& settings) {
  return std::visit([&](const auto& work) { return workDetails(work, settings); }, outcome.done.work) +
         changeLines(outcome) + secondsLine(outcome);
}

}  // namespace tool::tell
