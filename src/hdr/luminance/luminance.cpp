#include "hdr/luminance/luminance.h"

#include "VeskaroNRLib.h"
#include "hdr/forms.h"
#include "hdr/luminance/luminance_forms.h"

namespace veskaro::hdr {

int denoiseLuminance(const LuminanceSettings& settings, const ConstPicture& in, const Picture& out,
                     unsigned char* work) {
  const LuminanceJob job = {settings, in, out, work};
  const auto plainForm = [&job] { return plain::denoiseLuminance(job); };
  return isDone(vectors::denoiseLuminance(job), plainForm) ? in.size.height : NR_ERROR_MEMORY;
}

}  // namespace veskaro::hdr
