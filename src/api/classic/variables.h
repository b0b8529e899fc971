// The exported tuning variables: nothing but the functions of the classic interface reads or writes them.
#ifndef VESKARO_API_CLASSIC_VARIABLES_H
#define VESKARO_API_CLASSIC_VARIABLES_H

#include "params/tuning.h"

namespace veskaro::api {

// The variables as they stand, which a host may have written.
params::Tuning tuningInForce();
params::ReconstructSettings reconstructInForce();

void putInForce(const params::Tuning& tuning);

}  // namespace veskaro::api

#endif  // VESKARO_API_CLASSIC_VARIABLES_H
