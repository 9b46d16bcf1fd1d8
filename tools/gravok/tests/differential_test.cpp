// Every problem of a battery copied from every store's format into every store: the
// real files of tests/data, the demo site, the JSON example, the generated problem of
// roundtrip, and problems made to break writers (NaN, indices out of range, short
// arrays, several surfaces, an empty mesh). Each copy arrives equal within what the
// target holds, is refused with a message and no file, or the target declares the loss
// of each part that differs. A difference no loss declares fails the test.
#include "demo_site.h"
#include "generated_problem.h"
#include "project_stores.h"

#include <gravok/gravok.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

// A folder of the test's own, removed with what it holds at the end: its name carries a
// random token, so that test runs of other build trees on the machine neither write
// into it nor remove it under this one.
class OwnFolder {
 public:
  explicit OwnFolder(const std::string& stem)
      : m_path(fs::path(testing::TempDir()) /
               (stem + "_" + std::to_string(std::random_device{}()))) {
    fs::remove_all(m_path);
    fs::create_directories(m_path);
  }
  ~OwnFolder() {
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
  }
  OwnFolder(const OwnFolder&) = delete;
  OwnFolder& operator=(const OwnFolder&) = delete;
  fs::path operator/(const std::string& name) const { return m_path / name; }

 private:
  fs::path m_path;
};

// ---- comparing problems in absolute coordinates, part by part --------------------

bool close(double a, double b) {
  if (std::isnan(a) || std::isnan(b)) return std::isnan(a) && std::isnan(b);
  if (std::isinf(a) || std::isinf(b)) return a == b;
  return std::fabs(a - b) <= 1e-9 * std::max({1.0, std::fabs(a), std::fabs(b)});
}

bool close(const std::vector<double>& a, const std::vector<double>& b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (!close(a[i], b[i])) return false;
  }
  return true;
}

bool close(const std::vector<std::vector<double>>& a,
           const std::vector<std::vector<double>>& b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (!close(a[i], b[i])) return false;
  }
  return true;
}

bool close(const std::vector<gravok_line_3d>& a, const std::vector<gravok_line_3d>& b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (!close({a[i].x1, a[i].y1, a[i].z1, a[i].x2, a[i].y2, a[i].z2},
               {b[i].x1, b[i].y1, b[i].z1, b[i].x2, b[i].y2, b[i].z2}))
      return false;
  }
  return true;
}

template <class Record>
bool same_bytes(const std::vector<Record>& a, const std::vector<Record>& b) {
  return a.size() == b.size() &&
         (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(Record)) == 0);
}

bool same_units(const gvk::StoredUnit& a, const gvk::StoredUnit& b) {
  return a.type == b.type && a.qualifier == b.qualifier && a.name == b.name &&
         a.abbreviation == b.abbreviation && close(a.conversions, b.conversions);
}

bool same_elements(const gvk::ElementSet& a, const gvk::ElementSet& b) {
  if (a.records.size() != b.records.size()) return false;
  for (std::size_t i = 0; i < a.records.size(); ++i) {
    const gravok_grading_element &ra = a.records[i], &rb = b.records[i];
    if (std::memcmp(ra.attributes, rb.attributes, sizeof ra.attributes) != 0 ||
        std::memcmp(ra.trailer, rb.trailer, sizeof ra.trailer) != 0 ||
        !close(std::vector<double>(ra.location, ra.location + 6),
               std::vector<double>(rb.location, rb.location + 6)))
      return false;
  }
  const auto& ca = a.complex;
  const auto& cb = b.complex;
  return close(a.xs, b.xs) && close(a.ys, b.ys) &&
         close(ca.double_lists_1, cb.double_lists_1) &&
         close(ca.double_lists_2, cb.double_lists_2) &&
         close(ca.double_lists_3, cb.double_lists_3) &&
         close(ca.double_lists_4, cb.double_lists_4) &&
         close(ca.double_lists_5, cb.double_lists_5) &&
         close(ca.double_lists_6, cb.double_lists_6) &&
         close(ca.double_lists_7, cb.double_lists_7) &&
         close(ca.double_lists_8, cb.double_lists_8) &&
         close(ca.double_lists_9, cb.double_lists_9) &&
         close(ca.double_lists_10, cb.double_lists_10) &&
         close(ca.double_lists_11, cb.double_lists_11) && ca.int_lists == cb.int_lists;
}

bool same_settings(const gvk::Problem& a, const gvk::Problem& b) {
  return a.fix_boundary == b.fix_boundary && close(a.max_slope, b.max_slope) &&
         close(a.min_slope, b.min_slope) && a.volume_constraint == b.volume_constraint &&
         close(a.max_slopes, b.max_slopes) && close(a.min_slopes, b.min_slopes) &&
         a.metric.kind == b.metric.kind && close(a.metric.value, b.metric.value) &&
         a.metric.flag_a == b.metric.flag_a && a.metric.flag_b == b.metric.flag_b &&
         a.max_iteration_count == b.max_iteration_count && close(a.epsilon, b.epsilon);
}

bool same_description(const gvk::ProblemDescription& a,
                      const gvk::ProblemDescription& b) {
  const gvk::CoordinateSystem &ca = a.coordinate_system, &cb = b.coordinate_system;
  return ca.epsg_code == cb.epsg_code && ca.wkt == cb.wkt && ca.name == cb.name &&
         ca.description == cb.description && ca.horizontal_name == cb.horizontal_name &&
         ca.horizontal_datum == cb.horizontal_datum &&
         ca.vertical_datum == cb.vertical_datum &&
         a.application_name == b.application_name &&
         a.application_version == b.application_version &&
         a.surface_descriptions == b.surface_descriptions;
}

// A coordinate rounded to a micro-unit, to order faces by.
long long key(double v) { return std::isfinite(v) ? std::llround(v * 1e6) : 0; }

using Face = std::array<double, 9>;

// The triangles of `m` as their corners' coordinates, each from its least corner on
// (the winding kept), in order: what a format of faces without a vertex list holds.
std::vector<Face> faces(const gvk::Mesh& m) {
  std::vector<Face> faces;
  const std::size_t n = std::min({m.x.size(), m.y.size(), m.z.size()});
  for (const gvk::Triangle& t : m.triangles) {
    if (t[0] >= n || t[1] >= n || t[2] >= n) continue;
    std::array<std::array<long long, 3>, 3> keys;
    for (int i = 0; i < 3; ++i)
      keys[i] = {key(m.x[t[i]]), key(m.y[t[i]]), key(m.z[t[i]])};
    const int first =
        static_cast<int>(std::min_element(keys.begin(), keys.end()) - keys.begin());
    Face face;
    for (int i = 0; i < 3; ++i) {
      const unsigned long long v = t[(first + i) % 3];
      face[3 * i] = m.x[v], face[3 * i + 1] = m.y[v], face[3 * i + 2] = m.z[v];
    }
    faces.push_back(face);
  }
  std::sort(faces.begin(), faces.end(), [](const Face& a, const Face& b) {
    for (int i = 0; i < 9; ++i) {
      if (key(a[i]) != key(b[i])) return key(a[i]) < key(b[i]);
    }
    return false;
  });
  return faces;
}

// Whether two meshes are the same: vertex for vertex, or, for a target that holds
// faces alone, face for face.
bool same_mesh(const gvk::Mesh& a, const gvk::Mesh& b, bool faces_only) {
  if (!faces_only)
    return close(a.x, b.x) && close(a.y, b.y) && close(a.z, b.z) &&
           a.triangles == b.triangles;
  const std::vector<Face> fa = faces(a), fb = faces(b);
  if (fa.size() != fb.size()) return false;
  for (std::size_t i = 0; i < fa.size(); ++i) {
    if (!close(std::vector<double>(fa[i].begin(), fa[i].end()),
               std::vector<double>(fb[i].begin(), fb[i].end())))
      return false;
  }
  return true;
}

// A drawing names its own format as its host version ("DXF AC1009"), which is no part
// of the problem: it stands for an empty one or another drawing's.
bool same_host_version(const std::string& e, const std::string& a) {
  const auto drawing = [](const std::string& v) { return v.rfind("DXF ", 0) == 0; };
  return e == a || (drawing(a) && (e.empty() || drawing(e)));
}

void shift(std::vector<double>& values, double by) {
  for (double& v : values) v += by;
}

void shift(gvk::Mesh& m, const double o[3]) {
  shift(m.x, o[0]);
  shift(m.y, o[1]);
  shift(m.z, o[2]);
}

void shift(std::vector<gravok_line_3d>& lines, const double o[3]) {
  for (gravok_line_3d& l : lines) {
    l.x1 += o[0], l.y1 += o[1], l.z1 += o[2];
    l.x2 += o[0], l.y2 += o[1], l.z2 += o[2];
  }
}

// The problem with its origin folded into every coordinate, as OffsetDataSource moves
// them, and origin zero.
gvk::Problem absolute(gvk::Problem p) {
  const double o[3] = {p.xorig, p.yorig, p.zorig};
  shift(p.mesh, o);
  shift(p.break_lines, o);
  for (gvk::Surface& s : p.surfaces) {
    shift(s.mesh, o);
    shift(s.break_lines, o);
  }
  for (auto& [kind, set] : p.elements) {
    for (gravok_grading_element& e : set.records) {
      double* at = e.location;
      if (kind == LowPoint) at[0] += o[0], at[1] += o[1];
      if (kind == BoundedPoint)
        at[0] += o[0], at[1] += o[1], at[3] += o[2], at[4] += o[2];
      if (kind == Offset) at[1] += o[0], at[2] += o[1], at[4] += o[0], at[5] += o[1];
    }
    if (kind == LowPoint || kind == BoundedPoint || kind == Offset) continue;
    for (auto& xs : set.xs) shift(xs, o[0]);
    for (auto& ys : set.ys) shift(ys, o[1]);
  }
  p.xorig = p.yorig = p.zorig = 0.0;
  return p;
}

// The parts in which two absolute problems differ, named by the words a store's
// declared loss of that part holds ("objectives", "settings", "LowPoint elements").
std::set<std::string> differing_parts(const gvk::Problem& e, const gvk::Problem& a,
                                      bool faces_only) {
  std::set<std::string> parts;
  const auto differs = [&](bool same, const std::string& part) {
    if (!same) parts.insert(part);
  };
  differs(same_bytes(e.objectives, a.objectives), "objectives");
  differs(same_settings(e, a), "settings");
  differs(same_units(e.linear_unit, a.linear_unit) &&
              same_units(e.area_unit, a.area_unit) &&
              same_units(e.volume_unit, a.volume_unit),
          "units");
  differs(same_host_version(e.hostcad_version, a.hostcad_version), "host version");
  differs(same_description(e.description, a.description), "descriptions");
  differs(same_mesh(e.mesh, a.mesh, faces_only), "coordinates");
  differs(same_bytes(e.mesh.triangle_info, a.mesh.triangle_info), "triangle records");
  differs(close(e.break_lines, a.break_lines), "break lines");
  bool surfaces = e.surfaces.size() == a.surfaces.size();
  for (std::size_t i = 0; surfaces && i < e.surfaces.size(); ++i) {
    surfaces = e.surfaces[i].id == a.surfaces[i].id &&
               e.surfaces[i].name == a.surfaces[i].name &&
               same_mesh(e.surfaces[i].mesh, a.surfaces[i].mesh, faces_only) &&
               close(e.surfaces[i].break_lines, a.surfaces[i].break_lines);
  }
  differs(surfaces, "surfaces");
  std::set<GradingElementType> kinds;
  for (const auto& entry : e.elements) kinds.insert(entry.first);
  for (const auto& entry : a.elements) kinds.insert(entry.first);
  for (const GradingElementType kind : kinds) {
    const gvk::ElementSet none;
    const auto in_e = e.elements.find(kind);
    const auto in_a = a.elements.find(kind);
    const char* name = gvk::element_type_name(kind);
    differs(same_elements(in_e == e.elements.end() ? none : in_e->second,
                          in_a == a.elements.end() ? none : in_a->second),
            std::string(*name ? name : "kind " + std::to_string(kind)) + " elements");
  }
  return parts;
}

// ---- the battery -----------------------------------------------------------------

gvk::Problem small_mesh() {
  gvk::Problem p;
  p.mesh.x = {0, 10, 10, 0};
  p.mesh.y = {0, 0, 10, 10};
  p.mesh.z = {1, 2, 3, 4};
  p.mesh.triangles = {{0, 1, 2}, {0, 2, 3}};
  p.mesh.triangle_info.resize(2);
  p.xorig = 500000.25;
  p.yorig = 2000000.5;
  return p;
}

std::map<std::string, gvk::Problem> made_problems() {
  std::map<std::string, gvk::Problem> made;
  made["demo site"] = gravok_tool::demo_site(6);
  made["generated"] = gravok_tool::generated_problem();
  made["small mesh"] = small_mesh();
  gvk::Problem p = small_mesh();
  p.mesh.z[2] = std::nan("");
  made["NaN elevation"] = p;
  p = small_mesh();
  p.mesh.triangles[1][2] = 7;
  made["index out of range"] = p;
  p = small_mesh();
  p.mesh.y.pop_back();
  made["y shorter than x"] = p;
  p = small_mesh();
  p.elements[DrainLine].records.resize(1);
  p.elements[DrainLine].xs = {{0, 5, 10}};
  p.elements[DrainLine].ys = {{0, 5}};
  made["element lists of unequal length"] = p;
  made["empty mesh"] = gvk::Problem();
  p = small_mesh();
  for (unsigned long long id = 0; id < 3; ++id) {
    gvk::Surface s;
    s.id = id;
    s.name = "surface " + std::to_string(id);
    s.mesh = small_mesh().mesh;
    shift(s.mesh.z, static_cast<double>(id));
    p.surfaces.push_back(s);
  }
  p.mesh = p.surfaces[0].mesh;
  made["several surfaces"] = p;
  return made;
}

// The real files: each opens through its own provider.
std::vector<std::string> real_files() {
  const fs::path data = GRAVOK_TEST_DATA;
  std::vector<std::string> files;
  std::vector<std::string> folders = {"triangle"};
  if (*GRAVOK_LANDXML_PLUGIN) folders.push_back("landxml");
  if (*GRAVOK_DXF_PLUGIN) folders.push_back("dxf");
  for (const std::string& folder : folders) {
    for (const auto& entry : fs::directory_iterator(data / folder)) {
      const std::string ext = entry.path().extension().string();
      if (ext == ".xml" || ext == ".node" || ext == ".poly" || ext == ".dxf")
        files.push_back(entry.path().string());
    }
  }
  std::sort(files.begin(), files.end());
  files.push_back(
      (data / ".." / ".." / "docs" / "examples" / "small-problem.json").string());
  return files;
}

// ---- the copies ------------------------------------------------------------------

class Differential : public ProjectStores {};

struct Tally {
  int equal = 0, declared = 0, refused = 0;
};

// Copies the source at `from` into a new store at `to` and checks the outcome.
void copy_and_check(const std::string& from, const std::string& to, Tally& tally) {
  SCOPED_TRACE(from + " -> " + to);
  std::vector<std::string> reasons;
  std::unique_ptr<gvk::DataSource> source = gvk::createDataSource(from, reasons);
  ASSERT_TRUE(source) << (reasons.empty() ? "no provider" : reasons[0]);
  gvk::ProblemStore lossless;
  lossless.copyAllFrom(*source);
  std::unique_ptr<gvk::DataStore> store = gvk::createDataStore(to, reasons);
  ASSERT_TRUE(store) << (reasons.empty() ? "no store provider" : reasons[0]);
  try {
    store->copyAllFrom(*source);
  } catch (const std::invalid_argument& refused) {
    EXPECT_EQ(std::string(refused.what()).rfind("cannot write ", 0), 0u)
        << refused.what();
    EXPECT_FALSE(fs::exists(to)) << "a refused copy wrote " << to;
    ++tally.refused;
    return;
  }
  std::set<std::string> declared;
  const auto* declares = dynamic_cast<const gvk::DeclaresLosses*>(store.get());
  ASSERT_NE(declares, nullptr) << "every store of the project says what it drops";
  for (const gvk::StoreLoss& loss : declares->losses()) declared.insert(loss.what);
  // A store that does not keep several surfaces is handed the current one alone; the
  // tool declares the others (gravok copy), and so does this test.
  if (!dynamic_cast<const gvk::SurfaceStore*>(store.get())) declared.insert("surfaces");
  store.reset();
  std::unique_ptr<gvk::DataSource> back = gvk::createDataSource(to, reasons);
  ASSERT_TRUE(back) << "what the store wrote does not open: "
                    << (reasons.empty() ? "" : reasons[0]);
  gvk::Problem actual;
  gvk::snapshot(*back, actual);
  const std::set<std::string> parts = differing_parts(
      absolute(lossless.problem()), absolute(actual), fs::path(to).extension() == ".dxf");
  for (const std::string& part : parts) {
    bool covered = false;
    // "Pond elements" differ: a loss of "Pond elements (...)" or of "Pond element
    // records (...)" declares it.
    const std::string element = part.substr(0, part.find(" elements")) + " element";
    for (const std::string& loss : declared)
      covered |= loss.find(part) != std::string::npos || loss.rfind(element, 0) == 0;
    EXPECT_TRUE(covered) << "differs without a declared loss: " << part;
  }
  ++(parts.empty() ? tally.equal : tally.declared);
}

TEST_F(Differential, EveryCopyArrivesEqualIsRefusedOrDeclaresItsLoss) {
  const OwnFolder dir("gravok_differential");
  // Every problem as a source in every format that takes it, the real files as they
  // are besides.
  std::vector<std::string> sources = real_files();
  int n = 0;
  for (const auto& [name, problem] : made_problems()) {
    gvk::ProblemSource source(problem);
    for (const std::string& ext : store_extensions()) {
      const std::string path = (dir / ("source" + std::to_string(n++) + ext)).string();
      std::unique_ptr<gvk::DataStore> store = gvk::createDataStore(path);
      ASSERT_TRUE(store) << path;
      try {
        store->copyAllFrom(source);
        sources.push_back(path);
      } catch (const std::invalid_argument&) {
        // This format cannot hold the problem; the copies below show it refused.
      }
    }
  }
  Tally tally;
  int m = 0;
  for (const std::string& from : sources) {
    for (const std::string& ext : store_extensions()) {
      copy_and_check(from, (dir / ("target" + std::to_string(m++) + ext)).string(),
                     tally);
    }
  }
  std::cout << sources.size() << " sources, " << m << " copies: " << tally.equal
            << " equal, " << tally.declared << " with declared losses, " << tally.refused
            << " refused\n";
  EXPECT_GT(tally.equal, 0);
  EXPECT_GT(tally.declared, 0);
  EXPECT_GT(tally.refused, 0);
}

}  // namespace

// ---- random problems, one format at a time -----------------------------------------

// What a format holds, so that the generator makes problems the store must take: the
// rest of a random problem is fair game, and whatever does not come back must be a
// declared loss.
struct Format {
  std::string extension;
  bool non_finite;    // NaN (with payloads), infinities and -0 in the mesh
  std::string bytes;  // the characters its texts may hold; empty for every byte
  bool markup;        // texts are names and descriptions of a markup document
};

// Every byte that a text of `format` may hold, as whole UTF-8 sequences where bytes
// above 0x7f are not all allowed: both ends of each sequence length, each lead byte
// kind (E0, ED, F0, F4) at its edge.
std::vector<std::string> text_units(const Format& format) {
  std::vector<std::string> units;
  if (format.bytes.empty()) {
    for (int b = 0; b < 256; ++b) units.push_back(std::string(1, static_cast<char>(b)));
  }
  for (char c : format.bytes) units.push_back(std::string(1, c));
  // Whole sequences too, which single random bytes would hardly ever make.
  for (const char* s :
       {"\xc2\x80", "\xdf\xbf", "\xe0\xa0\x80", "\xed\x9f\xbf", "\xef\xbf\xbd",
        "\xf0\x90\x80\x80", "\xf4\x8f\xbf\xbf", "\xc3\xa5"})
    units.push_back(s);
  return units;
}

class Generator {
 public:
  Generator(const Format& format, unsigned seed)
      : m_format(format), m_random(seed), m_units(text_units(format)) {}

  gvk::Problem problem() {
    gvk::Problem p;
    p.hostcad_version = text();
    p.linear_unit = gvk::store_unit(gvk::Known<1>(pick(10)));
    p.area_unit = gvk::store_unit(gvk::Known<2>(pick(10)));
    p.volume_unit = gvk::store_unit(gvk::Known<3>(pick(10)));
    // Non-zero on every axis, a survey's size, in eighths: every sum of a coordinate
    // and an origin is exact, so absolute values compare bit for bit.
    p.xorig = eighths(1 << 23) + 2000000;
    p.yorig = -eighths(1 << 23) - 500000;
    p.zorig = eighths(8000) + 0.125;
    p.fix_boundary = pick(2);
    p.max_slope = any_double();
    p.min_slope = any_double();
    p.volume_constraint = static_cast<VolumeConstraint>(pick(5) - 2);
    p.max_slopes = doubles(pick(4));
    p.min_slopes = doubles(pick(4));
    p.metric = {static_cast<std::int32_t>(pick(7)) - 3, any_double(), pick(2) == 1,
                pick(2) == 1};
    p.max_iteration_count = static_cast<long long>(m_random());
    p.epsilon = any_double();
    p.objectives = records<gravok_objective>(pick(3));
    p.break_lines = lines(pick(3));
    p.mesh = mesh();
    for (GradingElementType kind : gvk::allElementTypes()) {
      if (pick(3) == 0) p.elements[kind] = elements(kind);
    }
    for (GradingElementType kind : gvk::complexElementTypes()) {
      if (pick(2) == 0) p.elements[kind] = elements(kind);
    }
    if (!m_format.markup && pick(2) == 0)
      p.elements[static_cast<GradingElementType>(900 + pick(50))] =
          elements(Unclassified);
    p.guids_valid = pick(2);
    if (pick(2) == 0) {
      for (unsigned long long id = 0, n = 2 + pick(2); id < n; ++id) {
        gvk::Surface s;
        s.id = id * 7 + pick(7);
        s.name = text() + std::to_string(id);  // names differ
        s.mesh = mesh();
        s.break_lines = lines(pick(2));
        p.surfaces.push_back(s);
        p.surface_ids.push_back(s.id);
        p.surface_names.push_back(s.name);
        if (pick(2)) p.description.surface_descriptions[s.id] = text();
      }
      p.mesh = p.surfaces[0].mesh;
      p.break_lines = p.surfaces[0].break_lines;
    }
    gvk::CoordinateSystem& cs = p.description.coordinate_system;
    cs = {std::to_string(2000 + pick(30000)),
          text(),
          text(),
          text(),
          text(),
          text(),
          text()};
    p.description.application_name = text();
    p.description.application_version = text();
    return p;
  }

 private:
  std::uint64_t pick(std::uint64_t n) { return m_random() % n; }
  double eighths(long long range) {
    return static_cast<double>(static_cast<long long>(pick(2 * range + 1)) - range) / 8;
  }
  // Any double: a finite one, either zero, an infinity or a NaN with its payload.
  double any_double() {
    switch (pick(6)) {
      case 0: {
        const std::uint64_t bits = 0x7ff0000000000000u | (m_random() >> 13 | 1) |
                                   (pick(2) ? 0x8000000000000000u : 0);
        double nan;
        std::memcpy(&nan, &bits, sizeof nan);
        return nan;
      }
      case 1: return pick(2) ? -0.0 : 0.0;
      case 2: return pick(2) ? HUGE_VAL : -HUGE_VAL;
      default: {
        const std::uint64_t bits = m_random() & 0x7fefffffffffffffu;
        double v;
        std::memcpy(&v, &bits, sizeof v);
        return pick(2) ? -v : v;
      }
    }
  }
  std::vector<double> doubles(std::size_t n) {
    std::vector<double> v;
    for (std::size_t i = 0; i < n; ++i) v.push_back(any_double());
    return v;
  }
  std::string text() {
    std::string s;
    for (std::uint64_t i = 0, n = pick(12); i < n; ++i)
      s += m_units[pick(m_units.size())];
    // Markup keeps a name's characters, not the white space at its ends.
    if (m_format.markup) s = "n" + s + "n";
    return s;
  }
  template <class Record>
  std::vector<Record> records(std::size_t n) {
    std::vector<Record> v(n);
    for (Record& r : v) {
      auto* bytes = reinterpret_cast<unsigned char*>(&r);
      for (std::size_t i = 0; i < sizeof r; ++i)
        bytes[i] = static_cast<unsigned char>(pick(256));
    }
    return v;
  }
  double coordinate() {
    if (m_format.non_finite && pick(12) == 0) return any_double();
    return eighths(80000);
  }
  std::vector<gravok_line_3d> lines(std::size_t n) {
    std::vector<gravok_line_3d> v(n);
    for (gravok_line_3d& l : v)
      l = {coordinate(), coordinate(), coordinate(),
           coordinate(), coordinate(), coordinate()};
    return v;
  }
  // A grid of 2 to 5 points a side, in plan at distinct places, its cells split into
  // two triangles each, all clockwise or all counter-clockwise.
  gvk::Mesh mesh() {
    gvk::Mesh m;
    const std::size_t columns = 2 + pick(4), rows = 2 + pick(4);
    const double x0 = eighths(8000), y0 = eighths(8000), step = 1 + eighths(64) / 8 + 8;
    for (std::size_t r = 0; r < rows; ++r)
      for (std::size_t c = 0; c < columns; ++c) {
        m.x.push_back(x0 + static_cast<double>(c) * step);
        m.y.push_back(y0 + static_cast<double>(r) * step);
        m.z.push_back(m_format.non_finite && pick(8) == 0 ? any_double() : eighths(4000));
      }
    const bool clockwise = pick(2);
    for (std::size_t r = 0; r + 1 < rows; ++r)
      for (std::size_t c = 0; c + 1 < columns; ++c) {
        const unsigned long long a = r * columns + c, b = a + 1, d = a + columns,
                                 e = d + 1;
        m.triangles.push_back(clockwise ? gvk::Triangle{a, d, e}
                                        : gvk::Triangle{a, e, d});
        m.triangles.push_back(clockwise ? gvk::Triangle{a, e, b}
                                        : gvk::Triangle{a, b, e});
      }
    m.triangle_info = records<gravok_triangle_info>(m.triangles.size());
    if (pick(2))
      std::fill(m.triangle_info.begin(), m.triangle_info.end(), gravok_triangle_info{});
    return m;
  }
  gvk::ElementSet elements(GradingElementType kind) {
    gvk::ElementSet set;
    const std::size_t n = pick(3);
    set.records = records<gravok_grading_element>(n);
    const bool points = kind == LowPoint || kind == BoundedPoint || kind == Offset;
    for (gravok_grading_element& e : set.records)
      for (double& at : e.location) at = points ? eighths(8000) : any_double();
    if (points) return set;
    for (std::size_t i = 0; i < n; ++i) {
      const std::size_t vertices = 1 + pick(4);
      set.xs.push_back({});
      set.ys.push_back({});
      for (std::size_t k = 0; k < vertices; ++k) {
        set.xs.back().push_back(eighths(8000));
        set.ys.back().push_back(eighths(8000));
      }
    }
    if (kind >= 100) {
      set.complex.double_lists_1 = {doubles(pick(3))};
      set.complex.double_lists_11 = {doubles(pick(3)), doubles(1)};
      set.complex.int_lists = {{static_cast<std::int32_t>(m_random()), INT32_MIN}};
    }
    return set;
  }

  Format m_format;
  std::mt19937_64 m_random;
  std::vector<std::string> m_units;
};

// The mesh with its vertices numbered in the order the triangles first name them, the
// vertices no triangle names after those in their own order; every triangle keeps its
// corners' order. A store whose format numbers points as it writes them (LandXML's
// <P id>, DXF's face corners) compares equal vertex for vertex after this.
gvk::Mesh renumbered(gvk::Mesh m) {
  const std::size_t n = m.x.size();
  if (m.y.size() != n || m.z.size() != n) return m;
  const unsigned long long unseen = ~0ull;
  std::vector<unsigned long long> number(n, unseen);
  std::vector<std::size_t> order;
  for (gvk::Triangle& t : m.triangles)
    for (unsigned long long& v : t) {
      if (v >= n) continue;
      if (number[v] == unseen) number[v] = order.size(), order.push_back(v);
      v = number[v];
    }
  for (std::size_t i = 0; i < n; ++i)
    if (number[i] == unseen) number[i] = order.size(), order.push_back(i);
  gvk::Mesh out = m;
  for (std::size_t k = 0; k < n; ++k) {
    out.x[k] = m.x[order[k]];
    out.y[k] = m.y[order[k]];
    out.z[k] = m.z[order[k]];
  }
  return out;
}

// The problem absolute, its meshes renumbered.
gvk::Problem comparable(const gvk::Problem& p) {
  gvk::Problem a = absolute(p);
  a.mesh = renumbered(a.mesh);
  for (gvk::Surface& s : a.surfaces) s.mesh = renumbered(s.mesh);
  return a;
}

// The loss a store declares for a part that compare_problems names by `path`.
std::string loss_for(const std::string& path) {
  const auto starts = [&](const char* prefix) { return path.rfind(prefix, 0) == 0; };
  if (starts("/settings/")) {
    std::string name = path.substr(10, path.find('/', 10) - 10);
    std::replace(name.begin(), name.end(), '_', ' ');
    return "settings (" + name + ")";
  }
  if (starts("/elements/")) return path.substr(10, path.find('/', 10) - 10) + " element";
  if (path.find("/triangle_info") != std::string::npos) return "triangle records";
  if (starts("/hostcad_version")) return "host version";
  if (starts("/units/")) return "units";
  if (starts("/objectives")) return "objectives";
  if (starts("/break_lines")) return "break lines";
  // A surface's description is keyed by its id.
  if (starts("/surfaces/") || starts("/all_surfaces") || starts("/description/surfaces/"))
    return "surface";
  if (starts("/description/")) return "descriptions";
  return path;  // nothing declares a mesh, an origin or the GUIDs' flag lost
}

TEST_F(Differential, RandomProblemsComeBackEqualOrDeclareEachLoss) {
  const OwnFolder dir("gravok_random");
  std::string printable;
  for (char c = ' '; c <= '~'; ++c) printable += c;
  std::vector<Format> formats = {{".json", true, "", false},
                                 {".node", false, printable, false}};
  if (*GRAVOK_LANDXML_PLUGIN)
    formats.push_back({".xml", false, printable + "\t\n\r", true});
  if (*GRAVOK_DXF_PLUGIN) formats.push_back({".dxf", false, printable, true});
  for (const Format& format : formats) {
    for (unsigned seed = 1; seed <= 25; ++seed) {
      const std::string path = (dir / (std::to_string(seed) + format.extension)).string();
      SCOPED_TRACE(path);
      gvk::ProblemSource source(Generator(format, seed).problem());
      gvk::ProblemStore lossless;
      lossless.copyAllFrom(source);
      std::vector<std::string> reasons;
      std::unique_ptr<gvk::DataStore> store = gvk::createDataStore(path, reasons);
      ASSERT_TRUE(store) << path;
      ASSERT_NO_THROW(store->copyAllFrom(source));
      std::vector<gvk::StoreLoss> declared;
      if (const auto* d = dynamic_cast<const gvk::DeclaresLosses*>(store.get()))
        declared = d->losses();
      // What a store is not handed, gravok copy declares: every surface but the
      // current one, and the description.
      if (!dynamic_cast<const gvk::DescribedStore*>(store.get()))
        declared.push_back({"descriptions", 1});
      if (!dynamic_cast<const gvk::SurfaceStore*>(store.get()))
        declared.push_back({"surfaces", 1});
      store.reset();
      std::unique_ptr<gvk::DataSource> back = gvk::createDataSource(path, reasons);
      ASSERT_TRUE(back) << (reasons.empty() ? "" : reasons.back());
      gvk::Problem actual;
      gvk::snapshot(*back, actual);
      // The JSON document keeps the origin and every bit; the others may move the
      // origin, so their values are compared absolute.
      const bool keeps_all = format.extension == ".json";
      const gvk::Problem& given = lossless.problem();
      const std::vector<std::string> differences =
          keeps_all ? gvk::compare_problems(given, actual)
                    : gvk::compare_problems(comparable(given), comparable(actual));
      std::set<std::string> unexplained;
      for (const std::string& line : differences) {
        // Only the JSON document keeps the sign of a zero setting; a store may name
        // the one surface of a problem that lists none.
        if (line.find(": -0 (bits 0x8000000000000000) != 0 (bits 0x0)") !=
            std::string::npos)
          continue;
        if (given.surface_ids.empty() && given.surface_names.empty() &&
            (line == "/surfaces/ids: 0 entries != 1 entries" ||
             line == "/surfaces/names: 0 entries != 1 entries"))
          continue;
        const std::string loss = loss_for(line.substr(0, line.find(": ")));
        bool covered = false;
        for (const gvk::StoreLoss& l : declared)
          covered |= l.what.find(loss) != std::string::npos;
        if (!covered) unexplained.insert(line);
      }
      std::string listed;
      for (const std::string& line : unexplained) listed += "\n  " + line;
      EXPECT_TRUE(unexplained.empty()) << "differences no loss declares:" << listed;
    }
  }
}
