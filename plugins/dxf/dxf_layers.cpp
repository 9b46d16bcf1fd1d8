// Layer names and units: how a drawing's names and header codes map onto the
// library's kinds and units.
#include "dxf_drawing.h"

#include <gravok/element_types.h>

#include <cctype>

namespace gvk_dxf {
namespace {

// The keys get_constraint_type looks for, and "BreakLine", which this plug-in adds.
constexpr const char* kKeys[] = {
    "AlignedEdge", "BendLine",     "BoundedPoint", "BuildingPad", "Curb",     "DrainLine",
    "LowPoint",    "Offset",       "ParkingLot",   "Pathway",     "Pond",     "RetWall",
    "SurfaceZone", "Unclassified", "Exclusion",    "Generic",     "BreakLine"};

char lower(char c) {
  return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
}

bool is_separator(char c) { return c == ' ' || c == '-' || c == '_' || c == '.'; }

// `name` without separators, with every key that occurs in it, ignoring case,
// spelled as the key is.
std::string spelled_with_keys(const std::string& name) {
  std::string joined;
  for (const char c : name) {
    if (!is_separator(c)) joined += c;
  }
  std::string folded = joined;
  for (char& c : folded) c = lower(c);
  for (const char* key : kKeys) {
    std::string lower_key(key);
    for (char& c : lower_key) c = lower(c);
    for (std::size_t at = folded.find(lower_key); at != std::string::npos;
         at = folded.find(lower_key, at + 1)) {
      joined.replace(at, lower_key.size(), key);
    }
  }
  return joined;
}

// $INSUNITS codes of the library's known units, by unit type (0 millimeter ... 7
// survey foot); the arcsecond (8) has none.
constexpr int kInsunits[] = {4, 5, 6, 7, 2, 10, 3, 21};

}  // namespace

LayerRole classify_layer(const std::string& name) {
  const std::string spelled = spelled_with_keys(name);
  LayerRole role;
  if (spelled.find("BreakLine") != std::string::npos) {
    role.what = LayerRole::kBreakLines;
    return role;
  }
  TriZoneType zone = Generic;
  if (gvk::get_constraint_type(spelled, role.kind, zone))
    role.what = LayerRole::kElements;
  return role;
}

int insunits_of(std::int32_t unit_type) {
  return unit_type >= 0 && unit_type < 8 ? kInsunits[unit_type] : 0;
}

std::int32_t unit_of_insunits(long long code) {
  for (std::int32_t type = 0; type < 8; ++type) {
    if (kInsunits[type] == code) return type;
  }
  return gvk::kUnknownUnitType;
}

}  // namespace gvk_dxf
