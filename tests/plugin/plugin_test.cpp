#include <gravok/gravok.h>

#include "../recording_store.h"

#include <gtest/gtest.h>

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

using gvk::PluginModule;
using gvk_test::CallLog;
using gvk_test::Origin;
using gvk_test::Recorder;
using Names = std::vector<std::string>;

// Whether the module at `path` is in the process, asked without loading it: a module
// that is still there after unloading would hide a provider left behind.
bool is_mapped(const char* path) {
#if defined(_WIN32)
  return GetModuleHandleA(path) != nullptr;
#else
  void* module = dlopen(path, RTLD_NOW | RTLD_NOLOAD);
  if (module) dlclose(module);
  return module != nullptr;
#endif
}

// Every registration: source-provider names, then store-provider names.
Names registered() {
  Names names = gvk::dataSourceProviderNames();
  for (const std::string& name : gvk::dataStoreProviderNames())
    names.push_back("store " + name);
  return names;
}

TEST(PluginModule, MovesASiteThroughProvidersLoadedAtRunTimeAndLeavesNothingBehind) {
  std::string error;
  std::unique_ptr<PluginModule> plugin = PluginModule::load(GRAVOK_SITE_PLUGIN, error);
  ASSERT_NE(plugin, nullptr) << error;
  EXPECT_EQ(plugin->provider_count(), 2);
  EXPECT_EQ(plugin->path(), GRAVOK_SITE_PLUGIN);
  EXPECT_EQ(registered(),
            (Names{"site-plugin survey sites", "store site-plugin projects"}));
  const std::vector<const gvk::DataSourceProvider*> providers =
      gvk::dataSourceProviders();
  ASSERT_EQ(providers.size(), 2u);
  EXPECT_TRUE(providers[0]->supportsSurface());  // the store provider comes first
  EXPECT_EQ(providers[1]->description().rfind("survey sites", 0), 0u);

  // A second load of the same module is refused and leaves the first one alone.
  EXPECT_EQ(PluginModule::load(GRAVOK_SITE_PLUGIN, error), nullptr);
  EXPECT_NE(error.find("loaded already"), std::string::npos) << error;
  EXPECT_EQ(gvk::dataSourceProviders(), providers);

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
  {
    // The module changes hands; the last owner's end unloads it.
    const PluginModule owner = std::move(*plugin);
    EXPECT_FALSE(plugin->is_loaded());
    EXPECT_EQ(plugin->provider_count(), 0);
    EXPECT_EQ(owner.provider_count(), 2);
  }
  EXPECT_FALSE(is_mapped(GRAVOK_SITE_PLUGIN));
  EXPECT_EQ(registered(), Names{});
  EXPECT_EQ(gvk::createDataSource("site:north"), nullptr);
  EXPECT_EQ(gvk::createDataStore("local-origin:1,2,3"), nullptr);
  EXPECT_EQ(plugin->unload(), 0);

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

TEST(PluginModule, RefusesWhatIsNoWorkingModuleAndLeavesNothingRegistered) {
  struct Case {
    std::string path;
    std::string says;  // besides the path
  };
  const Case cases[] = {
      {std::string(GRAVOK_BARE_MODULE) + ".missing", "cannot load"},
      {__FILE__, "cannot load"},  // a file, but no module
      {GRAVOK_BARE_MODULE, "not a plug-in module"},
      {GRAVOK_FAILING_MODULE, "returning -1"},
      {"", "path is empty"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.path);
    std::string error;
    EXPECT_EQ(PluginModule::load(c.path, error), nullptr);
    EXPECT_NE(error.find("'" + c.path + "'"), std::string::npos) << error;
    EXPECT_NE(error.find(c.says), std::string::npos) << error;
    EXPECT_EQ(registered(), Names{});
    if (!c.path.empty()) {  // "" names the program itself
      EXPECT_FALSE(is_mapped(c.path.c_str()));
    }
  }
}

TEST(PluginModule, RemovesWhatTheModuleForgetsToUnregisterButNotTheHostsOwn) {
  std::string error;
  std::unique_ptr<PluginModule> module =
      PluginModule::load(GRAVOK_FORGETFUL_MODULE, error);
  ASSERT_NE(module, nullptr) << error;
  EXPECT_EQ(module->provider_count(), 2);
  EXPECT_EQ(module->unload(), 1);
  EXPECT_FALSE(is_mapped(GRAVOK_FORGETFUL_MODULE));
  EXPECT_EQ(registered(), Names{});
  EXPECT_EQ(gvk::createDataStore("faulty:"), nullptr);

  // A name that the host registers anew, with a provider of its own, stays.
  class HostProvider : public gvk::DataStoreProvider {
    bool canHandle(const std::string&) const override { return false; }
    std::string description() const override { return "the host's own"; }
    std::unique_ptr<gvk::DataStore> createDataStore(const std::string&) const override {
      return nullptr;
    }
  };
  module = PluginModule::load(GRAVOK_FORGETFUL_MODULE, error);
  ASSERT_NE(module, nullptr) << error;
  ASSERT_TRUE(gvk::unregisterDataStoreProvider("faulty store"));
  ASSERT_TRUE(
      gvk::registerDataStoreProvider("faulty store", std::make_unique<HostProvider>()));
  EXPECT_EQ(module->unload(), 0);
  EXPECT_EQ(registered(), Names{"store faulty store"});
  EXPECT_TRUE(gvk::unregisterDataStoreProvider("faulty store"));
}

}  // namespace
