// What an operation knows of its input: the noise, measured once, and the tiles that have been filtered.
//
// Tiles are filtered when somebody asks for a pixel of them, and kept until the input or the settings change. So moving
// over a picture, or rendering it in chunks that cut tiles, filters no tile twice, and a moved slider filters those in
// view.
#pragma once

#include <gegl.h>

#include <memory>
#include <mutex>
#include <string>

#include "common/choice.h"
#include "common/memory.h"
#include "gegl/form.h"

namespace plugin {

// All that decides what comes out, beside the input's pixels.
struct Wanted {
  GeglRectangle extent = {0, 0, 0, 0};  // of the input
  Form form;
  Choice choice;
  bool holds = false;  // keep the noise when the input changes
  std::string held;    // the noise to keep, as text; empty: the last measured

  bool operator==(const Wanted& other) const;
  bool hasSameInput(const Wanted& other) const;
};

class Picture {
 public:
  // Any method may be called by any thread; a lock is held for looking something up, never while pixels are made.
  void want(const Wanted& wanted);
  void inputChanged();

  // The part of the input that making these pixels takes.
  GeglRectangle required(const GeglRectangle& pixels) const;

  // False when memory is exhausted.
  bool make(GeglBuffer* input, GeglBuffer* output, const GeglRectangle& pixels);

  // The noise in use as text; empty before it was measured.
  std::string measured() const;

 private:
  // One version of input and settings; the pixels of its tiles are in `pixels` where `isMade` says so.
  struct Version {
    Wanted wanted;
    bool isMeasured = false;
    vnr_noise noise = {};
    Plan plan;
    int unitX = 1, unitY = 1, columns = 1, rows = 1;
    GeglBuffer* pixels = nullptr;
    Bytes isMade;  // a tile each; guarded by the picture's lock

    Version() = default;
    Version(const Version&) = delete;
    Version& operator=(const Version&) = delete;
    ~Version();
    bool setNoise(const vnr_noise& measured);
    bool begin();
    int column(int x) const;
    int row(int y) const;
    GeglRectangle tiles(int row, int from, int end) const;
    unsigned char* made(int row, int column) const;
    bool filter(GeglBuffer* input, const GeglRectangle& tiles) const;
  };
  using Shared = std::shared_ptr<Version>;

  static Shared renewed(const Version* before, const Wanted& wanted, bool keepsNoise);
  Shared current() const;
  Shared measuredFrom(GeglBuffer* input);
  int endOfMissing(const Version& v, int row, int from, int end) const;
  bool fill(Version& v, GeglBuffer* input, const GeglRectangle& pixels);

  mutable std::mutex lock_;
  Shared version_;
};

}  // namespace plugin
