// Writing a drawing as an AutoCAD R12 (AC1009) ASCII DXF file, the version every DXF
// reader opens: a header with $ACADVER, $INSUNITS and $MEASUREMENT, a LAYER table
// naming every layer used, and the entities:
//
//  - each surface's triangles as 3DFACE entities on a layer named after the surface,
//    the fourth corner repeating the third;
//  - break lines as 3D POLYLINEs (flag 8) on the layer "BreakLine", segments that
//    continue one another (bit-equal ends) joined into one polyline;
//  - elements on a layer named after their kind ("DrainLine", "BuildingPad", ...),
//    which classify_layer reads back as the same kind: low points as POINTs; bounded
//    points as POINTs at their elevation, or vertical LINEs from the first elevation
//    to the second when the two differ; offsets as LINEs; every other kind as a 2D
//    POLYLINE at elevation 0 (closed for surface zones).
//
// Numbers are the shortest text that reads back to the same double (std::to_chars),
// so parse_drawing gives back every coordinate bit for bit. Coordinates are written as
// the drawing holds them (absolute).
#ifndef GRAVOK_DXF_WRITER_H
#define GRAVOK_DXF_WRITER_H

#include "dxf_drawing.h"

#include <cstdio>
#include <string>

namespace gvk_dxf {

// Why `drawing` cannot be written so that parse_drawing reads it back, or "" when it
// can: a coordinate that is not finite, a triangle naming a vertex beyond x, y or z,
// an element whose x and y lists differ in length, an element kind without a name.
std::string unwritable(const Drawing& drawing);

// Writes `drawing`, which unwritable() accepts, to `file`; a failed write leaves the
// stream's error indicator set. drawing_text gives the same text as a string.
void write_drawing(std::FILE* file, const Drawing& drawing);
std::string drawing_text(const Drawing& drawing);

// The layer elements of `kind` are written on.
std::string kind_layer(std::int32_t kind);
constexpr const char* kBreakLineLayer = "BreakLine";
// The $ACADVER the writer states.
constexpr const char* kWrittenVersion = "AC1009";

}  // namespace gvk_dxf

#endif  // GRAVOK_DXF_WRITER_H
