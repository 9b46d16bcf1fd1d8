// Hostile JSON problem documents: the reader either refuses with a message that says
// what is wrong and where, or reads, and in both cases the memory it holds at its
// peak stays within a fixed multiple of the bytes it was given, whatever the numbers
// in the document announce. Memory is measured by a replaced global operator new that
// keeps the live total and its peak; the parser's buffers are freed before each case,
// so every case pays for them anew.
#include "json_document.h"

#include <gtest/gtest.h>

#include "counting_new.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iterator>
#include <new>
#include <string>

namespace {

using counting::peak_of;

// The parser's tape, index and string buffer and its copy of the text take about 15
// bytes per byte of text (14.7 measured, 64 MiB of text and less), and the problem
// read from it at most 6 more (a triangle of 24 bytes from 4 bytes of text): 32
// times the text and a fixed allowance for the parser's first blocks hold all of it.
std::size_t bound_for(std::size_t bytes) { return 32 * bytes + (std::size_t{1} << 20); }

struct Outcome {
  bool ok = false;
  std::string message;
  std::size_t peak = 0;
};

Outcome read(const std::string& text) {
  gvk_json::release_read_buffers();
  Outcome out;
  out.peak = peak_of([&] {
    gvk::Problem problem;
    out.ok = gvk_json::read_document(text, problem, out.message);
  });
  gvk_json::release_read_buffers();
  return out;
}

std::string repeated(const std::string& text, std::size_t times) {
  std::string out;
  out.reserve(text.size() * times);
  for (std::size_t i = 0; i < times; ++i) out += text;
  return out;
}

const std::string kHead = R"({"format": "gravok-problem", "version": 1)";

// A document of the two required members and `members` after them.
std::string document(const std::string& members) { return kHead + members + "}"; }

// `depth` arrays, one inside the next, as the origin.
std::string nested_arrays(std::size_t depth) {
  return document(", \"origin\": " + repeated("[", depth) + repeated("]", depth));
}

const std::string kBig = "1000000000000000000";  // 10^18

// Each row either reads (`says` empty) or is refused with a message holding `says`.
// Every row stays within bound_for its size.
TEST(JsonHostileInput, RefusesOrReadsWithinMemoryOfTheText) {
  struct Case {
    const char* what;
    std::string text;
    std::string says;
  };
  const std::string depth_refused =
      "not a readable JSON document: The JSON document was too deep (too many nested "
      "objects and arrays) (at most 32 levels)";
  const Case cases[] = {
      // Nesting: the root object is the first level, so an origin nested 31 deep is
      // the deepest text the parser takes.
      {"31 levels under the root", nested_arrays(31), "/origin/0: expected a number"},
      {"32 levels under the root", nested_arrays(32), depth_refused},
      {"10^5 arrays", nested_arrays(100000), "line 1, column 85: " + depth_refused},
      {"10^6 arrays", nested_arrays(1000000), depth_refused},
      {"10^5 objects",
       document(", \"settings\": " + repeated("{\"a\": ", 100000) + "0" +
                repeated("}", 100000)),
       depth_refused},
      {"10^6 arrays never closed", repeated("[", 1000000),
       "line 1, column 33: not a readable JSON document"},
      {"a mix of 10^5 levels", repeated("[{\"k\": ", 50000) + "1" + repeated("}]", 50000),
       depth_refused},
      // Numbers that announce more than the text holds.
      {"the required members alone", document(""), ""},
      {"version 10^18", kHead.substr(0, kHead.size() - 1) + kBig + "}",
       "/version: version " + kBig + " is not one this reader knows (1 to 2)"},
      {"vertex index 10^18",
       document(", \"mesh\": {\"x\": [0], \"triangles\": [[0, 0, " + kBig + "]]}"), ""},
      {"vertex index beyond 64 bits",
       document(", \"mesh\": {\"triangles\": [[0, 0, 18446744073709551616]]}"),
       "line 1, column 74: not a readable JSON document"},
      {"the largest vertex index",
       document(", \"mesh\": {\"triangles\": [[0, 0, 18446744073709551615]]}"), ""},
      {"a version below -2^63",
       kHead.substr(0, kHead.size() - 1) + "-9223372036854775809}",
       "line 1, column 41: not a readable JSON document"},
      {"a version of -2^63", kHead.substr(0, kHead.size() - 1) + "-9223372036854775808}",
       "/version: version -9223372036854775808 is not one"},
      {"negative vertex index", document(", \"mesh\": {\"triangles\": [[0, -1, 2]]}"),
       "/mesh/triangles/0/1: expected an integer from 0"},
      {"lists of different lengths",
       document(", \"mesh\": {\"x\": [0, 1, 2], \"y\": [0], \"triangles\": [[0, 1, 9]]}"),
       ""},
      {"a triangle of 10^5 indices",
       document(", \"mesh\": {\"triangles\": [[" + repeated("0, ", 100000) + "0]]}"),
       "/mesh/triangles/0: expected three vertex indices"},
      {"10^6 empty triangles",
       document(", \"mesh\": {\"triangles\": [" + repeated("[], ", 1000000) + "[]]}"),
       "/mesh/triangles/0: expected three vertex indices"},
      {"10^6 coordinates",
       document(", \"mesh\": {\"x\": [" + repeated("0,", 1000000) + "0]}"), ""},
      {"a volume constraint of 10^18",
       document(", \"settings\": {\"volume_constraint\": " + kBig + "}"),
       "/settings/volume_constraint: expected an integer from -2147483648 to 2147483647"},
      {"odd hex", document(", \"hostcad_version\": {\"bytes\": \"abc\"}"),
       "/hostcad_version: expected a string or {\"bytes\": \"<hex>\"}"},
      {"a block of the wrong length", document(", \"objectives\": [\"00\"]"),
       "/objectives/0: expected a string of "},
      // Numbers beyond a double.
      {"1e400", document(", \"origin\": [1e400, 0, 0]"),
       "line 1, column 55: not a readable JSON document"},
      {"-1e400", document(", \"origin\": [-1e400, 0, 0]"),
       "line 1, column 55: not a readable JSON document"},
      {"an exponent of 30 digits",
       document(", \"origin\": [1e" + std::string(30, '9') + ", 0, 0]"),
       "line 1, column 55: not a readable JSON document"},
      {"an integer of 10^5 digits",
       document(", \"origin\": [" + std::string(100000, '9') + ", 0, 0]"),
       "line 1, column 55: not a readable JSON document"},
      {"a fraction of 10^5 digits before the point",
       document(", \"origin\": [" + std::string(100000, '9') + ".0, 0, 0]"),
       "line 1, column 55: not a readable JSON document"},
      {"a fraction of 10^6 digits",
       document(", \"origin\": [0." + std::string(1000000, '1') + ", 0, 0]"), ""},
      {"1e-400", document(", \"origin\": [1e-400, 0, 0]"), ""},
      // Text that is not UTF-8 or holds NUL bytes.
      {"a lone continuation byte", document(", \"hostcad_version\": \"a\x80z\""),
       "not a readable JSON document: The input is not valid UTF-8"},
      {"an overlong slash", document(", \"hostcad_version\": \"\xC0\xAF\""),
       "The input is not valid UTF-8"},
      {"a surrogate", document(", \"hostcad_version\": \"\xED\xA0\x80\""),
       "The input is not valid UTF-8"},
      {"a NUL inside a string", kHead + ", \"hostcad_version\": \"a" + '\0' + "b\"}",
       "line 1, column 65: not a readable JSON document"},
      {"a NUL between members", kHead + '\0' + "}",
       "line 1, column 42: not a readable JSON document"},
      {"a NUL after the document", document("") + '\0', "line 1, column 43: "},
      {"an escaped NUL", document(", \"hostcad_version\": \"a\\u0000b\""), ""},
      // Members given twice, at every level that has them.
      {"format twice", document(", \"format\": \"gravok-problem\""),
       "/format: member given twice"},
      {"a setting twice",
       document(", \"settings\": {\"epsilon\": 1, \"max_slope\": 1, \"epsilon\": 2}"),
       "/settings/epsilon: member given twice"},
      {"a kind twice",
       document(", \"elements\": {\"LowPoint\": {\"records\": []}, \"LowPoint\": "
                "{\"records\": []}}"),
       "/elements/LowPoint: kind given twice"},
      {"a uid twice",
       document(", \"guids\": {\"map\": [{\"uid\": 1, \"guid\": \"a\"}, {\"uid\": 1, "
                "\"guid\": \"b\"}]}"),
       "/guids/map/1/uid: uid given twice"},
      {"10^5 unknown members", document(repeated(", \"x\": 0", 100000)),
       "/x: unknown member"},
      // Documents that are not an object.
      {"an array", "[]", "the document: expected an object"},
      {"a string", "\"gravok-problem\"", "the document: expected an object"},
      {"a number", kBig, "the document: expected an object"},
      {"null", "null", "the document: expected an object"},
      {"nothing", "", "not a readable JSON document"},
      {"white space", " \n\t ", "not a readable JSON document"},
      {"two objects", document("") + document(""), "line 1, column 43: "},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.what) + " (" + std::to_string(c.text.size()) + " bytes)");
    const Outcome outcome = read(c.text);
    EXPECT_LE(outcome.peak, bound_for(c.text.size()));
    EXPECT_EQ(outcome.ok, c.says.empty()) << outcome.message;
    EXPECT_NE(outcome.message.find(c.says), std::string::npos) << outcome.message;
    EXPECT_EQ(outcome.message.find('\n'), std::string::npos);  // one line
  }
}

// The example document cut after every byte: each prefix is refused with a message
// that places the fault at the end of the text (or names the missing member, for the
// prefixes that close as JSON), within the same bound.
TEST(JsonHostileInput, EveryTruncationIsRefusedWithAMessage) {
  std::ifstream in(GRAVOK_JSON_EXAMPLE, std::ios::binary);
  const std::string whole{std::istreambuf_iterator<char>(in), {}};
  ASSERT_GT(whole.size(), 1000u);
  ASSERT_TRUE(read(whole).ok);
  // The example ends with "}\n": only the prefix without the line break reads.
  for (std::size_t size = 0; size + 1 < whole.size(); ++size) {
    const std::string prefix = whole.substr(0, size);
    const Outcome outcome = read(prefix);
    ASSERT_FALSE(outcome.ok) << size;
    ASSERT_NE(outcome.message.find("not a readable JSON document"), std::string::npos)
        << size << ": " << outcome.message;
    ASSERT_LE(outcome.peak, bound_for(size)) << size;
  }
}

// A string and a line of GRAVOK_LONG_LINE_BYTES each (the build's setting, 64 MiB in
// the presets; the environment variable of that name overrides it, as for the
// library's readers): the reader takes both within the bound, and refuses the same
// line when it ends inside the string.
// A document above 64 MiB gives its buffers back during the read: the next read on
// the same thread, large or small, starts from fresh buffers and reads the same.
TEST(JsonHostileInput, ReadsAfterALargeDocumentStartAfresh) {
  const std::string large_name(std::size_t{65} << 20, 'a');
  const std::string large = document(", \"hostcad_version\": \"" + large_name + "\"");
  const std::string small = document(", \"hostcad_version\": \"small\"");
  gvk_json::release_read_buffers();
  for (const std::string* text : {&large, &large, &small}) {
    gvk::Problem problem;
    std::string error;
    ASSERT_TRUE(gvk_json::read_document(*text, problem, error)) << error.substr(0, 200);
    EXPECT_EQ(problem.hostcad_version.size(), text == &small ? 5u : large_name.size());
  }
  gvk_json::release_read_buffers();
}

TEST(JsonHostileInput, ALongStringOrLineIsReadWithinItsOwnSize) {
  std::size_t bytes = GRAVOK_LONG_LINE_BYTES;
  if (const char* given = std::getenv("GRAVOK_LONG_LINE_BYTES")) {
    bytes = static_cast<std::size_t>(std::strtoull(given, nullptr, 10));
  }
  struct Case {
    const char* what;
    std::string text;
    std::string says;
  };
  const Case cases[] = {
      {"a long string",
       document(", \"hostcad_version\": \"" + std::string(bytes, 'a') + "\""), ""},
      {"a long line of blanks", kHead + std::string(bytes, ' ') + "}", ""},
      {"a long string cut short",
       kHead + ", \"hostcad_version\": \"" + std::string(bytes, 'a'),
       "not a readable JSON document"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    const Outcome outcome = read(c.text);
    EXPECT_LE(outcome.peak, bound_for(c.text.size()));
    EXPECT_EQ(outcome.ok, c.says.empty()) << outcome.message.substr(0, 200);
    EXPECT_NE(outcome.message.find(c.says), std::string::npos);
    EXPECT_LT(outcome.message.size(), 200u);
  }
}

}  // namespace
