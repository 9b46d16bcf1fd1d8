// A host plug-in, built as its own shared module against the installed interface the
// way third-party plug-ins are: it offers a source of survey sites in state-plane
// coordinates ("site:<name>") and a store of projects with a local origin
// ("local-origin:<x>,<y>,<z>"), and registers both providers from its register entry
// point.
//
// Both are the tests' recording doubles, so they answer back what they hold.
#include <gravok/gravok.h>
#include <gravok/plugin.h>

#include "../recording_store.h"

#include <cstdio>
#include <memory>
#include <string>

namespace {

constexpr const char* kSiteProvider = "site-plugin survey sites";
constexpr const char* kProjectProvider = "site-plugin projects";

using gvk_test::record;
using gvk_test::Recorder;

gvk_test::CallLog g_calls;  // of every site and project, in order

// A surveyed site: four ground points, a low point, a drain line and a pond, in
// absolute state-plane coordinates (origin zero).
class SurveySite : public Recorder {
 public:
  SurveySite() : Recorder(g_calls, "site") {
    x = {2000100.125, 2000200.250, 2000200.375, 2000100.500};
    y = {500050.001, 500050.002, 500150.003, 500150.004};
    z = {101.25, 100.75, 99.5, 100.125};
    triangles = {{0, 1, 2}, {0, 2, 3}};
    triangle_info.assign(2, gravok_triangle_info{});
    elements[LowPoint] = {record({2000150.111, 500100.222, 0, 0, 0, 0})};
    elements[DrainLine] = {record({1, 2, 3, 4, 5, 6})};
    lists[DrainLine] = {{2000110.0, 2000190.0}};
    elements[Pond] = {record({0, 0, 0, 0, 0, 0})};
    max_slope = 0.25;
  }
};

// A project keeps what it receives in its own origin. As its host version it answers
// the last call it received, so that a host sees whether a transfer ended its bulk
// operation.
class ProjectStore : public Recorder {
 public:
  explicit ProjectStore(gvk_test::Origin at) : Recorder(g_calls, "project", at) {}
  std::string get_hostcad_version() const override {
    return g_calls.calls.empty() ? "" : g_calls.calls.back();
  }
};

// Reads "local-origin:<x>,<y>,<z>"; false unless exactly three numbers follow.
bool parse_origin(const std::string& location, gvk_test::Origin& at) {
  int end = 0;
  return std::sscanf(location.c_str(), "local-origin:%lf,%lf,%lf%n", &at.x, &at.y, &at.z,
                     &end) == 3 &&
         end == static_cast<int>(location.size());
}

class SiteProvider : public gvk::DataSourceProvider {
 public:
  bool canHandle(const std::string& location) const override {
    return location.rfind("site:", 0) == 0;
  }
  std::string description() const override { return "survey sites: site:<name>"; }
  std::unique_ptr<gvk::DataSource> createDataSource(const std::string&) const override {
    return std::make_unique<SurveySite>();
  }
};

class ProjectProvider : public gvk::DataStoreProvider {
 public:
  bool canHandle(const std::string& location) const override {
    gvk_test::Origin at;
    return parse_origin(location, at);
  }
  std::string description() const override {
    return "projects with a local origin: local-origin:<x>,<y>,<z>";
  }
  std::unique_ptr<gvk::DataStore> createDataStore(
      const std::string& location) const override {
    gvk_test::Origin at;
    if (!parse_origin(location, at)) return nullptr;
    return std::make_unique<ProjectStore>(at);
  }
};

}  // namespace

// Registers the plug-in's two providers; returns how many registrations succeeded.
GRAVOK_PLUGIN_EXPORT int gravok_plugin_register() {
  int added =
      gvk::registerDataSourceProvider(kSiteProvider, std::make_unique<SiteProvider>());
  added += gvk::registerDataStoreProvider(kProjectProvider,
                                          std::make_unique<ProjectProvider>());
  return added;
}

// Unregisters both providers; returns how many were removed. The host calls it before
// it unloads the module, since the registries would otherwise destroy the providers
// after their code is gone.
GRAVOK_PLUGIN_EXPORT int gravok_plugin_unregister() {
  int removed = gvk::unregisterDataSourceProvider(kSiteProvider);
  removed += gvk::unregisterDataStoreProvider(kProjectProvider);
  return removed;
}
