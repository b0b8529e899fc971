#include <cmath>

#include "hdr/detail/detail_levels.h"
#include "hdr/luminance/luminance_forms.h"
#include "hdr/luminance/threshold_curve.h"
#include "hdr/rgbe/ybr.h"
#include "platform/log_exp.h"

namespace veskaro::hdr {

namespace {

class LuminanceStage {
 public:
  explicit LuminanceStage(const LuminanceJob& job)
      : job_(job), width_(job.in.size.width), logs_(reinterpret_cast<PlaneSample*>(job.work)) {}

  // line: max(width, height) floats.
  void run(float* line) const {
    const std::size_t pixels = job_.in.size.pixels();
    for (int y = 0; y < job_.in.size.height; ++y) makeLogs(y);
    shrinkDetails({job_.in.size, logs_, {logs_ + pixels, logs_ + 2 * pixels}, line},
                  [this](int level) { return ThresholdCurve(job_.settings, level); });
    for (int y = 0; y < job_.in.size.height; ++y) writeRow(y);
  }

 private:
  void makeLogs(int y) const {
    const ConstRgbeRow row = job_.in.row(y);
    PlaneSample* const to = logsOf(y);
    for (int i = 0; i < width_; ++i) to[i] = logLuminance(decode(row, i, table_));
  }

  void writeRow(int y) const {
    const ConstRgbeRow in = job_.in.row(y);
    const RgbeRow out = job_.out.row(y);
    const PlaneSample* const logs = logsOf(y);
    for (int i = 0; i < width_; ++i) plain::writePixel(table_, in, i, logs[i], out);
  }

  PlaneSample* logsOf(int y) const { return logs_ + static_cast<std::size_t>(y) * static_cast<std::size_t>(width_); }

  const LuminanceJob& job_;
  const ExponentTable table_;
  const int width_;
  PlaneSample* const logs_;
};

}  // namespace

void plain::writePixel(const ExponentTable& table, const ConstRgbeRow& in, int i, float logLuma, const RgbeRow& out) {
  Ybr ybr = toYbr(decode(in, i, table));
  ybr.y = platform::expOf(logLuma);
  const Rgb colour = toRgb(ybr);
  if (!std::isfinite(logLuma) || !std::isfinite(ybr.y) || !isEncodable(colour)) {
    copyPixel(in, out, i);
  } else {
    encode(colour, out, i);
  }
}

bool plain::denoiseLuminance(const LuminanceJob& job) {
  return runWithLine<LuminanceStage>(job);
}

}  // namespace veskaro::hdr
