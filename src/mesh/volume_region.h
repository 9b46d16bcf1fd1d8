// The closed plan polygons of the volume functions (a boundary, element outlines),
// checked and cut into triangles for the overlay. Internal to the library.
//
// A simple polygon is the signed sum of the triangles (corner 0, corner i, corner
// i + 1): where they overlap, their signs cancel, so the integral over the polygon
// is the weighted sum of the integrals over those convex triangles, for any shape.
#ifndef GRAVOK_SRC_MESH_VOLUME_REGION_H
#define GRAVOK_SRC_MESH_VOLUME_REGION_H

#include "convex_clip.h"
#include "plan_grid.h"

#include <cstdint>
#include <string>
#include <vector>

namespace gvk {

// One triangle of a polygon's fan, counter-clockwise, with the sign it carries.
struct FanTriangle {
  PlanPoint corner[3];
  double weight;
  std::uint32_t region;
  PlanBox box;
};

// Checks the polygon (xs[i], ys[i]) and appends the triangles of its fan, shifted
// by -origin, to `fans`. Returns why it is refused (nothing is appended then), or
// an empty string. A polygon of fewer than three distinct corners appends nothing.
std::string add_region_fan(const std::vector<double>& xs, const std::vector<double>& ys,
                           const PlanPoint& origin, std::uint32_t region,
                           std::vector<FanTriangle>& fans);

}  // namespace gvk

#endif  // GRAVOK_SRC_MESH_VOLUME_REGION_H
