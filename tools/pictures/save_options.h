// How results are coded, where a format leaves a choice.
#pragma once

namespace tool::pictures {

struct SaveOptions {
  int quality = 95;  // of JPEG and lossy WebP
};

}  // namespace tool::pictures
