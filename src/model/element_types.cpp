#include <gravok/element_types.h>

#include <cstring>

namespace gvk {

std::vector<GradingElementType> allElementTypes() {
  return {LowPoint,    BoundedPoint, AlignedEdge,  Offset, DrainLine,
          SurfaceZone, BendLine,     Unclassified, Curb,   BuildingPad,
          Pond,        RetWall,      Pathway};
}

std::vector<GradingElementType> complexElementTypes() {
  return {Curb, BuildingPad, Pond, ParkingLot, RetWall, Pathway};
}

const std::vector<GradingElementType>& typesOfElementWithOutput() {
  static const std::vector<GradingElementType> kinds = {
      LowPoint, BoundedPoint, AlignedEdge, BendLine, DrainLine, SurfaceZone,
      Curb,     BuildingPad,  Pond,        RetWall,  Pathway};
  return kinds;
}

void initge(gravok_grading_element& element) { std::memset(&element, 0, sizeof element); }

long long hashGradingElementUid(const std::string& guid) {
  constexpr unsigned long long kOffsetBasis = 14695981039346656037ULL;
  constexpr unsigned long long kPrime = 1099511628211ULL;
  unsigned long long hash = kOffsetBasis;
  for (const char c : guid) {
    hash ^= static_cast<unsigned char>(c);
    hash *= kPrime;
  }
  // Two's-complement reinterpretation; memcpy keeps it defined before C++20.
  long long uid;
  std::memcpy(&uid, &hash, sizeof uid);
  return uid;
}

const char* element_type_name(GradingElementType kind) {
  switch (kind) {
    case LowPoint: return "LowPoint";
    case BoundedPoint: return "BoundedPoint";
    case AlignedEdge: return "AlignedEdge";
    case Offset: return "Offset";
    case DrainLine: return "DrainLine";
    case SurfaceZone: return "SurfaceZone";
    case BendLine: return "BendLine";
    case Unclassified: return "Unclassified";
    case Curb: return "Curb";
    case BuildingPad: return "BuildingPad";
    case Pond: return "Pond";
    case ParkingLot: return "ParkingLot";
    case RetWall: return "RetWall";
    case Pathway: return "Pathway";
  }
  return "";
}

}  // namespace gvk
