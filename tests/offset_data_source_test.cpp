#include <gravok/element_types.h>
#include <gravok/offset_data_source.h>

#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using Elements = std::vector<gravok_grading_element>;
using Lists = std::vector<std::vector<double>>;

gravok_grading_element element_123456() {
  gravok_grading_element e;
  gvk::initge(e);
  for (int i = 0; i < 6; ++i) e.location[i] = i + 1;
  e.attributes[5] = 0xAB;
  e.trailer[0] = 0xCD;
  return e;
}

// A source whose every answer differs from DataSource's defaults. Each element getter
// appends one record {1, 2, 3, 4, 5, 6} and the lists {{1, 2}} to what it is given.
class SiteSource : public gvk::DataSource {
 public:
  bool throws = false;
  mutable unsigned long long selected = 0;

  bool load() override { return true; }
  void get_linear_unit(gvk::Unit<1>& unit) const override { unit.type = 2; }
  void get_area_unit(gvk::Unit<2>& unit) const override { unit.type = 2; }
  void get_volume_unit(gvk::Unit<3>& unit) const override { unit.type = 2; }
  void get_surfaces(std::vector<unsigned long long>& ids,
                    std::vector<std::string>& names) const override {
    ids.push_back(17);
    names.push_back("eg");
  }
  void select_surface(unsigned long long id) override { selected = id; }
  void get_eg_data(std::vector<double>& x, std::vector<double>& y, std::vector<double>& z,
                   std::vector<gvk::Triangle>& triangles,
                   std::vector<gravok_triangle_info>& info) override {
    x.push_back(1);
    y.push_back(2);
    if (throws) throw std::runtime_error("mesh unreadable");
    z.push_back(3);
    triangles.push_back({0, 0, 0});
    info.push_back(gravok_triangle_info{{9}});
  }
  void get_objectives(std::vector<gravok_objective>& out) override {
    out.push_back(gravok_objective{{5}});
  }
  void get_break_lines(std::vector<gravok_line_3d>& lines) const override {
    lines.push_back({1, 2, 3, 4, 5, 6});
  }
  void get_unclassified(Elements& e, Lists& xs, Lists& ys) const override {
    give(e, xs, ys);
  }
  void get_low_points(Elements& e) const override { e.push_back(element_123456()); }
  void get_bounded_points(Elements& e) const override { e.push_back(element_123456()); }
  void get_offsets(Elements& e) const override { e.push_back(element_123456()); }
  void get_drain_lines(Elements& e, Lists& xs, Lists& ys) const override {
    give(e, xs, ys);
  }
  void get_bend_lines(Elements& e, Lists& xs, Lists& ys) const override {
    give(e, xs, ys);
  }
  void get_aligned_edges(Elements& e, Lists& xs, Lists& ys) const override {
    give(e, xs, ys);
  }
  void get_trizone_polygons(Elements& e, Lists& xs, Lists& ys) const override {
    give(e, xs, ys);
  }
  void get_complex_elements(GradingElementType kind, Elements& e, Lists& xs, Lists& ys,
                            ComplexElementData& complex_data) const override {
    complex_data.double_lists_1.push_back({double(kind)});
    give(e, xs, ys);
  }
  bool fix_boundary() const override { return false; }
  double get_max_slope() const override { return 0.5; }
  double get_min_slope() const override { return 0.02; }
  VolumeConstraint get_volume_constraint() const override {
    return static_cast<VolumeConstraint>(2);
  }
  void get_max_slopes(std::vector<double>& s) const override { s.push_back(0.7); }
  void get_min_slopes(std::vector<double>& s) const override { s.push_back(0.03); }
  mesh_metric get_mesh_metric() const override { return {3, 1.5, true, false}; }
  double get_xorig() const override { return 100; }
  double get_yorig() const override { return 200; }
  double get_zorig() const override { return 300; }
  long long get_max_iteration_count() const override { return 7; }
  double get_epsilon() const override { return 0.125; }
  std::string get_hostcad_version() const override { return "host 12"; }
  bool is_ge_guid_valid() const override { return true; }
  const std::string& guid_from_uid(const long long&) const override { return m_guid; }

 private:
  void give(Elements& e, Lists& xs, Lists& ys) const {
    e.push_back(element_123456());
    xs.push_back({1, 2});
    ys.push_back({1, 2});
  }
  std::string m_guid = "{guid}";
};

std::vector<double> location_of(const Elements& e) {
  return std::vector<double>(e.back().location, e.back().location + 6);
}

TEST(OffsetDataSource, ReportsTheOriginReducedByTheOffsets) {
  SiteSource site;
  const gvk::OffsetDataSource shifted(site, 10, 20, 30);
  EXPECT_EQ(shifted.get_xorig(), 90);
  EXPECT_EQ(shifted.get_yorig(), 180);
  EXPECT_EQ(shifted.get_zorig(), 270);
}

TEST(OffsetDataSource, MovesTheMeshOnEveryAxis) {
  SiteSource site;
  gvk::OffsetDataSource shifted(site, 10, 20, 30);
  std::vector<double> x, y, z;
  std::vector<gvk::Triangle> triangles;
  std::vector<gravok_triangle_info> info;
  shifted.get_eg_data(x, y, z, triangles, info);
  EXPECT_EQ(x, std::vector<double>{11});
  EXPECT_EQ(y, std::vector<double>{22});
  EXPECT_EQ(z, std::vector<double>{33});
  EXPECT_EQ(triangles, (std::vector<gvk::Triangle>{{0, 0, 0}}));
  ASSERT_EQ(info.size(), 1u);
  EXPECT_EQ(info[0].data[0], 9);
}

TEST(OffsetDataSource, ShiftsOnlyTheCoordinateSlotsOfEachPointKind) {
  struct Case {
    GradingElementType kind;
    std::vector<double> location;
  };
  const Case cases[] = {
      {LowPoint, {11, 22, 3, 4, 5, 6}},
      {BoundedPoint, {11, 22, 3, 34, 35, 6}},  // both elevations move with z
      {Offset, {1, 12, 23, 4, 15, 26}},
      {DrainLine, {1, 2, 3, 4, 5, 6}},
      {SurfaceZone, {1, 2, 3, 4, 5, 6}},
      {Unclassified, {1, 2, 3, 4, 5, 6}},
      {Pond, {1, 2, 3, 4, 5, 6}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.kind);
    SiteSource site;
    gvk::OffsetDataSource shifted(site, 10, 20, 30);
    Elements e;
    Lists xs, ys;
    gvk::DataSource::ComplexElementData complex_data;
    shifted.get_grading_elements(c.kind, e, xs, ys, complex_data);
    ASSERT_EQ(e.size(), 1u);
    EXPECT_EQ(location_of(e), c.location);
    EXPECT_EQ(e[0].attributes[5], 0xAB);
    EXPECT_EQ(e[0].trailer[0], 0xCD);
  }
}

TEST(OffsetDataSource, MovesTheCoordinateListsOfLineAndAreaKinds) {
  for (GradingElementType kind :
       {AlignedEdge, DrainLine, SurfaceZone, BendLine, Unclassified, Curb, Pathway,
        static_cast<GradingElementType>(42)}) {
    SCOPED_TRACE(kind);
    SiteSource site;
    gvk::OffsetDataSource shifted(site, 10, 20, 30);
    Elements e;
    Lists xs, ys;
    gvk::DataSource::ComplexElementData complex_data;
    shifted.get_grading_elements(kind, e, xs, ys, complex_data);
    EXPECT_EQ(xs, (Lists{{11, 12}}));
    EXPECT_EQ(ys, (Lists{{21, 22}}));
    // Complex data passes through untouched, with the kind the caller asked for.
    if (kind >= 8) {
      EXPECT_EQ(complex_data.double_lists_1, (Lists{{double(kind)}}));
    }
  }
}

TEST(OffsetDataSource, MovesBreakLinesOnEveryAxis) {
  SiteSource site;
  const gvk::OffsetDataSource shifted(site, 10, 20, 30);
  std::vector<gravok_line_3d> lines;
  shifted.get_break_lines(lines);
  ASSERT_EQ(lines.size(), 1u);
  const gravok_line_3d& l = lines[0];
  EXPECT_EQ(std::vector<double>({l.x1, l.y1, l.z1, l.x2, l.y2, l.z2}),
            (std::vector<double>{11, 22, 33, 14, 25, 36}));
}

TEST(OffsetDataSource, ShiftsEntriesTheCallerPutThereBefore) {
  SiteSource site;
  gvk::OffsetDataSource shifted(site, 10, 20, 30);
  std::vector<double> x{5}, y{5}, z{5};
  std::vector<gvk::Triangle> triangles;
  std::vector<gravok_triangle_info> info;
  shifted.get_eg_data(x, y, z, triangles, info);
  EXPECT_EQ(x, (std::vector<double>{15, 11}));
  Elements e{element_123456()};
  shifted.get_low_points(e);
  EXPECT_EQ(e[0].location[0], 11);
  EXPECT_EQ(e[1].location[0], 11);
  Lists xs{{0}}, ys{{0}};
  shifted.get_bend_lines(e, xs, ys);
  EXPECT_EQ(xs, (Lists{{10}, {11, 12}}));
  EXPECT_EQ(ys, (Lists{{20}, {21, 22}}));
}

TEST(OffsetDataSource, ZeroOffsetsDeliverWhatTheSourceDelivers) {
  SiteSource site;
  gvk::OffsetDataSource shifted(site, 0, 0, 0);
  Elements e;
  shifted.get_bounded_points(e);
  shifted.get_offsets(e);
  EXPECT_EQ(location_of(e), (std::vector<double>{1, 2, 3, 4, 5, 6}));
  EXPECT_EQ(e[0].location[3], 4);
  EXPECT_EQ(shifted.get_xorig(), 100);
}

TEST(OffsetDataSource, ForwardsSettingsSurfacesAndObjectives) {
  SiteSource site;
  gvk::OffsetDataSource shifted(site, 10, 20, 30);
  EXPECT_FALSE(shifted.fix_boundary());
  EXPECT_EQ(shifted.get_max_slope(), 0.5);
  EXPECT_EQ(shifted.get_min_slope(), 0.02);
  EXPECT_EQ(shifted.get_epsilon(), 0.125);
  EXPECT_EQ(shifted.get_mesh_metric().kind, 3);
  std::vector<double> slopes;
  shifted.get_max_slopes(slopes);
  shifted.get_min_slopes(slopes);
  EXPECT_EQ(slopes, (std::vector<double>{0.7, 0.03}));
  std::vector<gravok_objective> objectives;
  shifted.get_objectives(objectives);
  ASSERT_EQ(objectives.size(), 1u);
  EXPECT_EQ(objectives[0].data[0], 5);
  std::vector<unsigned long long> ids;
  std::vector<std::string> names;
  shifted.get_surfaces(ids, names);
  EXPECT_EQ(ids, std::vector<unsigned long long>{17});
  shifted.select_surface(23);
  EXPECT_EQ(site.selected, 23u);
}

TEST(OffsetDataSource, AnswersDataSourceDefaultsWhereItDoesNotForward) {
  SiteSource site;
  gvk::OffsetDataSource shifted(site, 10, 20, 30);
  EXPECT_FALSE(shifted.load());
  EXPECT_EQ(shifted.get_volume_constraint(), Unconstrained);
  EXPECT_EQ(shifted.get_max_iteration_count(), 100000);
  EXPECT_EQ(shifted.get_hostcad_version(), "");
  EXPECT_FALSE(shifted.is_ge_guid_valid());
  EXPECT_EQ(&shifted.guid_from_uid(1), &gvk::DataSource::m_emptyGUID);
  gvk::Unit<1> linear;
  linear.type = 4;
  shifted.get_linear_unit(linear);
  EXPECT_EQ(linear.type, gvk::kUnknownUnitType);
  gvk::Unit<3> volume;
  shifted.get_volume_unit(volume);
  EXPECT_EQ(volume.conversions.size(), 9u);
}

TEST(OffsetDataSource, SourceExceptionLeavesContainersUnshifted) {
  SiteSource site;
  site.throws = true;
  gvk::OffsetDataSource shifted(site, 10, 20, 30);
  std::vector<double> x, y, z;
  std::vector<gvk::Triangle> triangles;
  std::vector<gravok_triangle_info> info;
  EXPECT_THROW(shifted.get_eg_data(x, y, z, triangles, info), std::runtime_error);
  EXPECT_EQ(x, std::vector<double>{1});
  EXPECT_EQ(y, std::vector<double>{2});
}

TEST(OffsetDataSource, CopiesReferToTheSameSourceAndCannotBeReassigned) {
  static_assert(std::is_copy_constructible<gvk::OffsetDataSource>::value, "");
  static_assert(std::is_move_constructible<gvk::OffsetDataSource>::value, "");
  static_assert(!std::is_copy_assignable<gvk::OffsetDataSource>::value, "");
  static_assert(!std::is_move_assignable<gvk::OffsetDataSource>::value, "");
  SiteSource site;
  const gvk::OffsetDataSource original(site, 1, 2, 3);
  const gvk::OffsetDataSource copy(original);
  EXPECT_EQ(copy.get_zorig(), 297);
}

TEST(OffsetVec, AddsToEveryValueInPlace) {
  std::vector<double> values{1, -2, 0.5};
  gvk::OffsetDataSource::offset_vec(values, 2);
  EXPECT_EQ(values, (std::vector<double>{3, 0, 2.5}));
  Lists lists{{1}, {}, {2, 3}};
  gvk::OffsetDataSource::offset_vec_vec(lists, -1);
  EXPECT_EQ(lists, (Lists{{0}, {}, {1, 2}}));
}

}  // namespace
