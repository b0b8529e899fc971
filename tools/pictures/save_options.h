// How results are coded, where a format leaves a choice.
#pragma once

#include <optional>

namespace tool::pictures {

struct SaveOptions {
  std::optional<int> quality;  // of JPEG and of lossy WebP, AVIF and JPEG XL; otherwise a JPEG's own, or 95
};

}  // namespace tool::pictures
