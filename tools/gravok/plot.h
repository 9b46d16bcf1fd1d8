// Plan view of a grading problem: the existing ground shaded by elevation (with a
// colour ramp and its legend) and lit from the north-west, contour lines traced across
// the triangles, the mesh edges on request, every grading element drawn on top in a
// style of its kind with a legend by kind, a scale bar in the problem's linear unit,
// tick marks in absolute coordinates and the origin stated. The plot is drawn with
// cairo as SVG, PNG or PDF. Coordinates are shown absolute: a local coordinate plus
// the problem's origin on its axis.
//
// Plotting keeps no shared state: plots of different problems may be drawn on several
// threads at once, as long as nothing writes a problem while it is drawn.
#ifndef GRAVOK_TOOLS_PLOT_H
#define GRAVOK_TOOLS_PLOT_H

#include <gravok/problem.h>
#include <gravok/volume.h>

#include <cstddef>
#include <functional>
#include <map>
#include <string>

namespace gravok_tool {

// What to draw and how large.
struct PlotOptions {
  // Elevation step between contour lines, in the problem's linear unit. Zero, negative
  // or not finite: a round step (1, 2, 2.5 or 5 times a power of ten) that gives
  // about 10 to 20 lines over the elevation range.
  double contour_interval = 0.0;
  // Every triangle edge as a thin line (slow and dense on large meshes).
  bool mesh_edges = false;
  // Page width in pixels (PNG) or points (SVG, PDF); clamped to 600 to 8000. The
  // height follows from the extent of the site.
  int width = 1400;
  // The heading above the map; empty gives "Plan view".
  std::string title;
  // A top surface in the problem's coordinates and unit. When given, the map shows
  // the cut/fill of it against the problem's mesh (the base) instead of elevations:
  // top - base on a ramp of two hues centred on zero, the zero line, and the cut,
  // fill and net (gvk::volume_between) in the legend; no contours. Borrowed.
  const gvk::Mesh* compare = nullptr;
  // When set, called as each stage of the work begins, with its name ("surveying the
  // ground", "tracing contours", "drawing"), for a progress display.
  std::function<void(const std::string&)> on_stage;
};

// What a plot showed, for a caller's report and for tests. Absolute coordinates.
struct PlotSummary {
  std::size_t triangles_drawn = 0;
  // Triangles left out: an index not below the length of x, y or z, or a corner
  // coordinate that is NaN or infinite.
  std::size_t triangles_skipped = 0;
  double z_min = 0.0, z_max = 0.0;  // over the drawn triangles; both 0 when none
  double contour_interval = 0.0;    // the step used (0 when no triangle was drawn)
  std::size_t contour_levels = 0;   // levels that cross at least the elevation range
  std::size_t contour_segments = 0;
  std::map<GradingElementType, std::size_t> elements_drawn;  // shapes per kind
  std::size_t break_lines_drawn = 0;                         // segments with finite ends
  // With PlotOptions::compare: the earthwork shown, the largest |top - base| on the
  // map (the ends of the ramp) and the segments of the zero line.
  bool compared = false;
  gvk::Earthwork earthwork;
  double difference_limit = 0.0;
  std::size_t zero_line_segments = 0;
  // The extent shown, and where it lies on the page: the absolute point (x, y) is drawn
  // at (map_left + (x - x_min) * scale, map_top + (y_max - y) * scale).
  double x_min = 0.0, x_max = 0.0, y_min = 0.0, y_max = 0.0;
  double map_left = 0.0, map_top = 0.0, scale = 1.0;
  int page_width = 0, page_height = 0;
};

// Most contour levels one plot draws. An explicit interval that would give more over
// the elevation range is refused.
constexpr std::size_t kMaxContourLevels = 2000;

// A round step (1, 2, 2.5 or 5 times a power of ten) giving close to 15 contour lines
// between `z_min` and `z_max`; 1 when the range is zero, negative or not finite.
double default_contour_interval(double z_min, double z_max);

// Draws the plan view of `problem` into the file `path`, whose suffix (any letter
// case) picks the format: ".svg", ".png" or ".pdf". Returns true when the file was
// written; `summary` then says what it shows.
//
// Whatever the problem holds, it plots: without a mesh the map shows the elements
// alone, without elements the ground alone, and with neither an empty frame of 100
// units around the origin. Triangles with an index out of range or a non-finite
// corner are skipped (and counted); element vertices that are not finite break their
// polyline there; xs and ys of unequal length are read up to the shorter one; a kind
// with records but no coordinate lists draws nothing; point kinds read their location
// slots (LowPoint and BoundedPoint location[0..1], Offset location[1..2] and
// location[4..5]). A flat surface is shaded in one colour and has no contour lines.
// Kinds the library does not name are drawn as thin grey polylines under their
// number. An SVG file also carries the title, the origin, the extent, the contour
// interval and the legend entries as text in its <title> and <desc> elements.
//
// Break lines are drawn over the ground as dark dashed segments, with their count in
// the legend.
//
// Returns false with one line in `error` (naming the file where it matters) for an
// unknown suffix, an explicit contour interval that gives more than
// kMaxContourLevels levels, a mesh (or a compared surface) that has triangles but
// none of any area in plan, which would draw as nothing, a compared surface that the
// volume functions refuse or that does not overlap the mesh in plan, and a file that
// cannot be written ("cannot write PATH: REASON", the system's reason). The file is
// written whole or not at all: one that was there stays as it was. The problem is
// only read.
bool plot_problem(const gvk::Problem& problem, const PlotOptions& options,
                  const std::string& path, PlotSummary& summary, std::string& error);

// The same, for a caller that needs no summary.
bool plot_problem(const gvk::Problem& problem, const PlotOptions& options,
                  const std::string& path, std::string& error);

}  // namespace gravok_tool

#endif  // GRAVOK_TOOLS_PLOT_H
