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
#include <cstring>
#include <filesystem>
#include <iostream>
#include <map>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

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
  const fs::path dir = fs::path(testing::TempDir()) / "gravok_differential";
  fs::remove_all(dir);
  fs::create_directories(dir);
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
