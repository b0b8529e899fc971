#ifndef VESKARO_HDR_CHROMA_KERNEL_H
#define VESKARO_HDR_CHROMA_KERNEL_H

#include "hdr/chroma.h"

namespace veskaro {
namespace vectors {

// The vector form of the chroma stage: the same bytes, without touching job.work. Returns the rows written,
// NR_ERROR_MEMORY with nothing written, or kNotTaken when the plain form has to do it: no vectors, or settings that no
// picture asks for.
int denoiseChroma(const ChromaJob& job);

}  // namespace vectors
}  // namespace veskaro

#endif  // VESKARO_HDR_CHROMA_KERNEL_H
