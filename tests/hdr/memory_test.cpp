#include <gtest/gtest.h>
#include <sys/resource.h>

#include "VeskaroNRLib.h"
#include "hdr/rgbe_pictures.h"
#include "support/targets.h"

namespace veskaro::test {
namespace {

long peakKilobytes() {
  rusage usage;
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

// The work memory is reserved, 96 megabytes here, but the vector forms do without it.
TEST(Memory, ACallTouchesAFewMegabytes) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "sanitizers take memory of their own";
#endif
  if (chosenTarget() == "plain") GTEST_SKIP() << "the plain form fills its work memory";
  RgbePicture picture = randomPicture(12000, 400, Kind::kOrdinary, 1), result = picture;
  const long before = peakKilobytes();
  ASSERT_EQ(denoise1(100, picture.width, picture.height, 0, 0, 32, picture.data(), result.data()), 400);
  EXPECT_LT(peakKilobytes() - before, 16 * 1024);
}

}  // namespace
}  // namespace veskaro::test
