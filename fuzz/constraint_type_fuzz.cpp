// Fuzz target for get_constraint_type: any name is classified as the documented rules
// say, written out here as plainly as they read: the element keys in their fixed
// order, each searched as a case-sensitive substring, then the zone keys; outputs are
// written only on a match, the zone output only on a zone match.
#include <gravok/element_types.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <utility>

namespace {

const std::pair<const char*, GradingElementType> kElementKeys[] = {
    {"AlignedEdge", GradingElementType::AlignedEdge},
    {"BendLine", GradingElementType::BendLine},
    {"BoundedPoint", GradingElementType::BoundedPoint},
    {"BuildingPad", GradingElementType::BuildingPad},
    {"Curb", GradingElementType::Curb},
    {"DrainLine", GradingElementType::DrainLine},
    {"LowPoint", GradingElementType::LowPoint},
    {"Offset", GradingElementType::Offset},
    {"ParkingLot", GradingElementType::ParkingLot},
    {"Pathway", GradingElementType::Pathway},
    {"Pond", GradingElementType::Pond},
    {"RetWall", GradingElementType::RetWall},
    {"SurfaceZone", GradingElementType::SurfaceZone},
    {"Unclassified", GradingElementType::Unclassified},
};
const std::pair<const char*, TriZoneType> kZoneKeys[] = {
    {"Exclusion", TriZoneType::Exclusion},
    {"Generic", TriZoneType::Generic},
};

bool classify(const std::string& name, GradingElementType& type, TriZoneType& zone) {
  for (const auto& key : kElementKeys) {
    if (name.find(key.first) != std::string::npos) {
      type = key.second;
      return true;
    }
  }
  for (const auto& key : kZoneKeys) {
    if (name.find(key.first) != std::string::npos) {
      type = GradingElementType::SurfaceZone;
      zone = key.second;
      return true;
    }
  }
  return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string name(reinterpret_cast<const char*>(data), size);
  // Values no rule ever writes, so that an output written by mistake shows.
  const auto untouched_type = static_cast<GradingElementType>(-7);
  const auto untouched_zone = static_cast<TriZoneType>(-7);
  GradingElementType type = untouched_type, expected_type = untouched_type;
  TriZoneType zone = untouched_zone, expected_zone = untouched_zone;
  const bool found = gvk::get_constraint_type(name, type, zone);
  const bool expected = classify(name, expected_type, expected_zone);
  if (found != expected || type != expected_type || zone != expected_zone) std::abort();
  return 0;
}
