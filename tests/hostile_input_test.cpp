// Hostile files and meshes: each reader of untrusted input either refuses with a
// message that says what is wrong, or reads, and in both cases the memory it holds at
// its peak stays within a small multiple of the bytes it was given (plus the line
// buffer), whatever the counts in the input announce. Memory is measured by a
// replaced global operator new that keeps the live total and its peak.
#include <gravok/mesh_check.h>
#include <gravok/poly_file.h>
#include <gravok/triangle_files.h>

#include <gtest/gtest.h>

#include "counting_new.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <new>
#include <string>
#include <system_error>
#include <vector>

namespace {

namespace fs = std::filesystem;

using counting::peak_of;

constexpr std::size_t kLineBuffer = std::size_t{1} << 16;  // the readers' first block
constexpr std::size_t kSlack = std::size_t{1} << 20;

// The bound every reader keeps: a few times the bytes of the file, plus its line
// buffer and a fixed allowance.
std::size_t bound_for(std::uintmax_t bytes) {
  return 4 * static_cast<std::size_t>(bytes) + kLineBuffer + kSlack;
}

enum class Reader { PolyRead, PolyFromFile, Node, Ele, NodeEle, TrianglePoly };

struct Outcome {
  bool ok = false;
  std::string message;
};

Outcome read(Reader reader, const std::string& path) {
  std::vector<double> x, y, z;
  std::vector<gvk::Triangle> triangles;
  std::vector<unsigned long long> boundary;
  switch (reader) {
    case Reader::PolyRead: {
      const gvk::PolyReadResult r =
          gvk::PolyFile::read(path, x, y, z, triangles, boundary);
      return {static_cast<bool>(r), r.message};
    }
    case Reader::PolyFromFile:
      return {gvk::PolyFile::from_file(path, x, y, z, triangles, boundary), ""};
    case Reader::Node: {
      gvk::TriangleVertices v;
      const gvk::TriangleFileResult r = gvk::read_node_file(path, v);
      return {r.ok, r.message};
    }
    case Reader::Ele: {
      gvk::TriangleElements e;
      const gvk::TriangleFileResult r = gvk::read_ele_file(path, 4, 0, e);
      return {r.ok, r.message};
    }
    case Reader::NodeEle: {
      const gvk::TriangleFileResult r =
          gvk::read_node_ele_files(path, path, x, y, z, triangles);
      return {r.ok, r.message};
    }
    case Reader::TrianglePoly: {
      gvk::TrianglePoly p;
      const gvk::TriangleFileResult r = gvk::read_poly_file(path, p);
      return {r.ok, r.message};
    }
  }
  return {};
}

const char* name(Reader reader) {
  const char* names[] = {"PolyFile::read", "PolyFile::from_file", "read_node_file",
                         "read_ele_file",  "read_node_ele_files", "read_poly_file"};
  return names[static_cast<int>(reader)];
}

const std::string kBig = "1000000000000000000";  // 10^18
const std::string kSquareVertices = "0 0 0 5 1\n1 1 0 6 1\n2 1 1 7 1\n3 0 1 8 1\n";
const std::string kSquare = "4 2 1 1\n" + kSquareVertices;
const std::string kSegments = "4 1\n0 0 1 1\n1 1 2 1\n2 2 3 1\n3 3 0 1\n";

std::string repeated(const std::string& text, int times) {
  std::string out;
  for (int i = 0; i < times; ++i) out += text;
  return out;
}

class HostileInput : public ::testing::Test {
 protected:
  std::string file(const std::string& name, const std::string& text) {
    const fs::path path = m_dir / name;
    std::ofstream(path, std::ios::binary) << text;
    return path.string();
  }
  void TearDown() override { fs::remove_all(m_dir); }

 private:
  fs::path m_dir = [] {
    const fs::path dir =
        fs::temp_directory_path() /
        ("gravok-hostile-" +
         std::to_string(::testing::UnitTest::GetInstance()->random_seed()) + "-" +
         ::testing::UnitTest::GetInstance()->current_test_info()->name());
    fs::create_directories(dir);
    return dir;
  }();
};

// Counts of 10^18 (and beyond 64 bits) in every header and section, repeated and
// nearly empty sections, and a field of millions of digits: each reader refuses with
// the message given ("" where it reads the file) and holds little memory either way.
TEST_F(HostileInput, CountsAndSectionsDriveNoAllocation) {
  struct Case {
    Reader reader;
    std::string text;
    std::string says;  // part of the refusal, "" when the file reads
  };
  const std::string digits(std::size_t{16} << 20, '9');  // a 16 MiB number
  const Case cases[] = {
      {Reader::PolyRead, kBig + " 2 1 1\n" + kSquareVertices, ""},
      {Reader::PolyRead, kSquare + kBig + " 1\n0 0 1 1\n", ""},
      {Reader::PolyRead, kSquare + repeated(kSegments, 20000), ""},
      {Reader::PolyRead, "18446744073709551616 2 1 1\n", "vertex count"},
      {Reader::PolyRead, digits + " 2 1 1\n", "vertex count"},
      {Reader::PolyRead, "1\n0 " + digits + " 0 5 1\n", "vertex line"},
      {Reader::PolyFromFile, kBig + " 2 1 1\n" + kSquareVertices, ""},
      {Reader::PolyFromFile, kSquare + kBig + " 1\n0 0 1 1\n", ""},
      {Reader::Node, kBig + " 2 1 1\n" + kSquareVertices, "announces " + kBig},
      {Reader::Node, "4 2 " + kBig + " 0\n" + kSquareVertices, "vertex"},
      {Reader::Node, "4 2 18446744073709551616 0\n", "vertex header"},
      {Reader::Node, "4 " + kBig + " 0 0\n", "dimension"},
      {Reader::Node, digits + " 2 0 0\n", "vertex count"},
      {Reader::Node, repeated("# comment\n\n", 100000) + "1 2\n0 1 2\n", ""},
      {Reader::Ele, kBig + " 3 0\n0 0 1 2\n", "announces " + kBig},
      {Reader::Ele, "1 3 " + kBig + "\n0 0 1 2 7\n", "triangle"},
      {Reader::Ele, "1 " + kBig + " 0\n0 0 1 2\n", "nodes"},
      {Reader::NodeEle, kBig + " 2 1 1\n" + kSquareVertices, "announces " + kBig},
      {Reader::TrianglePoly, kSquare + kBig + " 1\n0 0 1 1\n", "announces " + kBig},
      {Reader::TrianglePoly, kSquare + kSegments + kBig + "\n0 0.5 0.5\n",
       "announces " + kBig},
      {Reader::TrianglePoly, kSquare + kSegments + "0\n" + kBig + "\n0 0.5 0.5 1 2\n",
       "announces " + kBig},
      {Reader::TrianglePoly, kSquare + kSegments + "0\n0\n" + repeated(kSegments, 20000),
       ""},
  };
  int row = 0;
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(name(c.reader)) + ", row " + std::to_string(row++));
    const std::string path = file("hostile.txt", c.text);
    Outcome outcome;
    const std::size_t peak = peak_of([&] { outcome = read(c.reader, path); });
    EXPECT_LE(peak, bound_for(c.text.size()));
    EXPECT_EQ(outcome.ok, c.says.empty()) << outcome.message;
    if (!outcome.ok) {
      EXPECT_EQ(outcome.message.rfind(path, 0), 0u) << outcome.message;
      EXPECT_NE(outcome.message.find(c.says), std::string::npos) << outcome.message;
    }
  }
}

// A header line padded with blanks to GRAVOK_LONG_LINE_BYTES (the build's setting, a
// gigabyte unless a preset says otherwise; the environment variable of that name
// overrides it, as CI does for a run of a gigabyte), then a square with its boundary:
// the file is kept in the build tree and written again only when its size is not the
// expected one. Every reader gets through the line holding no more than a few times
// its length.
TEST_F(HostileInput, ALongLineIsReadWithinItsOwnSize) {
  std::uintmax_t padding = GRAVOK_LONG_LINE_BYTES;
  if (const char* bytes = std::getenv("GRAVOK_LONG_LINE_BYTES")) {
    padding = std::strtoull(bytes, nullptr, 10);
  }
  const std::string tail = "\n" + kSquareVertices + kSegments;
  const fs::path path = GRAVOK_LONG_LINE_FILE;
  const std::uintmax_t size = 7 + padding + tail.size();
  std::error_code error;
  if (fs::file_size(path, error) != size) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << "4 2 1 1";
    const std::string blanks(std::size_t{1} << 20, ' ');
    for (std::uintmax_t left = padding; left > 0;) {
      const std::size_t chunk =
          static_cast<std::size_t>(std::min<std::uintmax_t>(left, blanks.size()));
      out.write(blanks.data(), static_cast<std::streamsize>(chunk));
      left -= chunk;
    }
    out << tail;
    ASSERT_TRUE(out.good());
  }
  ASSERT_EQ(fs::file_size(path), size);
  struct Case {
    Reader reader;
    std::string says;
  };
  const Case cases[] = {
      {Reader::PolyRead, ""}, {Reader::PolyFromFile, ""}, {Reader::Node, ""},
      {Reader::Ele, "nodes"}, {Reader::NodeEle, "nodes"}, {Reader::TrianglePoly, ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(name(c.reader));
    Outcome outcome;
    const std::size_t peak = peak_of([&] { outcome = read(c.reader, path.string()); });
    EXPECT_LE(peak, bound_for(size));
    EXPECT_EQ(outcome.ok, c.says.empty()) << outcome.message;
    EXPECT_NE(outcome.message.find(c.says), std::string::npos) << outcome.message;
  }
}

// check_mesh on meshes whose indices are 10^18 and whose y and z are missing: what it
// holds grows with the mesh it is given and the findings it returns, and a cap keeps
// the findings few.
TEST(HostileMesh, CheckMeshHoldsMemoryByTheMeshGiven) {
  const std::size_t n = 100000;
  const std::vector<double> x(n, 1.0), none;
  const std::vector<gvk::Triangle> triangles(
      n, gvk::Triangle{1ull << 60, 7, 1000000000000000000ull});
  const std::size_t given = n * (sizeof(double) + sizeof(gvk::Triangle));
  std::vector<gvk::MeshFinding> findings;
  std::size_t peak =
      peak_of([&] { findings = gvk::check_mesh(x, none, none, triangles, 0.5); });
  EXPECT_EQ(findings.size(), 2 + 2 * n + (n - 1));  // missing y, z; corners; unused
  EXPECT_LE(peak, 2 * given + 2 * findings.capacity() * sizeof(gvk::MeshFinding));
  findings = {};
  peak = peak_of([&] { findings = gvk::check_mesh(x, none, none, triangles, 0.5, 10); });
  EXPECT_EQ(findings.size(), 10u);
  EXPECT_LE(peak, 2 * given);
}

}  // namespace
