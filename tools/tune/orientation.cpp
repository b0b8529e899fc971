#include "tune/orientation.h"

namespace tool::tune {
namespace {

Span mirrored(Span span, int size) {
  return {size - span.second, size - span.first};
}

std::vector<Span> mirrored(const std::vector<Span>& spans, int size) {
  std::vector<Span> result;
  for (auto span = spans.rbegin(); span != spans.rend(); ++span) result.push_back(mirrored(*span, size));
  return result;
}

}  // namespace

vnr_rectangle Orientation::inFile(const vnr_rectangle& upright) const {
  Span x = {upright.x0, upright.x1}, y = {upright.y0, upright.y1};
  if (isTurned()) std::swap(x, y);
  if (isMirroredAcross()) x = mirrored(x, width_);
  if (isMirroredDown()) y = mirrored(y, height_);
  return {x.first, x.second, y.first, y.second};
}

std::size_t Orientation::uprightIndex(int x, int y, int width, int height) const {
  if (isMirroredAcross()) x = width - 1 - x;
  if (isMirroredDown()) y = height - 1 - y;
  return isTurned() ? static_cast<std::size_t>(x) * static_cast<std::size_t>(height) + static_cast<std::size_t>(y)
                    : static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x);
}

std::vector<Span> Orientation::uprightColumns(const std::vector<Span>& columns, const std::vector<Span>& rows) const {
  if (isTurned()) return isMirroredDown() ? mirrored(rows, height_) : rows;
  return isMirroredAcross() ? mirrored(columns, width_) : columns;
}

std::vector<Span> Orientation::uprightRows(const std::vector<Span>& columns, const std::vector<Span>& rows) const {
  if (isTurned()) return isMirroredAcross() ? mirrored(columns, width_) : columns;
  return isMirroredDown() ? mirrored(rows, height_) : rows;
}

}  // namespace tool::tune
