#ifndef VESKARO_PLATFORM_IEEE_H
#define VESKARO_PLATFORM_IEEE_H

// A function that divides by zero where IEEE 754's answer is the wanted one. It tells the sanitizer.
#if defined(__GNUC__)
#define VESKARO_MAY_DIVIDE_BY_ZERO __attribute__((no_sanitize("float-divide-by-zero")))
#else
#define VESKARO_MAY_DIVIDE_BY_ZERO
#endif

#endif  // VESKARO_PLATFORM_IEEE_H
