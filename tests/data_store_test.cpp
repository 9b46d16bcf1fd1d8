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
    std::string setter;  // "" when no setter is called
  };
  // 103 (ParkingLot) is never moved by copyFrom but is routed all the same; kinds
  // without a setter reach none: Unclassified, 8 to 99 and negative kinds.
  const Case cases[] = {{0, "set_low_points"},
                        {1, "set_bounded_points"},
                        {2, "set_aligned_edges"},
                        {3, "set_offsets"},
                        {4, "set_drain_lines"},
                        {5, "set_trizone_polygons"},
                        {6, "set_bend_lines"},
                        {100, "set_complex_elements(100)"},
                        {103, "set_complex_elements(103)"},
                        {1000, "set_complex_elements(1000)"},
                        {INT32_MAX, "set_complex_elements(2147483647)"},
                        {7, ""},
                        {8, ""},
                        {99, ""},
                        {-1, ""},
                        {INT32_MIN, ""}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.kind);
    CallLog log;
    Recorder store(log, "store");
    const GradingElementType kind = static_cast<GradingElementType>(c.kind);
    const Elements none;  // an empty vector is handed on like any other
    store.gvk::DataStore::set_grading_elements(kind, none);
    if (c.setter.empty()) {
      EXPECT_TRUE(log.calls.empty());
    } else {
      EXPECT_EQ(log.calls, std::vector<std::string>{"store." + c.setter});
      EXPECT_EQ(store.handed[kind], &none);
    }
  }
}

}  // namespace
