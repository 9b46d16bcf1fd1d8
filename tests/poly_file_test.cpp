#include <gravok/poly_file.h>

#include "bit_patterns.h"
#include "poly_oracle.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <locale>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Coords = std::vector<double>;
using Triangles = std::vector<gvk::Triangle>;
using Boundary = std::vector<unsigned long long>;

struct PolyRead {
  Coords x, y, z;
  Triangles triangles;
  Boundary boundary;
};

void expect_same_read(const PolyRead& actual, const PolyRead& expected) {
  EXPECT_EQ(bit_patterns(actual.x), bit_patterns(expected.x));
  EXPECT_EQ(bit_patterns(actual.y), bit_patterns(expected.y));
  EXPECT_EQ(bit_patterns(actual.z), bit_patterns(expected.z));
  EXPECT_TRUE(actual.triangles.empty());
  EXPECT_EQ(actual.boundary, expected.boundary);
}

std::string read_file(const fs::path& path) {
  std::ostringstream bytes;
  bytes << std::ifstream(path, std::ios::binary).rdbuf();
  return bytes.str();
}

// `text` with the line ends a file written in text mode has here: CR LF on Windows.
std::string text_mode(std::string text) {
#if defined(_WIN32)
  for (std::size_t at = text.find('\n'); at != std::string::npos;
       at = text.find('\n', at + 2)) {
    text.insert(at, 1, '\r');
  }
#endif
  return text;
}

// Reads through PolyFile::read into outputs that hold stale values, which the reader
// must discard.
PolyRead read_without_exit(const fs::path& path, gvk::PolyReadResult& result) {
  PolyRead r{{9, 9}, {9}, {9, 9, 9}, {{1, 2, 3}}, {7, 7}};
  result = gvk::PolyFile::read(path.string(), r.x, r.y, r.z, r.triangles, r.boundary);
  return r;
}

// Reads through from_file likewise, and through read, which must report success and
// give the same outputs wherever from_file returns.
PolyRead read_poly(const fs::path& path) {
  PolyRead r{{9, 9}, {9}, {9, 9, 9}, {{1, 2, 3}}, {7, 7}};
  EXPECT_TRUE(
      gvk::PolyFile::from_file(path.string(), r.x, r.y, r.z, r.triangles, r.boundary));
  gvk::PolyReadResult result;
  const PolyRead again = read_without_exit(path, result);
  EXPECT_TRUE(result) << result.message;
  EXPECT_EQ(result.message, "");
  expect_same_read(again, r);
  return r;
}

// Each test works in a directory of its own, removed afterwards. A random suffix
// keeps test programs that run at the same time (several build trees on one
// machine) out of each other's files.
class PolyFileTest : public testing::Test {
 protected:
  void SetUp() override {
    std::random_device entropy;
    do {
      m_dir = fs::path(testing::TempDir()) /
              ("gravok_poly_" + std::to_string(entropy()) + std::to_string(entropy()));
    } while (!fs::create_directories(m_dir));
  }
  void TearDown() override { fs::remove_all(m_dir); }

  fs::path file(const std::string& name, const std::string& bytes) {
    std::ofstream(m_dir / name, std::ios::binary) << bytes;
    return m_dir / name;
  }

  void expect_written_as_the_stream_does(const Coords& x, const Coords& y,
                                         const Coords& z, const Triangles& triangles) {
    oracle::poly_to_files((m_dir / "expected.poly").string(), x, y, z, triangles);
    gvk::PolyFile::to_files((m_dir / "actual.poly").string(), x, y, z, triangles);
    EXPECT_EQ(read_file(m_dir / "actual.1.node"), read_file(m_dir / "expected.1.node"));
    EXPECT_EQ(read_file(m_dir / "actual.1.ele"), read_file(m_dir / "expected.1.ele"));
  }

  fs::path m_dir;
};

const std::string kSquare = "4 2 1 1\n0 0 0 5 1\n1 1 0 6 1\n2 1 1 7 1\n3 0 1 8 1\n";

// The named files, then odd cases: a walk stuck at an open chain keeps what it
// gathered; without vertex 0 it starts at the smallest number; a segment line with
// three fields is skipped; negative numbers pass widened with their sign; "5.5" as a
// vertex number reads 5 and leaves ".5" to x.
TEST_F(PolyFileTest, ReadsTheNamedFilesAndTheDocumentedOddCases) {
  struct Case {
    std::string name;
    std::string text;
    Boundary boundary;
  };
  const std::string sq = kSquare;
  const std::string from_1 = "4 2 1 1\n1 0 0 5 1\n2 1 0 6 1\n3 1 1 7 1\n4 0 1 8 1\n";
  const std::string two =
      "8\n0 0 0 0 0\n1 1 0 0 0\n2 0 1 0 0\n3 9 9 0 0\n4 9 9 0 0\n"
      "5 5 5 0 0\n6 6 5 0 0\n7 5 6 0 0\n6\n0 5 6 0\n";
  const Case cases[] = {
      {"square", sq + "4 1\n0 0 1 1\n1 1 2 1\n2 2 3 1\n3 3 0 1\n", {0, 1, 2, 3}},
      {"reversed", sq + "4 1\n0 2 3 1\n1 3 0 1\n2 0 1 1\n3 1 2 1\n", {0, 3, 2, 1}},
      {"from 1", from_1 + "4 1\n1 1 2 1\n2 2 3 1\n3 3 4 1\n4 4 1 1\n", {1, 2, 3, 4}},
      {"chains 0-1", two + "1 0 1 0\n2 6 7 0\n3 1 2 0\n4 7 5 0\n5 2 0 0\n", {0, 1, 2}},
      {"chains 2-0", two + "1 2 0 0\n2 6 7 0\n3 1 2 0\n4 7 5 0\n5 0 1 0\n", {0, 2, 1}},
      {"open chain", sq + "2\n0 0 1 1\n1 1 2 1\n", {0, 1}},
      {"no vertex 0", sq + "3\n0 2 3 0\n1 3 1 0\n2 1 2 0\n", {1, 3, 2}},
      {"3-field segment", sq + "4 1\n0 0 1 1\n1 1 2\n2 2 3 1\n3 3 0 1\n", {0}},
      {"negative", sq + "3\n0 -1 -2 0\n1 -2 5 0\n2 5 -1 0\n", {-2ULL, -1ULL, 5}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(read_poly(file("case.poly", c.text)).boundary, c.boundary);
  }
  EXPECT_EQ(read_poly(file("x.poly", "1\n5.5 0 0 5\n")).x, Coords{0.5});
}

// 10^18 and 2^64 - 1 ("-1" wraps) announced lines that are not there: a reader that
// counted on, or reserved memory for them, would not come back.
TEST_F(PolyFileTest, HugeCountsReturnAtOnce) {
  for (const std::string count : {"1000000000000000000", "-1", "18446744073709551615"}) {
    SCOPED_TRACE(count);
    EXPECT_EQ(read_poly(file("v.poly", count + " 2 1 1\n0 1 2 3 0\n")).x, Coords{1});
    EXPECT_EQ(read_poly(file("s.poly", kSquare + count + "\n0 0 1 0\n")).boundary,
              Boundary{0});
  }
}

using PolyFileDeathTest = PolyFileTest;

// Each fault from_file ends the process on, which read reports with its line.
TEST_F(PolyFileDeathTest, UnreadableFilesEndTheProcessOrAreReportedByRead) {
  using R = gvk::PolyReadResult;
  struct Case {
    std::string name;
    std::string text;
    R::Status status;
    unsigned long long line;
  };
  const Case cases[] = {
      {"empty file", "", R::empty, 0},
      {"blank first line", "\n0 0 0 0 0\n", R::bad_vertex_count, 1},
      {"count does not parse", "four 2 1 1\n", R::bad_vertex_count, 1},
      {"count overflows 64 bits", "18446744073709551616\n", R::bad_vertex_count, 1},
      {"vertex line with four fields", "1 2 1 1\n0 0 0 5\n", R::bad_vertex_line, 2},
      {"blank vertex line", "2 2 1 1\n0 0 0 5 1\n\n", R::bad_vertex_line, 3},
      {"vertex number beyond 32 bits", "1\n2147483648 0 0 5 1\n", R::bad_vertex_line, 2},
      {"coordinate reads inf", "1\n0 inf 0 5 1\n", R::bad_vertex_line, 2},
      {"coordinate reads nan", "1\n0 0 nan 5 1\n", R::bad_vertex_line, 2},
      {"exponent without digits", "1\n0 1e 0 5 1\n", R::bad_vertex_line, 2},
      {"coordinate overflows", "1\n0 1e400 0 5 1\n", R::bad_vertex_line, 2},
      {"marker .5 is no integer", "3\n0 1 2 3 4\n1 1 2 3 4\n0 1 2 3 .5\n",
       R::bad_vertex_line, 4},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const fs::path path = file("bad.poly", c.text);
    EXPECT_EXIT(read_poly(path), testing::ExitedWithCode(1), "^$");
    R result;
    const PolyRead r = read_without_exit(path, result);
    EXPECT_EQ(result.status, c.status);
    EXPECT_EQ(result.line, c.line);
    const std::string where =
        path.string() + (c.line == 0 ? ":" : ":" + std::to_string(c.line) + ":");
    EXPECT_EQ(result.message.rfind(where, 0), 0u) << result.message;
    EXPECT_TRUE(r.x.empty() && r.y.empty() && r.z.empty() && r.boundary.empty());
  }
  R result;
  read_without_exit(m_dir / "missing.poly", result);
  EXPECT_EQ(result.status, R::cannot_open);
  EXPECT_EQ(result.message, (m_dir / "missing.poly").string() + ": cannot open the file");
  read_without_exit(m_dir, result);
#if defined(_WIN32)
  EXPECT_EQ(result.status, R::cannot_open);  // Windows does not open a directory
#else
  EXPECT_EQ(result.status, R::empty);
#endif
  EXPECT_EXIT(read_poly(m_dir / "missing.poly"), testing::ExitedWithCode(1), "^$");
  EXPECT_EXIT(read_poly(m_dir), testing::ExitedWithCode(1), "^$");
}

// The parts of `list` between its "|" separators.
std::vector<std::string> split(const std::string& list) {
  std::vector<std::string> parts;
  std::istringstream stream(list);
  for (std::string part; std::getline(stream, part, '|');) parts.push_back(part);
  return parts;
}

// Tokens that probe the stream extraction rules: signs, exponents, points at either
// end, prefixes that stop a field early, words that never parse, integers at and
// beyond 32 and 64 bits, reals out of range with and without an exponent, and a
// token with a NUL inside.
const std::vector<std::string>& special_tokens() {
  static const std::vector<std::string> tokens = [] {
    std::vector<std::string> all = split(
        "0|-0|+0|5|+5|-5|.5|5.|-.5|+.5|.|-|+|1e|1e+|1e-|1e5|1E5|1e+5|1e-5|5e3x|1.2.3|"
        "1e5.5|e5|0x10|0X1F|inf|-inf|nan|INF|infinity|1e400|-1e400|1e-400|-1e-400|"
        "4.9e-324|2.4703282292062327e-324|2.4703282292062328e-324|"
        "1.7976931348623157e308|1.7976931348623159e308|2147483647|2147483648|"
        "-2147483648|-2147483649|4294967296|9223372036854775807|9223372036854775808|"
        "-9223372036854775809|18446744073709551615|18446744073709551616|"
        "00000000000000000000000000012|5.5|--5|+-5|5,5|"
        "0.000000000000000000000000000000000000000001e-290|"
        "123456789012345678901234567890|1_000|\xff||0e|.e1|5.e3|5e+03|"
        "1e-99999999999999999999999");
    all.push_back(std::string(400, '9'));
    all.push_back("-0." + std::string(400, '0') + "1");
    all.push_back(std::string("1\0002", 3));
    return all;
  }();
  return tokens;
}

std::string random_token(std::mt19937_64& rng) {
  const unsigned kind = static_cast<unsigned>(rng() % 8);
  if (kind == 0) return special_tokens()[rng() % special_tokens().size()];
  if (kind <= 2) return std::to_string(static_cast<long long>(rng() % 20) - 3);
  const double value = std::ldexp(static_cast<double>(rng() % 2000001) - 1e6,
                                  static_cast<int>(rng() % 60) - 40);
  const char* formats[] = {"%.17g", "%.3e", "%f", "%a", "%.12f", "%g"};
  char text[64];
  std::snprintf(text, sizeof text, formats[rng() % 6], value);
  return text;
}

// Inserts, deletes or repeats a character, now and then.
std::string mutated(std::string token, std::mt19937_64& rng) {
  static const char alphabet[] = " \t\r\v\f.eE+-x0123456789in,";
  const unsigned what = static_cast<unsigned>(rng() % 12);
  const std::size_t at = token.empty() ? 0 : rng() % (token.size() + 1);
  if (what == 0) token.insert(at, 1, alphabet[rng() % (sizeof alphabet - 1)]);
  if (what == 1 && at < token.size()) token.erase(at, 1);
  if (what == 2 && at < token.size()) token.insert(at, 1, token[at]);
  return token;
}

// A line of `fields` fields with mixed gaps, now and then with leading blanks,
// trailing text, a carriage return or extra fields.
std::string random_line(std::mt19937_64& rng, int fields) {
  static const char* const gaps[] = {" ", " ", "\t", "  ", " \t "};
  static const char* const tails[] = {" trailing text", "\r", "\t9 9"};
  std::string line = rng() % 8 == 0 ? " \t" : "";
  for (int f = 0; f < fields; ++f) {
    if (f > 0) line += gaps[rng() % 5];
    line += rng() % 3 == 0 ? mutated(random_token(rng), rng) : std::to_string(rng() % 6);
  }
  const unsigned tail = static_cast<unsigned>(rng() % 10);
  return tail < 3 ? line + tails[tail] : line;
}

// A file whose counts may be off by one or not parse, with CR LF now and then, blank
// or unterminated segment lines; `good_vertices` keeps the vertex lines parseable
// so that the segment section is reached.
std::string random_poly(std::mt19937_64& rng, bool good_vertices) {
  const unsigned vertices = static_cast<unsigned>(rng() % 6);
  std::string text =
      rng() % 6 == 0 ? mutated(random_token(rng), rng) : std::to_string(vertices);
  text += " 2 1 1\n";
  for (unsigned v = 0; v < vertices + rng() % 2; ++v) {
    text += good_vertices ? std::to_string(v) + " " + random_token(rng) + " " +
                                random_token(rng) + " " + random_token(rng) + " 1"
                          : random_line(rng, 5);
    text += rng() % 10 == 0 ? "\r\n" : "\n";
  }
  const unsigned segments = static_cast<unsigned>(rng() % 8);
  text += (rng() % 5 == 0 ? random_line(rng, 1) : std::to_string(segments)) + "\n";
  for (unsigned s = 0; s < segments + rng() % 2; ++s) {
    text += rng() % 12 == 0 ? std::string() : random_line(rng, 4);
    if (rng() % 12 != 0) text += "\n";
  }
  return text;
}

// A process end that the reference did not predict would otherwise end the test
// program without a word; this names the file that caused it.
const std::string* g_reading = nullptr;

void report_unexpected_exit() {
  if (g_reading != nullptr) {
    std::fprintf(stderr, "from_file ended the process on %s\n",
                 testing::PrintToString(*g_reading).c_str());
  }
}

// How many of the files that end the process are checked in a child. A death test on
// Windows starts the test program again and replays the test up to the statement, so
// there the cost of each check grows with the checks before it.
#if defined(_WIN32)
constexpr int kExitsChecked = 25;
#else
constexpr int kExitsChecked = 250;
#endif

class PolyFileFuzz : public PolyFileTest {
 protected:
  static void SetUpTestSuite() { std::atexit(report_unexpected_exit); }

  // Compares the library with the stream reference on one file: in process when the
  // reference returns, in a child process when it would end the process.
  void compare(const std::string& text) {
    const fs::path path = file("fuzz.poly", text);
    PolyRead expected;
    const oracle::Outcome outcome =
        oracle::poly_from_file(path.string(), expected.x, expected.y, expected.z,
                               expected.triangles, expected.boundary);
    SCOPED_TRACE(testing::PrintToString(text));
    if (outcome == oracle::Outcome::Returned) {
      g_reading = &text;
      expect_same_read(read_poly(path), expected);
      g_reading = nullptr;
    } else {
      gvk::PolyReadResult result;
      const PolyRead r = read_without_exit(path, result);
      EXPECT_FALSE(result);
      EXPECT_TRUE(r.x.empty() && r.boundary.empty());
      if (m_exits_checked++ < kExitsChecked) {
        EXPECT_EXIT(read_poly(path), testing::ExitedWithCode(1), "^$");
      }
    }
  }

  int m_exits_checked = 0;
};

TEST_F(PolyFileFuzz, FieldsReadAsTheClassicStreamReadsThem) {
  // Each token as each real of a vertex line, as a count, and as each integer of a
  // segment.
  const std::vector<std::string> places = split(
      "1\n0 @ 2 3 4\n|1\n0 1 @ 3 4\n|1\n@ 1 2 3 4\n|1\n0 1 2 3 @\n|"
      "@ 2 1 1\n0 1 2 3 4\n1 1 2 3 4\n|0\n@\n0 1 2 0\n0 3 4 0\n0 2 3 0\n|"
      "0\n1\n0 @ 2147483647 0\n|0\n1\n0 -7 @ 0\n|0\n1\n@ 1 2 0\n|0\n1\n0 1 2 @\n");
  for (const std::string& token : special_tokens()) {
    for (std::string text : places) compare(text.replace(text.find('@'), 1, token));
  }
  std::mt19937_64 rng(4);
  for (int round = 0; round < 1500 && !HasFailure(); ++round) {
    compare(random_poly(rng, round % 2 == 0));
  }
  EXPECT_GT(m_exits_checked, 20);
}

// Segment sets with repeated segments, self-loops, negative numbers, open chains and
// several chains: the walk takes entries in the same order as the multimap does.
TEST_F(PolyFileFuzz, BoundaryWalkMatchesTheMultimapOnRandomSegmentSets) {
  std::mt19937_64 rng(9);
  for (int round = 0; round < 600 && !HasFailure(); ++round) {
    // Every third set shifted below zero, every third spread far apart (the walk
    // then cannot index its table by vertex number).
    const int span = 2 + static_cast<int>(rng() % 8);
    const int shift = round % 3 == 0 ? span / 2 : 0;
    const int scale = round % 3 == 1 ? 1000003 : 1;
    const unsigned segments = 1 + static_cast<unsigned>(rng() % 40);
    std::string text = "0\n" + std::to_string(segments) + "\n";
    for (unsigned k = 0; k < segments; ++k) {
      const int a = (static_cast<int>(rng() % span) - shift) * scale;
      const int b = (static_cast<int>(rng() % span) - shift) * scale;
      text +=
          std::to_string(k) + " " + std::to_string(a) + " " + std::to_string(b) + " 0\n";
    }
    compare(text);
  }
  EXPECT_EQ(m_exits_checked, 0);
}

// Chains in which no vertex has more than two segment ends: closed and open chains,
// several chains, a self-loop, a doubled segment, each segment in either direction
// and the lines in any order, numbers dense or spread far apart.
TEST_F(PolyFileFuzz, WalkOverVerticesOfAtMostTwoEndsMatchesTheMultimap) {
  std::mt19937_64 rng(17);
  for (int round = 0; round < 400 && !HasFailure(); ++round) {
    const int count = 1 + static_cast<int>(rng() % 12);
    std::vector<int> order(static_cast<std::size_t>(count));
    for (int k = 0; k < count; ++k) order[static_cast<std::size_t>(k)] = k;
    std::shuffle(order.begin(), order.end(), rng);
    std::vector<std::pair<int, int>> segments;
    const int split = count > 3 && rng() % 3 == 0 ? count / 2 : count;
    auto chain = [&](int from, int to, bool closed) {
      for (int k = from; k + 1 < to; ++k) segments.push_back({order[k], order[k + 1]});
      if (closed && to - from > 1) segments.push_back({order[to - 1], order[from]});
    };
    const unsigned shape = static_cast<unsigned>(rng() % 4);
    chain(0, split, shape != 1);
    chain(split, count, shape != 2);
    if (shape == 3 && count == 1) segments.push_back({order[0], order[0]});
    if (shape == 3 && count == 2) segments.push_back({order[0], order[1]});
    std::shuffle(segments.begin(), segments.end(), rng);
    const int scale = round % 3 == 1 ? 1000003 : 1;
    const int shift = round % 3 == 2 ? 5 : 0;
    std::string text = "0\n" + std::to_string(segments.size()) + "\n";
    for (std::size_t k = 0; k < segments.size(); ++k) {
      int a = (segments[k].first - shift) * scale;
      int b = (segments[k].second - shift) * scale;
      if (rng() % 2 == 0) std::swap(a, b);
      text +=
          std::to_string(k) + " " + std::to_string(a) + " " + std::to_string(b) + " 0\n";
    }
    compare(text);
  }
  EXPECT_EQ(m_exits_checked, 0);
}

// Reals of 15 to 19 significant digits, where the nearest double takes more than
// one division to find: random digit strings, decimals next to the midpoint between
// two doubles, integers on a midpoint above 2^53 and values at powers of two.
TEST_F(PolyFileFuzz, LongRealsRoundAsTheStreamRoundsThem) {
  std::mt19937_64 rng(23);
  std::vector<std::string> reals = {"9007199254740993",    "9007199254740995",
                                    "18014398509481986",   "9007199254740993.0",
                                    "4503599627370496.5",  "4503599627370497.5",
                                    "9223372036854775808", "0.1000000000000000055511",
                                    "1152921504606846976", "1152921504606846977"};
  char text[64];
  for (int k = 0; k < 3000; ++k) {
    std::string digits;
    const int length = 15 + static_cast<int>(rng() % 5);
    for (int d = 0; d < length; ++d) digits += static_cast<char>('0' + rng() % 10);
    digits.insert(rng() % static_cast<unsigned>(length + 1), 1, '.');
    reals.push_back(digits);
    const double a = std::ldexp(1.0 + static_cast<double>(rng() >> 11) * 0x1p-53,
                                static_cast<int>(rng() % 100) - 40);
    const long double middle =
        (static_cast<long double>(a) + std::nextafter(a, 2 * a + 1)) / 2;
    std::snprintf(text, sizeof text, "%.*Lf", static_cast<int>(rng() % 20), middle);
    reals.push_back(text);
    std::snprintf(text, sizeof text, "%.17g",
                  std::ldexp(1.0, static_cast<int>(rng() % 120) - 60));
    reals.push_back(text);
  }
  std::string file = std::to_string(reals.size()) + " 2 1 1\n";
  for (std::size_t k = 0; k < reals.size(); ++k) {
    const std::string& r = reals[k];
    file += std::to_string(k) + " " + r + " -" + r + " " + r + " 0\n";
  }
  compare(file);
  EXPECT_EQ(m_exits_checked, 0);
}

// A host-style global locale with a decimal comma and digit grouping, made from a
// custom facet since named locales may be missing.
struct CommaPunct : std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\3"; }
};

TEST_F(PolyFileTest, DecimalCommaGlobalLocaleChangesNothing) {
  const std::locale previous =
      std::locale::global(std::locale(std::locale::classic(), new CommaPunct));
  const PolyRead r = read_poly(file("comma.poly", "1\n0 1.5 -2.5 1000 0\n"));
  expect_written_as_the_stream_does(Coords(1001, 1234.5), Coords(1001, -0.25),
                                    Coords(1001, 0), {{1000, 1, 2}});
  std::locale::global(previous);
  EXPECT_EQ(r.x, Coords{1.5});
  EXPECT_EQ(r.y, Coords{-2.5});
  EXPECT_EQ(r.z, Coords{1000});
}

TEST_F(PolyFileTest, NamesFilesAfterTheStem) {
  struct Case {
    std::string basename;
    std::string stem;
  };
  fs::create_directories(m_dir / "out.d");
  const Case cases[] = {
      {"site.poly", "site"}, {"site", "site"}, {"site.b.poly", "site.b"},
      {"out.d/site", "out"}, {"", ""},         {".hidden", ""}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.basename);
    const std::string prefix = m_dir.string() + "/";
    gvk::PolyFile::to_files(prefix + c.basename, {}, {}, {}, {});
    EXPECT_EQ(read_file(prefix + c.stem + ".1.node"), text_mode("0 2 1 1\n"));
    EXPECT_EQ(read_file(prefix + c.stem + ".1.ele"), text_mode("0 3 0\n"));
    fs::remove(prefix + c.stem + ".1.node");
    fs::remove(prefix + c.stem + ".1.ele");
  }
}

TEST_F(PolyFileTest, UncreatableVertexFileStillWritesTriangles) {
  fs::create_directories(m_dir / "blocked.1.node");  // a directory takes the name
  gvk::PolyFile::to_files((m_dir / "blocked").string(), {1}, {2}, {3}, {{0, 0, 0}});
  EXPECT_TRUE(fs::is_directory(m_dir / "blocked.1.node"));
  EXPECT_EQ(read_file(m_dir / "blocked.1.ele"), text_mode("1 3 0\n0 0 0 0 0\n"));
}

// Doubles of every kind: ordinary, negative, signed zeros, huge, tiny, subnormal,
// infinite, NaN of both signs, any bit pattern, and exact ties at the twelfth
// decimal (2^-13 and 3 * 2^-14).
double random_double(std::mt19937_64& rng) {
  using limits = std::numeric_limits<double>;
  const double inf = limits::infinity(), nan = limits::quiet_NaN(), max = limits::max();
  const double tiny = limits::denorm_min(), tie = std::ldexp(1.0, -13);
  const double near_one = 0.9999999999995, digits = -123456789.123456789;
  const double specials[] = {0,      -0.0,     inf,   -inf,  nan,       -nan,
                             max,    -max,     tiny,  tie,   1.5 * tie, 5e-13,
                             -5e-13, near_one, 1e300, digits};
  const std::uint64_t raw = rng();
  double any = 0;
  std::memcpy(&any, &raw, sizeof any);
  switch (rng() % 4) {
    case 0: return specials[rng() % (sizeof specials / sizeof specials[0])];
    case 1: return any;
    case 2:
      return std::ldexp(static_cast<double>(rng() % 100000) - 50000,
                        static_cast<int>(rng() % 80) - 60);
    default: return std::uniform_real_distribution<double>(-1e6, 1e6)(rng);
  }
}

TEST_F(PolyFileTest, WritesByteIdenticalToTheStreamReference) {
  // Older and longer files of the same name are replaced, not overwritten in part.
  file("actual.1.node", std::string(1 << 20, 'x'));
  file("actual.1.ele", std::string(1 << 20, 'y'));
  std::mt19937_64 rng(12);
  for (int round = 0; round < 20; ++round) {
    Coords x(rng() % 300), y(x.size()), z(x.size());
    for (std::size_t i = 0; i < x.size(); ++i) {
      x[i] = random_double(rng);
      y[i] = random_double(rng);
      z[i] = random_double(rng);
    }
    Triangles triangles(rng() % 200);
    for (gvk::Triangle& t : triangles) t = {rng(), rng() % 1000, ~0ULL - rng() % 3};
    SCOPED_TRACE(round);
    expect_written_as_the_stream_does(x, y, z, triangles);
  }
}

TEST_F(PolyFileTest, VertexFileReadsBackToTwelveDecimals) {
  std::mt19937_64 rng(3);
  std::uniform_real_distribution<double> coordinate(-1e5, 1e5);
  Coords x, y, z;
  for (int i = 0; i < 500; ++i) {
    x.push_back(coordinate(rng));
    y.push_back(-coordinate(rng) * 1e-9);
    z.push_back(i % 7 == 0 ? -0.0 : coordinate(rng));
  }
  gvk::PolyFile::to_files((m_dir / "back.poly").string(), x, y, z, {{0, 1, 2}});
  const PolyRead r = read_poly(m_dir / "back.1.node");
  ASSERT_EQ(r.x.size(), x.size());
  for (std::size_t i = 0; i < x.size(); ++i) {
    EXPECT_NEAR(r.x[i], x[i], 5e-13 + std::fabs(x[i]) * 1e-15);
    EXPECT_NEAR(r.y[i], y[i], 5e-13 + std::fabs(y[i]) * 1e-15);
    EXPECT_NEAR(r.z[i], z[i], 5e-13 + std::fabs(z[i]) * 1e-15);
  }
  EXPECT_TRUE(r.boundary.empty());
}

}  // namespace
