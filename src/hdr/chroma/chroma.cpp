#include "hdr/chroma/chroma.h"

#include "VeskaroNRLib.h"
#include "hdr/chroma/chroma_forms.h"
#include "hdr/forms.h"

namespace veskaro::hdr {

namespace {

int denoise(const ChromaJob& job) {
  const auto plainForm = [&job] { return plain::denoiseChroma(job); };
  return isDone(vectors::denoiseChroma(job), plainForm) ? job.in.size.height : NR_ERROR_MEMORY;
}

}  // namespace

int denoiseChroma(const ChromaSettings& settings, const ConstPicture& in, const Picture& out, unsigned char* work) {
  return denoise({settings, in, out, out, false, work});
}

int denoiseChromaInPlace(const ChromaSettings& settings, const Picture& picture, const Picture& spare,
                         unsigned char* work) {
  return denoise({settings, readOnly(picture), picture, spare, true, work});
}

}  // namespace veskaro::hdr
