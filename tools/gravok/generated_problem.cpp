#include "generated_problem.h"

#include <gravok/element_types.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace gravok_tool {

Problem generated_problem() {
  const double inf = std::numeric_limits<double>::infinity();
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double tiny = std::numeric_limits<double>::denorm_min();
  const double huge = std::numeric_limits<double>::max();
  Problem p;
  p.linear_unit = gvk::store_unit(gvk::Known<1>(4));
  p.area_unit = gvk::store_unit(gvk::Known<2>(4));
  p.volume_unit = gvk::store_unit(gvk::Known<3>(5));
  p.surface_ids = {7, 18446744073709551615ULL};
  p.surface_names = {"existing ground", "Gel\xc3\xa4nde \"2\"\n"};
  // A 3 x 3 grid of vertices, eight triangles, with a vertex of every sort of value.
  gvk::Mesh& m = p.mesh;
  for (int j = 0; j < 3; ++j) {
    for (int i = 0; i < 3; ++i) {
      m.x.push_back(i * 10.125);
      m.y.push_back(j * 7.0625);
      m.z.push_back(100.0 + 0.001 * (i + 3 * j));
    }
  }
  m.z[4] = -0.0;
  m.z[8] = tiny;
  for (unsigned long long j = 0; j < 2; ++j) {
    for (unsigned long long i = 0; i < 2; ++i) {
      const unsigned long long a = i + 3 * j;
      m.triangles.push_back({a, a + 1, a + 4});
      m.triangles.push_back({a, a + 4, a + 3});
    }
  }
  for (std::size_t t = 0; t < m.triangles.size(); ++t) {
    gravok_triangle_info info{};
    for (std::size_t b = 0; b < sizeof info.data; ++b) {
      info.data[b] = static_cast<unsigned char>(t * 31 + b * 7);
    }
    m.triangle_info.push_back(info);
  }
  gravok_objective objective{};
  for (std::size_t b = 0; b < sizeof objective.data; ++b) {
    objective.data[b] = static_cast<unsigned char>(255 - b);
  }
  p.objectives = {objective, gravok_objective{}};
  p.break_lines = {{0.5, 1.5, 100.25, 20.0, 14.0, nan},
                   {-huge, huge, inf, -inf, 0, -0.0}};
  std::vector<GradingElementType> kinds = gvk::allElementTypes();
  kinds.push_back(ParkingLot);
  unsigned char fill = 1;
  for (const GradingElementType kind : kinds) {
    gvk::ElementSet& set = p.elements[kind];
    for (int e = 0; e < 2; ++e) {
      gravok_grading_element element{};
      for (unsigned char& byte : element.attributes) byte = fill++;
      for (unsigned char& byte : element.trailer) byte = fill++;
      for (int s = 0; s < 6; ++s) element.location[s] = 1.5 * s + e + 0.1 * kind;
      set.records.push_back(element);
    }
    const bool points = kind == LowPoint || kind == BoundedPoint || kind == Offset;
    if (!points) {
      set.xs = {{1.0, 2.5, 20.25}, {}};
      set.ys = {{1.0, 13.5, 0.125}, {}};
    }
    if (kind >= 100) {
      set.complex.double_lists_1 = {{0.25, -1.0}, {nan}};
      set.complex.double_lists_11 = {{huge}};
      set.complex.int_lists = {{kind, -1, 2147483647}};
    }
  }
  p.elements[LowPoint].records[1].location[2] = nan;
  p.fix_boundary = false;
  p.max_slope = 0.5;
  p.min_slope = 0.0125;
  p.volume_constraint = static_cast<VolumeConstraint>(2);
  p.max_slopes = {0.25, inf};
  p.min_slopes = {0.01};
  p.metric = {3, 2.75, true, false};
  p.xorig = 2000000.125;
  p.yorig = 500000.0625;
  p.zorig = -12.5;
  p.max_iteration_count = 5000000000LL;
  p.epsilon = 1e-9;
  p.hostcad_version = "roundtrip 1.0";
  return p;
}

Problem without_non_finite_break_lines(Problem problem) {
  std::vector<gravok_line_3d>& lines = problem.break_lines;
  lines.erase(std::remove_if(lines.begin(), lines.end(),
                             [](const gravok_line_3d& l) {
                               return !std::isfinite(l.x1) || !std::isfinite(l.y1) ||
                                      !std::isfinite(l.z1) || !std::isfinite(l.x2) ||
                                      !std::isfinite(l.y2) || !std::isfinite(l.z2);
                             }),
              lines.end());
  return problem;
}

}  // namespace gravok_tool
