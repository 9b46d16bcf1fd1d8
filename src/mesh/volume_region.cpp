#include "volume_region.h"

#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>

namespace gvk {
namespace {

// A corner kept for the fan: its place relative to the origin and its number in
// the caller's lists, which messages name.
struct Corner {
  PlanPoint p;
  std::size_t number;
};

std::string coordinate_fault(const std::vector<double>& xs,
                             const std::vector<double>& ys) {
  if (xs.size() != ys.size()) {
    return "it has " + std::to_string(xs.size()) + " x and " + std::to_string(ys.size()) +
           " y values";
  }
  if (xs.size() >= std::numeric_limits<std::uint32_t>::max())
    return "it has too many corners";
  for (std::size_t i = 0; i < xs.size(); ++i) {
    if (!std::isfinite(xs[i]) || !std::isfinite(ys[i])) {
      return "corner " + std::to_string(i) + " has a coordinate that is not finite";
    }
  }
  return std::string();
}

// The corners without consecutive repeats and without a repeated closing corner.
std::vector<Corner> distinct_corners(const std::vector<double>& xs,
                                     const std::vector<double>& ys,
                                     const PlanPoint& origin) {
  std::vector<Corner> ring;
  const auto same = [&](std::size_t a, std::size_t b) {
    return xs[a] == xs[b] && ys[a] == ys[b];
  };
  for (std::size_t i = 0; i < xs.size(); ++i) {
    if (!ring.empty() && same(ring.back().number, i)) continue;
    ring.push_back(Corner{PlanPoint{xs[i] - origin.x, ys[i] - origin.y}, i});
  }
  while (ring.size() > 1 && same(ring.back().number, ring.front().number))
    ring.pop_back();
  return ring;
}

int sign_of(double v) { return (v > 0.0) - (v < 0.0); }

// Whether p, known to lie on the line through a and b, lies on the segment a-b.
bool within(const PlanPoint& a, const PlanPoint& b, const PlanPoint& p) {
  return std::min(a.x, b.x) <= p.x && p.x <= std::max(a.x, b.x) &&
         std::min(a.y, b.y) <= p.y && p.y <= std::max(a.y, b.y);
}

// Whether the closed segments a-b and c-d have a point in common.
bool segments_meet(const PlanPoint& a, const PlanPoint& b, const PlanPoint& c,
                   const PlanPoint& d) {
  const int o1 = sign_of(cross(a, b, c));
  const int o2 = sign_of(cross(a, b, d));
  const int o3 = sign_of(cross(c, d, a));
  const int o4 = sign_of(cross(c, d, b));
  if (o1 != o2 && o3 != o4) return true;
  return (o1 == 0 && within(a, b, c)) || (o2 == 0 && within(a, b, d)) ||
         (o3 == 0 && within(c, d, a)) || (o4 == 0 && within(c, d, b));
}

// Whether consecutive edges a-v and v-b overlap beyond v (the outline turns back).
bool turns_back(const PlanPoint& a, const PlanPoint& v, const PlanPoint& b) {
  if (cross(a, v, b) != 0.0) return false;
  return (v.x - a.x) * (b.x - v.x) + (v.y - a.y) * (b.y - v.y) < 0.0;
}

PlanBox box_of(const PlanPoint& a, const PlanPoint& b) {
  return PlanBox{std::min(a.x, b.x), std::min(a.y, b.y), std::max(a.x, b.x),
                 std::max(a.y, b.y)};
}

std::string meeting_fault(const std::vector<Corner>& ring, std::size_t i, std::size_t j) {
  const auto edge = [&](std::size_t e) {
    return "the edge from corner " + std::to_string(ring[e].number) + " to corner " +
           std::to_string(ring[(e + 1) % ring.size()].number);
  };
  return "it is not a simple polygon: " + edge(i) + " meets " + edge(j);
}

// Why the ring is not simple (two edges meet other than consecutive ones at their
// shared corner), or an empty string. Edges are found through a plan grid, so a
// ring of k corners costs about O(k) unless its edges crowd into few cells.
std::string simplicity_fault(const std::vector<Corner>& ring) {
  const std::size_t n = ring.size();
  const auto start = [&](std::size_t e) { return ring[e].p; };
  const auto stop = [&](std::size_t e) { return ring[(e + 1) % n].p; };
  for (std::size_t e = 0; e < n; ++e) {
    if (turns_back(start(e), stop(e), stop((e + 1) % n)))
      return meeting_fault(ring, e, (e + 1) % n);
  }
  PlanBox extent = box_of(start(0), stop(0));
  for (std::size_t e = 1; e < n; ++e) extent.grow(box_of(start(e), stop(e)));
  PlanGrid grid(extent, n);
  grid.build(n, [&](std::size_t e, auto emit) {
    const CellRange cells = grid.cells_of(box_of(start(e), stop(e)));
    for (std::size_t row = cells.row0; row <= cells.row1; ++row)
      emit(row, cells.col0, cells.col1);
  });
  std::vector<std::size_t> seen(n, n);
  for (std::size_t e = 0; e < n; ++e) {
    const CellRange cells = grid.cells_of(box_of(start(e), stop(e)));
    for (std::size_t row = cells.row0; row <= cells.row1; ++row) {
      for (std::size_t col = cells.col0; col <= cells.col1; ++col) {
        for (const std::uint32_t* f = grid.begin(col, row); f != grid.end(col, row);
             ++f) {
          const std::size_t other = *f;
          const bool adjacent = other == e + 1 || (e == 0 && other == n - 1);
          if (other <= e || adjacent || seen[other] == e) continue;
          seen[other] = e;
          if (segments_meet(start(e), stop(e), start(other), stop(other))) {
            return meeting_fault(ring, e, other);
          }
        }
      }
    }
  }
  return std::string();
}

void append_fan(const std::vector<Corner>& ring, std::uint32_t region,
                std::vector<FanTriangle>& fans) {
  double twice_area = 0.0;
  for (std::size_t i = 1; i + 1 < ring.size(); ++i) {
    twice_area += cross(ring[0].p, ring[i].p, ring[i + 1].p);
  }
  if (twice_area == 0.0) return;
  const double orientation = twice_area > 0.0 ? 1.0 : -1.0;
  for (std::size_t i = 1; i + 1 < ring.size(); ++i) {
    FanTriangle t{{ring[0].p, ring[i].p, ring[i + 1].p}, orientation, region, PlanBox{}};
    const double twice = cross(t.corner[0], t.corner[1], t.corner[2]);
    if (twice == 0.0) continue;
    if (twice < 0.0) {
      std::swap(t.corner[1], t.corner[2]);
      t.weight = -orientation;
    }
    t.box = box_of(t.corner[0], t.corner[1]);
    t.box.grow(box_of(t.corner[2], t.corner[2]));
    fans.push_back(t);
  }
}

}  // namespace

std::string add_region_fan(const std::vector<double>& xs, const std::vector<double>& ys,
                           const PlanPoint& origin, std::uint32_t region,
                           std::vector<FanTriangle>& fans) {
  std::string fault = coordinate_fault(xs, ys);
  if (!fault.empty()) return fault;
  const std::vector<Corner> ring = distinct_corners(xs, ys, origin);
  if (ring.size() < 3) return std::string();
  fault = simplicity_fault(ring);
  if (!fault.empty()) return fault;
  append_fan(ring, region, fans);
  return std::string();
}

}  // namespace gvk
