// The cut/fill map of a plan view: the difference top - base at every pixel of the
// map, coloured on a ramp of two hues centred on zero (cut where the top lies below
// the base, fill where it lies above), and the zero line where the two surfaces
// meet. Used by plot.cpp only; plain functions on the caller's data.
#ifndef GRAVOK_TOOLS_PLOT_CUTFILL_H
#define GRAVOK_TOOLS_PLOT_CUTFILL_H

#include "plot_terrain.h"

#include <gravok/problem.h>

#include <vector>

namespace gravok_tool {

// top - base at the centre of each pixel of a map of `width` by `height` pixels whose
// pixel (i, j) covers the page from (map.left + i / pixels_per_unit, map.top + j /
// pixels_per_unit), row after row; NaN where either surface has no drawable
// triangle. `limit` is the largest magnitude found (1 when every difference is 0 or
// none is found).
struct Difference {
  int width = 0, height = 0;
  std::vector<double> d;
  double limit = 1.0;
};

Difference sample_difference(const gvk::Mesh& base, const gvk::Mesh& top,
                             const PageMap& map, double pixels_per_unit, int width,
                             int height);

// The ramp at `t` in [-1, 1] (clamped): cut hue at -1, near white at 0, fill hue at 1.
void difference_colour(double t, double rgb[3]);

// The pixels of the map as cairo's ARGB32 words; transparent where d is NaN.
std::vector<unsigned> shade_difference(const Difference& difference);

// Segments (x0, y0, x1, y1 in page coordinates) of the line where the difference is
// zero, traced between pixel centres.
std::vector<double> trace_zero_line(const Difference& difference, const PageMap& map,
                                    double pixels_per_unit);

}  // namespace gravok_tool

#endif  // GRAVOK_TOOLS_PLOT_CUTFILL_H
