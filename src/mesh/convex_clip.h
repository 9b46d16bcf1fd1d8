// Convex plan polygons for the volume overlay: clipping by half-planes and the exact
// integral of a linear function over a polygon, split where the function changes
// sign. Internal to the library.
#ifndef GRAVOK_SRC_MESH_CONVEX_CLIP_H
#define GRAVOK_SRC_MESH_CONVEX_CLIP_H

#include <cstddef>

namespace gvk {

struct PlanPoint {
  double x;
  double y;
};

// A convex polygon of at most kCapacity corners, counter-clockwise. A triangle
// clipped by two triangles has at most 9 corners; rounding can make a nearly
// collinear run of corners cross a clipping line more than twice, and a corner that
// would go past the capacity is dropped (never written out of bounds), which
// changes the result by rounding only.
struct ConvexPolygon {
  static constexpr int kCapacity = 32;
  int count = 0;
  PlanPoint corner[kCapacity];
  void push(const PlanPoint& p) {
    if (count < kCapacity) corner[count++] = p;
  }
};

// Twice the signed area of the triangle a, b, c: positive when counter-clockwise.
inline double cross(const PlanPoint& a, const PlanPoint& b, const PlanPoint& c) {
  return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
}

// The part of `in` on the left of the directed line a -> b, the line included.
// A corner exactly on the line is kept once; no corner is made twice.
inline void clip_left_of(const ConvexPolygon& in, const PlanPoint& a, const PlanPoint& b,
                         ConvexPolygon& out) {
  out.count = 0;
  if (in.count == 0) return;
  PlanPoint prev = in.corner[in.count - 1];
  double prev_side = cross(a, b, prev);
  for (int i = 0; i < in.count; ++i) {
    const PlanPoint cur = in.corner[i];
    const double side = cross(a, b, cur);
    const bool crosses =
        (prev_side < 0.0 && side > 0.0) || (prev_side > 0.0 && side < 0.0);
    if (crosses) {
      const double t = prev_side / (prev_side - side);
      out.push(PlanPoint{prev.x + t * (cur.x - prev.x), prev.y + t * (cur.y - prev.y)});
    }
    if (side >= 0.0) out.push(cur);
    prev = cur;
    prev_side = side;
  }
}

// The part of `in` inside the counter-clockwise triangle t (three corners); `work`
// is scratch space. Returns false when nothing of area is left.
inline bool clip_to_triangle(const ConvexPolygon& in, const PlanPoint* t,
                             ConvexPolygon& out, ConvexPolygon& work) {
  clip_left_of(in, t[0], t[1], work);
  if (work.count < 3) return false;
  clip_left_of(work, t[1], t[2], out);
  if (out.count < 3) return false;
  clip_left_of(out, t[2], t[0], work);
  if (work.count < 3) return false;
  out.count = work.count;
  for (int k = 0; k < work.count; ++k) out.corner[k] = work.corner[k];
  return true;
}

// What one or more polygons contribute, each figure already weighted.
struct PieceSums {
  double cut = 0.0;
  double fill = 0.0;
  double cut_area = 0.0;
  double fill_area = 0.0;
  double area = 0.0;
  void add(const PieceSums& other, double weight) {
    cut += weight * other.cut;
    fill += weight * other.fill;
    cut_area += weight * other.cut_area;
    fill_area += weight * other.fill_area;
    area += weight * other.area;
  }
};

// The area and the integral of the linear function with the corner values `d` over
// the polygon `p` of `n` corners, as a fan from its first corner.
inline void integrate_fan(const PlanPoint* p, const double* d, int n, double& area,
                          double& integral) {
  area = 0.0;
  integral = 0.0;
  for (int k = 1; k + 1 < n; ++k) {
    const double a = 0.5 * cross(p[0], p[k], p[k + 1]);
    area += a;
    integral += a * (d[0] + d[k] + d[k + 1]) / 3.0;
  }
}

// Splits `poly`, whose corners carry the values `d` of a linear function (its
// difference top - base), where that function changes sign, and returns the fill
// (d > 0) and cut (d < 0) parts' areas and volumes. A polygon on which d is 0 at
// every corner counts towards the area only.
inline PieceSums integrate_split(const ConvexPolygon& poly, const double* d) {
  constexpr int kMost = 2 * ConvexPolygon::kCapacity;
  PlanPoint up[kMost];
  PlanPoint down[kMost];
  double up_d[kMost];
  double down_d[kMost];
  int n_up = 0;
  int n_down = 0;
  bool any_up = false;
  bool any_down = false;
  for (int i = 0; i < poly.count; ++i) {
    const int j = i + 1 == poly.count ? 0 : i + 1;
    const PlanPoint p = poly.corner[i];
    if (d[i] >= 0.0) {
      up[n_up] = p;
      up_d[n_up++] = d[i];
      any_up = any_up || d[i] > 0.0;
    }
    if (d[i] <= 0.0) {
      down[n_down] = p;
      down_d[n_down++] = d[i];
      any_down = any_down || d[i] < 0.0;
    }
    if ((d[i] > 0.0 && d[j] < 0.0) || (d[i] < 0.0 && d[j] > 0.0)) {
      const double t = d[i] / (d[i] - d[j]);
      const PlanPoint q = poly.corner[j];
      const PlanPoint zero{p.x + t * (q.x - p.x), p.y + t * (q.y - p.y)};
      up[n_up] = zero;
      up_d[n_up++] = 0.0;
      down[n_down] = zero;
      down_d[n_down++] = 0.0;
    }
  }
  PieceSums sums;
  double ignored = 0.0;
  if (!any_up && !any_down) {
    integrate_fan(poly.corner, d, poly.count, sums.area, ignored);
    return sums;
  }
  double fill = 0.0;
  double cut = 0.0;
  if (any_up) integrate_fan(up, up_d, n_up, sums.fill_area, fill);
  if (any_down) integrate_fan(down, down_d, n_down, sums.cut_area, cut);
  sums.fill = fill;
  sums.cut = -cut;
  sums.area = sums.fill_area + sums.cut_area;
  return sums;
}

}  // namespace gvk

#endif  // GRAVOK_SRC_MESH_CONVEX_CLIP_H
