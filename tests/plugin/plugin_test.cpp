#include <gravok/gravok.h>

#include "../recording_store.h"
#include "shared_module.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

using gvk_test::CallLog;
using gvk_test::Origin;
using gvk_test::Recorder;

// Loads the plug-in and registers its providers; unregisters them before the module
// is closed, also when a test stops early, so no provider outlives its code.
class LoadedPlugin {
 public:
  LoadedPlugin() : module(gvk_test::open_module(GRAVOK_SITE_PLUGIN, error)) {
    if (!module) return;
    m_unregister = gvk_test::module_function(module, "gravok_site_plugin_unregister");
    const auto add = gvk_test::module_function(module, "gravok_site_plugin_register");
    if (add && m_unregister) registered = add();
  }
  ~LoadedPlugin() {
    if (registered) m_unregister();
    if (module) gvk_test::close_module(module);
  }
  int unregister() {
    registered = 0;
    return m_unregister();
  }

  std::string error;
  void* module;
  int registered = 0;

 private:
  gvk_test::ModuleFunction m_unregister = nullptr;
};

TEST(SitePlugin, MovesASiteIntoALocalOriginThroughProvidersLoadedAtRunTime) {
  LoadedPlugin plugin;
  ASSERT_NE(plugin.module, nullptr) << plugin.error;
  ASSERT_EQ(plugin.registered, 2);
  const std::vector<const gvk::DataSourceProvider*> providers =
      gvk::dataSourceProviders();
  ASSERT_EQ(providers.size(), 2u);
  EXPECT_TRUE(providers[0]->supportsSurface());  // the store provider comes first
  EXPECT_EQ(providers[1]->description().rfind("survey sites", 0), 0u);

  // The host reads the site and the project back, each in its own origin.
  const Origin local{2000150, 500075, 95};
  CallLog log;
  Recorder site_seen(log, "host"), project_seen(log, "host", local);
  {
    const std::unique_ptr<gvk::DataSource> site = gvk::createDataSource("site:north");
    const std::unique_ptr<gvk::DataStore> project =
        gvk::createDataStore("local-origin:2000150,500075,95");
    ASSERT_NE(site, nullptr);
    ASSERT_NE(project, nullptr);
    EXPECT_EQ(gvk::createDataStore("site:north"), nullptr);  // sources are not stores
    project->copyFrom(*site);
    EXPECT_EQ(project->get_hostcad_version(), "project.endBulkOperation");
    site_seen.copyFrom(*site);
    project_seen.copyFrom(*project);
  }
  EXPECT_EQ(plugin.unregister(), 2);
  EXPECT_TRUE(gvk::dataSourceProviders().empty());

  const double dx = 0.0 - local.x, dy = 0.0 - local.y, dz = 0.0 - local.z;
  ASSERT_EQ(project_seen.x.size(), 4u);
  for (std::size_t i = 0; i < 4; ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(project_seen.x[i], site_seen.x[i] + dx);
    EXPECT_EQ(project_seen.y[i], site_seen.y[i] + dy);
    EXPECT_EQ(project_seen.z[i], site_seen.z[i] + dz);
  }
  EXPECT_EQ(project_seen.triangles, site_seen.triangles);
  EXPECT_NEAR(project_seen.x[0], -49.875, 1e-9);
  EXPECT_EQ(project_seen.elements[LowPoint].at(0).location[0], 2000150.111 + dx);
  EXPECT_EQ(project_seen.elements[Pond].size(), 1u);
  EXPECT_EQ(project_seen.max_slope, 0.25);
}

}  // namespace
