// What a host hands over, checked once at the boundary. Every function returns a vnr_result.
#ifndef VESKARO_API_VNR_CHECK_H
#define VESKARO_API_VNR_CHECK_H

#include <cstddef>
#include <cstring>

#include "params/settings.h"
#include "pixels/picture.h"
#include "pixels/sample_scale.h"
#include "platform/loop.h"
#include "veskaronr.h"

namespace veskaro::api {

// Bytes of the first version of a struct, which every later one begins with.
template <class Struct>
constexpr std::size_t kFirstSize = sizeof(Struct);
template <>
inline constexpr std::size_t kFirstSize<vnr_noise> = offsetof(vnr_noise, spectrum);
template <>
inline constexpr std::size_t kFirstSize<vnr_settings> = offsetof(vnr_settings, patch);

template <class Struct>
int checkStruct(const Struct* given) {
  if (given == nullptr) return VNR_ERROR_NULL;
  const std::size_t size = given->struct_size;
  return size < kFirstSize<Struct> || size > sizeof(Struct) ? VNR_ERROR_STRUCT : VNR_OK;
}

// A host's struct with defaults for what an older one lacks.
template <class Struct>
int takeStruct(const Struct* given, Struct* own) {
  const int result = checkStruct(given);
  if (result != VNR_OK) return result;
  *own = Struct();
  std::memcpy(own, given, given->struct_size);
  return VNR_OK;
}

// Fills what a host's struct has room for.
template <class Struct>
int giveStruct(const Struct& own, Struct* given) {
  const int result = checkStruct(given);
  if (result != VNR_OK) return result;
  const std::size_t size = given->struct_size;
  std::memcpy(given, &own, size);
  given->struct_size = size;
  return VNR_OK;
}

// A picture as the stages see it, with white and encoding; the rounding and linear scale of its samples come later.
struct CheckedPicture {
  pixels::PictureView view;
  float white;
  pixels::Encoding encoding;

  bool isAlike(const CheckedPicture& other) const {
    return view.type == other.view.type && view.isGrey == other.view.isGrey && white == other.white &&
           encoding == other.encoding;
  }
};

int checkPicture(const vnr_picture* given, CheckedPicture* picture);

pixels::SampleScale sampleScale(const CheckedPicture& picture, float linearScale, pixels::Rounding rounding);

int checkControl(const vnr_control* given, platform::Control* control);

int checkSize(std::int32_t width, std::int32_t height);

// VNR_ERROR_OVERLAP when output samples share bytes with input samples or with each other.
int checkOverlap(const CheckedPicture& in, const CheckedPicture& out);

int resultOf(platform::LoopResult loop);

}  // namespace veskaro::api

#endif  // VESKARO_API_VNR_CHECK_H
