// The page, which is part of the program; made from web/site.
#pragma once

namespace tool::tune {

struct Asset {
  const char* path;
  const char* type;
  const char* text;
};

// Ends with an asset without a path.
extern const Asset kAssets[];

}  // namespace tool::tune
