#include "params/noise_level.h"

#include "VeskaroNRLib.h"
#include "params/tuning.h"
#include "platform/power.h"

namespace veskaro::params {
namespace {

float clampTo(float value, float low, float high) {
  const float raised = value > low ? value : low;
  return raised < high ? raised : high;
}

bool isStrength(float value) {
  return value >= 0.5f && value <= 1.5f;
}

}  // namespace

float noiseLevelOf(float statistic) {
  constexpr float kFloor = 15.0f;
  const float level = static_cast<float>(static_cast<double>(statistic) * 35.0 - 15.0);
  return level > kFloor ? level : kFloor;
}

float withStrength(float level, float strength) {
  if (!isStrength(strength)) return level;
  const double factor = platform::powerOfTwo(2.0 * (static_cast<double>(strength) - 1.0));
  return static_cast<float>(static_cast<double>(level) * factor);
}

void setMeasured(float level, float* vector) {
  const float chromaKeep = static_cast<float>(static_cast<double>(level) * (-1.0 / 350.0) - 1.0 / 14.0);
  vector[NR_NOISE_LEVEL] = level;
  vector[NR_CHROMA_KEEP] = clampTo(chromaKeep, -0.5f, 0.0f);
  vector[NR_HIGHLIGHT_START] = 100.0f;
  vector[NR_HIGHLIGHT_WIDTH] = clampTo((level + level) + 45.0f, 0.0f, 155.0f);
}

void setUnmeasured(float strength, float* vector) {
  setDefaults(vector);
  if (isStrength(strength)) vector[NR_NOISE_LEVEL] *= strength;
}

}  // namespace veskaro::params
