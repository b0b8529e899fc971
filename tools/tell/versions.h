// Versions of the tool and of the libraries under it, a name and a version each.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace tool::tell {

std::vector<std::pair<std::string, std::string>> versions();

}  // namespace tool::tell
