// The overlay of two triangulated surfaces in plan, which the volume functions sum
// up. Internal to the library.
#ifndef GRAVOK_SRC_MESH_VOLUME_OVERLAY_H
#define GRAVOK_SRC_MESH_VOLUME_OVERLAY_H

#include "convex_clip.h"
#include "plan_grid.h"
#include "volume_region.h"

#include <gravok/volume.h>

#include <cstddef>
#include <vector>

namespace gvk {

// One triangle of positive plan area relative to the local origin, counter-clockwise,
// with its plane z = z0 + gx (x - corner[0].x) + gy (y - corner[0].y).
struct PlanTriangle {
  PlanPoint corner[3];
  double z0;
  double gx;
  double gy;
  double at(const PlanPoint& p) const {
    return z0 + gx * (p.x - corner[0].x) + gy * (p.y - corner[0].y);
  }
  PlanBox box() const {
    PlanBox b{corner[0].x, corner[0].y, corner[0].x, corner[0].y};
    for (int k = 1; k < 3; ++k)
      b.grow(PlanBox{corner[k].x, corner[k].y, corner[k].x, corner[k].y});
    return b;
  }
};

enum class PlanTriangleMade { made, no_area, too_large };

// Triangle t of the mesh (whose indices and coordinates are known to be valid)
// relative to `origin`. no_area: it has no plan area, or so little that its slope
// overflows a double; too_large: its coordinate differences overflow.
PlanTriangleMade make_plan_triangle(const MeshView& mesh, std::size_t t,
                                    const PlanPoint& origin, PlanTriangle& out);

// What to sum: the whole common area, the regions of `fans`, or both. With
// `whole` false only base triangles near the regions are visited.
struct OverlayRequest {
  bool whole = true;
  const std::vector<FanTriangle>* fans = nullptr;
  std::size_t region_count = 0;
  // Differences no larger than this in magnitude count as 0.
  double zero = 0.0;
};

struct OverlaySums {
  PieceSums whole;
  std::vector<PieceSums> regions;
  double base_layered_area = 0.0;
  double top_layered_area = 0.0;
};

// Sums (top - base) over every piece where a base triangle and a top triangle
// overlap, split by sign, and over each region's fan triangles with their weights.
// The base's triangles are made one at a time relative to `origin` (none of them is
// too large); the top's, made before, are indexed.
OverlaySums overlay(const MeshView& base, const PlanPoint& origin,
                    const std::vector<PlanTriangle>& top, const OverlayRequest& request);

}  // namespace gvk

#endif  // GRAVOK_SRC_MESH_VOLUME_OVERLAY_H
