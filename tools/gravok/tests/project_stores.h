// The providers of every store the project has, registered for a test suite: the
// tool's own (JSON, .node/.ele, .poly) and the LandXML and DXF plug-ins where they are
// built. A suite derives from ProjectStores and finds each store by the extension of
// its locations.
#ifndef GRAVOK_TOOL_TESTS_PROJECT_STORES_H
#define GRAVOK_TOOL_TESTS_PROJECT_STORES_H

#include "builtin_providers.h"

#include <gravok/gravok.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

class ProjectStores : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    gravok_tool::register_builtin_providers();
    for (const char* path : {GRAVOK_LANDXML_PLUGIN, GRAVOK_DXF_PLUGIN}) {
      if (!*path) continue;
      std::string error;
      auto module = gvk::PluginModule::load(path, error);
      ASSERT_TRUE(module) << error;
      modules().push_back(std::move(module));
    }
  }
  static void TearDownTestSuite() {
    modules().clear();
    gravok_tool::unregister_builtin_providers();
  }

  // The extension of each store's locations: ".json", ".node", and ".xml" and ".dxf"
  // when their plug-ins are built.
  static std::vector<std::string> store_extensions() {
    std::vector<std::string> extensions = {".json", ".node"};
    if (*GRAVOK_LANDXML_PLUGIN) extensions.push_back(".xml");
    if (*GRAVOK_DXF_PLUGIN) extensions.push_back(".dxf");
    return extensions;
  }

 private:
  static std::vector<std::unique_ptr<gvk::PluginModule>>& modules() {
    static std::vector<std::unique_ptr<gvk::PluginModule>> loaded;
    return loaded;
  }
};

#endif  // GRAVOK_TOOL_TESTS_PROJECT_STORES_H
