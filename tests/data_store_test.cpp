#include <gravok/data_store.h>

#include "recording_store.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <vector>

namespace {

using gvk_test::CallLog;
using gvk_test::Elements;
using gvk_test::RecordingStore;

// Calls the library's own dispatch, bypassing the store's logging of the call itself.
void dispatch(RecordingStore& store, std::int32_t kind, const Elements& elements) {
  store.gvk::DataStore::set_grading_elements(static_cast<GradingElementType>(kind),
                                             elements);
}

TEST(DataStoreDispatch, RoutesEachKindToItsSetterWithTheSameVector) {
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
      {105, {"store.set_complex_elements(105)"}},
      {106, {"store.set_complex_elements(106)"}},
      {1000, {"store.set_complex_elements(1000)"}},
      {INT32_MAX, {"store.set_complex_elements(" + std::to_string(INT32_MAX) + ")"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.kind);
    CallLog log;
    RecordingStore store(log);
    const Elements elements(2);
    dispatch(store, c.kind, elements);
    EXPECT_EQ(log.calls, c.calls);
    const GradingElementType kind = static_cast<GradingElementType>(c.kind);
    EXPECT_EQ(store.handed[kind], &elements);
    EXPECT_EQ(store.elements[kind].size(), 2u);
  }
}

TEST(DataStoreDispatch, DropsKindsWithoutSetterSilently) {
  for (std::int32_t kind : {7, 8, 50, 99, -1, -100, INT32_MIN}) {
    SCOPED_TRACE(kind);
    CallLog log;
    RecordingStore store(log);
    dispatch(store, kind, Elements(1));
    EXPECT_TRUE(log.calls.empty());
    EXPECT_TRUE(store.elements.empty());
  }
}

TEST(DataStoreDispatch, HandsOnAnEmptyVector) {
  CallLog log;
  RecordingStore store(log);
  const Elements none;
  dispatch(store, SurfaceZone, none);
  dispatch(store, Pond, none);
  EXPECT_EQ(log.calls, (std::vector<std::string>{"store.set_trizone_polygons",
                                                 "store.set_complex_elements(102)"}));
  EXPECT_EQ(store.handed[SurfaceZone], &none);
}

TEST(DataStoreDispatch, SetterExceptionPassesThrough) {
  CallLog log;
  log.throw_at = "store.set_offsets";
  RecordingStore store(log);
  EXPECT_THROW(dispatch(store, Offset, Elements(1)), std::runtime_error);
}

}  // namespace
