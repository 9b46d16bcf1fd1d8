#include <gravok/volume.h>

#include "volume_overlay.h"
#include "volume_region.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>

namespace gvk {
namespace {

// Differences within this share of the largest elevation are taken as 0.
constexpr double kZeroShare = 1e-12;

std::string count_fault(const char* axis, std::size_t have, std::size_t vertices) {
  return std::string(axis) + " is shorter than x (" + std::to_string(have) + " and " +
         std::to_string(vertices) + " values)";
}

std::string triangle_fault(const MeshView& mesh, std::size_t t) {
  const std::size_t n = mesh.x.size();
  for (const unsigned long long v : mesh.triangles[t]) {
    if (v >= n) {
      return "triangle " + std::to_string(t) + " names vertex " + std::to_string(v) +
             ", but there are " + std::to_string(n) + " vertices";
    }
    if (!std::isfinite(mesh.x[v]) || !std::isfinite(mesh.y[v]) ||
        !std::isfinite(mesh.z[v])) {
      return "vertex " + std::to_string(v) + " (of triangle " + std::to_string(t) +
             ") has a coordinate that is not finite";
    }
  }
  return std::string();
}

// Why the mesh cannot be read, or an empty string.
std::string mesh_fault(const MeshView& mesh) {
  const std::size_t n = mesh.x.size();
  if (mesh.y.size() < n) return count_fault("y", mesh.y.size(), n);
  if (mesh.z.size() < n) return count_fault("z", mesh.z.size(), n);
  if (mesh.triangles.size() >= std::numeric_limits<std::uint32_t>::max()) {
    return "it has " + std::to_string(mesh.triangles.size()) +
           " triangles; the volume functions take fewer than 2^32";
  }
  for (std::size_t t = 0; t < mesh.triangles.size(); ++t) {
    std::string fault = triangle_fault(mesh, t);
    if (!fault.empty()) return fault;
  }
  return std::string();
}

// The middle of the plan box of the vertices the base's triangles use (the top's
// when the base has none): coordinates relative to it keep their digits.
PlanPoint local_origin(const MeshView& base, const MeshView& top) {
  const MeshView& mesh = base.triangles.empty() ? top : base;
  if (mesh.triangles.empty()) return PlanPoint{0.0, 0.0};
  const unsigned long long first = mesh.triangles.front()[0];
  PlanBox box{mesh.x[first], mesh.y[first], mesh.x[first], mesh.y[first]};
  for (const Triangle& t : mesh.triangles) {
    for (const unsigned long long v : t)
      box.grow(PlanBox{mesh.x[v], mesh.y[v], mesh.x[v], mesh.y[v]});
  }
  return PlanPoint{0.5 * box.x0 + 0.5 * box.x1, 0.5 * box.y0 + 0.5 * box.y1};
}

double largest_elevation(const MeshView& mesh) {
  double most = 0.0;
  for (const Triangle& t : mesh.triangles) {
    for (const unsigned long long v : t) most = std::max(most, std::abs(mesh.z[v]));
  }
  return most;
}

// The fault of the first triangle whose coordinate differences overflow; when
// `out` is given, it receives the triangles of positive plan area.
std::string prepare(const MeshView& mesh, const PlanPoint& origin,
                    std::vector<PlanTriangle>* out) {
  if (out != nullptr) out->reserve(mesh.triangles.size());
  PlanTriangle prepared;
  for (std::size_t t = 0; t < mesh.triangles.size(); ++t) {
    const PlanTriangleMade made = make_plan_triangle(mesh, t, origin, prepared);
    if (made == PlanTriangleMade::too_large) {
      return "triangle " + std::to_string(t) + " is too large to compute with";
    }
    if (made == PlanTriangleMade::made && out != nullptr) out->push_back(prepared);
  }
  return std::string();
}

Earthwork earthwork_of(const PieceSums& sums) {
  Earthwork e;
  e.cut = std::max(sums.cut, 0.0);
  e.fill = std::max(sums.fill, 0.0);
  e.net = e.fill - e.cut;
  e.cut_area = std::max(sums.cut_area, 0.0);
  e.fill_area = std::max(sums.fill_area, 0.0);
  e.area = std::max(sums.area, 0.0);
  return e;
}

bool finite(const Earthwork& e) {
  return std::isfinite(e.cut) && std::isfinite(e.fill) && std::isfinite(e.cut_area) &&
         std::isfinite(e.fill_area) && std::isfinite(e.area);
}

VolumeResult refused(std::string message) {
  VolumeResult result;
  result.ok = false;
  result.message = std::move(message);
  return result;
}

// The two meshes checked, the top's triangles prepared, with the origin and the zero of
// differences.
struct Surfaces {
  std::string fault;
  PlanPoint origin{0.0, 0.0};
  double zero = 0.0;
  std::vector<PlanTriangle> top;
};

Surfaces prepare_surfaces(const MeshView& base, const MeshView& top) {
  Surfaces s;
  std::string fault = mesh_fault(base);
  if (!fault.empty()) s.fault = "base mesh: " + fault;
  if (s.fault.empty() && !(fault = mesh_fault(top)).empty())
    s.fault = "top mesh: " + fault;
  if (!s.fault.empty()) return s;
  s.origin = local_origin(base, top);
  s.zero = kZeroShare * std::max(largest_elevation(base), largest_elevation(top));
  if (!(fault = prepare(base, s.origin, nullptr)).empty())
    s.fault = "base mesh: " + fault;
  if (s.fault.empty() && !(fault = prepare(top, s.origin, &s.top)).empty()) {
    s.fault = "top mesh: " + fault;
  }
  return s;
}

// Runs the overlay and fills the result's figures; refuses figures that overflowed.
VolumeResult summed(const MeshView& base, const Surfaces& s,
                    const OverlayRequest& request) {
  const OverlaySums sums = overlay(base, s.origin, s.top, request);
  VolumeResult result;
  result.total = earthwork_of(sums.whole);
  bool all_finite = finite(result.total);
  for (const PieceSums& r : sums.regions) {
    result.regions.push_back(earthwork_of(r));
    all_finite = all_finite && finite(result.regions.back());
  }
  result.base_layered_area = sums.base_layered_area;
  result.top_layered_area = sums.top_layered_area;
  if (!all_finite)
    return refused("the surfaces are too large or too steep to compute with");
  return result;
}

}  // namespace

VolumeResult volume_between(const MeshView& base, const MeshView& top) {
  const Surfaces s = prepare_surfaces(base, top);
  if (!s.fault.empty()) return refused(s.fault);
  OverlayRequest request;
  request.zero = s.zero;
  return summed(base, s, request);
}

VolumeResult volume_between(const MeshView& base, const MeshView& top,
                            const std::vector<double>& boundary_x,
                            const std::vector<double>& boundary_y) {
  const Surfaces s = prepare_surfaces(base, top);
  if (!s.fault.empty()) return refused(s.fault);
  std::vector<FanTriangle> fans;
  const std::string fault = add_region_fan(boundary_x, boundary_y, s.origin, 0, fans);
  if (!fault.empty()) return refused("boundary: " + fault);
  OverlayRequest request;
  request.whole = false;
  request.fans = &fans;
  request.region_count = 1;
  request.zero = s.zero;
  VolumeResult result = summed(base, s, request);
  if (result.ok) {
    result.total = result.regions.front();
    result.regions.clear();
  }
  return result;
}

VolumeResult volumes_by_region(const MeshView& base, const MeshView& top,
                               const std::vector<std::vector<double>>& xs,
                               const std::vector<std::vector<double>>& ys) {
  const Surfaces s = prepare_surfaces(base, top);
  if (!s.fault.empty()) return refused(s.fault);
  const std::size_t count = std::max(xs.size(), ys.size());
  if (count >= std::numeric_limits<std::uint32_t>::max()) {
    return refused("more regions than the volume functions take");
  }
  const std::vector<double> none;
  std::vector<FanTriangle> fans;
  std::vector<std::string> faults(count);
  for (std::size_t i = 0; i < count; ++i) {
    faults[i] = add_region_fan(i < xs.size() ? xs[i] : none, i < ys.size() ? ys[i] : none,
                               s.origin, static_cast<std::uint32_t>(i), fans);
  }
  OverlayRequest request;
  request.fans = &fans;
  request.region_count = count;
  request.zero = s.zero;
  VolumeResult result = summed(base, s, request);
  if (result.ok) result.region_faults = std::move(faults);
  return result;
}

}  // namespace gvk
