#ifndef VESKARO_API_VNR_MEASURE_H
#define VESKARO_API_VNR_MEASURE_H

#include "api/vnr/check.h"

namespace veskaro::api {

// Measures a whole picture. noise has the size of a version.
int measureWhole(const CheckedPicture& picture, const platform::Control& control, vnr_noise* noise);

}  // namespace veskaro::api

#endif  // VESKARO_API_VNR_MEASURE_H
