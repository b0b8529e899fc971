#include <algorithm>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "hdr/ybr_vectors_test.cpp"
#include <hwy/foreach_target.h>

#include "hdr/rgbe/ybr_vectors-inl.h"
#include "hdr/rgbe/ybr.h"

HWY_BEFORE_NAMESPACE();
namespace veskaro {
namespace HWY_NAMESPACE {

// How many of the colours of all mantissas with this red the vector form transforms unlike the plain form.
int mismatchesOfRed(int red) {
  int mismatches = 0;
#if VESKARO_HAS_VECTORS
  const Ints d;
  float y[HWY_LANES(float)], cb[HWY_LANES(float)], cr[HWY_LANES(float)];
  for (int green = 0; green < 256; ++green) {
    for (int blue = 0; blue < 256; blue += lanes()) {
      const VPixels p = {hn::Set(d, red), hn::Set(d, green), hn::Iota(d, blue), hn::Set(d, 136)};
      hn::StoreU(luminance(mantissas(p)), Floats(), y);
      hn::StoreU(cbOf(widenMantissas(p)), Floats(), cb);
      hn::StoreU(crOf(widenMantissas(p)), Floats(), cr);
      for (int k = 0; k < lanes(); ++k) {
        const Ybr plain = toYbr({static_cast<float>(red), static_cast<float>(green), static_cast<float>(blue + k)});
        if (y[k] != plain.y || cb[k] != plain.cb || cr[k] != plain.cr) ++mismatches;
      }
    }
  }
#else
  (void)red;
#endif
  return mismatches;
}

}  // namespace HWY_NAMESPACE
}  // namespace veskaro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include <gtest/gtest.h>

#include "support/targets.h"

namespace veskaro {
namespace {

HWY_EXPORT(mismatchesOfRed);

TEST(YbrVectors, EveryColourIsThePlainOne) {
  test::forEachTarget([](const char*) {
    for (int red = 0; red < 256; ++red) ASSERT_EQ(HWY_DYNAMIC_DISPATCH(mismatchesOfRed)(red), 0) << "red " << red;
  });
}

}  // namespace
}  // namespace veskaro
#endif  // HWY_ONCE
