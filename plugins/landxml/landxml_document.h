// The mapping between a LandXML document and the records of a grading problem: what
// the source reads out of a file and what the store writes into one. The rules of the
// format are written once, here and in landxml_document.cpp:
//
//  - <P> holds "northing easting elevation": y before x. x is the easting, y the
//    northing, z the elevation, on every element that carries coordinates (<P>,
//    <PntList2D>, <PntList3D>, <CgPoint>, <Start>, <End>).
//  - Point ids are integers chosen by the writer, neither contiguous nor ordered;
//    <F> names three of them. The store numbers points from 1 in mesh order.
//  - <F i="1"> is an invisible face: not part of the surface.
//  - Units come from <Units><Metric> or <Units><Imperial>, attributes linearUnit,
//    areaUnit and volumeUnit.
//
// Coordinates in these structures are absolute, as the file holds them. Nothing here
// keeps state between calls; the functions may run on several threads at once on
// different documents.
#ifndef GRAVOK_LANDXML_DOCUMENT_H
#define GRAVOK_LANDXML_DOCUMENT_H

#include <gravok/records.h>
#include <gravok/surfaces.h>
#include <gravok/units.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace gvk_landxml {

// One TIN surface: vertex coordinates, triangles of 0-based indices into them, the
// surface's break lines as segments and its outer boundaries as closed polygons.
struct Surface {
  std::string name;
  std::string desc;  // the <Surface>'s desc, "" when it has none
  std::vector<double> x, y, z;
  std::vector<gvk::Triangle> triangles;
  std::size_t invisible_faces = 0;  // <F i="1"> entries left out of `triangles`
  std::vector<gravok_line_3d> break_lines;
  std::vector<std::vector<double>> boundary_xs, boundary_ys;
};

// A named point or polyline that the store writes for a grading element: a point as
// <CgPoint>, a polyline as a <PlanFeature> of <Line> segments (closed: the last
// vertex joins the first). `desc` is written as the element's desc when not empty.
struct Feature {
  std::string name;
  std::string desc;
  std::vector<double> xs, ys;
  bool closed = false;
};

// Unit type ids as gravok/units.h numbers them (9: unknown).
struct Units {
  std::int32_t linear = gvk::kUnknownUnitType;
  std::int32_t area = gvk::kUnknownUnitType;
  std::int32_t volume = gvk::kUnknownUnitType;
};

struct Document {
  Units units;
  std::string application;  // "<name> <version>" of <Application>, or ""
  // The <Application>'s name and version as the file gives them; the store writes
  // them when it has them, its own name otherwise.
  std::string application_name, application_version;
  // The attributes of <CoordinateSystem> this code knows (name, desc, epsgCode,
  // ogcWktCode, horizontalCoordinateSystemName, horizontalDatum, verticalDatum); the
  // others are neither read nor written.
  gvk::CoordinateSystem coordinate_system;
  std::vector<Surface> surfaces;
  std::vector<Feature> points;    // written only; the reader leaves it empty
  std::vector<Feature> features;  // written only; the reader leaves it empty
};

// Parses the LandXML text `text` (left as it is) into `document`, which it replaces,
// as a stream: faults are found in document order and the first one ends the read.
// `where` names the text in messages ("PATH:LINE: ..."). Every TIN surface
// (a <Definition> whose surfType is "TIN" or absent) is read, in document order;
// other surfaces are left out with a warning. <P> entries that no face uses stay in
// the surface. Returns false with one message in `error` naming the element and its
// line for: text that is not well-formed XML (expat's reason, "the text ends before
// </LandXML>" for a cut text); elements nested deeper than 256 levels; a DOCTYPE that
// declares an entity, or that names an external DTD or a parameter entity in a
// document that is not standalone="yes"; a root other than <LandXML>; <Faces> without
// <Pnts>; a <P> without an integer id, with a duplicate id, or whose text is not
// three finite numbers (a missing elevation included); an <F> that is not three
// integers or names a point that <Pnts> lacks (invisible faces are not checked);
// a <PntList3D> of a break line whose count is not a multiple of three. `document`
// is then unspecified. Warnings (no <Units>, or a unit name that is not known: the
// unknown unit, never a guess; a break line of fewer than two points or without
// elevations, left out; a non-TIN surface, left out) are appended to `warnings`, in
// the order of the document. Messages quote at
// most 64 bytes of any name, id or list from the text. Entities other than XML's
// five and character references are never expanded, and nothing outside `text` is
// read: no DTD, external entity or inclusion. An element's text is its character data
// before its first child element, comment, CDATA section or processing instruction
// (white space alone does not count). <Faces> may come before <Pnts>.
//
// The plain <P> and <F> elements of the lists are read without the XML parser's
// tokenizer, which is most of the time of a large file; `scan_lists` false gives
// every byte to the parser, for the tests that hold the two ways against each other.
bool parse_document(std::vector<char>& text, const std::string& where, Document& document,
                    std::string& error, std::vector<std::string>& warnings,
                    bool scan_lists = true);

// Reads the file at `path` in slices and parses it as parse_document does, never
// holding the whole text. A file that cannot be read gives false with a message
// naming the path.
bool read_document(const std::string& path, Document& document, std::string& error,
                   std::vector<std::string>& warnings);

// True when the first element of the file at `path` is <LandXML> (with or without a
// namespace prefix). Reads at most the first 64 KiB; false when the file cannot be
// read.
bool has_landxml_root(const std::string& path);

// Why the file at `path` is not one that read_document may read, judged from its first
// 64 KiB: the system's reason when it is missing, a folder or unreadable ("PATH: No
// such file or directory"), UTF-16 text, or a first element other than <LandXML>
// ("PATH: not a LandXML document: the first element is <svg>"). "" when the first
// element is <LandXML>; the rest of the file is then read_document's to judge.
std::string landxml_root_fault(const std::string& path);

// Writes `document` as a LandXML 1.2 text: <Units> when LandXML names the linear unit
// (not for the unknown unit or the arcsecond),
// <Application> naming `application`, the points as <CgPoints>, the features as
// <PlanFeatures>, and each surface with its break lines under <SourceData> and its
// <Pnts> (ids from 1) and <Faces>; a surface with neither points nor faces is left
// out, and a closed feature whose last vertex is not its first gets the joining line.
// Numbers are written in the shortest form that reads back to the same double.
// Excluding what first_unwritable finds is the caller's part: triangle indices must
// lie inside the surface's vertex arrays (checked by assert only).
std::string write_document(const Document& document, const std::string& application);

// Room that write_decimal needs: the longest plain decimal of a double, its sign
// included, is 327 characters.
constexpr std::size_t kMaxDecimal = 400;

// Writes `value` at `at` as the shortest plain decimal (never an exponent, which some
// importers refuse) that reads back to the same double, the text std::to_chars gives
// with std::chars_format::fixed: "2000000.001", "-0.5", "-0"; "nan" and "inf" for
// those values. Returns the end of the text. `at` must have kMaxDecimal bytes of room.
char* write_decimal(char* at, double value);

// The first thing in `document` (or in `application`) that a LandXML 1.2 file cannot
// hold, in words naming the surface and its vertex, triangle or break line, or the
// point or feature: a coordinate that is NaN or infinite, y or z shorter than x, a
// triangle index out of range, a surface with points or faces but fewer than 3 points
// or no face, a feature whose x and y lists differ in length, text that is not
// UTF-8 or holds a control character XML 1.0 cannot carry. "" when everything can be
// written. A surface with neither points nor faces is written as no surface at all.
std::string first_unwritable(const Document& document, const std::string& application);

// Writes write_document's text to `path` through a temporary file beside it that
// then replaces `path` (gvk::replace_file), so that a failed write leaves an existing
// file as it was and no temporary file behind. Checks first: what first_unwritable
// finds throws std::invalid_argument "cannot write PATH: FAULT" and nothing is
// written; a failure of the system throws std::system_error "cannot write PATH" with
// the system's reason.
void save_document(const std::string& path, const Document& document,
                   const std::string& application);

// The LandXML name of unit type `type` at power `power` ("meter", "squareFoot",
// "cubicYard", ...), or "" when LandXML has none.
std::string landxml_unit_name(std::int32_t type, int power);

}  // namespace gvk_landxml

#endif  // GRAVOK_LANDXML_DOCUMENT_H
