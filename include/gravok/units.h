/// @file
/// Units of measure. A unit is a small value: a type id, a qualifier, one conversion
/// factor per known unit type, a name and an abbreviation. Unit<1> measures lengths,
/// Unit<2> areas and Unit<3> volumes. Unknown<N> is the unit the data source hands out
/// when a host does not know its units; Known<N> builds the nine known units, and
/// find_unit looks one up by name or abbreviation. Area and volume units carry the
/// name of their length unit: a Unit<2> named "meter" measures square meters.
/// Units are plain values; the tables behind unit_name, unit_conversion_factor and
/// find_unit_type are constant and may be read from any thread.
#ifndef GRAVOK_UNITS_H
#define GRAVOK_UNITS_H

#include <gravok/export.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace gvk {

/// Number of known unit types, and so of conversion factors in every concrete unit.
/// Their type ids are 0 millimeter, 1 centimeter, 2 meter, 3 kilometer, 4 foot,
/// 5 yard, 6 mile, 7 surveyfoot, 8 arcsecond.
constexpr std::int32_t kKnownUnitTypes = 9;
/// Type id of the unknown unit.
constexpr std::int32_t kUnknownUnitType = 9;

/// Full name of the unit type `type` ("unknown", "millimeter", ..., "arcsecond").
/// Any id outside 0 to 9 gives the name of the unknown unit. The strings live as long
/// as the library is loaded.
GRAVOK_API const std::string& unit_name(std::int32_t type);

/// Abbreviation of the unit type `type` ("mm", ..., "ft US", "arc sec"); the unknown
/// unit's abbreviation is the empty string, also for any id outside 0 to 9.
GRAVOK_API const std::string& unit_abbreviation(std::int32_t type);

/// A unit measuring length to the power N. A default-constructed unit is the target of
/// a unit getter: type 9 (unknown), qualifier 0, no conversions, name "unknown" and an
/// empty abbreviation. Copying and assigning copy all five members; assignment keeps
/// the target's own dynamic class.
template <int N>
class Unit {
  static_assert(N >= 1 && N <= 3, "Unit<1> is linear, Unit<2> area, Unit<3> volume");

 public:
  Unit() = default;
  /// Copies all five members.
  Unit(const Unit&) = default;
  /// Moves all five members.
  Unit(Unit&&) = default;
  /// Assigns all five members; the target keeps its dynamic class.
  Unit& operator=(const Unit&) = default;
  /// Assigns all five members; the target keeps its dynamic class.
  Unit& operator=(Unit&&) = default;
  virtual ~Unit() = default;

  /// Unit type id: 0 to 8 a known unit, 9 unknown.
  std::int32_t type = kUnknownUnitType;
  /// Qualifier agreed between producer and consumer; 0 by default.
  std::int32_t qualifier = 0;
  /// One factor per known unit type, in type-id order: a quantity in this unit times
  /// conversions[k]() is the same quantity in unit type k.
  std::vector<std::function<double()>> conversions;
  /// Full name, such as "meter".
  std::string name = unit_name(kUnknownUnitType);
  /// Abbreviation, such as "m"; empty for the unknown unit.
  std::string abbreviation = unit_abbreviation(kUnknownUnitType);
};

/// The unit a source reports when it does not know its units: type 9, qualifier 0,
/// name "unknown", empty abbreviation, and nine conversion factors that are all 1.0,
/// so converting from it leaves a number unchanged. Construction throws
/// std::length_error("More unit types than conversion functions.") if the factors do
/// not match the known unit types one to one, which guards the tables against drift.
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

/// The factor that turns a quantity in unit type `from` into the same quantity in
/// unit type `to`, for lengths (`power` 1), areas (2) or volumes (3): the quantity in
/// `from` times the factor is the quantity in `to`, for instance 0.3048 from foot (4)
/// to meter (2) at power 1 and 0.09290304 at power 2. The lengths are exact (foot
/// 0.3048 m, survey foot 1200/3937 m, yard 0.9144 m, mile 1609.344 m) and each factor
/// is their ratio to the power, rounded to double. The arcsecond (8) is an angle and
/// has no length: its factor to itself is 1, to or from any length unit NaN. When
/// either id is not a known type (0 to 8, the unknown unit 9 among them) the factor
/// is 1, as every factor of the unknown unit is. A `power` outside 1 to 3 gives NaN.
GRAVOK_API double unit_conversion_factor(std::int32_t from, std::int32_t to, int power);

/// The type id that `text` names for a unit of length to the power `power` (1 to 3),
/// or -1 when it names none. Leading and trailing ASCII white space is ignored and
/// ASCII letters match in either case. Accepted are the names and abbreviations of
/// unit_name and unit_abbreviation ("unknown" gives 9; the empty string names
/// nothing), the plural of each name ("meters", "miles"; "feet", "surveyfeet"), the
/// spellings "millimetre", "centimetre", "metre", "kilometre" and their plurals, and
/// "survey foot", "us survey foot" and their plurals. For areas and volumes an
/// abbreviation may also carry the power as a digit or a superscript ("m2", "ft²",
/// "yd3", "km³"); a power that does not match `power` names nothing. LandXML's names
/// are accepted too: "USSurveyFoot" for lengths, and for areas and volumes "square"
/// or "cubic" before any accepted name of a length ("squareMeter",
/// "squareUSSurveyFoot", "squareMiles", "cubicYard", "cubicFeet"), naming nothing at
/// another power ("cubicYard" at power 2).
GRAVOK_API std::int32_t find_unit_type(const std::string& text, int power);

/// A known unit, built from its type id: qualifier 0, the name and abbreviation of
/// the name table, and the factors of unit_conversion_factor(type, k, N) for each
/// known type k. An id outside 0 to 8 gives exactly the unknown unit's values (type 9,
/// every factor 1.0); nothing is thrown.
template <int N>
class Known : public Unit<N> {
 public:
  /// The known unit with id `type`, or the unknown unit for any other id.
  explicit Known(std::int32_t type) {
    const bool known = type >= 0 && type < kKnownUnitTypes;
    this->type = known ? type : kUnknownUnitType;
    this->qualifier = 0;
    this->name = unit_name(this->type);
    this->abbreviation = unit_abbreviation(this->type);
    for (std::int32_t k = 0; k < kKnownUnitTypes; ++k) {
      const double factor = unit_conversion_factor(this->type, k, N);
      this->conversions.emplace_back([factor] { return factor; });
    }
  }
};

/// Looks up the unit that `name_or_abbreviation` names (see find_unit_type) and
/// assigns Known<N> of it into `unit`, which keeps its own dynamic class. Returns
/// false and leaves `unit` unchanged when the text names no unit of dimension N.
template <int N>
bool find_unit(const std::string& name_or_abbreviation, Unit<N>& unit) {
  const std::int32_t type = find_unit_type(name_or_abbreviation, N);
  if (type < 0) return false;
  unit = Known<N>(type);
  return true;
}

/// `value`, a quantity in `from`, expressed in `to`: value * from.conversions[to.type]().
/// When `to` is not a known unit type, or `from` has no factor (or an empty one) at
/// that place, such as a default-constructed unit, the unit counts as unknown and the
/// value comes back unchanged. An arcsecond against a length gives NaN.
template <int N>
double convert(double value, const Unit<N>& from, const Unit<N>& to) {
  if (to.type < 0 || to.type >= kKnownUnitTypes) return value;
  const std::size_t k = static_cast<std::size_t>(to.type);
  if (k >= from.conversions.size() || !from.conversions[k]) return value;
  return value * from.conversions[k]();
}

}  // namespace gvk

#endif  // GRAVOK_UNITS_H
