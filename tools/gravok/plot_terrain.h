// The existing ground of a plan view: which triangles can be drawn, the elevation
// shading and the contour lines. Used by plot.cpp only; plain functions on the
// caller's data, no shared state.
#ifndef GRAVOK_TOOLS_PLOT_TERRAIN_H
#define GRAVOK_TOOLS_PLOT_TERRAIN_H

#include <gravok/problem.h>

#include <cstddef>
#include <vector>

namespace gravok_tool {

// Where a local plan point lands on the page: (left + (x - x_min) * scale,
// top + (y_max - y) * scale). y grows upwards in the plan and downwards on the page.
struct PageMap {
  double left = 0.0, top = 0.0, scale = 1.0;
  double x_min = 0.0, y_max = 0.0;
  double px(double x) const { return left + (x - x_min) * scale; }
  double py(double y) const { return top + (y_max - y) * scale; }
};

// The drawable part of a mesh: the triangles whose three indices are below the length
// of x, y and z and whose corners are finite, with their extent in local coordinates.
struct Ground {
  std::vector<std::size_t> triangles;  // indices into mesh.triangles
  std::size_t skipped = 0;
  double x_min = 0.0, x_max = 0.0, y_min = 0.0, y_max = 0.0;
  double z_min = 0.0, z_max = 0.0;
};

Ground survey_ground(const gvk::Mesh& mesh);

// The colour of the elevation ramp at `t` in [0, 1] (clamped), as red, green, blue.
void ramp_colour(double t, double rgb[3]);

// An opaque raster of the ground over a map of `width` by `height` pixels whose pixel
// (i, j) covers the page from (map.left + i / pixels_per_unit, map.top + j /
// pixels_per_unit). Each pixel inside a drawn triangle takes the ramp colour of the
// elevation interpolated at its centre, lit by the triangle's slope from the
// north-west; pixels outside every triangle stay transparent. Returns the pixels as
// cairo's ARGB32 words, row after row (stride = width).
std::vector<unsigned> shade_ground(const gvk::Mesh& mesh, const Ground& ground,
                                   const PageMap& map, double pixels_per_unit, int width,
                                   int height);

// Contour segments in page coordinates, four numbers each (x0, y0, x1, y1), at the
// absolute elevations k * interval (k integer) strictly above the ground's lowest and
// up to its highest point: a vertex at a level's height counts as above it, so a flat
// triangle gives none. Every fifth level (k divisible by 5) goes to `index_lines`.
// `zorig` turns local elevations into absolute ones.
void trace_contours(const gvk::Mesh& mesh, const Ground& ground, const PageMap& map,
                    double interval, double zorig, std::vector<double>& lines,
                    std::vector<double>& index_lines);

}  // namespace gravok_tool

#endif  // GRAVOK_TOOLS_PLOT_TERRAIN_H
