// A uniform grid over a plan rectangle whose cells list the items (triangles,
// segments) registered in them, for finding the items near a place without
// comparing against all of them. Internal to the library.
//
// The grid is built in two passes over the items, one counting the entries of
// every cell and one filling them into a single array (cell c's items are
// entries[offsets[c]] to entries[offsets[c + 1]]), so that it holds no per-cell
// allocations. An item is registered by rows: for each row of cells it touches, a
// range of columns. Places outside the rectangle fall into its border cells.
#ifndef GRAVOK_SRC_MESH_PLAN_GRID_H
#define GRAVOK_SRC_MESH_PLAN_GRID_H

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace gvk {

// An axis-aligned plan rectangle, borders included.
struct PlanBox {
  double x0;
  double y0;
  double x1;
  double y1;
  bool overlaps(const PlanBox& other) const {
    return x0 <= other.x1 && other.x0 <= x1 && y0 <= other.y1 && other.y0 <= y1;
  }
  void grow(const PlanBox& other) {
    x0 = std::min(x0, other.x0);
    y0 = std::min(y0, other.y0);
    x1 = std::max(x1, other.x1);
    y1 = std::max(y1, other.y1);
  }
};

// Inclusive ranges of columns and rows.
struct CellRange {
  std::size_t col0;
  std::size_t row0;
  std::size_t col1;
  std::size_t row1;
};

class PlanGrid {
 public:
  // A grid over `extent` with about `cells` cells of the rectangle's shape (at least
  // one, at most `cells` along either side). The extent's coordinates are finite.
  PlanGrid(const PlanBox& extent, std::size_t cells) : m_extent(extent) {
    const double width = extent.x1 - extent.x0;
    const double height = extent.y1 - extent.y0;
    const double wanted = static_cast<double>(std::max<std::size_t>(cells, 1));
    double side = std::sqrt(width * height / wanted);
    if (!(side > 0.0)) side = std::max(width, height) / wanted;
    m_cols = count_along(width, side, wanted);
    m_rows = count_along(height, side, wanted);
    m_col_scale = width > 0.0 ? static_cast<double>(m_cols) / width : 0.0;
    m_row_scale = height > 0.0 ? static_cast<double>(m_rows) / height : 0.0;
    m_offsets.assign(m_cols * m_rows + 1, 0);
  }

  std::size_t cols() const { return m_cols; }
  std::size_t rows() const { return m_rows; }
  // The plan y of the lower border of `row` (row == rows() gives the upper border).
  double row_y(std::size_t row) const {
    if (row >= m_rows) return m_extent.y1;
    return m_extent.y0 + static_cast<double>(row) / m_row_scale;
  }
  std::size_t col_of(double x) const {
    return index_along(x - m_extent.x0, m_col_scale, m_cols);
  }
  std::size_t row_of(double y) const {
    return index_along(y - m_extent.y0, m_row_scale, m_rows);
  }
  CellRange cells_of(const PlanBox& box) const {
    return CellRange{col_of(box.x0), row_of(box.y0), col_of(box.x1), row_of(box.y1)};
  }

  // Registers items 0 to count - 1. spans(item, emit) calls emit(row, col0, col1)
  // once for each row the item touches, with its inclusive range of columns; it is
  // called twice per item and must emit the same spans both times.
  template <typename Spans>
  void build(std::size_t count, Spans spans) {
    for (std::size_t i = 0; i < count; ++i) {
      spans(i, [&](std::size_t row, std::size_t col0, std::size_t col1) {
        for (std::size_t c = col0; c <= col1; ++c) ++m_offsets[row * m_cols + c + 1];
      });
    }
    for (std::size_t c = 1; c < m_offsets.size(); ++c) m_offsets[c] += m_offsets[c - 1];
    std::vector<std::size_t> next(m_offsets.begin(), m_offsets.end() - 1);
    m_entries.resize(m_offsets.back());
    for (std::size_t i = 0; i < count; ++i) {
      spans(i, [&](std::size_t row, std::size_t col0, std::size_t col1) {
        for (std::size_t c = col0; c <= col1; ++c) {
          m_entries[next[row * m_cols + c]++] = static_cast<std::uint32_t>(i);
        }
      });
    }
  }

  // The items registered in cell (col, row).
  const std::uint32_t* begin(std::size_t col, std::size_t row) const {
    return m_entries.data() + m_offsets[row * m_cols + col];
  }
  const std::uint32_t* end(std::size_t col, std::size_t row) const {
    return m_entries.data() + m_offsets[row * m_cols + col + 1];
  }

 private:
  static std::size_t count_along(double length, double side, double most) {
    if (!(length > 0.0) || !(side > 0.0)) return 1;
    const double n = std::ceil(length / side);
    return static_cast<std::size_t>(std::min(std::max(n, 1.0), most));
  }
  static std::size_t index_along(double offset, double scale, std::size_t count) {
    const double cell = std::floor(offset * scale);
    if (!(cell > 0.0)) return 0;
    const double last = static_cast<double>(count - 1);
    return cell >= last ? count - 1 : static_cast<std::size_t>(cell);
  }

  PlanBox m_extent;
  std::size_t m_cols = 1;
  std::size_t m_rows = 1;
  double m_col_scale = 0.0;
  double m_row_scale = 0.0;
  std::vector<std::size_t> m_offsets;
  std::vector<std::uint32_t> m_entries;
};

}  // namespace gvk

#endif  // GRAVOK_SRC_MESH_PLAN_GRID_H
