#include <gravok/data_store.h>
#include <gravok/element_types.h>

#include "recording_store.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

namespace {

using gvk_test::CallLog;
using gvk_test::Elements;
using gvk_test::Origin;
using gvk_test::record;
using gvk_test::Recorder;

template <class T>
bool same_bytes(const std::vector<T>& a, const std::vector<T>& b) {
  return a.size() == b.size() &&
         (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof a[0]) == 0);
}

std::vector<double> plus(std::vector<double> values, double offset) {
  for (double& value : values) value += offset;
  return values;
}

// A site in state-plane coordinates (x about 2,000,000, y about 500,000, millimetre
// detail) with one record of each kind below.
void fill_site(Recorder& source) {
  source.x = {2000123.457, 2000456.789, 2000300.001};
  source.y = {500987.654, 500321.098, 500654.321};
  source.z = {101.234, 99.876, 100.5};
  source.triangles = {{0, 1, 2}};
  source.triangle_info = {gravok_triangle_info{{42}}};
  source.elements[LowPoint] = {record({2000200.125, 500500.375, 7, 8, 9, 10})};
  source.elements[BoundedPoint] = {
      record({2000210.5, 500510.25, 0.75, 101.5, 102.25, 4})};
  source.elements[Offset] = {
      record({1.5, 2000220.001, 500520.002, 2.5, 2000230.003, 500530.004})};
  source.elements[DrainLine] = {record({2000240.007, 500540.009, 100.1, 5, 6, 7})};
  source.lists[DrainLine] = {{2000240.007, 2000250.011}};
}

// Every call of one transfer, in the order the transfer makes them.
std::vector<std::string> transfer_calls() {
  std::vector<std::string> calls = {"store.beginBulkOperation"};
  // Each setting: the source's getter, then the store's setter of the same stem.
  for (const std::string getter :
       {"get_objectives", "get_max_slope", "get_min_slope", "get_volume_constraint",
        "get_max_slopes", "get_min_slopes", "fix_boundary", "get_epsilon",
        "get_max_iteration_count", "get_mesh_metric"}) {
    calls.push_back("source." + getter);
    calls.push_back("store.set_" + getter.substr(getter.rfind("get_", 0) == 0 ? 4 : 0));
  }
  calls.insert(calls.end(), {"source.get_eg_data", "source.get_xorig", "store.get_xorig",
                             "source.get_yorig", "store.get_yorig", "source.get_zorig",
                             "store.get_zorig", "store.set_eg_data"});
  // Each kind in catalogue order: the source's getter (reached through the offset
  // wrapper), the store's dispatch, and the setter it reaches (none for Unclassified).
  const std::pair<GradingElementType, std::string> kinds[] = {
      {LowPoint, "low_points"},          {BoundedPoint, "bounded_points"},
      {AlignedEdge, "aligned_edges"},    {Offset, "offsets"},
      {DrainLine, "drain_lines"},        {SurfaceZone, "trizone_polygons"},
      {BendLine, "bend_lines"},          {Unclassified, "unclassified"},
      {Curb, "complex_elements(100)"},   {BuildingPad, "complex_elements(101)"},
      {Pond, "complex_elements(102)"},   {RetWall, "complex_elements(104)"},
      {Pathway, "complex_elements(105)"}};
  for (const auto& [kind, stem] : kinds) {
    calls.push_back("source.get_" + stem);
    calls.push_back("store.set_grading_elements(" + std::to_string(kind) + ")");
    if (kind != Unclassified) calls.push_back("store.set_" + stem);
  }
  calls.push_back("store.endBulkOperation");
  return calls;
}

TEST(CopyFrom, MakesExactlyTheStepsOfTheTransferInOrder) {
  CallLog log;
  Recorder source(log, "source");
  fill_site(source);
  Recorder store(log, "store");
  store.copyFrom(source);
  EXPECT_EQ(log.calls, transfer_calls());
  // Each kind's getter receives empty containers, but one complex-data holder serves
  // every complex kind.
  EXPECT_FALSE(source.filled_on_arrival);
  EXPECT_EQ(source.complex_holder_sizes, (std::vector<std::size_t>{0, 1, 2, 3, 4}));
  const auto dispatch = [](const std::string& call) {
    return call.rfind("store.set_grading_elements", 0) == 0;
  };
  EXPECT_EQ(std::count_if(log.calls.begin(), log.calls.end(), dispatch), 13);
}

TEST(CopyFrom, AnExceptionAnywhereStopsTheTransferWithTheBracketOpen) {
  const std::vector<std::string> all = transfer_calls();
  for (std::size_t at = 0; at < all.size(); ++at) {
    SCOPED_TRACE(all[at]);
    CallLog log;
    log.throw_at = all[at];
    Recorder source(log, "source");
    Recorder store(log, "store");
    EXPECT_THROW(store.copyFrom(source), std::runtime_error);
    // Nothing after the throwing call: no further getter, setter or closing bracket.
    EXPECT_EQ(log.calls, std::vector<std::string>(all.begin(), all.begin() + at + 1));
  }
}

// Every setting that `source` answers, on one line.
std::string settings(gvk::DataSource& source) {
  std::vector<gravok_objective> objectives;
  std::vector<double> max_slopes, min_slopes;
  source.get_objectives(objectives);
  source.get_max_slopes(max_slopes);
  source.get_min_slopes(min_slopes);
  const mesh_metric m = source.get_mesh_metric();
  return testing::PrintToString(std::make_tuple(
      objectives, source.get_max_slope(), source.get_min_slope(),
      source.get_volume_constraint(), max_slopes, min_slopes, source.fix_boundary(),
      source.get_epsilon(), source.get_max_iteration_count(), m.kind, m.value, m.flag_a,
      m.flag_b));
}

TEST(CopyFrom, HandsEachSettingToTheSetterOfItsStem) {
  CallLog log;
  Recorder store(log, "store");
  gvk::DataSource bare;  // DataSource's defaults
  store.copyFrom(bare);
  EXPECT_EQ(settings(store), settings(bare));
  Recorder source(log, "source");  // a distinct value for every setting
  store.copyFrom(source);
  EXPECT_EQ(settings(store), settings(source));
}

// The offset (0 x, 1 y, 2 z; -1 none) that each location slot of a kind's records
// grows by: the coordinates of drain lines travel in xs and ys, not in the record.
const std::map<GradingElementType, std::array<int, 6>> kSlotAxes = {
    {LowPoint, {0, 1, -1, -1, -1, -1}},
    {BoundedPoint, {0, 1, -1, 2, 2, -1}},
    {Offset, {-1, 0, 1, -1, 0, 1}},
    {DrainLine, {-1, -1, -1, -1, -1, -1}}};

// Expects `store` to hold what `source` delivers with the offsets `d` added, bit for
// bit: the same double additions that the transfer must make.
void expect_moved(const Recorder& store, const Recorder& source,
                  const std::array<double, 3>& d) {
  EXPECT_TRUE(same_bytes(store.x, plus(source.x, d[0])));
  EXPECT_TRUE(same_bytes(store.y, plus(source.y, d[1])));
  EXPECT_TRUE(same_bytes(store.z, plus(source.z, d[2])));
  EXPECT_EQ(store.triangles, source.triangles);
  EXPECT_TRUE(same_bytes(store.triangle_info, source.triangle_info));
  for (const auto& [kind, axes] : kSlotAxes) {
    SCOPED_TRACE(kind);
    Elements expected = source.elements.at(kind);
    for (int i = 0; i < 6; ++i) {
      if (axes[i] >= 0) expected[0].location[i] += d[axes[i]];
    }
    EXPECT_TRUE(same_bytes(store.elements.at(kind), expected));
  }
}

TEST(CopyFrom, AddsTheOriginDifferenceBitForBitIntoTheStoreAndBack) {
  struct Case {
    Origin source, store;
    std::optional<Origin> after_mesh;  // the source's origin once its mesh is read
  };
  const Case cases[] = {
      {{0, 0, 0}, {2000150.0, 500075.0, 95.0}, {}},  // state-plane site, local project
      {{0, 0, 0}, {0, 0, 0}, {}},  // equal origins: everything arrives unchanged
      {{1000, 2000, 10}, {0, 0, 0}, {}},
      {{2000000.5, 499999.25, 12.125}, {1999000, 501000, 100}, {}},
      {{-3.75, 1e6, -0.001}, {-3.75, 1e6, -0.001}, {}},
      {{1, 1, 1}, {100, 100, 1}, Origin{300, 400, 5}},
      {{std::nan(""), 0, 0}, {0, HUGE_VAL, 0}, {}},  // non-finite origins flow through
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << "case " << &c - cases);
    CallLog log;
    Recorder source(log, "source", c.source);
    fill_site(source);
    source.origin_after_mesh = c.after_mesh;
    Recorder store(log, "store", c.store);
    store.copyFrom(source);
    const Origin o = c.after_mesh.value_or(c.source);
    expect_moved(store, source, {o.x - c.store.x, o.y - c.store.y, o.z - c.store.z});

    Recorder back(log, "store", o);
    back.copyFrom(store);
    expect_moved(back, store, {c.store.x - o.x, c.store.y - o.y, c.store.z - o.z});
  }
}

}  // namespace
