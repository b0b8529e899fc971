// denoise2's steps once more, as literally and as slowly as they can be written: the yardstick of the tests. They read
// the library's tuning variables and share no code with it.
#ifndef VESKARO_TESTS_SUPPORT_PLAIN_READING_H
#define VESKARO_TESTS_SUPPORT_PLAIN_READING_H

#include "support/pictures.h"

namespace veskaro::test::plain {

struct Area {
  int xStart, xEnd, yStart, yEnd;
};

// What one level holds after its filter.
struct FilteredLevel {
  Level result, reduced, comparison, records;
};

// The records outside the area keep the given filling.
FilteredLevel filterLevel(int rang, const Level& level, const Area& area, float filling);

void reduceNoise(int rang, const Level& img, const Level& ycc, const Area& area, Level* records, Level* dest);
void sharpen(int rang, const Level& img, const Level& records, const Area& area, Level* dest);

float similarity(const float* p, const float* q);

// The frame of recon keeps its values.
void reconstruct(const Level& lifted, const Level& original, Level* recon);

Level denoiseTile(Level tile, const Area& area);

// The whole of denoise2 but the profile: with the tuning variables as they stand.
template <typename Sample>
Picture<Sample> denoise(const Picture<Sample>& in, int baseUnitTile, int threads);

}  // namespace veskaro::test::plain

#endif  // VESKARO_TESTS_SUPPORT_PLAIN_READING_H
