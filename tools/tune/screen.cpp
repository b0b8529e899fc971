#include "tune/screen.h"

#include <cmath>
#include <cstring>

#include "tell/display.h"

namespace tool::tune {
namespace {

using pictures::Bytes;

constexpr int kSteps = 33;  // of the table along each colour

// Every colour of the table, in the photograph's layout.
Bytes tableColours(const pictures::Photo& photo) {
  const std::size_t sample = static_cast<std::size_t>(photo.bits / 8);
  const auto white = static_cast<double>((1 << photo.bits) - 1);
  Bytes colours;
  for (int k = 0; k < kSteps * kSteps * kSteps; ++k) {
    const int steps[] = {k / (kSteps * kSteps), k / kSteps % kSteps, k % kSteps};
    for (int band = 0; band < photo.bands(); ++band) {
      const auto value = static_cast<std::uint16_t>(std::lround(steps[band % 3] * white / (kSteps - 1)));
      const auto byte = static_cast<std::uint8_t>(value);
      const auto* bytes = sample == 1 ? &byte : reinterpret_cast<const std::uint8_t*>(&value);
      colours.insert(colours.end(), bytes, bytes + sample);
    }
  }
  return colours;
}

std::vector<std::uint8_t> tableOf(const pictures::Photo& photo) {
  if (photo.metadata->icc.empty() || photo.grey) return {};
  const Bytes colours = tableColours(photo);
  vips::VImage shown = tell::colourOnScreen(photo, colours.data(), kSteps, kSteps * kSteps);
  std::size_t size = 0;
  const std::unique_ptr<void, pictures::FreeByGlib> memory(shown.write_to_memory(&size));
  const auto* bytes = static_cast<const std::uint8_t*>(memory.get());
  return std::vector<std::uint8_t>(bytes, bytes + size);
}

std::uint8_t rounded(float value) {
  return static_cast<std::uint8_t>(value + 0.5f);
}

}  // namespace

Screen::Screen(const pictures::Photo& photo, const Orientation& orientation)
    : photo_(photo),
      orientation_(orientation),
      sampleBytes_(static_cast<std::size_t>(photo.bits / 8)),
      table_(tableOf(photo)) {}

float Screen::sampleAt(const std::uint8_t* pixel, int band) const {
  if (sampleBytes_ == 1) return static_cast<float>(pixel[band]) * (1.0f / 255.0f);
  std::uint16_t value;
  std::memcpy(&value, pixel + 2 * band, sizeof value);
  return static_cast<float>(value) * (1.0f / 65535.0f);
}

// Between the eight colours of the table around it.
void Screen::showByTable(const std::uint8_t* pixel, std::uint8_t* to) const {
  std::size_t cell = 0;
  float share[3];
  for (int c = 0; c < 3; ++c) {
    const float at = sampleAt(pixel, c) * (kSteps - 1);
    const int step = std::min(static_cast<int>(at), kSteps - 2);
    share[c] = at - static_cast<float>(step);
    cell = cell * kSteps + static_cast<std::size_t>(step);
  }
  float sums[3] = {0.5f, 0.5f, 0.5f};
  for (std::size_t corner = 0; corner < 8; ++corner) {
    const std::size_t r = corner >> 2, g = corner >> 1 & 1, b = corner & 1;
    const float weight = (r ? share[0] : 1 - share[0]) * (g ? share[1] : 1 - share[1]) * (b ? share[2] : 1 - share[2]);
    const std::uint8_t* colour = table_.data() + 3 * (cell + (r * kSteps + g) * kSteps + b);
    for (int c = 0; c < 3; ++c) sums[c] += weight * static_cast<float>(colour[c]);
  }
  for (int c = 0; c < 3; ++c) to[c] = static_cast<std::uint8_t>(sums[c]);
}

void Screen::show(const std::uint8_t* pixel, std::uint8_t* to) const {
  if (table_.empty()) {
    for (int c = 0; c < 3; ++c) to[c] = rounded(255 * sampleAt(pixel, photo_.grey ? 0 : c));
  } else {
    showByTable(pixel, to);
  }
  to[3] = photo_.extraBands > 0 ? rounded(255 * sampleAt(pixel, photo_.colourBands())) : 255;
}

Bytes Screen::upright(const std::uint8_t* samples, int width, int height) const {
  const std::size_t pixelBytes = sampleBytes_ * static_cast<std::size_t>(photo_.bands());
  Bytes shown(4 * static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x, samples += pixelBytes)
      show(samples, shown.data() + 4 * orientation_.uprightIndex(x, y, width, height));
  }
  return shown;
}

}  // namespace tool::tune
