// The DXF plug-in on small drawings made to show one rule each (quads and their
// diagonal, welding, polyface meshes, layers and kinds, blocks, units, bad files), and
// the round trip through the store. Drawings written by other programs are read against
// ezdxf in test_dxf_ezdxf.py.
#include "dxf_drawing.h"
#include "dxf_groups.h"
#include "dxf_provider.h"
#include "dxf_source.h"
#include "dxf_store.h"
#include "dxf_writer.h"

#include <gravok/gravok.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>
#include <map>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using gvk_dxf::Drawing;

std::string point_groups(int index, double x, double y, double z) {
  std::ostringstream out;
  out.precision(17);
  out << 10 + index << "\n"
      << x << "\n"
      << 20 + index << "\n"
      << y << "\n"
      << 30 + index << "\n"
      << z << "\n";
  return out.str();
}

struct P {
  double x, y, z;
};

std::string face(const std::string& layer, P a, P b, P c, P d) {
  return "0\n3DFACE\n8\n" + layer + "\n" + point_groups(0, a.x, a.y, a.z) +
         point_groups(1, b.x, b.y, b.z) + point_groups(2, c.x, c.y, c.z) +
         point_groups(3, d.x, d.y, d.z);
}

std::string point(const std::string& layer, P p) {
  return "0\nPOINT\n8\n" + layer + "\n" + point_groups(0, p.x, p.y, p.z);
}

std::string line(const std::string& layer, P a, P b) {
  return "0\nLINE\n8\n" + layer + "\n" + point_groups(0, a.x, a.y, a.z) +
         point_groups(1, b.x, b.y, b.z);
}

std::string lwpolyline(const std::string& layer, const std::vector<P>& points,
                       bool closed = false, double elevation = 0) {
  std::ostringstream out;
  out << "0\nLWPOLYLINE\n8\n"
      << layer << "\n90\n"
      << points.size() << "\n70\n"
      << (closed ? 1 : 0) << "\n38\n"
      << elevation << "\n";
  for (const P& p : points) out << "10\n" << p.x << "\n20\n" << p.y << "\n";
  return out.str();
}

std::string polyline3d(const std::string& layer, const std::vector<P>& points) {
  std::string text = "0\nPOLYLINE\n8\n" + layer + "\n66\n1\n70\n8\n";
  for (const P& p : points) {
    text += "0\nVERTEX\n8\n" + layer + "\n" + point_groups(0, p.x, p.y, p.z) + "70\n32\n";
  }
  return text + "0\nSEQEND\n";
}

std::string header(int insunits) {
  return "0\nSECTION\n2\nHEADER\n9\n$ACADVER\n1\nAC1015\n9\n$INSUNITS\n70\n" +
         std::to_string(insunits) + "\n0\nENDSEC\n";
}

std::string drawing(const std::string& entities, const std::string& blocks = "",
                    const std::string& head = header(6)) {
  return head +
         (blocks.empty() ? "" : "0\nSECTION\n2\nBLOCKS\n" + blocks + "0\nENDSEC\n") +
         "0\nSECTION\n2\nENTITIES\n" + entities + "0\nENDSEC\n0\nEOF\n";
}

struct Read {
  bool ok = false;
  Drawing drawing;
  std::string error;
  std::vector<std::string> warnings;

  std::string all_warnings() const {
    std::string all;
    for (const std::string& w : warnings) all += w + "\n";
    return all;
  }
  std::size_t count(GradingElementType kind) const {
    const auto found = drawing.elements.find(kind);
    return found == drawing.elements.end() ? 0 : found->second.records.size();
  }
};

Read parse(const std::string& text, const std::string& break_layer = "") {
  Read r;
  gvk_dxf::ReadOptions options;
  options.break_line_layer = break_layer;
  r.ok = gvk_dxf::parse_drawing(text, "t.dxf", options, r.drawing, r.error, r.warnings);
  return r;
}

const P kA{0, 0, 1}, kB{10, 0, 2}, kC{10, 10, 3}, kD{0, 10, 4};

// Each row: a drawing, the surfaces it gives (name, vertices, triangles) and the
// elements and break lines.
TEST(DxfReader, MakesSurfacesElementsAndBreakLinesByLayer) {
  struct Row {
    const char* what;
    std::string text;
    std::vector<std::tuple<std::string, std::size_t, std::size_t>> surfaces;
    std::map<GradingElementType, std::size_t> elements;
    std::size_t break_lines;
    std::string warns;  // part of a warning, when there must be one
  };
  const std::string mesh =
      "0\nPOLYLINE\n8\nPF\n66\n1\n70\n64\n71\n4\n72\n2\n" +
      [] {
        std::string v;
        for (const P& p : {kA, kB, kC, kD}) {
          v += "0\nVERTEX\n8\nPF\n" + point_groups(0, p.x, p.y, p.z) + "70\n192\n";
        }
        return v;
      }() +
      "0\nVERTEX\n8\nPF\n70\n128\n71\n1\n72\n2\n73\n-3\n0\nVERTEX\n8\nPF\n70\n128\n71\n"
      "1\n72\n2\n73\n3\n74\n4\n0\nSEQEND\n";
  const Row rows[] = {
      {"a triangle: the fourth corner repeats the third",
       drawing(face("EG", kA, kB, kC, kC)),
       {{"EG", 3, 1}},
       {},
       0,
       ""},
      {"a fourth corner repeating the first",
       drawing(face("EG", kA, kB, kC, kA)),
       {{"EG", 3, 1}},
       {},
       0,
       ""},
      {"shared corners welded",
       drawing(face("EG", kA, kB, kC, kC) + face("EG", kA, kC, kD, kD)),
       {{"EG", 4, 2}},
       {},
       0,
       ""},
      {"corners that differ in the last bit are not welded",
       drawing(face("EG", kA, kB, kC, kC) +
               face("EG", {std::nextafter(0.0, 1.0), 0, 1}, kC, kD, kD)),
       {{"EG", 5, 2}},
       {},
       0,
       ""},
      {"two layers, two surfaces in order of appearance",
       drawing(face("PROPOSED", kA, kB, kC, kC) + face("EXISTING", kA, kB, kC, kD)),
       {{"PROPOSED", 3, 1}, {"EXISTING", 4, 2}},
       {},
       0,
       ""},
      {"a polyface mesh: a triangle and a quad",
       drawing(mesh),
       {{"PF", 4, 3}},
       {},
       0,
       ""},
      {"elements by layer name",
       drawing(point("LOW-POINTS", kA) + lwpolyline("DRAIN-LINE", {kA, kB, kC}) +
               lwpolyline("Building Pad", {kA, kB, kC, kD}, true) +
               polyline3d("Curb", {kA, kB}) + line("offset", kA, kB) +
               line("BoundedPoint", {1, 2, 3}, {1, 2, 5}) + point("BoundedPoint", kB)),
       {},
       {{LowPoint, 1},
        {DrainLine, 1},
        {BuildingPad, 1},
        {Curb, 1},
        {Offset, 1},
        {BoundedPoint, 2}},
       0,
       ""},
      {"an unclassified layer is reported, not guessed",
       drawing(lwpolyline("TREES", {kA, kB}) + point("TREES", kA)),
       {},
       {},
       0,
       "layer \"TREES\": entities on a layer whose name names no element kind left out "
       "(2 "
       "entities"},
      {"break lines from a layer named so",
       drawing(polyline3d("EG-BREAKLINES", {kA, kB, kC}) + line("Break_Line", kA, kD)),
       {},
       {},
       3,
       ""},
      {"a point on a polyline kind's layer",
       drawing(point("DrainLine", kA)),
       {},
       {},
       0,
       "points on a layer of DrainLine, a polyline kind, left out"},
      {"a sloped line on a point kind's layer",
       drawing(line("LowPoint", kA, kB)),
       {},
       {},
       0,
       "lines on a layer of LowPoint, a point kind, left out"},
      {"arcs read as chords",
       drawing(
           "0\nLWPOLYLINE\n8\nPond\n90\n2\n70\n0\n10\n0\n20\n0\n42\n1\n10\n1\n20\n0\n"),
       {},
       {{Pond, 1}},
       0,
       "arc segments read as straight chords"},
      {"other entities counted",
       drawing("0\nCIRCLE\n8\nPond\n10\n0\n20\n0\n40\n1\n0\nTEXT\n8\n0\n1\nhi\n"),
       {},
       {},
       0,
       "left out: 1 CIRCLE, 1 TEXT"},
      {"a polyline whose SEQEND is missing",
       drawing(polyline3d("DrainLine", {kA, kB})
                   .substr(0, polyline3d("DrainLine", {kA, kB}).size() - 9)),
       {},
       {{DrainLine, 1}},
       0,
       ""},
      {"paper space left out",
       drawing("0\nPOINT\n67\n1\n8\nLowPoint\n10\n0\n20\n0\n"),
       {},
       {},
       0,
       "1 POINT (paper space)"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    const Read r = parse(row.text);
    ASSERT_TRUE(r.ok) << r.error;
    ASSERT_EQ(r.drawing.surfaces.size(), row.surfaces.size());
    for (std::size_t i = 0; i < row.surfaces.size(); ++i) {
      const gvk_dxf::Surface& s = r.drawing.surfaces[i];
      EXPECT_EQ(s.name, std::get<0>(row.surfaces[i]));
      EXPECT_EQ(s.x.size(), std::get<1>(row.surfaces[i]));
      EXPECT_EQ(s.triangles.size(), std::get<2>(row.surfaces[i]));
    }
    std::size_t elements = 0;
    for (const auto& [kind, e] : r.drawing.elements) elements += e.records.size();
    std::size_t expected = 0;
    for (const auto& [kind, n] : row.elements) {
      EXPECT_EQ(r.count(kind), n) << kind;
      expected += n;
    }
    EXPECT_EQ(elements, expected);
    EXPECT_EQ(r.drawing.break_lines.size(), row.break_lines);
    if (row.warns.empty()) {
      EXPECT_TRUE(r.warnings.empty()) << r.all_warnings();
    } else {
      EXPECT_NE(r.all_warnings().find(row.warns), std::string::npos) << r.all_warnings();
    }
  }
}

// The quad's diagonal runs from its first corner to its third; triangles keep the
// corners' order, and the vertices are numbered as they first appear.
TEST(DxfReader, SplitsQuadsAlongTheFirstToThirdDiagonal) {
  const Read r = parse(drawing(face("EG", kA, kB, kC, kD)));
  ASSERT_TRUE(r.ok) << r.error;
  const gvk_dxf::Surface& s = r.drawing.surfaces.at(0);
  EXPECT_EQ(s.triangles, (std::vector<gvk::Triangle>{{0, 1, 2}, {0, 2, 3}}));
  EXPECT_EQ(s.x, (std::vector<double>{0, 10, 10, 0}));
  EXPECT_EQ(s.z, (std::vector<double>{1, 2, 3, 4}));
}

TEST(DxfReader, PlacesElementCoordinatesInTheirSlots) {
  const Read r =
      parse(drawing(point("LowPoint", {1, 2, 9}) + line("Offset", {3, 4, 0}, {5, 6, 0}) +
                    line("BoundedPoint", {7, 8, 1}, {7, 8, 2}) +
                    lwpolyline("SurfaceZone", {{0, 0, 0}, {1, 0, 0}, {0, 0, 0}})));
  ASSERT_TRUE(r.ok) << r.error;
  const double* low = r.drawing.elements.at(LowPoint).records.at(0).location;
  EXPECT_EQ(std::vector<double>(low, low + 6), (std::vector<double>{1, 2, 0, 0, 0, 0}));
  const double* offset = r.drawing.elements.at(Offset).records.at(0).location;
  EXPECT_EQ(std::vector<double>(offset, offset + 6),
            (std::vector<double>{0, 3, 4, 0, 5, 6}));
  const double* bounded = r.drawing.elements.at(BoundedPoint).records.at(0).location;
  EXPECT_EQ(std::vector<double>(bounded, bounded + 6),
            (std::vector<double>{7, 8, 0, 1, 2, 0}));
  // An open polygon closed by repeating its first vertex loses the repetition.
  EXPECT_EQ(r.drawing.elements.at(SurfaceZone).xs.at(0), (std::vector<double>{0, 1}));
}

TEST(DxfReader, ClassifiesLayerNamesIgnoringCaseAndSeparators) {
  struct Row {
    const char* name;
    gvk_dxf::LayerRole::What what;
    GradingElementType kind;
  };
  using R = gvk_dxf::LayerRole;
  const Row rows[] = {
      {"DRAIN-LINE", R::kElements, DrainLine},
      {"Building Pad", R::kElements, BuildingPad},
      {"low_point", R::kElements, LowPoint},
      {"POND.2", R::kElements, Pond},
      {"Pond-Offset", R::kElements, Offset},
      {"EXCLUSION ZONE", R::kElements, SurfaceZone},
      {"ParkingLot", R::kElements, ParkingLot},
      {"EG-BRKLN", R::kNone, Unclassified},
      {"EG_BREAK-LINES", R::kBreakLines, Unclassified},
      {"TREES", R::kNone, Unclassified},
      {"0", R::kNone, Unclassified},
      {"", R::kNone, Unclassified},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const gvk_dxf::LayerRole role = gvk_dxf::classify_layer(row.name);
    EXPECT_EQ(role.what, row.what);
    if (row.what == R::kElements) {
      EXPECT_EQ(role.kind, row.kind);
    }
  }
}

TEST(DxfReader, TakesTheUnitFromInsunitsAndWarnsWithoutOne) {
  struct Row {
    std::string head;
    std::int32_t unit;
    const char* warns;
  };
  const Row rows[] = {
      {header(6), 2, ""},
      {header(4), 0, ""},
      {header(2), 4, ""},
      {header(21), 7, ""},
      {header(10), 5, ""},
      {header(1), gvk::kUnknownUnitType, "$INSUNITS 1 is no unit the library knows"},
      {header(0), gvk::kUnknownUnitType, "states no unit ($INSUNITS 0)"},
      {"0\nSECTION\n2\nHEADER\n9\n$MEASUREMENT\n70\n1\n0\nENDSEC\n",
       gvk::kUnknownUnitType, "no $INSUNITS; $MEASUREMENT says metric"},
      {"", gvk::kUnknownUnitType, "states no unit (no $INSUNITS)"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.head);
    const Read r = parse(drawing("", "", row.head));
    ASSERT_TRUE(r.ok) << r.error;
    EXPECT_EQ(r.drawing.unit, row.unit);
    if (*row.warns) {
      EXPECT_NE(r.all_warnings().find(row.warns), std::string::npos) << r.all_warnings();
    } else {
      EXPECT_TRUE(r.warnings.empty()) << r.all_warnings();
    }
  }
}

std::string block(const std::string& name, const std::string& entities,
                  P base = {0, 0, 0}) {
  return "0\nBLOCK\n8\n0\n2\n" + name + "\n70\n0\n" +
         point_groups(0, base.x, base.y, base.z) + entities + "0\nENDBLK\n8\n0\n";
}

std::string insert(const std::string& name, const std::string& layer, P at,
                   const std::string& more = "") {
  return "0\nINSERT\n8\n" + layer + "\n2\n" + name + "\n" +
         point_groups(0, at.x, at.y, at.z) + more;
}

// INSERTs place their block's entities with the insert's transform; nested blocks
// compose; entities on layer 0 take the insert's layer.
TEST(DxfReader, ExpandsInsertsWithTheirTransform) {
  const std::string tri = face("0", {0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 1, 0});
  struct Row {
    const char* what;
    std::string blocks, entities;
    std::vector<double> x, y, z;
    std::string surface;
  };
  const Row rows[] = {
      {"moved",
       block("T", tri),
       insert("T", "EG", {100, 200, 5}),
       {100, 101, 100},
       {200, 200, 201},
       {5, 5, 5},
       "EG"},
      {"scaled and rotated by 90 degrees",
       block("T", tri),
       insert("T", "EG", {0, 0, 0}, "41\n2\n42\n3\n43\n4\n50\n90\n"),
       {0, 0, -3},
       {0, 2, 0},
       {0, 0, 0},
       "EG"},
      {"base point",
       block("T", tri, {1, 1, 1}),
       insert("T", "EG", {0, 0, 0}),
       {-1, 0, -1},
       {-1, -1, 0},
       {-1, -1, -1},
       "EG"},
      {"nested",
       block("T", tri) + block("U", insert("T", "0", {10, 0, 0})),
       insert("U", "OUTER", {0, 10, 0}),
       {10, 11, 10},
       {10, 10, 11},
       {0, 0, 0},
       "OUTER"},
      {"a layer of its own kept",
       block("T", face("MINE", {0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 1, 0})),
       insert("T", "EG", {0, 0, 0}),
       {0, 1, 0},
       {0, 0, 1},
       {0, 0, 0},
       "MINE"},
      {"an array of two columns",
       block("T", tri),
       insert("T", "EG", {0, 0, 0}, "70\n2\n44\n5\n"),
       {0, 1, 0, 5, 6, 5},
       {0, 0, 1, 0, 0, 1},
       {0, 0, 0, 0, 0, 0},
       "EG"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    const Read r = parse(drawing(row.entities, row.blocks));
    ASSERT_TRUE(r.ok) << r.error;
    ASSERT_EQ(r.drawing.surfaces.size(), 1u) << r.all_warnings();
    const gvk_dxf::Surface& s = r.drawing.surfaces[0];
    EXPECT_EQ(s.name, row.surface);
    ASSERT_EQ(s.x.size(), row.x.size());
    for (std::size_t i = 0; i < s.x.size(); ++i) {
      EXPECT_NEAR(s.x[i], row.x[i], 1e-12) << i;
      EXPECT_NEAR(s.y[i], row.y[i], 1e-12) << i;
      EXPECT_NEAR(s.z[i], row.z[i], 1e-12) << i;
    }
  }
}

TEST(DxfReader, ReportsInsertsItCannotExpand) {
  struct Row {
    const char* what;
    std::string text;
    const char* warns;
  };
  const Row rows[] = {
      {"an unknown block", drawing(insert("NONE", "EG", {0, 0, 0})),
       "INSERT of block \"NONE\", which the drawing does not define, left out"},
      {"an insert that names no block", drawing("0\nINSERT\n8\nEG\n10\n0\n"),
       "INSERT of block \"\", which the drawing does not define, left out"},
      {"a polyface mesh without faces",
       drawing(
           "0\nPOLYLINE\n8\nPF\n66\n1\n70\n64\n0\nVERTEX\n8\nPF\n70\n192\n0\nSEQEND\n"),
       "layer \"PF\": polyface meshes without faces left out"},
      {"a block that inserts itself",
       drawing(insert("SELF", "EG", {0, 0, 0}),
               block("SELF", insert("SELF", "0", {1, 0, 0}))),
       "INSERTs nested deeper than 16 levels left out"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    const Read r = parse(row.text);
    ASSERT_TRUE(r.ok) << r.error;
    EXPECT_NE(r.all_warnings().find(row.warns), std::string::npos) << r.all_warnings();
  }
}

TEST(DxfReader, RefusesBadFilesNamingFileLineAndWhat) {
  struct Row {
    const char* what;
    std::string text;
    std::string error;
  };
  const Row rows[] = {
      {"not DXF", "hello\nworld\n", "t.dxf: not a DXF file"},
      {"binary DXF", std::string(gvk_dxf::kBinarySentinel) + "\x00\x02",
       "t.dxf: a binary DXF file"},
      {"a code that is no integer", drawing("0\nPOINT\nabc\n1\n"),
       "t.dxf:21: expected a group code (an integer from -5 to 1071), found \"abc\""},
      {"a code out of range", drawing("0\nPOINT\n2000\n1\n"),
       "t.dxf:21: expected a group code"},
      {"a coordinate that is no number", drawing("0\nPOINT\n8\nLowPoint\n10\n1,5\n"),
       "t.dxf:23: group 10 of POINT: expected a finite number, found \"1,5\""},
      {"a coordinate that is not finite", drawing("0\nLINE\n8\nOffset\n21\nnan\n"),
       "t.dxf:23: group 21 of LINE: expected a finite number, found \"nan\""},
      {"an overflowing coordinate", drawing("0\n3DFACE\n8\nEG\n30\n1e999\n"),
       "t.dxf:23: group 30 of 3DFACE: expected a finite number"},
      {"a flag that is no integer", drawing("0\nLWPOLYLINE\n8\nPond\n70\n1.5\n"),
       "t.dxf:23: group 70 of LWPOLYLINE: expected an integer, found \"1.5\""},
      {"cut short in a pair", drawing("").substr(0, drawing("").size() - 4),
       ": group code 0 has no value: the file is cut short"},
      {"cut short before EOF", drawing(point("LowPoint", kA)).substr(0, 60),
       "t.dxf: the file ends before 0/EOF"},
      {"a polyface face beyond its vertices",
       drawing("0\nPOLYLINE\n8\nPF\n66\n1\n70\n64\n0\nVERTEX\n8\nPF\n10\n0\n20\n0\n30\n0"
               "\n70\n192\n"
               "0\nVERTEX\n8\nPF\n70\n128\n71\n1\n72\n1\n73\n2\n0\nSEQEND\n"),
       "t.dxf:39: the polyface face names vertex 2, but its mesh has 1"},
      {"an insert whose scale overflows",
       drawing(insert("T", "EG", {0, 0, 0}, "41\n1e308\n"),
               block("T", face("0", {1e308, 0, 0}, {0, 0, 0}, {0, 1, 0}, {0, 1, 0}))),
       "placed by its block's INSERT, are not finite"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    const Read r = parse(row.text);
    EXPECT_FALSE(r.ok);
    EXPECT_NE(r.error.find(row.error), std::string::npos) << r.error;
    EXPECT_EQ(r.error.rfind("t.dxf:", 0), 0u) << r.error;
  }
}

// ---------------------------------------------------------------------------------
// Writing.

// A name of this process's own: test programs of other build trees on the machine
// write their files into the same temporary folder at the same time.
std::string temp_path(const std::string& name) {
  static const std::string token = std::to_string(std::random_device{}());
  return testing::TempDir() + "dxf_test_" + token + "_" + name;
}

// A mesh of n x n vertices at state-plane coordinates with values that need all 17
// digits, numbered in the order the triangles first name them (as the reader numbers
// them), every kind of element, and break lines, some continuing one another.
struct Problem {
  std::vector<double> x, y, z;
  std::vector<gvk::Triangle> triangles;
  std::vector<gravok_line_3d> break_lines;
  std::map<GradingElementType, gvk_dxf::Elements> kinds;
};

Problem random_problem(unsigned seed) {
  std::mt19937_64 random(seed);
  std::uniform_real_distribution<double> jitter(-0.5, 0.5);
  Problem p;
  const int n = 6;
  for (int j = 0; j < n; ++j) {
    for (int i = 0; i < n; ++i) {
      p.x.push_back(2000000.0 + i * 10 + jitter(random));
      p.y.push_back(-500000.0 + j * 10 + jitter(random));
      p.z.push_back(100 + jitter(random) * 1e-9);
    }
  }
  for (int j = 0; j + 1 < n; ++j) {
    for (int i = 0; i + 1 < n; ++i) {
      const unsigned long long a = j * n + i, b = a + 1, c = a + n + 1, d = a + n;
      p.triangles.push_back({a, b, c});
      p.triangles.push_back({a, c, d});
    }
  }
  // Renumber in order of first appearance.
  std::vector<long long> order(p.x.size(), -1);
  std::vector<double> x, y, z;
  for (gvk::Triangle& t : p.triangles) {
    for (unsigned long long& v : t) {
      if (order[v] < 0) {
        order[v] = static_cast<long long>(x.size());
        x.push_back(p.x[v]), y.push_back(p.y[v]), z.push_back(p.z[v]);
      }
      v = static_cast<unsigned long long>(order[v]);
    }
  }
  p.x = x, p.y = y, p.z = z;
  p.break_lines = {
      {1, 2, 3, 4, 5, 6}, {4, 5, 6, 7.25, 8, 9}, {0.1, 0.2, 0.3, -0.4, 1e-300, 5e-324}};
  for (const GradingElementType kind : gvk::allElementTypes()) {
    gvk_dxf::Elements& e = p.kinds[kind];
    for (int k = 0; k < 2; ++k) {
      gravok_grading_element r;
      gvk::initge(r);
      double* at = r.location;
      const double u = 2000000 + jitter(random), v = 1000 * jitter(random);
      if (kind == LowPoint) at[0] = u, at[1] = v;
      if (kind == BoundedPoint)
        at[0] = u, at[1] = v, at[3] = 10 + k, at[4] = 10 + k * 0.5;
      if (kind == Offset) at[1] = u, at[2] = v, at[4] = v, at[5] = u;
      e.records.push_back(r);
      if (kind == LowPoint || kind == BoundedPoint || kind == Offset) {
        e.xs.emplace_back(), e.ys.emplace_back();
        continue;
      }
      e.xs.push_back({u, u + 1, u + 0.1, u + jitter(random)});
      e.ys.push_back({v, v, v + 1.5, v - 1e-7});
    }
  }
  return p;
}

// Hands `p` to `store` as a transfer does.
void hand(const Problem& p, gvk_dxf::DxfStore& store) {
  store.set_transferred_units(gvk::Known<1>(4), gvk::Known<2>(4), gvk::Known<3>(4));
  store.set_eg_data(p.x, p.y, p.z, p.triangles, {});
  store.set_transferred_break_lines(p.break_lines);
  for (const auto& [kind, e] : p.kinds) {
    store.set_transferred_grading_elements(kind, e.records, e.xs, e.ys, {});
  }
}

// What a source answers, in absolute coordinates.
struct Answer {
  std::vector<double> x, y, z;
  std::vector<gvk::Triangle> triangles;
  std::vector<gravok_line_3d> break_lines;
  std::map<GradingElementType, gvk_dxf::Elements> kinds;
  gvk::Unit<1> unit;
};

Answer answer(gvk::DataSource& s) {
  Answer a;
  std::vector<gravok_triangle_info> info;
  s.get_eg_data(a.x, a.y, a.z, a.triangles, info);
  for (double& v : a.x) v += s.get_xorig();
  for (double& v : a.y) v += s.get_yorig();
  for (double& v : a.z) v += s.get_zorig();
  s.get_break_lines(a.break_lines);
  for (gravok_line_3d& l : a.break_lines) {
    l.x1 += s.get_xorig(), l.x2 += s.get_xorig();
    l.y1 += s.get_yorig(), l.y2 += s.get_yorig();
    l.z1 += s.get_zorig(), l.z2 += s.get_zorig();
  }
  for (const GradingElementType kind : gvk::allElementTypes()) {
    gvk_dxf::Elements e;
    gvk::DataSource::ComplexElementData data;
    s.get_grading_elements(kind, e.records, e.xs, e.ys, data);
    for (auto& xs : e.xs) {
      for (double& v : xs) v += s.get_xorig();
    }
    for (auto& ys : e.ys) {
      for (double& v : ys) v += s.get_yorig();
    }
    for (gravok_grading_element& r : e.records) {
      double* at = r.location;
      if (kind == LowPoint || kind == BoundedPoint)
        at[0] += s.get_xorig(), at[1] += s.get_yorig();
      if (kind == BoundedPoint) at[3] += s.get_zorig(), at[4] += s.get_zorig();
      if (kind == Offset) {
        at[1] += s.get_xorig(), at[2] += s.get_yorig();
        at[4] += s.get_xorig(), at[5] += s.get_yorig();
      }
    }
    if (!e.records.empty()) a.kinds[kind] = e;
  }
  s.get_linear_unit(a.unit);
  return a;
}

bool same_bits(const std::vector<double>& a, const std::vector<double>& b) {
  return a.size() == b.size() &&
         (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(double)) == 0);
}

TEST(DxfStore, WritesWhatReadsBackBitForBitWithKinds) {
  for (unsigned seed = 1; seed <= 3; ++seed) {
    SCOPED_TRACE(seed);
    const Problem p = random_problem(seed);
    const std::string path = temp_path("roundtrip.dxf");
    gvk_dxf::DxfStore store(path);
    hand(p, store);
    store.save();
    EXPECT_TRUE(store.losses().empty()) << store.losses().front().what;
    gvk_dxf::DxfSource back(path);
    ASSERT_TRUE(back.load()) << back.error();
    EXPECT_TRUE(back.warnings().empty()) << back.warnings().front();
    const Answer a = answer(back);
    EXPECT_TRUE(same_bits(a.x, p.x));
    EXPECT_TRUE(same_bits(a.y, p.y));
    EXPECT_TRUE(same_bits(a.z, p.z));
    EXPECT_EQ(a.triangles, p.triangles);
    ASSERT_EQ(a.break_lines.size(), p.break_lines.size());
    EXPECT_EQ(std::memcmp(a.break_lines.data(), p.break_lines.data(),
                          p.break_lines.size() * sizeof(gravok_line_3d)),
              0);
    EXPECT_EQ(a.unit.type, 4);
    ASSERT_EQ(a.kinds.size(), p.kinds.size());
    for (const auto& [kind, e] : p.kinds) {
      SCOPED_TRACE(kind);
      const gvk_dxf::Elements& got = a.kinds.at(kind);
      ASSERT_EQ(got.records.size(), e.records.size());
      EXPECT_EQ(std::memcmp(got.records.data(), e.records.data(),
                            e.records.size() * sizeof(gravok_grading_element)),
                0);
      for (std::size_t i = 0; i < e.records.size(); ++i) {
        if (e.xs[i].empty()) continue;
        EXPECT_TRUE(same_bits(got.xs.at(i), e.xs[i]));
        EXPECT_TRUE(same_bits(got.ys.at(i), e.ys[i]));
      }
    }
    std::remove(path.c_str());
  }
}

TEST(DxfStore, DeclaresWhatDxfCannotHold) {
  struct Row {
    const char* what;
    std::function<void(gvk_dxf::DxfStore&)> set;
    std::vector<gvk::StoreLoss> losses;  // all the store declares afterwards
  };
  gravok_grading_element tagged;
  gvk::initge(tagged);
  tagged.attributes[3] = 1;
  gravok_grading_element slot;
  gvk::initge(slot);
  slot.location[2] = 7;  // a low point's slot 2 and a bounded point's are no coordinates
  gvk::DataSource::ComplexElementData complex;
  complex.int_lists = {{1}};
  const gvk::DataSource defaults;
  const Row rows[] = {
      {"default settings and the version it writes",
       [&](gvk_dxf::DxfStore& s) {
         s.set_max_slope(defaults.get_max_slope());
         s.set_mesh_metric(defaults.get_mesh_metric());
         s.set_max_iteration_count(defaults.get_max_iteration_count());
         s.set_fix_boundary(defaults.fix_boundary());
         s.set_hostcad_version("DXF AC1009");
         s.set_units(gvk::Known<1>(2), gvk::Known<2>(2), gvk::Known<3>(2));
       },
       {}},
      {"settings and objectives",
       [](gvk_dxf::DxfStore& s) {
         s.set_max_slope(0.5);
         s.set_min_slopes({0.1, 0.2});
         s.set_objectives({gravok_objective{}});
         s.set_max_slope(0.7);
       },
       {{"settings (max slope)", 1}, {"settings (min slopes)", 2}, {"objectives", 1}}},
      {"a setter that restores the default takes its loss back",
       [&](gvk_dxf::DxfStore& s) {
         s.set_epsilon(1e-3);
         s.set_epsilon(defaults.get_epsilon());
       },
       {}},
      {"element bytes, slots and missing vertices",
       [&](gvk_dxf::DxfStore& s) {
         s.set_low_points({tagged, slot});
         s.set_bounded_points({slot});
         s.set_drain_lines({tagged, tagged});
         s.set_transferred_grading_elements(BendLine, {slot, slot}, {{1, 2}, {}},
                                            {{1, 2}, {}}, complex);
       },
       {{"LowPoint element records (attribute bytes)", 1},
        {"LowPoint element records (location slots that are no coordinates)", 1},
        {"BoundedPoint element records (location slots that are no coordinates)", 1},
        {"DrainLine element records (attribute bytes)", 2},
        {"DrainLine elements without vertices (not written)", 2},
        {"BendLine element records (location slots that are no coordinates)", 2},
        {"BendLine elements without vertices (not written)", 1},
        {"BendLine elements (complex-element data)", 2}}},
      {"an unused and a repeated vertex, triangle records",
       [](gvk_dxf::DxfStore& s) {
         gravok_triangle_info info{};
         std::memset(&info, 1, 1);
         s.set_eg_data({0, 1, 0, 1, 5}, {0, 0, 1, 0, 5}, {0, 0, 0, 0, 5},
                       {{0, 1, 2}, {3, 2, 0}}, {info, {}});
       },
       {{"triangle records", 1},
        {"mesh vertices that no triangle uses", 1},
        {"mesh vertices that repeat another's coordinates (read back as one)", 1}}},
      {"units, and an application's name as the host version",
       [](gvk_dxf::DxfStore& s) {
         s.set_units(gvk::Known<1>(8), gvk::Known<2>(8), gvk::Known<3>(8));
         s.set_hostcad_version("CAD 1");
         s.set_units(gvk::Known<1>(2), gvk::Known<2>(1), gvk::Known<3>(2));
       },
       {{"units DXF cannot state", 1}, {"host version", 1}}},
      {"a drawing's own version is the file's, not the problem's",
       [](gvk_dxf::DxfStore& s) { s.set_hostcad_version("DXF AC1032"); },
       {}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    const std::string path = temp_path("losses.dxf");
    gvk_dxf::DxfStore store(path);
    row.set(store);
    store.save();
    const std::vector<gvk::StoreLoss> losses = store.losses();
    ASSERT_EQ(losses.size(), row.losses.size());
    for (std::size_t i = 0; i < losses.size(); ++i) {
      EXPECT_EQ(losses[i].what, row.losses[i].what);
      EXPECT_EQ(losses[i].count, row.losses[i].count) << losses[i].what;
    }
    std::remove(path.c_str());
  }
}

TEST(DxfStore, RefusesWhatItsReaderWouldRefuseAndWritesNothing) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  struct Row {
    const char* what;
    std::function<void(gvk_dxf::DxfStore&)> set;
    const char* says;
  };
  const Row rows[] = {
      {"a NaN vertex",
       [&](gvk_dxf::DxfStore& s) {
         s.set_eg_data({0, 1, nan}, {0, 0, 1}, {0, 0, 0}, {{0, 1, 2}}, {});
       },
       "has a vertex coordinate that is not finite"},
      {"an index beyond the vertices",
       [](gvk_dxf::DxfStore& s) {
         s.set_eg_data({0, 1, 0}, {0, 0, 1}, {0, 0, 0}, {{0, 1, 3}}, {});
       },
       "triangle 0 names vertex 3, but there are 3"},
      {"short y",
       [](gvk_dxf::DxfStore& s) {
         s.set_eg_data({0, 1, 0}, {0, 0}, {0, 0, 0}, {}, {});
       },
       "fewer y or z coordinates"},
      {"an infinite break line",
       [](gvk_dxf::DxfStore& s) {
         s.set_break_lines({{0, 0, 0, 1, 1, HUGE_VAL}});
       },
       "a break line has a coordinate that is not finite"},
      {"x and y of different lengths",
       [](gvk_dxf::DxfStore& s) {
         s.set_transferred_grading_elements(DrainLine, {gravok_grading_element{}},
                                            {{0, 1}}, {{0}}, {});
       },
       "DrainLine element 0 has 2 x and 1 y coordinates"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    const std::string path = temp_path("refused.dxf");
    std::remove(path.c_str());
    gvk_dxf::DxfStore store(path);
    row.set(store);
    try {
      store.endBulkOperation();
      ADD_FAILURE() << "written";
    } catch (const std::invalid_argument& e) {
      EXPECT_EQ(std::string(e.what()).rfind("cannot write " + path + ": ", 0), 0u)
          << e.what();
      EXPECT_NE(std::string(e.what()).find(row.says), std::string::npos) << e.what();
    }
    EXPECT_FALSE(std::ifstream(path).good());
  }
}

// ---------------------------------------------------------------------------------
// Providers and the module.

TEST(DxfProviders, OpenDxfSayWhyNotAndLeaveOtherFilesToOthers) {
  const std::string dxf = temp_path("site.dxf"), other = temp_path("other.dxf"),
                    fresh = temp_path("fresh.dxf"), bad = temp_path("bad.dxf"),
                    folder = temp_path("folder.dxf");
  std::ofstream(dxf) << drawing(face("EG", kA, kB, kC, kD) +
                                lwpolyline("EDGE", {kA, kB}));
  std::ofstream(other) << "this is a text file\n";
  std::ofstream(bad) << "  0\nSECTION\n  2\nENTITIES\n  0\nPOINT\n  8\nX\n 10\nnan\n";
  std::remove(fresh.c_str());
  std::filesystem::create_directory(folder);
  gvk_dxf::SourceProvider source;
  gvk_dxf::StoreProvider store;
  struct Row {
    std::string location;
    bool read, write;  // canHandle of the source and of the store provider
    // Through the registry: what a source and a "dxf:" store report; "" opens.
    std::string source_reason, store_reason;
  };
  const std::string not_dxf =
      ": not a DXF file: it does not start with the pairs 0/SECTION";
  const Row rows[] = {
      {dxf, true, true, "", ""},
      {"dxf:" + dxf, true, true, "", ""},
      {other, false, true, "", other + not_dxf + "; it is left as it is"},
      {"dxf:" + other, true, true, other + not_dxf,
       other + not_dxf + "; it is left as it is"},
      {fresh, true, true, fresh + ": cannot be read: " + std::strerror(ENOENT), ""},
      {folder, true, true, folder + ": cannot be read: " + std::strerror(EISDIR),
       folder + ": " + std::strerror(EISDIR) + "; it is left as it is"},
      {bad, true, true, bad + ":9: group 10 of POINT: expected a finite number", ""},
      {temp_path("site.json"), false, false, "", ""},
  };
  ASSERT_EQ(gvk_dxf::register_providers(), 2);
  for (const Row& row : rows) {
    SCOPED_TRACE(row.location);
    EXPECT_EQ(source.canHandle(row.location), row.read);
    EXPECT_EQ(store.canHandle(row.location), row.write);
    std::vector<std::string> reasons;
    const bool opened = gvk::createDataSource(row.location, reasons) != nullptr;
    EXPECT_EQ(opened, row.read && row.source_reason.empty());
    EXPECT_EQ(reasons.size(), row.source_reason.empty() ? 0u : 1u);
    if (!reasons.empty()) {
      EXPECT_EQ(reasons[0].rfind(row.source_reason, 0), 0u) << reasons[0];
    }
    const std::string target =
        row.location.rfind("dxf:", 0) == 0 ? row.location : "dxf:" + row.location;
    EXPECT_EQ(gvk::createDataStore(target, reasons) != nullptr, row.store_reason.empty());
    EXPECT_EQ(reasons, row.store_reason.empty()
                           ? std::vector<std::string>{}
                           : std::vector<std::string>{row.store_reason});
  }
  EXPECT_EQ(gvk_dxf::unregister_providers(), 2);
  EXPECT_FALSE(std::filesystem::exists(fresh)) << "opening a store writes nothing";
  // A layer named by the location holds break lines.
  auto opened = source.createDataSource(dxf + "?breaklines=EDGE");
  ASSERT_NE(opened, nullptr);
  std::vector<gravok_line_3d> lines;
  opened->get_break_lines(lines);
  EXPECT_EQ(lines.size(), 1u);
  std::filesystem::remove(folder);
}

}  // namespace
