// The JSON reader takes a document's mesh lists as the text streams past and reads the
// rest whole; a document it cannot split that way is read whole. Either way the
// outcome must be the one the whole-document reader gives: the same problem, or the
// same message. These tests hold the two against each other, from memory and from
// files read a block at a time, and check that the writer's documents are split and
// that a file written a block at a time holds the document's bytes.
#include "json_split.h"
#include "json_document.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <limits>
#include <string>
#include <vector>

namespace {

using gvk::Problem;

struct Outcome {
  bool ok = false;
  std::string text;  // the problem written again, or the message
};

Outcome written(bool ok, const Problem& p, const std::string& error) {
  Outcome out{ok, error};
  if (ok) gvk_json::write_document(p, out.text);
  return out;
}

Outcome read_whole(const std::string& text) {
  Problem p;
  std::string error;
  const bool ok = gvk_json::read_document_whole(text, p, error);
  return written(ok, p, error);
}

Outcome read(const std::string& text) {
  Problem p;
  std::string error;
  const bool ok = gvk_json::read_document(text, p, error);
  return written(ok, p, error);
}

std::string temporary_path(const std::string& name) {
  return testing::TempDir() + "gravok_json_split_" + name + ".json";
}

// read_file's outcome for `text` written to a file, with the path taken out of its
// message.
Outcome read_from_file(const std::string& text) {
  const std::string path = temporary_path("case");
  std::ofstream(path, std::ios::binary) << text;
  Problem p;
  std::string error;
  const bool ok = gvk_json::read_file(path, p, error);
  std::remove(path.c_str());
  if (error.compare(0, path.size() + 2, path + ": ") == 0)
    error.erase(0, path.size() + 2);
  return written(ok, p, error);
}

void expect_same_outcome(const std::string& text) {
  const Outcome whole = read_whole(text);
  for (const Outcome& split : {read(text), read_from_file(text)}) {
    EXPECT_EQ(split.ok, whole.ok);
    EXPECT_EQ(split.text, whole.text);
  }
}

const std::string kHead = R"({"format": "gravok-problem", "version": 2, )";

std::string with_mesh(const std::string& members) {
  return kHead + R"("mesh": {)" + members + "}}";
}

// Every form a list's item may take, the forms the split takes and those it leaves to
// the whole-document reader, in documents that read and in documents that do not.
TEST(JsonSplit, ReadsEveryDocumentAsTheWholeDocumentReaderDoes) {
  const std::string digits80(80, 'a');
  const std::vector<std::string> coordinates = {
      "0",
      "-5",
      "1.5",
      "-0.0",
      "-0",
      "1E5",
      "1e+5",
      "1e-5",
      "18446744073709551615",
      "18446744073709551616",
      "-9223372036854775808",
      "-9223372036854775809",
      "9007199254740993",
      "1e400",
      "-1e400",
      "1e-400",
      "5e-324",
      "2.2250738585072011e-308",
      "0.1000000000000000055511151231257827021181583404541015625",
      "01",
      "1.",
      ".5",
      "+1",
      "1e",
      "-",
      "--1",
      "1.5.5",
      R"("nan")",
      R"("inf")",
      R"("-inf")",
      R"("nan:0x7ff800000000beef")",
      R"("nan:0x7ff0000000000000")",
      R"("NaN")",
      R"("n\u0061n")",
      R"("")",
      "true",
      "null",
      "[1]",
      "{}",
      " 7 ",
      "\n8\t",
      std::string(5000, '1'),
      "1" + std::string(5000, ' ')};
  std::vector<std::string> texts;
  for (const std::string& c : coordinates) {
    texts.push_back(with_mesh(R"("x": [)" + c + "]"));
    texts.push_back(with_mesh(R"("z": [1, )" + c + ", 2]"));
  }
  const std::vector<std::string> triangles = {"[0,1,2]",
                                              "[ 0 , 1 ,2 ]",
                                              "[18446744073709551615, 0, 1]",
                                              "[18446744073709551616, 0, 1]",
                                              "[00, 1, 2]",
                                              "[-0, 1, 2]",
                                              "[-1, 1, 2]",
                                              "[1.0, 1, 2]",
                                              "[1e1, 1, 2]",
                                              "[0, 1, 2, 3]",
                                              "[0, 1]",
                                              "[]",
                                              "0",
                                              "[[0], 1, 2]",
                                              R"(["0", 1, 2])",
                                              "[0,1,2" + std::string(5000, ' ') + "]"};
  for (const std::string& t : triangles)
    texts.push_back(with_mesh(R"("triangles": [[3, 4, 5], )" + t + "]"));
  const std::vector<std::string> records = {'"' + digits80 + '"',
                                            '"' + std::string(80, 'F') + '"',
                                            '"' + std::string(78, '0') + '"',
                                            '"' + std::string(82, '0') + '"',
                                            '"' + std::string(79, '0') + "g\"",
                                            R"("\u0030)" + std::string(79, '0') + '"',
                                            '"' + digits80,
                                            "0",
                                            "[]"};
  for (const std::string& r : records)
    texts.push_back(with_mesh(R"("triangle_info": [)" + r + "]"));
  const std::vector<std::string> structures = {
      with_mesh(R"("x": [], "y": [], "z": [], "triangles": [], "triangle_info": [])"),
      with_mesh(R"("x": [1], "x": [2])"),
      with_mesh(R"("\u0078": [1, 2], "y": [3])"),
      with_mesh(R"("x": 5)"),
      with_mesh(R"("w": [1])"),
      with_mesh(R"("x": [1, 2,])"),
      with_mesh(R"("x": [1 2])"),
      with_mesh(R"("x": [1, 2])") + " x",
      with_mesh(R"("x": [1, 2])") + with_mesh(""),
      kHead + R"("mesh": {"x": [1]}, "mesh": {"y": [2]}})",
      kHead + R"("mesh": [1, 2]})",
      kHead +
          R"("mesh": {"x": [1]}, "elements": {"Pond": {"records": [], "xs": [[1]]}}})",
      kHead + R"("all_surfaces": [{"id": 0, "mesh": {"x": [1], "triangles": [[0,0,0]]}},)"
              R"( {"id": 1}, {"id": 2, "mesh": {"z": ["inf"]}}]})",
      kHead + R"("all_surfaces": [{"id": 0, "mesh": {"x": [1]}}, 7]})",
      kHead + R"("all_surfaces": {"mesh": {"x": [1]}}})",
      kHead + R"("elements": {"mesh": {"x": [1]}}})",
      kHead + R"("hostcad_version": "caf\xC3\xA9 \"mesh\": {[", "mesh": {"x": [1]}})",
      kHead + "\"hostcad_version\": \"\xFF\", \"mesh\": {\"x\": [1]}}",
      with_mesh("\"x\": [\"\xFF\"]"),
      with_mesh(R"("x": [1], "y": )" + std::string(30, '[') + std::string(30, ']')),
      with_mesh(R"("x": [1], "y": )" + std::string(31, '[') + std::string(31, ']')),
      "[" + with_mesh(R"("x": [1])") + "]",
      R"({"mesh": {"x": [1]}, "format": "gravok-problem", "version": 1})",
      R"({"mesh": {"x": [1]}, "format": "other", "version": 1})",
      "\xEF\xBB\xBF" + with_mesh(R"("x": [1])"),
      "",
      " "};
  texts.insert(texts.end(), structures.begin(), structures.end());
  for (const std::string& text : texts) {
    SCOPED_TRACE(text.substr(0, 200));
    expect_same_outcome(text);
  }
}

// Coordinates of every magnitude and length of text read as the whole-document reader
// reads them: random bit patterns, and decimals of 1 to 19 digits at powers of ten
// around the limits of exact reading (2^53, 10^22), as the writer writes them.
TEST(JsonSplit, CoordinatesReadAsTheWholeDocumentReaderReadsThem) {
  unsigned long long seed = 99;
  const auto next = [&seed] {
    seed = seed * 6364136223846793005ULL + 1442695040888963407ULL;
    return seed;
  };
  Problem p;
  for (int i = 0; i < 20000; ++i) {
    double value;
    if (i % 2) {
      const unsigned long long bits = next();
      std::memcpy(&value, &bits, sizeof value);
    } else {
      const int digits = 1 + static_cast<int>(next() % 19);
      unsigned long long mantissa = 0;
      for (int d = 0; d < digits; ++d) mantissa = mantissa * 10 + next() % 10;
      const int exponent = static_cast<int>(next() % 61) - 30;
      value = std::stod(std::to_string(mantissa) + "e" + std::to_string(exponent));
    }
    if (!std::isfinite(value)) continue;
    (i % 3 ? p.mesh.x : p.mesh.z).push_back(i % 5 ? value : -value);
  }
  for (double edge :
       {9007199254740991.0, 9007199254740992.0, 9007199254740993.0, 1e22, 1e23, 1e-22,
        1e-23, 4.35e-22, 0.1, 0.3, 5e-324, 2.2250738585072014e-308})
    p.mesh.y.push_back(edge);
  std::string text;
  gvk_json::write_document(p, text);
  const Outcome whole = read_whole(text);
  ASSERT_TRUE(whole.ok);
  EXPECT_EQ(read(text).text, whole.text);
  gvk_json::TextInput in(text);
  gvk_json::SplitDocument split;
  ASSERT_TRUE(gvk_json::split_document(in, gvk_json::kMaxDepth, split));
  EXPECT_EQ(split.mesh.taken & 7u, 7u);
}

// Every prefix of a document with each of the lists, in two surfaces and the main mesh.
TEST(JsonSplit, EveryTruncationGivesTheWholeDocumentReadersMessage) {
  const std::string text =
      kHead +
      R"("mesh": {"x": [1.5, "nan"], "y": [-2e3, 0], "z": [3, 4],)"
      R"( "triangles": [[0, 1, 1]], "triangle_info": [")" +
      std::string(80, 'c') +
      R"("]}, "all_surfaces": [{"id": 4, "mesh": {"x": [9], "triangles": [[0, 0, 0]]}}]})";
  ASSERT_TRUE(read_whole(text).ok);
  for (std::size_t size = 0; size <= text.size(); ++size) {
    SCOPED_TRACE(size);
    const std::string prefix = text.substr(0, size);
    const Outcome whole = read_whole(prefix), split = read(prefix);
    EXPECT_EQ(split.ok, whole.ok);
    EXPECT_EQ(split.text, whole.text);
  }
}

Problem site(std::size_t columns) {
  Problem p;
  for (std::size_t i = 0; i < columns * columns; ++i) {
    p.mesh.x.push_back(1000000.0 + 0.1 * static_cast<double>(i % columns) + 1e-7 * i);
    p.mesh.y.push_back(-0.3 * static_cast<double>(i / columns));
    p.mesh.z.push_back(i % 97 ? 100.0 / static_cast<double>(i + 1)
                              : std::numeric_limits<double>::quiet_NaN());
  }
  for (std::size_t i = 0; i + columns + 1 < columns * columns; ++i) {
    p.mesh.triangles.push_back({i, i + 1, i + columns});
    p.mesh.triangle_info.emplace_back();
    for (std::size_t b = 0; b < sizeof p.mesh.triangle_info.back().data; ++b)
      p.mesh.triangle_info.back().data[b] = static_cast<unsigned char>(i * 31 + b);
  }
  gvk::Surface surface;
  surface.id = ULLONG_MAX;
  surface.mesh = p.mesh;
  surface.mesh.triangles.push_back({ULLONG_MAX, 0, 1});
  p.surfaces = {gvk::Surface(), surface};
  return p;
}

// The writer's documents are split, every list of every mesh taken, and read from a
// file whose items cross the blocks it is read in, give what the whole-document
// reader gives.
TEST(JsonSplit, TakesEveryListOfTheWritersDocuments) {
  std::string text;
  gvk_json::write_document(site(300), text);
  ASSERT_GT(text.size(), std::size_t{3} << 20);
  gvk_json::TextInput in(text);
  gvk_json::SplitDocument split;
  ASSERT_TRUE(gvk_json::split_document(in, gvk_json::kMaxDepth, split));
  EXPECT_EQ(split.mesh.taken, 31u);
  ASSERT_EQ(split.surfaces.size(), 2u);
  EXPECT_EQ(split.surfaces[1].first, 1u);
  EXPECT_EQ(split.surfaces[1].second.taken, 31u);
  EXPECT_LT(split.rest.size(), 2000u);
  const Outcome whole = read_whole(text);
  ASSERT_TRUE(whole.ok);
  EXPECT_EQ(read_from_file(text).text, whole.text);
  EXPECT_EQ(whole.text, text);
}

// write_file passes the document on to the file a block at a time: the file holds the
// bytes write_document gives, for a site whose lists cross many blocks and element
// lists longer than a block.
TEST(JsonSplit, WriteFileWritesWhatWriteDocumentGives) {
  Problem p = site(300);
  gvk::ElementSet& drains = p.elements[DrainLine];
  drains.records.resize(3);
  drains.xs = {std::vector<double>(200000, 0.25), {}, {1.0}};
  drains.ys = drains.xs;
  std::string text;
  gvk_json::write_document(p, text);
  ASSERT_GT(text.size(), std::size_t{6} << 20);
  const std::string path = temporary_path("written");
  gvk_json::write_file(p, path);
  std::ifstream in(path, std::ios::binary);
  const std::string written{std::istreambuf_iterator<char>(in), {}};
  std::remove(path.c_str());
  EXPECT_TRUE(written == text);
}

}  // namespace
