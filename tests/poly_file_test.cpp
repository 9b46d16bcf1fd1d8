#include <gravok/poly_file.h>

#include "poly_oracle.h"

#include <gtest/gtest.h>

#include <chrono>
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
#include <vector>

namespace {

namespace fs = std::filesystem;
using Coords = std::vector<double>;
using Boundary = std::vector<unsigned long long>;

struct PolyRead {
  Coords x, y, z;
  std::vector<gvk::Triangle> triangles;
  Boundary boundary;
};

std::vector<std::uint64_t> bits(const Coords& values) {
  std::vector<std::uint64_t> out(values.size());
  if (!values.empty()) std::memcpy(out.data(), values.data(), values.size() * 8);
  return out;
}

void write_file(const fs::path& path, const std::string& bytes) {
  std::ofstream out(path, std::ios::binary);
  out << bytes;
}

std::string read_file(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream bytes;
  bytes << in.rdbuf();
  return bytes.str();
}

PolyRead read_poly(const fs::path& path) {
  PolyRead r;
  gvk::PolyFile::from_file(path.string(), r.x, r.y, r.z, r.triangles, r.boundary);
  return r;
}

// Each test works in a directory of its own, removed afterwards. A random suffix
// keeps test programs that run at the same time (several build trees on one
// machine) out of each other's files.
class PolyFileTest : public testing::Test {
 protected:
  void SetUp() override {
    const testing::TestInfo* info = testing::UnitTest::GetInstance()->current_test_info();
    std::random_device entropy;
    do {
      m_dir =
          fs::path(testing::TempDir()) /
          (std::string("gravok_poly_") + info->test_suite_name() + "_" + info->name() +
           "_" + std::to_string(entropy()) + std::to_string(entropy()));
    } while (!fs::create_directories(m_dir));
  }
  void TearDown() override { fs::remove_all(m_dir); }

  fs::path file(const std::string& name, const std::string& bytes) {
    const fs::path path = m_dir / name;
    write_file(path, bytes);
    return path;
  }

  fs::path m_dir;
};

const char kSquareVertices[] = "4 2 1 1\n0 0 0 5 1\n1 1 0 6 1\n2 1 1 7 1\n3 0 1 8 1\n";

class PolyFileRead : public PolyFileTest {};

TEST_F(PolyFileRead, NamedFilesGiveTheirBoundaries) {
  struct Case {
    std::string name;
    std::string text;
    Boundary boundary;
  };
  const std::string square = kSquareVertices;
  const std::string triangle_vertices =
      "8\n0 0 0 0 0\n1 1 0 0 0\n2 0 1 0 0\n3 9 9 0 0\n4 9 9 0 0\n5 5 5 0 0\n"
      "6 6 5 0 0\n7 5 6 0 0\n";
  const Case cases[] = {
      {"square", square + "4 1\n0 0 1 1\n1 1 2 1\n2 2 3 1\n3 3 0 1\n", {0, 1, 2, 3}},
      {"reversed segments",
       square + "4 1\n0 2 3 1\n1 3 0 1\n2 0 1 1\n3 1 2 1\n",
       {0, 3, 2, 1}},
      {"numbered from 1",
       "4 2 1 1\n1 0 0 5 1\n2 1 0 6 1\n3 1 1 7 1\n4 0 1 8 1\n"
       "4 1\n1 1 2 1\n2 2 3 1\n3 3 4 1\n4 4 1 1\n",
       {1, 2, 3, 4}},
      {"two chains, 0-1 first",
       triangle_vertices + "6\n0 5 6 0\n1 0 1 0\n2 6 7 0\n3 1 2 0\n4 7 5 0\n5 2 0 0\n",
       {0, 1, 2}},
      {"two chains, 2-0 first",
       triangle_vertices + "6\n0 5 6 0\n1 2 0 0\n2 6 7 0\n3 1 2 0\n4 7 5 0\n5 0 1 0\n",
       {0, 2, 1}},
      {"header and lines with further fields and trailing text",
       "4 2 1 1 extra\n0 0 0 5 1 x\n1 1 0 6 1 2 3\n2 1 1 7 1\t\r\n3 0 1 8 1 #\n"
       "4 1 more\n0 0 1 1 tail\n1 1 2 1\n2 2 3 1\n3 3 0 1",
       {0, 1, 2, 3}},
      {"crlf line ends",
       "4 2 1 1\r\n0 0 0 5 1\r\n1 1 0 6 1\r\n2 1 1 7 1\r\n3 0 1 8 1\r\n"
       "4 1\r\n0 0 1 1\r\n1 1 2 1\r\n2 2 3 1\r\n3 3 0 1\r\n",
       {0, 1, 2, 3}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const PolyRead r = read_poly(file("case.poly", c.text));
    EXPECT_EQ(r.boundary, c.boundary);
    EXPECT_TRUE(r.triangles.empty());
    if (c.name.rfind("two", 0) == 0) continue;
    EXPECT_EQ(r.x, (Coords{0, 1, 1, 0}));
    EXPECT_EQ(r.y, (Coords{0, 0, 1, 1}));
    EXPECT_EQ(r.z, (Coords{5, 6, 7, 8}));
  }
}

TEST_F(PolyFileRead, IncompleteFilesReturnWhatTheyHold) {
  struct Case {
    std::string name;
    std::string text;
    std::size_t vertices;
    Boundary boundary;
  };
  const std::string square = kSquareVertices;
  const Case cases[] = {
      {"ends after the vertex lines", square, 4, {}},
      {"vertex section shorter than its count", "9 2 1 1\n0 0 0 5 1\n1 1 0 6 1\n", 2, {}},
      {"segment header does not parse", square + "x\n0 0 1 1\n", 4, {}},
      {"no segment", square + "0\n0 0 1 1\n1 1 2 1\n", 4, {}},
      {"no segment line parses", square + "2\n0 0 1\n1 1 x 1\n", 4, {}},
      {"segment line with three fields is skipped",
       square + "4 1\n0 0 1 1\n1 1 2\n2 2 3 1\n3 3 0 1\n",
       4,
       {0}},
      {"open chain stops where it cannot go on",
       square + "2\n0 0 1 1\n1 1 2 1\n",
       4,
       {0, 1}},
      {"chain without vertex 0 starts at its smallest number",
       square + "3\n0 2 3 0\n1 3 1 0\n2 1 2 0\n",
       4,
       {1, 3, 2}},
      {"segment count larger than the lines",
       square + "1000000\n0 0 1 0\n1 1 0 0\n",
       4,
       {0}},
      {"vertex number 5.5 gives 5 and leaves .5 for x", "1\n5.5 0 0 5\n", 1, {}},
      {"negative vertex numbers pass with their sign",
       square + "3\n0 -1 -2 0\n1 -2 5 0\n2 5 -1 0\n",
       4,
       {~0ULL - 1, ~0ULL, 5}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const PolyRead r = read_poly(file("case.poly", c.text));
    EXPECT_EQ(r.x.size(), c.vertices);
    EXPECT_EQ(r.z.size(), c.vertices);
    EXPECT_EQ(r.boundary, c.boundary);
  }
}

TEST_F(PolyFileRead, HugeCountsReturnAtOnceWithoutReservingMemory) {
  // 10^18 and 2^64 - 1 ("-1" wraps) announced lines that are not there; a reader
  // that counted on or reserved memory for them would never come back.
  for (const char* count : {"1000000000000000000", "-1", "18446744073709551615"}) {
    SCOPED_TRACE(count);
    const auto start = std::chrono::steady_clock::now();
    const PolyRead r =
        read_poly(file("huge.poly", std::string(count) + " 2 1 1\n0 1 2 3 0\n"));
    EXPECT_EQ(r.x, Coords{1});
    const PolyRead s = read_poly(
        file("huge.poly", kSquareVertices + std::string(count) + "\n0 0 1 0\n"));
    EXPECT_EQ(s.boundary, (Boundary{0}));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30));
  }
}

TEST_F(PolyFileRead, OutputsHoldOnlyWhatTheFileGave) {
  PolyRead r;
  r.x = {9, 9};
  r.y = {9};
  r.z = {9, 9, 9};
  r.triangles = {{1, 2, 3}};
  r.boundary = {7, 7};
  const fs::path path =
      file("square.poly", std::string(kSquareVertices) + "1\n0 0 1 0\n");
  EXPECT_TRUE(
      gvk::PolyFile::from_file(path.string(), r.x, r.y, r.z, r.triangles, r.boundary));
  EXPECT_EQ(r.x, (Coords{0, 1, 1, 0}));
  EXPECT_EQ(r.y, (Coords{0, 0, 1, 1}));
  EXPECT_EQ(r.z, (Coords{5, 6, 7, 8}));
  EXPECT_TRUE(r.triangles.empty());
  EXPECT_EQ(r.boundary, Boundary{0});
}

using PolyFileDeathTest = PolyFileTest;

TEST_F(PolyFileDeathTest, UnreadableFilesEndTheProcessSilentlyWithStatusOne) {
  struct Case {
    std::string name;
    std::string text;
  };
  const Case cases[] = {
      {"empty file", ""},
      {"blank first line", "\n0 0 0 0 0\n"},
      {"count does not parse", "four 2 1 1\n"},
      {"count overflows 64 bits", "18446744073709551616\n"},
      {"vertex line with four fields", "1 2 1 1\n0 0 0 5\n"},
      {"blank vertex line", "2 2 1 1\n0 0 0 5 1\n\n"},
      {"vertex number beyond 32 bits", "1\n2147483648 0 0 5 1\n"},
      {"coordinate reads inf", "1\n0 inf 0 5 1\n"},
      {"coordinate reads nan", "1\n0 0 nan 5 1\n"},
      {"exponent without digits", "1\n0 1e 0 5 1\n"},
      {"coordinate overflows", "1\n0 1e400 0 5 1\n"},
      {"marker .5 is no integer", "1\n0 1 2 3 .5\n"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const fs::path path = file("bad.poly", c.text);
    EXPECT_EXIT(read_poly(path), testing::ExitedWithCode(1), "^$");
  }
  EXPECT_EXIT(read_poly(m_dir / "missing.poly"), testing::ExitedWithCode(1), "^$");
  EXPECT_EXIT(read_poly(m_dir), testing::ExitedWithCode(1), "^$");
}

// Tokens that probe the stream extraction rules: signs, exponents, points at either
// end, prefixes that stop a field early, words that never parse, and integers at and
// beyond 32 and 64 bits.
const char* const kSpecialTokens[] = {"0",
                                      "-0",
                                      "+0",
                                      "5",
                                      "+5",
                                      "-5",
                                      ".5",
                                      "5.",
                                      "-.5",
                                      "+.5",
                                      ".",
                                      "-",
                                      "+",
                                      "1e",
                                      "1e+",
                                      "1e-",
                                      "1e5",
                                      "1E5",
                                      "1e+5",
                                      "1e-5",
                                      "5e3x",
                                      "1.2.3",
                                      "1e5.5",
                                      "e5",
                                      "0x10",
                                      "0X1F",
                                      "inf",
                                      "-inf",
                                      "nan",
                                      "INF",
                                      "infinity",
                                      "1e400",
                                      "-1e400",
                                      "1e-400",
                                      "-1e-400",
                                      "4.9e-324",
                                      "2.4703282292062327e-324",
                                      "2.4703282292062328e-324",
                                      "1.7976931348623157e308",
                                      "1.7976931348623159e308",
                                      "2147483647",
                                      "2147483648",
                                      "-2147483648",
                                      "-2147483649",
                                      "4294967296",
                                      "9223372036854775807",
                                      "9223372036854775808",
                                      "-9223372036854775809",
                                      "18446744073709551615",
                                      "18446744073709551616",
                                      "00000000000000000000000000012",
                                      "5.5",
                                      "--5",
                                      "+-5",
                                      "5,5",
                                      "0.000000000000000000000000000000000000000001e-290",
                                      "123456789012345678901234567890",
                                      "1_000",
                                      "\xff",
                                      "",
                                      ("1\x00"
                                       "2"),
                                      "0e",
                                      ".e1",
                                      "5.e3",
                                      "5e+03"};

constexpr std::size_t kListed = sizeof kSpecialTokens / sizeof kSpecialTokens[0];
constexpr std::size_t kSpecialCount = kListed + 3;

// The listed tokens (where "1", NUL, "2" keeps its NUL), then reals that are out of
// range without an exponent and one whose exponent overflows every integer type.
std::string special_token(std::size_t i) {
  if (i == kListed) return std::string(400, '9');
  if (i == kListed + 1) return "-0." + std::string(400, '0') + "1";
  if (i == kListed + 2) return "1e-99999999999999999999999";
  const char* token = kSpecialTokens[i];
  const bool with_nul = token[0] == '1' && token[1] == '\0';
  return std::string(token, with_nul ? 3 : std::strlen(token));
}

std::string random_token(std::mt19937_64& rng) {
  const unsigned kind = static_cast<unsigned>(rng() % 8);
  char text[64];
  if (kind == 0) return special_token(rng() % kSpecialCount);
  if (kind <= 2) {
    std::snprintf(text, sizeof text, "%lld", static_cast<long long>(rng() % 20) - 3);
    return text;
  }
  const double value = std::ldexp(static_cast<double>(rng() % 2000001) - 1e6,
                                  static_cast<int>(rng() % 60) - 40);
  const char* formats[] = {"%.17g", "%.3e", "%f", "%a", "%.12f", "%g"};
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

std::string random_line(std::mt19937_64& rng, int fields) {
  static const char* const gaps[] = {" ", " ", "\t", "  ", " \t "};
  std::string line = rng() % 8 == 0 ? " \t" : "";
  for (int f = 0; f < fields; ++f) {
    if (f > 0) line += gaps[rng() % 5];
    line += rng() % 3 == 0 ? mutated(random_token(rng), rng) : std::to_string(rng() % 6);
  }
  const unsigned tail = static_cast<unsigned>(rng() % 10);
  if (tail == 0) line += " trailing text";
  if (tail == 1) line += "\r";
  if (tail == 2) line += "\t9 9";
  return line;
}

std::string random_poly(std::mt19937_64& rng, bool good_vertices) {
  std::string text;
  const unsigned vertices = static_cast<unsigned>(rng() % 6);
  text += rng() % 6 == 0 ? mutated(random_token(rng), rng) : std::to_string(vertices);
  text += " 2 1 1\n";
  for (unsigned v = 0; v < vertices + rng() % 2; ++v) {
    text += good_vertices ? std::to_string(v) + " " + random_token(rng) + " " +
                                random_token(rng) + " " + random_token(rng) + " 1"
                          : random_line(rng, 5);
    text += rng() % 10 == 0 ? "\r\n" : "\n";
  }
  const unsigned segments = static_cast<unsigned>(rng() % 8);
  text += rng() % 5 == 0 ? random_line(rng, 1) : std::to_string(segments);
  text += "\n";
  for (unsigned s = 0; s < segments + rng() % 2; ++s) {
    text += rng() % 12 == 0 ? std::string() : random_line(rng, 4);
    if (rng() % 12 != 0) text += "\n";
  }
  return text;
}

void expect_same_read(const PolyRead& actual, const PolyRead& expected) {
  EXPECT_EQ(bits(actual.x), bits(expected.x));
  EXPECT_EQ(bits(actual.y), bits(expected.y));
  EXPECT_EQ(bits(actual.z), bits(expected.z));
  EXPECT_TRUE(actual.triangles.empty());
  EXPECT_EQ(actual.boundary, expected.boundary);
}

// A process end that the reference did not predict would otherwise end the test
// program without a word; this names the file that caused it.
std::string g_current_file;
bool g_reading = false;
bool g_exit_expected = false;

void report_unexpected_exit() {
  if (g_reading && !g_exit_expected) {
    std::fprintf(stderr, "from_file ended the process on %s\n",
                 testing::PrintToString(g_current_file).c_str());
  }
}

class PolyFileFuzz : public PolyFileTest {
 protected:
  static void SetUpTestSuite() { std::atexit(report_unexpected_exit); }

  // Compares the library with the stream reference on one file: in process when the
  // reference returns, in a child process when it would end the process.
  void compare(const std::string& text, int& exits_checked) {
    const fs::path path = file("fuzz.poly", text);
    PolyRead expected;
    const oracle::Outcome outcome =
        oracle::poly_from_file(path.string(), expected.x, expected.y, expected.z,
                               expected.triangles, expected.boundary);
    testing::ScopedTrace trace(__FILE__, __LINE__, testing::PrintToString(text));
    g_current_file = text;
    g_reading = true;
    if (outcome == oracle::Outcome::Returned) {
      expect_same_read(read_poly(path), expected);
    } else if (exits_checked++ < 250) {
      EXPECT_EXIT((g_exit_expected = true, read_poly(path)), testing::ExitedWithCode(1),
                  "^$");
    }
    g_reading = false;
  }
};

TEST_F(PolyFileFuzz, FieldsReadAsTheClassicStreamReadsThem) {
  std::mt19937_64 rng(4);
  int exits_checked = 0;
  for (std::size_t i = 0; i < kSpecialCount; ++i) {
    const std::string token = special_token(i);
    // As each real of a vertex line, as a count, and as each integer of a segment.
    compare("1\n0 " + token + " 2 3 4\n", exits_checked);
    compare("1\n0 1 " + token + " 3 4\n", exits_checked);
    compare("1\n" + token + " 1 2 3 4\n", exits_checked);
    compare("1\n0 1 2 3 " + token + "\n", exits_checked);
    compare(token + " 2 1 1\n0 1 2 3 4\n1 1 2 3 4\n", exits_checked);
    compare("0\n" + token + "\n0 1 2 0\n0 3 4 0\n0 2 3 0\n", exits_checked);
    compare("0\n1\n0 " + token + " 2147483647 0\n", exits_checked);
    compare("0\n1\n0 -7 " + token + " 0\n", exits_checked);
    compare("0\n1\n" + token + " 1 2 0\n", exits_checked);
    compare("0\n1\n0 1 2 " + token + "\n", exits_checked);
  }
  for (int round = 0; round < 1500 && !HasFailure(); ++round) {
    compare(random_poly(rng, round % 2 == 0), exits_checked);
  }
  EXPECT_GT(exits_checked, 20);
}

// Segment sets with repeated segments, self-loops, negative numbers, open chains and
// several chains: the walk takes entries in the same order as the multimap does.
TEST_F(PolyFileFuzz, BoundaryWalkMatchesTheMultimapOnRandomSegmentSets) {
  std::mt19937_64 rng(9);
  int exits_checked = 0;
  for (int round = 0; round < 600 && !HasFailure(); ++round) {
    const int span = 2 + static_cast<int>(rng() % 8);
    const unsigned segments = 1 + static_cast<unsigned>(rng() % 40);
    std::string text = "0\n" + std::to_string(segments) + "\n";
    for (unsigned k = 0; k < segments; ++k) {
      // Every third set shifted below zero, every third spread far apart (the walk
      // then cannot index its table by vertex number).
      const int shift = round % 3 == 0 ? span / 2 : 0;
      const int scale = round % 3 == 1 ? 1000003 : 1;
      const int a = (static_cast<int>(rng() % span) - shift) * scale;
      const int b = (static_cast<int>(rng() % span) - shift) * scale;
      text +=
          std::to_string(k) + " " + std::to_string(a) + " " + std::to_string(b) + " 0\n";
    }
    compare(text, exits_checked);
  }
  EXPECT_EQ(exits_checked, 0);
}

// A host-style global locale with a decimal comma and digit grouping, made from a
// custom facet since named locales may be missing.
struct CommaPunct : std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\3"; }
};

class GlobalLocaleGuard {
 public:
  explicit GlobalLocaleGuard(const std::locale& replacement)
      : m_previous(std::locale::global(replacement)) {}
  ~GlobalLocaleGuard() { std::locale::global(m_previous); }

 private:
  std::locale m_previous;
};

TEST_F(PolyFileTest, DecimalCommaGlobalLocaleChangesNothing) {
  const GlobalLocaleGuard guard(std::locale(std::locale::classic(), new CommaPunct));
  const PolyRead r = read_poly(file("comma.poly", "1\n0 1.5 -2.5 1000 0\n"));
  EXPECT_EQ(r.x, Coords{1.5});
  EXPECT_EQ(r.y, Coords{-2.5});
  EXPECT_EQ(r.z, Coords{1000});

  Coords x(1001, 1234.5), y(1001, -0.25), z(1001, 0);
  std::vector<gvk::Triangle> triangles(1, gvk::Triangle{1000, 1, 2});
  gvk::PolyFile::to_files((m_dir / "comma.poly").string(), x, y, z, triangles);
  const std::string node = read_file(m_dir / "comma.1.node");
  EXPECT_EQ(node.substr(0, 11), "1001 2 1 1\n");
  EXPECT_NE(node.find("\n1000 1234.500000000000 -0.250000000000 0.000000000000 0\n"),
            std::string::npos);
  EXPECT_EQ(read_file(m_dir / "comma.1.ele"), "1 3 0\n0 1000 1 2 0\n");
}

class PolyFileWrite : public PolyFileTest {};

TEST_F(PolyFileWrite, NamesFilesAfterTheStem) {
  struct Case {
    std::string basename;
    std::string node;
    std::string ele;
  };
  fs::create_directories(m_dir / "out.d");
  const Case cases[] = {
      {"site.poly", "site.1.node", "site.1.ele"},
      {"site", "site.1.node", "site.1.ele"},
      {"site.b.poly", "site.b.1.node", "site.b.1.ele"},
      {"out.d/site", "out.1.node", "out.1.ele"},
      {"", ".1.node", ".1.ele"},
      {".hidden", ".1.node", ".1.ele"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.basename);
    const std::string prefix = m_dir.string() + "/";
    const std::string base = c.basename.empty() ? prefix : prefix + c.basename;
    gvk::PolyFile::to_files(base, {}, {}, {}, {});
    EXPECT_EQ(read_file(prefix + c.node), "0 2 1 1\n");
    EXPECT_EQ(read_file(prefix + c.ele), "0 3 0\n");
    fs::remove(prefix + c.node);
    fs::remove(prefix + c.ele);
  }
}

TEST_F(PolyFileWrite, WritesTheDocumentedBytesAndReplacesOldFiles) {
  const std::string base = (m_dir / "mesh.poly").string();
  write_file(m_dir / "mesh.1.node", std::string(5000, 'x'));
  write_file(m_dir / "mesh.1.ele", std::string(5000, 'y'));
  gvk::PolyFile::to_files(base, {0, 1.5}, {0, -2}, {5, 0.25}, {{0, 1, 0}});
  EXPECT_EQ(read_file(m_dir / "mesh.1.node"),
            "2 2 1 1\n0 0.000000000000 0.000000000000 5.000000000000 0\n"
            "1 1.500000000000 -2.000000000000 0.250000000000 0\n");
  EXPECT_EQ(read_file(m_dir / "mesh.1.ele"), "1 3 0\n0 0 1 0 0\n");
}

TEST_F(PolyFileWrite, UncreatableVertexFileStillWritesTriangles) {
  fs::create_directories(m_dir / "blocked.1.node");  // a directory takes the name
  gvk::PolyFile::to_files((m_dir / "blocked").string(), {1}, {2}, {3}, {{0, 0, 0}});
  EXPECT_TRUE(fs::is_directory(m_dir / "blocked.1.node"));
  EXPECT_EQ(read_file(m_dir / "blocked.1.ele"), "1 3 0\n0 0 0 0 0\n");
}

// Doubles of every kind: ordinary, negative, signed zeros, huge, tiny, subnormal,
// infinite, NaN of both signs, and exact ties at the twelfth decimal.
double random_double(std::mt19937_64& rng) {
  const double specials[] = {0.0,
                             -0.0,
                             std::numeric_limits<double>::infinity(),
                             -std::numeric_limits<double>::infinity(),
                             std::numeric_limits<double>::quiet_NaN(),
                             -std::numeric_limits<double>::quiet_NaN(),
                             std::numeric_limits<double>::max(),
                             -std::numeric_limits<double>::max(),
                             std::numeric_limits<double>::denorm_min(),
                             std::ldexp(1.0, -13),  // 0.0001220703125: a tie
                             std::ldexp(3.0, -14),
                             5e-13,
                             -5e-13,
                             0.9999999999995,
                             1e300,
                             -123456789.123456789};
  switch (rng() % 4) {
    case 0: return specials[rng() % (sizeof specials / sizeof specials[0])];
    case 1: {
      std::uint64_t raw = rng();
      double any = 0;
      std::memcpy(&any, &raw, sizeof any);
      return any;
    }
    case 2:
      return std::ldexp(static_cast<double>(rng() % 100000) - 50000,
                        static_cast<int>(rng() % 80) - 60);
    default: return std::uniform_real_distribution<double>(-1e6, 1e6)(rng);
  }
}

TEST_F(PolyFileWrite, ByteIdenticalToTheStreamReference) {
  std::mt19937_64 rng(12);
  for (int round = 0; round < 20; ++round) {
    const std::size_t n = rng() % 300;
    Coords x(n), y(n), z(n);
    for (std::size_t i = 0; i < n; ++i) {
      x[i] = random_double(rng);
      y[i] = random_double(rng);
      z[i] = random_double(rng);
    }
    std::vector<gvk::Triangle> triangles(rng() % 200);
    for (gvk::Triangle& t : triangles) t = {rng(), rng() % 1000, ~0ULL - rng() % 3};
    oracle::poly_to_files((m_dir / "expected.poly").string(), x, y, z, triangles);
    gvk::PolyFile::to_files((m_dir / "actual.poly").string(), x, y, z, triangles);
    SCOPED_TRACE(round);
    EXPECT_EQ(read_file(m_dir / "actual.1.node"), read_file(m_dir / "expected.1.node"));
    EXPECT_EQ(read_file(m_dir / "actual.1.ele"), read_file(m_dir / "expected.1.ele"));
  }
}

TEST_F(PolyFileWrite, VertexFileReadsBackToTwelveDecimals) {
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
