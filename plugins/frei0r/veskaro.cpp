// The frei0r filter: noise reduction in video, frame by frame, with one clip's noise in an instance.
#pragma GCC visibility push(default)
extern "C" {
#include <frei0r.h>
}
#pragma GCC visibility pop

#include <cstring>
#include <new>

#include "common/memory.h"
#include "frei0r/cut.h"
#include "frei0r/parameters.h"
#include "frei0r/planes.h"
#include "frei0r/steady_noise.h"

namespace plugin {
namespace {

class Clip {
 public:
  Clip(int width, int height)
      : width_(width),
        height_(height),
        pixels_(static_cast<std::size_t>(width) * static_cast<std::size_t>(height)),
        memory_(zeroedBytes(pixels_, 6)) {}

  bool isReady() const { return memory_ != nullptr; }
  std::size_t bytes() const { return 4 * pixels_; }

  // False when the frame could not be filtered; nothing has been written then.
  bool filter(double time, const std::uint8_t* in, std::uint8_t* out) {
    const Planes given = planes(0), made = planes(3);
    split(in, pixels_, given);
    const vnr_picture from = picture(given), to = picture(made);
    follow(time, in, from);
    vnr_settings settings;
    if (settingsFor(parameters.choice(), noise_.current(), &settings) != VNR_OK) return false;
    if (vnr_denoise(&from, &to, &settings, nullptr) != VNR_OK) return false;
    join(made, in, pixels_, out);
    return true;
  }

  Parameters parameters;

 private:
  Planes planes(std::size_t first) const {
    std::uint8_t* at = memory_.get() + first * pixels_;
    return {at, at + pixels_, at + 2 * pixels_};
  }

  vnr_picture picture(const Planes& p) const {
    vnr_picture planar = vnr_interleaved(VNR_UINT8, width_, height_, 3, p.red, width_);
    planar.channel[1] = p.green;
    planar.channel[2] = p.blue;
    planar.pixel_stride = 1;
    planar.row_stride = width_;
    return planar;
  }

  void follow(double time, const std::uint8_t* frame, const vnr_picture& given) {
    if (parameters.holds() && !noise_.isEmpty()) return;
    if (cuts_.isCut(time, frame, width_, height_)) noise_.startScene();
    vnr_noise measured = {};
    measured.struct_size = sizeof measured;
    const bool isMeasured = noise_.wants() && vnr_measure(&given, nullptr, &measured) == VNR_OK;
    noise_.advance(isMeasured ? &measured : nullptr);
  }

  int width_, height_;
  std::size_t pixels_;
  Bytes memory_;  // the planes of the frame, then those of the result
  CutDetector cuts_;
  SteadyNoise noise_;
};

Clip* clipOf(f0r_instance_t instance) {
  return static_cast<Clip*>(instance);
}

}  // namespace
}  // namespace plugin

using plugin::clipOf;

extern "C" {

int f0r_init() {
  return 1;
}

void f0r_deinit() {}

void f0r_get_plugin_info(f0r_plugin_info_t* info) {
  info->name = "Veskaro noise reduction";
  info->author = "VeskaroNRLib developers";
  info->plugin_type = F0R_PLUGIN_TYPE_FILTER;
  info->color_model = F0R_COLOR_MODEL_RGBA8888;
  info->frei0r_version = FREI0R_MAJOR_VERSION;
  info->major_version = VESKARONR_VERSION_MAJOR;
  info->minor_version = VESKARONR_VERSION_MINOR;
  info->num_params = plugin::kParameterCount;
  info->explanation = "Measures the noise of a clip and takes it out, with edges kept";
}

void f0r_get_param_info(f0r_param_info_t* info, int index) {
  if (index < 0 || index >= plugin::kParameterCount) return;
  const plugin::ParameterText& text = plugin::kParameterTexts[index];
  *info = {text.name, text.isSwitch ? F0R_PARAM_BOOL : F0R_PARAM_DOUBLE, text.explanation};
}

f0r_instance_t f0r_construct(unsigned int width, unsigned int height) {
  if (width < 1 || width > VNR_MOST_PIXELS || height < 1 || height > VNR_MOST_PIXELS) return nullptr;
  auto* clip = new (std::nothrow) plugin::Clip(static_cast<int>(width), static_cast<int>(height));
  if (clip == nullptr || clip->isReady()) return clip;
  delete clip;
  return nullptr;
}

void f0r_destruct(f0r_instance_t instance) {
  delete clipOf(instance);
}

void f0r_set_param_value(f0r_instance_t instance, f0r_param_t param, int index) {
  if (instance != nullptr && param != nullptr) clipOf(instance)->parameters.set(index, *static_cast<double*>(param));
}

void f0r_get_param_value(f0r_instance_t instance, f0r_param_t param, int index) {
  if (instance == nullptr || param == nullptr || index < 0 || index >= plugin::kParameterCount) return;
  *static_cast<double*>(param) = clipOf(instance)->parameters.values[index];
}

void f0r_update(f0r_instance_t instance, double time, const uint32_t* inframe, uint32_t* outframe) {
  if (instance == nullptr || inframe == nullptr || outframe == nullptr) return;
  plugin::Clip& clip = *clipOf(instance);
  const auto* in = reinterpret_cast<const std::uint8_t*>(inframe);
  const bool isFiltered = clip.filter(time, in, reinterpret_cast<std::uint8_t*>(outframe));
  if (!isFiltered && inframe != outframe) std::memcpy(outframe, inframe, clip.bytes());
}

}  // extern "C"
