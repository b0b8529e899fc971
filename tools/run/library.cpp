#include "run/library.h"

#include <fmt/format.h>

#include "base/failure.h"
#include "base/interruption.h"

namespace tool::run {

vnr_picture pictureOf(const pictures::Photo& photo, const std::uint8_t* samples) {
  const std::int32_t bands = photo.bands();
  vnr_picture picture = vnr_interleaved(photo.bits == 16 ? VNR_UINT16 : VNR_UINT8, photo.width, photo.height, bands,
                                        samples, static_cast<std::ptrdiff_t>(photo.width) * bands);
  picture.channels = photo.colourBands();
  return picture;
}

void requireDone(int result) {
  if (result == VNR_CANCELLED) throw Interrupted{};
  if (result == VNR_ERROR_MEMORY) throw Failure("memory exhausted");
  if (result != VNR_OK) throw Failure(fmt::format("the library refused the picture: {}", vnr_result_text(result)));
}

}  // namespace tool::run
