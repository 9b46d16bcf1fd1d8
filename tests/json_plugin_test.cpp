// The JSON plug-in through what a host and the gravok tool use: the document reader
// and writer, the source and store over a problem, the providers and the module.
#include <gravok/gravok.h>

#include "bit_patterns.h"
#include "json_document.h"
#include "json_providers.h"
#include "recording_store.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <limits>
#include <sstream>
#include <string>
#include <system_error>
#include <vector>

namespace {

using gvk::Problem;
using gvk_test::record;

double from_bits(std::uint64_t bits) {
  double value;
  std::memcpy(&value, &bits, sizeof value);
  return value;
}

const double kInf = std::numeric_limits<double>::infinity();
const double kPayloadNan = from_bits(0x7ff800000000beefULL);
const double kNegativeNan = from_bits(0xfff8000000000000ULL);

template <class Record>
std::vector<Record> blocks(std::size_t count, unsigned char seed) {
  std::vector<Record> records(count);
  for (std::size_t i = 0; i < count; ++i)
    for (std::size_t b = 0; b < sizeof records[i].data; ++b)
      records[i].data[b] = static_cast<unsigned char>(seed + 37 * i + b);
  return records;
}

// Every part filled, with the values a text format loses most easily: signed zeros,
// infinities, NaN payloads, the extreme doubles and integers, text that needs escapes
// or is not UTF-8, lists whose lengths disagree, an unnamed kind. Coordinates that a
// transfer shifts hold no -0.0, which adding a zero offset turns into 0.0.
Problem rich_problem() {
  Problem p;
  p.hostcad_version = "Host 2026 \"beta\"\n\x01 caf\xC3\xA9 \xF0\x9F\x8C\x8D";
  p.linear_unit.type = 2;
  p.linear_unit.qualifier = -4;
  p.linear_unit.name = "meter";
  p.linear_unit.abbreviation = "m";
  p.linear_unit.conversions = {1000.0, 100.0, 1.0, 0.001, 1 / 0.3048, 1 / 0.9144};
  p.area_unit.name = std::string("\xFF\xFE\0 not text", 12);
  p.volume_unit.conversions = {};
  p.fix_boundary = false;
  p.max_slope = kPayloadNan;
  p.min_slope = -kInf;
  p.volume_constraint = static_cast<VolumeConstraint>(-7);
  p.max_slopes = {5e-324, DBL_MAX, -0.0, 0.1, 1e21, 123456789012345680000.0};
  p.metric = {-3, 0.1, true, false};
  p.max_iteration_count = LLONG_MIN;
  p.epsilon = kNegativeNan;
  p.surface_ids = {0, ULLONG_MAX};
  p.surface_names = {"EG"};
  p.objectives = blocks<gravok_objective>(2, 200);
  p.break_lines = {{0.1, 0.2, kInf, -1e-300, 2.5, 3}};
  p.mesh.x = {0.0, 1.0, 0.5, 2000000.123};
  p.mesh.y = {0.0, 0.0, 1.0, 1e300};
  p.mesh.z = {100.25, 99.75, kInf};
  p.mesh.triangles = {{0, 1, 2}, {ULLONG_MAX, 3, 0}};
  p.mesh.triangle_info = blocks<gravok_triangle_info>(2, 1);
  gravok_grading_element low = record({1.5, 2.5, -0.0, kPayloadNan, 0, 0});
  low.attributes[0] = 0xAB;
  low.trailer[119] = 0x01;
  p.elements[LowPoint].records = {low};
  p.elements[DrainLine] = {
      {record({}), record({})}, {{1, 2, 3}, {}, {4.5}}, {{7, 8}}, {}};
  p.elements[Pond].records = {record({9, 8, 7, 6, 5, 4})};
  p.elements[Pond].complex.double_lists_4 = {{-0.0, kNegativeNan}, {}};
  p.elements[Pond].complex.int_lists = {{INT32_MIN, 7, INT32_MAX}};
  p.elements[static_cast<GradingElementType>(1000)].records = {
      record({1, 1, 1, 1, 1, 1})};
  p.guids_valid = true;
  p.guids = {{-5, "{0A1B-guid}"}, {LLONG_MAX, "x"}};
  return p;
}

std::string document(const Problem& p) {
  std::string text;
  gvk_json::write_document(p, text);
  return text;
}

Problem read(const std::string& text) {
  Problem p;
  std::string error;
  EXPECT_TRUE(gvk_json::read_document(text, p, error)) << error;
  return p;
}

std::string file_text(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

std::string temporary_path(const std::string& name) {
  const std::string path = testing::TempDir() + "gravok_json_" + name + ".json";
  std::remove(path.c_str());
  return path;
}

TEST(JsonDocument, WrittenReadAndWrittenAgainGivesTheSameBytes) {
  for (const Problem& p : {Problem(), rich_problem()}) {
    const std::string first = document(p);
    EXPECT_EQ(document(read(first)), first);
  }
}

// A text is written as a JSON string when it is UTF-8, and as its bytes in hex when
// it is not: each sequence length at both ends of its range, and the first sequences
// past each edge (overlong, surrogate, beyond U+10FFFF, cut short). Control
// characters are escaped, never written as they are.
TEST(JsonDocument, TextIsAStringExactlyWhenItIsUtf8) {
  struct Case {
    std::string text, written;
  };
  const Case cases[] = {
      {"\x7f", "\"\x7f\""},
      {"\xc2\x80", "\"\xc2\x80\""},
      {"\xdf\xbf", "\"\xdf\xbf\""},
      {"\xe0\xa0\x80", "\"\xe0\xa0\x80\""},
      {"\xed\x9f\xbf", "\"\xed\x9f\xbf\""},
      {"\xee\x80\x80", "\"\xee\x80\x80\""},
      {"\xf0\x90\x80\x80", "\"\xf0\x90\x80\x80\""},
      {"\xf4\x8f\xbf\xbf", "\"\xf4\x8f\xbf\xbf\""},
      {"\x1f\n\"\\", R"("\u001f\u000a\"\\")"},
      {"\x80", R"({"bytes": "80"})"},
      {"\xc1\xbf", R"({"bytes": "c1bf"})"},
      {"\xe0\x9f\xbf", R"({"bytes": "e09fbf"})"},
      {"\xed\xa0\x80", R"({"bytes": "eda080"})"},
      {"\xf0\x8f\xbf\xbf", R"({"bytes": "f08fbfbf"})"},
      {"\xf4\x90\x80\x80", R"({"bytes": "f4908080"})"},
      {"\xf5\x80\x80\x80", R"({"bytes": "f5808080"})"},
      {"a\xe0\xa0", R"({"bytes": "61e0a0"})"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.written);
    Problem p;
    p.hostcad_version = c.text;
    const std::string text = document(p);
    EXPECT_NE(text.find("\"hostcad_version\": " + c.written + ","), std::string::npos)
        << text.substr(0, 120);
    EXPECT_EQ(read(text).hostcad_version, c.text);
  }
}

// The rich problem with three surfaces and a description, which version 2 added.
Problem surveyed_problem() {
  Problem p = rich_problem();
  p.surfaces = {
      {0, "EG", p.mesh, p.break_lines},
      {ULLONG_MAX, std::string("\xFF not text", 10), {}, {{1, 2, kInf, 4, 5, 6}}},
      {7, "", {{1}, {2}, {kPayloadNan}, {{0, 0, 0}}, {}}, {}}};
  p.description.coordinate_system.epsg_code = "3007";
  p.description.coordinate_system.wkt = "PROJCS[\"SWEREF99 12 00\"]";
  p.description.coordinate_system.vertical_datum = "RH2000";
  p.description.application_version = "2023";
  p.description.surface_descriptions = {{7, "Existing\nground"}, {ULLONG_MAX, ""}};
  return p;
}

TEST(JsonDocument, VersionTwoCarriesEverySurfaceAndTheDescriptionOnlyWhenThereAreAny) {
  struct Case {
    Problem problem;
    const char* version;
  };
  Problem described = rich_problem();
  described.description.application_name = "Site designer";
  const Case cases[] = {{Problem(), "\"version\": 1,"},
                        {rich_problem(), "\"version\": 1,"},
                        {described, "\"version\": 2,"},
                        {surveyed_problem(), "\"version\": 2,"}};
  for (const Case& c : cases) {
    const std::string text = document(c.problem);
    EXPECT_NE(text.find(c.version), std::string::npos) << text.substr(0, 60);
    const Problem back = read(text);
    const std::vector<std::string> differences = gvk::compare_problems(c.problem, back);
    EXPECT_TRUE(differences.empty()) << differences.front();
    EXPECT_EQ(document(back), text);
  }
}

TEST(JsonDocument, ExampleDocumentReads) {
  Problem p;
  std::string error;
  ASSERT_TRUE(gvk_json::read_file(GRAVOK_JSON_EXAMPLE, p, error)) << error;
  EXPECT_EQ(p.elements.at(Pond).complex.int_lists.at(0).at(1), 4);
}

// The records and settings a recording store takes in from copyFrom and copyAllFrom,
// as one comparable text: the store's call log, then every kept value by its bits.
std::string received(gvk_test::Recorder& store, const gvk_test::CallLog& log) {
  std::ostringstream out;
  for (const std::string& call : log.calls)
    if (call.rfind("store.", 0) == 0) out << call << '\n';
  auto bytes = [&out](const void* data, std::size_t size) {
    const auto* p = static_cast<const unsigned char*>(data);
    for (std::size_t i = 0; i < size; ++i) out << int(p[i]) << ',';
    out << '\n';
  };
  for (const auto* v :
       {&store.x, &store.y, &store.z, &store.max_slopes, &store.min_slopes})
    for (std::uint64_t bits : bit_patterns(*v)) out << bits << ',';
  bytes(store.triangles.data(), store.triangles.size() * sizeof(gvk::Triangle));
  bytes(store.triangle_info.data(),
        store.triangle_info.size() * sizeof(gravok_triangle_info));
  bytes(store.objectives.data(), store.objectives.size() * sizeof(gravok_objective));
  for (const auto& [kind, records] : store.elements) {
    out << kind << ':';
    bytes(records.data(), records.size() * sizeof(gravok_grading_element));
  }
  for (double d : {store.max_slope, store.min_slope, store.epsilon, store.metric.value})
    out << bit_patterns({d})[0] << ',';
  out << store.metric.kind << store.metric.flag_a << store.metric.flag_b
      << store.fixed_boundary << store.volume_constraint << ','
      << store.max_iteration_count;
  return out.str();
}

TEST(JsonSource, TransfersTheSameCallsAndBitsAsTheSourceItWasDumpedFrom) {
  gvk_test::CallLog source_log;
  gvk_test::Recorder original(source_log, "source", {1000.5, -2000.25, 10});
  original.x = {1.0, -0.0, kPayloadNan};
  original.y = {2.0, 3.0, -kInf};
  original.z = {0.5, 1e-310, 7};
  original.triangles = {{0, 1, 2}, {2, 1, 0}};
  original.triangle_info = blocks<gravok_triangle_info>(2, 9);
  original.elements[LowPoint] = {record({1, 2, -0.0, 4, 5, 6})};
  original.elements[BoundedPoint] = {record({1, 2, 3, 4, 5, kInf})};
  original.elements[Offset] = {record({1, 2, 3, 4, 5, 6}), record({})};
  original.elements[DrainLine] = {record({})};
  original.lists[DrainLine] = {{1.25, -3.5}, {}};
  original.elements[Curb] = {record({0.1, 0.2, 0.3, 0.4, 0.5, 0.6})};
  original.lists[Pathway] = {{1e308}};
  original.max_slopes = {-0.0, kNegativeNan};

  Problem dumped;
  gvk::snapshot(original, dumped);
  gvk::ProblemSource json(read(document(dumped)));

  for (auto transfer : {&gvk::DataStore::copyFrom, &gvk::DataStore::copyAllFrom}) {
    gvk_test::CallLog from_original_log, from_json_log;
    gvk_test::Recorder from_original(from_original_log, "store", {3, 4, 5});
    gvk_test::Recorder from_json(from_json_log, "store", {3, 4, 5});
    (from_original.*transfer)(original);
    (from_json.*transfer)(json);
    EXPECT_EQ(received(from_json, from_json_log),
              received(from_original, from_original_log));
  }
}

TEST(JsonStore, KeepsEverythingTheCompleteTransferHandsIt) {
  Problem p = rich_problem();
  p.surface_ids.clear();  // surfaces and GUIDs are not transferred
  p.surface_names.clear();
  p.guids.clear();
  p.guids_valid = false;
  p.elements.erase(static_cast<GradingElementType>(1000));  // nor unnamed kinds
  gvk::ProblemSource source(p);
  const std::string path = temporary_path("complete");
  std::string error;
  auto store = gvk_json::open_store("json:" + path, error);
  ASSERT_TRUE(store) << error;
  store->copyAllFrom(source);
  EXPECT_EQ(file_text(path), document(p));
}

TEST(JsonStore, WritesWhenTheBracketClosesAndOnASetterOutsideOne) {
  const std::string path = temporary_path("brackets");
  std::string error;
  auto store = gvk_json::open_store(path, error);
  ASSERT_TRUE(store) << error;
  store->beginBulkOperation();
  store->beginBulkOperation();
  store->set_max_slope(0.5);
  store->endBulkOperation();
  EXPECT_EQ(file_text(path), "") << "an inner bracket closing writes nothing";
  store->endBulkOperation();
  EXPECT_EQ(read(file_text(path)).max_slope, 0.5);
  store->set_epsilon(0.25);
  EXPECT_EQ(read(file_text(path)).epsilon, 0.25);
}

// A write that fails reaches whoever made the store write: the caller of the transfer
// at the closing bracket, the caller of a setter outside a bracket. The system's
// reason comes with it, and an earlier document stays as it was.
TEST(JsonStore, AFailedWriteThrowsTheSystemsReasonAndKeepsTheOldDocument) {
  const std::string folder = testing::TempDir() + "gravok_json_failing";
  std::filesystem::remove_all(folder);
  std::filesystem::create_directories(folder);
  const std::string old_path = folder + "/old.json";
  gvk_json::write_file(rich_problem(), old_path);
  const std::string old_text = file_text(old_path);
  struct Case {
    std::string path;
    std::function<void(gvk::DataStore&)> write;
    std::string what;
  };
  gvk::ProblemSource source(rich_problem());
  const std::string missing = folder + "/no_such_dir/site.json";
  const Case cases[] = {
    {missing, [&](gvk::DataStore& s) { s.copyAllFrom(source); },
     "cannot write " + missing + ": No such file or directory"},
    {missing, [](gvk::DataStore& s) { s.set_epsilon(0.5); },
     "cannot write " + missing + ": No such file or directory"},
#if !defined(_WIN32)  // where Windows gives its own words and code
    // The rename fails: a folder named like the document cannot be replaced.
    {folder, [&](gvk::DataStore& s) { s.copyFrom(source); },
     "cannot write " + folder + ": Is a directory"},
#endif
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    gvk_json::JsonStore store(c.path, gvk::Problem());
    try {
      c.write(store);
      ADD_FAILURE() << "written";
    } catch (const std::system_error& e) {
      EXPECT_EQ(e.what(), c.what);
    }
    EXPECT_EQ(file_text(old_path), old_text);
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
      names.push_back(entry.path().filename().string());
    EXPECT_EQ(names, std::vector<std::string>{"old.json"}) << "no temporary file left";
  }
}

TEST(JsonStore, CreatedForAnExistingDocumentChangesNothingAndAnswersIt) {
  const std::string path = temporary_path("existing");
  const Problem p = rich_problem();
  std::string error;
  gvk_json::write_file(p, path);
  const std::string before = file_text(path);

  ASSERT_EQ(gvk_json::register_providers(), 2);
  std::unique_ptr<gvk::DataStore> store = gvk::createDataStore(path);
  std::unique_ptr<gvk::DataSource> source = gvk::createDataSource("json:" + path);
  ASSERT_TRUE(store && source);
  EXPECT_EQ(file_text(path), before);
  for (gvk::DataSource* answers :
       {static_cast<gvk::DataSource*>(store.get()), source.get()}) {
    Problem seen;
    gvk::snapshot(*answers, seen, {-5, LLONG_MAX, 3});
    seen.elements[static_cast<GradingElementType>(
        1000)] =  // not a kind a snapshot asks for
        p.elements.at(static_cast<GradingElementType>(1000));
    EXPECT_EQ(document(seen), before);
  }
  EXPECT_EQ(gvk_json::unregister_providers(), 2);
}

TEST(JsonProviders, RefuseWhatTheyCannotOpenAndSayWhy) {
  const std::string broken = temporary_path("broken");
  std::ofstream(broken) << "{\"format\": \"gravok-problem\", \"version\": 1, \"mesh\": [";
  struct Case {
    std::string location;
    bool store_opens;
    std::string message;
  };
  const Case cases[] = {
      {"problem.txt", false, "problem.txt: not a JSON location"},
      {"json:", false, "json:: not a JSON location"},
      {temporary_path("missing"), true,
       temporary_path("missing") + ": No such file or directory"},
      {"json:" + testing::TempDir(), false, testing::TempDir() + ": Is a directory"},
      {"json:" + broken, false,
       broken + ": line 1, column 53: not a readable JSON document"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.location);
    std::string error;
    EXPECT_FALSE(gvk_json::open_source(c.location, error));
    EXPECT_NE(error.find(c.message), std::string::npos) << error;
    EXPECT_EQ(static_cast<bool>(gvk_json::open_store(c.location, error)), c.store_opens);
    gvk_json::JsonStoreProvider provider;
    EXPECT_FALSE(provider.createDataSource(c.location));
    // Through the registry, a location the providers recognise comes with its reason,
    // once although both providers gave it; one they do not recognise with none.
    ASSERT_EQ(gvk_json::register_providers(), 2);
    std::vector<std::string> reasons;
    EXPECT_FALSE(gvk::createDataSource(c.location, reasons));
    const bool recognised = !gvk_json::location_path(c.location).empty();
    EXPECT_EQ(reasons,
              recognised ? std::vector<std::string>{error} : std::vector<std::string>{});
    EXPECT_EQ(gvk_json::unregister_providers(), 2);
  }
  EXPECT_NE(file_text(broken).size(), 0u) << "a broken document is left as it was";
}

TEST(JsonDocument, BadDocumentsNameThePlaceAndWhatWasExpected) {
  const std::string head = R"({"format": "gravok-problem", "version": 1, )";
  struct Case {
    std::string text;
    std::string message;
  };
  const Case cases[] = {
      {"", "line 1, column 1: not a readable JSON document"},
      {head + "\n" + R"("mesh": {"x": [1, 2)", "line 2, column 20: not a readable JSON"},
      {head + R"("settings": {"max_slope": 1e999}})",
       "line 1, column 70: not a readable"},
      {head + R"("settings": {"max_slope": 1,}})", "line 1, column 72: not a readable"},
      // 32 levels, the document's object and 31 arrays, are read; 33 are not.
      {head + R"("break_lines": )" + std::string(31, '[') + std::string(31, ']') + "}",
       "/break_lines/0/0: expected a number"},
      {head + R"("break_lines": )" + std::string(32, '[') + std::string(32, ']') + "}",
       "(at most 32 levels)"},
      {"[1]", "the document: expected an object"},
      {R"({"version": 1})", "the document: missing member \"format\""},
      {R"({"format": "other", "version": 1})", "/format: expected \"gravok-problem\""},
      {R"({"format": "gravok-problem", "version": 3})", "/version: version 3 is not one"},
      {head + R"("all_surfaces": [{"id": 1}, {"id": 1}]})",
       "/all_surfaces/1/id: surface id given twice"},
      {head + R"("all_surfaces": [{"name": "A"}]})",
       "/all_surfaces/0: missing member \"id\""},
      {head + R"("all_surfaces": [{"id": 0, "mesh": {"x": [true]}}]})",
       "/all_surfaces/0/mesh/x/0: expected a number"},
      {head + R"("description": {"surfaces": [{"id": 4}]}})",
       "/description/surfaces/0: missing member \"description\""},
      {head + R"("description": {"coordinate_system": {"epsg": "3007"}}})",
       "/description/coordinate_system/epsg: unknown member"},
      {head + R"("mesh": {"x": [1, "a"]}})", "/mesh/x/1: expected a number"},
      {head + R"("mesh": {"triangles": [[0, 1, -2]]}})",
       "/mesh/triangles/0/2: expected an integer from 0 to 18446744073709551615"},
      {head + R"("mesh": {"triangles": [[0, 1]]}})",
       "/mesh/triangles/0: expected three vertex indices"},
      {head + R"("mesh": {"triangle_info": ["00"]}})",
       "/mesh/triangle_info/0: expected a string of 80 hex digits"},
      {head + R"("elements": {"DrainLine": {"records": [], "xs": [[1, true]]}}})",
       "/elements/DrainLine/xs/0/1: expected a number"},
      {head + R"("elements": {"DrainLine": {"xs": []}}})",
       "/elements/DrainLine: missing member \"records\""},
      {head + R"("elements": {"Swamp": {"records": []}}})",
       "/elements/Swamp: not a kind"},
      {head + R"("elements": {"LowPoint": {"records": [{"location": [1, 2]}]}}})",
       "/elements/LowPoint/records/0/location: expected six numbers"},
      {head + R"("settings": {"max_slop": 1}})", "/settings/max_slop: unknown member"},
      {head + R"("settings": {"epsilon": 1, "epsilon": 2}})",
       "/settings/epsilon: member given twice"},
      {head + R"("settings": {"volume_constraint": 3000000000}})",
       "/settings/volume_constraint: expected an integer from -2147483648 to 2147483647"},
      {head + R"("settings": {"epsilon": "nan:0x0000000000000001"}})",
       "/settings/epsilon: expected a number or \"inf\""},
      {head + R"("guids": {"map": [{"uid": 1}]}})",
       "/guids/map/0: missing member \"guid\""},
      {head + R"("units": {"a/b~": 1}})", "/units/a~1b~0: unknown member"},
      {head + R"("origin": [1, 2]})", "/origin: expected three numbers x, y, z"},
      // A bad digit in the first block of four bytes, and in the bytes after the last.
      {head + R"("hostcad_version": {"bytes": "4g414243"}})",
       "/hostcad_version/bytes: expected hexadecimal digits"},
      {head + R"("hostcad_version": {"bytes": "41424344g0"}})",
       "/hostcad_version/bytes: expected hexadecimal digits"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    Problem p;
    std::string error;
    EXPECT_FALSE(gvk_json::read_document(c.text, p, error));
    EXPECT_NE(error.find(c.message), std::string::npos) << error;
  }
}

TEST(JsonPlugin, ModuleRegistersProvidersThatOpenDocuments) {
  const std::string path = temporary_path("module");
  std::string error;
  std::unique_ptr<gvk::PluginModule> module =
      gvk::PluginModule::load(GRAVOK_JSON_PLUGIN, error);
  ASSERT_TRUE(module) << error;
  EXPECT_EQ(module->provider_count(), 2);
  {
    EXPECT_FALSE(gvk::createDataSource(path))
        << "a missing document is not an empty problem";
    std::unique_ptr<gvk::DataStore> store = gvk::createDataStore(path);
    ASSERT_TRUE(store);
    gvk::ProblemSource problem(rich_problem());
    store->copyAllFrom(problem);
    std::unique_ptr<gvk::DataSource> source = gvk::createDataSource(path);
    ASSERT_TRUE(source);
    EXPECT_EQ(source->get_min_slope(), -kInf);
    EXPECT_EQ(source->get_hostcad_version(), rich_problem().hostcad_version);
  }
  EXPECT_EQ(module->unload(), 0) << "the module unregisters what it registered";
  EXPECT_TRUE(gvk::dataSourceProviders().empty());
}

}  // namespace
