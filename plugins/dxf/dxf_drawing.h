// What the DXF plug-in takes out of a drawing and puts into one, and the rules of the
// format it relies on, written once here and in dxf_reader.cpp and dxf_writer.cpp:
//
//  - A TIN is a set of 3DFACE entities, or the faces of a POLYLINE polyface mesh
//    (flag 64), on one layer: one surface per layer, named by the layer, in the order
//    the layers first appear. A 3DFACE has four corners; a fourth corner that repeats
//    the third (or the first) makes it a triangle, any other quadrilateral is split
//    along its diagonal from the first to the third corner into (1, 2, 3) and
//    (1, 3, 4). A polyface face of four vertices is split the same way.
//  - Corners are welded into one vertex when their x, y and z are bit for bit equal
//    (0.0 and -0.0 are two vertices); vertices are numbered in the order they first
//    appear, so a surface comes back as an indexed mesh.
//  - Grading elements are LWPOLYLINE, POLYLINE (2D and 3D), LINE and POINT entities on
//    a layer whose name classifies as a kind (classify_layer). Their elevations have
//    no place in the element records and are dropped.
//  - Break lines are the polylines and LINEs of a layer whose name, ignoring case and
//    separators, contains "breakline", or of the layer the caller names.
//  - INSERT entities are expanded: the entities of the block are placed with the
//    insert's scale, rotation, extrusion and column/row array, nested blocks too
//    (kMaxInsertDepth levels at most); entities on layer "0" inside a block take the
//    insert's layer.
//  - $INSUNITS gives the unit; $MEASUREMENT (metric or imperial) alone does not.
//
// Coordinates in these structures are absolute, as the drawing holds them. Nothing
// here keeps state between calls.
#ifndef GRAVOK_DXF_DRAWING_H
#define GRAVOK_DXF_DRAWING_H

#include <gravok/records.h>
#include <gravok/units.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace gvk_dxf {

// One TIN: vertex coordinates and triangles of 0-based indices into them.
struct Surface {
  std::string name;  // the layer's name
  std::vector<double> x, y, z;
  std::vector<gvk::Triangle> triangles;
};

// The elements of one kind, in drawing order: zeroed records whose location slots
// hold the point kinds' coordinates, and each element's vertices in xs and ys.
struct Elements {
  std::vector<gravok_grading_element> records;
  std::vector<std::vector<double>> xs, ys;
};

struct Drawing {
  std::string version;  // $ACADVER, such as "AC1009"
  // Unit type of gravok/units.h that $INSUNITS names; gvk::kUnknownUnitType when it
  // names none.
  std::int32_t unit = gvk::kUnknownUnitType;
  std::vector<Surface> surfaces;
  std::vector<gravok_line_3d> break_lines;
  std::map<std::int32_t, Elements> elements;  // by GradingElementType
};

// What the reader is told beside the text.
struct ReadOptions {
  // The layer whose polylines and LINEs are break lines, beside the layers whose
  // names contain "breakline"; empty for none.
  std::string break_line_layer;
};

constexpr int kMaxInsertDepth = 16;

// Reads the ASCII DXF text `text` into `drawing`, which it replaces. `where` names
// the text in messages, which read "WHERE:LINE: what is wrong" (LINE of the group
// code). Returns false with one message in `error` for: a binary DXF file (not read:
// the message says to save the drawing as ASCII DXF); a pair that is no group pair;
// text without the pairs 0/SECTION at its start; a text that ends before "0/EOF" (cut
// short); a coordinate, elevation, scale or rotation that is not a finite number; a
// flag or count that is not an integer; a polyface face that names a vertex its mesh
// lacks; an INSERT whose transform makes a coordinate that is not finite. `drawing`
// is then unspecified.
//
// Left out with a warning appended to `warnings` (one per layer and reason, with the
// count and the line of the first): entities on a layer whose name names no kind;
// points on polyline layers and polylines on point layers; polylines of no vertex;
// arc segments (bulges), read as their chords; polygon meshes and entity types that
// carry no terrain or element geometry (counted by type in one warning); INSERTs of a
// block the drawing lacks, nested deeper than kMaxInsertDepth, or beyond the
// expansion budget (a vertex for every 4 bytes of the text, and 4096); a unit
// $INSUNITS gives that is no known unit, or none (the unknown unit is used).
bool parse_drawing(std::string_view text, const std::string& where,
                   const ReadOptions& options, Drawing& drawing, std::string& error,
                   std::vector<std::string>& warnings);

// Reads the file at `path` and parses it as parse_drawing does. A file that cannot be
// read gives false with a message naming the path and the system's reason.
bool read_drawing(const std::string& path, const ReadOptions& options, Drawing& drawing,
                  std::string& error, std::vector<std::string>& warnings);

// True when the file at `path` starts as a DXF file does (starts_like_dxf on its
// first 64 KiB); false when it cannot be read.
bool is_dxf_file(const std::string& path);

// The role of a layer for polylines, LINEs and POINTs: break lines, the elements of a
// kind, or neither. Names are matched ignoring ASCII case and the separators space,
// '-', '_' and '.': the name is spelled with the catalogue's keys where they occur in
// it ("DRAIN-LINE" as "DrainLine", "Building Pad" as "BuildingPad", "POND_2" as
// "Pond2") and handed to gvk::get_constraint_type, whose order of keys decides. A
// name that contains "breakline" so spelled is a break-line layer first.
struct LayerRole {
  enum What { kNone, kBreakLines, kElements } what = kNone;
  GradingElementType kind = Unclassified;
};
LayerRole classify_layer(const std::string& name);

// The $INSUNITS code of a unit type (0 when the type has none: the unknown unit and
// the arcsecond), and the unit type of an $INSUNITS code (gvk::kUnknownUnitType when
// it is no known unit).
int insunits_of(std::int32_t unit_type);
std::int32_t unit_of_insunits(long long code);

}  // namespace gvk_dxf

#endif  // GRAVOK_DXF_DRAWING_H
