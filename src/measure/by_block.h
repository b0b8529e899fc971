// What is kept of some of a picture's blocks, in the order of the blocks.
#ifndef VESKARO_MEASURE_BY_BLOCK_H
#define VESKARO_MEASURE_BY_BLOCK_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "platform/heap_array.h"

namespace veskaro::measure {

// Item: trivial, with a member `block`.
template <class Item>
class ByBlock {
 public:
  ByBlock() = default;
  ~ByBlock() {
    for (std::size_t i = 0; i < count_; ++i) std::free(all_[i]);
  }
  ByBlock(const ByBlock&) = delete;
  ByBlock& operator=(const ByBlock&) = delete;

  std::size_t count() const { return count_; }
  const Item& operator[](std::size_t i) const { return *all_[i]; }

  // The one of this block; null when there is none.
  Item* find(std::int64_t block) const {
    const std::size_t at = placeOf(block);
    return at < count_ && all_[at]->block == block ? all_[at] : nullptr;
  }
  // Begun, of zeros, when there is none; null when memory is refused.
  Item* of(std::int64_t block) {
    Item* const known = find(block);
    return known != nullptr ? known : begin(block);
  }
  void remove(std::int64_t block) {
    const std::size_t at = placeOf(block);
    if (at == count_ || all_[at]->block != block) return;
    std::free(all_[at]);
    --count_;
    std::memmove(all_.data() + at, all_.data() + at + 1, (count_ - at) * sizeof(Item*));
  }

 private:
  std::size_t placeOf(std::int64_t block) const {
    Item* const* const first = all_.data();
    const auto isBefore = [](const Item* item, std::int64_t b) { return item->block < b; };
    return static_cast<std::size_t>(std::lower_bound(first, first + count_, block, isBefore) - first);
  }
  Item* begin(std::int64_t block) {
    if (!makeRoom()) return nullptr;
    auto* const item = static_cast<Item*>(std::calloc(1, sizeof(Item)));
    if (item == nullptr) return nullptr;
    item->block = block;
    const std::size_t at = placeOf(block);
    std::memmove(all_.data() + at + 1, all_.data() + at, (count_ - at) * sizeof(Item*));
    all_[at] = item;
    ++count_;
    return item;
  }
  bool makeRoom() {
    if (count_ < room_) return true;
    const std::size_t room = room_ == 0 ? 64 : 2 * room_;
    platform::HeapArray<Item*> larger(room, platform::Fill::kNothing);
    if (!larger) return false;
    std::copy_n(all_.data(), count_, larger.data());
    all_ = std::move(larger);
    room_ = room;
    return true;
  }

  platform::HeapArray<Item*> all_;
  std::size_t count_ = 0, room_ = 0;
};

}  // namespace veskaro::measure

#endif  // VESKARO_MEASURE_BY_BLOCK_H
