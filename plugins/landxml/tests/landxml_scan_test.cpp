// The reader reads the plain <P> and <F> elements of a surface's lists itself and gives
// everything else to the XML parser. Whatever the text, the outcome must be the one of
// the parser reading every byte: the same document, warnings and message, lines
// included. These tests hold the two against each other: on the real files, on
// documents that put every kind of markup where the lists are, on every prefix of one,
// and from files read a block at a time.
#include "landxml_document.h"

#include <gtest/gtest.h>

#include <charconv>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

// Every double as its shortest round-trip text, so that equal texts mean equal bits
// (but for NaN payloads, which the reader never makes).
void put(std::string& out, double value) {
  char text[32];
  out.append(text, std::to_chars(text, text + sizeof text, value).ptr);
  out += ' ';
}

void put(std::string& out, const std::vector<double>& values) {
  for (double v : values) put(out, v);
  out += '\n';
}

std::string describe(bool ok, const gvk_landxml::Document& d, const std::string& error,
                     const std::vector<std::string>& warnings) {
  std::string out = ok ? "read\n" : "refused: " + error + "\n";
  for (const std::string& w : warnings) out += "warning: " + w + "\n";
  if (!ok) return out;
  out += std::to_string(d.units.linear) + " " + std::to_string(d.units.area) + " " +
         std::to_string(d.units.volume) + " " + d.application + "|" +
         d.coordinate_system.name + "|" + d.coordinate_system.epsg_code + "\n";
  for (const gvk_landxml::Surface& s : d.surfaces) {
    out += "surface " + s.name + "|" + s.desc + " invisible " +
           std::to_string(s.invisible_faces) + "\n";
    put(out, s.x);
    put(out, s.y);
    put(out, s.z);
    for (const gvk::Triangle& t : s.triangles)
      out += std::to_string(t[0]) + " " + std::to_string(t[1]) + " " +
             std::to_string(t[2]) + ",";
    out += '\n';
    for (const gravok_line_3d& l : s.break_lines)
      put(out, {l.x1, l.y1, l.z1, l.x2, l.y2, l.z2});
    for (const auto& xs : s.boundary_xs) put(out, xs);
    for (const auto& ys : s.boundary_ys) put(out, ys);
  }
  return out;
}

std::string parsed(const std::string& text, bool scan_lists) {
  std::vector<char> bytes(text.begin(), text.end());
  gvk_landxml::Document d;
  std::string error;
  std::vector<std::string> warnings;
  const bool ok =
      gvk_landxml::parse_document(bytes, "f.xml", d, error, warnings, scan_lists);
  return describe(ok, d, error, warnings);
}

// read_document's outcome for `text` in a file named f.xml in a folder of the test's
// own (tests run side by side), with that folder taken out of the messages.
std::string read_from_file(const std::string& text) {
  const std::string folder =
      testing::TempDir() + "landxml_scan_" +
      testing::UnitTest::GetInstance()->current_test_info()->name() + "/";
  std::filesystem::create_directories(folder);
  const std::string path = folder + "f.xml";
  std::ofstream(path, std::ios::binary) << text;
  gvk_landxml::Document d;
  std::string error;
  std::vector<std::string> warnings;
  const bool ok = gvk_landxml::read_document(path, d, error, warnings);
  std::filesystem::remove_all(folder);
  std::string out = describe(ok, d, error, warnings);
  for (std::size_t at; (at = out.find(folder)) != std::string::npos;)
    out.erase(at, folder.size());
  return out;
}

void expect_same_outcome(const std::string& text) {
  const std::string whole = parsed(text, false);
  EXPECT_EQ(parsed(text, true), whole);
  EXPECT_EQ(read_from_file(text), whole);
}

std::string read_text(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

TEST(LandXmlScan, RealFilesReadAsTheParserReadsThem) {
  for (const char* name :
       {"blender_topo_s2.xml", "civil_example_clean.xml", "civil_sweref99_skyfall.xml"}) {
    SCOPED_TRACE(name);
    const std::string text = read_text(std::string(GRAVOK_LANDXML_DATA) + "/" + name);
    ASSERT_GT(text.size(), 1000u);
    expect_same_outcome(text);
    EXPECT_EQ(parsed(text, false).rfind("read\n", 0), 0u);
  }
}

const std::string kHead =
    "<?xml version=\"1.0\"?>\n<LandXML>\n<Units><Metric linearUnit=\"meter\" "
    "areaUnit=\"squareMeter\" volumeUnit=\"cubicMeter\"/></Units>\n"
    "<Surfaces><Surface name=\"EG\"><Definition surfType=\"TIN\">\n";
const std::string kTail = "</Definition></Surface></Surfaces>\n</LandXML>\n";

std::string site(const std::string& points, const std::string& faces) {
  return kHead + "<Pnts>\n" + points + "</Pnts>\n<Faces>\n" + faces + "</Faces>\n" +
         kTail;
}

const std::string kPoints =
    "<P id=\"1\">10 20 1.5</P>\n<P id=\"2\">10 21 1.25</P>\n<P id=\"3\">11 20 -2e1</P>\n";
const std::string kFaces = "<F>1 2 3</F>\n";

// Each row puts one kind of markup, spelling or fault where the lists are.
TEST(LandXmlScan, EveryFormInTheListsReadsAsTheParserReadsIt) {
  const std::vector<std::string> texts = {
      site(kPoints, kFaces),
      site(kPoints + "<!-- <P id=\"9\">1 2 3</P> -->\n", kFaces),
      site("<!--x-->" + kPoints, "<?pi <F>1 1 1</F> ?>" + kFaces),
      site(kPoints + "<P id=\"4\"><![CDATA[12 20 3]]></P>\n", kFaces),
      site(kPoints + "<P id=\"4\">12 20 <![CDATA[3]]></P>\n", kFaces),
      site(kPoints + "<P id=\"4\">1&#50; 20 3</P>\n", kFaces),
      site(kPoints + "<P id=\"&#52;\">12 20 3</P>\n", kFaces),
      site(kPoints + "<P id='4' name=\"a > b\">12 20 3</P>\n", kFaces),
      site(kPoints + "<P  id = \"4\"\n  code=\"x\" >12 20 3</P >\n", kFaces),
      site(kPoints + "<P id=\"4\" id=\"5\">12 20 3</P>\n", kFaces),
      site(kPoints + "<P id=\"4\"/>\n", kFaces),
      site(kPoints + "<P id=\"4\">12 20 3<x/></P>\n", kFaces),
      site(kPoints + "<P id=\"4\">12 20 3</Q>\n", kFaces),
      site(kPoints + "<P id=\"4\">12\n20\n3</P>\n", kFaces),
      site(kPoints + "<P id=\"4\">12\t20 3</P>\n", kFaces),
      site(kPoints + "<P id=\"4\">12 20 3\r\n</P>\n", kFaces),
      site(kPoints + "<P id=\"4\" name=\"caf\xC3\xA9\">12 20 3</P>\n", kFaces),
      site(kPoints + "<P id=\"4\">12 20 3]]></P>\n", kFaces),
      site(kPoints + "<P id=\"4\" name=\"a\tb\">12 20 3</P>\n", kFaces),
      site(kPoints + "<lx:P id=\"4\">12 20 3</lx:P>\n", kFaces),
      site(kPoints + "<Px id=\"4\">12 20 3</Px>\n", kFaces),
      site(kPoints + "<P id=\"4\">12 20</P>\n", kFaces),
      site(kPoints + "<P id=\"2\">12 20 3</P>\n", kFaces),
      site(kPoints + "<P id=\"x\">12 20 3</P>\n", kFaces),
      site(kPoints + "<P id=\"4\">12 20 3 4</P>\n", kFaces),
      site(kPoints + "<P id=\"4\">12 20 nan</P>\n", kFaces),
      // Text before an element that the parser has not finished with when the
      // element comes: a character cut short, a reference without its ';'.
      site("\xF4<P id=\"1\">10 20 1.5</P><P id=\"2\">1x 2 3</P>", kFaces),
      site(kPoints + "&amp<P id=\"4\">12 20 3</P>", kFaces),
      site(kPoints + " x <P id=\"4\">12 20 3</P>", kFaces),
      site(kPoints, "<F>1 2</F>\n"),
      site(kPoints, "<F>1 2 7</F>\n"),
      site(kPoints, "<F i=\"1\">7 8 9</F>\n<F n=\"0 0 0\">1 2 3</F>\n"),
      site(kPoints, kFaces + "<F>1 2 3 & 4</F>\n"),
      site(kPoints, kFaces + "<F>1 2 3</F"),
      site(kPoints, kFaces) + "<extra/>",
      kHead + "<Faces>\n" + kFaces + "</Faces>\n<Pnts>\n" + kPoints + "</Pnts>\n" + kTail,
      kHead + "<Pnts>\n" + kPoints + "</Pnts>\n<Pnts>\n<P id=\"4\">1 2 x</P></Pnts>\n" +
          kTail,
      // Lines end in CR LF, and in CR alone: faults after them name the right line.
      [] {
        std::string t = site(kPoints + "<P id=\"3\">1 1 1</P>\n", kFaces);
        std::string crlf;
        for (char c : t) crlf += c == '\n' ? std::string("\r\n") : std::string(1, c);
        return crlf;
      }(),
      [] {
        std::string t = site(kPoints, kFaces + "<F>1 2 9</F>\n"), cr;
        for (char c : t) cr += c == '\n' ? std::string("\r  ") : std::string(1, c);
        return cr;
      }(),
      // A DOCTYPE may give <F> a default i="1": everything after it is the parser's.
      "<?xml version=\"1.0\" standalone=\"yes\"?>\n<!DOCTYPE LandXML [<!ATTLIST F i "
      "CDATA "
      "\"1\">]>\n" +
          site(kPoints, kFaces).substr(kHead.find('\n') + 1),
      // UTF-16 text is the parser's alone.
      [] {
        const std::string t = site(kPoints, kFaces);
        std::string utf16 = "\xFF\xFE";
        for (char c : t) utf16 += std::string(1, c) + '\0';
        return utf16;
      }(),
      "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n" +
          site(kPoints + "<P id=\"4\" name=\"caf\xE9\">12 20 3</P>\n", kFaces)
              .substr(kHead.find('\n') + 1),
      "",
      "<LandXML><Pnts><P id=\"1\">1 2 3</P></Pnts></LandXML>",
  };
  for (const std::string& text : texts) {
    SCOPED_TRACE(text);
    expect_same_outcome(text);
  }
}

// Every prefix of a document with both lists, the parser's message each time.
TEST(LandXmlScan, EveryTruncationGivesTheParsersMessage) {
  const std::string text =
      site(kPoints + "<!--c-->\r\n<P id=\"4\" code='a'>12 20 3</P>\n",
           kFaces + "<F i=\"1\">4 4 4</F>\n");
  for (std::size_t size = 0; size <= text.size(); ++size) {
    SCOPED_TRACE(size);
    const std::string prefix = text.substr(0, size);
    EXPECT_EQ(parsed(prefix, true), parsed(prefix, false));
  }
}

// A site larger than the blocks a file is read in, with elements across the blocks,
// blanks and comments of every length between them and a fault at its end: the same
// document, and the same line in the message.
TEST(LandXmlScan, AFileReadInBlocksReadsAsTheParserReadsIt) {
  std::string points, faces;
  const int columns = 120;
  for (int i = 0; i < columns * columns; ++i) {
    points += "<P id=\"" + std::to_string(i + 1) + "\">" + std::to_string(i / columns) +
              ".25 " + std::to_string(i % columns) + " " + std::to_string(i % 7) +
              "</P>" + std::string(static_cast<std::size_t>(i % 5), ' ') +
              (i % 3 ? "\n" : "\r\n") + (i % 1000 == 0 ? "<!-- a note -->" : "");
  }
  for (int i = 1; i + columns + 1 <= columns * columns; ++i) {
    faces += "<F>" + std::to_string(i) + " " + std::to_string(i + 1) + " " +
             std::to_string(i + columns) + "</F>\n";
  }
  const std::string good = site(points, faces);
  ASSERT_GT(good.size(), std::size_t{8} << 16);  // the file is read 64 KiB at a time
  expect_same_outcome(good);
  expect_same_outcome(site(points, faces + "<F>1 2 999999</F>\n"));
}

}  // namespace
