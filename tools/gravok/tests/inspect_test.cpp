#include "inspect.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace {

using gvk::Problem;

// A 3 x 3 grid of vertices 10 apart, eight triangles, a low point and a drain line on
// it, sensible settings: nothing to report.
Problem clean_problem() {
  Problem p;
  for (int j = 0; j < 3; ++j) {
    for (int i = 0; i < 3; ++i) {
      p.mesh.x.push_back(10.0 * i);
      p.mesh.y.push_back(10.0 * j);
      p.mesh.z.push_back(100.0 + i);
    }
  }
  for (unsigned long long j = 0; j < 2; ++j) {
    for (unsigned long long i = 0; i < 2; ++i) {
      const unsigned long long a = i + 3 * j;
      p.mesh.triangles.push_back({a, a + 1, a + 4});
      p.mesh.triangles.push_back({a, a + 4, a + 3});
    }
  }
  p.mesh.triangle_info.resize(p.mesh.triangles.size());
  gravok_grading_element low{};
  low.location[0] = 5;
  low.location[1] = 5;
  p.elements[LowPoint].records = {low};
  p.elements[DrainLine].records = {gravok_grading_element{}};
  p.elements[DrainLine].xs = {{1, 10, 19}};
  p.elements[DrainLine].ys = {{1, 10, 20}};
  return p;
}

// Whichever way the triangles turn (real surveys are often clockwise): points on the
// mesh's boundary, on each of a triangle's three edges in turn (low points at (0, 5)
// and (5, 0), the drain line's last vertex at (19, 20)), are inside, where a test of
// one orientation alone would put them outside the mesh.
TEST(Inspect, ACleanProblemHasNoFindingWhicheverWayItsTrianglesTurn) {
  for (const bool clockwise : {false, true}) {
    SCOPED_TRACE(clockwise ? "clockwise" : "counter-clockwise");
    Problem p = clean_problem();
    for (const double at : {0.0, 5.0}) {
      gravok_grading_element low{};
      low.location[0] = at;
      low.location[1] = 5 - at;
      p.elements[LowPoint].records.push_back(low);
    }
    if (clockwise)
      for (gvk::Triangle& t : p.mesh.triangles) std::swap(t[1], t[2]);
    EXPECT_TRUE(gravok_tool::inspect_problem(p, 0.5).empty());
  }
}

TEST(Inspect, EachPlantedFaultGivesExactlyItsFinding) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  struct Case {
    const char* check;
    const char* where;
    std::function<void(Problem&)> plant;
  };
  const Case cases[] = {
      {"index-out-of-range", "triangle 3",
       [](Problem& p) { p.mesh.triangles[3][1] = 1000000000000000000ULL; }},
      {"missing-coordinates", "vertex 8", [](Problem& p) { p.mesh.z.pop_back(); }},
      {"non-finite-coordinate", "vertex 4", [](Problem& p) { p.mesh.z[4] = INFINITY; }},
      {"zero-area", "triangle 0",
       [](Problem& p) {
         p.mesh.triangles[0] = {0, 1, 2};
       }},
      {"unused-vertex", "vertex 9",
       [](Problem& p) {
         p.mesh.x.push_back(5);
         p.mesh.y.push_back(5);
         p.mesh.z.push_back(0);
       }},
      {"welded-vertex", "vertex 9",
       [](Problem& p) {
         p.mesh.x.push_back(10.25);
         p.mesh.y.push_back(10);
         p.mesh.z.push_back(0);
         p.mesh.triangles.push_back({9, 1, 2});
         p.mesh.triangle_info.resize(9);
       }},
      {"triangle-info-count", "mesh",
       [](Problem& p) { p.mesh.triangle_info.pop_back(); }},
      {"non-finite-coordinate", "break line 0",
       [=](Problem& p) {
         p.break_lines = {{0, 0, nan, 1, 1, 1}};
       }},
      {"list-count", "DrainLine",
       [](Problem& p) {
         p.elements[DrainLine].xs.push_back({});
         p.elements[DrainLine].ys.push_back({});
       }},
      {"list-length", "DrainLine 0",
       [](Problem& p) { p.elements[DrainLine].ys[0].pop_back(); }},
      {"outside-mesh", "LowPoint 0",
       [](Problem& p) { p.elements[LowPoint].records[0].location[0] = 25; }},
      {"outside-mesh", "DrainLine 0",
       [](Problem& p) { p.elements[DrainLine].ys[0][2] = -0.5; }},
      {"non-finite-coordinate", "LowPoint 0",
       [=](Problem& p) { p.elements[LowPoint].records[0].location[1] = nan; }},
      {"slope-order", "settings", [](Problem& p) { p.max_slope = 0.001; }},
      {"slope-order", "settings",
       [](Problem& p) {
         p.max_slopes = {0.1};
         p.min_slopes = {0.2};
       }},
      {"slope-count", "settings",
       [](Problem& p) {
         p.max_slopes = {0.3, 0.3};
         p.min_slopes = {0.1};
       }},
      {"slope-range", "settings", [](Problem& p) { p.min_slope = -0.1; }},
      {"non-finite-origin", "settings", [=](Problem& p) { p.yorig = nan; }},
      {"iteration-count", "settings", [](Problem& p) { p.max_iteration_count = 0; }},
      {"epsilon", "settings", [](Problem& p) { p.epsilon = -1; }},
      {"unit-factors", "settings", [](Problem& p) { p.area_unit.conversions.clear(); }},
      {"surface-names", "settings", [](Problem& p) { p.surface_ids = {1}; }},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.check) + " at " + c.where);
    Problem p = clean_problem();
    c.plant(p);
    const auto findings = gravok_tool::inspect_problem(p, 0.5);
    ASSERT_EQ(findings.size(), 1u)
        << (findings.empty() ? "" : findings[1 % findings.size()].what);
    EXPECT_EQ(findings[0].check, c.check);
    EXPECT_EQ(findings[0].where, c.where);
    EXPECT_FALSE(findings[0].what.empty());
  }
}

}  // namespace

namespace {

// A setting JSON cannot hold is null, so that the summary stays a JSON document.
TEST(Inspect, TheJsonSummaryWritesNumbersJsonCannotHoldAsNull) {
  Problem p = clean_problem();
  p.max_slope = std::numeric_limits<double>::quiet_NaN();
  p.min_slope = -HUGE_VAL;
  p.zorig = 12.5;
  const std::string json = gravok_tool::summarise_problem_json(p);
  EXPECT_NE(json.find("\"max_slope\": null, \"min_slope\": null"), std::string::npos)
      << json;
  EXPECT_NE(json.find("\"origin\": [0, 0, 12.5]"), std::string::npos) << json;
  EXPECT_EQ(json.find("nan"), std::string::npos) << json;
  EXPECT_EQ(json.find("inf"), std::string::npos) << json;
}

}  // namespace

namespace {

// Whether (px, py) lies in triangle t in plan, its border included, straight from the
// definition: within its box and on one side of, or on, each of its three edges.
bool in_triangle(const gvk::Mesh& m, const gvk::Triangle& t, double px, double py) {
  double x0 = m.x[t[0]], x1 = x0, y0 = m.y[t[0]], y1 = y0;
  for (int k = 1; k < 3; ++k) {
    x0 = std::min(x0, m.x[t[k]]);
    x1 = std::max(x1, m.x[t[k]]);
    y0 = std::min(y0, m.y[t[k]]);
    y1 = std::max(y1, m.y[t[k]]);
  }
  if (px < x0 || px > x1 || py < y0 || py > y1) return false;
  double s[3];
  for (int k = 0; k < 3; ++k) {
    const auto a = t[k], b = t[(k + 1) % 3];
    s[k] = (m.x[b] - m.x[a]) * (py - m.y[a]) - (m.y[b] - m.y[a]) * (px - m.x[a]);
  }
  return (s[0] >= 0 && s[1] >= 0 && s[2] >= 0) || (s[0] <= 0 && s[1] <= 0 && s[2] <= 0);
}

}  // namespace

// The one-pass lookup against every triangle tried for every point, on jittered grids
// with triangles of zero area, indices out of range and coordinates that are not
// finite, for points on vertices, on edges, inside, outside and not finite, and for
// points clustered in one corner.
TEST(Inspect, PointsOnTheMeshAreWhatEveryTriangleTriedForEveryPointGives) {
  const double kNan = std::numeric_limits<double>::quiet_NaN();
  unsigned long long seed = 12345;
  const auto next = [&seed] {
    seed = seed * 6364136223846793005ULL + 1442695040888963407ULL;
    return static_cast<double>(seed >> 11) / 9007199254740992.0;
  };
  for (int round = 0; round < 40; ++round) {
    SCOPED_TRACE(round);
    gvk::Mesh m;
    const int side = 2 + round % 9;
    for (int j = 0; j < side; ++j) {
      for (int i = 0; i < side; ++i) {
        m.x.push_back(i + (round % 2 ? 0.4 * next() : 0.0));
        m.y.push_back(j + (round % 3 ? 0.4 * next() : 0.0));
      }
    }
    m.z.assign(m.x.size(), 0.0);
    const unsigned long long n = m.x.size(), w = side;
    for (unsigned long long j = 0; j + 1 < w; ++j) {
      for (unsigned long long i = 0; i + 1 < w; ++i) {
        const unsigned long long a = i + w * j;
        if (next() < 0.15) continue;  // holes
        m.triangles.push_back({a, a + 1, a + w + 1});
        m.triangles.push_back({a, a + w + 1, a + w});
      }
    }
    m.triangles.push_back({0, 1, 2});  // on one line: zero area when the grid is exact
    m.triangles.push_back({0, 0, n - 1});
    m.triangles.push_back({0, 1, n});  // an index out of range
    if (round % 4 == 0) m.x[n / 2] = kNan;
    if (round % 4 == 1) m.y[n - 2] = std::numeric_limits<double>::infinity();
    std::vector<std::pair<double, double>> points;
    for (unsigned long long v = 0; v < n; ++v) points.emplace_back(m.x[v], m.y[v]);
    for (const gvk::Triangle& t : m.triangles) {
      if (t[2] >= n) continue;
      points.emplace_back((m.x[t[0]] + m.x[t[1]]) / 2, (m.y[t[0]] + m.y[t[1]]) / 2);
      points.emplace_back((m.x[t[0]] + m.x[t[1]] + m.x[t[2]]) / 3,
                          (m.y[t[0]] + m.y[t[1]] + m.y[t[2]]) / 3);
    }
    // Just beyond the ends of the two triangles of zero area, on their lines.
    const double step = 1.0 / 64;
    points.emplace_back(-step, 0.0);
    points.emplace_back(m.x[n - 1] + step, m.y[n - 1] + step);
    for (int k = 0; k < 200; ++k) {
      const double spread = round % 5 == 0 ? 0.01 : side + 2.0;
      points.emplace_back(next() * spread - 1, next() * spread - 1);
    }
    points.emplace_back(kNan, 0.5);
    points.emplace_back(0.5, std::numeric_limits<double>::infinity());
    bool any_usable = false;
    const std::vector<char> got = gravok_tool::covered_in_plan(m, points, any_usable);
    ASSERT_EQ(got.size(), points.size());
    bool usable_seen = false;
    for (std::size_t q = 0; q < points.size(); ++q) {
      bool want = false;
      for (const gvk::Triangle& t : m.triangles) {
        bool usable = true;
        for (const auto v : t)
          usable = usable && v < n && std::isfinite(m.x[v]) && std::isfinite(m.y[v]);
        usable_seen = usable_seen || usable;
        want = want || (usable && in_triangle(m, t, points[q].first, points[q].second));
      }
      EXPECT_EQ(got[q] != 0, want)
          << q << ": (" << points[q].first << ", " << points[q].second << ")";
    }
    EXPECT_EQ(any_usable, usable_seen);
  }
  // No triangle, or none that can be used: nothing is covered, and the caller is told.
  gvk::Mesh unusable;
  unusable.x = {0, 1, kNan};
  unusable.y = {0, 0, 1};
  for (const auto& triangles : {std::vector<gvk::Triangle>{}, {{0, 1, 2}, {0, 1, 3}}}) {
    unusable.triangles = triangles;
    bool any_usable = true;
    EXPECT_TRUE(gravok_tool::covered_in_plan(unusable, {{0, 0}}, any_usable) ==
                std::vector<char>{0});
    EXPECT_FALSE(any_usable);
  }
}
