#include <gravok/element_types.h>

#include <map>

namespace gvk {
namespace {

// Searched in key order (std::string's byte-wise order): when a name holds several
// keys, the key that sorts first wins, not the one that stands first in the name.
const std::map<std::string, GradingElementType>& element_keys() {
  static const std::map<std::string, GradingElementType> keys = {
      {"LowPoint", LowPoint},       {"BoundedPoint", BoundedPoint},
      {"AlignedEdge", AlignedEdge}, {"Offset", Offset},
      {"DrainLine", DrainLine},     {"SurfaceZone", SurfaceZone},
      {"BendLine", BendLine},       {"Curb", Curb},
      {"BuildingPad", BuildingPad}, {"Pond", Pond},
      {"ParkingLot", ParkingLot},   {"RetWall", RetWall},
      {"Pathway", Pathway},         {"Unclassified", Unclassified},
  };
  return keys;
}

const std::map<std::string, TriZoneType>& zone_keys() {
  static const std::map<std::string, TriZoneType> keys = {
      {"Exclusion", Exclusion},
      {"Generic", Generic},
  };
  return keys;
}

// The first entry of `keys`, in key order, whose key occurs in `name`; null if none.
template <typename Value>
const std::pair<const std::string, Value>* first_key_in(
    const std::string& name, const std::map<std::string, Value>& keys) {
  for (const auto& entry : keys) {
    if (name.find(entry.first) != std::string::npos) return &entry;
  }
  return nullptr;
}

}  // namespace

bool get_constraint_type(const std::string& name, GradingElementType& type,
                         TriZoneType& zone) {
  if (const auto* element = first_key_in(name, element_keys())) {
    type = element->second;
    return true;
  }
  if (const auto* zone_entry = first_key_in(name, zone_keys())) {
    type = SurfaceZone;
    zone = zone_entry->second;
    return true;
  }
  return false;
}

}  // namespace gvk
