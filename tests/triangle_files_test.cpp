#include <gravok/poly_file.h>
#include <gravok/triangle_files.h>

#include "bit_patterns.h"
#include "triangle_poly_equal.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>
#include <locale>
#include <random>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

const fs::path kData = fs::path(GRAVOK_TEST_DATA) / "triangle";

class TriangleFilesTest : public testing::Test {
 protected:
  void SetUp() override {
    std::random_device entropy;
    do {
      m_dir = fs::path(testing::TempDir()) /
              ("gravok_tri_" + std::to_string(entropy()) + std::to_string(entropy()));
    } while (!fs::create_directories(m_dir));
  }
  void TearDown() override { fs::remove_all(m_dir); }

  std::string file(const std::string& name, const std::string& bytes) {
    std::ofstream(m_dir / name, std::ios::binary) << bytes;
    return (m_dir / name).string();
  }

  fs::path m_dir;
};

enum class Reader { Node, Ele, Poly };

// Reads `path` with the reader named; .ele files index 3 vertices numbered from 0.
gvk::TriangleFileResult read_with(Reader reader, const std::string& path) {
  gvk::TriangleVertices vertices;
  gvk::TriangleElements elements;
  gvk::TrianglePoly poly;
  switch (reader) {
    case Reader::Node: return gvk::read_node_file(path, vertices);
    case Reader::Ele: return gvk::read_ele_file(path, 3, 0, elements);
    default: return gvk::read_poly_file(path, poly);
  }
}

// Every documented fault: its line, and the words that name it. The message starts
// with "path:line: " (or "path: " for line 0).
TEST_F(TriangleFilesTest, EachFaultNamesItsFileAndLine) {
  struct Case {
    Reader reader;
    std::string text;
    unsigned long long line;
    std::string words;
  };
  const std::string sq = "3 2 0 0\n0 0 0\n1 1 0\n2 0 1\n";
  const Case cases[] = {
      {Reader::Node, "", 0, "holds no header line"},
      {Reader::Node, "# only a comment\n\n   \n", 0, "holds no header line"},
      {Reader::Node, "x 2 0 0\n", 1, "does not start with a vertex count"},
      {Reader::Node, "-1 2 0 0\n", 1, "does not start with a vertex count"},
      {Reader::Node, "1 2 0 q\n", 1, "\"count dimension attributes markers\""},
      {Reader::Node, "1 4 0 0\n0 0 0\n", 1, "the dimension is 4"},
      {Reader::Node, "1 2 0 2\n0 0 0 1\n", 1, "boundary-marker flag is 2"},
      {Reader::Node, "1 2 0 0\n2 0 0\n", 2, "vertex number 2 where 0 or 1 was expected"},
      {Reader::Node, "2 2 0 0\n1 0 0\n3 0 0\n", 3, "vertex number 3 where 2"},
      {Reader::Node, "# c\n\n2 2 0 0\n0 0 0 # x\n# y\n1 0 zz\n", 6,
       "vertex 1: y is missing"},
      {Reader::Node, "1 2 0 0\n0 0 inf\n", 2, "vertex 0: y is missing or does not parse"},
      {Reader::Node, "1 2 0 0\n0 0 1x\n", 2, "vertex 0: y"},
      {Reader::Node, "1 2 0 0\n5.5 0 0\n", 2, "vertex number is missing"},
      {Reader::Node, "1 2 2 0\n0 0 0 7\n", 2, "attribute 2 of 2 is missing"},
      {Reader::Node, "1 2 0 1\n0 0 0\n", 2, "vertex 0: the boundary marker is missing"},
      {Reader::Node, "3 2 0 0\n0 0 0\n", 1,
       "announces 3 vertices, but the file ends after 1"},
      {Reader::Node, "1000000000000000000 2\n0 0 0\n", 1,
       "announces 1000000000000000000 vertices, but the file ends after 1"},
      {Reader::Ele, "1 3 0\n0 0 1 3\n", 2,
       "triangle 0 names vertex 3, but there are 3 vertices"},
      {Reader::Ele, "1 3 0\n7 0 -1 2\n", 2, "triangle 7 names vertex -1"},
      {Reader::Ele, "1 6 0\n0 0 1 2 0 1 9\n", 2, "triangle 0 names vertex 9"},
      {Reader::Ele, "1 4 0\n0 0 1 2 0\n", 1, "a triangle has 4 nodes"},
      {Reader::Ele, "1 3 1\n0 0 1 2\n", 2, "triangle 0: attribute 1 of 1 is missing"},
      {Reader::Ele, "2 3\n0 0 1 2\n", 1,
       "announces 2 triangles, but the file ends after 1"},
      {Reader::Ele, "1 3 0\n0 0 1\n", 2, "triangle 0: a vertex number is missing"},
      {Reader::Poly, sq, 0, "ends before its segment header"},
      {Reader::Poly, sq + "1 2\n", 5, "segment marker flag is 2"},
      {Reader::Poly, sq + "2 0\n0 0 1\n1 1 40\n", 7,
       "segment 1 names vertex 40, but there are 3 vertices"},
      {Reader::Poly, sq + "1 1\n0 0 1\n", 6, "segment 0: the boundary marker is missing"},
      {Reader::Poly, sq + "3\n0 0 1\n", 5,
       "announces 3 segments, but the file ends after 1"},
      {Reader::Poly, sq + "0\n1\n0 0.5\n", 7, "hole 0: y is missing"},
      {Reader::Poly, sq + "0\n2\n0 0.5 0.5\n", 6, "announces 2 holes"},
      {Reader::Poly, sq + "0\n0\n1\n0 1 1\n", 8, "region 0: the attribute is missing"},
      {Reader::Poly, sq + "0\nx\n", 6, "the hole header does not start with a count"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    const std::string path = file("case", c.text);
    const gvk::TriangleFileResult r = read_with(c.reader, path);
    EXPECT_FALSE(r.ok);
    EXPECT_EQ(r.path, path);
    EXPECT_EQ(r.line, c.line);
    const std::string where = path + (c.line == 0 ? "" : ":" + std::to_string(c.line));
    EXPECT_EQ(r.message.rfind(where + ": ", 0), 0u) << r.message;
    EXPECT_NE(r.message.find(c.words), std::string::npos) << r.message;
  }
  for (Reader reader : {Reader::Node, Reader::Ele, Reader::Poly}) {
    const gvk::TriangleFileResult r = read_with(reader, (m_dir / "missing").string());
    EXPECT_EQ(r.message, (m_dir / "missing").string() + ": cannot open the file");
  }
}

// Each field at the edge of what it takes: the last value read and the first refused,
// and an optional last field both present and absent.
TEST_F(TriangleFilesTest, FieldsAtTheEdgeOfTheirRange) {
  struct Case {
    std::string marker;  // of the one vertex of a .node file with markers
    bool read;
    long long value;
  };
  const Case markers[] = {
      {"9223372036854775807", true, 9223372036854775807LL},
      {"9223372036854775808", false, 0},
      {"-9223372036854775808", true, -9223372036854775807LL - 1},
      {"-9223372036854775809", false, 0},
      {"+0", true, 0},
  };
  for (const Case& c : markers) {
    SCOPED_TRACE(c.marker);
    gvk::TriangleVertices v;
    const gvk::TriangleFileResult r =
        gvk::read_node_file(file("edge.node", "1 2 0 1\n0 0 0 " + c.marker + "\n"), v);
    ASSERT_EQ(r.ok, c.read) << r.message;
    if (c.read) {
      EXPECT_EQ(v.markers, std::vector<long long>{c.value});
    }
  }
  // A count takes 20 digits up to the largest 64-bit value; one more is no count.
  for (const auto& [count, words] :
       {std::pair<std::string, std::string>{"18446744073709551615",
                                            "announces 18446744073709551615 vertices"},
        {"18446744073709551616", "does not start with a vertex count"},
        {"00000000000000000000018446744073709551615",
         "announces 18446744073709551615"}}) {
    SCOPED_TRACE(count);
    gvk::TriangleVertices v;
    const gvk::TriangleFileResult r =
        gvk::read_node_file(file("edge.node", count + " 2 0 0\n"), v);
    EXPECT_FALSE(r.ok);
    EXPECT_NE(r.message.find(words), std::string::npos) << r.message;
  }
  // A region's maximum area is its optional last field: absent it reads as -1.
  const std::string sq = "3 2 0 0\n0 0 0\n1 1 0\n2 0 1\n0\n0\n";
  for (const auto& [line, area] : {std::pair<std::string, double>{"0 0.5 0.25 7", -1.0},
                                   {"0 0.5 0.25 7 2.5", 2.5}}) {
    SCOPED_TRACE(line);
    gvk::TrianglePoly p;
    const gvk::TriangleFileResult r =
        gvk::read_poly_file(file("edge.poly", sq + "1\n" + line + "\n"), p);
    ASSERT_TRUE(r.ok) << r.message;
    ASSERT_EQ(p.regions.size(), 1u);
    EXPECT_EQ(p.regions[0].attribute, 7.0);
    EXPECT_EQ(p.regions[0].max_area, area);
  }
}

// A vertex count of 0 sends the reader to the .node file beside, whose faults are
// reported with its own path and line.
TEST_F(TriangleFilesTest, ZeroVertexCountReadsTheNodeFileBeside) {
  const std::string poly = file("site.poly", "0 2 0 0\n2 1\n1 1 2 5\n2 2 3 6\n0\n");
  gvk::TrianglePoly p;
  gvk::TriangleFileResult r = gvk::read_poly_file(poly, p);
  EXPECT_EQ(r.path, (m_dir / "site.node").string());
  EXPECT_EQ(r.message, (m_dir / "site.node").string() + ": cannot open the file");
  const std::string node = file("site.node", "3 2 1 0\n1 0 0 9\n2 1 0 8\n3 0 zz 7\n");
  r = gvk::read_poly_file(poly, p);
  EXPECT_EQ(r.path, node);
  EXPECT_EQ(r.line, 4u);
  file("site.node", "3 2 1 0\n1 0 0 9\n2 1 0 8\n3 0 1 7\n");
  ASSERT_TRUE(gvk::read_poly_file(poly, p)) << r.message;
  EXPECT_TRUE(p.vertices_from_node_file);
  EXPECT_EQ(p.vertices.first_number, 1u);
  EXPECT_EQ(p.vertices.attributes, (std::vector<double>{9, 8, 7}));
  EXPECT_EQ(p.segments, (std::vector<std::array<unsigned long long, 2>>{{0, 1}, {1, 2}}));
  EXPECT_EQ(p.segment_markers, (std::vector<long long>{5, 6}));
}

// Files of another program (tests/data/README.md), read as that program means them.
TEST(TriangleFilesData, ReadsFilesOfOtherPrograms) {
  gvk::TrianglePoly annulus;  // commas, comment lines, tabs, a hole, header "112"
  const gvk::TriangleFileResult r =
      gvk::read_poly_file((kData / "annulus.poly").string(), annulus);
  ASSERT_TRUE(r) << r.message;
  EXPECT_EQ(annulus.vertices.x.size(), 112u);
  EXPECT_EQ(annulus.vertices.first_number, 0u);
  EXPECT_EQ(annulus.vertices.x[1], 2.994080185);
  EXPECT_EQ(annulus.vertices.y[1], .1883715586);
  EXPECT_EQ(annulus.vertices.x[106], -1.0);
  EXPECT_EQ(annulus.segments.size(), 112u);
  EXPECT_EQ(annulus.segments[99], (std::array<unsigned long long, 2>{99, 0}));
  EXPECT_EQ(annulus.segments[111], (std::array<unsigned long long, 2>{111, 100}));
  ASSERT_EQ(annulus.holes.size(), 1u);
  EXPECT_EQ(annulus.holes[0].x, 0.0);
  EXPECT_TRUE(annulus.regions.empty());

  struct Pair {
    std::string stem;
    std::size_t vertices, triangles;
    gvk::Triangle first_triangle, last_triangle;
  };
  const Pair pairs[] = {
      {"square_4_elements", 5, 4, {3, 0, 4}, {2, 3, 4}},
      {"canonical_triangle_quadratic", 6, 1, {0, 1, 2}, {0, 1, 2}},
      {"disk_984_elements_indexed_from_1", 543, 984, {309, 144, 310}, {238, 542, 490}},
  };
  for (const Pair& p : pairs) {
    SCOPED_TRACE(p.stem);
    std::vector<double> x, y, z;
    std::vector<gvk::Triangle> triangles;
    const gvk::TriangleFileResult m = gvk::read_node_ele_files(
        (kData / (p.stem + ".node")).string(), (kData / (p.stem + ".ele")).string(), x, y,
        z, triangles);
    ASSERT_TRUE(m) << m.message;
    EXPECT_EQ(x.size(), p.vertices);
    EXPECT_EQ(z, std::vector<double>(p.vertices, 0.0));
    ASSERT_EQ(triangles.size(), p.triangles);
    EXPECT_EQ(triangles.front(), p.first_triangle);
    EXPECT_EQ(triangles.back(), p.last_triangle);
  }
  gvk::TriangleVertices disk;
  ASSERT_TRUE(gvk::read_node_file(
      (kData / "disk_984_elements_indexed_from_1.node").string(), disk));
  EXPECT_EQ(disk.first_number, 1u);
  EXPECT_EQ(disk.x[542], -0.5423260919456766);
  EXPECT_EQ(disk.y[542], -0.34487472355733562);
  EXPECT_EQ(disk.markers[0], 1);
  EXPECT_EQ(disk.markers[542], 0);
}

// Doubles whose shortest form needs care: signed zero, extremes, subnormals.
double random_real(std::mt19937_64& rng) {
  const double specials[] = {0.0,
                             -0.0,
                             0.1,
                             1e300,
                             -1e-300,
                             std::numeric_limits<double>::max(),
                             std::numeric_limits<double>::denorm_min(),
                             -5e-320};
  if (rng() % 4 == 0) return specials[rng() % 8];
  return std::ldexp(static_cast<double>(rng() % 2000001) - 1e6,
                    static_cast<int>(rng() % 80) - 50);
}

gvk::TrianglePoly random_poly(std::mt19937_64& rng) {
  gvk::TrianglePoly p;
  gvk::TriangleVertices& v = p.vertices;
  v.dimension = rng() % 3 == 0 ? 3 : 2;
  v.first_number = rng() % 2;
  v.attribute_count = rng() % 3;
  v.has_markers = rng() % 2 == 0;
  const std::size_t n = 1 + rng() % 20;
  for (std::size_t i = 0; i < n; ++i) {
    v.x.push_back(random_real(rng));
    v.y.push_back(random_real(rng));
    if (v.dimension == 3) v.z.push_back(random_real(rng));
    for (std::size_t a = 0; a < v.attribute_count; ++a)
      v.attributes.push_back(random_real(rng));
    if (v.has_markers) v.markers.push_back(static_cast<long long>(rng()));
  }
  p.has_segment_markers = rng() % 2 == 0;
  for (std::size_t s = rng() % 25; s > 0; --s) {
    p.segments.push_back({rng() % n, rng() % n});
    if (p.has_segment_markers)
      p.segment_markers.push_back(static_cast<long long>(rng() % 7) - 3);
  }
  for (std::size_t h = rng() % 3; h > 0; --h)
    p.holes.push_back({random_real(rng), random_real(rng)});
  for (std::size_t r = rng() % 3; r > 0; --r) {
    p.regions.push_back({random_real(rng), random_real(rng), random_real(rng), -1.0});
  }
  return p;
}

struct CommaPunct : std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\3"; }
};

// Written and read back under a host's decimal-comma global locale.
TEST_F(TriangleFilesTest, WrittenGraphsReadBackBitForBit) {
  const std::locale previous =
      std::locale::global(std::locale(std::locale::classic(), new CommaPunct));
  std::mt19937_64 rng(21);
  for (int round = 0; round < 200 && !HasFailure(); ++round) {
    const gvk::TrianglePoly written = random_poly(rng);
    const std::string path = (m_dir / "round.poly").string();
    const gvk::TriangleFileResult w = gvk::write_poly_file(path, written);
    ASSERT_TRUE(w) << w.message;
    gvk::TrianglePoly read;
    const gvk::TriangleFileResult r = gvk::read_poly_file(path, read);
    ASSERT_TRUE(r) << r.message;
    EXPECT_TRUE(same_poly(read, written)) << round;
  }
  std::locale::global(previous);
}

TEST_F(TriangleFilesTest, WriterRefusesGraphsThatWouldNotReadBack) {
  std::mt19937_64 rng(5);
  gvk::TrianglePoly good = random_poly(rng);
  good.vertices.dimension = 2;
  good.vertices.z.clear();
  good.vertices.attribute_count = 1;
  good.vertices.attributes.assign(good.vertices.x.size(), 1.0);
  good.segments = {{0, 0}};
  good.has_segment_markers = false;
  good.segment_markers.clear();
  using Change = void (*)(gvk::TrianglePoly&);
  const Change changes[] = {
      [](gvk::TrianglePoly& p) { p.vertices = gvk::TriangleVertices{}; },
      [](gvk::TrianglePoly& p) { p.vertices.dimension = 1; },
      [](gvk::TrianglePoly& p) { p.vertices.dimension = 3; },
      [](gvk::TrianglePoly& p) { p.vertices.first_number = 2; },
      [](gvk::TrianglePoly& p) { p.vertices.y.pop_back(); },
      [](gvk::TrianglePoly& p) { p.vertices.attributes.push_back(0); },
      [](gvk::TrianglePoly& p) { p.vertices.attribute_count = 0; },
      [](gvk::TrianglePoly& p) { p.vertices.has_markers = !p.vertices.has_markers; },
      [](gvk::TrianglePoly& p) { p.vertices.x[0] = std::nan(""); },
      [](gvk::TrianglePoly& p) { p.vertices.attributes[0] = HUGE_VAL; },
      [](gvk::TrianglePoly& p) { p.segments[0][1] = p.vertices.x.size(); },
      [](gvk::TrianglePoly& p) { p.has_segment_markers = true; },
      [](gvk::TrianglePoly& p) {
        p.holes.push_back({0, -HUGE_VAL});
      },
      [](gvk::TrianglePoly& p) {
        p.regions.push_back({0, 0, 0, std::nan("")});
      },
  };
  const std::string path = (m_dir / "refused.poly").string();
  ASSERT_TRUE(gvk::write_poly_file(path, good));
  fs::remove(path);
  for (std::size_t k = 0; k < sizeof changes / sizeof changes[0]; ++k) {
    SCOPED_TRACE(k);
    gvk::TrianglePoly bad = good;
    changes[k](bad);
    const gvk::TriangleFileResult r = gvk::write_poly_file(path, bad);
    EXPECT_FALSE(r.ok);
    EXPECT_EQ(r.message.rfind(path + ": not written: ", 0), 0u) << r.message;
    EXPECT_FALSE(fs::exists(path));
  }
  EXPECT_FALSE(gvk::write_poly_file((m_dir / "no" / "dir.poly").string(), good).ok);
}

// The pair that PolyFile::to_files writes, trailing 0 of its triangle lines
// included, reads back whole; z is its one attribute.
TEST_F(TriangleFilesTest, ToFilesPairReadsBackWhole) {
  std::mt19937_64 rng(8);
  std::uniform_real_distribution<double> coordinate(-1e5, 1e5);
  std::vector<double> x, y, z;
  for (int i = 0; i < 300; ++i) {
    x.push_back(coordinate(rng));
    y.push_back(coordinate(rng));
    z.push_back(i % 5 == 0 ? -0.0 : coordinate(rng));
  }
  std::vector<gvk::Triangle> triangles;
  for (int j = 0; j < 500; ++j)
    triangles.push_back({rng() % 300, rng() % 300, rng() % 300});
  gvk::PolyFile::to_files((m_dir / "mesh.poly").string(), x, y, z, triangles);
  std::vector<double> rx{1}, ry, rz;
  std::vector<gvk::Triangle> rt{{1, 2, 3}};
  const gvk::TriangleFileResult r = gvk::read_node_ele_files(
      (m_dir / "mesh.1.node").string(), (m_dir / "mesh.1.ele").string(), rx, ry, rz, rt);
  ASSERT_TRUE(r) << r.message;
  EXPECT_EQ(rt, triangles);
  ASSERT_EQ(rx.size(), x.size());
  ASSERT_EQ(rz.size(), z.size());
  for (std::size_t i = 0; i < x.size(); ++i) {
    EXPECT_NEAR(rx[i], x[i], 5e-13 + std::fabs(x[i]) * 1e-15);
    EXPECT_NEAR(ry[i], y[i], 5e-13 + std::fabs(y[i]) * 1e-15);
    EXPECT_NEAR(rz[i], z[i], 5e-13 + std::fabs(z[i]) * 1e-15);
  }
  // A 3-D vertex file gives its third coordinate as z, before any attribute.
  const std::string node = file("d3.node", "2 3 1 0\n0 1 2 3 9\n1 4 5 6 9\n");
  const std::string ele = file("d3.ele", "0 3 0\n");
  ASSERT_TRUE(gvk::read_node_ele_files(node, ele, rx, ry, rz, rt));
  EXPECT_EQ(rz, (std::vector<double>{3, 6}));
  EXPECT_TRUE(rt.empty());
}

}  // namespace
