// An outcome as JSON: what --json prints and what the report page shows.
#pragma once

#include <nlohmann/json.hpp>

#include "options.h"
#include "process.h"

namespace tool {

nlohmann::ordered_json describe(const Outcome& outcome, const Options& options);

// The six statistics of a high-dynamic-range picture by name.
nlohmann::ordered_json describeStatistics(const std::array<float, 6>& statistics);

// JSON on one line; bytes of file names that are no UTF-8 are replaced.
std::string oneLine(const nlohmann::ordered_json& value);

}  // namespace tool
