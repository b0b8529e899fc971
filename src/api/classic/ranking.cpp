// Rankings of a host's keys.
#include <algorithm>
#include <cstddef>
#include <cstdlib>

#include "VeskaroNRLib.h"
#include "platform/fp_environment.h"

namespace veskaro::api {
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
}  // namespace veskaro::api

extern "C" {

int iclassement2(int kMax, int* moy, int* ordre) {
  return veskaro::api::rank(kMax, moy, ordre);
}

float fClassementCroissant2(int kMax, float* moy, int* ordre) {
  const veskaro::platform::DefaultFpEnvironment environment;
  return static_cast<float>(veskaro::api::rank(kMax, moy, ordre));
}

int int_cmp(const void* a, const void* b) {
  return veskaro::api::compareKeys(*static_cast<const int*>(a), *static_cast<const int*>(b));
}

int float_cmp(const void* a, const void* b) {
  return veskaro::api::compareKeys(*static_cast<const float*>(a), *static_cast<const float*>(b));
}

}  // extern "C"
