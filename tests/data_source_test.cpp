#include <gravok/data_source.h>
#include <gravok/mesh_tools.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>
#include <vector>

namespace {

using Elements = std::vector<gravok_grading_element>;
using Lists = std::vector<std::vector<double>>;

// A host source that overrides nothing: everything answers the library's defaults.
class BareSource : public gvk::DataSource {};

gravok_grading_element element_at(double x) {
  gravok_grading_element element{};
  element.location[0] = x;
  return element;
}

TEST(DataSourceDefaults, ScalarSettings) {
  BareSource source;
  EXPECT_FALSE(source.load());
  EXPECT_TRUE(source.fix_boundary());
  EXPECT_EQ(source.get_max_slope(), 0.33);
  EXPECT_EQ(source.get_min_slope(), 0.005);
  EXPECT_EQ(source.get_volume_constraint(), Unconstrained);
  EXPECT_EQ(source.get_xorig(), 0.0);
  EXPECT_EQ(source.get_yorig(), 0.0);
  EXPECT_EQ(source.get_zorig(), 0.0);
  const long long iterations = source.get_max_iteration_count();
  EXPECT_EQ(iterations, 100000);
  EXPECT_EQ(source.get_epsilon(), 0.0);
  EXPECT_FALSE(std::signbit(source.get_epsilon()));
  EXPECT_EQ(source.get_hostcad_version(), "");
  EXPECT_FALSE(source.is_ge_guid_valid());

  const mesh_metric metric = source.get_mesh_metric();
  EXPECT_EQ(metric.kind, 1);
  EXPECT_EQ(metric.value, 0.0);
  EXPECT_FALSE(metric.flag_a);
  EXPECT_TRUE(metric.flag_b);
  const mesh_metric library_default = gvk::default_mesh_metric();
  EXPECT_EQ(library_default.kind, metric.kind);
  EXPECT_EQ(library_default.flag_b, metric.flag_b);
}

TEST(DataSourceDefaults, GuidOfAnyUidIsTheOneEmptyString) {
  const BareSource source;
  for (long long uid : {0LL, -1LL, 42LL, -3750763034362895579LL}) {
    EXPECT_EQ(&source.guid_from_uid(uid), &gvk::DataSource::m_emptyGUID);
  }
  EXPECT_TRUE(gvk::DataSource::m_emptyGUID.empty());
}

TEST(DataSourceDefaults, NeverClearWhatTheCallerFilled) {
  BareSource source;
  const Elements elements{element_at(1.0), element_at(2.0)};
  const Lists lists{{1.0, 2.0}, {3.0}};
  gvk::DataSource::ComplexElementData complex_data;
  complex_data.int_lists = {{7}};

  Elements e = elements;
  Lists xs = lists, ys = lists;
  source.get_low_points(e);
  source.get_bounded_points(e);
  source.get_offsets(e);
  source.get_unclassified(e, xs, ys);
  source.get_drain_lines(e, xs, ys);
  source.get_bend_lines(e, xs, ys);
  source.get_aligned_edges(e, xs, ys);
  source.get_trizone_polygons(e, xs, ys);
  source.get_complex_elements(Curb, e, xs, ys, complex_data);
  for (GradingElementType kind : {LowPoint, DrainLine, Pond, ParkingLot}) {
    source.get_grading_elements(kind, e, xs, ys, complex_data);
  }
  ASSERT_EQ(e.size(), elements.size());
  EXPECT_EQ(std::memcmp(e.data(), elements.data(), sizeof(elements[0]) * e.size()), 0);
  EXPECT_EQ(xs, lists);
  EXPECT_EQ(ys, lists);
  EXPECT_EQ(complex_data.int_lists, (std::vector<std::vector<std::int32_t>>{{7}}));

  std::vector<double> x{1}, y{2}, z{3}, slopes{0.1, 0.2};
  std::vector<gvk::Triangle> triangles{{0, 0, 0}};
  std::vector<gravok_triangle_info> info(1);
  std::vector<gravok_objective> objectives(2);
  std::vector<gravok_line_3d> lines(3);
  std::vector<unsigned long long> ids{5};
  std::vector<std::string> names{"eg"};
  source.get_eg_data(x, y, z, triangles, info);
  source.get_objectives(objectives);
  source.get_break_lines(lines);
  source.get_surfaces(ids, names);
  source.select_surface(5);
  source.get_max_slopes(slopes);
  source.get_min_slopes(slopes);
  EXPECT_EQ(x, std::vector<double>{1});
  EXPECT_EQ(z, std::vector<double>{3});
  EXPECT_EQ(triangles.size(), 1u);
  EXPECT_EQ(info.size(), 1u);
  EXPECT_EQ(objectives.size(), 2u);
  EXPECT_EQ(lines.size(), 3u);
  EXPECT_EQ(ids, std::vector<unsigned long long>{5});
  EXPECT_EQ(names, std::vector<std::string>{"eg"});
  EXPECT_EQ(slopes, (std::vector<double>{0.1, 0.2}));
}

// Records which per-kind getter the dispatch reached and marks every container that
// getter was handed, so a test can see which containers the dispatch passed on.
class RecordingSource : public gvk::DataSource {
 public:
  mutable std::vector<std::string> calls;
  mutable std::vector<GradingElementType> complex_kinds;

  void get_unclassified(Elements& e, Lists& xs, Lists& ys) const override {
    mark("unclassified", e, xs, ys);
  }
  void get_low_points(Elements& e) const override { mark("low_points", e); }
  void get_bounded_points(Elements& e) const override { mark("bounded_points", e); }
  void get_offsets(Elements& e) const override { mark("offsets", e); }
  void get_drain_lines(Elements& e, Lists& xs, Lists& ys) const override {
    mark("drain_lines", e, xs, ys);
  }
  void get_bend_lines(Elements& e, Lists& xs, Lists& ys) const override {
    mark("bend_lines", e, xs, ys);
  }
  void get_aligned_edges(Elements& e, Lists& xs, Lists& ys) const override {
    mark("aligned_edges", e, xs, ys);
  }
  void get_trizone_polygons(Elements& e, Lists& xs, Lists& ys) const override {
    mark("trizone_polygons", e, xs, ys);
  }
  void get_complex_elements(GradingElementType kind, Elements& e, Lists& xs, Lists& ys,
                            ComplexElementData& complex_data) const override {
    complex_kinds.push_back(kind);
    complex_data.int_lists.push_back({1});
    mark("complex_elements", e, xs, ys);
  }

 private:
  void mark(const char* call, Elements& e) const {
    calls.push_back(call);
    e.push_back(element_at(9.0));
  }
  void mark(const char* call, Elements& e, Lists& xs, Lists& ys) const {
    mark(call, e);
    xs.push_back({9.0});
    ys.push_back({9.0});
  }
};

TEST(GradingElementDispatch, RoutesEveryKindToItsGetter) {
  struct Case {
    std::int32_t kind;
    const char* call;
    bool passes_lists;
    bool passes_complex;
  };
  const Case cases[] = {
      {0, "low_points", false, false},        {1, "bounded_points", false, false},
      {2, "aligned_edges", true, false},      {3, "offsets", false, false},
      {4, "drain_lines", true, false},        {5, "trizone_polygons", true, false},
      {6, "bend_lines", true, false},         {7, "unclassified", true, false},
      {100, "complex_elements", true, true},  {103, "complex_elements", true, true},
      {105, "complex_elements", true, true},  {8, "complex_elements", true, true},
      {99, "complex_elements", true, true},   {-1, "complex_elements", true, true},
      {1000, "complex_elements", true, true}, {INT32_MIN, "complex_elements", true, true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.kind);
    RecordingSource source;
    const GradingElementType kind = static_cast<GradingElementType>(c.kind);
    Elements elements;
    Lists xs, ys;
    gvk::DataSource::ComplexElementData complex_data;
    source.get_grading_elements(kind, elements, xs, ys, complex_data);

    EXPECT_EQ(source.calls, std::vector<std::string>{c.call});
    EXPECT_EQ(elements.size(), 1u);
    EXPECT_EQ(xs.size(), c.passes_lists ? 1u : 0u);
    EXPECT_EQ(ys.size(), c.passes_lists ? 1u : 0u);
    EXPECT_EQ(complex_data.int_lists.size(), c.passes_complex ? 1u : 0u);
    if (c.passes_complex) {
      EXPECT_EQ(source.complex_kinds, std::vector<GradingElementType>{kind});
    }
  }
}

TEST(ComputeOrigin, CentresTheBoundingBoxAndMovesThePointsOnly) {
  struct Case {
    std::vector<double> x, y, z;
    double origin[3];
    std::vector<double> x_after, y_after, z_after;
  };
  const Case cases[] = {
      {{10, 20}, {5, 7}, {100, 104}, {15, 6, 102}, {-5, 5}, {-1, 1}, {-2, 2}},
      {{3}, {4}, {5}, {3, 4, 5}, {0}, {0}, {0}},
      // y and z beyond the length of x are neither measured nor moved.
      {{1, 3},
       {1, 3, 1000},
       {0, 2, -1000},
       {2, 2, 1},
       {-1, 1},
       {-1, 1, 1000},
       {-1, 1, -1000}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.x));
    std::vector<double> x = c.x, y = c.y, z = c.z;
    double origin[3] = {0, 0, 0};
    gvk::DataSource::ComputeOrigin(x, y, z, origin[0], origin[1], origin[2]);
    EXPECT_EQ(origin[0], c.origin[0]);
    EXPECT_EQ(origin[1], c.origin[1]);
    EXPECT_EQ(origin[2], c.origin[2]);
    EXPECT_EQ(x, c.x_after);
    EXPECT_EQ(y, c.y_after);
    EXPECT_EQ(z, c.z_after);
  }
}

TEST(ComputeOrigin, EmptyArraysGiveNanOrigin) {
  std::vector<double> x, y, z;
  double xo = 0, yo = 0, zo = 0;
  gvk::DataSource::ComputeOrigin(x, y, z, xo, yo, zo);
  EXPECT_TRUE(std::isnan(xo) && std::isnan(yo) && std::isnan(zo));
  EXPECT_TRUE(x.empty() && y.empty() && z.empty());
}

TEST(ComputeOrigin, StatePlaneValuesComeBackThroughTheOrigin) {
  std::vector<double> x{2000000.125, 2000150.375, 2000075.001};
  std::vector<double> y{500000.5, 500200.25, 500100.999};
  std::vector<double> z{101.25, 99.5, 100.0};
  const std::vector<double> x0 = x, y0 = y, z0 = z;
  double xo = 0, yo = 0, zo = 0;
  gvk::DataSource::ComputeOrigin(x, y, z, xo, yo, zo);
  for (std::size_t i = 0; i < x.size(); ++i) {
    EXPECT_DOUBLE_EQ(x[i] + xo, x0[i]);
    EXPECT_DOUBLE_EQ(y[i] + yo, y0[i]);
    EXPECT_DOUBLE_EQ(z[i] + zo, z0[i]);
  }
}

}  // namespace
