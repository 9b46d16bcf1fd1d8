#include <gravok/gravok.h>

#include "shared_module.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

using gvk_test::SharedModule;

struct Mesh {
  std::vector<double> x, y, z;
  std::vector<gvk::Triangle> triangles;
};

Mesh mesh_of(gvk::DataSource& source) {
  Mesh m;
  std::vector<gravok_triangle_info> info;
  source.get_eg_data(m.x, m.y, m.z, m.triangles, info);
  return m;
}

std::vector<gravok_grading_element> elements_of(gvk::DataSource& source,
                                                GradingElementType kind) {
  std::vector<gravok_grading_element> e;
  std::vector<std::vector<double>> xs, ys;
  gvk::DataSource::ComplexElementData complex_data;
  source.get_grading_elements(kind, e, xs, ys, complex_data);
  return e;
}

// Loads the plug-in and registers its providers; unregisters them before the module
// is closed, also when a test stops early, so no provider outlives its code.
class LoadedPlugin {
 public:
  LoadedPlugin() : module(GRAVOK_SITE_PLUGIN) {
    m_unregister = module.function("gravok_site_plugin_unregister");
    const SharedModule::Function add = module.function("gravok_site_plugin_register");
    if (add && m_unregister) registered = add();
  }
  ~LoadedPlugin() {
    if (registered) m_unregister();
  }
  int unregister() {
    registered = 0;
    return m_unregister();
  }

  SharedModule module;
  int registered = 0;

 private:
  SharedModule::Function m_unregister = nullptr;
};

TEST(SitePlugin, MovesASiteIntoALocalOriginThroughProvidersLoadedAtRunTime) {
  LoadedPlugin plugin;
  ASSERT_TRUE(plugin.module.is_open()) << plugin.module.error();
  ASSERT_EQ(plugin.registered, 2);
  const std::vector<const gvk::DataSourceProvider*> providers =
      gvk::dataSourceProviders();
  ASSERT_EQ(providers.size(), 2u);
  EXPECT_TRUE(providers[0]->supportsSurface());  // the store provider comes first
  EXPECT_EQ(providers[1]->description().rfind("survey sites", 0), 0u);
  {
    const std::unique_ptr<gvk::DataSource> site = gvk::createDataSource("site:north");
    const std::unique_ptr<gvk::DataStore> project =
        gvk::createDataStore("local-origin:2000150,500075,95");
    ASSERT_NE(site, nullptr);
    ASSERT_NE(project, nullptr);
    EXPECT_EQ(gvk::createDataStore("site:north"), nullptr);  // sources are not stores

    project->copyFrom(*site);

    // Committed by the closing bracket: the project answers the site in its origin.
    const Mesh before = mesh_of(*site);
    const Mesh after = mesh_of(*project);
    const double dx = 0.0 - 2000150.0, dy = 0.0 - 500075.0, dz = 0.0 - 95.0;
    ASSERT_EQ(after.x.size(), before.x.size());
    for (std::size_t i = 0; i < before.x.size(); ++i) {
      SCOPED_TRACE(i);
      EXPECT_EQ(after.x[i], before.x[i] + dx);
      EXPECT_EQ(after.y[i], before.y[i] + dy);
      EXPECT_EQ(after.z[i], before.z[i] + dz);
    }
    EXPECT_EQ(after.triangles, before.triangles);
    EXPECT_NEAR(after.x[0], -49.875, 1e-9);
    const std::vector<gravok_grading_element> low = elements_of(*project, LowPoint);
    ASSERT_EQ(low.size(), 1u);
    EXPECT_EQ(low[0].location[0], 2000150.111 + dx);
    const std::vector<gravok_grading_element> drains = elements_of(*project, DrainLine);
    ASSERT_EQ(drains.size(), 1u);
    EXPECT_EQ(drains[0].location[0], 1.0);  // the record itself carries no coordinates
    EXPECT_EQ(elements_of(*project, Pond).size(), 1u);
    EXPECT_EQ(project->get_max_slope(), 0.25);
  }
  EXPECT_EQ(plugin.unregister(), 2);
  EXPECT_TRUE(gvk::dataSourceProviders().empty());
  EXPECT_EQ(gvk::createDataSource("site:north"), nullptr);
}

}  // namespace
