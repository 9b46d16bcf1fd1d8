// The LandXML plug-in on files written by design applications and on small documents
// made to show one rule each: northing before easting, ids that are not positions,
// invisible faces, units, bad files, and the round trip through the store.
#include "landxml_document.h"
#include "landxml_provider.h"
#include "landxml_source.h"
#include "landxml_store.h"

#include <gravok/gravok.h>
#include <gtest/gtest.h>
#include <pugixml.hpp>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#if !defined(_WIN32)
#include <dlfcn.h>
#endif

namespace {

using gvk_landxml::LandXmlSource;
using gvk_landxml::LandXmlStore;

std::string data_file(const std::string& name) {
  return std::string(GRAVOK_LANDXML_DATA) + "/" + name;
}

std::string read_text(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

std::size_t occurrences(const std::string& text, const std::string& needle) {
  std::size_t count = 0;
  for (std::size_t at = text.find(needle); at != std::string::npos;
       at = text.find(needle, at + 1)) {
    ++count;
  }
  return count;
}

// Files of this process: test runs of other build trees on the machine use other names.
std::string temp_file(const std::string& name, const std::string& text = "") {
  static const std::string token = std::to_string(std::random_device{}());
  const std::string path = testing::TempDir() + "landxml_test_" + token + "_" + name;
  if (!text.empty()) std::ofstream(path, std::ios::binary) << text;
  return path;
}

// A document of one surface around `definition` (the <Pnts> and <Faces>), with
// `extra` placed before <Surfaces>.
std::string document(const std::string& definition, const std::string& extra = "",
                     const std::string& source_data = "") {
  return "<?xml version=\"1.0\"?>\n<LandXML version=\"1.2\">\n" + extra +
         "<Surfaces>\n<Surface name=\"EG\">\n" + source_data +
         "<Definition surfType=\"TIN\">\n" + definition +
         "</Definition>\n</Surface>\n</Surfaces>\n</LandXML>\n";
}

// The current surface of a source in absolute coordinates (local plus origin).
struct Mesh {
  std::vector<double> x, y, z;
  std::vector<gvk::Triangle> triangles;
  std::vector<gravok_triangle_info> info;
};

Mesh absolute_mesh(gvk::DataSource& source) {
  Mesh m;
  source.get_eg_data(m.x, m.y, m.z, m.triangles, m.info);
  for (double& v : m.x) v += source.get_xorig();
  for (double& v : m.y) v += source.get_yorig();
  for (double& v : m.z) v += source.get_zorig();
  return m;
}

std::array<double, 2> range(const std::vector<double>& v) {
  const auto [lo, hi] = std::minmax_element(v.begin(), v.end());
  return {*lo, *hi};
}

// What `xmllint --xpath EXPR` prints for the file, or "" without xmllint.
std::string xpath(const std::string& path, const std::string& expression) {
  const std::string xmllint = GRAVOK_XMLLINT;
  if (xmllint.empty()) return "";
#if defined(_WIN32)
  return "";
#else
  const std::string command = xmllint + " --xpath \"" + expression + "\" '" + path + "'";
  std::string out;
  if (FILE* pipe = popen(command.c_str(), "r")) {
    char buffer[256];
    while (std::fgets(buffer, sizeof buffer, pipe)) out += buffer;
    pclose(pipe);
  }
  while (!out.empty() && (out.back() == '\n' || out.back() == '\r')) out.pop_back();
  return out;
#endif
}

TEST(LandXmlRealFiles, CountsExtentUnitsAndNamesAsTheFileStatesThem) {
  struct Row {
    const char* file;
    unsigned long long surface;
    const char* name;
    std::size_t points, faces;
    double z_min, z_max;
    double north_min, east_min;  // NaN: not checked
    int linear, area, volume;
    double feet_per_unit;  // conversions[foot] of the linear unit
  };
  const double kNone = std::nan("");
  const Row rows[] = {
      {"civil_example_clean.xml", 0, "A", 29, 45, 1.85, 2.75, kNone, kNone, 2, 2, 2,
       1 / 0.3048},
      {"civil_example_clean.xml", 1, "B", 92, 138, 0.782382299658, 2.209999999963, kNone,
       kNone, 2, 2, 2, 1 / 0.3048},
      {"civil_example_clean.xml", 2, "C", 143, 243 - 64, 0.9, 2.573861349374, kNone,
       kNone, 2, 2, 2, 1 / 0.3048},
      {"blender_topo_s2.xml", 0,
       "00 - BLENDED_TOPO (FIRMATEK_COOPER_WEAVER_2024-03-13).001", 57, 96,
       447.39111328125, 560.2650146484375, 1067474.1130371094, 834494.1130371094, 7, 4, 5,
       1200.0 / 3937.0 / 0.3048},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string(row.file) + " surface " + row.name);
    LandXmlSource source(data_file(row.file));
    ASSERT_TRUE(source.load()) << source.error();
    std::vector<unsigned long long> ids;
    std::vector<std::string> names;
    source.get_surfaces(ids, names);
    ASSERT_LT(row.surface, names.size());
    EXPECT_EQ(ids[row.surface], row.surface);
    EXPECT_EQ(names[row.surface], row.name);
    source.select_surface(row.surface);
    const Mesh m = absolute_mesh(source);
    EXPECT_EQ(m.x.size(), row.points);
    EXPECT_EQ(m.triangles.size(), row.faces);
    EXPECT_EQ(m.info.size(), row.faces);
    EXPECT_DOUBLE_EQ(range(m.z)[0], row.z_min);
    EXPECT_DOUBLE_EQ(range(m.z)[1], row.z_max);
    if (!std::isnan(row.north_min)) {
      EXPECT_DOUBLE_EQ(range(m.y)[0], row.north_min);
      EXPECT_DOUBLE_EQ(range(m.x)[0], row.east_min);
      EXPECT_LT(std::abs(range(m.x)[0] - source.get_xorig()), 1e4) << "local coordinates";
    }
    gvk::Unit<1> linear;
    gvk::Unit<2> area;
    gvk::Unit<3> volume;
    source.get_linear_unit(linear);
    source.get_area_unit(area);
    source.get_volume_unit(volume);
    EXPECT_EQ(linear.type, row.linear);
    EXPECT_EQ(area.type, row.area);
    EXPECT_EQ(volume.type, row.volume);
    ASSERT_EQ(linear.conversions.size(), 9u);
    EXPECT_NEAR(linear.conversions[4](), row.feet_per_unit, 1e-12);
  }
}

// The counts of the table above, summed per file, against plain text search and
// XPath: the table itself is not taken from the plug-in.
TEST(LandXmlRealFiles, TableCountsAgreeWithTextSearchAndXPath) {
  struct Row {
    const char* file;
    std::size_t points, faces, invisible;
  };
  const Row rows[] = {{"civil_example_clean.xml", 29 + 92 + 143, 45 + 138 + 243, 64},
                      {"blender_topo_s2.xml", 57, 96, 0}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.file);
    const std::string text = read_text(data_file(row.file));
    EXPECT_EQ(occurrences(text, "<P "), row.points);
    EXPECT_EQ(occurrences(text, "<F>") + occurrences(text, "<F "), row.faces);
    EXPECT_EQ(occurrences(text, " i=\"1\""), row.invisible);
    const std::string counted =
        xpath(data_file(row.file), "count(//*[local-name()='P'])");
    if (!counted.empty()) {
      EXPECT_EQ(std::stoul(counted), row.points);
    }
  }
  LandXmlSource source(data_file("civil_example_clean.xml"));
  ASSERT_TRUE(source.load());
  EXPECT_EQ(source.get_hostcad_version(), "Autodesk Civil 3D 2023");
}

// Everything the reader makes of a file, as text: units, application, coordinate
// system, warnings and each surface's name, description, counts and every number's
// bits, so that two readings compare equal only when they agree bit for bit.
std::string canonical_dump(const gvk_landxml::Document& d,
                           const std::vector<std::string>& warnings) {
  std::ostringstream out;
  out << std::hex;
  const auto bits = [&](double v) {
    std::uint64_t b = 0;
    std::memcpy(&b, &v, sizeof b);
    out << b << ' ';
  };
  out << d.units.linear << ' ' << d.units.area << ' ' << d.units.volume << '\n'
      << d.application << '|' << d.application_name << '|' << d.application_version
      << '\n';
  const gvk::CoordinateSystem& c = d.coordinate_system;
  out << c.name << '|' << c.description << '|' << c.epsg_code << '|' << c.wkt << '|'
      << c.horizontal_name << '|' << c.horizontal_datum << '|' << c.vertical_datum
      << '\n';
  for (const std::string& w : warnings) out << w << '\n';
  for (const gvk_landxml::Surface& s : d.surfaces) {
    out << s.name << '|' << s.desc << '|' << s.invisible_faces << '\n';
    for (const auto* v : {&s.x, &s.y, &s.z}) {
      for (const double value : *v) bits(value);
      out << '\n';
    }
    for (const gvk::Triangle& t : s.triangles)
      out << t[0] << ' ' << t[1] << ' ' << t[2] << ' ';
    out << '\n';
    for (const gravok_line_3d& l : s.break_lines) {
      for (const double value : {l.x1, l.y1, l.z1, l.x2, l.y2, l.z2}) bits(value);
    }
    out << '\n';
    for (std::size_t i = 0; i < s.boundary_xs.size(); ++i) {
      for (const double value : s.boundary_xs[i]) bits(value);
      for (const double value : s.boundary_ys[i]) bits(value);
      out << '\n';
    }
  }
  return out.str();
}

std::uint64_t fnv1a(const std::string& text) {
  std::uint64_t hash = 14695981039346656037ull;
  for (const unsigned char c : text) hash = (hash ^ c) * 1099511628211ull;
  return hash;
}

// Every LandXML file the project keeps (the files of design applications and the fuzz
// target's seeds) reads as recorded when the reader was replaced: counts and a hash of
// canonical_dump, which covers every coordinate, index, name, unit and warning.
TEST(LandXmlRealFiles, ReadExactlyAsRecorded) {
  struct Row {
    const char* file;
    std::size_t surfaces, points, faces, invisible, break_lines, warnings;
    std::uint64_t hash;
  };
  const Row rows[] = {
      {"civil_example_clean.xml", 3, 264, 362, 64, 0, 0, 0xa122f89ff96c1d02ull},
      {"civil_sweref99_skyfall.xml", 1, 3330, 6448, 161, 0, 0, 0xb89a87976a9896dfull},
      {"blender_topo_s2.xml", 1, 57, 96, 0, 0, 0, 0x8b89bc233fa0de02ull},
      {"../../../fuzz/corpus/landxml/small.xml", 1, 4, 2, 1, 1, 0, 0x3039baccbf0d073bull},
      {"../../../fuzz/regressions/landxml/ten_thousand_surfaces_without_tin.xml", 0, 0, 0,
       0, 0, 10001, 0xe728e181d9a949d9ull},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.file);
    gvk_landxml::Document d;
    std::string error;
    std::vector<std::string> warnings;
    ASSERT_TRUE(gvk_landxml::read_document(data_file(row.file), d, error, warnings))
        << error;
    Row got{row.file, d.surfaces.size(), 0, 0, 0, 0, warnings.size(), 0};
    for (const gvk_landxml::Surface& s : d.surfaces) {
      got.points += s.x.size();
      got.faces += s.triangles.size();
      got.invisible += s.invisible_faces;
      got.break_lines += s.break_lines.size();
    }
    // Messages name the file by the path it was given; the hash must not depend on
    // where the checkout lies.
    for (std::string& w : warnings) w.erase(0, data_file(row.file).size());
    got.hash = fnv1a(canonical_dump(d, warnings));
    EXPECT_EQ(got.surfaces, row.surfaces);
    EXPECT_EQ(got.points, row.points);
    EXPECT_EQ(got.faces, row.faces);
    EXPECT_EQ(got.invisible, row.invisible);
    EXPECT_EQ(got.break_lines, row.break_lines);
    EXPECT_EQ(got.warnings, row.warnings);
    EXPECT_EQ(got.hash, row.hash) << std::hex << "0x" << got.hash;
  }
}

// A command that reads a file once takes the meshes out of the source: the problem is
// the one a snapshot makes, bit for bit, one surface or several, and the source has
// then given the surfaces' meshes away.
TEST(LandXmlRealFiles, ATakingSnapshotGivesWhatASnapshotGives) {
  for (const char* file :
       {"civil_example_clean.xml", "civil_sweref99_skyfall.xml", "blender_topo_s2.xml"}) {
    SCOPED_TRACE(file);
    LandXmlSource copied(data_file(file)), taken(data_file(file));
    ASSERT_TRUE(copied.load());
    ASSERT_TRUE(taken.load());
    gvk::Problem expected, actual;
    gvk::snapshot(copied, expected);
    gvk::take_snapshot(taken, actual);
    EXPECT_EQ(gvk::compare_problems(expected, actual), std::vector<std::string>());
    ASSERT_FALSE(actual.mesh.x.empty());
    std::vector<double> x, y, z;
    std::vector<gvk::Triangle> triangles;
    std::vector<gravok_triangle_info> info;
    taken.get_eg_data(x, y, z, triangles, info);
    EXPECT_TRUE(x.empty() && triangles.empty() && info.empty());
  }
}

// Ids out of order and with gaps, a face whose ids are not positions, an invisible
// face, an unused point and line breaks inside the lists.
TEST(LandXmlSource, ReadsNorthingBeforeEastingAndFacesByIdNotPosition) {
  const std::string path = temp_file("ids.xml", document(R"(<Pnts>
  <P id="40">200 100 5</P>
  <P id="7">
    210	100
    6
  </P>
  <P id="12">200 110 7</P>
  <P id="3">210 110 8</P>
  <P id="99">500 500 9</P>
</Pnts>
<Faces>
  <F>7 40 12</F>
  <F n="1 2 3">12
    3 7</F>
  <F i="1">3 40 99</F>
</Faces>
)"));
  LandXmlSource source(path);
  ASSERT_TRUE(source.load()) << source.error();
  const Mesh m = absolute_mesh(source);
  EXPECT_EQ(m.x.size(), 5u) << "unused points stay";
  ASSERT_EQ(m.triangles.size(), 2u) << "the invisible face is left out";
  // Each face's corners as (easting, northing, elevation).
  const double expected[2][3][3] = {{{100, 210, 6}, {100, 200, 5}, {110, 200, 7}},
                                    {{110, 200, 7}, {110, 210, 8}, {100, 210, 6}}};
  for (int t = 0; t < 2; ++t) {
    for (int k = 0; k < 3; ++k) {
      const auto v = m.triangles[t][k];
      EXPECT_EQ(m.x[v], expected[t][k][0]) << "face " << t << " corner " << k;
      EXPECT_EQ(m.y[v], expected[t][k][1]) << "face " << t << " corner " << k;
      EXPECT_EQ(m.z[v], expected[t][k][2]) << "face " << t << " corner " << k;
    }
  }
  EXPECT_EQ(source.get_xorig(), 300);  // centre of easting 100 .. 500
  EXPECT_EQ(source.get_yorig(), 350);  // centre of northing 200 .. 500
}

TEST(LandXmlSource, StatePlaneCoordinatesKeepTheirMillimetres) {
  const std::string path = temp_file("state_plane.xml", document(R"(<Pnts>
<P id="1">5000000.001 2000000.002 100.003</P>
<P id="2">5000100.004 2000000.005 101.006</P>
<P id="3">5000000.007 2000100.008 102.009</P>
</Pnts><Faces><F>1 2 3</F></Faces>)"));
  LandXmlSource source(path);
  ASSERT_TRUE(source.load()) << source.error();
  std::vector<double> x, y, z;
  std::vector<gvk::Triangle> t;
  std::vector<gravok_triangle_info> info;
  source.get_eg_data(x, y, z, t, info);
  const double east[] = {2000000.002, 2000000.005, 2000100.008};
  const double north[] = {5000000.001, 5000100.004, 5000000.007};
  for (int i = 0; i < 3; ++i) {
    EXPECT_LE(std::abs(x[i]), 60);
    EXPECT_LE(std::abs(y[i]), 60);
    EXPECT_NEAR(x[i] + source.get_xorig(), east[i], 1e-9);
    EXPECT_NEAR(y[i] + source.get_yorig(), north[i], 1e-9);
  }
}

// LandXML's units that are no power of one of the nine lengths (acre, hectare, liter,
// inch, ...) come out as the unknown unit, every factor 1, with one warning each.
TEST(LandXmlSource, UnitsAreTheKnownUnitsWithTheirTrueFactors) {
  struct Row {
    const char* units;
    int linear, area, volume;
    double meters_per_unit, square_meters_per_unit, cubic_meters_per_unit;
    std::size_t warnings;
  };
  const Row rows[] = {
      {"", 9, 9, 9, 1, 1, 1, 1},  // no <Units>: unknown, and a warning says so
      {R"(<Metric linearUnit="millimeter" areaUnit="squareMillimeter"/>)", 0, 0, 9, 0.001,
       1e-6, 1, 0},
      {R"(<Metric linearUnit="kilometer" areaUnit="hectare" volumeUnit="liter"/>)", 3, 9,
       9, 1000, 1, 1, 2},
      {R"(<Imperial linearUnit="USSurveyFoot" areaUnit="squareFoot" volumeUnit="cubicYard"/>)",
       7, 4, 5, 1200.0 / 3937.0, 0.09290304, 0.764554857984, 0},
      {R"(<Imperial linearUnit="inch" areaUnit="acre" volumeUnit="acreFeet"/>)", 9, 9, 9,
       1, 1, 1, 3},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.units);
    const std::string units =
        *row.units ? std::string("<Units>") + row.units + "</Units>" : "";
    LandXmlSource source(temp_file("units.xml", document("", units)));
    ASSERT_TRUE(source.load()) << source.error();
    gvk::Unit<1> linear;
    gvk::Unit<2> area;
    gvk::Unit<3> volume;
    source.get_linear_unit(linear);
    source.get_area_unit(area);
    source.get_volume_unit(volume);
    EXPECT_EQ(linear.type, row.linear);
    EXPECT_EQ(area.type, row.area);
    EXPECT_EQ(volume.type, row.volume);
    EXPECT_EQ(linear.name, gvk::unit_name(row.linear));
    ASSERT_EQ(volume.conversions.size(), 9u);
    EXPECT_NEAR(linear.conversions[2](), row.meters_per_unit, 1e-15);
    EXPECT_NEAR(area.conversions[2](), row.square_meters_per_unit, 1e-15);
    EXPECT_NEAR(volume.conversions[2](), row.cubic_meters_per_unit, 1e-15);
    EXPECT_EQ(source.warnings().size(), row.warnings);
  }
  // Every length LandXML names, with its square and its cube, against the length's
  // definition in metres.
  struct Length {
    const char *linear, *area, *volume;
    double meters;
  };
  const Length lengths[] = {
      {"millimeter", "squareMillimeter", "cubicMillimeter", 0.001},
      {"centimeter", "squareCentimeter", "cubicCentimeter", 0.01},
      {"meter", "squareMeter", "cubicMeter", 1},
      {"kilometer", "squareKilometer", "cubicKilometer", 1000},
      {"foot", "squareFoot", "cubicFeet", 0.3048},
      {"foot", "squareFoot", "cubicFoot", 0.3048},
      {"yard", "squareYard", "cubicYard", 0.9144},
      {"mile", "squareMiles", "cubicMiles", 1609.344},
      {"USSurveyFoot", "squareUSSurveyFoot", "cubicUSSurveyFoot", 1200.0 / 3937.0},
  };
  for (const Length& l : lengths) {
    SCOPED_TRACE(l.volume);
    const std::string units = std::string(R"(<Units><Imperial linearUnit=")") + l.linear +
                              R"(" areaUnit=")" + l.area + R"(" volumeUnit=")" +
                              l.volume + R"("/></Units>)";
    LandXmlSource source(temp_file("units.xml", document("", units)));
    ASSERT_TRUE(source.load()) << source.error();
    gvk::Unit<1> linear;
    gvk::Unit<2> area;
    gvk::Unit<3> volume;
    source.get_linear_unit(linear);
    source.get_area_unit(area);
    source.get_volume_unit(volume);
    ASSERT_EQ(volume.conversions.size(), 9u);
    const double m = l.meters;
    EXPECT_NEAR(linear.conversions[2]() / m, 1, 1e-15);
    EXPECT_NEAR(area.conversions[2]() / (m * m), 1, 1e-15);
    EXPECT_NEAR(volume.conversions[2]() / (m * m * m), 1, 1e-15);
    EXPECT_TRUE(source.warnings().empty());
  }
}

// What the store writes for each unit it is given, as a source reads it back: a
// length LandXML cannot name (the arcsecond) writes no <Units>, an area or volume it
// cannot name becomes the square or cube of the linear unit.
TEST(LandXmlStore, UnitsReadBackAsWrittenOrAsDocumented) {
  struct Row {
    std::int32_t linear, area, volume;
    std::int32_t read_linear, read_area, read_volume;
  };
  const Row rows[] = {{2, 2, 2, 2, 2, 2},
                      {7, 4, 5, 7, 4, 5},
                      {0, 9, 8, 0, 0, 0},
                      {8, 8, 8, 9, 9, 9},
                      {9, 2, 2, 9, 9, 9}};
  for (const Row& row : rows) {
    SCOPED_TRACE(testing::Message()
                 << row.linear << " " << row.area << " " << row.volume);
    const std::string path = temp_file("store_units.xml");
    LandXmlStore store(path);
    store.set_units(gvk::Known<1>(row.linear), gvk::Known<2>(row.area),
                    gvk::Known<3>(row.volume));
    ASSERT_NO_THROW(store.save());
    LandXmlSource back(path);
    ASSERT_TRUE(back.load()) << back.error();
    gvk::Unit<1> linear;
    gvk::Unit<2> area;
    gvk::Unit<3> volume;
    back.get_linear_unit(linear);
    back.get_area_unit(area);
    back.get_volume_unit(volume);
    EXPECT_EQ(linear.type, row.read_linear);
    EXPECT_EQ(area.type, row.read_area);
    EXPECT_EQ(volume.type, row.read_volume);
  }
}

TEST(LandXmlSource, BreakLinesAndOuterBoundaryShareTheSurfaceOrigin) {
  const std::string source_data = R"(<SourceData>
<Breaklines><Breakline><PntList3D>200 100 5 210 105 6
  220 110 7</PntList3D></Breakline>
<Breakline><PntList2D>200 100 210 105</PntList2D></Breakline></Breaklines>
<Boundaries><Boundary bndType="outer"><PntList2D>200 100 200 110 210 110</PntList2D>
</Boundary><Boundary bndType="void"><PntList2D>1 2 3 4 5 6</PntList2D></Boundary>
</Boundaries></SourceData>
)";
  const std::string path = temp_file(
      "breaklines.xml", document("<Pnts><P id=\"1\">0 0 0</P><P id=\"2\">400 200 10</P>"
                                 "</Pnts>",
                                 "", source_data));
  LandXmlSource source(path);
  ASSERT_TRUE(source.load()) << source.error();
  // The 2D break line is left out, and the file states no units.
  EXPECT_EQ(source.warnings().size(), 2u);
  std::vector<gravok_line_3d> lines;
  source.get_break_lines(lines);
  ASSERT_EQ(lines.size(), 2u);
  const double o[3] = {source.get_xorig(), source.get_yorig(), source.get_zorig()};
  EXPECT_EQ(lines[0].x1 + o[0], 100);
  EXPECT_EQ(lines[0].y1 + o[1], 200);
  EXPECT_EQ(lines[0].z1 + o[2], 5);
  EXPECT_EQ(lines[1].x2 + o[0], 110);
  EXPECT_EQ(lines[1].y2 + o[1], 220);
  EXPECT_EQ(lines[1].z2 + o[2], 7);
  std::vector<gravok_grading_element> zones;
  std::vector<std::vector<double>> xs, ys;
  gvk::DataSource::ComplexElementData complex;
  source.get_grading_elements(SurfaceZone, zones, xs, ys, complex);
  ASSERT_EQ(zones.size(), 1u);
  EXPECT_EQ(xs[0], (std::vector<double>{100 - o[0], 110 - o[0], 110 - o[0]}));
  EXPECT_EQ(ys[0], (std::vector<double>{200 - o[1], 200 - o[1], 210 - o[1]}));
}

TEST(LandXmlDocument, BadFilesGiveAnErrorNamingTheElementAndItsLine) {
  struct Row {
    const char* name;
    std::string text;
    const char* message;  // "" when the document is accepted
    int line;
  };
  const std::string faces = "<Faces><F>1 2 3</F></Faces>\n";
  const std::string three =
      "<Pnts><P id=\"1\">0 0 0</P><P id=\"2\">0 1 0</P>\n"
      "<P id=\"3\">1 0 0</P></Pnts>\n";
  const Row rows[] = {
      {"not xml", "<LandXML>\n<Surfaces>\n",
       "not well-formed XML: the text ends before </LandXML>", 3},
      {"tags crossed", "<LandXML>\n<Surfaces>\n</LandXML>",
       "not well-formed XML: mismatched tag", 3},
      {"other root", "<?xml version=\"1.0\"?>\n<Other/>\n", "root element is <Other>", 2},
      {"faces without points", document(faces), "<Faces> without <Pnts>", 6},
      {"missing elevation", document("<Pnts>\n<P id=\"1\">0 0</P></Pnts>"),
       "<P id=\"1\">: missing elevation", 7},
      {"four numbers", document("<Pnts>\n<P id=\"1\">0 0 0 0</P></Pnts>"),
       "expected 3 numbers", 7},
      {"not a number", document("<Pnts>\n<P id=\"1\">0 x 0</P></Pnts>"),
       "not a finite number", 7},
      {"not finite", document("<Pnts>\n<P id=\"1\">0 nan 0</P></Pnts>"),
       "not a finite number", 7},
      {"id not integer", document("<Pnts>\n<P id=\"a1\">0 0 0</P></Pnts>"),
       "the id is not an integer", 7},
      {"duplicate id",
       document("<Pnts><P id=\"2\">0 0 0</P>\n<P id=\"2\">5 5 5</P></Pnts>"),
       "<P id=\"2\">: duplicate point id", 7},
      {"unknown point", document(three + "<Faces>\n<F>1 2 4</F></Faces>"),
       "names point 4, which <Pnts> does not hold", 9},
      {"faces before the points they name",
       document("<Faces>\n<F>1 2 4</F></Faces>" + three),
       "names point 4, which <Pnts> does not hold", 7},
      {"faces before their points", document("<Faces><F>3 1 2</F></Faces>\n" + three), "",
       0},
      {"entity declared",
       "<?xml version=\"1.0\"?>\n<!DOCTYPE LandXML [\n<!ENTITY e \"x\">\n]>\n<LandXML/>",
       "<!ENTITY e>: entity declarations are refused", 3},
      {"zero-based face", document(three + "<Faces>\n<F>0 1 2</F></Faces>"),
       "names point 0", 9},
      {"two ids", document(three + "<Faces>\n<F>1 2</F></Faces>"), "expected 3 point ids",
       9},
      {"break line of 4 numbers",
       document(three, "",
                "<SourceData><Breaklines><Breakline>\n<PntList3D>1 2 3 4</PntList3D>"
                "</Breakline></Breaklines></SourceData>\n"),
       "expected a list of 3 numbers", 6},
      {"sparse ids",
       document("<Pnts><P id=\"1\">0 0 0</P><P id=\"9000000000000000000\">"
                "0 1 0</P><P id=\"-5\">1 0 0</P></Pnts>"
                "<Faces><F>-5 1 9000000000000000000</F></Faces>"),
       "", 0},
      {"invisible face may name anything",
       document(three + "<Faces><F i=\"1\">7 8 9</F></Faces>"), "", 0},
      {"grid surface",
       "<LandXML><Surfaces><Surface name=\"G\"><Definition surfType=\"grid\"/>"
       "</Surface></Surfaces></LandXML>",
       "", 0},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    std::vector<char> text(row.text.begin(), row.text.end());
    gvk_landxml::Document parsed;
    std::string error;
    std::vector<std::string> warnings;
    const bool ok = gvk_landxml::parse_document(text, "f.xml", parsed, error, warnings);
    if (!*row.message) {
      EXPECT_TRUE(ok) << error;
      continue;
    }
    EXPECT_FALSE(ok);
    EXPECT_NE(error.find(row.message), std::string::npos) << error;
    EXPECT_EQ(error.rfind("f.xml:" + std::to_string(row.line) + ": ", 0), 0u) << error;
  }
}

// Copies `source` completely into a LandXML file and reads the file back.
LandXmlSource round_trip(gvk::DataSource& source, const std::string& path) {
  LandXmlStore store(path);
  EXPECT_NO_THROW(store.copyAllFrom(source));  // writes at endBulkOperation
  LandXmlSource back(path);
  EXPECT_TRUE(back.load()) << back.error();
  return back;
}

TEST(LandXmlStore, RoundTripGivesTheSameSurfaceUnitsAndBreakLines) {
  struct Row {
    const char* file;
    unsigned long long surface;
  };
  const Row rows[] = {{"civil_example_clean.xml", 2}, {"blender_topo_s2.xml", 0}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.file);
    LandXmlSource source(data_file(row.file));
    ASSERT_TRUE(source.load());
    source.select_surface(row.surface);
    const std::string path = temp_file("round_trip.xml");
    LandXmlSource back = round_trip(source, path);
    // Every surface travels; the transfer leaves the first one selected.
    source.select_surface(row.surface);
    back.select_surface(row.surface);
    const Mesh a = absolute_mesh(source);
    const Mesh b = absolute_mesh(back);
    ASSERT_EQ(a.x.size(), b.x.size());
    for (std::size_t i = 0; i < a.x.size(); ++i) {
      ASSERT_NEAR(a.x[i], b.x[i], 1e-9);
      ASSERT_NEAR(a.y[i], b.y[i], 1e-9);
      ASSERT_NEAR(a.z[i], b.z[i], 1e-9);
    }
    EXPECT_EQ(a.triangles, b.triangles);
    gvk::Unit<1> la, lb;
    gvk::Unit<3> va, vb;
    source.get_linear_unit(la);
    back.get_linear_unit(lb);
    source.get_volume_unit(va);
    back.get_volume_unit(vb);
    EXPECT_EQ(la.type, lb.type);
    EXPECT_EQ(va.type, vb.type);

    // The text itself: ids from 1, northing first, as XPath sees it.
    const std::string surface =
        "//*[local-name()='Surface'][" + std::to_string(row.surface + 1) + "]";
    const std::string first =
        xpath(path, "string(" + surface + "//*[local-name()='P'][1])");
    if (!first.empty()) {
      std::istringstream numbers(first);
      double n = 0, e = 0;
      numbers >> n >> e;
      EXPECT_EQ(n, a.y[0]);
      EXPECT_EQ(e, a.x[0]);
      EXPECT_EQ(xpath(path, "string(" + surface + "//*[local-name()='P'][1]/@id)"), "1");
      EXPECT_EQ(std::stoul(xpath(path, "count(" + surface + "//*[local-name()='F'])")),
                a.triangles.size());
    }
  }
}

TEST(LandXmlStore, CarriesEverySurfaceAndWhatDescribesTheFile) {
  struct Row {
    const char* file;
    std::vector<std::string> surfaces;
    const char* epsg_code;
    std::map<unsigned long long, std::string> descriptions;
  };
  const Row rows[] = {
      {"civil_example_clean.xml", {"A", "B", "C"}, "", {}},
      {"civil_sweref99_skyfall.xml", {"Underlag skyfall"}, "3007", {{0, "Description"}}},
      {"blender_topo_s2.xml",
       {"00 - BLENDED_TOPO (FIRMATEK_COOPER_WEAVER_2024-03-13).001"},
       "",
       {{0, "Surface exported from blender on 2024-05-10 at 10:29:03"}}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.file);
    LandXmlSource source(data_file(row.file));
    ASSERT_TRUE(source.load()) << source.error();
    gvk::Problem original;
    gvk::snapshot(source, original);
    EXPECT_EQ(original.surface_names, row.surfaces);
    EXPECT_EQ(original.description.coordinate_system.epsg_code, row.epsg_code);
    EXPECT_EQ(original.description.surface_descriptions, row.descriptions);
    EXPECT_EQ(original.description.application_version, "2023");

    LandXmlSource back = round_trip(source, temp_file("described.xml"));
    gvk::Problem copied;
    gvk::snapshot(back, copied);
    const std::vector<std::string> differences = gvk::compare_problems(original, copied);
    EXPECT_TRUE(differences.empty())
        << differences.size() << " differences, first " << differences.front();
  }
}

// A problem with break lines and elements of several kinds, in state-plane
// coordinates around a non-zero origin.
class SiteSource : public gvk::DataSource {
 public:
  void get_eg_data(std::vector<double>& x, std::vector<double>& y, std::vector<double>& z,
                   std::vector<gvk::Triangle>& t,
                   std::vector<gravok_triangle_info>& info) override {
    x = {0, 10, 0};
    y = {0, 0, 10};
    z = {1, 2, 3};
    t = {{0, 1, 2}};
    info.assign(1, gravok_triangle_info{});
  }
  void get_break_lines(std::vector<gravok_line_3d>& lines) const override {
    lines = {{0, 0, 1, 10, 0, 2}, {10, 0, 2, 0, 10, 3}, {1, 1, 1, 2, 2, 2}};
  }
  void get_low_points(std::vector<gravok_grading_element>& e) const override {
    e.assign(1, gravok_grading_element{});
    e[0].location[0] = 3;
    e[0].location[1] = 4;
  }
  void get_drain_lines(std::vector<gravok_grading_element>& e,
                       std::vector<std::vector<double>>& xs,
                       std::vector<std::vector<double>>& ys) const override {
    e.assign(1, gravok_grading_element{});
    xs = {{0, 5, 10}};
    ys = {{1, 2, 3}};
  }
  double get_xorig() const override { return 2000000; }
  double get_yorig() const override { return 500000; }
  double get_zorig() const override { return 100; }
};

TEST(LandXmlStore, WritesBreakLinesAndElementsInAbsoluteCoordinates) {
  SiteSource site;
  const std::string path = temp_file("site.xml");
  LandXmlSource back = round_trip(site, path);
  std::vector<gravok_line_3d> lines;
  back.get_break_lines(lines);
  ASSERT_EQ(lines.size(), 3u);
  EXPECT_EQ(lines[1].x2 + back.get_xorig(), 2000000);
  EXPECT_EQ(lines[1].y2 + back.get_yorig(), 500010);
  EXPECT_EQ(lines[1].z2 + back.get_zorig(), 103);

  pugi::xml_document xml;
  ASSERT_TRUE(xml.load_file(path.c_str()));
  EXPECT_EQ(xml.select_nodes("//Breakline").size(), 2u) << "joined segments stay one";
  const pugi::xml_node low = xml.select_node("//CgPoint[@name='LowPoint 1']").node();
  EXPECT_STREQ(low.child_value(), "500004 2000003");
  const pugi::xpath_node_set drain =
      xml.select_nodes("//PlanFeature[@name='DrainLine 1']/CoordGeom/Line");
  ASSERT_EQ(drain.size(), 2u);
  EXPECT_STREQ(drain.first().node().child_value("Start"), "500001 2000000");
  EXPECT_STREQ(drain.first().node().child_value("End"), "500002 2000005");
  if (!std::string(GRAVOK_XMLLINT).empty()) {
    EXPECT_EQ(
        std::system((std::string(GRAVOK_XMLLINT) + " --noout '" + path + "'").c_str()),
        0);
  }
}

// The writer's own number formatting against std::to_chars: coordinates with a few
// decimals (its fast path), the edges of that path, and random bit patterns.
TEST(LandXmlWriter, NumbersAreTheShortestTextThatToCharsGives) {
  std::vector<double> values = {0.0,
                                -0.0,
                                0.1 + 0.2,
                                2000000.001,
                                -1234.5,
                                0.000123,
                                1125899906842623.0,
                                1125899906842624.0,
                                112589990684262.35,
                                9007199254740993.0,
                                1e22,
                                1e-7,
                                5e-324,
                                1.7976931348623157e308,
                                std::nan(""),
                                HUGE_VAL,
                                -HUGE_VAL};
  std::mt19937_64 random(15);
  for (int i = 0; i < 100000; ++i) {
    const double cents = static_cast<double>(random() % 100000000000ull);
    values.push_back(cents / std::pow(10.0, static_cast<int>(random() % 12)));
    const unsigned long long bits = random();
    double any = 0;
    std::memcpy(&any, &bits, sizeof any);
    values.push_back(any);
  }
  for (const double value : values) {
    char expected[gvk_landxml::kMaxDecimal];
    char written[gvk_landxml::kMaxDecimal];
    char* end = std::to_chars(expected, expected + sizeof expected, value,
                              std::chars_format::fixed)
                    .ptr;
    ASSERT_EQ(std::string(written, gvk_landxml::write_decimal(written, value)),
              std::string(expected, end))
        << std::hexfloat << value;
  }
}

#if !defined(_WIN32)
using EntryPoint = int (*)();

EntryPoint entry(void* module, const char* name) {
  void* address = dlsym(module, name);
  EntryPoint f = nullptr;
  std::memcpy(&f, &address, sizeof f);
  return f;
}

TEST(LandXmlPlugin, ModuleRegistersProvidersThatOpenLandXmlLocations) {
  void* module = dlopen(GRAVOK_LANDXML_PLUGIN, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(module, nullptr) << dlerror();
  ASSERT_EQ(entry(module, "gravok_plugin_register")(), 2);
  const std::string civil = data_file("civil_example_clean.xml");
  const std::string other = temp_file("other.xml", "<?xml version=\"1.0\"?>\n<Other/>\n");
  const std::string fresh = temp_file("fresh.xml");
  std::remove(fresh.c_str());
  {
    const std::unique_ptr<gvk::DataSource> by_prefix =
        gvk::createDataSource("landxml:" + civil);
    const std::unique_ptr<gvk::DataSource> by_name = gvk::createDataSource(civil);
    ASSERT_NE(by_prefix, nullptr);
    ASSERT_NE(by_name, nullptr);
    std::vector<unsigned long long> ids;
    std::vector<std::string> names;
    by_name->get_surfaces(ids, names);
    EXPECT_EQ(names, (std::vector<std::string>{"A", "B", "C"}));
    EXPECT_EQ(gvk::createDataSource(other), nullptr);
    EXPECT_EQ(gvk::createDataStore(other), nullptr) << "another XML is never overwritten";
    EXPECT_EQ(gvk::createDataSource("landxml:" + fresh), nullptr) << "missing file";
    EXPECT_NE(gvk::createDataStore(fresh), nullptr);
    for (const gvk::DataSourceProvider* provider : gvk::dataSourceProviders()) {
      EXPECT_TRUE(provider->supportsSurface());
    }
  }
  EXPECT_EQ(entry(module, "gravok_plugin_unregister")(), 2);
  EXPECT_TRUE(gvk::dataSourceProviders().empty());
  dlclose(module);
}

// A host's own provider under "landxml" (the same size as the module's, so it may
// well take the address of the module's provider that the host unregistered).
class HostProvider : public gvk::DataSourceProvider {
 public:
  bool canHandle(const std::string&) const override { return false; }
  std::string description() const override { return "the host's own"; }
  std::unique_ptr<gvk::DataSource> createDataSource(const std::string&) const override {
    return nullptr;
  }
};

TEST(LandXmlPlugin, UnregisterLeavesAProviderItDidNotRegister) {
  struct Row {
    const char* name;
    bool host_first;  // the host registers "landxml" before the module loads
    int registered, removed;
  };
  const Row rows[] = {{"host registered first", true, 1, 1},
                      {"host replaced the module's", false, 2, 1}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    if (row.host_first) {
      ASSERT_TRUE(
          gvk::registerDataSourceProvider("landxml", std::make_unique<HostProvider>()));
    }
    void* module = dlopen(GRAVOK_LANDXML_PLUGIN, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(module, nullptr) << dlerror();
    EXPECT_EQ(entry(module, "gravok_plugin_register")(), row.registered);
    EXPECT_EQ(entry(module, "gravok_plugin_register")(), 0) << "registered once";
    if (!row.host_first) {
      ASSERT_TRUE(gvk::unregisterDataSourceProvider("landxml"));
      ASSERT_TRUE(
          gvk::registerDataSourceProvider("landxml", std::make_unique<HostProvider>()));
    }
    EXPECT_EQ(entry(module, "gravok_plugin_unregister")(), row.removed);
    dlclose(module);
    ASSERT_EQ(gvk::dataSourceProviders().size(), 1u);
    EXPECT_EQ(gvk::dataSourceProviders()[0]->description(), "the host's own");
    EXPECT_TRUE(gvk::unregisterDataSourceProvider("landxml"));
  }
}
#endif

}  // namespace
