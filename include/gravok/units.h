// Units of measure. A unit is a small value: a type id, a qualifier, one conversion
// factor per known unit type, a name and an abbreviation. Unit<1> measures lengths,
// Unit<2> areas and Unit<3> volumes. The library itself builds only the unknown unit,
// which the data source hands out when a host does not know its units.
// Units are plain values; the name table behind unit_name is constant and may be
// read from any thread.
#ifndef GRAVOK_UNITS_H
#define GRAVOK_UNITS_H

#include <gravok/export.h>

#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace gvk {

// Number of known unit types, and so of conversion factors in every concrete unit.
// Their type ids are 0 millimeter, 1 centimeter, 2 meter, 3 kilometer, 4 foot,
// 5 yard, 6 mile, 7 surveyfoot, 8 arcsecond.
constexpr std::int32_t kKnownUnitTypes = 9;
// Type id of the unknown unit.
constexpr std::int32_t kUnknownUnitType = 9;

// Full name of the unit type `type` ("unknown", "millimeter", ..., "arcsecond").
// Any id outside 0 to 9 gives the name of the unknown unit. The strings live as long
// as the library is loaded.
GRAVOK_API const std::string& unit_name(std::int32_t type);

// Abbreviation of the unit type `type` ("mm", ..., "ft US", "arc sec"); the unknown
// unit's abbreviation is the empty string, also for any id outside 0 to 9.
GRAVOK_API const std::string& unit_abbreviation(std::int32_t type);

// A unit measuring length to the power N. A default-constructed unit is the target of
// a unit getter: type 9 (unknown), qualifier 0, no conversions, name "unknown" and an
// empty abbreviation. Copying and assigning copy all five members; assignment keeps
// the target's own dynamic class.
template <int N>
class Unit {
  static_assert(N >= 1 && N <= 3, "Unit<1> is linear, Unit<2> area, Unit<3> volume");

 public:
  Unit() = default;
  Unit(const Unit&) = default;
  Unit(Unit&&) = default;
  Unit& operator=(const Unit&) = default;
  Unit& operator=(Unit&&) = default;
  virtual ~Unit() = default;

  std::int32_t type = kUnknownUnitType;
  std::int32_t qualifier = 0;
  // One factor per known unit type, in type-id order.
  std::vector<std::function<double()>> conversions;
  std::string name = unit_name(kUnknownUnitType);
  std::string abbreviation = unit_abbreviation(kUnknownUnitType);
};

// The unit a source reports when it does not know its units: type 9, qualifier 0,
// name "unknown", empty abbreviation, and nine conversion factors that are all 1.0,
// so converting from it leaves a number unchanged. Construction throws
// std::length_error("More unit types than conversion functions.") if the factors do
// not match the known unit types one to one, which guards the tables against drift.
template <int N>
class Unknown : public Unit<N> {
 public:
  Unknown() {
    this->type = kUnknownUnitType;
    this->qualifier = 0;
    this->name = unit_name(kUnknownUnitType);
    this->abbreviation = unit_abbreviation(kUnknownUnitType);
    for (std::int32_t k = 0; k < kKnownUnitTypes; ++k) {
      this->conversions.emplace_back([] { return 1.0; });
    }
    if (this->conversions.size() != static_cast<std::size_t>(kKnownUnitTypes)) {
      throw std::length_error("More unit types than conversion functions.");
    }
  }
};

}  // namespace gvk

#endif  // GRAVOK_UNITS_H
