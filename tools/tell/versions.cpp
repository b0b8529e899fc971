#include "tell/versions.h"

#include <VeskaroNRLib.h>
#include <fmt/format.h>

#include <exiv2/exiv2.hpp>
#include <vips/vips8>

namespace tool::tell {

std::vector<std::pair<std::string, std::string>> versions() {
  return {{"veskaro-nr",
           fmt::format("{}.{}.{}", VESKARONR_VERSION_MAJOR, VESKARONR_VERSION_MINOR, VESKARONR_VERSION_PATCH)},
          {"libvips", vips_version_string()},
          {"exiv2", Exiv2::version()}};
}

}  // namespace tool::tell
