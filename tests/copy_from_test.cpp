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

// A recorder that also keeps what the complete transfer hands over beside copyFrom's
// calls, and answers units of its own, so that units that reach the store show.
class CompleteRecorder : public Recorder {
 public:
  using Recorder::Recorder;

  void get_linear_unit(gvk::Unit<1>& unit) const override { unit.type = 2; }
  void get_area_unit(gvk::Unit<2>& unit) const override { unit.type = 5; }
  void get_volume_unit(gvk::Unit<3>& unit) const override { unit.type = 7; }

  void set_transferred_units(const gvk::Unit<1>& linear, const gvk::Unit<2>& area,
                             const gvk::Unit<3>& volume) override {
    unit_types = {linear.type, area.type, volume.type};
  }
  void set_transferred_break_lines(const std::vector<gravok_line_3d>& lines) override {
    break_lines = lines;
  }
  void set_transferred_grading_elements(GradingElementType kind, const Elements& in,
                                        const gvk_test::Lists& xs,
                                        const gvk_test::Lists& ys,
                                        const ComplexElementData& data) override {
    received_kinds.push_back(kind);
    elements[kind] = in;
    received_xs[kind] = xs;
    received_ys[kind] = ys;
    received_complex[kind] = data.int_lists;
  }
  void set_hostcad_version(const std::string& version) override {
    host_version = version;
  }

  std::array<std::int32_t, 3> unit_types{};
  std::string host_version;
  std::vector<GradingElementType> received_kinds;
  std::map<GradingElementType, gvk_test::Lists> received_xs, received_ys;
  std::map<GradingElementType, std::vector<std::vector<std::int32_t>>> received_complex;
};

// The store's side of a call log.
std::vector<std::string> store_calls(const CallLog& log) {
  std::vector<std::string> calls;
  for (const std::string& call : log.calls) {
    if (call.rfind("store.", 0) == 0) calls.push_back(call);
  }
  return calls;
}

TEST(CopyAllFrom, AStoreWrittenForCopyFromReceivesCopyFromsCallsAndData) {
  for (const bool parking_lot : {false, true}) {
    SCOPED_TRACE(parking_lot ? "with a parking lot" : "without a parking lot");
    CallLog records_log, complete_log;
    Recorder source(records_log, "source", {1000, 2000, 10});
    fill_site(source);
    source.break_lines = {{1, 2, 3, 4, 5, 6}};
    if (parking_lot) source.elements[ParkingLot] = {record({1, 2, 3, 4, 5, 6})};
    Recorder by_records(records_log, "store"), by_complete(complete_log, "store");
    by_records.copyFrom(source);
    std::vector<std::string> expected = store_calls(records_log);
    if (parking_lot) {
      expected.insert(expected.end() - 1, {"store.set_grading_elements(103)",
                                           "store.set_complex_elements(103)"});
    }
    by_complete.copyAllFrom(source);  // the source keeps logging into records_log

    EXPECT_EQ(store_calls(complete_log), expected);
    expect_moved(by_complete, source, {1000, 2000, 10});
    EXPECT_TRUE(by_complete.break_lines.empty());
  }
}

TEST(CopyAllFrom, HandsOverUnitsVersionBreakLinesAndEveryKindsGeometryShifted) {
  CallLog log;
  CompleteRecorder source(log, "source", {2000000.5, 499999.25, 12.125});
  fill_site(source);
  source.break_lines = {{2000001.1, 500002.2, 101.3, 2000004.4, 500005.5, 99.6}};
  for (const GradingElementType kind : gvk::allElementTypes()) {
    source.elements[kind] = {record({2000100.5, 500100.25, 1, 2, 3, 4})};
    source.lists[kind] = {{2000100.125, 2000101.375}, {}, {-0.5}};
  }
  source.elements[ParkingLot] = {record({7, 7, 7, 7, 7, 7})};
  source.lists[ParkingLot] = {{2000200.75}};
  CompleteRecorder store(log, "store", {1999000, 501000, 100});
  store.copyAllFrom(source);
  const std::array<double, 3> d = {1000.5, -1000.75, -87.875};

  EXPECT_EQ(store.unit_types, (std::array<std::int32_t, 3>{2, 5, 7}));
  EXPECT_EQ(store.host_version, "host 9");
  const gravok_line_3d& from = source.break_lines[0];
  const gravok_line_3d shifted = {from.x1 + d[0], from.y1 + d[1], from.z1 + d[2],
                                  from.x2 + d[0], from.y2 + d[1], from.z2 + d[2]};
  EXPECT_TRUE(same_bytes(store.break_lines, std::vector<gravok_line_3d>{shifted}));

  std::vector<GradingElementType> kinds = gvk::allElementTypes();
  kinds.push_back(ParkingLot);
  EXPECT_EQ(store.received_kinds, kinds);
  for (const GradingElementType kind : kinds) {
    SCOPED_TRACE(kind);
    // The point kinds have no lists: their getters deliver records only.
    const bool points = kind == LowPoint || kind == BoundedPoint || kind == Offset;
    gvk_test::Lists xs = points ? gvk_test::Lists{} : source.lists.at(kind), ys = xs;
    for (auto& list : xs) list = plus(list, d[0]);
    for (auto& list : ys) list = plus(list, d[1]);
    ASSERT_EQ(store.received_xs.at(kind).size(), xs.size());
    for (std::size_t i = 0; i < xs.size(); ++i) {
      EXPECT_TRUE(same_bytes(store.received_xs.at(kind)[i], xs[i]));
      EXPECT_TRUE(same_bytes(store.received_ys.at(kind)[i], ys[i]));
    }
    // Each complex kind sees a holder of its own, as the source filled it.
    const bool complex = kind >= 100;
    EXPECT_EQ(store.received_complex.at(kind),
              complex ? std::vector<std::vector<std::int32_t>>{{kind}}
                      : std::vector<std::vector<std::int32_t>>{});
  }
  EXPECT_EQ(source.complex_holder_sizes, std::vector<std::size_t>(6, 0));
  EXPECT_FALSE(source.filled_on_arrival);
}

TEST(CopyAllFrom, AnExceptionAnywhereStopsTheTransferWithTheBracketOpen) {
  CallLog complete;
  {
    Recorder source(complete, "source");
    Recorder store(complete, "store");
    store.copyAllFrom(source);
  }
  for (std::size_t at = 0; at < complete.calls.size(); ++at) {
    SCOPED_TRACE(complete.calls[at]);
    CallLog log;
    log.throw_at = complete.calls[at];
    Recorder source(log, "source");
    Recorder store(log, "store");
    EXPECT_THROW(store.copyAllFrom(source), std::runtime_error);
    EXPECT_EQ(log.calls, std::vector<std::string>(complete.calls.begin(),
                                                  complete.calls.begin() + at + 1));
  }
  EXPECT_EQ(complete.calls.back(), "store.endBulkOperation");
}

}  // namespace
