#include "api/vnr/check.h"

#include <cmath>
#include <cstdint>

#include "api/vnr/lattice.h"
#include "platform/system.h"

namespace veskaro::api {
namespace {

// Integers: 2^n - 1 for n bits up to the type's; floats: any positive number. 0 takes the type's own.
bool takeWhite(const vnr_picture& p, float* white) {
  const float own = p.type == VNR_UINT8 ? 255.0f : p.type == VNR_UINT16 ? 65535.0f : 1.0f;
  *white = p.white == 0.0f || p.encoding == VNR_LINEAR ? own : p.white;
  if (p.type == VNR_FLOAT32) return std::isfinite(*white) && *white > 0.0f;
  if (!(*white >= 1.0f && *white <= own)) return false;
  const auto levels = static_cast<std::uint32_t>(*white) + 1;
  return static_cast<float>(levels - 1) == *white && (levels & (levels - 1)) == 0;
}

int checkFormat(const vnr_picture& p, CheckedPicture* picture) {
  if (p.type != VNR_UINT8 && p.type != VNR_UINT16 && p.type != VNR_FLOAT32) return VNR_ERROR_FORMAT;
  if (p.channels != 1 && p.channels != 3) return VNR_ERROR_FORMAT;
  if (p.encoding != VNR_DISPLAY && (p.encoding != VNR_LINEAR || p.type != VNR_FLOAT32)) return VNR_ERROR_FORMAT;
  if (!takeWhite(p, &picture->white)) return VNR_ERROR_FORMAT;
  picture->encoding = p.encoding == VNR_LINEAR ? pixels::Encoding::kLinear : pixels::Encoding::kDisplay;
  return VNR_OK;
}

bool hasChannels(const vnr_picture& p) {
  for (int c = 0; c < p.channels; ++c) {
    if (p.channel[c] == nullptr) return false;
  }
  return true;
}

pixels::SampleType sampleType(const vnr_picture& p) {
  return p.type == VNR_UINT8    ? pixels::SampleType::kUint8
         : p.type == VNR_UINT16 ? pixels::SampleType::kUint16
                                : pixels::SampleType::kFloat32;
}

pixels::PictureView viewOf(const vnr_picture& p) {
  const auto channel = [&p](int c) { return static_cast<unsigned char*>(p.channel[p.channels == 1 ? 0 : c]); };
  return {sampleType(p),  p.channels == 1, {channel(0), channel(1), channel(2)},
          p.pixel_stride, p.row_stride,    {p.x, p.x + p.width, p.y, p.y + p.height}};
}

Lattice latticeOf(const pixels::PictureView& view, int channel) {
  return Lattice(reinterpret_cast<std::uintptr_t>(view.channel[channel]), view.pixelStride, view.rowStride,
                 view.region.x1 - view.region.x0, view.region.y1 - view.region.y0, pixels::sampleBytes(view.type));
}

int channelsOf(const CheckedPicture& picture) {
  return picture.view.isGrey ? 1 : 3;
}

}  // namespace

int checkSize(std::int32_t width, std::int32_t height) {
  const auto isRight = [](std::int32_t n) { return n >= 1 && n <= VNR_MOST_PIXELS; };
  return isRight(width) && isRight(height) ? VNR_OK : VNR_ERROR_SIZE;
}

int checkPicture(const vnr_picture* given, CheckedPicture* picture) {
  vnr_picture p;
  const int taken = takeStruct(given, &p);
  if (taken != VNR_OK) return taken;
  const int format = checkFormat(p, picture);
  if (format != VNR_OK) return format;
  if (!hasChannels(p)) return VNR_ERROR_NULL;
  if (checkSize(p.width, p.height) != VNR_OK) return VNR_ERROR_SIZE;
  if (p.x < 0 || p.y < 0 || p.x > VNR_MOST_PIXELS - p.width || p.y > VNR_MOST_PIXELS - p.height) {
    return VNR_ERROR_RECTANGLE;
  }
  picture->view = viewOf(p);
  for (int c = 0; c < p.channels; ++c) {
    if (!latticeOf(picture->view, c).isSound()) return VNR_ERROR_STRIDE;
  }
  return VNR_OK;
}

pixels::SampleScale sampleScale(const CheckedPicture& p, float linearScale, pixels::Rounding rounding) {
  return p.view.type == pixels::SampleType::kFloat32 ? pixels::floatScale(p.white, p.encoding, linearScale, rounding)
                                                     : pixels::integerScale(p.white, rounding);
}

int checkControl(const vnr_control* given, platform::Control* control) {
  vnr_control c = {sizeof(vnr_control), 0, nullptr, nullptr, nullptr, nullptr};
  if (given != nullptr) {
    const int taken = takeStruct(given, &c);
    if (taken != VNR_OK) return taken;
  }
  if (c.threads < 0) return VNR_ERROR_CONTROL;
  *control = {c.threads > 0 ? c.threads : platform::processors(), c.run, c.progress, c.cancel, c.host};
  return VNR_OK;
}

int checkOverlap(const CheckedPicture& in, const CheckedPicture& out) {
  for (int c = 0; c < channelsOf(out); ++c) {
    const Lattice written = latticeOf(out.view, c);
    for (int k = 0; k < channelsOf(in); ++k) {
      if (written.sharesBytesWith(latticeOf(in.view, k))) return VNR_ERROR_OVERLAP;
    }
    for (int k = 0; k < c; ++k) {
      if (written.sharesBytesWith(latticeOf(out.view, k))) return VNR_ERROR_OVERLAP;
    }
  }
  return VNR_OK;
}

int resultOf(platform::LoopResult loop) {
  switch (loop) {
    case platform::LoopResult::kDone:
      return VNR_OK;
    case platform::LoopResult::kBadItem:
      return VNR_ERROR_SAMPLES;
    case platform::LoopResult::kNoWorker:
      return VNR_ERROR_MEMORY;
    case platform::LoopResult::kCancelled:
      return VNR_CANCELLED;
    default:
      return VNR_ERROR_CONTROL;
  }
}

}  // namespace veskaro::api
