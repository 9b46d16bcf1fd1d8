// The problem as a value: filled from a source, served by ProblemSource, received by
// ProblemStore, and compared bit for bit.
#include <gravok/element_types.h>
#include <gravok/hand_over.h>
#include <gravok/problem.h>

#include "recording_store.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <string>
#include <vector>

namespace {

using gvk::Problem;

const double kInf = std::numeric_limits<double>::infinity();
const double kNan = std::numeric_limits<double>::quiet_NaN();

gravok_grading_element record(double a, double b, unsigned char tag) {
  gravok_grading_element e{};
  e.location[0] = a;
  e.location[1] = b;
  e.attributes[0] = tag;
  e.trailer[119] = tag;
  return e;
}

// Something in every part a source answers, with values that copying loses most
// easily (NaN, infinities, the extreme integers), at a state-plane origin.
Problem rich_problem() {
  Problem p;
  p.hostcad_version = "Host 7";
  p.linear_unit = gvk::store_unit(gvk::Known<1>(4));
  p.area_unit = gvk::store_unit(gvk::Known<2>(4));
  p.volume_unit = gvk::store_unit(gvk::Known<3>(5));
  p.xorig = 2000000.5;
  p.yorig = 500000.25;
  p.zorig = 100;
  p.fix_boundary = false;
  p.max_slope = 0.5;
  p.min_slope = kNan;
  p.volume_constraint = static_cast<VolumeConstraint>(2);
  p.max_slopes = {0.25, kInf};
  p.min_slopes = {0.01};
  p.metric = {3, 2.75, true, false};
  p.max_iteration_count = LLONG_MAX;
  p.epsilon = 1e-9;
  p.objectives.resize(2);
  p.objectives[1].data[23] = 9;
  p.break_lines = {{0, 0, 1, 10, 0, 2}};
  p.mesh.x = {0, 10, 10, 0};
  p.mesh.y = {0, 0, 10, 10};
  p.mesh.z = {1, 2, 3, kNan};
  p.mesh.triangles = {{0, 1, 2}, {0, 2, 3}};
  p.mesh.triangle_info.resize(2);
  p.mesh.triangle_info[1].data[0] = 7;
  unsigned char tag = 1;
  for (GradingElementType kind : gvk::allElementTypes()) {
    gvk::ElementSet& set = p.elements[kind];
    set.records = {record(1, 2, tag++), record(3, 4, tag++)};
    if (kind == LowPoint || kind == BoundedPoint || kind == Offset) continue;
    set.xs = {{1, 2}, {3}};
    set.ys = {{5, 6}, {7}};
    if (kind >= 100) set.complex.int_lists = {{kind, INT32_MIN}};
  }
  p.elements[ParkingLot].records = {record(5, 6, tag++)};
  p.elements[ParkingLot].complex.double_lists_11 = {{kNan}};
  p.guids_valid = true;
  p.guids = {{42, "{guid-42}"}};
  p.description.coordinate_system = {"3007",      "PROJCS[\"x\"]", "",      "SWEREF 99",
                                     "SWEREF-99", "SWEREF99",      "RH2000"};
  p.description.application_name = "Site designer";
  p.description.application_version = "2023";
  return p;
}

// The same problem with a second and third surface, its main mesh the first one's.
Problem surveyed_problem() {
  Problem p = rich_problem();
  p.surfaces = {{1, "A", p.mesh, p.break_lines},
                {2, "B", {{0, 5}, {0, 5}, {9, 9}, {}, {}}, {}},
                {3, "C", {}, {{1, 1, 1, 2, 2, 2}}}};
  p.surface_ids = {1, 2, 3};
  p.surface_names = {"A", "B", "C"};
  p.description.surface_descriptions = {{2, "the surveyed ground"}};
  return p;
}

Problem snapshot_of(gvk::DataSource& source) {
  Problem p;
  gvk::snapshot(source, p, {42, 7});
  return p;
}

std::string lines(const std::vector<std::string>& all) {
  std::string text;
  for (const std::string& line : all) text += line + "\n";
  return text;
}

TEST(Problem, DefaultAnswersWhatABareSourceAnswers) {
  gvk::DataSource bare;
  EXPECT_EQ(lines(gvk::compare_problems(snapshot_of(bare), Problem())), "");
}

TEST(ProblemSource, AnswersEveryPartSoThatASnapshotGivesTheProblemBack) {
  for (const Problem& p : {Problem(), rich_problem(), surveyed_problem()}) {
    gvk::ProblemSource source(p);
    EXPECT_EQ(lines(gvk::compare_problems(p, snapshot_of(source))), "");
  }
}

TEST(ProblemSource, GettersAppendToWhatTheCallerPassed) {
  gvk::ProblemSource source(rich_problem());
  std::vector<double> x = {-1}, y, z;
  std::vector<gvk::Triangle> triangles;
  std::vector<gravok_triangle_info> info;
  source.get_eg_data(x, y, z, triangles, info);
  EXPECT_EQ(x, (std::vector<double>{-1, 0, 10, 10, 0}));
  std::vector<gravok_grading_element> elements(1);
  std::vector<std::vector<double>> xs(1), ys;
  gvk::DataSource::ComplexElementData complex;
  complex.int_lists = {{1}};
  source.get_grading_elements(Curb, elements, xs, ys, complex);
  EXPECT_EQ(elements.size(), 3u);
  EXPECT_EQ(xs.size(), 3u);
  EXPECT_EQ(complex.int_lists.size(), 2u);
}

TEST(ProblemSource, SelectsSurfacesByIdAndKeepsTheMainOneOtherwise) {
  gvk::ProblemSource source(surveyed_problem());
  std::vector<unsigned long long> ids;
  std::vector<std::string> names;
  source.get_surfaces(ids, names);
  EXPECT_EQ(ids, (std::vector<unsigned long long>{1, 2, 3}));
  EXPECT_EQ(names, (std::vector<std::string>{"A", "B", "C"}));
  struct Case {
    std::function<void(gvk::ProblemSource&)> act;
    std::size_t vertices;
    std::size_t break_lines;
  };
  const Case cases[] = {
      {[](gvk::ProblemSource&) {}, 4, 1},
      {[](gvk::ProblemSource& s) { s.select_surface(2); }, 2, 0},
      {[](gvk::ProblemSource& s) { s.select_surface(99); }, 2, 0},  // unknown: kept
      {[](gvk::ProblemSource& s) { s.select_surface(3); }, 0, 1},
      // The selected surface gone from the problem: the main mesh answers again.
      {[](gvk::ProblemSource& s) { s.problem().surfaces.pop_back(); }, 4, 1},
  };
  for (const Case& c : cases) {
    c.act(source);
    std::vector<double> x, y, z;
    std::vector<gvk::Triangle> triangles;
    std::vector<gravok_triangle_info> info;
    source.get_eg_data(x, y, z, triangles, info);
    std::vector<gravok_line_3d> lines;
    source.get_break_lines(lines);
    EXPECT_EQ(x.size(), c.vertices);
    EXPECT_EQ(lines.size(), c.break_lines);
    EXPECT_EQ(source.get_xorig(), 2000000.5) << "one origin for every surface";
  }
}

TEST(ProblemStore, KeepsEverythingTheCompleteTransferHandsIt) {
  for (Problem p : {rich_problem(), surveyed_problem()}) {
    Problem start;  // the store at the source's origin receives coordinates unchanged
    start.xorig = p.xorig;
    start.yorig = p.yorig;
    start.zorig = p.zorig;
    gvk::ProblemSource source(p);
    gvk::ProblemStore store(start);
    store.copyAllFrom(source);
    p.guids_valid = false;  // the one part a transfer leaves behind
    p.guids.clear();
    Problem received = store.problem();
    EXPECT_EQ(lines(gvk::compare_problems(p, received)), "");
    gvk::ProblemSource again(received);
    EXPECT_EQ(lines(gvk::compare_problems(received, snapshot_of(again))), "");
  }
}

TEST(ProblemStore, ReceivesAbsoluteValuesAtItsOwnOrigin) {
  gvk::ProblemSource source(rich_problem());
  gvk::ProblemStore store;  // origin zero
  store.copyAllFrom(source);
  const Problem& p = store.problem();
  EXPECT_EQ(p.mesh.x[1], 2000010.5);
  EXPECT_EQ(p.mesh.y[2], 500010.25);
  EXPECT_EQ(p.mesh.z[0], 101);
  EXPECT_EQ(p.elements.at(DrainLine).xs[0][1], 2000002.5);
  EXPECT_EQ(p.elements.at(LowPoint).records[0].location[0], 2000001.5);
  EXPECT_EQ(p.break_lines[0].x2, 2000010.5);
}

// Counts the notifications a store that writes its problem somewhere relies on.
class CountingStore : public gvk::ProblemStore {
 public:
  mutable int changes = 0;

 protected:
  void problem_changed() const override { ++changes; }
};

TEST(ProblemStore, EverySetterReplacesItsPartAndTellsOnce) {
  using Set = std::function<void(gvk::DataStore&)>;
  const std::vector<gravok_grading_element> one = {record(1, 1, 1)};
  struct Case {
    const char* name;
    Set set;
    std::function<bool(const Problem&)> kept;
  };
  const Case cases[] = {
      {"set_units",
       [](gvk::DataStore& s) {
         s.set_units(gvk::Known<1>(2), gvk::Known<2>(2), gvk::Known<3>(2));
       },
       [](const Problem& p) { return p.linear_unit.name == "meter"; }},
      {"set_eg_data", [](gvk::DataStore& s) { s.set_eg_data({1}, {2}, {3}, {}, {}); },
       [](const Problem& p) { return p.mesh.x.size() == 1; }},
      {"set_break_lines", [](gvk::DataStore& s) { s.set_break_lines({{}}); },
       [](const Problem& p) { return p.break_lines.size() == 1; }},
      {"set_objectives", [](gvk::DataStore& s) { s.set_objectives({{}}); },
       [](const Problem& p) { return p.objectives.size() == 1; }},
      {"set_grading_elements",
       [&one](gvk::DataStore& s) { s.set_grading_elements(BendLine, one); },
       [](const Problem& p) { return p.elements.at(BendLine).xs.empty(); }},
      {"set_complex_elements",
       [&one](gvk::DataStore& s) { s.set_complex_elements(Curb, one); },
       [](const Problem& p) { return p.elements.at(Curb).complex.int_lists.empty(); }},
      {"set_fix_boundary", [](gvk::DataStore& s) { s.set_fix_boundary(true); },
       [](const Problem& p) { return p.fix_boundary; }},
      {"set_max_slope", [](gvk::DataStore& s) { s.set_max_slope(1); },
       [](const Problem& p) { return p.max_slope == 1; }},
      {"set_min_slope", [](gvk::DataStore& s) { s.set_min_slope(1); },
       [](const Problem& p) { return p.min_slope == 1; }},
      {"set_volume_constraint",
       [](gvk::DataStore& s) {
         s.set_volume_constraint(static_cast<VolumeConstraint>(1));
       },
       [](const Problem& p) { return p.volume_constraint == 1; }},
      {"set_max_slopes", [](gvk::DataStore& s) { s.set_max_slopes({}); },
       [](const Problem& p) { return p.max_slopes.empty(); }},
      {"set_min_slopes", [](gvk::DataStore& s) { s.set_min_slopes({}); },
       [](const Problem& p) { return p.min_slopes.empty(); }},
      {"set_mesh_metric",
       [](gvk::DataStore& s) {
         s.set_mesh_metric({9, 0, 0, 0});
       },
       [](const Problem& p) { return p.metric.kind == 9; }},
      {"set_max_iteration_count", [](gvk::DataStore& s) { s.set_max_iteration_count(3); },
       [](const Problem& p) { return p.max_iteration_count == 3; }},
      {"set_epsilon", [](gvk::DataStore& s) { s.set_epsilon(4); },
       [](const Problem& p) { return p.epsilon == 4; }},
      {"set_hostcad_version", [](gvk::DataStore& s) { s.set_hostcad_version("v"); },
       [](const Problem& p) { return p.hostcad_version == "v"; }},
      {"set_transferred_grading_elements",
       [&one](gvk::DataStore& s) {
         s.set_transferred_grading_elements(Pond, one, {{1}}, {{2}}, {});
       },
       [](const Problem& p) { return p.elements.at(Pond).xs.size() == 1; }},
      {"set_description",
       [](gvk::DataStore& s) {
         gvk::ProblemDescription d;
         d.coordinate_system.epsg_code = "1";
         dynamic_cast<gvk::DescribedStore&>(s).set_description(d);
       },
       [](const Problem& p) { return p.description.coordinate_system.epsg_code == "1"; }},
      {"set_surfaces",
       [](gvk::DataStore& s) {
         dynamic_cast<gvk::SurfaceStore&>(s).set_surfaces({{5, "five", {}, {}}});
       },
       [](const Problem& p) { return p.surface_ids.at(0) == 5; }},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    CountingStore store;
    store.problem() = rich_problem();
    c.set(store);
    EXPECT_EQ(store.changes, 1);
    EXPECT_TRUE(c.kept(store.problem()));
  }
}

// Visits every part compare_problems compares, each under the path it reports it by,
// and changes the n-th one: a value to another bit pattern (0 to -0, a NaN to another
// payload, an integer or a character more), the last byte of a record, or, when
// growing, a list or a map by one entry. Visiting twice changes nothing.
class ChangeOne {
 public:
  ChangeOne(std::size_t n, bool grow) : m_left(n), m_grow(grow) {}
  std::string path;  // of the part changed, empty while none is

  void leaf(const std::string& at, double& v) {
    if (!take(at)) return;
    std::uint64_t bits;
    std::memcpy(&bits, &v, sizeof bits);
    bits ^= std::isnan(v) ? 1 : (v == 0 ? std::uint64_t{1} << 63 : 1);
    std::memcpy(&v, &bits, sizeof v);
  }
  template <class Integer>
  void leaf(const std::string& at, Integer& v) {
    // The lowest bit flipped: a change whatever the value, the largest included.
    if (take(at)) v = static_cast<Integer>(v ^ 1);
  }
  void leaf(const std::string& at, bool& v) {
    if (take(at)) v = !v;
  }
  void leaf(const std::string& at, std::string& v) {
    if (take(at)) v += "x";
  }
  template <class Record>
  void record(const std::string& at, Record& r) {
    if (take(at)) reinterpret_cast<unsigned char*>(&r)[sizeof r - 1] ^= 1;
  }
  template <class T>
  void grow(const std::string& at, std::vector<T>& v) {
    if (m_grow && take(at)) v.emplace_back();
  }
  template <class T>
  void list(const std::string& at, std::vector<T>& v) {
    if (m_grow) return grow(at, v);
    for (std::size_t i = 0; i < v.size(); ++i) part(at + "/" + std::to_string(i), v[i]);
  }
  void triangles(const std::string& at, std::vector<gvk::Triangle>& v) {
    if (m_grow) return grow(at, v);
    for (std::size_t i = 0; i < v.size(); ++i)
      for (int c = 0; c < 3; ++c)
        leaf(at + "/" + std::to_string(i) + "/" + std::to_string(c), v[i][c]);
  }
  template <class Record>
  void records(const std::string& at, std::vector<Record>& v) {
    if (m_grow) return grow(at, v);
    for (std::size_t i = 0; i < v.size(); ++i) record(at + "/" + std::to_string(i), v[i]);
  }

 private:
  template <class T>
  void part(const std::string& at, std::vector<T>& v) {
    list(at, v);
  }
  template <class T>
  void part(const std::string& at, T& v) {
    if (!m_grow) leaf(at, v);
  }
  bool take(const std::string& at) {
    if (!path.empty() || m_left-- != 0) return false;
    path = at;
    return true;
  }
  std::size_t m_left;
  bool m_grow;
};

void visit_unit(ChangeOne& c, const std::string& at, gvk::StoredUnit& u) {
  c.leaf(at + "/type", u.type);
  c.leaf(at + "/qualifier", u.qualifier);
  c.list(at + "/conversions", u.conversions);
  c.leaf(at + "/name", u.name);
  c.leaf(at + "/abbreviation", u.abbreviation);
}

void visit_mesh(ChangeOne& c, const std::string& at, gvk::Mesh& m) {
  c.list(at + "/x", m.x);
  c.list(at + "/y", m.y);
  c.list(at + "/z", m.z);
  c.triangles(at + "/triangles", m.triangles);
  c.records(at + "/triangle_info", m.triangle_info);
}

void visit(ChangeOne& c, Problem& p) {
  c.leaf("/hostcad_version", p.hostcad_version);
  visit_unit(c, "/units/linear", p.linear_unit);
  visit_unit(c, "/units/area", p.area_unit);
  visit_unit(c, "/units/volume", p.volume_unit);
  c.leaf("/origin/0", p.xorig);
  c.leaf("/origin/1", p.yorig);
  c.leaf("/origin/2", p.zorig);
  c.leaf("/settings/fix_boundary", p.fix_boundary);
  c.leaf("/settings/max_slope", p.max_slope);
  c.leaf("/settings/min_slope", p.min_slope);
  auto constraint = static_cast<std::int32_t>(p.volume_constraint);
  c.leaf("/settings/volume_constraint", constraint);
  p.volume_constraint = static_cast<VolumeConstraint>(constraint);
  c.list("/settings/max_slopes", p.max_slopes);
  c.list("/settings/min_slopes", p.min_slopes);
  c.leaf("/settings/mesh_metric/kind", p.metric.kind);
  c.leaf("/settings/mesh_metric/value", p.metric.value);
  c.leaf("/settings/mesh_metric/flag_a", p.metric.flag_a);
  c.leaf("/settings/mesh_metric/flag_b", p.metric.flag_b);
  c.leaf("/settings/max_iteration_count", p.max_iteration_count);
  c.leaf("/settings/epsilon", p.epsilon);
  c.list("/surfaces/ids", p.surface_ids);
  c.list("/surfaces/names", p.surface_names);
  c.grow("/all_surfaces", p.surfaces);
  for (std::size_t i = 0; i < p.surfaces.size(); ++i) {
    const std::string at = "/all_surfaces/" + std::to_string(i);
    c.leaf(at + "/id", p.surfaces[i].id);
    c.leaf(at + "/name", p.surfaces[i].name);
    visit_mesh(c, at + "/mesh", p.surfaces[i].mesh);
    c.records(at + "/break_lines", p.surfaces[i].break_lines);
  }
  c.records("/objectives", p.objectives);
  c.records("/break_lines", p.break_lines);
  visit_mesh(c, "/mesh", p.mesh);
  for (auto& [kind, set] : p.elements) {
    const char* name = gvk::element_type_name(kind);
    const std::string at = "/elements/" + (*name ? name : std::to_string(kind));
    c.records(at + "/records", set.records);
    c.list(at + "/xs", set.xs);
    c.list(at + "/ys", set.ys);
    gvk::DataSource::ComplexElementData& x = set.complex;
    std::vector<std::vector<double>>* lists[] = {
        &x.double_lists_1, &x.double_lists_2,  &x.double_lists_3, &x.double_lists_4,
        &x.double_lists_5, &x.double_lists_6,  &x.double_lists_7, &x.double_lists_8,
        &x.double_lists_9, &x.double_lists_10, &x.double_lists_11};
    for (int i = 0; i < 11; ++i)
      c.list(at + "/complex/double_lists_" + std::to_string(i + 1), *lists[i]);
    c.list(at + "/complex/int_lists", x.int_lists);
  }
  c.leaf("/guids/valid", p.guids_valid);
  gvk::CoordinateSystem& cs = p.description.coordinate_system;
  const std::string at = "/description/coordinate_system/";
  c.leaf(at + "epsg_code", cs.epsg_code);
  c.leaf(at + "wkt", cs.wkt);
  c.leaf(at + "name", cs.name);
  c.leaf(at + "description", cs.description);
  c.leaf(at + "horizontal_name", cs.horizontal_name);
  c.leaf(at + "horizontal_datum", cs.horizontal_datum);
  c.leaf(at + "vertical_datum", cs.vertical_datum);
  c.leaf("/description/application/name", p.description.application_name);
  c.leaf("/description/application/version", p.description.application_version);
  for (auto& [id, text] : p.description.surface_descriptions)
    c.leaf("/description/surfaces/" + std::to_string(id), text);
}

// Every part of a problem changed in turn, each value and each list's length: exactly
// that part is reported, under its own path. A slip in the comparison (one member
// compared with another, a list's last entry or a record's last byte left out, a
// path misnamed) shows as a missing or a wrong line.
TEST(CompareProblems, ReportsEachChangedPartAndNothingElse) {
  Problem original = surveyed_problem();
  original.mesh.x[0] = 0.0;  // +0 against -0
  original.min_slopes = {0.0};
  original.description.coordinate_system.description = "d";
  original.description.surface_descriptions[3] = "C";
  original.elements[static_cast<GradingElementType>(1000)].xs = {{0.5}};
  EXPECT_EQ(lines(gvk::compare_problems(original, original)), "") << "NaN equals itself";
  for (const bool grow : {false, true}) {
    std::size_t parts = 0;
    for (;; ++parts) {
      Problem changed = original;
      ChangeOne change(parts, grow);
      visit(change, changed);
      if (change.path.empty()) break;
      SCOPED_TRACE(change.path);
      const std::vector<std::string> differences =
          gvk::compare_problems(original, changed);
      ASSERT_EQ(differences.size(), 1u) << lines(differences);
      EXPECT_EQ(differences[0].rfind(change.path + ": ", 0), 0u) << differences[0];
      EXPECT_EQ(lines(gvk::compare_problems(changed, changed)), "");
    }
    EXPECT_GT(parts, grow ? 100u : 200u) << "the problem holds every part";
  }
  // A kind absent from one problem compares as an empty set of that kind.
  Problem more = original;
  more.elements[Curb];
  EXPECT_EQ(lines(gvk::compare_problems(original, more)), "");
  more.elements[static_cast<GradingElementType>(77)].records.resize(1);
  EXPECT_EQ(lines(gvk::compare_problems(original, more)),
            "/elements/77/records: 0 entries != 1 entries\n");
}

// Two surfaces whose points lie 1000 apart, each handed out local to an origin at its
// own first point, as a source that picks an origin per surface does.
class OriginPerSurface : public gvk::DataSource {
 public:
  std::vector<unsigned long long> selected;

  void get_surfaces(std::vector<unsigned long long>& ids,
                    std::vector<std::string>& names) const override {
    ids = {10, 20};
    names = {"near", "far"};
  }
  void select_surface(unsigned long long id) override { selected.push_back(id); }
  void get_eg_data(std::vector<double>& x, std::vector<double>& y, std::vector<double>& z,
                   std::vector<gvk::Triangle>&,
                   std::vector<gravok_triangle_info>&) override {
    x = {0, 0.125};
    y = {0, -0.5};
    z = {0, 1};
  }
  double get_xorig() const override { return far() ? 501000 : 500000; }
  double get_yorig() const override { return far() ? 6401000 : 6400000; }
  double get_zorig() const override { return far() ? 20 : 10; }

 private:
  bool far() const { return !selected.empty() && selected.back() == 20; }
};

TEST(Snapshot, KeepsEverySurfaceAtItsAbsolutePlace) {
  OriginPerSurface source;
  const Problem p = snapshot_of(source);
  ASSERT_EQ(p.surfaces.size(), 2u);
  EXPECT_EQ(source.selected, (std::vector<unsigned long long>{10, 20, 10}))
      << "each surface in turn, then the first again";
  EXPECT_EQ(p.xorig, 500000);
  const gvk::Surface& far = p.surfaces[1];
  EXPECT_EQ(far.id, 20u);
  EXPECT_EQ(far.name, "far");
  EXPECT_EQ(far.mesh.x[1] + p.xorig, 501000.125);
  EXPECT_EQ(far.mesh.y[1] + p.yorig, 6400999.5);
  EXPECT_EQ(far.mesh.z[1] + p.zorig, 21);
  EXPECT_EQ(p.surfaces[0].mesh.x, p.mesh.x) << "the near surface needs no shift";
}

TEST(CopyAllFrom, MovesEachSurfaceByItsOwnOriginIntoAStoreThatKeepsThem) {
  OriginPerSurface source;
  gvk::ProblemStore store;  // origin zero: every value arrives absolute
  store.copyAllFrom(source);
  EXPECT_EQ(source.selected, (std::vector<unsigned long long>{10, 20, 10}));
  const Problem& p = store.problem();
  ASSERT_EQ(p.surfaces.size(), 2u);
  EXPECT_EQ(p.surface_names, (std::vector<std::string>{"near", "far"}));
  EXPECT_EQ(p.surfaces[1].mesh.x, (std::vector<double>{501000, 501000.125}));
  EXPECT_EQ(p.surfaces[1].mesh.y, (std::vector<double>{6401000, 6400999.5}));
  EXPECT_EQ(p.surfaces[0].mesh.z, (std::vector<double>{10, 11}));
  EXPECT_EQ(p.mesh.x, p.surfaces[0].mesh.x);

  // A store that held surfaces keeps none of them from a source that lists none.
  gvk::ProblemStore earlier(surveyed_problem());
  gvk::ProblemSource bare(rich_problem());
  earlier.copyAllFrom(bare);
  EXPECT_TRUE(earlier.problem().surfaces.empty());
  EXPECT_TRUE(earlier.problem().surface_ids.empty());

  gvk_test::CallLog log;
  gvk_test::Recorder plain(log, "store");
  OriginPerSurface untouched;
  plain.copyAllFrom(untouched);
  EXPECT_TRUE(untouched.selected.empty()) << "a store written for 1.0 sees no surfaces";
}

std::size_t vertices_of(gvk::DataSource& source) {
  std::vector<double> x, y, z;
  std::vector<gvk::Triangle> triangles;
  std::vector<gravok_triangle_info> info;
  source.get_eg_data(x, y, z, triangles, info);
  return x.size();
}

// A taking snapshot gives the value a snapshot gives; it moves the meshes out of a
// source that lets them go (only the surfaces' when there are several, the main mesh
// being asked for first) and leaves every other source as it was.
TEST(TakeSnapshot, GivesWhatSnapshotGivesAndEmptiesOnlyTheMeshesItTook) {
  for (const Problem& p : {Problem(), rich_problem(), surveyed_problem()}) {
    gvk::HandOverProblemSource giver(p);
    Problem taken;
    gvk::take_snapshot(giver, taken, {42, 7});
    EXPECT_EQ(lines(gvk::compare_problems(p, taken)), "");
    const Problem& left = giver.problem();
    EXPECT_EQ(left.mesh.x.size(), p.surfaces.empty() ? 0 : p.mesh.x.size());
    EXPECT_TRUE(left.mesh.triangle_info.empty() || !p.surfaces.empty());
    for (const gvk::Surface& s : left.surfaces) EXPECT_TRUE(s.mesh.x.empty()) << s.name;

    gvk::ProblemSource keeper(p);
    Problem copied;
    gvk::take_snapshot(keeper, copied, {42, 7});
    EXPECT_EQ(lines(gvk::compare_problems(p, copied)), "");
    EXPECT_EQ(lines(gvk::compare_problems(p, keeper.problem())), "");
  }
  OriginPerSurface moving;
  Problem taken;
  gvk::take_snapshot(moving, taken);
  EXPECT_EQ(lines(gvk::compare_problems(snapshot_of(moving), taken)), "");
}

TEST(HandOverProblemSource, TakesTheSelectedMeshAndNoOther) {
  gvk::HandOverProblemSource source(surveyed_problem());
  source.select_surface(2);
  source.select_surface(99);  // names no surface: 2 stays current
  std::vector<double> x = {-1}, y, z;
  std::vector<gvk::Triangle> triangles;
  std::vector<gravok_triangle_info> info;
  source.take_eg_data(x, y, z, triangles, info);
  EXPECT_EQ(x, (std::vector<double>{0, 5})) << "replaced, not appended to";
  EXPECT_EQ(z, (std::vector<double>{9, 9}));
  EXPECT_EQ(vertices_of(source), 0u) << "surface 2 has given its mesh away";
  source.select_surface(1);
  EXPECT_EQ(vertices_of(source), 4u);
  EXPECT_EQ(source.problem().mesh.x.size(), 4u) << "the main mesh is not surface 2";
}

TEST(Snapshot, TakesTheDescriptionOfASourceThatGivesOne) {
  Problem p;
  p.description.application_name = "Site designer";
  gvk::ProblemSource described(p);
  gvk::DataSource& source = described;
  EXPECT_EQ(snapshot_of(source).description.application_name, "Site designer");
}

}  // namespace
