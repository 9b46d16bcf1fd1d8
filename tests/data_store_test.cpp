#include <gravok/data_store.h>

#include "recording_store.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <vector>

namespace {

using gvk_test::CallLog;
using gvk_test::Elements;
using gvk_test::Recorder;

TEST(DataStoreDispatch, RoutesEachKindToItsSetterWithTheSameVectorOrDropsIt) {
  struct Case {
    std::int32_t kind;
    std::vector<std::string> calls;
  };
  const Case cases[] = {
      {0, {"store.set_low_points"}},
      {1, {"store.set_bounded_points"}},
      {2, {"store.set_aligned_edges"}},
      {3, {"store.set_offsets"}},
      {4, {"store.set_drain_lines"}},
      {5, {"store.set_trizone_polygons"}},
      {6, {"store.set_bend_lines"}},
      {100, {"store.set_complex_elements(100)"}},
      {103, {"store.set_complex_elements(103)"}},  // not moved by copyFrom, still routed
      {1000, {"store.set_complex_elements(1000)"}},
      {INT32_MAX, {"store.set_complex_elements(" + std::to_string(INT32_MAX) + ")"}},
      // Kinds without a setter reach none: Unclassified, 8 to 99, negative kinds.
      {7, {}},
      {8, {}},
      {99, {}},
      {-1, {}},
      {INT32_MIN, {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.kind);
    CallLog log;
    Recorder store(log, "store");
    const GradingElementType kind = static_cast<GradingElementType>(c.kind);
    const Elements none;  // an empty vector is handed on like any other
    store.gvk::DataStore::set_grading_elements(kind, none);
    EXPECT_EQ(log.calls, c.calls);
    if (!c.calls.empty()) {
      EXPECT_EQ(store.handed[kind], &none);
    }
  }
}

}  // namespace
