// A picture beyond its edge: mirrored, without repeating the edge pixel.
#ifndef VESKARO_PIXELS_MIRROR_H
#define VESKARO_PIXELS_MIRROR_H

namespace veskaro::pixels {

// The pixel of an axis of the given size that stands in for pixel i, as often mirrored as it takes.
inline int mirrored(int i, int size) {
  if (i >= 0 && i < size) return i;
  if (size == 1) return 0;
  const int period = 2 * (size - 1);
  const int within = (i % period + period) % period;
  return within < size ? within : period - within;
}

}  // namespace veskaro::pixels

#endif  // VESKARO_PIXELS_MIRROR_H
