#include <gravok/data_source.h>
#include <gravok/units.h>

#include <gtest/gtest.h>

#include <string>
#include <typeinfo>

namespace {

template <int N>
void expect_unknown(const gvk::Unit<N>& unit) {
  EXPECT_EQ(unit.type, 9);
  EXPECT_EQ(unit.qualifier, 0);
  EXPECT_EQ(unit.name, "unknown");
  EXPECT_EQ(unit.abbreviation, "");
  ASSERT_EQ(unit.conversions.size(), 9u);
  for (const auto& factor : unit.conversions) EXPECT_EQ(factor(), 1.0);
}

TEST(Unit, DefaultConstructedIsAnEmptyUnknownTarget) {
  const gvk::Unit<2> unit;
  EXPECT_EQ(unit.type, 9);
  EXPECT_EQ(unit.qualifier, 0);
  EXPECT_TRUE(unit.conversions.empty());
  EXPECT_EQ(unit.name, "unknown");
  EXPECT_EQ(unit.abbreviation, "");
}

TEST(Unit, UnknownHasNineUnitFactors) {
  expect_unknown(gvk::Unknown<1>());
  expect_unknown(gvk::Unknown<2>());
  expect_unknown(gvk::Unknown<3>());
}

TEST(Unit, SourceDefaultsAssignUnknownIntoCallersUnits) {
  const gvk::DataSource source;
  gvk::Unit<1> linear;
  linear.type = 2;
  linear.qualifier = 7;
  linear.name = "meter";
  linear.abbreviation = "m";
  linear.conversions.assign(3, [] { return 2.5; });
  gvk::Unit<2> area;
  gvk::Unit<3> volume;
  source.get_linear_unit(linear);
  source.get_area_unit(area);
  source.get_volume_unit(volume);
  expect_unknown(linear);
  expect_unknown(area);
  expect_unknown(volume);
  EXPECT_EQ(typeid(linear), typeid(gvk::Unit<1>));  // assignment keeps the class
}

TEST(UnitNames, TableByTypeId) {
  struct Case {
    std::int32_t type;
    const char* name;
    const char* abbreviation;
  };
  const Case cases[] = {
      {0, "millimeter", "mm"}, {1, "centimeter", "cm"},    {2, "meter", "m"},
      {3, "kilometer", "km"},  {4, "foot", "ft"},          {5, "yard", "yd"},
      {6, "mile", "mi"},       {7, "surveyfoot", "ft US"}, {8, "arcsecond", "arc sec"},
      {9, "unknown", ""},      {10, "unknown", ""},        {-1, "unknown", ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.type);
    EXPECT_EQ(gvk::unit_name(c.type), c.name);
    EXPECT_EQ(gvk::unit_abbreviation(c.type), c.abbreviation);
  }
}

}  // namespace
