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
};

// No warning when `part` is empty; else a warning that holds `part`.
void expect_warning(const Read& r, const std::string& part) {
  if (part.empty()) {
    EXPECT_TRUE(r.warnings.empty()) << r.all_warnings();
  } else {
    EXPECT_NE(r.all_warnings().find(part), std::string::npos) << r.all_warnings();
  }
}

Read parse(const std::string& text, const std::string& break_layer = "") {
  Read r;
  gvk_dxf::ReadOptions options;
  options.break_line_layer = break_layer;
  r.ok = gvk_dxf::parse_drawing(text, "t.dxf", options, r.drawing, r.error, r.warnings);
  return r;
}

const P kA{0, 0, 1}, kB{10, 0, 2}, kC{10, 10, 3}, kD{0, 10, 4};

// What a drawing gave, in short: each surface as "name:vertices/triangles", each kind
// with elements as "kind=count", and "breaks=count" when there are break lines.
std::string summary(const Drawing& d) {
  std::string out;
  for (const gvk_dxf::Surface& s : d.surfaces) {
    out += s.name + ":" + std::to_string(s.x.size()) + "/" +
           std::to_string(s.triangles.size()) + " ";
  }
  for (const auto& [kind, e] : d.elements) {
    if (!e.records.empty())
      out += std::to_string(kind) + "=" + std::to_string(e.records.size()) + " ";
  }
  if (!d.break_lines.empty())
    out += "breaks=" + std::to_string(d.break_lines.size()) + " ";
  return out;
}

// The rules the drawings of ezdxf do not show (test_dxf_ezdxf.py reads those: faces,
// quads and their diagonal, welding, polyface meshes, layers and kinds): what a row's
// drawing gives, and a warning when one must say what was left out.
TEST(DxfReader, MakesSurfacesElementsAndBreakLinesByLayer) {
  struct Row {
    const char* what;
    std::string text, gives, warns;
  };
  const P a_bit_off{std::nextafter(0.0, 1.0), 0, 1};
  const std::string pond_arc =
      "0\nLWPOLYLINE\n8\nPond\n90\n2\n70\n0\n10\n0\n20\n0\n42\n1\n10\n1\n20\n0\n";
  const std::string seqend_missing = polyline3d("DrainLine", {kA, kB});
  const Row rows[] = {
      {"a fourth corner repeating the first is a triangle",
       drawing(face("EG", kA, kB, kC, kA)), "EG:3/1 ", ""},
      {"corners that differ in the last bit are not welded",
       drawing(face("EG", kA, kB, kC, kC) + face("EG", a_bit_off, kC, kD, kD)), "EG:5/2 ",
       ""},
      {"layer names matched ignoring case and separators, the catalogue's order first",
       drawing(lwpolyline("POND.2", {kA, kB}) + line("Pond-Offset", kA, kB) +
               lwpolyline("EXCLUSION ZONE", {kA, kB, kC}) +
               polyline3d("EG_BREAK-LINES", {kA, kB})),
       "3=1 5=1 102=1 breaks=1 ", ""},
      {"a name that only looks like a kind", drawing(line("EG-BRKLN", kA, kB)), "",
       "layer \"EG-BRKLN\": entities on a layer whose name names no element kind"},
      {"a 3D polyline and a vertical line classified by layer",
       drawing(polyline3d("Curb", {kA, kB}) + line("BoundedPoint", {1, 2, 3}, {1, 2, 5})),
       "1=1 100=1 ", ""},
      {"an unclassified layer is reported, not guessed",
       drawing(lwpolyline("TREES", {kA, kB}) + point("TREES", kA)), "",
       "layer \"TREES\": entities on a layer whose name names no element kind left out "
       "(2 entities"},
      {"a point on a polyline kind's layer", drawing(point("DrainLine", kA)), "",
       "points on a layer of DrainLine, a polyline kind, left out"},
      {"a sloped line on a point kind's layer", drawing(line("LowPoint", kA, kB)), "",
       "lines on a layer of LowPoint, a point kind, left out"},
      {"arcs read as chords", drawing(pond_arc), "102=1 ",
       "arc segments read as straight chords"},
      {"other entities counted",
       drawing("0\nCIRCLE\n8\nPond\n10\n0\n20\n0\n40\n1\n0\nTEXT\n8\n0\n1\nhi\n"), "",
       "left out: 1 CIRCLE, 1 TEXT"},
      {"a polyline whose SEQEND is missing",
       drawing(seqend_missing.substr(0, seqend_missing.size() - 9)), "4=1 ", ""},
      {"a polyline without vertices left out",
       drawing(polyline3d("DrainLine", {}) + polyline3d("DrainLine", {kA})), "4=1 ",
       "polylines without vertices left out"},
      {"paper space left out", drawing("0\nPOINT\n67\n1\n8\nLowPoint\n10\n0\n20\n0\n"),
       "", "1 POINT (paper space)"},
      {"break lines of the layer the location names, closed",
       drawing(lwpolyline("EDGE", {kA, kB, kC}, true)), "breaks=3 ", ""},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    const Read r = parse(row.text, "EDGE");
    ASSERT_TRUE(r.ok) << r.error;
    EXPECT_EQ(summary(r.drawing), row.gives);
    expect_warning(r, row.warns);
  }
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

TEST(DxfReader, TakesTheUnitFromInsunitsAndWarnsWithoutOne) {
  struct Row {
    std::string head;
    std::int32_t unit;
    const char* warns;
  };
  const Row rows[] = {
      {header(21), 7, ""},
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
    expect_warning(r, row.warns);
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

// The surfaces' corners, as "layer: x y z, x y z, ...; ...".
std::string corners(const Drawing& d) {
  std::ostringstream out;
  for (const gvk_dxf::Surface& s : d.surfaces) {
    out << s.name << ":";
    for (std::size_t i = 0; i < s.x.size(); ++i) {
      out << (i ? ", " : " ") << s.x[i] << " " << s.y[i] << " " << s.z[i];
    }
    out << "; ";
  }
  return out.str();
}

// INSERTs place their block's entities with the insert's base point and array
// (ezdxf's drawings show moves, scales and rotations); nested blocks compose; entities
// on layer 0 take the insert's layer. What cannot be expanded is reported.
TEST(DxfReader, ExpandsInsertsOrReportsWhyNot) {
  const std::string tri = face("0", {0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 1, 0});
  struct Row {
    const char* what;
    std::string blocks, entities, gives, warns;
  };
  const Row rows[] = {
      {"base point", block("T", tri, {1, 1, 1}), insert("T", "EG", {0, 0, 0}),
       "EG: -1 -1 -1, 0 -1 -1, -1 0 -1; ", ""},
      {"nested", block("T", tri) + block("U", insert("T", "0", {10, 0, 0})),
       insert("U", "OUTER", {0, 10, 0}), "OUTER: 10 10 0, 11 10 0, 10 11 0; ", ""},
      {"a layer of its own kept",
       block("T", face("MINE", {0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 1, 0})),
       insert("T", "EG", {0, 0, 0}), "MINE: 0 0 0, 1 0 0, 0 1 0; ", ""},
      {"an array of two columns", block("T", tri),
       insert("T", "EG", {0, 0, 0}, "70\n2\n44\n5\n"),
       "EG: 0 0 0, 1 0 0, 0 1 0, 5 0 0, 6 0 0, 5 1 0; ", ""},
      {"an unknown block", "", insert("NONE", "EG", {0, 0, 0}), "",
       "INSERT of block \"NONE\", which the drawing does not define, left out"},
      {"an insert that names no block", "", "0\nINSERT\n8\nEG\n10\n0\n", "",
       "INSERT of block \"\", which the drawing does not define, left out"},
      {"a polyface mesh without faces", "",
       "0\nPOLYLINE\n8\nPF\n66\n1\n70\n64\n0\nVERTEX\n8\nPF\n70\n192\n0\nSEQEND\n", "",
       "layer \"PF\": polyface meshes without faces left out"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    const Read r = parse(drawing(row.entities, row.blocks));
    ASSERT_TRUE(r.ok) << r.error;
    EXPECT_EQ(corners(r.drawing), row.gives);
    expect_warning(r, row.warns);
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
// them), two elements of every kind, and break lines, some continuing one another.
gvk::Problem random_problem(unsigned seed) {
  std::mt19937_64 random(seed);
  std::uniform_real_distribution<double> jitter(-0.5, 0.5);
  gvk::Problem p;
  gvk::Mesh& m = p.mesh;
  const unsigned long long n = 6;
  std::vector<long long> order(n * n, -1);
  for (unsigned long long j = 0; j + 1 < n; ++j) {
    for (unsigned long long i = 0; i + 1 < n; ++i) {
      const unsigned long long a = j * n + i, corners[2][3] = {{a, a + 1, a + n + 1},
                                                               {a, a + n + 1, a + n}};
      for (const auto& corner : corners) {
        gvk::Triangle t{};
        for (int k = 0; k < 3; ++k) {
          const unsigned long long v = corner[k];
          if (order[v] < 0) {
            order[v] = static_cast<long long>(m.x.size());
            m.x.push_back(2000000.0 + double(v % n) * 10 + jitter(random));
            m.y.push_back(-500000.0 + double(v / n) * 10 + jitter(random));
            m.z.push_back(100 + jitter(random) * 1e-9);
          }
          t[k] = static_cast<unsigned long long>(order[v]);
        }
        m.triangles.push_back(t);
      }
    }
  }
  p.break_lines = {
      {1, 2, 3, 4, 5, 6}, {4, 5, 6, 7.25, 8, 9}, {0.1, 0.2, 0.3, -0.4, 1e-300, 5e-324}};
  p.linear_unit = gvk::store_unit(gvk::Known<1>(4));
  p.area_unit = gvk::store_unit(gvk::Known<2>(4));
  p.volume_unit = gvk::store_unit(gvk::Known<3>(4));
  for (const GradingElementType kind : gvk::allElementTypes()) {
    gvk::ElementSet& e = p.elements[kind];
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
      const bool point_kind = kind == LowPoint || kind == BoundedPoint || kind == Offset;
      e.xs.push_back(point_kind
                         ? std::vector<double>{}
                         : std::vector<double>{u, u + 1, u + 0.1, u + jitter(random)});
      e.ys.push_back(point_kind ? std::vector<double>{}
                                : std::vector<double>{v, v, v + 1.5, v - 1e-7});
    }
  }
  return p;
}

bool same_bits(const std::vector<double>& a, const std::vector<double>& b) {
  return a.size() == b.size() &&
         (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(double)) == 0);
}

// A problem copied into the store (as gravok copy does) and read back from the file
// gives the same mesh, break lines, unit and elements of every kind, bit for bit in
// absolute coordinates, with nothing declared lost.
TEST(DxfStore, WritesWhatReadsBackBitForBitWithKinds) {
  for (unsigned seed = 1; seed <= 3; ++seed) {
    SCOPED_TRACE(seed);
    const gvk::Problem p = random_problem(seed);
    const std::string path = temp_path("roundtrip.dxf");
    gvk_dxf::DxfStore store(path);
    gvk::ProblemSource given(p);
    store.copyAllFrom(given);
    EXPECT_TRUE(store.losses().empty()) << store.losses().front().what;
    gvk_dxf::DxfSource back(path);
    ASSERT_TRUE(back.load()) << back.error();
    EXPECT_TRUE(back.warnings().empty()) << back.warnings().front();
    gvk::ProblemStore read;  // its origin is 0: the transfer makes coordinates absolute
    read.copyAllFrom(back);
    const gvk::Problem& a = read.problem();
    EXPECT_TRUE(same_bits(a.mesh.x, p.mesh.x));
    EXPECT_TRUE(same_bits(a.mesh.y, p.mesh.y));
    EXPECT_TRUE(same_bits(a.mesh.z, p.mesh.z));
    EXPECT_EQ(a.mesh.triangles, p.mesh.triangles);
    ASSERT_EQ(a.break_lines.size(), p.break_lines.size());
    EXPECT_EQ(std::memcmp(a.break_lines.data(), p.break_lines.data(),
                          p.break_lines.size() * sizeof(gravok_line_3d)),
              0);
    EXPECT_EQ(a.linear_unit.type, 4);
    ASSERT_EQ(a.elements.size(), p.elements.size());
    for (const auto& [kind, e] : p.elements) {
      SCOPED_TRACE(kind);
      const gvk::ElementSet& got = a.elements.at(kind);
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
      {"settings and objectives; a setting restored to its default takes its loss back",
       [&](gvk_dxf::DxfStore& s) {
         s.set_max_slope(0.5);
         s.set_min_slopes({0.1, 0.2});
         s.set_objectives({gravok_objective{}});
         s.set_epsilon(1e-3);
         s.set_epsilon(defaults.get_epsilon());
         s.set_mesh_metric(defaults.get_mesh_metric());
         s.set_units(gvk::Known<1>(2), gvk::Known<2>(2), gvk::Known<3>(2));
       },
       {{"settings (max slope)", 1}, {"settings (min slopes)", 2}, {"objectives", 1}}},
      {"element bytes, slots and missing vertices",
       [&](gvk_dxf::DxfStore& s) {
         s.set_low_points({tagged, slot});
         s.set_bounded_points({slot});
         s.set_drain_lines({tagged, tagged});
         // Three records, three y lists and two x lists: the third element has no x.
         s.set_transferred_grading_elements(BendLine, {slot, slot, slot}, {{1, 2}, {}},
                                            {{1, 2}, {}, {3}}, complex);
       },
       {{"LowPoint element records (attribute bytes)", 1},
        {"LowPoint element records (location slots that are no coordinates)", 1},
        {"BoundedPoint element records (location slots that are no coordinates)", 1},
        {"DrainLine element records (attribute bytes)", 2},
        {"DrainLine elements without vertices (not written)", 2},
        {"BendLine element records (location slots that are no coordinates)", 3},
        {"BendLine elements without vertices (not written)", 2},
        {"BendLine elements (complex-element data)", 3}}},
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
