#include <gravok/element_types.h>
#include <gravok/offset_data_source.h>

#include "recording_store.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using gvk_test::CallLog;
using gvk_test::Elements;
using gvk_test::Lists;
using gvk_test::record;
using gvk_test::Recorder;

// A source at origin (100, 200, 300) with the vertex (1, 2, 3), the break line from
// (1, 2, 3) to (4, 5, 6), and for every kind the record {1, 2, 3, 4, 5, 6} with the
// coordinate lists {{1, 2}}, seen through a wrapper with the offsets (10, 20, 30).
struct Site {
  explicit Site(GradingElementType kind = LowPoint) {
    source.x = {1};
    source.y = {2};
    source.z = {3};
    source.triangles = {{0, 0, 0}};
    source.triangle_info = {gravok_triangle_info{{9}}};
    source.break_lines = {{1, 2, 3, 4, 5, 6}};
    source.elements[kind] = {record({1, 2, 3, 4, 5, 6})};
    source.lists[kind] = {{1, 2}};
  }

  CallLog log;
  Recorder source{log, "source", {100, 200, 300}};
  gvk::OffsetDataSource shifted{source, 10, 20, 30};
};

TEST(OffsetDataSource, MovesEveryMeshEntryAndTheOriginByTheOffsetOfTheirAxis) {
  Site site;
  EXPECT_EQ(site.shifted.get_xorig(), 90);
  EXPECT_EQ(site.shifted.get_yorig(), 180);
  EXPECT_EQ(site.shifted.get_zorig(), 270);
  const gvk::OffsetDataSource copy(site.shifted);  // same source, same offsets
  EXPECT_EQ(copy.get_zorig(), 270);
  // Entries the caller put there before move too; triangles and their records do not.
  std::vector<double> x{5}, y{5}, z{5};
  std::vector<gvk::Triangle> triangles;
  std::vector<gravok_triangle_info> info;
  site.shifted.get_eg_data(x, y, z, triangles, info);
  EXPECT_EQ(x, (std::vector<double>{15, 11}));
  EXPECT_EQ(y, (std::vector<double>{25, 22}));
  EXPECT_EQ(z, (std::vector<double>{35, 33}));
  EXPECT_EQ(triangles, site.source.triangles);
  ASSERT_EQ(info.size(), 1u);
  EXPECT_EQ(info[0].data[0], 9);
  std::vector<gravok_line_3d> lines;
  site.shifted.get_break_lines(lines);
  ASSERT_EQ(lines.size(), 1u);
  const gravok_line_3d& l = lines[0];
  EXPECT_EQ(std::vector<double>({l.x1, l.y1, l.z1, l.x2, l.y2, l.z2}),
            (std::vector<double>{11, 22, 33, 14, 25, 36}));
  // An exception of the source leaves the containers as the source left them.
  site.log.throw_at = "source.get_eg_data";
  EXPECT_THROW(site.shifted.get_eg_data(x, y, z, triangles, info), std::runtime_error);
  EXPECT_EQ(x, (std::vector<double>{15, 11}));
}

TEST(OffsetDataSource, ShiftsExactlyTheCoordinatesOfEachKindAndTheCallersEntries) {
  const std::vector<double> unchanged{1, 2, 3, 4, 5, 6};
  struct Case {
    GradingElementType kind;
    std::vector<double> location;
    bool has_lists;
  };
  const Case cases[] = {
      {LowPoint, {11, 22, 3, 4, 5, 6}, false},
      {BoundedPoint, {11, 22, 3, 34, 35, 6}, false},  // both elevations move with z
      {Offset, {1, 12, 23, 4, 15, 26}, false},
      {AlignedEdge, unchanged, true},
      {DrainLine, unchanged, true},
      {SurfaceZone, unchanged, true},
      {BendLine, unchanged, true},
      {Unclassified, unchanged, true},
      {Curb, unchanged, true},
      {Pathway, unchanged, true},
      {static_cast<GradingElementType>(42), unchanged, true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.kind);
    Site site(c.kind);
    Elements e{record({1, 2, 3, 4, 5, 6})};  // the caller's entries come first
    Lists xs{{0}}, ys{{0}};
    gvk::DataSource::ComplexElementData complex_data;
    site.shifted.get_grading_elements(c.kind, e, xs, ys, complex_data);
    ASSERT_EQ(e.size(), 2u);
    for (const gravok_grading_element& got : e) {
      EXPECT_EQ(std::vector<double>(got.location, got.location + 6), c.location);
    }
    EXPECT_EQ(xs, (c.has_lists ? Lists{{10}, {11, 12}} : Lists{{0}}));
    EXPECT_EQ(ys, (c.has_lists ? Lists{{20}, {21, 22}} : Lists{{0}}));
    // Complex data passes through untouched, with the kind the caller asked for.
    if (c.kind > Unclassified) {
      EXPECT_EQ(complex_data.int_lists, std::vector<std::vector<std::int32_t>>{{c.kind}});
    }
  }
}

TEST(OffsetDataSource, AsksTheSourceExactlyWhereItForwards) {
  gvk::Unit<1> linear;
  gvk::Unit<2> area;
  gvk::Unit<3> volume;
  std::vector<unsigned long long> ids;
  std::vector<std::string> names;
  std::vector<gravok_objective> objectives;
  std::vector<double> slopes;
  Elements e;
  Lists xs, ys;
  gvk::DataSource::ComplexElementData complex_data;
  struct Case {
    std::string call;
    bool forwarded;
    std::function<void(gvk::DataSource&)> make;
  };
  const Case cases[] = {
      {"get_surfaces", true, [&](auto& s) { s.get_surfaces(ids, names); }},
      {"select_surface", true, [](auto& s) { s.select_surface(23); }},
      {"get_objectives", true, [&](auto& s) { s.get_objectives(objectives); }},
      {"fix_boundary", true, [](auto& s) { s.fix_boundary(); }},
      {"get_max_slope", true, [](auto& s) { s.get_max_slope(); }},
      {"get_min_slope", true, [](auto& s) { s.get_min_slope(); }},
      {"get_max_slopes", true, [&](auto& s) { s.get_max_slopes(slopes); }},
      {"get_min_slopes", true, [&](auto& s) { s.get_min_slopes(slopes); }},
      {"get_mesh_metric", true, [](auto& s) { s.get_mesh_metric(); }},
      {"get_epsilon", true, [](auto& s) { s.get_epsilon(); }},
      // DataSource's dispatch on the wrapper, which reaches the wrapper's getter.
      {"get_low_points", true,
       [&](auto& s) { s.get_grading_elements(LowPoint, e, xs, ys, complex_data); }},
      // Deliberately not overridden: DataSource's defaults answer.
      {"load", false, [](auto& s) { s.load(); }},
      {"get_linear_unit", false, [&](auto& s) { s.get_linear_unit(linear); }},
      {"get_area_unit", false, [&](auto& s) { s.get_area_unit(area); }},
      {"get_volume_unit", false, [&](auto& s) { s.get_volume_unit(volume); }},
      {"get_volume_constraint", false, [](auto& s) { s.get_volume_constraint(); }},
      {"get_max_iteration_count", false, [](auto& s) { s.get_max_iteration_count(); }},
      {"get_hostcad_version", false, [](auto& s) { s.get_hostcad_version(); }},
      {"is_ge_guid_valid", false, [](auto& s) { s.is_ge_guid_valid(); }},
      {"guid_from_uid", false, [](auto& s) { s.guid_from_uid(1); }},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.call);
    Site site;
    c.make(site.shifted);
    EXPECT_EQ(site.log.calls, c.forwarded ? std::vector<std::string>{"source." + c.call}
                                          : std::vector<std::string>{});
  }
}

}  // namespace
