#include "tiled/filter.h"

#include <cstdlib>
#include <cstring>
#include <limits>

#include "platform/team.h"

namespace veskaro::tiled {
namespace {

class Filtering {
 public:
  Filtering(const FilterCall& call, const Engine& engine, float* work)
      : call_(call), engine_(engine), work_(work), tiles_(tilesTouching(call.plan, call.out.region)) {}
  ~Filtering() {
    for (float* slice : slices_) std::free(slice);
  }
  Filtering(const Filtering&) = delete;
  Filtering& operator=(const Filtering&) = delete;

  std::int64_t tiles() const { return tiles_.count(); }

  // Zeroed memory for a worker's tiles.
  bool prepare(int worker) {
    if (work_ != nullptr) {
      std::memset(sliceOf(worker), 0, engine_.floats * sizeof(float));
      return true;
    }
    constexpr std::uint64_t kMost = std::numeric_limits<std::ptrdiff_t>::max() / sizeof(float);
    if (engine_.floats > kMost) return false;
    slices_[worker] = static_cast<float*>(std::calloc(engine_.floats, sizeof(float)));
    return slices_[worker] != nullptr;
  }

  bool process(int worker, std::int64_t index) {
    const int column = tiles_.x.first + static_cast<int>(index % tiles_.perRow());
    const int row = tiles_.y.first + static_cast<int>(index / tiles_.perRow());
    const Plan& plan = call_.plan;
    return engine_.process({call_.in, call_.out, tileSpan(plan.grid.x, plan.width, column),
                            tileSpan(plan.grid.y, plan.height, row), plan.settings, call_.scale},
                           sliceOf(worker));
  }

 private:
  float* sliceOf(int worker) {
    return work_ != nullptr ? work_ + engine_.floats * static_cast<unsigned>(worker) : slices_[worker];
  }

  const FilterCall& call_;
  const Engine& engine_;
  float* const work_;
  const TileBlock tiles_;
  float* slices_[platform::kMostThreads] = {};
};

}  // namespace

Engine chooseEngine(const Plan& plan, pixels::SampleType type) {
  const Engine vectors = vectorEngine(plan.grid, plan.settings, type);
  return vectors.process != nullptr ? vectors : plainEngine(plan.grid);
}

platform::LoopResult filter(const FilterCall& call, const Engine& engine, const platform::Control& control,
                            float* work) {
  Filtering filtering(call, engine, work);
  const platform::LoopBody body = {
      [](void* f, int worker) { return static_cast<Filtering*>(f)->prepare(worker); },
      [](void* f, int worker, std::int64_t index) { return static_cast<Filtering*>(f)->process(worker, index); },
      &filtering};
  return platform::forEachItem(control, filtering.tiles(), body);
}

}  // namespace veskaro::tiled
