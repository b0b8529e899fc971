#include "params/ranking.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>

#include "VeskaroNRLib.h"
#include "platform/fp_environment.h"

namespace veskaro {
namespace {

template <typename Key>
struct Ranked {
  Key key;
  int index;
};

// Not a number compares equal to every key.
template <typename Key>
int compareKeys(Key a, Key b) {
  return a > b ? 1 : (a < b ? -1 : 0);
}

// Ranks equal keys by index.
template <typename Key>
bool isBefore(const Ranked<Key>& left, const Ranked<Key>& right) {
  const int byKey = compareKeys(left.key, right.key);
  return byKey != 0 ? byKey < 0 : left.index < right.index;
}

template <typename Key>
int rank(int count, const Key* keys, int* order) {
  if (count < 1) return 0;
  auto* pairs = static_cast<Ranked<Key>*>(std::malloc(static_cast<std::size_t>(count) * sizeof(Ranked<Key>)));
  if (pairs == nullptr) {
    for (int i = 0; i < count; ++i) order[i] = i;
    return 0;
  }
  for (int i = 0; i < count; ++i) pairs[i] = {keys[i], i};
  // Keys that are not numbers have no order. A heap sort stays inside the array all the same, and takes no memory.
  std::make_heap(pairs, pairs + count, isBefore<Key>);
  std::sort_heap(pairs, pairs + count, isBefore<Key>);
  for (int i = 0; i < count; ++i) order[i] = pairs[i].index;
  std::free(pairs);
  return count;
}

}  // namespace

int rankInts(int count, const int* keys, int* order) {
  return rank(count, keys, order);
}
int rankFloats(int count, const float* keys, int* order) {
  return rank(count, keys, order);
}

void rankLowest(int lowest, int count, const float* keys, int* order) {
  for (int i = 0; i < count; ++i) order[i] = i;
  std::partial_sort(order, order + lowest, order + count, [keys](int a, int b) {
    return isBefore<float>({keys[a], a}, {keys[b], b});
  });
}

}  // namespace veskaro

extern "C" {

int iclassement2(int kMax, int* moy, int* ordre) {
  return veskaro::rankInts(kMax, moy, ordre);
}

float fClassementCroissant2(int kMax, float* moy, int* ordre) {
  const veskaro::platform::DefaultFpEnvironment environment;
  return static_cast<float>(veskaro::rankFloats(kMax, moy, ordre));
}

int int_cmp(const void* a, const void* b) {
  return veskaro::compareKeys(*static_cast<const int*>(a), *static_cast<const int*>(b));
}

int float_cmp(const void* a, const void* b) {
  return veskaro::compareKeys(*static_cast<const float*>(a), *static_cast<const float*>(b));
}

}  // extern "C"
