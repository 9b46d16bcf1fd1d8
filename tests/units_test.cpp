#include <gravok/data_source.h>
#include <gravok/units.h>

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <typeinfo>
#include <utility>

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

TEST(KnownUnit, FactorsAreTheTrueRatiosInTheStatedDirection) {
  struct Case {
    std::int32_t from;
    std::int32_t to;
    int power;
    double factor;
  };
  const Case cases[] = {
      {4, 2, 1, 0.3048},
      {7, 2, 1, 1200.0 / 3937.0},
      {5, 2, 1, 0.9144},
      {6, 2, 1, 1609.344},
      {2, 0, 1, 1000},
      {0, 2, 1, 0.001},
      {3, 1, 1, 100000},
      {4, 7, 1, 0.999998},
      {6, 4, 1, 5280},
      {4, 2, 2, 0.09290304},
      {6, 3, 2, 2.589988110336},
      {5, 4, 2, 9},
      {4, 2, 3, 0.028316846592},
      {2, 1, 3, 1e6},
      {6, 0, 3, 4168181825440579584.0},
      {9, 2, 1, 1},
      {2, 9, 3, 1},
      {42, 4, 2, 1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.from << " -> " << c.to << " ^" << c.power);
    EXPECT_DOUBLE_EQ(gvk::unit_conversion_factor(c.from, c.to, c.power), c.factor);
  }
  // The unit's own list says the same: a foot times conversions[2] is meters.
  EXPECT_EQ(gvk::Known<1>(4).conversions[2](), 0.3048);
  EXPECT_TRUE(std::isnan(gvk::unit_conversion_factor(4, 2, 4)));
}

TEST(KnownUnit, ConvertsThereAndBack) {
  for (std::int32_t a = 0; a < 8; ++a) {
    for (std::int32_t b = 0; b < 8; ++b) {
      SCOPED_TRACE(testing::Message() << a << " <-> " << b);
      const gvk::Known<3> from(a), to(b);
      EXPECT_DOUBLE_EQ(gvk::convert(gvk::convert(123.456, from, to), to, from), 123.456);
    }
  }
}

TEST(KnownUnit, ArcsecondConvertsOnlyToItself) {
  const gvk::Known<1> arcsecond(8), meter(2);
  EXPECT_EQ(arcsecond.name, "arcsecond");
  EXPECT_EQ(gvk::convert(5.0, arcsecond, arcsecond), 5.0);
  EXPECT_TRUE(std::isnan(gvk::convert(5.0, arcsecond, meter)));
  EXPECT_TRUE(std::isnan(gvk::convert(5.0, meter, arcsecond)));
  EXPECT_EQ(gvk::convert(5.0, gvk::Unknown<1>(), arcsecond), 5.0);
}

TEST(KnownUnit, OutOfRangeIdIsTheUnknownUnit) {
  expect_unknown(gvk::Known<2>(42));
  expect_unknown(gvk::Known<3>(-1));
  expect_unknown(gvk::Known<1>(9));
  // Without factors a unit counts as unknown: the number stays.
  EXPECT_EQ(gvk::convert(7.0, gvk::Unit<1>(), gvk::Known<1>(0)), 7.0);
}

TEST(FindUnit, ByNameAbbreviationAndDocumentedSpellings) {
  struct Case {
    const char* text;
    int power;
    std::int32_t type;  // -1: not found
  };
  const Case cases[] = {
      {"meter", 1, 2},
      {"m", 1, 2},
      {"  Meter\t", 1, 2},
      {"FT us", 1, 7},
      {"ft  US", 1, -1},
      {"arc sec", 1, 8},
      {"metres", 1, 2},
      {"feet", 1, 4},
      {"US Survey Feet", 1, 7},
      {"unknown", 2, 9},
      {"", 1, -1},
      {"   ", 1, -1},
      {"furlong", 1, -1},
      {"m2", 2, 2},
      {"m2", 1, -1},
      {"m2", 3, -1},
      {"ft\xC2\xB3", 3, 4},
      {"km", 3, 3},
      {"mile", 0, -1},
      // LandXML's names, in its own spelling.
      {"USSurveyFoot", 1, 7},
      {"squareUSSurveyFoot", 2, 7},
      {"cubicYard", 3, 5},
      {"cubicFeet", 3, 4},
      {"squareMiles", 2, 6},
      {"squareMeter", 2, 2},
      {"cubicYard", 2, -1},
      {"squareMeter", 1, -1},
      {"squareunknown", 2, -1},
      {"square", 2, -1},
      {"cubicm", 3, -1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << '"' << c.text << "\" ^" << c.power);
    EXPECT_EQ(gvk::find_unit_type(c.text, c.power), c.type);
  }
  // Every plural and British spelling names the unit its American singular names.
  const std::pair<const char*, const char*> spellings[] = {
      {"millimeters", "millimeter"},
      {"millimetre", "millimeter"},
      {"millimetres", "millimeter"},
      {"centimeters", "centimeter"},
      {"centimetre", "centimeter"},
      {"centimetres", "centimeter"},
      {"meters", "meter"},
      {"metre", "meter"},
      {"metres", "meter"},
      {"kilometers", "kilometer"},
      {"kilometre", "kilometer"},
      {"kilometres", "kilometer"},
      {"feet", "foot"},
      {"yards", "yard"},
      {"miles", "mile"},
      {"surveyfeet", "surveyfoot"},
      {"survey foot", "surveyfoot"},
      {"survey feet", "surveyfoot"},
      {"us survey foot", "surveyfoot"},
      {"us survey feet", "surveyfoot"},
      {"ussurveyfoot", "surveyfoot"},
      {"ussurveyfeet", "surveyfoot"},
      {"arcseconds", "arcsecond"},
  };
  for (const auto& [spelling, name] : spellings) {
    SCOPED_TRACE(spelling);
    EXPECT_NE(gvk::find_unit_type(name, 1), -1);
    EXPECT_EQ(gvk::find_unit_type(spelling, 1), gvk::find_unit_type(name, 1));
  }
  gvk::Unit<2> area;
  ASSERT_TRUE(gvk::find_unit("yd2", area));
  EXPECT_EQ(area.type, 5);
  EXPECT_EQ(area.name, "yard");
  EXPECT_DOUBLE_EQ(area.conversions[4](), 9);
  EXPECT_EQ(typeid(area), typeid(gvk::Unit<2>));
  EXPECT_FALSE(gvk::find_unit("parsec", area));
  EXPECT_EQ(area.type, 5);  // unchanged
}

}  // namespace
