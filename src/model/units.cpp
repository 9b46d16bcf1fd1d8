#include <gravok/units.h>

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <numeric>
#include <string>

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

constexpr std::int32_t kArcsecond = 8;

// Length of each linear unit in meters as an exact fraction, by type id; the
// arcsecond has none.
struct Meters {
  unsigned long long numerator;
  unsigned long long denominator;
};
const Meters kMeters[] = {
    {1, 1000},     {1, 100},      {1, 1},          {1000, 1},
    {3048, 10000}, {9144, 10000}, {1609344, 1000}, {1200, 3937},
};
static_assert(sizeof(kMeters) / sizeof(kMeters[0]) == kArcsecond,
              "one length per linear unit type");

bool is_known(std::int32_t type) { return type >= 0 && type < kKnownUnitTypes; }

// (from / to) to the power, from the exact ratio in lowest terms, so that factors
// such as 1000 or 0.3048 come out correctly rounded.
double length_ratio(const Meters& from, const Meters& to, int power) {
  unsigned long long top = from.numerator * to.denominator;
  unsigned long long bottom = from.denominator * to.numerator;
  const unsigned long long common = std::gcd(top, bottom);
  top /= common;
  bottom /= common;
  double top_power = 1.0, bottom_power = 1.0;
  for (int p = 0; p < power; ++p) {
    top_power *= static_cast<double>(top);
    bottom_power *= static_cast<double>(bottom);
  }
  return top_power / bottom_power;
}

struct Spelling {
  const char* text;
  std::int32_t type;
};

// Spellings accepted besides the names and abbreviations of the table, lower case.
const Spelling kExtraSpellings[] = {
    {"millimeters", 0}, {"millimetre", 0},   {"millimetres", 0},    {"centimeters", 1},
    {"centimetre", 1},  {"centimetres", 1},  {"meters", 2},         {"metre", 2},
    {"metres", 2},      {"kilometers", 3},   {"kilometre", 3},      {"kilometres", 3},
    {"feet", 4},        {"yards", 5},        {"miles", 6},          {"surveyfeet", 7},
    {"survey foot", 7}, {"survey feet", 7},  {"us survey foot", 7}, {"us survey feet", 7},
    {"arcseconds", 8},  {"ussurveyfoot", 7}, {"ussurveyfeet", 7},
};

// LandXML's names of areas and volumes (lower case): "square" or "cubic" before the
// name of a length, the plurals "squareMiles", "cubicFeet" and "cubicMiles" among them.
const char* const kSquare = "square";
const char* const kCubic = "cubic";

std::string lower_trimmed(const std::string& text) {
  const char* const space = " \t\n\r\f\v";
  const std::size_t first = text.find_first_not_of(space);
  if (first == std::string::npos) return std::string();
  std::string out = text.substr(first, text.find_last_not_of(space) - first + 1);
  for (char& c : out) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return out;
}

// The type whose abbreviation is `text` (lower case), or -1.
std::int32_t abbreviation_type(const std::string& text) {
  for (std::int32_t type = 0; type < kKnownUnitTypes; ++type) {
    if (text == lower_trimmed(kUnitNames[type].abbreviation)) return type;
  }
  return -1;
}

std::int32_t name_type(const std::string& text) {
  for (std::int32_t type = 0; type <= kUnknownUnitType; ++type) {
    if (text == kUnitNames[type].name) return type;
  }
  for (const Spelling& spelling : kExtraSpellings) {
    if (text == spelling.text) return spelling.type;
  }
  return -1;
}

// A LandXML area or volume name ("squareusSurveyFoot" in lower case): the prefix of
// `power` before the name of a length, or -1.
std::int32_t landxml_powered_type(const std::string& text, int power) {
  const std::string prefix = power == 2 ? kSquare : power == 3 ? kCubic : "";
  if (prefix.empty() || text.size() <= prefix.size() ||
      text.compare(0, prefix.size(), prefix) != 0)
    return -1;
  const std::int32_t type = name_type(text.substr(prefix.size()));
  return type == kUnknownUnitType ? -1 : type;
}

// An abbreviation followed by the power as a digit or a UTF-8 superscript.
std::int32_t powered_abbreviation_type(const std::string& text, int power) {
  const std::string digit(1, static_cast<char>('0' + power));
  const std::string superscript = power == 2 ? "\xC2\xB2" : "\xC2\xB3";
  for (const std::string& suffix : {digit, superscript}) {
    if (text.size() > suffix.size() &&
        text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0) {
      return abbreviation_type(text.substr(0, text.size() - suffix.size()));
    }
  }
  return -1;
}

}  // namespace

double unit_conversion_factor(std::int32_t from, std::int32_t to, int power) {
  if (power < 1 || power > 3) return std::numeric_limits<double>::quiet_NaN();
  if (!is_known(from) || !is_known(to) || from == to) return 1.0;
  if (from == kArcsecond || to == kArcsecond) {
    return std::numeric_limits<double>::quiet_NaN();
  }
  return length_ratio(kMeters[from], kMeters[to], power);
}

std::int32_t find_unit_type(const std::string& text, int power) {
  if (power < 1 || power > 3) return -1;
  const std::string key = lower_trimmed(text);
  if (key.empty()) return -1;
  const std::int32_t by_name = name_type(key);
  if (by_name >= 0) return by_name;
  const std::int32_t by_abbreviation = abbreviation_type(key);
  if (by_abbreviation >= 0) return by_abbreviation;
  if (power == 1) return -1;
  const std::int32_t by_landxml_name = landxml_powered_type(key, power);
  return by_landxml_name >= 0 ? by_landxml_name : powered_abbreviation_type(key, power);
}

const std::string& unit_name(std::int32_t type) { return names_of(type).name; }

const std::string& unit_abbreviation(std::int32_t type) {
  return names_of(type).abbreviation;
}

}  // namespace gvk
