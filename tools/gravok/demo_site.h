// A synthetic grading problem to show what the library does: rolling terrain at a
// state-plane origin, in feet, with a few elements of every kind placed on it. The
// site is the same on every call (no randomness), so runs and pictures compare.
#ifndef GRAVOK_TOOLS_DEMO_SITE_H
#define GRAVOK_TOOLS_DEMO_SITE_H

#include <gravok/problem.h>

namespace gravok_tool {

// Grid cells per side of the default site: 316 x 316 cells of two triangles each,
// 199,712 triangles.
constexpr int kDemoCells = 316;

// The finest grid: 7071 cells per side, 99,997,682 triangles.
constexpr int kMaxDemoCells = 7071;

// The demo site: a square of 1580 ft on a side, local coordinates 0 to 1580, at the
// origin x 2,000,000, y 500,000, z 0 ft, with foot as the linear unit (and square and
// cubic feet). The ground rolls between about 110 and 170 ft, with a valley that runs
// from west to east and falls to the east and three hollows. The mesh is built as two
// tiles that each keep their own vertices along the seam between them, and four
// survey marks stand in the vertex list unused, so a mesh check finds welds and
// unused vertices that cleaning removes. Elements: low points in the hollows and at
// the valley's outlet, a drain line along the valley floor, a building pad with a
// parking lot, curbs and a retaining wall beside it, a pond in the south-east hollow,
// a pathway from the pad to the pond, bend lines on the valley's shoulders, two
// surface zones, offsets across the retaining wall, bounded points at the pad's
// entrance and the lot's corner, aligned edges on the lot and the pad, and the site
// boundary as an unclassified line. Break lines follow the valley floor.
//
// `cells` sets the grid's fineness (clamped to 4 to kMaxDemoCells), and with it the
// mesh's size: 2 * cells^2 triangles and (cells + 1) * (cells + 2) + 4 vertices; the
// site's extent and its elements stay the same. The arrays are allocated once at
// their final size.
gvk::Problem demo_site(int cells = kDemoCells);

// The cells per side whose mesh comes nearest to `triangles` triangles, within 4 to
// kMaxDemoCells.
int demo_cells(unsigned long long triangles);

// The ground elevation of the demo site at a local plan point, in feet.
double demo_elevation(double x, double y);

}  // namespace gravok_tool

#endif  // GRAVOK_TOOLS_DEMO_SITE_H
