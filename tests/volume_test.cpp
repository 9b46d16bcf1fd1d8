#include <gravok/volume.h>

#include "volume_sampling.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

using Coords = std::vector<double>;
using Height = std::function<double(double, double)>;

struct Mesh {
  Coords x, y, z;
  std::vector<gvk::Triangle> triangles;
  gvk::MeshView view() const { return gvk::MeshView{x, y, z, triangles}; }
};

struct Rect {
  double x0, y0, x1, y1;
};

// An n x n grid of cells over `r`, each cut into two triangles along a diagonal
// that alternates (or, with a seed, is chosen at random), with the interior vertices
// moved by up to `jitter` of a cell: many triangulations of one outline.
Mesh grid_mesh(const Rect& r, int n, const Height& height, unsigned seed = 0,
               double jitter = 0.0) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<double> shift(-jitter, jitter);
  Mesh m;
  const double dx = (r.x1 - r.x0) / n;
  const double dy = (r.y1 - r.y0) / n;
  for (int j = 0; j <= n; ++j) {
    for (int i = 0; i <= n; ++i) {
      const bool inside = i > 0 && i < n && j > 0 && j < n;
      const double x = r.x0 + dx * (i + (inside ? shift(random) : 0.0));
      const double y = r.y0 + dy * (j + (inside ? shift(random) : 0.0));
      m.x.push_back(x);
      m.y.push_back(y);
      m.z.push_back(height(x, y));
    }
  }
  const auto at = [n](int i, int j) {
    return static_cast<unsigned long long>(j * (n + 1) + i);
  };
  for (int j = 0; j < n; ++j) {
    for (int i = 0; i < n; ++i) {
      const bool flip = seed != 0 ? (random() & 1u) != 0 : ((i + j) % 2 == 0);
      if (flip) {
        m.triangles.push_back({at(i, j), at(i + 1, j), at(i + 1, j + 1)});
        m.triangles.push_back({at(i, j), at(i + 1, j + 1), at(i, j + 1)});
      } else {
        m.triangles.push_back({at(i, j), at(i + 1, j), at(i, j + 1)});
        m.triangles.push_back({at(i + 1, j), at(i + 1, j + 1), at(i, j + 1)});
      }
    }
  }
  return m;
}

Height flat(double z) {
  return [z](double, double) { return z; };
}

void shift(Mesh& m, double dx, double dy) {
  for (double& x : m.x) x += dx;
  for (double& y : m.y) y += dy;
}

// Expected figures; relative tolerance against the largest of them.
struct Figures {
  double cut, fill, cut_area, fill_area, area;
};

void expect_figures(const gvk::Earthwork& e, const Figures& f, double tolerance = 1e-9) {
  const double scale = std::max({1.0, f.cut, f.fill, f.area});
  EXPECT_NEAR(e.cut, f.cut, tolerance * scale);
  EXPECT_NEAR(e.fill, f.fill, tolerance * scale);
  EXPECT_NEAR(e.net, f.fill - f.cut, tolerance * scale);
  EXPECT_NEAR(e.cut_area, f.cut_area, tolerance * scale);
  EXPECT_NEAR(e.fill_area, f.fill_area, tolerance * scale);
  EXPECT_NEAR(e.area, f.area, tolerance * scale);
}

gvk::Earthwork volume_of(const Mesh& base, const Mesh& top) {
  const gvk::VolumeResult r = gvk::volume_between(base.view(), top.view());
  EXPECT_TRUE(r.ok) << r.message;
  EXPECT_EQ(r.base_layered_area, 0.0);
  EXPECT_EQ(r.top_layered_area, 0.0);
  return r.total;
}

const Rect kSquare{0, 0, 10, 10};

TEST(VolumeBetween, MatchesClosedFormsOfPlanesAndAPyramid) {
  // A pyramid of height 6 over the square [-1, 1]^2: four faces to the apex.
  Mesh pyramid{{-1, 1, 1, -1, 0},
               {-1, -1, 1, 1, 0},
               {0, 0, 0, 0, 6},
               {{0, 1, 4}, {1, 2, 4}, {2, 3, 4}, {3, 0, 4}}};
  const Rect unit{-1, -1, 1, 1};
  struct Case {
    std::string name;
    Mesh base, top;
    Figures expected;
  };
  const Case cases[] = {
      {"parallel planes: area times height",
       grid_mesh(kSquare, 4, flat(1)),
       grid_mesh(kSquare, 4, flat(3.5)),
       {0, 250, 0, 100, 100}},
      {"parallel planes, top below",
       grid_mesh(kSquare, 3, flat(2)),
       grid_mesh(kSquare, 5, flat(-1)),
       {300, 0, 100, 0, 100}},
      {"parallel tilted planes",
       grid_mesh(kSquare, 4, [](double x, double y) { return x + 2 * y; }),
       grid_mesh(
           kSquare, 7, [](double x, double y) { return x + 2 * y + 0.25; }, 3, 0.2),
       {0, 25, 0, 100, 100}},
      // top - base = x - 4: fill over 4 < x < 10, cut over 0 < x < 4.
      {"crossing planes, zero line across the triangles",
       grid_mesh(kSquare, 3, flat(0)),
       grid_mesh(kSquare, 3, [](double x, double) { return x - 4; }),
       {80, 180, 40, 60, 100}},
      // top - base = x + y - 10: the zero line is the diagonal of the square.
      {"crossing planes along the diagonal",
       grid_mesh(kSquare, 5, flat(5), 7, 0.2),
       grid_mesh(
           kSquare, 4, [](double x, double y) { return x + y - 5; }, 8, 0.2),
       {500.0 / 3, 500.0 / 3, 50, 50, 100}},
      {"pyramid over a plane", grid_mesh(unit, 3, flat(0)), pyramid, {0, 8, 0, 4, 4}},
      // The plane at half height: a pyramid of a quarter of the base above it.
      {"pyramid through a plane", grid_mesh(unit, 2, flat(3)), pyramid, {5, 1, 3, 1, 4}},
      {"identical surfaces",
       grid_mesh(kSquare, 4, flat(2)),
       grid_mesh(kSquare, 4, flat(2)),
       {0, 0, 0, 0, 100}},
      {"one plane, different triangulations",
       grid_mesh(
           kSquare, 7, [](double x, double y) { return 0.3 * x - 0.2 * y + 5; }, 1, 0.2),
       grid_mesh(
           kSquare, 11, [](double x, double y) { return 0.3 * x - 0.2 * y + 5; }, 2, 0.2),
       {0, 0, 0, 0, 100}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    expect_figures(volume_of(c.base, c.top), c.expected);
  }
}

TEST(VolumeBetween, SwappingBaseAndTopSwapsCutAndFill) {
  const Height bumpy = [](double x, double y) { return std::sin(x) + std::cos(0.7 * y); };
  const Mesh a = grid_mesh(kSquare, 9, bumpy, 4, 0.2);
  const Mesh b = grid_mesh(
      kSquare, 6, [](double x, double) { return 0.1 * x; }, 5, 0.2);
  const gvk::Earthwork ab = volume_of(a, b);
  const gvk::Earthwork ba = volume_of(b, a);
  ASSERT_GT(ab.cut, 1.0);
  ASSERT_GT(ab.fill, 1.0);
  expect_figures(ba, {ab.fill, ab.cut, ab.fill_area, ab.cut_area, ab.area}, 1e-12);
}

TEST(VolumeBetween, ComparesOnlyWhereBothSurfacesAreDefined) {
  Mesh holed = grid_mesh(kSquare, 5, flat(0));
  // Drop the two triangles of cell (2, 2): a hole of 4 square units.
  holed.triangles.erase(holed.triangles.begin() + 24, holed.triangles.begin() + 26);
  Mesh ring_top = grid_mesh(kSquare, 5, flat(1));
  ring_top.triangles.erase(ring_top.triangles.begin() + 24,
                           ring_top.triangles.begin() + 26);
  struct Case {
    std::string name;
    Mesh base, top;
    Figures expected;
  };
  const Case cases[] = {
      {"partial overlap",
       grid_mesh(kSquare, 4, flat(0)),
       grid_mesh(Rect{5, 2, 15, 12}, 3, flat(2)),
       {0, 80, 0, 40, 40}},
      {"top within base",
       grid_mesh(kSquare, 4, flat(0)),
       grid_mesh(Rect{2, 3, 4, 6}, 2, flat(-1), 3, 0.2),
       {6, 0, 6, 0, 6}},
      {"hole in the base",
       holed,
       grid_mesh(kSquare, 3, flat(1), 6, 0.2),
       {0, 96, 0, 96, 96}},
      {"the same hole in both", holed, ring_top, {0, 96, 0, 96, 96}},
      {"touching along an edge",
       grid_mesh(kSquare, 2, flat(0)),
       grid_mesh(Rect{10, 0, 20, 10}, 2, flat(1)),
       {0, 0, 0, 0, 0}},
      {"apart",
       grid_mesh(kSquare, 2, flat(0)),
       grid_mesh(Rect{30, 0, 40, 10}, 2, flat(1)),
       {0, 0, 0, 0, 0}},
      {"empty top", grid_mesh(kSquare, 2, flat(0)), Mesh{}, {0, 0, 0, 0, 0}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    expect_figures(volume_of(c.base, c.top), c.expected);
  }
}

TEST(VolumeBetween, PassesOverTrianglesWithoutArea) {
  Mesh base = grid_mesh(kSquare, 2, flat(0));
  // Repeated corners, collinear corners, and a vertex far off used only by them.
  base.x.push_back(1e6);
  base.y.push_back(1e6);
  base.z.push_back(1e6);
  base.triangles.push_back({0, 0, 4});
  base.triangles.push_back({0, 1, 2});
  base.triangles.push_back({0, 4, 9});
  const Mesh top = grid_mesh(kSquare, 3, flat(1));
  expect_figures(volume_of(base, top), {0, 100, 0, 100, 100});
  Mesh line{{0, 1, 2}, {0, 1, 2}, {0, 0, 0}, {{0, 1, 2}, {2, 1, 0}}};
  expect_figures(volume_of(line, top), {0, 0, 0, 0, 0});
}

TEST(VolumeBetween, KeepsItsDigitsAtSurveySizedCoordinates) {
  const Height wavy = [](double x, double y) {
    return 250 + std::sin(0.9 * x) * std::cos(0.4 * y);
  };
  const Mesh base = grid_mesh(kSquare, 8, wavy, 11, 0.2);
  const Mesh top = grid_mesh(
      kSquare, 6, [](double x, double) { return 250 + 0.05 * x - 0.2; }, 12, 0.2);
  const gvk::Earthwork near_zero = volume_of(base, top);
  struct Case {
    double dx, dy;
  };
  for (const Case& c : {Case{2e6, 5e5}, Case{-3.5e6, 7.25e6}, Case{1e7, 0}}) {
    SCOPED_TRACE(c.dx);
    Mesh far_base = base;
    Mesh far_top = top;
    shift(far_base, c.dx, c.dy);
    shift(far_top, c.dx, c.dy);
    // The coordinates themselves round to 1e-9 there; nothing else may be lost.
    expect_figures(volume_of(far_base, far_top),
                   {near_zero.cut, near_zero.fill, near_zero.cut_area,
                    near_zero.fill_area, near_zero.area},
                   1e-8);
  }
}

TEST(VolumeBetween, CountsEveryLayerOfAMeshThatOverlapsItself) {
  const Mesh base = grid_mesh(kSquare, 2, flat(0));
  Mesh doubled = grid_mesh(kSquare, 2, flat(1));
  doubled.triangles.push_back(doubled.triangles[3]);  // a 12.5 square-unit triangle twice
  const gvk::VolumeResult up = gvk::volume_between(base.view(), doubled.view());
  ASSERT_TRUE(up.ok);
  expect_figures(up.total, {0, 112.5, 0, 112.5, 112.5});
  EXPECT_NEAR(up.top_layered_area, 12.5, 1e-9);
  EXPECT_EQ(up.base_layered_area, 0.0);
  const gvk::VolumeResult down = gvk::volume_between(doubled.view(), base.view());
  EXPECT_NEAR(down.base_layered_area, 12.5, 1e-9);
  EXPECT_EQ(down.top_layered_area, 0.0);
}

TEST(VolumeBetween, AgreesWithFinerAndFinerSamplingOfRandomSurfaces) {
  for (unsigned seed = 1; seed <= 3; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> rough(-2.0, 2.0);
    const Height noise = [&](double, double) { return rough(random); };
    const Mesh base = grid_mesh(kSquare, 6, noise, seed, 0.2);
    const Mesh top = grid_mesh(Rect{1, -1, 11, 9}, 5, noise, seed + 100, 0.2);
    const gvk::Earthwork exact = volume_of(base, top);
    ASSERT_GT(exact.cut, 5.0);
    ASSERT_GT(exact.fill, 5.0);
    double previous = std::numeric_limits<double>::infinity();
    for (int k : {100, 300, 900}) {
      const sampling::CutFill s =
          sampling::cut_fill(base.x, base.y, base.z, base.triangles, top.x, top.y, top.z,
                             top.triangles, sampling::Window{-1, -1, 12, k});
      const double error = std::abs(s.cut - exact.cut) + std::abs(s.fill - exact.fill);
      EXPECT_LT(error, previous) << "samples " << k;
      previous = error;
    }
    EXPECT_LT(previous, 2e-3 * (exact.cut + exact.fill));
  }
}

// The closed region bounded by (xs, ys): for a plane difference d = x - 4 over
// the square, the integral over any polygon inside it follows from its area and
// centroid, checked here through the fill and cut halves.
TEST(VolumeBetween, InsideABoundaryCountsOnlyWhatItEncloses) {
  const Mesh base = grid_mesh(kSquare, 4, flat(0), 9, 0.2);
  const Mesh top = grid_mesh(
      kSquare, 5, [](double x, double) { return x - 4; }, 10, 0.2);
  struct Case {
    std::string name;
    Coords xs, ys;
    Figures expected;
  };
  // An L: [1, 7] x [1, 3] and [1, 3] x [3, 8]; d = x - 4.
  const Case cases[] = {
      {"an L-shaped, non-convex boundary",
       {1, 7, 7, 3, 3, 1},
       {1, 1, 3, 3, 8, 8},
       {29, 9, 16, 6, 22}},
      {"the same, clockwise and closed",
       {1, 1, 3, 3, 7, 7, 1},
       {1, 8, 8, 3, 3, 1, 1},
       {29, 9, 16, 6, 22}},
      {"a boundary reaching past the surfaces",
       {-5, 6, 6, -5},
       {-5, -5, 20, 20},
       {80, 20, 40, 20, 60}},
      {"a triangle cutting across cells",
       {0.5, 9.5, 0.5},
       {0.5, 0.5, 9.5},
       // Area 40.5 with its centroid at x = 3.5, so net = -20.25; the part beyond
       // x = 4 is a triangle of legs 5.5 with its centroid at x = 4 + 11 / 6.
       {15.125 * 11 / 6 + 20.25, 15.125 * 11 / 6, 40.5 - 15.125, 15.125, 40.5}},
      {"repeated corners",
       {2, 2, 6, 6, 6, 2, 2},
       {2, 2, 2, 6, 6, 6, 2},
       {2 * 4 * 1, 2 * 4 * 1, 8, 8, 16}},
      {"fewer than three corners", {1, 5, 1}, {1, 5, 1}, {0, 0, 0, 0, 0}},
      {"entirely outside", {20, 30, 30}, {20, 20, 30}, {0, 0, 0, 0, 0}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const gvk::VolumeResult r = gvk::volume_between(base.view(), top.view(), c.xs, c.ys);
    ASSERT_TRUE(r.ok) << r.message;
    EXPECT_TRUE(r.regions.empty());
    expect_figures(r.total, c.expected);
  }
}

TEST(VolumesByRegion, GivesEachOutlineItsOwnFiguresAndTheWholeTotal) {
  const Mesh base = grid_mesh(kSquare, 6, flat(0), 13, 0.2);
  const Mesh top = grid_mesh(
      kSquare, 4, [](double x, double) { return x - 4; }, 14, 0.2);
  const std::vector<Coords> xs = {
      {1, 7, 7, 3, 3, 1}, {5, 9, 9, 5}, {0, 2, 0, 2}, {5, 6}, {1, 2, 2}};
  const std::vector<Coords> ys = {{1, 1, 3, 3, 8, 8}, {5, 5, 9, 9}, {0, 0, 2, 2}, {5, 6}};
  const gvk::VolumeResult r = gvk::volumes_by_region(base.view(), top.view(), xs, ys);
  ASSERT_TRUE(r.ok) << r.message;
  expect_figures(r.total, {80, 180, 40, 60, 100});
  ASSERT_EQ(r.regions.size(), 5u);
  ASSERT_EQ(r.region_faults.size(), 5u);
  expect_figures(r.regions[0], {29, 9, 16, 6, 22});
  EXPECT_EQ(r.region_faults[0], "");
  expect_figures(r.regions[1], {0, 48, 0, 16, 16});  // d = x - 4 from 1 to 5
  EXPECT_NE(r.region_faults[2], "");                 // a bow-tie
  expect_figures(r.regions[2], {0, 0, 0, 0, 0});
  expect_figures(r.regions[3], {0, 0, 0, 0, 0});  // two corners enclose nothing
  EXPECT_EQ(r.region_faults[3], "");
  EXPECT_EQ(r.region_faults[4], "it has 3 x and 0 y values");
}

TEST(VolumeBetween, RefusesWhatItCannotReadAndSaysWhy) {
  const Mesh good = grid_mesh(kSquare, 1, flat(0));
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double inf = std::numeric_limits<double>::infinity();
  struct Case {
    std::string name;
    Mesh base, top;
    Coords bx, by;
    std::string message;
  };
  Mesh nan_unused = good;
  nan_unused.x.push_back(nan);
  nan_unused.y.push_back(0);
  nan_unused.z.push_back(0);
  const Case cases[] = {
      {"index out of range",
       good,
       Mesh{{0, 1, 0}, {0, 0, 1}, {0, 0, 0}, {{0, 1, 3}}},
       {},
       {},
       "top mesh: triangle 0 names vertex 3, but there are 3 vertices"},
      {"largest index",
       Mesh{{0, 1, 0}, {0, 0, 1}, {0, 0, 0}, {{0, ~0ull, 2}}},
       good,
       {},
       {},
       "base mesh: triangle 0 names vertex 18446744073709551615, but there are 3 "
       "vertices"},
      {"short y",
       Mesh{{0, 1, 0}, {0, 0}, {0, 0, 0}, {}},
       good,
       {},
       {},
       "base mesh: y is shorter than x (2 and 3 values)"},
      {"short z",
       good,
       Mesh{{0, 1, 0}, {0, 0, 1}, {0}, {}},
       {},
       {},
       "top mesh: z is shorter than x (1 and 3 values)"},
      {"NaN elevation",
       good,
       Mesh{{0, 1, 0}, {0, 0, 1}, {0, nan, 0}, {{0, 1, 2}}},
       {},
       {},
       "top mesh: vertex 1 (of triangle 0) has a coordinate that is not finite"},
      {"coordinates too far apart",
       Mesh{{-1.5e308, 1.5e308, 0}, {0, 0, 1}, {0, 0, 0}, {{0, 1, 2}}},
       good,
       {},
       {},
       "base mesh: triangle 0 is too large to compute with"},
      {"boundary lists differ",
       good,
       good,
       {0, 1, 1},
       {0, 1},
       "boundary: it has 3 x and 2 y values"},
      {"boundary not finite",
       good,
       good,
       {0, 1, inf},
       {0, 1, 1},
       "boundary: corner 2 has a coordinate that is not finite"},
      {"bow-tie boundary",
       good,
       good,
       {0, 2, 0, 2},
       {0, 0, 2, 2},
       "boundary: it is not a simple polygon: the edge from corner 1 to corner 2 meets "
       "the edge "
       "from corner 3 to corner 0"},
      {"boundary touching itself",
       good,
       good,
       {0, 4, 4, 2, 2, 0},
       {0, 0, 4, 0, 2, 2},
       "boundary: it is not a simple polygon: the edge from corner 0 to corner 1 meets "
       "the edge "
       "from corner 2 to corner 3"},
      {"boundary turning back",
       good,
       good,
       {0, 4, 2, 2},
       {0, 0, 0, 3},
       "boundary: it is not a simple polygon: the edge from corner 0 to corner 1 meets "
       "the edge "
       "from corner 1 to corner 2"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const gvk::VolumeResult r =
        c.bx.empty() && c.by.empty()
            ? gvk::volume_between(c.base.view(), c.top.view())
            : gvk::volume_between(c.base.view(), c.top.view(), c.bx, c.by);
    EXPECT_FALSE(r);
    EXPECT_EQ(r.message, c.message);
    EXPECT_EQ(r.total.area, 0.0);
  }
  // A NaN on a vertex that no triangle uses is no concern of the volume.
  EXPECT_TRUE(gvk::volume_between(nan_unused.view(), good.view()));
}

}  // namespace
