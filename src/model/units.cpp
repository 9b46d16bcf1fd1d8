#include <gravok/units.h>

namespace gvk {
namespace {

struct UnitNames {
  std::string name;
  std::string abbreviation;
};

// Indexed by type id; the unknown unit (9) is also the answer for any other id.
const UnitNames kUnitNames[] = {
    {"millimeter", "mm"}, {"centimeter", "cm"},    {"meter", "m"},
    {"kilometer", "km"},  {"foot", "ft"},          {"yard", "yd"},
    {"mile", "mi"},       {"surveyfoot", "ft US"}, {"arcsecond", "arc sec"},
    {"unknown", ""},
};
static_assert(sizeof(kUnitNames) / sizeof(kUnitNames[0]) == kKnownUnitTypes + 1,
              "one name per known unit type, and the unknown unit");

const UnitNames& names_of(std::int32_t type) {
  const bool known = type >= 0 && type < kKnownUnitTypes;
  return kUnitNames[known ? type : kUnknownUnitType];
}

}  // namespace

const std::string& unit_name(std::int32_t type) { return names_of(type).name; }

const std::string& unit_abbreviation(std::int32_t type) {
  return names_of(type).abbreviation;
}

}  // namespace gvk
