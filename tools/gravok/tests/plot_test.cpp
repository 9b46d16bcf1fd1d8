// The plan view checked on its SVG output, and the demo run's files read back.
#include "plot.h"
#include "demo.h"
#include "json_document.h"
#include "plot_terrain.h"

#include <gravok/element_types.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>
#include <set>
#include <sstream>
#include <string>
#include <system_error>
#include <vector>

namespace {

namespace fs = std::filesystem;

// A folder of this process's own, removed when the process ends: test programs of
// other build trees on the same machine may run at the same time, and one's demo must
// not remove another's files.
struct ScratchFolder {
  fs::path dir =
      fs::temp_directory_path() /
      ("gravok_plot_test_" +
       std::to_string(std::chrono::steady_clock::now().time_since_epoch().count()));
  ~ScratchFolder() {
    std::error_code ignored;
    fs::remove_all(dir, ignored);
  }
};

fs::path scratch(const std::string& name) {
  static const ScratchFolder folder;
  fs::create_directories(folder.dir);
  return folder.dir / name;
}

std::string slurp(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

// A square of `side` units at `origin`, n x n cells of two triangles, z = f(x, y) local.
template <class F>
gvk::Problem square(int n, double side, F f) {
  gvk::Problem p;
  p.xorig = 1000;
  p.yorig = 2000;
  for (int j = 0; j <= n; ++j) {
    for (int i = 0; i <= n; ++i) {
      p.mesh.x.push_back(side * i / n);
      p.mesh.y.push_back(side * j / n);
      p.mesh.z.push_back(f(p.mesh.x.back(), p.mesh.y.back()));
    }
  }
  const unsigned long long row = n + 1;
  for (unsigned long long j = 0; j < static_cast<unsigned long long>(n); ++j) {
    for (unsigned long long i = 0; i < static_cast<unsigned long long>(n); ++i) {
      const unsigned long long a = j * row + i;
      p.mesh.triangles.push_back({a, a + 1, a + row + 1});
      p.mesh.triangles.push_back({a, a + row + 1, a + row});
    }
  }
  return p;
}

// The points of every SVG path, one list per <path> element.
std::vector<std::vector<std::pair<double, double>>> svg_paths(const std::string& svg) {
  std::vector<std::vector<std::pair<double, double>>> paths;
  for (std::size_t at = svg.find("<path"); at != std::string::npos;
       at = svg.find("<path", at + 1)) {
    const std::size_t d = svg.find(" d=\"", at), end = svg.find('>', at);
    if (d == std::string::npos || d > end) continue;
    std::istringstream text(svg.substr(d + 4, svg.find('"', d + 4) - d - 4));
    std::vector<std::pair<double, double>> points;
    std::string word;
    while (text >> word) {
      if (word != "M" && word != "L") continue;
      double x, y;
      if (text >> x >> y) points.push_back({x, y});
    }
    paths.push_back(points);
  }
  return paths;
}

gvk::ElementSet line_set(std::vector<double> xs, std::vector<double> ys) {
  gvk::ElementSet set;
  set.records.resize(1);
  set.xs = {std::move(xs)};
  set.ys = {std::move(ys)};
  return set;
}

TEST(PlotProblem, ContoursOfAPlaneLieOnItsLevelLines) {
  // z = 0.5 x + 0.1 y over 100 x 100: contours every 5 from 5 to 60, straight lines.
  const auto plane = [](double x, double y) { return 0.5 * x + 0.1 * y; };
  const gvk::Problem p = square(10, 100, plane);
  gravok_tool::PlotOptions options;
  options.contour_interval = 5;
  gravok_tool::PlotSummary s;
  std::string error;
  const fs::path path = scratch("plane.svg");
  ASSERT_TRUE(gravok_tool::plot_problem(p, options, path.string(), s, error)) << error;
  EXPECT_EQ(s.contour_levels, 12u);
  std::set<long> levels;
  std::size_t contour_paths = 0;
  for (const auto& points : svg_paths(slurp(path))) {
    if (points.size() < 20) continue;
    bool on_levels = true;
    std::set<long> seen;
    for (const auto& [px, py] : points) {
      const double x = (px - s.map_left) / s.scale + s.x_min - p.xorig;
      const double y = s.y_max - (py - s.map_top) / s.scale - p.yorig;
      const double z = plane(x, y);
      on_levels &= std::fabs(z - 5 * std::round(z / 5)) < 0.05 && x > -0.01 &&
                   x < 100.01 && y > -0.01 && y < 100.01;
      seen.insert(std::lround(z / 5) * 5);
    }
    if (!on_levels) continue;
    ++contour_paths;
    levels.insert(seen.begin(), seen.end());
  }
  EXPECT_EQ(contour_paths, 2u);  // the plain lines and the index lines
  EXPECT_EQ(levels, (std::set<long>{5, 10, 15, 20, 25, 30, 35, 40, 45, 50, 55, 60}));
}

TEST(PlotProblem, LegendNamesEveryKindAndTheExtentHoldsTheSite) {
  gvk::Problem p = square(4, 100, [](double x, double) { return x; });
  const std::vector<double> xs = {10, 90, 90, 10}, ys = {10, 10, 90, 90};
  std::vector<GradingElementType> kinds = gvk::allElementTypes();
  kinds.push_back(ParkingLot);
  kinds.push_back(static_cast<GradingElementType>(8));
  for (GradingElementType kind : kinds) p.elements[kind] = line_set(xs, ys);
  for (GradingElementType kind : {LowPoint, BoundedPoint, Offset}) {
    auto& e = p.elements[kind].records[0];
    for (int k = 0; k < 6; ++k) e.location[k] = 20 + 10 * k;
  }
  // A drain line reaching out of the mesh widens the extent.
  p.elements[DrainLine] = line_set({50, 150}, {50, -30});
  gravok_tool::PlotSummary s;
  std::string error;
  const fs::path path = scratch("kinds.svg");
  ASSERT_TRUE(gravok_tool::plot_problem(p, {}, path.string(), s, error)) << error;
  const std::string svg = slurp(path);
  const std::string desc = svg.substr(svg.find("<desc>"));
  for (GradingElementType kind : kinds) {
    SCOPED_TRACE(kind);
    EXPECT_NE(desc.find(" " + gvk_json::element_kind_name(kind) + " (1);"),
              std::string::npos);
  }
  EXPECT_EQ(s.elements_drawn.size(), kinds.size());
  // Absolute extent: the mesh 1000..1100 x 2000..2100 and the drain line to x 1150,
  // y 1970, with a margin of a few per cent.
  EXPECT_LT(s.x_min, 1000);
  EXPECT_GT(s.x_min, 1000 - 20);
  EXPECT_GT(s.x_max, 1150);
  EXPECT_LT(s.x_max, 1150 + 20);
  EXPECT_LT(s.y_min, 1970);
  EXPECT_GT(s.y_max, 2100);
  EXPECT_LT(s.y_max - s.y_min, 1.5 * (s.x_max - s.x_min));
  EXPECT_NE(svg.find("width=\"" + std::to_string(s.page_width) + "pt\""),
            std::string::npos);
  EXPECT_NE(desc.find("origin x 1000, y 2000"), std::string::npos);
}

TEST(PlotProblem, PlotsWhateverTheProblemHolds) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const auto hill = [](double x, double y) { return x * y / 100; };
  struct Case {
    const char* name;
    gvk::Problem problem;
    std::size_t drawn, skipped;
  };
  std::vector<Case> cases;
  cases.push_back({"empty", gvk::Problem{}, 0, 0});
  cases.push_back({"mesh only", square(3, 30, hill), 18, 0});
  gvk::Problem no_mesh;
  no_mesh.elements[Pond] = line_set({0, 10, 10}, {0, 0, 10});
  no_mesh.elements[LowPoint].records.resize(2);  // both at the origin
  cases.push_back({"elements only", no_mesh, 0, 0});
  gvk::Problem bad = square(3, 30, hill);
  bad.mesh.x[5] = nan;                       // in 6 triangles
  bad.mesh.triangles[0][1] = 1ull << 62;     // out of range
  bad.mesh.z.resize(bad.mesh.z.size() - 1);  // the last vertex, in 1 triangle
  bad.elements[DrainLine] = line_set({0, nan, 20, 30}, {0, 5, 20});  // uneven lists
  cases.push_back({"bad vertices", bad, 10, 8});
  cases.push_back({"flat", square(3, 30, [](double, double) { return 7.0; }), 18, 0});
  gvk::Problem dot;
  dot.elements[LowPoint].records.resize(1);
  dot.elements[LowPoint].records[0].location[0] = 1e15;
  cases.push_back({"one far point", dot, 0, 0});
  for (const Case& c : cases) {
    for (const char* suffix : {".svg", ".png", ".pdf"}) {
      SCOPED_TRACE(std::string(c.name) + suffix);
      gravok_tool::PlotSummary s;
      std::string error;
      const fs::path path = scratch(std::string("robust") + suffix);
      fs::remove(path);
      gravok_tool::PlotOptions small;
      small.width = 600;
      ASSERT_TRUE(gravok_tool::plot_problem(c.problem, small, path.string(), s, error))
          << error;
      EXPECT_GT(fs::file_size(path), 1000u);
      EXPECT_EQ(s.triangles_drawn, c.drawn);
      EXPECT_EQ(s.triangles_skipped, c.skipped);
      EXPECT_LT(s.x_min, s.x_max);
      EXPECT_LT(s.y_min, s.y_max);
    }
  }
}

TEST(PlotProblem, RefusesWhatItCannotDraw) {
  const gvk::Problem p = square(2, 100, [](double x, double) { return x; });
  struct Case {
    std::string path;
    double interval;
    std::string message;
  };
  const Case cases[] = {
      {scratch("plot.txt").string(), 0, "unknown plot format"},
      {scratch("plot").string(), 0, "unknown plot format"},
      {scratch("dense.svg").string(), 0.01, "more than 2000 levels"},
      {(scratch("no-such-dir") / "plot.png").string(), 0, "cannot write"},
      {(scratch("no-such-dir") / "plot.svg").string(), 0, "cannot write"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.path);
    gravok_tool::PlotOptions options;
    options.contour_interval = c.interval;
    options.width = 600;
    std::string error;
    EXPECT_FALSE(gravok_tool::plot_problem(p, options, c.path, error));
    EXPECT_NE(error.find(c.message), std::string::npos) << error;
  }
}

// The cut/fill map of z = x - 40 over z = 0 on a 100 x 100 square: the zero line
// lies on x = 40, the legend's figures are the exact ones, and a top wholly above
// the base has no zero line.
TEST(PlotProblem, CutFillMapShowsTheDifferenceAndItsZeroLine) {
  const gvk::Problem base = square(4, 100, [](double, double) { return 0.0; });
  const gvk::Problem crossing = square(5, 100, [](double x, double) { return x - 40; });
  const gvk::Problem above = square(3, 100, [](double x, double) { return x + 1; });
  struct Case {
    const char* name;
    const gvk::Mesh& top;
    double cut, fill, limit;
    bool zero_line;
  };
  const Case cases[] = {{"crossing", crossing.mesh, 80000, 180000, 60, true},
                        {"above", above.mesh, 0, 510000, 101, false}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    gravok_tool::PlotOptions options;
    options.compare = &c.top;
    options.width = 600;
    gravok_tool::PlotSummary s;
    std::string error;
    const fs::path path = scratch("cutfill.svg");
    ASSERT_TRUE(gravok_tool::plot_problem(base, options, path.string(), s, error))
        << error;
    EXPECT_TRUE(s.compared);
    EXPECT_NEAR(s.earthwork.cut, c.cut, 1e-6 * c.fill);
    EXPECT_NEAR(s.earthwork.fill, c.fill, 1e-6 * c.fill);
    EXPECT_NEAR(s.difference_limit, c.limit, 0.01 * c.limit);  // at pixel centres
    EXPECT_EQ(s.contour_segments, 0u);
    EXPECT_EQ(s.zero_line_segments > 0, c.zero_line);
    std::size_t on_zero = 0;
    for (const auto& points : svg_paths(slurp(path))) {
      if (points.size() < 20) continue;
      bool all = true;
      for (const auto& [px, py] : points) {
        const double x = (px - s.map_left) / s.scale + s.x_min - base.xorig;
        all &= std::fabs(x - 40) < 1.0 / s.scale;
      }
      on_zero += all;
    }
    EXPECT_EQ(on_zero, c.zero_line ? 1u : 0u);
  }
}

TEST(PlotProblem, DrawsBreakLinesAndCountsThem) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  gvk::Problem p = square(2, 100, [](double x, double) { return x; });
  p.break_lines = {{10, 10, 1, 90, 10, 2}, {10, 20, 1, 90, 80, 2}, {nan, 0, 0, 5, 5, 0}};
  gravok_tool::PlotSummary s;
  std::string error;
  const fs::path path = scratch("breaks.svg");
  gravok_tool::PlotOptions small;
  small.width = 600;
  ASSERT_TRUE(gravok_tool::plot_problem(p, small, path.string(), s, error)) << error;
  EXPECT_EQ(s.break_lines_drawn, 2u);
  EXPECT_NE(slurp(path).find(", 2 break lines"), std::string::npos);
}

TEST(PlotProblem, RefusesSurfacesThatWouldDrawNothing) {
  gvk::Problem flat_line;
  flat_line.mesh = {{0, 1, 2}, {0, 1, 2}, {0, 0, 0}, {{0, 1, 2}, {2, 1, 0}}, {}};
  const gvk::Problem base = square(2, 100, [](double, double) { return 0.0; });
  gvk::Problem far = square(2, 100, [](double, double) { return 1.0; });
  for (double& x : far.mesh.x) x += 500;
  gvk::Mesh broken = base.mesh;
  broken.triangles[1][2] = 99;
  struct Case {
    const char* name;
    const gvk::Problem& problem;
    const gvk::Mesh* compare;
    std::string message;
  };
  const Case cases[] = {
      {"no area", flat_line, nullptr,
       "the surface has 2 triangles, but none of any area in plan"},
      {"compared surface without area", base, &flat_line.mesh,
       "the compared surface has 2 triangles, but none of any area in plan"},
      {"apart", base, &far.mesh, "the surfaces do not overlap in plan"},
      {"refused by the volume", base, &broken,
       "cannot compare the surfaces: top mesh: triangle 1 names vertex 99"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    gravok_tool::PlotOptions options;
    options.compare = c.compare;
    std::string error;
    EXPECT_FALSE(gravok_tool::plot_problem(c.problem, options,
                                           scratch("none.png").string(), error));
    EXPECT_NE(error.find(c.message), std::string::npos) << error;
  }
}

// The ground's raster covers exactly the pixels whose centres lie in a triangle, up to
// the page's first and last row and column, whichever way the triangles turn. An
// 8 x 6 page with the plan mapped one unit to a pixel; no pixel centre lies on the
// diagonal x / 8 + y / 6 = 1, so each pixel is plainly in or out.
TEST(PlotProblem, GroundFillsThePixelsWhoseCentresItsTrianglesCover) {
  constexpr int kWidth = 8, kHeight = 6;
  gravok_tool::PageMap map;
  map.y_max = kHeight;
  const auto opaque = [](unsigned argb) { return (argb >> 24) != 0; };
  struct Case {
    std::vector<gvk::Triangle> triangles;
    bool whole_page;
  };
  const Case cases[] = {
      {{{0, 1, 2}, {1, 3, 2}}, true},  // counter-clockwise, the whole page
      {{{0, 2, 1}, {1, 2, 3}}, true},  // clockwise
      // The lower left half in plan, its corners in every order, so that each corner
      // is first in turn for each bound of the triangle's box.
      {{{0, 1, 2}}, false},
      {{{1, 2, 0}}, false},
      {{{2, 0, 1}}, false},
      {{{0, 2, 1}}, false},
      {{{2, 1, 0}}, false},
      {{{1, 0, 2}}, false},
  };
  for (const Case& c : cases) {
    gvk::Mesh mesh;
    mesh.x = {0, kWidth, 0, kWidth};
    mesh.y = {0, 0, kHeight, kHeight};
    mesh.z = {1, 2, 3, 5};
    mesh.triangles = c.triangles;
    const gravok_tool::Ground ground = gravok_tool::survey_ground(mesh);
    const std::vector<unsigned> pixels =
        gravok_tool::shade_ground(mesh, ground, map, 1.0, kWidth, kHeight);
    ASSERT_EQ(pixels.size(), std::size_t{kWidth * kHeight});
    for (int j = 0; j < kHeight; ++j) {
      for (int i = 0; i < kWidth; ++i) {
        // Page row j is plan y = kHeight - (j + 0.5).
        const double x = i + 0.5, y = kHeight - (j + 0.5);
        const bool inside = c.whole_page || x / kWidth + y / kHeight < 1.0;
        EXPECT_EQ(opaque(pixels[j * kWidth + i]), inside) << "pixel " << i << ", " << j;
      }
    }
  }
}

TEST(DefaultContourInterval, GivesTenToTwentyRoundSteps) {
  for (double range : {0.3, 1.0, 7.0, 13.0, 60.0, 250.0, 999.0, 12345.0}) {
    SCOPED_TRACE(range);
    const double step = gravok_tool::default_contour_interval(100, 100 + range);
    EXPECT_GE(range / step, 8.0);
    EXPECT_LE(range / step, 22.0);
  }
  EXPECT_EQ(gravok_tool::default_contour_interval(5, 5), 1.0);
}

// Vertex and triangle counts of a .1.node / .1.ele pair, from their header lines,
// with every line after the header counted.
void read_node_ele(const fs::path& stem, std::size_t& vertices, std::size_t& triangles,
                   std::size_t& lines) {
  std::ifstream node(stem.string() + ".1.node"), ele(stem.string() + ".1.ele");
  node >> vertices;
  ele >> triangles;
  std::string line;
  std::getline(node, line);  // the rest of each header line
  std::getline(ele, line);
  lines = 0;
  while (std::getline(node, line)) lines += !line.empty();
  while (std::getline(ele, line)) lines += !line.empty();
}

TEST(RunDemo, WritesFilesThatReadBack) {
  const fs::path dir = scratch("demo.out");  // a "." in the directory name
  fs::remove_all(dir);
  std::ostringstream out;
  ASSERT_EQ(gravok_tool::run_demo(dir.string(), out, 20), 0) << out.str();
  for (const char* name : {"site.json", "site.1.node", "site.1.ele", "site.svg",
                           "site.png", "cutfill.png"}) {
    SCOPED_TRACE(name);
    EXPECT_TRUE(fs::exists(dir / name));
    EXPECT_NE(out.str().find((dir / name).string()), std::string::npos);
  }
  gvk::Problem back;
  std::string error;
  ASSERT_TRUE(gvk_json::read_file((dir / "site.json").string(), back, error)) << error;
  EXPECT_EQ(back.mesh.triangles.size(), 800u);
  EXPECT_EQ(back.xorig, 2001000.0);
  EXPECT_EQ(back.elements.size(), 14u);  // every named kind, ParkingLot included
  EXPECT_EQ(back.linear_unit.type, 4);
  std::size_t vertices = 0, triangles = 0, lines = 0;
  read_node_ele(dir / "site", vertices, triangles, lines);
  EXPECT_EQ(vertices, 21u * 21u);  // the seam welded, the survey marks gone
  EXPECT_EQ(triangles, 800u);
  EXPECT_EQ(lines, vertices + triangles);
  EXPECT_NE(out.str().find("check again: no findings"), std::string::npos) << out.str();
  EXPECT_NE(out.str().find("volume:       against a proposed surface"),
            std::string::npos);
}

}  // namespace
