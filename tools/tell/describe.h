// The end of a file's way as JSON: what --json prints and what the report page shows.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "run/outcome.h"
#include "run/settings.h"

namespace tool::tell {

using Json = nlohmann::ordered_json;

Json describe(const run::FileResult& file, const run::Settings& settings);

// What was measured of a picture's noise, under the names that both --json and profile --json have.
void addNoise(const run::NoiseProfile& profile, Json& json);

// The six statistics of a high-dynamic-range picture by name.
Json describe(const run::HdrStatistics& statistics);

// A file's name, or a message with one, so that it can be in JSON whatever its bytes are.
std::string nameAsText(const std::string& bytes);

// JSON on one line. A byte of a name that is no UTF-8 is written as Python reads such names: 0xff as \udcff.
std::string oneLine(const Json& value);

}  // namespace tool::tell
