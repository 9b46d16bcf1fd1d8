/// @file
/// The catalogue of grading element kinds: which kinds exist and how they group, the
/// clearing of an element record, the uid of an element's GUID, and the classification
/// of a host's names into kinds. Every operation here may be called from any thread at
/// any time; the shared tables behind them are built once, safely, and never change.
#ifndef GRAVOK_ELEMENT_TYPES_H
#define GRAVOK_ELEMENT_TYPES_H

#include <gravok/export.h>
#include <gravok/records.h>

#include <string>
#include <vector>

namespace gvk {

/// Every kind that a transfer moves, in transfer order: LowPoint, BoundedPoint,
/// AlignedEdge, Offset, DrainLine, SurfaceZone, BendLine, Unclassified, Curb,
/// BuildingPad, Pond, RetWall, Pathway (13 kinds; ParkingLot is not among them).
/// Each call returns a new vector that the caller owns.
GRAVOK_API std::vector<GradingElementType> allElementTypes();

/// The complex kinds: Curb, BuildingPad, Pond, ParkingLot, RetWall, Pathway. Each call
/// returns a new vector that the caller owns.
GRAVOK_API std::vector<GradingElementType> complexElementTypes();

/// The kinds for which the optimiser produces output: LowPoint, BoundedPoint,
/// AlignedEdge, BendLine, DrainLine, SurfaceZone, Curb, BuildingPad, Pond, RetWall,
/// Pathway (BendLine before DrainLine). Every call returns the same object, built on
/// the first call and alive until the library is unloaded.
GRAVOK_API const std::vector<GradingElementType>& typesOfElementWithOutput();

/// Clears `element`: every byte becomes zero, so every location slot reads 0.0.
GRAVOK_API void initge(gravok_grading_element& element);

/// The uid of a GUID string: the 64-bit FNV-1a hash of its bytes (zero bytes
/// included), reinterpreted as a signed value. Identical on every platform and build.
/// The text is taken as it is: two spellings of one GUID (case, braces) give two uids.
GRAVOK_API long long hashGradingElementUid(const std::string& guid);

/// The name of a named kind, spelled as its enumerator ("LowPoint", ..., "Pathway",
/// ParkingLot included); the empty string for every other value (8 to 99, negative
/// values, unnamed complex kinds). The strings are static.
GRAVOK_API const char* element_type_name(GradingElementType kind);

/// Classifies a host's name. The element kind keys ("AlignedEdge", "BendLine",
/// "BoundedPoint", "BuildingPad", "Curb", "DrainLine", "LowPoint", "Offset",
/// "ParkingLot", "Pathway", "Pond", "RetWall", "SurfaceZone", "Unclassified") are
/// searched in that order, as case-sensitive substrings of `name`; the first key found
/// sets `type`, leaves `zone` alone and gives true. Failing that, the zone keys
/// "Exclusion" and then "Generic" are searched; the first found sets `type` to
/// SurfaceZone and `zone` to its zone kind and gives true. A name without any key,
/// the empty name included, gives false and leaves both outputs untouched.
GRAVOK_API bool get_constraint_type(const std::string& name, GradingElementType& type,
                                    TriZoneType& zone);

}  // namespace gvk

#endif  // GRAVOK_ELEMENT_TYPES_H
