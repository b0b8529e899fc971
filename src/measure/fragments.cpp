#include "measure/fragments.h"

#include <algorithm>
#include <cstring>

namespace veskaro::measure {

bool Fragment::isFull() const {
  return std::all_of(filled, filled + kBlockSize, [](std::uint32_t row) { return row == 0xffffffffu; });
}

pixels::PictureView Fragment::view(int x, int y) {
  const auto plane = [this](int k) { return reinterpret_cast<unsigned char*>(values[k]); };
  return {pixels::SampleType::kFloat32,   false,
          {plane(0), plane(1), plane(2)}, sizeof(float),
          sizeof(float) * kBlockSize,     {x, x + kBlockSize, y, y + kBlockSize}};
}

Fragments::~Fragments() {
  for (std::size_t i = 0; i < count_; ++i) std::free(all_[i]);
}

std::size_t Fragments::placeOf(std::int64_t block) const {
  Fragment* const* const first = all_.data();
  const auto isBefore = [](const Fragment* f, std::int64_t b) { return f->block < b; };
  return static_cast<std::size_t>(std::lower_bound(first, first + count_, block, isBefore) - first);
}

bool Fragments::makeRoom() {
  if (count_ < room_) return true;
  const std::size_t room = room_ == 0 ? 64 : 2 * room_;
  platform::HeapArray<Fragment*> larger(room, platform::Fill::kNothing);
  if (!larger) return false;
  std::copy_n(all_.data(), count_, larger.data());
  all_ = std::move(larger);
  room_ = room;
  return true;
}

Fragment* Fragments::of(std::int64_t block) {
  const std::size_t at = placeOf(block);
  if (at < count_ && all_[at]->block == block) return all_[at];
  if (!makeRoom()) return nullptr;
  auto* const fragment = static_cast<Fragment*>(std::calloc(1, sizeof(Fragment)));
  if (fragment == nullptr) return nullptr;
  fragment->block = block;
  std::memmove(all_.data() + at + 1, all_.data() + at, (count_ - at) * sizeof(Fragment*));
  all_[at] = fragment;
  ++count_;
  return fragment;
}

void Fragments::remove(std::int64_t block) {
  const std::size_t at = placeOf(block);
  if (at == count_ || all_[at]->block != block) return;
  std::free(all_[at]);
  --count_;
  std::memmove(all_.data() + at, all_.data() + at + 1, (count_ - at) * sizeof(Fragment*));
}

}  // namespace veskaro::measure
