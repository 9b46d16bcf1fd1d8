#include "volume_overlay.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <utility>

namespace gvk {
namespace {

// Coverage beyond a triangle's own area by more than this share of it is a layer.
constexpr double kLayeredShare = 1e-9;
constexpr std::uint32_t kUnseen = std::numeric_limits<std::uint32_t>::max();

bool finite_differences(const PlanPoint c[3]) {
  for (int k = 0; k < 3; ++k) {
    const PlanPoint& a = c[k];
    const PlanPoint& b = c[(k + 1) % 3];
    if (!std::isfinite(a.x) || !std::isfinite(a.y) || !std::isfinite(b.x - a.x) ||
        !std::isfinite(b.y - a.y)) {
      return false;
    }
  }
  return true;
}

template <typename Emit>
void emit_box_rows(const PlanGrid& grid, const PlanBox& box, Emit emit) {
  const CellRange cells = grid.cells_of(box);
  for (std::size_t row = cells.row0; row <= cells.row1; ++row)
    emit(row, cells.col0, cells.col1);
}

// Registers each triangle in the cells its bounding box touches: meshes' triangles
// are small against the site, so their boxes waste little.
PlanGrid triangle_grid(const std::vector<PlanTriangle>& triangles) {
  PlanBox extent = triangles.front().box();
  for (const PlanTriangle& t : triangles) extent.grow(t.box());
  PlanGrid grid(extent, triangles.size());
  grid.build(triangles.size(), [&](std::size_t i, auto emit) {
    emit_box_rows(grid, triangles[i].box(), emit);
  });
  return grid;
}

// Registers a fan triangle, long and thin as fans often are, row by row in the
// columns it crosses, widened by `margin` so that rounding loses no cell.
template <typename Emit>
void emit_triangle_rows(const PlanGrid& grid, const FanTriangle& t, double margin,
                        Emit emit) {
  ConvexPolygon triangle;
  for (const PlanPoint& p : t.corner) triangle.push(p);
  ConvexPolygon above;
  ConvexPolygon band;
  const CellRange cells = grid.cells_of(t.box);
  for (std::size_t row = cells.row0; row <= cells.row1; ++row) {
    const double low = grid.row_y(row) - margin;
    const double high = grid.row_y(row + 1) + margin;
    clip_left_of(triangle, PlanPoint{0.0, low}, PlanPoint{1.0, low}, above);
    clip_left_of(above, PlanPoint{1.0, high}, PlanPoint{0.0, high}, band);
    if (band.count == 0) continue;
    double x0 = band.corner[0].x;
    double x1 = x0;
    for (int k = 1; k < band.count; ++k) {
      x0 = std::min(x0, band.corner[k].x);
      x1 = std::max(x1, band.corner[k].x);
    }
    emit(row, grid.col_of(x0 - margin), grid.col_of(x1 + margin));
  }
}

// About as many cells as the base has triangles, so that a cell holds few fan
// triangles, but no more than keeps the entries (a fan triangle crosses about the
// square root of the cell count) within some tens of millions.
std::size_t fan_cells(std::size_t fans, std::size_t base_triangles) {
  const double most_entries = 32.0 * 1024.0 * 1024.0;
  const double by_entries = std::max(most_entries / static_cast<double>(fans), 1.0);
  const double wanted = std::min({static_cast<double>(std::max(fans, base_triangles)),
                                  by_entries * by_entries,
                                  static_cast<double>(fans) * static_cast<double>(fans)});
  return std::max(fans, static_cast<std::size_t>(wanted));
}

struct FanIndex {
  const std::vector<FanTriangle>& fans;
  PlanBox extent;
  PlanGrid grid;
};

PlanBox fan_extent(const std::vector<FanTriangle>& fans) {
  PlanBox extent = fans.front().box;
  for (const FanTriangle& f : fans) extent.grow(f.box);
  return extent;
}

PlanGrid fan_grid(const std::vector<FanTriangle>& fans, const PlanBox& extent,
                  std::size_t base_triangles) {
  PlanGrid grid(extent, fan_cells(fans.size(), base_triangles));
  const double margin = 1e-9 * std::max(extent.x1 - extent.x0, extent.y1 - extent.y0);
  grid.build(fans.size(), [&](std::size_t i, auto emit) {
    emit_triangle_rows(grid, fans[i], margin, emit);
  });
  return grid;
}

class Overlay {
 public:
  Overlay(const MeshView& base, const PlanPoint& origin,
          const std::vector<PlanTriangle>& top, const OverlayRequest& request)
      : m_base(base),
        m_origin(origin),
        m_top(top),
        m_request(request),
        m_grid(triangle_grid(top)),
        m_top_cover(top.size(), 0.0),
        m_seen(top.size(), kUnseen) {
    m_sums.regions.resize(request.region_count);
    if (request.fans != nullptr && !request.fans->empty()) {
      const PlanBox extent = fan_extent(*request.fans);
      m_fans.reset(new FanIndex{*request.fans, extent,
                                fan_grid(*request.fans, extent, base.triangles.size())});
      m_fan_seen.assign(request.fans->size(), 0);
    }
  }

  OverlaySums run() {
    PlanTriangle b;
    for (std::size_t i = 0; i < m_base.triangles.size(); ++i) {
      if (make_plan_triangle(m_base, i, m_origin, b) == PlanTriangleMade::made)
        compare(i, b);
    }
    for (std::size_t j = 0; j < m_top.size(); ++j) {
      m_sums.base_layered_area += excess(m_top_cover[j], area_of(m_top[j]));
    }
    return m_sums;
  }

 private:
  static double area_of(const PlanTriangle& t) {
    return 0.5 * cross(t.corner[0], t.corner[1], t.corner[2]);
  }
  static double excess(double covered, double area) {
    const double more = covered - area;
    return more > kLayeredShare * area ? more : 0.0;
  }

  // Compares base triangle i, b, with every top triangle registered near it.
  void compare(std::size_t i, const PlanTriangle& b) {
    const PlanBox box = b.box();
    if (!m_request.whole && (!m_fans || !box.overlaps(m_fans->extent))) return;
    ConvexPolygon subject;
    for (const PlanPoint& p : b.corner) subject.push(p);
    double covered = 0.0;
    const CellRange cells = m_grid.cells_of(box);
    for (std::size_t row = cells.row0; row <= cells.row1; ++row) {
      for (std::size_t col = cells.col0; col <= cells.col1; ++col) {
        for (const std::uint32_t* e = m_grid.begin(col, row); e != m_grid.end(col, row);
             ++e) {
          if (m_seen[*e] == i) continue;
          m_seen[*e] = static_cast<std::uint32_t>(i);
          const PlanTriangle& t = m_top[*e];
          if (!box.overlaps(t.box())) continue;
          const double area = add_piece(subject, b, t);
          covered += area;
          m_top_cover[*e] += area;
        }
      }
    }
    m_sums.top_layered_area += excess(covered, area_of(b));
  }

  // Adds the piece where b and t overlap; returns its area.
  double add_piece(const ConvexPolygon& subject, const PlanTriangle& b,
                   const PlanTriangle& t) {
    if (!clip_to_triangle(subject, t.corner, m_piece, m_work)) return 0.0;
    const PieceSums sums = split(m_piece, b, t);
    if (!(sums.area > 0.0)) return 0.0;
    if (m_request.whole) m_sums.whole.add(sums, 1.0);
    if (m_fans) add_to_regions(b, t);
    return sums.area;
  }

  PieceSums split(const ConvexPolygon& piece, const PlanTriangle& b,
                  const PlanTriangle& t) {
    for (int k = 0; k < piece.count; ++k) {
      const double d = t.at(piece.corner[k]) - b.at(piece.corner[k]);
      m_d[k] = std::abs(d) <= m_request.zero ? 0.0 : d;
    }
    return integrate_split(piece, m_d);
  }

  // Adds m_piece, clipped to each fan triangle near it, to that triangle's region.
  void add_to_regions(const PlanTriangle& b, const PlanTriangle& t) {
    PlanBox box{m_piece.corner[0].x, m_piece.corner[0].y, m_piece.corner[0].x,
                m_piece.corner[0].y};
    for (int k = 1; k < m_piece.count; ++k) {
      box.grow(PlanBox{m_piece.corner[k].x, m_piece.corner[k].y, m_piece.corner[k].x,
                       m_piece.corner[k].y});
    }
    if (!box.overlaps(m_fans->extent)) return;
    ++m_piece_number;
    const CellRange cells = m_fans->grid.cells_of(box);
    for (std::size_t row = cells.row0; row <= cells.row1; ++row) {
      for (std::size_t col = cells.col0; col <= cells.col1; ++col) {
        for (const std::uint32_t* e = m_fans->grid.begin(col, row);
             e != m_fans->grid.end(col, row); ++e) {
          if (m_fan_seen[*e] == m_piece_number) continue;
          m_fan_seen[*e] = m_piece_number;
          const FanTriangle& f = m_fans->fans[*e];
          if (!box.overlaps(f.box)) continue;
          if (!clip_to_triangle(m_piece, f.corner, m_part, m_work)) continue;
          m_sums.regions[f.region].add(split(m_part, b, t), f.weight);
        }
      }
    }
  }

  const MeshView& m_base;
  PlanPoint m_origin;
  const std::vector<PlanTriangle>& m_top;
  const OverlayRequest& m_request;
  PlanGrid m_grid;
  std::vector<double> m_top_cover;
  std::vector<std::uint32_t> m_seen;
  std::unique_ptr<FanIndex> m_fans;
  std::vector<std::size_t> m_fan_seen;
  std::size_t m_piece_number = 0;
  OverlaySums m_sums;
  ConvexPolygon m_piece;
  ConvexPolygon m_part;
  ConvexPolygon m_work;
  double m_d[ConvexPolygon::kCapacity] = {};
};

}  // namespace

PlanTriangleMade make_plan_triangle(const MeshView& mesh, std::size_t t,
                                    const PlanPoint& origin, PlanTriangle& out) {
  PlanPoint c[3];
  double z[3];
  for (int k = 0; k < 3; ++k) {
    const unsigned long long v = mesh.triangles[t][k];
    c[k] = PlanPoint{mesh.x[v] - origin.x, mesh.y[v] - origin.y};
    z[k] = mesh.z[v];
  }
  if (!finite_differences(c)) return PlanTriangleMade::too_large;
  double twice = cross(c[0], c[1], c[2]);
  if (twice == 0.0) return PlanTriangleMade::no_area;
  if (twice < 0.0) {
    std::swap(c[1], c[2]);
    std::swap(z[1], z[2]);
    twice = -twice;
  }
  const double gx =
      ((z[1] - z[0]) * (c[2].y - c[0].y) - (z[2] - z[0]) * (c[1].y - c[0].y)) / twice;
  const double gy =
      ((c[1].x - c[0].x) * (z[2] - z[0]) - (c[2].x - c[0].x) * (z[1] - z[0])) / twice;
  if (!std::isfinite(gx) || !std::isfinite(gy)) return PlanTriangleMade::no_area;
  out = PlanTriangle{{c[0], c[1], c[2]}, z[0], gx, gy};
  return PlanTriangleMade::made;
}

OverlaySums overlay(const MeshView& base, const PlanPoint& origin,
                    const std::vector<PlanTriangle>& top, const OverlayRequest& request) {
  if (base.triangles.empty() || top.empty()) {
    OverlaySums none;
    none.regions.resize(request.region_count);
    return none;
  }
  return Overlay(base, origin, top, request).run();
}

}  // namespace gvk
