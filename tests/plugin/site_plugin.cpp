// A host plug-in, built as its own shared module against the installed interface the
// way third-party plug-ins are: it offers a source of survey sites in state-plane
// coordinates ("site:<name>") and a store of projects with a local origin
// ("local-origin:<x>,<y>,<z>"), and registers both providers from one C function.
//
// The project store works like a database: what its setters receive during a bulk
// operation becomes visible to its getters only when the bulk operation ends. It keeps
// the mesh, the elements and the maximum slope, and takes the rest without keeping it.
#include <gravok/gravok.h>

#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#if defined(_WIN32)
#define GRAVOK_PLUGIN_EXPORT __declspec(dllexport)
#else
#define GRAVOK_PLUGIN_EXPORT __attribute__((visibility("default")))
#endif

namespace {

using Elements = std::vector<gravok_grading_element>;
using Lists = std::vector<std::vector<double>>;

constexpr const char* kSitePrefix = "site:";
constexpr const char* kProjectPrefix = "local-origin:";
constexpr const char* kSiteProvider = "site-plugin survey sites";
constexpr const char* kProjectProvider = "site-plugin projects";

gravok_grading_element record(double a, double b, double c, double d, double e) {
  gravok_grading_element element;
  gvk::initge(element);
  const double values[5] = {a, b, c, d, e};
  for (int i = 0; i < 5; ++i) element.location[i] = values[i];
  return element;
}

// A surveyed site: four ground points, a low point, a drain line and a pond, in
// absolute state-plane coordinates (origin zero).
class SurveySite : public gvk::DataSource {
 public:
  void get_eg_data(std::vector<double>& x, std::vector<double>& y, std::vector<double>& z,
                   std::vector<gvk::Triangle>& triangles,
                   std::vector<gravok_triangle_info>& info) override {
    x = {2000100.125, 2000200.250, 2000200.375, 2000100.500};
    y = {500050.001, 500050.002, 500150.003, 500150.004};
    z = {101.25, 100.75, 99.5, 100.125};
    triangles = {{0, 1, 2}, {0, 2, 3}};
    info.assign(2, gravok_triangle_info{});
  }
  void get_low_points(Elements& e) const override {
    e.push_back(record(2000150.111, 500100.222, 0, 0, 0));
  }
  void get_drain_lines(Elements& e, Lists& xs, Lists& ys) const override {
    e.push_back(record(1, 2, 3, 4, 5));
    xs.push_back({2000110.0, 2000190.0});
    ys.push_back({500060.0, 500140.0});
  }
  void get_complex_elements(GradingElementType kind, Elements& e, Lists&, Lists&,
                            ComplexElementData&) const override {
    if (kind == Pond) e.push_back(record(0, 0, 0, 0, 0));
  }
  double get_max_slope() const override { return 0.25; }
};

// What a project keeps of a problem.
struct Problem {
  std::vector<double> x, y, z;
  std::vector<gvk::Triangle> triangles;
  std::map<GradingElementType, Elements> elements;
  double max_slope = 0.33;
};

class ProjectStore : public gvk::DataStore {
 public:
  ProjectStore(double x, double y, double z) : m_x(x), m_y(y), m_z(z) {}

  void beginBulkOperation() const override { m_pending = m_committed; }
  void endBulkOperation() const override { m_committed = m_pending; }

  void set_units(const gvk::Unit<1>&, const gvk::Unit<2>&, const gvk::Unit<3>&) override {
  }
  void set_eg_data(const std::vector<double>& x, const std::vector<double>& y,
                   const std::vector<double>& z, const std::vector<gvk::Triangle>& t,
                   const std::vector<gravok_triangle_info>&) override {
    m_pending.x = x;
    m_pending.y = y;
    m_pending.z = z;
    m_pending.triangles = t;
  }
  void set_break_lines(const std::vector<gravok_line_3d>&) override {}
  void set_objectives(const std::vector<gravok_objective>&) override {}
  void set_low_points(const Elements& e) override { keep(LowPoint, e); }
  void set_bounded_points(const Elements& e) override { keep(BoundedPoint, e); }
  void set_offsets(const Elements& e) override { keep(Offset, e); }
  void set_drain_lines(const Elements& e) override { keep(DrainLine, e); }
  void set_bend_lines(const Elements& e) override { keep(BendLine, e); }
  void set_aligned_edges(const Elements& e) override { keep(AlignedEdge, e); }
  void set_trizone_polygons(const Elements& e) override { keep(SurfaceZone, e); }
  void set_complex_elements(GradingElementType kind, const Elements& e) override {
    keep(kind, e);
  }
  void set_fix_boundary(bool) override {}
  void set_max_slope(double v) override { m_pending.max_slope = v; }
  void set_min_slope(double) override {}
  void set_volume_constraint(VolumeConstraint) override {}
  void set_max_slopes(const std::vector<double>&) override {}
  void set_min_slopes(const std::vector<double>&) override {}
  void set_mesh_metric(mesh_metric) override {}
  void set_max_iteration_count(long long) override {}
  void set_epsilon(double) override {}

  // As a source, a project answers what was committed, in its own origin.
  void get_eg_data(std::vector<double>& x, std::vector<double>& y, std::vector<double>& z,
                   std::vector<gvk::Triangle>& t,
                   std::vector<gravok_triangle_info>&) override {
    x = m_committed.x;
    y = m_committed.y;
    z = m_committed.z;
    t = m_committed.triangles;
  }
  void get_grading_elements(GradingElementType kind, Elements& e, Lists&, Lists&,
                            ComplexElementData&) override {
    e = m_committed.elements[kind];
  }
  double get_max_slope() const override { return m_committed.max_slope; }
  double get_xorig() const override { return m_x; }
  double get_yorig() const override { return m_y; }
  double get_zorig() const override { return m_z; }

 private:
  void keep(GradingElementType kind, const Elements& e) { m_pending.elements[kind] = e; }

  double m_x, m_y, m_z;
  mutable Problem m_pending;
  mutable Problem m_committed;
};

bool starts_with(const std::string& text, const std::string& prefix) {
  return text.compare(0, prefix.size(), prefix) == 0;
}

// Reads "<x>,<y>,<z>" after the prefix; false unless exactly three numbers are there.
bool parse_origin(const std::string& location, double& x, double& y, double& z) {
  if (!starts_with(location, kProjectPrefix)) return false;
  std::istringstream in(location.substr(std::string(kProjectPrefix).size()));
  char comma1 = 0, comma2 = 0;
  in >> x >> comma1 >> y >> comma2 >> z;
  return in && comma1 == ',' && comma2 == ',' &&
         in.peek() == std::char_traits<char>::eof();
}

class SiteProvider : public gvk::DataSourceProvider {
 public:
  bool canHandle(const std::string& location) const override {
    return starts_with(location, kSitePrefix);
  }
  std::string description() const override { return "survey sites: site:<name>"; }
  std::unique_ptr<gvk::DataSource> createDataSource(const std::string&) const override {
    return std::make_unique<SurveySite>();
  }
};

class ProjectProvider : public gvk::DataStoreProvider {
 public:
  bool canHandle(const std::string& location) const override {
    double x, y, z;
    return parse_origin(location, x, y, z);
  }
  std::string description() const override {
    return "projects with a local origin: local-origin:<x>,<y>,<z>";
  }
  std::unique_ptr<gvk::DataStore> createDataStore(
      const std::string& location) const override {
    double x = 0, y = 0, z = 0;
    if (!parse_origin(location, x, y, z)) return nullptr;
    return std::make_unique<ProjectStore>(x, y, z);
  }
};

}  // namespace

// Registers the plug-in's two providers; returns how many registrations succeeded.
extern "C" GRAVOK_PLUGIN_EXPORT int gravok_site_plugin_register() {
  int added =
      gvk::registerDataSourceProvider(kSiteProvider, std::make_unique<SiteProvider>());
  added += gvk::registerDataStoreProvider(kProjectProvider,
                                          std::make_unique<ProjectProvider>());
  return added;
}

// Unregisters both providers; returns how many were removed. A host calls it before
// unloading the module, since the registries would otherwise destroy the providers
// after their code is gone.
extern "C" GRAVOK_PLUGIN_EXPORT int gravok_site_plugin_unregister() {
  int removed = gvk::unregisterDataSourceProvider(kSiteProvider);
  removed += gvk::unregisterDataStoreProvider(kProjectProvider);
  return removed;
}
