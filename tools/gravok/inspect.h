// The checks of `gravok inspect`: what the library itself never checks in a problem.
#ifndef GRAVOK_TOOL_INSPECT_H
#define GRAVOK_TOOL_INSPECT_H

#include <gravok/problem.h>

#include <string>
#include <utility>
#include <vector>

namespace gravok_tool {

// One problem found: where it is ("triangle 12", "DrainLine 3", "settings") and what
// it is, in one English sentence.
struct Finding {
  std::string check;  // a stable key for scripts, e.g. "index-out-of-range"
  std::string where;
  std::string what;
};

// Every finding in `problem`, mesh first, then elements, then settings. Vertices that
// weld within `tolerance` are findings; a negative or NaN tolerance checks no welds.
std::vector<Finding> inspect_problem(const gvk::Problem& problem, double tolerance);

// Which of `points` lie in some triangle of `mesh` in plan, borders included, as 1 or
// 0 in the points' order. Triangles with an index out of range or a plan coordinate
// that is not finite are left out; `any_usable` says whether any triangle is left in.
// One pass over the triangles, with the points in a grid of about one cell per point.
std::vector<char> covered_in_plan(const gvk::Mesh& mesh,
                                  const std::vector<std::pair<double, double>>& points,
                                  bool& any_usable);

// A summary of the problem for people: units, origin, settings, mesh size and
// extent, element counts by kind; several lines, each ending in a line feed.
std::string summarise_problem(const gvk::Problem& problem);

// The same summary for scripts, as one JSON object: units, origin, host version,
// application, coordinate system, surfaces, mesh and element counts, settings. A number
// JSON cannot hold (NaN, an infinity) is null.
std::string summarise_problem_json(const gvk::Problem& problem);

}  // namespace gravok_tool

#endif  // GRAVOK_TOOL_INSPECT_H
