#include "common/choice.h"

namespace plugin {
namespace {

float strengthOf(const Choice& choice) {
  return static_cast<float>(bounded(choice.strength, choice.preset == kClassic ? 0.5 : 0.6, 1.5, 1.0));
}

// The final blend keeps a share of the input; of what it would take, only a share is taken. The stages around the blend
// take theirs in proportion, dots as a whole or not at all.
void takeShare(double share, float* keep, float* shrink, float* dots) {
  const double taken = bounded(share, 0.0, 1.0, 1.0);
  *keep = static_cast<float>(1.0 - taken * (1.0 - static_cast<double>(*keep)));
  *shrink = static_cast<float>(taken * static_cast<double>(*shrink));
  if (taken <= 0.0) *dots = 0.0f;
}

}  // namespace

bool Choice::operator==(const Choice& other) const {
  return preset == other.preset && strength == other.strength && luminance == other.luminance && colour == other.colour;
}

double bounded(double value, double least, double most, double fallback) {
  if (value != value) return fallback;
  return value < least ? least : (value > most ? most : value);
}

int settingsFor(const Choice& choice, const vnr_noise& noise, vnr_settings* settings) {
  settings->struct_size = sizeof(vnr_settings);
  const auto function = choice.preset == kClassic ? vnr_settings_classic
                        : choice.preset == kBest  ? vnr_settings_best
                                                  : vnr_settings_fast;
  const int result = function(&noise, strengthOf(choice), settings);
  if (result != VNR_OK) return result;
  takeShare(choice.luminance, &settings->params[NR_LUMA_KEEP], &settings->shrink_luma, &settings->dots_luma);
  takeShare(choice.colour, &settings->params[NR_CHROMA_KEEP], &settings->shrink_chroma, &settings->dots_chroma);
  return VNR_OK;
}

}  // namespace plugin
