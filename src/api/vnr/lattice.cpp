#include "api/vnr/lattice.h"

#include <limits>
#include <utility>

namespace veskaro::api {
namespace {

// The stride as a distance, with the first sample moved to the lowest address. False beyond half the address space.
bool makePositive(std::ptrdiff_t stride, std::uintptr_t count, std::uintptr_t* first, std::uintptr_t* distance) {
  constexpr std::uintptr_t kMost = std::numeric_limits<std::ptrdiff_t>::max();
  *distance =
      stride < 0 ? std::uintptr_t{0} - static_cast<std::uintptr_t>(stride) : static_cast<std::uintptr_t>(stride);
  if (count > 1 && *distance > kMost / (count - 1)) return false;
  if (stride < 0) *first -= *distance * (count - 1);
  return true;
}

}  // namespace

Lattice::Lattice(std::uintptr_t first, std::ptrdiff_t pixelStride, std::ptrdiff_t rowStride, int width, int height,
                 int sampleBytes)
    : first_(first),
      innerCount_(static_cast<std::uintptr_t>(width)),
      outerCount_(static_cast<std::uintptr_t>(height)),
      bytes_(static_cast<std::uintptr_t>(sampleBytes)) {
  constexpr std::uintptr_t kMost = std::numeric_limits<std::ptrdiff_t>::max();
  isSound_ = makePositive(width == 1 ? sampleBytes : pixelStride, innerCount_, &first_, &inner_) &&
             makePositive(height == 1 ? 0 : rowStride, outerCount_, &first_, &outer_);
  if (!isSound_) return;
  if (height == 1) outer_ = lineBytes();
  if (outer_ < inner_) {
    std::swap(inner_, outer_);
    std::swap(innerCount_, outerCount_);
  }
  isSound_ = inner_ >= bytes_ && (innerCount_ - 1) * inner_ <= kMost - bytes_ && outer_ >= lineBytes() &&
             (outerCount_ - 1) * outer_ <= kMost - lineBytes() && first_ != 0 && end() > first_;
}

bool Lattice::sharesBytesWith(const Lattice& other) const {
  if (end() <= other.first_ || other.end() <= first_) return false;
  if (inner_ != other.inner_ || outer_ != other.outer_) return linesMeet(other);
  // Some sample of the other lies less than a sample from one of ours: |d + i * outer + j * inner| < bytes, with i and
  // j differences of line and sample numbers. Lines are shorter than outer, which leaves few i to try.
  const auto d = static_cast<std::intptr_t>(other.first_ - first_);
  const auto outer = static_cast<std::intptr_t>(outer_);
  for (std::intptr_t i = -d / outer - 2; i <= -d / outer + 2; ++i) {
    const bool exists =
        i > -static_cast<std::intptr_t>(outerCount_) && i < static_cast<std::intptr_t>(other.outerCount_);
    if (exists && hasSampleWithin(d + i * outer, other)) return true;
  }
  return false;
}

bool Lattice::hasSampleWithin(std::intptr_t distance, const Lattice& other) const {
  const auto inner = static_cast<std::intptr_t>(inner_), bytes = static_cast<std::intptr_t>(bytes_);
  for (std::intptr_t j = -distance / inner - 1; j <= -distance / inner + 1; ++j) {
    const bool exists =
        j > -static_cast<std::intptr_t>(innerCount_) && j < static_cast<std::intptr_t>(other.innerCount_);
    const std::intptr_t apart = distance + j * inner;
    if (exists && apart > -bytes && apart < bytes) return true;
  }
  return false;
}

// Both lists of lines are in ascending order.
bool Lattice::linesMeet(const Lattice& other) const {
  for (std::uintptr_t i = 0, k = 0; i < outerCount_ && k < other.outerCount_;) {
    const std::uintptr_t ours = first_ + i * outer_, theirs = other.first_ + k * other.outer_;
    if (ours + lineBytes() <= theirs) {
      ++i;
    } else if (theirs + other.lineBytes() <= ours) {
      ++k;
    } else {
      return true;
    }
  }
  return false;
}

}  // namespace veskaro::api
