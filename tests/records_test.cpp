#include <gravok/element_types.h>
#include <gravok/records.h>

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace {

gravok_grading_element patterned_element(unsigned char seed) {
  gravok_grading_element element;
  unsigned char* bytes = reinterpret_cast<unsigned char*>(&element);
  for (std::size_t i = 0; i < sizeof element; ++i) {
    bytes[i] = static_cast<unsigned char>(seed + i * 7);
  }
  return element;
}

TEST(ElementRecord, CopiesThroughContainersByteForByte) {
  const gravok_grading_element original = patterned_element(3);
  std::vector<gravok_grading_element> elements(5, original);
  std::vector<gravok_grading_element> copied = elements;
  copied.insert(copied.begin(), original);
  for (const gravok_grading_element& element : copied) {
    EXPECT_EQ(std::memcmp(&element, &original, sizeof original), 0);
  }
}

TEST(ElementRecord, InitgeClearsEveryByte) {
  gravok_grading_element element = patterned_element(11);
  gvk::initge(element);
  const gravok_grading_element zero{};
  EXPECT_EQ(std::memcmp(&element, &zero, sizeof zero), 0);
  for (double slot : element.location) EXPECT_EQ(slot, 0.0);
}

}  // namespace
