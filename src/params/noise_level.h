// From a measured noise to the entries of the parameter vector that follow from it.
#ifndef VESKARO_PARAMS_NOISE_LEVEL_H
#define VESKARO_PARAMS_NOISE_LEVEL_H

namespace veskaro::params {

// The level of a measured statistic at strength 1, at least 15.
float noiseLevelOf(float statistic);

// Doubles and halves over the range of strengths, 0.5 to 1.5; another strength, or not a number, leaves the level.
float withStrength(float level, float strength);

// Writes the four entries that are measured.
void setMeasured(float level, float* vector);

// What stands in where nothing can be measured: the defaults, the level times a strength within its range.
void setUnmeasured(float strength, float* vector);

}  // namespace veskaro::params

#endif  // VESKARO_PARAMS_NOISE_LEVEL_H
