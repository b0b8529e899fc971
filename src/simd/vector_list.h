#ifndef VESKARO_SIMD_VECTOR_LIST_H
#define VESKARO_SIMD_VECTOR_LIST_H

#include <cstdint>

namespace veskaro::simd {

// The columns of those vectors of a row that another form has to see to, listed without a branch.
class VectorList {
 public:
  // Entries for every vector of a row, should their number be rounded up to an even one.
  static constexpr int room(int columns) { return columns / kFewestLanes + 2; }

  explicit VectorList(std::int32_t* room) : columns_(room) {}

  void addIf(bool condition, int column) {
    columns_[size_] = column;
    size_ += condition ? 1 : 0;
  }

  const std::int32_t* begin() const { return columns_; }
  const std::int32_t* end() const { return columns_ + size_; }

 private:
  static constexpr int kFewestLanes = 4;
  std::int32_t* columns_;
  int size_ = 0;
};

}  // namespace veskaro::simd

#endif  // VESKARO_SIMD_VECTOR_LIST_H
