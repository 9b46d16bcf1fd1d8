#include <gravok/data_store.h>
#include <gravok/element_types.h>
#include <gravok/mesh_tools.h>

#include "recording_store.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <map>
#include <string>
#include <vector>

namespace {

using gvk_test::CallLog;
using gvk_test::Elements;
using gvk_test::Lists;
using gvk_test::Origin;
using gvk_test::RecordingStore;

gravok_grading_element element(std::vector<double> location, unsigned char tag = 0) {
  gravok_grading_element e;
  gvk::initge(e);
  for (std::size_t i = 0; i < location.size() && i < 6; ++i) e.location[i] = location[i];
  e.attributes[0] = tag;
  e.trailer[119] = tag;
  return e;
}

bool same_bytes(const Elements& a, const Elements& b) {
  return a.size() == b.size() &&
         (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof a[0]) == 0);
}

// A source that logs every one of DataSource's operations, answers a setting distinct
// from every default for each getter, and delivers the elements and coordinate lists
// that a test puts into `elements` and `lists`. It notes any element container that
// arrives non-empty, and how full the complex-data holder is at each complex call.
class RecordingSource : public gvk::DataSource {
 public:
  explicit RecordingSource(CallLog& log, Origin at = {}) : origin(at), m_log(log) {}

  Origin origin;
  bool moves_origin_with_mesh = false;  // get_eg_data sets `origin_after_mesh`
  Origin origin_after_mesh;
  std::vector<double> x, y, z;
  std::map<GradingElementType, Elements> elements;
  std::map<GradingElementType, Lists> lists;  // used as both xs and ys
  mutable bool container_arrived_filled = false;
  mutable std::vector<std::size_t> complex_holder_sizes;

  bool load() override { return log_bool("source.load"); }
  void get_linear_unit(gvk::Unit<1>&) const override {
    m_log.record("source.get_linear_unit");
  }
  void get_area_unit(gvk::Unit<2>&) const override {
    m_log.record("source.get_area_unit");
  }
  void get_volume_unit(gvk::Unit<3>&) const override {
    m_log.record("source.get_volume_unit");
  }
  void get_surfaces(std::vector<unsigned long long>&,
                    std::vector<std::string>&) const override {
    m_log.record("source.get_surfaces");
  }
  void select_surface(unsigned long long) override {
    m_log.record("source.select_surface");
  }
  void get_eg_data(std::vector<double>& x_out, std::vector<double>& y_out,
                   std::vector<double>& z_out, std::vector<gvk::Triangle>& triangles,
                   std::vector<gravok_triangle_info>& info) override {
    m_log.record("source.get_eg_data");
    x_out = x;
    y_out = y;
    z_out = z;
    triangles.assign(x.size() / 3, gvk::Triangle{0, 1, 2});
    info.assign(triangles.size(), gravok_triangle_info{{42}});
    if (moves_origin_with_mesh) origin = origin_after_mesh;
  }
  void get_objectives(std::vector<gravok_objective>& out) override {
    m_log.record("source.get_objectives");
    out.assign(2, gravok_objective{{7}});
  }
  void get_break_lines(std::vector<gravok_line_3d>&) const override {
    m_log.record("source.get_break_lines");
  }
  void get_grading_elements(GradingElementType kind, Elements& e, Lists& xs, Lists& ys,
                            ComplexElementData& complex_data) override {
    m_log.record("source.get_grading_elements");
    DataSource::get_grading_elements(kind, e, xs, ys, complex_data);
  }
  void get_unclassified(Elements& e, Lists& xs, Lists& ys) const override {
    deliver("get_unclassified", Unclassified, e, xs, ys);
  }
  void get_low_points(Elements& e) const override {
    deliver("get_low_points", LowPoint, e);
  }
  void get_bounded_points(Elements& e) const override {
    deliver("get_bounded_points", BoundedPoint, e);
  }
  void get_offsets(Elements& e) const override { deliver("get_offsets", Offset, e); }
  void get_drain_lines(Elements& e, Lists& xs, Lists& ys) const override {
    deliver("get_drain_lines", DrainLine, e, xs, ys);
  }
  void get_bend_lines(Elements& e, Lists& xs, Lists& ys) const override {
    deliver("get_bend_lines", BendLine, e, xs, ys);
  }
  void get_aligned_edges(Elements& e, Lists& xs, Lists& ys) const override {
    deliver("get_aligned_edges", AlignedEdge, e, xs, ys);
  }
  void get_trizone_polygons(Elements& e, Lists& xs, Lists& ys) const override {
    deliver("get_trizone_polygons", SurfaceZone, e, xs, ys);
  }
  void get_complex_elements(GradingElementType kind, Elements& e, Lists& xs, Lists& ys,
                            ComplexElementData& complex_data) const override {
    complex_holder_sizes.push_back(complex_data.int_lists.size());
    complex_data.int_lists.push_back({kind});
    deliver("get_complex_elements(" + std::to_string(kind) + ")", kind, e, xs, ys);
  }
  bool fix_boundary() const override { return log_bool("source.fix_boundary"); }
  double get_max_slope() const override {
    return log_value("source.get_max_slope", 0.41);
  }
  double get_min_slope() const override {
    return log_value("source.get_min_slope", 0.012);
  }
  VolumeConstraint get_volume_constraint() const override {
    m_log.record("source.get_volume_constraint");
    return static_cast<VolumeConstraint>(3);
  }
  void get_max_slopes(std::vector<double>& out) const override {
    m_log.record("source.get_max_slopes");
    out = {0.5, 0.25};
  }
  void get_min_slopes(std::vector<double>& out) const override {
    m_log.record("source.get_min_slopes");
    out = {0.01};
  }
  mesh_metric get_mesh_metric() const override {
    m_log.record("source.get_mesh_metric");
    return mesh_metric{4, 0.75, true, false};
  }
  double get_xorig() const override { return log_value("source.get_xorig", origin.x); }
  double get_yorig() const override { return log_value("source.get_yorig", origin.y); }
  double get_zorig() const override { return log_value("source.get_zorig", origin.z); }
  long long get_max_iteration_count() const override {
    m_log.record("source.get_max_iteration_count");
    return 5000000000LL;  // needs all 64 bits
  }
  double get_epsilon() const override { return log_value("source.get_epsilon", 1e-7); }
  std::string get_hostcad_version() const override {
    m_log.record("source.get_hostcad_version");
    return "host 9";
  }
  bool is_ge_guid_valid() const override { return log_bool("source.is_ge_guid_valid"); }
  const std::string& guid_from_uid(const long long& uid) const override {
    m_log.record("source.guid_from_uid");
    return DataSource::guid_from_uid(uid);
  }

 private:
  bool log_bool(const char* call) const {
    m_log.record(call);
    return false;  // every bool default of DataSource but load is true
  }
  double log_value(const char* call, double value) const {
    m_log.record(call);
    return value;
  }
  void deliver(const std::string& getter, GradingElementType kind, Elements& e) const {
    m_log.record("source." + getter);
    container_arrived_filled |= !e.empty();
    const auto found = elements.find(kind);
    if (found != elements.end())
      e.insert(e.end(), found->second.begin(), found->second.end());
  }
  void deliver(const std::string& getter, GradingElementType kind, Elements& e, Lists& xs,
               Lists& ys) const {
    container_arrived_filled |= !xs.empty() || !ys.empty();
    deliver(getter, kind, e);
    const auto found = lists.find(kind);
    if (found == lists.end()) return;
    xs.insert(xs.end(), found->second.begin(), found->second.end());
    ys.insert(ys.end(), found->second.begin(), found->second.end());
  }

  CallLog& m_log;
};

// The per-kind getter that the wrapper reaches for each kind, and the setter that the
// store's dispatch reaches (none for Unclassified).
std::vector<std::string> element_calls(GradingElementType kind) {
  const std::string k = std::to_string(kind);
  const std::string dispatch = "store.set_grading_elements(" + k + ")";
  switch (kind) {
    case LowPoint: return {"source.get_low_points", dispatch, "store.set_low_points"};
    case BoundedPoint:
      return {"source.get_bounded_points", dispatch, "store.set_bounded_points"};
    case AlignedEdge:
      return {"source.get_aligned_edges", dispatch, "store.set_aligned_edges"};
    case Offset: return {"source.get_offsets", dispatch, "store.set_offsets"};
    case DrainLine: return {"source.get_drain_lines", dispatch, "store.set_drain_lines"};
    case SurfaceZone:
      return {"source.get_trizone_polygons", dispatch, "store.set_trizone_polygons"};
    case BendLine: return {"source.get_bend_lines", dispatch, "store.set_bend_lines"};
    case Unclassified: return {"source.get_unclassified", dispatch};
    default:
      return {"source.get_complex_elements(" + k + ")", dispatch,
              "store.set_complex_elements(" + k + ")"};
  }
}

// Every call of one transfer, in the order the transfer makes them.
std::vector<std::string> transfer_calls() {
  std::vector<std::string> calls = {
      "store.beginBulkOperation",
      "source.get_objectives",
      "store.set_objectives",
      "source.get_max_slope",
      "store.set_max_slope",
      "source.get_min_slope",
      "store.set_min_slope",
      "source.get_volume_constraint",
      "store.set_volume_constraint",
      "source.get_max_slopes",
      "store.set_max_slopes",
      "source.get_min_slopes",
      "store.set_min_slopes",
      "source.fix_boundary",
      "store.set_fix_boundary",
      "source.get_epsilon",
      "store.set_epsilon",
      "source.get_max_iteration_count",
      "store.set_max_iteration_count",
      "source.get_mesh_metric",
      "store.set_mesh_metric",
      "source.get_eg_data",
      "source.get_xorig",
      "store.get_xorig",
      "source.get_yorig",
      "store.get_yorig",
      "source.get_zorig",
      "store.get_zorig",
      "store.set_eg_data",
  };
  const std::vector<GradingElementType> kinds = {
      LowPoint,     BoundedPoint, AlignedEdge, Offset, DrainLine, SurfaceZone, BendLine,
      Unclassified, Curb,         BuildingPad, Pond,   RetWall,   Pathway};
  for (GradingElementType kind : kinds) {
    for (const std::string& call : element_calls(kind)) calls.push_back(call);
  }
  calls.push_back("store.endBulkOperation");
  return calls;
}

TEST(CopyFrom, MakesExactlyTheStepsOfTheTransferInOrder) {
  CallLog log;
  RecordingSource source(log);
  RecordingStore store(log);
  store.copyFrom(source);
  EXPECT_EQ(log.calls, transfer_calls());

  std::size_t dispatches = 0;
  for (const std::string& call : log.calls) {
    dispatches += call.rfind("store.set_grading_elements", 0) == 0;
  }
  EXPECT_EQ(dispatches, 13u);
}

TEST(CopyFrom, EachSettingReachesTheSetterOfItsStem) {
  CallLog log;
  RecordingSource source(log);
  RecordingStore store(log);
  store.copyFrom(source);
  EXPECT_EQ(store.objectives.size(), 2u);
  EXPECT_EQ(store.objectives[1].data[0], 7);
  EXPECT_EQ(store.max_slope, 0.41);
  EXPECT_EQ(store.min_slope, 0.012);
  EXPECT_EQ(store.volume_constraint, 3);
  EXPECT_EQ(store.max_slopes, (std::vector<double>{0.5, 0.25}));
  EXPECT_EQ(store.min_slopes, (std::vector<double>{0.01}));
  EXPECT_FALSE(store.fixed_boundary);
  EXPECT_EQ(store.epsilon, 1e-7);
  EXPECT_EQ(store.max_iteration_count, 5000000000LL);
  EXPECT_EQ(store.metric.kind, 4);
  EXPECT_EQ(store.metric.value, 0.75);
  EXPECT_TRUE(store.metric.flag_a);
  EXPECT_FALSE(store.metric.flag_b);
}

TEST(CopyFrom, BareSourceGivesAnEmptyProblemWithDefaultSettings) {
  gvk::DataSource bare;
  CallLog log;
  RecordingStore store(log, {5, 6, 7});
  store.copyFrom(bare);
  EXPECT_TRUE(store.objectives.empty() && store.max_slopes.empty());
  EXPECT_EQ(store.max_slope, 0.33);
  EXPECT_EQ(store.min_slope, 0.005);
  EXPECT_EQ(store.volume_constraint, Unconstrained);
  EXPECT_TRUE(store.fixed_boundary);
  EXPECT_EQ(store.epsilon, 0.0);
  EXPECT_EQ(store.max_iteration_count, 100000);
  EXPECT_EQ(store.metric.kind, gvk::default_mesh_metric().kind);
  EXPECT_TRUE(store.x.empty() && store.triangles.empty());
  // Twelve kinds reach a setter, each with an empty vector; Unclassified is dropped.
  EXPECT_EQ(store.elements.size(), 12u);
  for (const auto& kind : store.elements) EXPECT_TRUE(kind.second.empty());
}

TEST(CopyFrom, AnExceptionAnywhereStopsTheTransferWithTheBracketOpen) {
  const std::vector<std::string> all = transfer_calls();
  for (std::size_t at = 0; at < all.size(); ++at) {
    SCOPED_TRACE(all[at]);
    CallLog log;
    log.throw_at = all[at];
    RecordingSource source(log);
    RecordingStore store(log);
    EXPECT_THROW(store.copyFrom(source), std::runtime_error);
    // Nothing after the throwing call: no further getter, setter or closing bracket.
    const std::vector<std::string> made_so_far(all.begin(), all.begin() + at + 1);
    EXPECT_EQ(log.calls, made_so_far);
  }
}

TEST(CopyFrom, ElementContainersStartEmptyForEachKindButComplexDataIsKept) {
  CallLog log;
  RecordingSource source(log);
  for (GradingElementType kind : gvk::allElementTypes()) {
    source.elements[kind] = {element({1, 2, 3, 4, 5, 6}), element({7, 8, 9, 10, 11, 12})};
    source.lists[kind] = {{1.0, 2.0}, {3.0}};
  }
  RecordingStore store(log);
  store.copyFrom(source);
  EXPECT_FALSE(source.container_arrived_filled);
  EXPECT_EQ(source.complex_holder_sizes, (std::vector<std::size_t>{0, 1, 2, 3, 4}));
  for (const auto& kind : store.elements) {
    SCOPED_TRACE(kind.first);
    EXPECT_EQ(kind.second.size(), 2u);
  }
  EXPECT_EQ(store.elements.count(Unclassified), 0u);
}

TEST(CopyFrom, StoreOverridingTheDispatchReceivesEveryKindThroughIt) {
  struct OwnDispatchStore : RecordingStore {
    using RecordingStore::RecordingStore;
    std::vector<GradingElementType> kinds;
    void set_grading_elements(GradingElementType kind, const Elements&) override {
      kinds.push_back(kind);
    }
  };
  CallLog log;
  RecordingSource source(log);
  OwnDispatchStore store(log);
  store.copyFrom(source);
  EXPECT_EQ(store.kinds, gvk::allElementTypes());
  EXPECT_TRUE(store.elements.empty());
}

// A site in state-plane coordinates (x about 2,000,000, y about 500,000, millimetre
// detail) delivered with origin zero, and its elements of the coordinate-bearing kinds.
RecordingSource& fill_site(RecordingSource& source) {
  source.x = {2000123.457, 2000456.789, 2000300.001};
  source.y = {500987.654, 500321.098, 500654.321};
  source.z = {101.234, 99.876, 100.5};
  source.elements[LowPoint] = {element({2000200.125, 500500.375, 7, 8, 9, 10}, 1)};
  source.elements[BoundedPoint] = {
      element({2000210.5, 500510.25, 0.75, 101.5, 102.25, 4}, 2)};
  source.elements[Offset] = {
      element({1.5, 2000220.001, 500520.002, 2.5, 2000230.003, 500530.004}, 3)};
  source.elements[DrainLine] = {element({2000240.007, 500540.009, 100.1, 5, 6, 7}, 4)};
  source.lists[DrainLine] = {{2000240.007, 2000250.011}};
  return source;
}

// What a record of `kind` becomes when the offsets (dx, dy, dz) are added to its
// coordinate slots: the same double additions the transfer must make.
gravok_grading_element shifted(gravok_grading_element e, GradingElementType kind,
                               double dx, double dy, double dz) {
  double* l = e.location;
  if (kind == LowPoint || kind == BoundedPoint) {
    l[0] += dx;
    l[1] += dy;
  }
  if (kind == BoundedPoint) {
    l[3] += dz;
    l[4] += dz;
  }
  if (kind == Offset) {
    l[1] += dx;
    l[2] += dy;
    l[4] += dx;
    l[5] += dy;
  }
  return e;
}

void expect_moved(const RecordingStore& store, const RecordingSource& source, double dx,
                  double dy, double dz) {
  ASSERT_EQ(store.x.size(), source.x.size());
  for (std::size_t i = 0; i < source.x.size(); ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(store.x[i], source.x[i] + dx);
    EXPECT_EQ(store.y[i], source.y[i] + dy);
    EXPECT_EQ(store.z[i], source.z[i] + dz);
  }
  for (GradingElementType kind : {LowPoint, BoundedPoint, Offset, DrainLine}) {
    SCOPED_TRACE(kind);
    const gravok_grading_element expected =
        shifted(source.elements.at(kind)[0], kind, dx, dy, dz);
    EXPECT_TRUE(same_bytes(store.elements.at(kind), {expected}));
  }
}

TEST(CopyFrom, MovesStatePlaneCoordinatesIntoALocalOriginAndBack) {
  CallLog log;
  RecordingSource source(log);
  fill_site(source);
  const Origin local{2000150.0, 500075.0, 95.0};
  RecordingStore store(log, local);
  store.copyFrom(source);
  const double dx = 0.0 - local.x, dy = 0.0 - local.y, dz = 0.0 - local.z;
  expect_moved(store, source, dx, dy, dz);
  EXPECT_NEAR(store.x[0], -26.543, 1e-9);
  EXPECT_NEAR(store.y[0], 912.654, 1e-9);

  // Back into an absolute store: every value is the sum of the two additions, and
  // the millimetres survive the round trip.
  CallLog back_log;
  RecordingStore absolute(back_log);
  absolute.copyFrom(store);
  for (std::size_t i = 0; i < source.x.size(); ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(absolute.x[i], (source.x[i] + dx) + local.x);
    EXPECT_EQ(absolute.y[i], (source.y[i] + dy) + local.y);
    EXPECT_EQ(absolute.z[i], (source.z[i] + dz) + local.z);
    EXPECT_NEAR(absolute.x[i], source.x[i], 1e-6);
    EXPECT_NEAR(absolute.y[i], source.y[i], 1e-6);
  }
  const double* low = absolute.elements.at(LowPoint)[0].location;
  EXPECT_EQ(low[0], (2000200.125 + dx) + local.x);
  EXPECT_EQ(low[1], (500500.375 + dy) + local.y);
}

TEST(CopyFrom, AddsTheOriginDifferenceForEveryPairOfOrigins) {
  struct Case {
    Origin source, store;
  };
  const Case cases[] = {
      {{0, 0, 0}, {0, 0, 0}},  // equal origins: everything arrives unchanged
      {{1000, 2000, 10}, {0, 0, 0}},
      {{2000000.5, 499999.25, 12.125}, {1999000, 501000, 100}},
      {{-3.75, 1e6, -0.001}, {-3.75, 1e6, -0.001}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.source.x << " to " << c.store.x);
    CallLog log;
    RecordingSource source(log, c.source);
    fill_site(source);
    RecordingStore store(log, c.store);
    store.copyFrom(source);
    expect_moved(store, source, c.source.x - c.store.x, c.source.y - c.store.y,
                 c.source.z - c.store.z);
  }
}

TEST(CopyFrom, UsesTheOriginTheSourceReportsAfterDeliveringItsMesh) {
  CallLog log;
  RecordingSource source(log, {1, 1, 1});
  fill_site(source);
  source.moves_origin_with_mesh = true;
  source.origin_after_mesh = {300, 400, 5};
  RecordingStore store(log, {100, 100, 1});
  store.copyFrom(source);
  expect_moved(store, source, 200, 300, 4);
}

TEST(CopyFrom, NonFiniteOriginsFlowIntoTheCoordinates) {
  CallLog log;
  RecordingSource source(log, {std::nan(""), 0, 0});
  fill_site(source);
  RecordingStore store(log, {0, HUGE_VAL, 0});
  store.copyFrom(source);
  EXPECT_TRUE(std::isnan(store.x[0]));
  EXPECT_EQ(store.y[0], -HUGE_VAL);
  EXPECT_EQ(store.z[0], source.z[0]);
}

}  // namespace
