// Hostile DXF files: the reader either refuses with a message naming the file, the
// line and what is wrong, or reads, and in both cases the memory it holds at its peak
// stays within a fixed multiple of the bytes it was given, whatever counts the file
// states, however deeply its blocks nest, wherever it is cut. Memory is measured by
// the counting operator new of tests/counting_new.h.
#include "dxf_drawing.h"

#include <gtest/gtest.h>

#include "counting_new.h"

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>
#include <string>
#include <vector>

namespace {

using counting::peak_of;

// The text itself, the group pairs of the largest entity (32 bytes each, a pair
// taking 4 bytes or more), what the reader keeps of the shapes and the surfaces (a
// vertex welded: about 130 bytes, its text 17 or more), and the block expansion's
// budget (a vertex for every 4 bytes and 4096): 32 times the file and a fixed 1 MiB
// cover all of it, the bound of the other readers.
std::size_t bound_for(std::size_t bytes) { return 32 * bytes + (std::size_t{1} << 20); }

struct Outcome {
  bool ok = false;
  std::string path, error;
  std::vector<std::string> warnings;
  gvk_dxf::Drawing drawing;
  std::size_t peak = 0;
};

// A name of this process's own, as long as "dxf_hostile_" was (the memory bounds of
// the rows count the path in every message): test programs of other build trees on
// the machine write their files into the same temporary folder at the same time.
const std::string& file_prefix() {
  static const std::string prefix = [] {
    char text[16];
    std::snprintf(text, sizeof text, "dxf%08x_", std::random_device{}());
    return std::string(text);
  }();
  return prefix;
}

Outcome read(const std::string& name, const std::string& text) {
  Outcome out;
  out.path = testing::TempDir() + file_prefix() + name;
  std::ofstream(out.path, std::ios::binary | std::ios::trunc) << text;
  out.peak = peak_of([&] {
    out.ok = gvk_dxf::read_drawing(out.path, {}, out.drawing, out.error, out.warnings);
  });
  std::remove(out.path.c_str());
  return out;
}

std::string repeated(const std::string& text, std::size_t times) {
  std::string out;
  out.reserve(text.size() * times);
  for (std::size_t i = 0; i < times; ++i) out += text;
  return out;
}

std::string drawing(const std::string& entities, const std::string& blocks = "") {
  return "0\nSECTION\n2\nHEADER\n9\n$INSUNITS\n70\n6\n0\nENDSEC\n" +
         (blocks.empty() ? "" : "0\nSECTION\n2\nBLOCKS\n" + blocks + "0\nENDSEC\n") +
         "0\nSECTION\n2\nENTITIES\n" + entities + "0\nENDSEC\n0\nEOF\n";
}

const std::string kFace =
    "0\n3DFACE\n8\n0\n10\n0\n20\n0\n30\n0\n11\n1\n21\n0\n31\n0\n12\n0\n"
    "22\n1\n32\n0\n13\n0\n23\n1\n33\n0\n";
const std::string kBig = "1000000000000000000";

// Ten blocks, each inserting the one before ten times: 10^10 faces if expanded whole.
std::string nested_blocks() {
  std::string blocks = "0\nBLOCK\n2\nB0\n10\n0\n20\n0\n30\n0\n" + kFace + "0\nENDBLK\n";
  for (int i = 1; i <= 10; ++i) {
    blocks += "0\nBLOCK\n2\nB" + std::to_string(i) + "\n10\n0\n20\n0\n30\n0\n";
    for (int k = 0; k < 10; ++k) {
      blocks += "0\nINSERT\n8\n0\n2\nB" + std::to_string(i - 1) + "\n10\n" +
                std::to_string(k) + "\n20\n0\n30\n0\n";
    }
    blocks += "0\nENDBLK\n";
  }
  return blocks;
}

// Each row either reads (`says` empty) or is refused with a message holding `says`;
// all within bound_for the file's size.
TEST(DxfHostileInput, RefusesOrReadsWithinMemoryOfTheFile) {
  struct Case {
    const char* what;
    std::string text;
    std::string says;
    std::string warns = "";  // part of a warning, when there must be one
  };
  const Case cases[] = {
      {"a vertex count of 10^18",
       drawing("0\nLWPOLYLINE\n8\nDrainLine\n90\n" + kBig +
               "\n10\n0\n20\n0\n10\n1\n20\n1\n"),
       ""},
      {"polyface counts of 10^18",
       drawing("0\nPOLYLINE\n8\nEG\n66\n1\n70\n64\n71\n" + kBig + "\n72\n" + kBig +
               "\n0\nSEQEND\n"),
       ""},
      {"a face index of 10^18",
       drawing(
           "0\nPOLYLINE\n8\nEG\n66\n1\n70\n64\n0\nVERTEX\n10\n0\n70\n192\n0\nVERTEX\n70\n"
           "128\n71\n1\n72\n1\n73\n" +
           kBig + "\n0\nSEQEND\n"),
       "the polyface face names vertex 1000000000000000000, but its mesh has 1"},
      {"an array of 32767 x 32767 copies",
       drawing("0\nINSERT\n8\nEG\n2\nB\n10\n0\n20\n0\n30\n0\n70\n32767\n71\n32767\n44\n1"
               "\n45\n1\n",
               "0\nBLOCK\n2\nB\n10\n0\n20\n0\n30\n0\n" + kFace + "0\nENDBLK\n"),
       "", "entities beyond the expansion budget of INSERTs left out"},
      {"ten levels of ten inserts each",
       drawing("0\nINSERT\n8\nEG\n2\nB10\n10\n0\n20\n0\n30\n0\n", nested_blocks()), "",
       "entities beyond the expansion budget of INSERTs left out"},
      {"a block that inserts itself",
       drawing("0\nINSERT\n8\nEG\n2\nS\n10\n0\n20\n0\n30\n0\n",
               "0\nBLOCK\n2\nS\n10\n0\n20\n0\n30\n0\n" + kFace +
                   "0\nINSERT\n8\n0\n2\nS\n10\n1\n20\n0\n30\n0\n0\nENDBLK\n"),
       "", "INSERTs nested deeper than 16 levels left out"},
      {"10^5 blocks inserting one another",
       drawing("0\nINSERT\n8\nEG\n2\nB0\n10\n0\n20\n0\n30\n0\n",
               [] {
                 std::string blocks;
                 for (int i = 0; i < 100000; ++i) {
                   blocks += "0\nBLOCK\n2\nB" + std::to_string(i) + "\n0\nINSERT\n2\nB" +
                             std::to_string(i + 1) + "\n0\nENDBLK\n";
                 }
                 return blocks;
               }()),
       "", "nested deeper than 16 levels"},
      {"10^5 faces", drawing(repeated(kFace, 100000)), ""},
      {"10^6 points on an unclassified layer",
       drawing(repeated("0\nPOINT\n8\nX\n10\n1\n20\n2\n", 1000000)), "",
       "(1000000 entities"},
      {"10^5 distinct layers of one point", drawing([] {
         std::string e;
         for (int i = 0; i < 100000; ++i)
           e += "0\nPOINT\n8\nL" + std::to_string(i) + "\n10\n1\n";
         return e;
       }()),
       ""},
      {"10^6 pairs in one entity",
       drawing("0\nLWPOLYLINE\n8\nPond\n" + repeated("10\n1\n", 1000000)), ""},
      {"a NUL in a number",
       drawing(std::string("0\nPOINT\n8\nLowPoint\n10\n1") + '\0' + "2\n"),
       "group 10 of POINT: expected a finite number"},
      {"an empty file", "", "not a DXF file"},
      {"only blank lines", repeated("\n", 1000), "not a DXF file"},
      {"no EOF", drawing(kFace).substr(0, drawing(kFace).size() - 6),
       "the file ends before 0/EOF"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.what) + " (" + std::to_string(c.text.size()) + " bytes)");
    const Outcome out = read("case.dxf", c.text);
    EXPECT_LE(out.peak, bound_for(c.text.size()));
    EXPECT_EQ(out.ok, c.says.empty()) << out.error;
    if (!out.ok) {
      EXPECT_EQ(out.error.rfind(out.path + ":", 0), 0u) << out.error;
      EXPECT_NE(out.error.find(c.says), std::string::npos) << out.error;
      EXPECT_LT(out.error.size(), out.path.size() + 200) << out.error;
    }
    if (!c.warns.empty()) {
      std::string all;
      for (const std::string& w : out.warnings) all += w + "\n";
      EXPECT_NE(all.find(c.warns), std::string::npos) << all;
    }
  }
}

// A small drawing with a header, a block, an insert, a polyface mesh and elements, cut
// after every byte: each prefix is refused with a message naming the file.
TEST(DxfHostileInput, EveryTruncationIsRefusedWithAMessage) {
  const std::string whole = drawing(
      "0\nINSERT\n8\nEG\n2\nB\n10\n5\n20\n5\n30\n0\n0\nLWPOLYLINE\n8\nDrainLine\n90\n2\n1"
      "0\n0\n"
      "20\n0\n10\n1\n20\n1\n0\nPOLYLINE\n8\nPF\n66\n1\n70\n64\n0\nVERTEX\n10\n0\n20\n0\n3"
      "0\n0\n"
      "70\n192\n0\nVERTEX\n70\n128\n71\n1\n72\n1\n73\n1\n0\nSEQEND\n",
      "0\nBLOCK\n2\nB\n10\n0\n20\n0\n30\n0\n" + kFace + "0\nENDBLK\n");
  ASSERT_TRUE(read("whole.dxf", whole).ok);
  for (std::size_t size = 0; size + 1 < whole.size(); ++size) {
    const Outcome out = read("cut.dxf", whole.substr(0, size));
    ASSERT_FALSE(out.ok) << size;
    ASSERT_EQ(out.error.rfind(out.path + ":", 0), 0u) << size << ": " << out.error;
    ASSERT_LE(out.peak, bound_for(size)) << size;
  }
}

// A layer name, a number, a comment and an entity type of GRAVOK_LONG_LINE_BYTES each
// (64 MiB in the presets; the environment variable of that name overrides it): each
// reads, or is refused with a message that quotes a bounded part of the text.
TEST(DxfHostileInput, LongValuesAreReadWithinTheirOwnSize) {
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
      {"a long layer name",
       drawing("0\n3DFACE\n8\n" + std::string(bytes, 'n') + "\n10\n0\n"), ""},
      {"a long number",
       drawing("0\nPOINT\n8\nLowPoint\n10\n" + std::string(bytes, '1') + "\n"),
       "group 10 of POINT: expected a finite number"},
      {"a number of long blanks",
       drawing("0\nPOINT\n8\nLowPoint\n10\n" + std::string(bytes, ' ') + "1\n"), ""},
      {"a long comment", "999\n" + std::string(bytes, 'c') + "\n" + drawing(kFace), ""},
      {"a long entity type", drawing("0\n" + std::string(bytes, 'T') + "\n8\n0\n"), ""},
      {"a long group code", drawing("0\nPOINT\n" + std::string(bytes, '1') + "\n0\n"),
       "expected a group code"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    const Outcome out = read("long.dxf", c.text);
    EXPECT_LE(out.peak, bound_for(c.text.size()));
    EXPECT_EQ(out.ok, c.says.empty()) << out.error.substr(0, 200);
    EXPECT_NE(out.error.find(c.says), std::string::npos) << out.error.substr(0, 200);
    EXPECT_LT(out.error.size(), out.path.size() + 200) << out.error.substr(0, 200);
    for (const std::string& w : out.warnings) EXPECT_LT(w.size(), out.path.size() + 400);
  }
}

}  // namespace
