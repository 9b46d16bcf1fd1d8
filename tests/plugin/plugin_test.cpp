#include <gravok/gravok.h>

#include "shared_module.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

using gvk_test::SharedModule;
using Elements = std::vector<gravok_grading_element>;
using Lists = std::vector<std::vector<double>>;

struct Mesh {
  std::vector<double> x, y, z;
  std::vector<gvk::Triangle> triangles;
  std::vector<gravok_triangle_info> info;
};

Mesh mesh_of(gvk::DataSource& source) {
  Mesh m;
  source.get_eg_data(m.x, m.y, m.z, m.triangles, m.info);
  return m;
}

Elements elements_of(gvk::DataSource& source, GradingElementType kind) {
  Elements e;
  Lists xs, ys;
  gvk::DataSource::ComplexElementData complex_data;
  source.get_grading_elements(kind, e, xs, ys, complex_data);
  return e;
}

// Loads the plug-in and registers its providers; unregisters them before the module
// is closed, also when a test stops early, so no provider outlives its code.
class LoadedPlugin {
 public:
  LoadedPlugin() : m_module(GRAVOK_SITE_PLUGIN) {
    if (!m_module.is_open()) return;
    m_register = m_module.function("gravok_site_plugin_register");
    m_unregister = m_module.function("gravok_site_plugin_unregister");
    if (m_register && m_unregister) registered = m_register();
  }
  ~LoadedPlugin() {
    if (m_unregister && registered != unregistered) m_unregister();
  }
  int unregister() { return unregistered = m_unregister(); }

  const SharedModule& module() const { return m_module; }
  int registered = 0;
  int unregistered = 0;

 private:
  SharedModule m_module;
  SharedModule::Function m_register = nullptr;
  SharedModule::Function m_unregister = nullptr;
};

const char* const kSite = "site:north-field";
const char* const kProject = "local-origin:2000150,500075,95";

TEST(SitePlugin, MovesASiteIntoALocalOriginThroughProvidersLoadedAtRunTime) {
  LoadedPlugin plugin;
  ASSERT_TRUE(plugin.module().is_open()) << plugin.module().error();
  ASSERT_EQ(plugin.registered, 2);
  const std::vector<const gvk::DataSourceProvider*> providers =
      gvk::dataSourceProviders();
  ASSERT_EQ(providers.size(), 2u);
  EXPECT_TRUE(providers[0]->supportsSurface());  // the store provider comes first
  EXPECT_EQ(providers[1]->description().rfind("survey sites", 0), 0u);
  {
    std::unique_ptr<gvk::DataSource> site = gvk::createDataSource(kSite);
    std::unique_ptr<gvk::DataStore> project = gvk::createDataStore(kProject);
    ASSERT_NE(site, nullptr);
    ASSERT_NE(project, nullptr);
    EXPECT_EQ(gvk::createDataStore(kSite), nullptr);  // sources are not stores
    EXPECT_TRUE(mesh_of(*project).x.empty());

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

    const Elements low = elements_of(*project, LowPoint);
    ASSERT_EQ(low.size(), 1u);
    EXPECT_EQ(low[0].location[0], 2000150.111 + dx);
    const Elements bounded = elements_of(*project, BoundedPoint);
    ASSERT_EQ(bounded.size(), 1u);
    EXPECT_EQ(bounded[0].location[4], 101.0 + dz);
    const Elements offsets = elements_of(*project, Offset);
    ASSERT_EQ(offsets.size(), 1u);
    EXPECT_EQ(offsets[0].location[5], 500130.75 + dy);
    const Elements drains = elements_of(*project, DrainLine);
    ASSERT_EQ(drains.size(), 1u);
    EXPECT_EQ(drains[0].location[0], 1.0);  // the record itself carries no coordinates
    EXPECT_EQ(elements_of(*project, Pond).size(), 1u);
    EXPECT_EQ(project->get_max_slope(), 0.25);

    // A store provider serves a source request with a store.
    std::unique_ptr<gvk::DataSource> reopened = gvk::createDataSource(kProject);
    ASSERT_NE(reopened, nullptr);
    EXPECT_EQ(reopened->get_xorig(), 2000150.0);
  }
  EXPECT_EQ(plugin.unregister(), 2);
  EXPECT_TRUE(gvk::dataSourceProviders().empty());
  EXPECT_EQ(gvk::createDataSource(kSite), nullptr);
}

}  // namespace
