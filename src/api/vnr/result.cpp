#include "veskaronr.h"

const char* vnr_result_text(int result) {
  switch (result) {
    case VNR_OK:
      return "done";
    case VNR_ERROR_NULL:
      return "a pointer that must not be null is";
    case VNR_ERROR_STRUCT:
      return "a struct's size is that of no version, or of a later one";
    case VNR_ERROR_FORMAT:
      return "the sample type, number of channels, white or encoding is none, or differs where it must agree";
    case VNR_ERROR_SIZE:
      return "a width, height or capacity is too small or too large";
    case VNR_ERROR_STRIDE:
      return "pixels or rows lie upon each other or beyond the address space";
    case VNR_ERROR_RECTANGLE:
      return "a rectangle is empty, outside the picture, or without the input that it takes";
    case VNR_ERROR_OVERLAP:
      return "the output shares samples with the input";
    case VNR_ERROR_SETTINGS:
      return "a setting is not a number or outside its range";
    case VNR_ERROR_SAMPLES:
      return "a sample is infinite or not a number";
    case VNR_ERROR_STATE:
      return "these bytes are no measurement, or that of another picture";
    case VNR_ERROR_MEMORY:
      return "memory is exhausted";
    case VNR_ERROR_CONTROL:
      return "the number of threads is none, or an executor did not run every job";
    case VNR_CANCELLED:
      return "cancelled";
    default:
      return "unknown result";
  }
}

int vnr_version(void) {
  return 10000 * VESKARONR_VERSION_MAJOR + 100 * VESKARONR_VERSION_MINOR + VESKARONR_VERSION_PATCH;
}
