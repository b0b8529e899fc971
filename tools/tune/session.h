// One photograph that is being tuned: its noise, any piece of it before and after, and the result.
#pragma once

#include <veskaronr.h>

#include <mutex>
#include <nlohmann/json.hpp>
#include <string>

#include "pictures/photo.h"
#include "pictures/save_options.h"
#include "run/noise_profile.h"
#include "run/watch.h"
#include "tune/orientation.h"
#include "tune/screen.h"

namespace tool::tune {

using Json = nlohmann::ordered_json;

// Rectangles and sizes are those of the upright picture. Everything but the construction may be called from any thread,
// and throws Failure for what cannot be.
class Session {
 public:
  // Measures the photograph. Cancel stops the work when it is not 0.
  Session(pictures::Photo photo, int threads, const std::int32_t* cancel);

  Json about() const;
  Json noise() const;
  // What the rule with this number (best, fast, classic) makes of the noise, as a recipe.
  std::string chosen(int rule, float strength) const;
  // The tiles' edges.
  Json grid(const vnr_settings& settings) const;
  // Pieces as a screen shows them: red, green, blue and alpha, 8 bits each.
  pictures::Bytes before(const vnr_rectangle& upright) const;
  pictures::Bytes after(const vnr_settings& settings, const vnr_rectangle& upright) const;
  // The whole result as a file. One at a time.
  pictures::Bytes result(const vnr_settings& settings, pictures::Format format) const;

  const pictures::Photo& photo() const { return photo_; }

 private:
  vnr_rectangle inFile(const vnr_rectangle& upright) const;
  pictures::Bytes filtered(const vnr_settings& settings, const vnr_rectangle& piece) const;
  pictures::Bytes original(const vnr_rectangle& piece) const;

  const pictures::Photo photo_;
  const Orientation orientation_;
  const Screen screen_;
  const int threads_;
  const run::Watch watch_;
  run::NoiseProfile noise_;
  mutable std::mutex oneResult_;
};

}  // namespace tool::tune
