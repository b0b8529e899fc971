#include "print.h"

#include <fmt/format.h>

namespace tool {
namespace {

std::string nameOf(const std::string& path, const char* dash) {
  return path == "-" ? dash : path;
}

std::string layoutOf(const Outcome& outcome) {
  if (outcome.hdr) return "RGBE";
  const int colour = outcome.grey ? 1 : 3;
  std::string layout = fmt::format("{}-bit {}", outcome.bits, outcome.grey ? "grey" : "RGB");
  if (outcome.channels > colour)
    layout += outcome.channels == colour + 1 ? " + alpha" : fmt::format(" + {} channels", outcome.channels - colour);
  return layout;
}

std::string workOf(const Outcome& outcome, const Options& options) {
  if (outcome.hdr) {
    return fmt::format("{}, strength {}, 1 thread",
                       outcome.hdr->chromaOnly ? "chroma only" : "full (chroma and luminance)", outcome.hdr->strength);
  }
  const NoiseProfile& profile = outcome.photo->profile;
  const std::string noise = profile.measured() ? fmt::format("noise level {:.1f}", profile.noiseLevel)
                                               : fmt::format("noise not measurable, default level {:.1f}",
                                                             outcome.photo->used[NR_NOISE_LEVEL]);
  return fmt::format("{}, {} thread{}", noise, options.settings.threads, options.settings.threads == 1 ? "" : "s");
}

std::string photoDetails(const PhotoResult& photo, const Options& options) {
  std::string text =
      fmt::format("  preset {}, strength {}\n", options.settings.preset, options.settings.effectiveStrength());
  if (!photo.profile.measured()) {
    text += fmt::format("  the library's defaults were used, presets and --set had no effect: {}\n",
                        photo.profile.whyDefaults());
  } else {
    text += fmt::format("  noise: {:.2f} a neighbour pair over the smoothest of {} usable blocks\n",
                        photo.profile.statistic, photo.profile.blocks.size());
  }
  Params defaults;
  nr_def(defaults.data());
  for (std::size_t i = 0; i < NR_RESERVED; ++i) {
    const ParamInfo& info = paramTable()[i];
    const char* origin = info.measured && photo.profile.measured() ? "measured"
                         : photo.used[i] != defaults[i]            ? "set"
                                                                   : "default";
    text += fmt::format("  {:<18} {:>9.4g}  {:<9} {}\n", info.name, photo.used[i], origin, info.summary);
  }
  return text;
}

std::string hdrDetails(const HdrResult& hdr) {
  static constexpr const char* kNames[] = {"log colour sum, shadows below",  "log colour sum, highlights above",
                                           "log luminance, shadows below",   "log luminance, median",
                                           "log luminance, 99th percentile", "luminance threshold"};
  std::string text;
  for (std::size_t i = 0; i < 6; ++i) text += fmt::format("  {:<34} {:>10.5f}\n", kNames[i], hdr.statistics[i]);
  return text;
}

}  // namespace

std::string printable(std::string text) {
  for (char& c : text) {
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) c = '?';
  }
  return text;
}

std::string lineOf(const Outcome& outcome, const Options& options) {
  const std::string note = outcome.note.empty() ? "" : fmt::format(" ({})", outcome.note);
  return fmt::format("{} -> {}: {} x {} {}, {}, {:.2f} s, {:.1f} MP/s{}", nameOf(outcome.input, "standard input"),
                     nameOf(outcome.output, "standard output"), outcome.width, outcome.height, layoutOf(outcome),
                     workOf(outcome, options), outcome.denoiseSeconds(), outcome.megapixelsPerSecond(), note);
}

std::string detailsOf(const Outcome& outcome, const Options& options) {
  std::string text = outcome.photo ? photoDetails(*outcome.photo, options) : hdrDetails(*outcome.hdr);
  const char* unit = outcome.photo ? "of 255" : "in the bytes";
  text += fmt::format("  changed: {:.1f} % of the pixels, by {:.2f} {} on average and at most {:.1f}\n",
                      100 * outcome.change.share, outcome.change.mean, unit, outcome.change.largest);
  if (!outcome.whyUnchanged.empty()) text += fmt::format("  nothing changed: {}\n", outcome.whyUnchanged);
  const double measure = outcome.photo ? outcome.photo->profile.seconds : outcome.hdr->statisticsSeconds;
  text += fmt::format(
      "  seconds: read {:.3f}, decode {:.3f}, measure {:.3f}, denoise {:.3f}, encode {:.3f}, write {:.3f}, all "
      "{:.3f}\n",
      outcome.seconds.read, outcome.seconds.decode, measure, outcome.denoiseSeconds(), outcome.seconds.encode,
      outcome.seconds.write, outcome.seconds.total);
  return text;
}

}  // namespace tool
