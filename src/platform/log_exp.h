// Logarithm and exponential of a float, the same bits on every processor, compiler and C library. At most 0.8 units in
// the last place from the exact value.
#ifndef VESKARO_PLATFORM_LOG_EXP_H
#define VESKARO_PLATFORM_LOG_EXP_H

namespace veskaro::platform {

// The natural logarithm of a value above 0; infinity's is infinity.
float logOf(float value);

// e to a power: infinity beyond the float range, 0 below it, not a number where the power is none.
float expOf(float power);

}  // namespace veskaro::platform

#endif  // VESKARO_PLATFORM_LOG_EXP_H
