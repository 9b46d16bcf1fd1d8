// Hostile LandXML files: the reader either refuses with a message naming the file, the
// line and what is wrong, or reads, and in both cases the memory it holds at its peak
// stays within a fixed multiple of the bytes it was given. Entities are never
// expanded and nothing outside the file is read. Memory is measured by a replaced
// global operator new, which the XML parser's allocations go through too.
#include "landxml_document.h"

#include <gtest/gtest.h>

#include "counting_new.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <new>
#include <random>
#include <string>
#include <vector>

namespace {

using counting::peak_of;

// The text (1 byte per byte), the parser's nodes (64 bytes for an element of 4 bytes
// such as <a/>, 16 per byte), what the reader makes of them and the messages: 24
// times the file at most in the rows below (a break line of 10^5 points), so 32 times
// the file and a fixed allowance for the parser's first page hold all of it.
std::size_t bound_for(std::size_t bytes) { return 32 * bytes + (std::size_t{1} << 20); }

struct Outcome {
  bool ok = false;
  std::string path;
  std::string error;
  std::vector<std::string> warnings;
  gvk_landxml::Document document;
  std::size_t peak = 0;

  // Everything the reader hands back as text, for looking for what it must not read.
  std::string all_text() const {
    std::string all = error + document.application;
    for (const std::string& w : warnings) all += w;
    for (const gvk_landxml::Surface& s : document.surfaces) all += s.name;
    return all;
  }
};

// A name of this process's own: test programs of other build trees on the machine
// write their files into the same temporary folder at the same time.
const std::string& process_token() {
  static const std::string token = std::to_string(std::random_device{}());
  return token;
}

Outcome read(const std::string& name, const std::string& text) {
  Outcome out;
  out.path = testing::TempDir() + "landxml_hostile_" + process_token() + "_" + name;
  std::ofstream(out.path, std::ios::binary | std::ios::trunc) << text;
  out.peak = peak_of([&] {
    out.ok = gvk_landxml::read_document(out.path, out.document, out.error, out.warnings);
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

const std::string kBig = "1000000000000000000";  // 10^18
const std::string kThree =
    "<Pnts><P id=\"1\">0 0 0</P><P id=\"2\">0 1 0</P><P id=\"3\">1 0 0</P></Pnts>\n";

// A document whose DOCTYPE holds `doctype` (none when empty) and one surface named
// `name` around `definition`.
std::string document(const std::string& definition, const std::string& doctype = "",
                     const std::string& name = "EG") {
  return "<?xml version=\"1.0\"?>\n" +
         (doctype.empty() ? "" : "<!DOCTYPE LandXML [\n" + doctype + "]>\n") +
         "<LandXML version=\"1.2\">\n<Surfaces>\n<Surface name=\"" + name +
         "\">\n<Definition surfType=\"TIN\">\n" + definition +
         "</Definition>\n</Surface>\n</Surfaces>\n</LandXML>\n";
}

// The document of kThree with one break line of `numbers` before the definition.
std::string with_break_line(const std::string& numbers) {
  std::string text = document(kThree);
  text.insert(text.find("<Definition"), "<SourceData><Breaklines><Breakline><PntList3D>" +
                                            numbers +
                                            "</PntList3D></Breakline></Breaklines>"
                                            "</SourceData>\n");
  return text;
}

// Ten entities of ten references each: 10^9 copies of "lol" if expanded.
std::string laughs() {
  std::string doctype = "<!ENTITY lol0 \"lol\">\n";
  for (int i = 1; i <= 9; ++i) {
    doctype += "<!ENTITY lol" + std::to_string(i) + " \"" +
               repeated("&lol" + std::to_string(i - 1) + ";", 10) + "\">\n";
  }
  return doctype;
}

const std::string kPasswd = "<!ENTITY xxe SYSTEM \"/etc/passwd\">\n";
const std::string kFileUri = "<!ENTITY xxe SYSTEM \"file:///etc/passwd\">\n";
const std::string kParameter =
    "<!ENTITY % remote SYSTEM \"file:///etc/passwd\">\n%remote;\n";

// Each row either reads (`says` empty) with the surface name `name`, or is refused
// with a message holding `says`; all within bound_for the file's size, and nothing
// the reader hands back holds a line of /etc/passwd.
TEST(LandXmlHostileInput, RefusesOrReadsWithinMemoryOfTheFile) {
  struct Case {
    const char* what;
    std::string text;
    std::string says;
    std::string name;        // of the one surface read, when the file reads
    std::string warns = "";  // part of the last warning, when there is one
  };
  const std::string entities = ":3: <!ENTITY lol0>: entity declarations are refused";
  const std::string external = ":3: <!ENTITY xxe>: entity declarations are refused";
  const std::string nested = "elements nested deeper than 256 levels";
  const Case cases[] = {
      // Entities: a DOCTYPE that declares one is refused at the declaration, before
      // any reference; external DTDs are not fetched.
      {"billion laughs in a name", document(kThree, laughs(), "&lol9;"), entities, ""},
      {"billion laughs in a point",
       document("<Pnts><P id=\"1\">&lol9;</P></Pnts>", laughs()), entities, ""},
      {"/etc/passwd in a name", document(kThree, kPasswd, "&xxe;"), external, ""},
      {"file: URI in a name", document(kThree, kFileUri, "&xxe;"), external, ""},
      {"file: URI in a point", document("<Pnts><P id=\"1\">&xxe;</P></Pnts>", kFileUri),
       external, ""},
      {"file: URI as a parameter entity", document(kThree, kParameter),
       ":3: <!ENTITY % remote>: entity declarations are refused", ""},
      {"a reference the external DTD would declare, standalone",
       "<?xml version=\"1.0\" standalone=\"yes\"?>\n<!DOCTYPE LandXML SYSTEM "
       "\"file:///etc/passwd\">\n" +
           document(kThree, "", "&xxe;").substr(22),
       "not well-formed XML: undefined entity", ""},
      {"a reference in text the external DTD would declare, standalone",
       "<?xml version=\"1.0\" standalone=\"yes\"?>\n<!DOCTYPE LandXML SYSTEM "
       "\"file:///etc/passwd\">\n" +
           document("<Pnts><P id=\"1\">&xxe;</P></Pnts>").substr(22),
       "not well-formed XML: undefined entity", ""},
      {"an undeclared parameter entity", document(kThree, "%remote;\n"),
       "the DOCTYPE names an external DTD or a parameter entity", ""},
      {"an undeclared reference", document(kThree, "", "&xxe;"),
       "not well-formed XML: undefined entity", ""},
      {"an external DOCTYPE",
       "<?xml version=\"1.0\"?>\n<!DOCTYPE LandXML SYSTEM \"file:///etc/passwd\">\n" +
           document(kThree).substr(22),
       "the DOCTYPE names an external DTD or a parameter entity, which are not read", ""},
      {"an external DOCTYPE, standalone",
       "<?xml version=\"1.0\" standalone=\"yes\"?>\n<!DOCTYPE LandXML SYSTEM "
       "\"file:///etc/passwd\">\n" +
           document(kThree).substr(22),
       "", "EG"},
      {"an inclusion",
       document(kThree + "<xi:include xmlns:xi=\"http://www.w3.org/2001/XInclude\" "
                         "href=\"/etc/passwd\" parse=\"text\"/>\n"),
       "", "EG"},
      {"10^5 nested sections in the DOCTYPE",
       document(kThree, repeated("<![IGNORE[", 100000) + repeated("]]>", 100000)),
       "not well-formed XML: syntax error", ""},
      // Nesting: the parser keeps a stack of the open elements, so the depth is capped.
      {"252 nested elements (256 levels in all)",
       document(kThree + repeated("<a>", 252) + repeated("</a>", 252)), "", "EG"},
      {"253 nested elements",
       document(kThree + repeated("<a>", 253) + repeated("</a>", 253)), nested, ""},
      {"10^6 nested elements",
       document(kThree + repeated("<a>", 1000000) + repeated("</a>", 1000000)), nested,
       ""},
      {"10^6 elements never closed", document(kThree + repeated("<a>", 1000000)), nested,
       ""},
      {"10^6 empty elements", document(kThree + repeated("<a/>", 1000000)), "", "EG"},
      {"10^5 attributes",
       document(kThree, "", "EG\"" + repeated(" a=\"\"", 100000) + " b=\""),
       "not well-formed XML: duplicate attribute", ""},
      {"10^5 distinct attributes",
       document(
           kThree, "",
           "EG\"" +
               [] {
                 std::string a;
                 for (int i = 0; i < 100000; ++i) a += " a" + std::to_string(i) + "=\"\"";
                 return a;
               }() +
               " b=\""),
       "", "EG"},
      // Counts, ids and indices.
      {"counts of 10^18 on the lists",
       document("<Pnts count=\"" + kBig +
                "\"><P id=\"1\">0 0 0</P></Pnts><Faces count=\"" + kBig +
                "\"><F>1 1 1</F></Faces>\n"),
       "", "EG"},
      {"face index 10^18", document(kThree + "<Faces><F>1 2 " + kBig + "</F></Faces>\n"),
       "<F> names point " + kBig + ", which <Pnts> does not hold", ""},
      {"negative face index", document(kThree + "<Faces><F>1 -2 3</F></Faces>\n"),
       "<F> names point -2, which <Pnts> does not hold", ""},
      {"face index beyond 64 bits",
       document(kThree + "<Faces><F>1 2 18446744073709551616</F></Faces>\n"),
       "<F>: expected 3 point ids, found \"1 2 18446744073709551616\"", ""},
      {"a face of 10^5 ids",
       document(kThree + "<Faces><F>" + repeated("1 ", 100000) + "</F></Faces>\n"),
       "<F>: expected 3 point ids", ""},
      {"a point named by no face", document(kThree + "<Faces><F>1 2 4</F></Faces>\n"),
       "<F> names point 4, which <Pnts> does not hold", ""},
      {"ids 10^18 apart",
       document("<Pnts><P id=\"-" + kBig + "\">0 0 0</P><P id=\"" + kBig +
                "\">0 1 0</P><P id=\"9223372036854775807\">1 0 0</P></Pnts>"
                "<Faces><F>-" +
                kBig + " " + kBig + " 9223372036854775807</F></Faces>\n"),
       "", "EG"},
      {"10^5 faces of three points",
       document(kThree + "<Faces>" + repeated("<F>1 2 3</F>", 100000) + "</Faces>\n"), "",
       "EG"},
      {"10^5 invisible faces",
       document(kThree + "<Faces>" +
                repeated("<F i=\"1\">" + kBig + " 0 -1</F>", 100000) + "</Faces>\n"),
       "", "EG"},
      {"a break line of 10^5 points", with_break_line(repeated("1 2 3 ", 100000)), "",
       "EG"},
      {"10^5 surfaces that are not TIN",
       "<LandXML><Surfaces>" + repeated("<Surface name=\"g\"/>\n", 100000) +
           "</Surfaces></LandXML>",
       "", "", ":100000: <Surface name=\"g\"> has no TIN <Definition>: left out"},
      // Bytes that do not belong in XML.
      {"a NUL in a point", document("<Pnts><P id=\"1\">0 0") + '\0' + "0</P></Pnts>",
       "not well-formed XML", ""},
      {"a NUL before the root", std::string("\0", 1) + document(kThree),
       "not well-formed XML", ""},
      {"not UTF-8 in a name", document(kThree, "", "\xC0\xAF\xFF"),
       "not well-formed XML: not well-formed (invalid token)", ""},
      {"an empty file", "", "not well-formed XML: no element found", ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.what) + " (" + std::to_string(c.text.size()) + " bytes)");
    const Outcome out = read("case.xml", c.text);
    EXPECT_LE(out.peak, bound_for(c.text.size()));
    EXPECT_EQ(out.ok, c.says.empty()) << out.error;
    EXPECT_EQ(out.all_text().find("root:"), std::string::npos);
    if (!c.warns.empty()) {
      ASSERT_FALSE(out.warnings.empty());
      EXPECT_NE(out.warnings.back().find(c.warns), std::string::npos)
          << out.warnings.back();
    }
    if (!out.ok) {
      EXPECT_EQ(out.error.rfind(out.path + ":", 0), 0u) << out.error;
      EXPECT_NE(out.error.find(c.says), std::string::npos) << out.error;
      EXPECT_LT(out.error.size(), out.path.size() + 200) << out.error;
    } else if (!c.name.empty()) {
      ASSERT_EQ(out.document.surfaces.size(), 1u);
      EXPECT_EQ(out.document.surfaces[0].name, c.name);
    }
  }
}

// A small document with units, points, faces and a break line, cut after every byte:
// each prefix is refused with a message naming the file (the whole text less its
// final line break reads).
TEST(LandXmlHostileInput, EveryTruncationIsRefusedWithAMessage) {
  const std::string whole =
      "<?xml version=\"1.0\"?>\n<LandXML version=\"1.2\">\n<Units><Metric linearUnit="
      "\"meter\" areaUnit=\"squareMeter\" volumeUnit=\"cubicMeter\"/></Units>\n"
      "<Surfaces><Surface name=\"EG\"><SourceData><Breaklines><Breakline><PntList3D>"
      "0 0 0 1 1 1</PntList3D></Breakline></Breaklines></SourceData>\n"
      "<Definition surfType=\"TIN\">" +
      kThree +
      "<Faces><F>1 2 3</F></Faces></Definition></Surface></Surfaces>\n</LandXML>\n";
  ASSERT_TRUE(read("whole.xml", whole).ok);
  for (std::size_t size = 0; size + 1 < whole.size(); ++size) {
    const Outcome out = read("cut.xml", whole.substr(0, size));
    ASSERT_FALSE(out.ok) << size;
    ASSERT_EQ(out.error.rfind(out.path + ":", 0), 0u) << size << ": " << out.error;
    ASSERT_LE(out.peak, bound_for(size)) << size;
  }
}

// A surface name, a point's text and a face's text of GRAVOK_LONG_LINE_BYTES each (the
// build's setting, 64 MiB in the presets; the environment variable of that name
// overrides it, as for the library's readers): each reads, or is refused with a
// message that quotes a bounded part of the text, within the bound.
TEST(LandXmlHostileInput, LongTextIsReadWithinItsOwnSize) {
  std::size_t bytes = GRAVOK_LONG_LINE_BYTES;
  if (const char* given = std::getenv("GRAVOK_LONG_LINE_BYTES")) {
    bytes = static_cast<std::size_t>(std::strtoull(given, nullptr, 10));
  }
  const std::string blanks(bytes, ' ');
  struct Case {
    const char* what;
    std::string text;
    std::string says;
  };
  const Case cases[] = {
      {"a long name", document(kThree, "", std::string(bytes, 'n')), ""},
      {"a long point", document("<Pnts><P id=\"1\">0" + blanks + "0 0</P></Pnts>"), ""},
      {"a long face", document(kThree + "<Faces><F>1 2" + blanks + "3 4</F></Faces>"),
       "<F>: expected 3 point ids"},
      {"a long id",
       document("<Pnts><P id=\"" + std::string(bytes, '1') + "\">0 0 0</P></Pnts>"),
       ": the id is not an integer"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    const Outcome out = read("long.xml", c.text);
    EXPECT_LE(out.peak, bound_for(c.text.size()));
    EXPECT_EQ(out.ok, c.says.empty()) << out.error.substr(0, 200);
    EXPECT_NE(out.error.find(c.says), std::string::npos) << out.error.substr(0, 200);
    EXPECT_LT(out.error.size(), out.path.size() + 200) << out.error.substr(0, 200);
  }
}

}  // namespace
