#include "demo_site.h"

#include <gravok/element_types.h>
#include <gravok/records.h>
#include <gravok/units.h>

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

namespace gravok_tool {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kSide = 1580.0;  // ft
constexpr double kFoot = 4;       // unit type id of the foot

struct Hollow {
  double x, y, depth, radius;
};
constexpr Hollow kHollows[] = {
    {350, 1210, 7, 55}, {1150, 320, 8, 70}, {1290, 1190, 6, 50}};

// The valley floor's line: y as a function of x.
double valley_y(double x) { return 700 + 180 * std::sin(x / 400); }

using Line = std::vector<std::pair<double, double>>;

gravok_grading_element record() {
  gravok_grading_element e;
  gvk::initge(e);
  return e;
}

void add_line(gvk::ElementSet& set, const Line& line) {
  set.records.push_back(record());
  set.xs.emplace_back();
  set.ys.emplace_back();
  for (const auto& [x, y] : line) {
    set.xs.back().push_back(x);
    set.ys.back().push_back(y);
  }
}

Line rectangle(double x0, double y0, double x1, double y1) {
  return {{x0, y0}, {x1, y0}, {x1, y1}, {x0, y1}};
}

Line ellipse(double cx, double cy, double rx, double ry, int points) {
  Line line;
  for (int i = 0; i < points; ++i) {
    const double a = 2 * kPi * i / points;
    line.push_back({cx + rx * std::cos(a), cy + ry * std::sin(a)});
  }
  return line;
}

Line along_valley(double x0, double x1, double shift) {
  Line line;
  for (double x = x0; x <= x1 + 1e-9; x += 40) line.push_back({x, valley_y(x) + shift});
  return line;
}

void add_point(gvk::ElementSet& set, double x, double y) {
  gravok_grading_element e = record();
  e.location[0] = x;
  e.location[1] = y;
  set.records.push_back(e);
}

void add_bounded(gvk::ElementSet& set, double x, double y, double below, double above) {
  gravok_grading_element e = record();
  e.location[0] = x;
  e.location[1] = y;
  e.location[3] = demo_elevation(x, y) - below;
  e.location[4] = demo_elevation(x, y) + above;
  set.records.push_back(e);
}

// An offset ties the point at (x0, y0) to the one at (x1, y1), `rise` ft above it.
void add_offset(gvk::ElementSet& set, double x0, double y0, double x1, double y1,
                double rise) {
  gravok_grading_element e = record();
  e.location[0] = rise;
  e.location[1] = x0;
  e.location[2] = y0;
  e.location[4] = x1;
  e.location[5] = y1;
  set.records.push_back(e);
}

void add_elements(gvk::Problem& p) {
  auto& low = p.elements[LowPoint];
  for (const Hollow& h : kHollows) add_point(low, h.x, h.y);
  add_point(low, 1540, valley_y(1540));
  add_bounded(p.elements[BoundedPoint], 660, 1090, 1.0, 0.5);
  add_bounded(p.elements[BoundedPoint], 830, 950, 2.0, 1.0);
  add_offset(p.elements[Offset], 600, 1285, 600, 1310, 4.0);
  add_offset(p.elements[Offset], 720, 1285, 720, 1310, 4.0);
  add_line(p.elements[AlignedEdge], {{540, 1075}, {820, 1075}});
  add_line(p.elements[AlignedEdge], {{540, 1105}, {780, 1105}});
  add_line(p.elements[DrainLine], along_valley(60, 1540, 0));
  add_line(p.elements[SurfaceZone], ellipse(350, 1210, 120, 95, 24));
  add_line(p.elements[SurfaceZone], rectangle(1150, 1380, 1480, 1530));
  add_line(p.elements[BendLine], along_valley(100, 520, 190));
  add_line(p.elements[BendLine], along_valley(900, 1420, -200));
  add_line(p.elements[Unclassified],
           {{20, 20}, {1560, 20}, {1560, 1560}, {20, 1560}, {20, 20}});
  add_line(p.elements[Curb], {{535, 955}, {825, 955}, {825, 1070}});
  add_line(p.elements[Curb], {{535, 955}, {535, 1070}});
  add_line(
      p.elements[BuildingPad],
      {{540, 1110}, {780, 1110}, {780, 1280}, {660, 1280}, {660, 1220}, {540, 1220}});
  add_line(p.elements[Pond], ellipse(1150, 320, 95, 60, 32));
  add_line(p.elements[ParkingLot], rectangle(540, 960, 820, 1070));
  add_line(p.elements[RetWall], {{530, 1295}, {790, 1295}, {790, 1240}});
  add_line(p.elements[Pathway],
           {{780, 1160}, {900, 1100}, {980, 960}, {1030, 760}, {1080, 560}, {1110, 385}});
}

void add_break_lines(gvk::Problem& p) {
  const Line floor = along_valley(60, 1540, 0);
  for (std::size_t i = 0; i + 1 < floor.size(); ++i) {
    const auto& [x1, y1] = floor[i];
    const auto& [x2, y2] = floor[i + 1];
    p.break_lines.push_back(
        {x1, y1, demo_elevation(x1, y1), x2, y2, demo_elevation(x2, y2)});
  }
}

// Columns [first, last] of a grid of `cells` cells per side, as one tile with its own
// vertices; cells are split along alternating diagonals.
void add_tile(gvk::Mesh& mesh, int cells, int first, int last) {
  const double step = kSide / cells;
  const unsigned long long base = mesh.x.size();
  const unsigned long long columns = last - first + 1;
  for (int j = 0; j <= cells; ++j) {
    for (int i = first; i <= last; ++i) {
      mesh.x.push_back(i * step);
      mesh.y.push_back(j * step);
      mesh.z.push_back(demo_elevation(i * step, j * step));
    }
  }
  for (unsigned long long j = 0; j < static_cast<unsigned long long>(cells); ++j) {
    for (unsigned long long i = 0; i + 1 < columns; ++i) {
      const unsigned long long a = base + j * columns + i, b = a + 1;
      const unsigned long long c = a + columns, d = c + 1;
      if ((i + j) % 2 == 0) {
        mesh.triangles.push_back({a, b, d});
        mesh.triangles.push_back({a, d, c});
      } else {
        mesh.triangles.push_back({a, b, c});
        mesh.triangles.push_back({b, d, c});
      }
    }
  }
}

}  // namespace

double demo_elevation(double x, double y) {
  double z = 150 - 0.012 * x;
  z += 9 * std::sin(x / 260) * std::cos(y / 310) + 5 * std::sin((x + 2 * y) / 180 + 1);
  const double d = y - valley_y(x);
  z -= 14 * std::exp(-d * d / (2 * 70 * 70));
  for (const Hollow& h : kHollows) {
    const double r2 = (x - h.x) * (x - h.x) + (y - h.y) * (y - h.y);
    z -= h.depth * std::exp(-r2 / (2 * h.radius * h.radius));
  }
  return z;
}

int demo_cells(unsigned long long triangles) {
  const double cells = std::round(std::sqrt(static_cast<double>(triangles) / 2));
  return static_cast<int>(std::clamp(cells, 4.0, static_cast<double>(kMaxDemoCells)));
}

gvk::Problem demo_site(int cells) {
  cells = std::clamp(cells, 4, kMaxDemoCells);
  gvk::Problem p;
  p.hostcad_version = "gravok demo site 1";
  p.linear_unit = gvk::store_unit(gvk::Known<1>(kFoot));
  p.area_unit = gvk::store_unit(gvk::Known<2>(kFoot));
  p.volume_unit = gvk::store_unit(gvk::Known<3>(kFoot));
  p.xorig = 2000000.0;
  p.yorig = 500000.0;
  p.zorig = 0.0;
  p.surface_ids = {1};
  p.surface_names = {"existing ground"};
  p.max_slope = 0.33;
  p.min_slope = 0.01;
  p.epsilon = 0.01;
  p.max_iteration_count = 500;
  const int seam = cells / 2;
  const std::size_t side = static_cast<std::size_t>(cells) + 1;
  p.mesh.x.reserve(side * (side + 1) + 4);
  p.mesh.y.reserve(side * (side + 1) + 4);
  p.mesh.z.reserve(side * (side + 1) + 4);
  p.mesh.triangles.reserve(2 * (side - 1) * (side - 1));
  add_tile(p.mesh, cells, 0, seam);
  add_tile(p.mesh, cells, seam, cells);
  for (const auto& [x, y] :
       Line{{12.5, 12.5}, {1567.5, 12.5}, {1567.5, 1567.5}, {12.5, 1567.5}}) {
    p.mesh.x.push_back(x);
    p.mesh.y.push_back(y);
    p.mesh.z.push_back(demo_elevation(x, y));
  }
  p.mesh.triangle_info.resize(p.mesh.triangles.size(), gravok_triangle_info{});
  add_elements(p);
  add_break_lines(p);
  return p;
}

}  // namespace gravok_tool
