#include "run/library.h"

#include <fmt/format.h>

#include "base/failure.h"
#include "base/interruption.h"

namespace tool::run {
namespace {

int tell(void* host, std::int64_t done, std::int64_t total) {
  const auto& p = *static_cast<const StripProgress*>(host);
  if (p.watch.progress) p.watch.progress(p.begin + p.share * static_cast<double>(done) / static_cast<double>(total));
  return 0;
}

int runInPool(void* host, std::int32_t count, void (*job)(void* argument, std::int32_t index), void* argument) {
  static_cast<const StripProgress*>(host)->watch.pool->run(count, job, argument);
  return 0;
}

}  // namespace

vnr_picture pictureOf(const pictures::Photo& photo, const std::uint8_t* samples) {
  const std::int32_t bands = photo.bands();
  vnr_picture picture = vnr_interleaved(photo.bits == 16 ? VNR_UINT16 : VNR_UINT8, photo.width, photo.height, bands,
                                        samples, static_cast<std::ptrdiff_t>(photo.width) * bands);
  picture.channels = photo.colourBands();
  return picture;
}

Plan beginPlan(int width, int height, const vnr_settings& settings) {
  vnr_plan* plan = nullptr;
  requireDone(vnr_plan_begin(width, height, &settings, &plan));
  return Plan(plan);
}

vnr_control controlOf(int threads, StripProgress& progress) {
  vnr_control control{};
  control.struct_size = sizeof control;
  control.threads = threads;
  control.run = progress.watch.pool != nullptr ? runInPool : nullptr;
  control.progress = tell;
  control.cancel = progress.watch.cancel;
  control.host = &progress;
  return control;
}

void requireDone(int result) {
  if (result == VNR_CANCELLED) throw Interrupted{};
  if (result == VNR_ERROR_MEMORY) throw Failure(Kind::kNoMemory, "memory exhausted");
  if (result != VNR_OK) throw Failure(fmt::format("the library refused the picture: {}", vnr_result_text(result)));
}

}  // namespace tool::run
