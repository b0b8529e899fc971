// What pages are made of: pictures inside them, text that cannot be taken for markup, marks that are filled in.
#pragma once

#include <map>
#include <string>
#include <vips/vips8>

namespace tool::tell {

// A picture as an address that holds it.
std::string dataUri(const vips::VImage& image, int quality);

// Text as it stands between tags and in quoted attributes. Bytes that are no UTF-8 are replaced.
std::string escaped(const std::string& text);

// The template with each @mark@ replaced by its value, in which no marks are looked for.
std::string filledIn(const std::string& page, const std::map<std::string, std::string>& values);

}  // namespace tool::tell
