// Runs in a process of its own, so that the calls below are the first calls of
// set_grading_elements in the process and race to fill the kind table.
#include <gravok/data_store.h>

#include "recording_store.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace {

using gvk_test::CallLog;
using gvk_test::Elements;
using gvk_test::Recorder;

TEST(DataStoreDispatchThreads, ConcurrentFirstCallsAllReachTheirSetter) {
  const std::vector<std::string> setters = {
      "store.set_low_points", "store.set_bounded_points", "store.set_aligned_edges",
      "store.set_offsets",    "store.set_drain_lines",    "store.set_trizone_polygons",
      "store.set_bend_lines"};
  constexpr int kThreads = 8;
  std::vector<CallLog> logs(kThreads);
  std::atomic<int> ready{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      Recorder store(logs[t], "store");
      const Elements elements(1);
      ready.fetch_add(1);
      while (ready.load() < kThreads) std::this_thread::yield();
      store.DataStore::set_grading_elements(static_cast<GradingElementType>(t % 7),
                                            elements);
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (int t = 0; t < kThreads; ++t) {
    SCOPED_TRACE(t);
    EXPECT_EQ(logs[t].calls, std::vector<std::string>{setters[t % 7]});
  }
}

}  // namespace
