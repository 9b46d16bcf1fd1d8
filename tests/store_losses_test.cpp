#include <gravok/data_store.h>
#include <gravok/store_losses.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

std::vector<std::pair<std::string, unsigned long long>> listed(const gvk::LossTally& t) {
  std::vector<std::pair<std::string, unsigned long long>> out;
  for (const gvk::StoreLoss& loss : t.losses()) out.emplace_back(loss.what, loss.count);
  return out;
}

// A later count replaces an earlier one of the same words (a setter called again
// replaces what it set), 0 removes the entry, and the order is that of first losses.
TEST(LossTally, KeepsOneCountPerKindInTheOrderFirstLost) {
  struct Step {
    std::string what;
    unsigned long long count;
    std::vector<std::pair<std::string, unsigned long long>> after;
  };
  const Step steps[] = {
      {"objectives", 0, {}},
      {"objectives", 3, {{"objectives", 3}}},
      {"settings (max slope)", 1, {{"objectives", 3}, {"settings (max slope)", 1}}},
      {"objectives", 2, {{"objectives", 2}, {"settings (max slope)", 1}}},
      {"objectives", 0, {{"settings (max slope)", 1}}},
      {"objectives", 5, {{"settings (max slope)", 1}, {"objectives", 5}}},
      {"Objectives",
       1,
       {{"settings (max slope)", 1}, {"objectives", 5}, {"Objectives", 1}}},
  };
  gvk::LossTally tally;
  for (const Step& step : steps) {
    SCOPED_TRACE(step.what + " " + std::to_string(step.count));
    tally.set(step.what, step.count);
    EXPECT_EQ(listed(tally), step.after);
  }
}

// A host finds the interface beside the store interface through dynamic_cast; a
// store without it is simply not one.
struct LossyStore : gvk::DataSource, gvk::DeclaresLosses {
  std::vector<gvk::StoreLoss> losses() const override { return {{"objectives", 2}}; }
};

TEST(DeclaresLosses, IsFoundBesideTheStoreInterfaceByDynamicCast) {
  const std::unique_ptr<gvk::DataSource> lossy = std::make_unique<LossyStore>();
  const std::unique_ptr<gvk::DataSource> plain = std::make_unique<gvk::DataSource>();
  const auto* declares = dynamic_cast<const gvk::DeclaresLosses*>(lossy.get());
  ASSERT_NE(declares, nullptr);
  EXPECT_EQ(declares->losses().at(0).count, 2u);
  EXPECT_EQ(dynamic_cast<const gvk::DeclaresLosses*>(plain.get()), nullptr);
}

}  // namespace
