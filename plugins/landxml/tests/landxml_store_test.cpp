// What the LandXML store writes, and what it refuses to write: every file it writes
// is valid LandXML 1.2 (checked with xmllint against the schema in tests/data), and a
// problem that LandXML cannot hold is refused with a message naming the first
// offender, the old file left as it was and no temporary file left behind.
#include "landxml_store.h"
#include "landxml_provider.h"
#include "landxml_source.h"

#include <gravok/gravok.h>
#include <gtest/gtest.h>
#include <pugixml.hpp>

#include <chrono>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>
#include <memory>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace {

namespace fs = std::filesystem;
using gvk_landxml::LandXmlSource;
using gvk_landxml::LandXmlStore;
using Lists = std::vector<std::vector<double>>;

const double kNaN = std::numeric_limits<double>::quiet_NaN();

std::string read_text(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

// The folders of this process, removed when it ends: the tests of other build trees on
// the same machine may run at the same time, and must not write or remove each
// other's files.
struct RunFolder {
  fs::path dir =
      fs::path(testing::TempDir()) /
      ("landxml_store_" +
       std::to_string(std::chrono::steady_clock::now().time_since_epoch().count()));
  ~RunFolder() {
    std::error_code ignored;
    fs::remove_all(dir, ignored);
  }
};

// A folder of its own for each test, so that a temporary file left anywhere in it
// shows.
fs::path fresh_folder(const std::string& name) {
  static const RunFolder run;
  const fs::path dir = run.dir / name;
  fs::remove_all(dir);
  fs::create_directories(dir);
  return dir;
}

std::set<std::string> names_in(const fs::path& dir) {
  std::set<std::string> names;
  for (const auto& entry : fs::directory_iterator(dir))
    names.insert(entry.path().filename().string());
  return names;
}

// The problem every case starts from: two triangles of four points, a break line,
// one element of every kind that has coordinates.
void fill_site(LandXmlStore& store) {
  store.set_units(gvk::Known<1>(2), gvk::Known<2>(2), gvk::Known<3>(2));
  store.set_eg_data({0, 10, 10, 0}, {0, 0, 10, 10}, {1, 2, 3, 4}, {{0, 1, 2}, {0, 2, 3}},
                    std::vector<gravok_triangle_info>(2));
  store.set_break_lines({{0, 0, 1, 10, 10, 3}});
  std::vector<gravok_grading_element> one(1);
  one[0].location[0] = 5;
  one[0].location[1] = 6;
  one[0].location[3] = 7;
  one[0].location[4] = 8;
  store.set_low_points(one);
  store.set_bounded_points(one);
  const gvk::DataSource::ComplexElementData none;
  store.set_transferred_grading_elements(DrainLine, one, {{1, 2, 3}}, {{1, 5, 1}}, none);
  store.set_transferred_grading_elements(Pond, one, {{2, 4, 4, 2}}, {{2, 2, 4, 4}}, none);
  // An outline given closed already (the last vertex is the first) gets no second
  // closing line.
  store.set_transferred_grading_elements(BuildingPad, one, {{6, 8, 8, 6, 6}},
                                         {{6, 6, 8, 8, 6}}, none);
  store.set_transferred_grading_elements(Curb, one, {{0, 1}}, {{9, 9}}, none);
  store.set_hostcad_version("Site & Co <v2> \"beta\" \xc3\xa9t\xc3\xa9");
}

bool has_xmllint() { return !std::string(GRAVOK_XMLLINT).empty(); }

// xmllint's verdict on `path` against the LandXML 1.2 schema: "" when it validates,
// else what xmllint said.
std::string schema_errors(const fs::path& path) {
  const fs::path report = path.string() + ".xmllint";
  const std::string command = std::string(GRAVOK_XMLLINT) + " --noout --schema '" +
                              GRAVOK_LANDXML_SCHEMA + "' '" + path.string() + "' 2>'" +
                              report.string() + "'";
  const int status = std::system(command.c_str());
  std::string said = read_text(report);
  fs::remove(report);
  return status == 0 ? "" : said.empty() ? "xmllint failed" : said;
}

TEST(LandXmlStoreOutput, EveryFileTheStoreWritesValidatesAgainstTheSchema) {
#if defined(_WIN32)
  GTEST_SKIP() << "xmllint runs on the build machine, not under Wine";
#else
  ASSERT_TRUE(has_xmllint()) << "xmllint (libxml2-utils) is needed to validate";
#endif
  struct Case {
    std::string name;
    std::function<void(LandXmlStore&)> change;  // applied to the site problem
  };
  const Case cases[] = {
      {"the site", [](LandXmlStore&) {}},
      {"no mesh at all", [](LandXmlStore& s) { s.set_eg_data({}, {}, {}, {}, {}); }},
      {"imperial units",
       [](LandXmlStore& s) {
         s.set_units(gvk::Known<1>(7), gvk::Known<2>(4), gvk::Known<3>(5));
       }},
      {"unknown units",
       [](LandXmlStore& s) {
         s.set_units(gvk::Unknown<1>(), gvk::Unknown<2>(), gvk::Unknown<3>());
       }},
      {"no host version and no elements",
       [](LandXmlStore& s) {
         s.set_hostcad_version("");
         for (const GradingElementType kind : gvk::allElementTypes())
           s.set_grading_elements(kind, {});
       }},
      {"extreme but finite values",
       [](LandXmlStore& s) {
         s.set_eg_data({-1e300, 1e-300, 5e-324}, {0, 1.7976931348623157e308, -0.0},
                       {0, 0, 0}, {{0, 1, 2}}, {});
       }},
  };
  const fs::path dir = fresh_folder("schema");
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const fs::path path = dir / "site.xml";
    LandXmlStore store(path.string());
    fill_site(store);
    c.change(store);
    ASSERT_NO_THROW(store.save());
#if !defined(_WIN32)
    EXPECT_EQ(schema_errors(path), "");
#endif
    LandXmlSource back(path.string());
    EXPECT_TRUE(back.load()) << back.error();
  }
  // Real files copied through the store.
  for (const char* file :
       {"civil_example_clean.xml", "civil_sweref99_skyfall.xml", "blender_topo_s2.xml"}) {
    SCOPED_TRACE(file);
    LandXmlSource source(std::string(GRAVOK_LANDXML_DATA) + "/" + file);
    ASSERT_TRUE(source.load()) << source.error();
    const fs::path path = dir / "copy.xml";
    LandXmlStore store(path.string());
    ASSERT_NO_THROW(store.copyAllFrom(source));
#if !defined(_WIN32)
    EXPECT_EQ(schema_errors(path), "");
#endif
  }
}

TEST(LandXmlStoreOutput, OutlinesAreWrittenClosedAndLinesOpen) {
  const fs::path path = fresh_folder("outlines") / "site.xml";
  LandXmlStore store(path.string());
  fill_site(store);
  store.save();
  pugi::xml_document xml;
  ASSERT_TRUE(xml.load_file(path.c_str()));
  struct Row {
    const char* feature;
    std::size_t lines;
    const char* last_end;  // northing easting of the last line's end
  };
  const Row rows[] = {
      {"DrainLine 1", 2, "1 3"},    // open: 3 vertices, 2 lines
      {"Pond 1", 4, "2 2"},         // 4 vertices, closed with a fourth line
      {"BuildingPad 1", 4, "6 6"},  // given closed: no fifth line
      {"Curb 1", 1, "9 1"},         // open
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.feature);
    const pugi::xpath_node_set lines = xml.select_nodes(
        (std::string("//PlanFeature[@name='") + row.feature + "']/CoordGeom/Line")
            .c_str());
    ASSERT_EQ(lines.size(), row.lines);
    EXPECT_STREQ(lines[lines.size() - 1].node().child_value("End"), row.last_end);
  }
}

TEST(LandXmlStoreOutput, RefusesWhatLandXmlCannotHoldNamingTheFirstOffender) {
  struct Case {
    std::function<void(LandXmlStore&)> change;
    std::string fault;  // what follows "cannot write PATH: "
  };
  const gvk::DataSource::ComplexElementData none;
  const std::vector<gravok_grading_element> one(1);
  const Case cases[] = {
      {[](LandXmlStore& s) {
         s.set_eg_data({0, 10, 10, 0}, {0, 0, 10, 10}, {1, 2, 3, kNaN}, {{0, 1, 2}}, {});
       },
       "surface \"Existing ground\": vertex 3: z is NaN or infinite"},
      {[](LandXmlStore& s) {
         s.set_eg_data({0, 10, 10, 0}, {0, 0, 10, 10}, {1, 2, 3, 4},
                       {{0, 1, 2}, {0, 2, 9}}, {});
       },
       "surface \"Existing ground\": triangle 1: corner 2 names vertex 9, but the mesh "
       "has 4 vertices"},
      {[](LandXmlStore& s) {
         s.set_eg_data({0, 10, 10, 0}, {0, 0, 10}, {1, 2, 3, 4}, {{0, 1, 2}}, {});
       },
       "surface \"Existing ground\": vertex 3: no y coordinate (y has length 3, the mesh "
       "has 4 vertices)"},
      {[](LandXmlStore& s) {
         s.set_eg_data({0, 10, 10}, {0, 0, 10}, {1, 2, 3}, {}, {});
       },
       "surface \"Existing ground\": 3 vertices and 0 triangles; a LandXML surface needs "
       "at least 3 points and 1 triangle"},
      {[](LandXmlStore& s) {
         s.set_break_lines({{0, 0, 1, 10, 10, 3}, {0, 0, 1, 1, kNaN, 3}});
       },
       "surface \"Existing ground\": break line 1: a coordinate is NaN or infinite"},
      {[&](LandXmlStore& s) {
         std::vector<gravok_grading_element> low(2);
         low[1].location[1] = HUGE_VAL;
         s.set_low_points(low);
       },
       "\"LowPoint 2\": a coordinate is NaN or infinite"},
      {[&](LandXmlStore& s) {
         s.set_transferred_grading_elements(DrainLine, one, {{1, 2, 3}}, {{1, 5}}, none);
       },
       "\"DrainLine 1\": 3 x values but 2 y values"},
      {[](LandXmlStore& s) { s.set_hostcad_version("v\x01"); },
       "the host version: control character 1 at byte 1"},
      {[](LandXmlStore& s) { s.set_hostcad_version("caf\xe9"); },
       "the host version: byte 3 is not UTF-8"},
      // Well-formed sequences that are not characters: a surrogate, an overlong form of
      // four bytes, a value beyond U+10FFFF.
      {[](LandXmlStore& s) { s.set_hostcad_version("v\xed\xa0\x80"); },
       "the host version: byte 1 is not UTF-8"},
      {[](LandXmlStore& s) { s.set_hostcad_version("v\xf0\x8f\xbf\xbf"); },
       "the host version: byte 1 is not UTF-8"},
      {[](LandXmlStore& s) { s.set_hostcad_version("v\xf4\x90\x80\x80"); },
       "the host version: byte 1 is not UTF-8"},
  };
  const fs::path dir = fresh_folder("refused");
  const fs::path path = dir / "site.xml";
  {
    LandXmlStore first(path.string());
    fill_site(first);
    first.save();
  }
  const std::string old_text = read_text(path);
  for (const Case& c : cases) {
    SCOPED_TRACE(c.fault);
    LandXmlStore store(path.string());
    fill_site(store);
    c.change(store);
    try {
      store.endBulkOperation();
      ADD_FAILURE() << "written";
    } catch (const std::invalid_argument& e) {
      EXPECT_EQ(e.what(), "cannot write " + path.string() + ": " + c.fault);
    }
    EXPECT_EQ(read_text(path), old_text);
    EXPECT_EQ(names_in(dir), (std::set<std::string>{"site.xml"}));
  }
}

// The system's reason reaches the caller of the transfer: a folder that does not
// exist (the other failures of the system are replace_file's, tested with it).
TEST(LandXmlStoreOutput, AFolderThatDoesNotExistFailsTheTransferWithTheSystemsReason) {
  const fs::path path = fresh_folder("missing") / "no_such_dir" / "out.xml";
  LandXmlStore store(path.string());
  gvk::DataSource empty_problem;
  try {
    store.copyAllFrom(empty_problem);
    ADD_FAILURE() << "written";
  } catch (const std::system_error& e) {
    EXPECT_EQ(e.code(), std::errc::no_such_file_or_directory);
    EXPECT_EQ(std::string(e.what()).rfind("cannot write " + path.string() + ": ", 0), 0u)
        << e.what();
  }
  EXPECT_FALSE(fs::exists(path.parent_path()));
}

// A problem with a little of everything a LandXML file cannot keep.
class RichSource : public gvk::DataSource {
 public:
  void get_objectives(std::vector<gravok_objective>& o) override { o.resize(2); }
  double get_max_slope() const override { return 0.5; }
  double get_min_slope() const override { return gvk::DataSource::get_min_slope(); }
  void get_max_slopes(std::vector<double>& s) const override { s = {0.1, 0.2, 0.3}; }
  long long get_max_iteration_count() const override { return 7; }
  void get_linear_unit(gvk::Unit<1>& u) const override { u = gvk::Known<1>(8); }
  std::string get_hostcad_version() const override { return "Host 1.0"; }
  void get_eg_data(std::vector<double>& x, std::vector<double>& y, std::vector<double>& z,
                   std::vector<gvk::Triangle>& t,
                   std::vector<gravok_triangle_info>& info) override {
    x = {0, 1, 0};
    y = {0, 0, 1};
    z = {0, 0, 0};
    t = {{0, 1, 2}};
    info.assign(1, gravok_triangle_info{});
    info[0].data[5] = 1;
  }
  void get_low_points(std::vector<gravok_grading_element>& e) const override {
    e.resize(2);
  }
};

TEST(LandXmlStoreLosses, DeclaresWhatReadingTheFileBackDoesNotGive) {
  struct Case {
    std::string name;
    std::function<std::unique_ptr<gvk::DataSource>()> source;
    std::vector<std::pair<std::string, unsigned long long>> losses;
  };
  const Case cases[] = {
      {"a bare problem reads back the plug-in as its application",
       [] { return std::make_unique<gvk::DataSource>(); },
       {{"host version (written as the application's desc, not read back)", 1},
        {"descriptions (no application given: the file names this plug-in)", 1}}},
      {"a little of everything",
       [] { return std::make_unique<RichSource>(); },
       {{"host version (written as the application's desc, not read back)", 1},
        {"descriptions (no application given: the file names this plug-in)", 1},
        {"objectives", 2},
        {"settings (max slope)", 1},
        {"settings (max slopes)", 3},
        {"settings (max iteration count)", 1},
        {"units LandXML cannot name", 1},
        {"triangle records", 1},
        {"LowPoint elements (written for other programs, not read back)", 2}}},
  };
  const fs::path dir = fresh_folder("losses");
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    LandXmlStore store((dir / "site.xml").string());
    const std::unique_ptr<gvk::DataSource> source = c.source();
    store.copyAllFrom(*source);
    std::vector<std::pair<std::string, unsigned long long>> declared;
    for (const gvk::StoreLoss& loss : store.losses())
      declared.emplace_back(loss.what, loss.count);
    EXPECT_EQ(declared, c.losses);
  }
}

// Every .xml location belongs to the LandXML providers, and each that they cannot open
// comes with its reason: the system's for a missing file or a folder, the first
// element of another document, the reader's line for a broken one.
TEST(LandXmlProviders, SayWhyALocationCannotBeOpened) {
  const fs::path dir = fresh_folder("providers");
  const auto write = [&](const std::string& name, const std::string& text) {
    std::ofstream(dir / name, std::ios::binary) << text;
    return (dir / name).string();
  };
  const std::string whole =
      "<?xml version=\"1.0\"?>\n<LandXML><Surfaces>\n"
      "<Surface name=\"A\"><Definition surfType=\"TIN\"><Pnts>\n"
      "<P id=\"1\">0 0 0</P><P id=\"2\">0 1 0</P>\n";
  fs::create_directories(dir / "folder.xml");
  struct Case {
    std::string path;
    std::string source_reason;  // "" when the source opens
    std::string store_reason;   // "" when the store opens
  };
  const std::string missing = (dir / "missing.xml").string();
  const std::string folder = (dir / "folder.xml").string();
  const std::string other = write("other.xml", "<?xml version=\"1.0\"?><svg/>");
  const std::string empty = write("empty.xml", "");
  const std::string utf16 = write("utf16.xml", std::string("\xFF\xFE<\0L\0", 6));
  const std::string truncated = write("truncated.xml", whole);
  const std::string not_landxml = ": not a LandXML document: ";
  const std::string left = "; it is left as it is";
  const Case cases[] = {
      {missing, missing + ": No such file or directory", ""},
      {folder, folder + ": Is a directory", folder + ": Is a directory" + left},
      {other, other + not_landxml + "the first element is <svg>",
       other + not_landxml + "the first element is <svg>" + left},
      {empty, empty + not_landxml + "the file is empty",
       empty + not_landxml + "the file is empty" + left},
      {utf16,
       utf16 + ": UTF-16 text; the LandXML reader reads UTF-8 (save the file as UTF-8)",
       utf16 + ": UTF-16 text; the LandXML reader reads UTF-8 (save the file as UTF-8)" +
           left},
      {truncated, truncated + ":5: not well-formed XML: the text ends before </LandXML>",
       ""},
  };
  ASSERT_EQ(gvk_landxml::register_providers(), 2);
  for (const Case& c : cases) {
    SCOPED_TRACE(c.path);
    std::vector<std::string> reasons;
    const bool opened = gvk::createDataSource(c.path, reasons) != nullptr;
    EXPECT_EQ(opened, c.source_reason.empty());
    EXPECT_EQ(reasons, c.source_reason.empty()
                           ? std::vector<std::string>{}
                           : std::vector<std::string>{c.source_reason});
    const bool stored = gvk::createDataStore("landxml:" + c.path, reasons) != nullptr;
    EXPECT_EQ(stored, c.store_reason.empty());
    EXPECT_EQ(reasons, c.store_reason.empty() ? std::vector<std::string>{}
                                              : std::vector<std::string>{c.store_reason});
  }
  EXPECT_EQ(gvk_landxml::unregister_providers(), 2);
  EXPECT_FALSE(fs::exists(missing)) << "opening a store writes nothing";
}

}  // namespace
