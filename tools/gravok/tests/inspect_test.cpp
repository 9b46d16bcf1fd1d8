#include "inspect.h"

#include <gtest/gtest.h>

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
