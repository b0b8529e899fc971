// Powers of doubles, the same bits on every processor, compiler and C library.
#ifndef VESKARO_PLATFORM_POWER_H
#define VESKARO_PLATFORM_POWER_H

namespace veskaro::platform {

// 2 to a power, to 0.7 units in the last place; infinity beyond the range of doubles, 0 below it.
double powerOfTwo(double power);

// A base to a power, with as many units in the last place more as the result's exponent has places. Not a number for a
// base below 0.
double powerOf(double base, double power);

}  // namespace veskaro::platform

#endif  // VESKARO_PLATFORM_POWER_H
