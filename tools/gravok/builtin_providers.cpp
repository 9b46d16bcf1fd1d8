#include "builtin_providers.h"

#include "json_providers.h"
#include "node_ele_store.h"
#include "triangle_providers.h"

#include <gravok/providers.h>

#include <memory>
#include <string>

namespace gravok_tool {
namespace {

bool ends_with(const std::string& text, const std::string& suffix) {
  return text.size() >= suffix.size() &&
         text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0;
}

// PATH for "PATH.node" and "PATH.ele".
std::string stem_of(const std::string& location) {
  return location.substr(0, location.size() - (ends_with(location, ".node") ? 5 : 4));
}

// Stores of .node and .ele pairs. Asked for a source, it makes none and says
// nothing, so that the source provider of the same name reads the pair.
class NodeEleStoreProvider : public gvk::DataStoreProvider {
 public:
  bool canHandle(const std::string& location) const override {
    return ends_with(location, ".node") || ends_with(location, ".ele");
  }
  std::string description() const override {
    return "a mesh written as a Triangle .node and .ele pair (PATH.node or PATH.ele); "
           "everything else is declared lost";
  }
  std::unique_ptr<gvk::DataSource> createDataSource(const std::string&) const override {
    return nullptr;
  }
  std::unique_ptr<gvk::DataStore> createDataStore(
      const std::string& location) const override {
    const std::string stem = stem_of(location);
    return std::make_unique<NodeEleStore>(stem + ".node", stem + ".ele");
  }
};

bool g_json_registered = false;

}  // namespace

void register_builtin_providers() {
  g_json_registered = gvk_json::register_providers() > 0;
  gvk_triangle::register_providers();
  gvk::registerDataStoreProvider(gvk_triangle::kNodeEleName,
                                 std::make_unique<NodeEleStoreProvider>());
}

void unregister_builtin_providers() {
  if (g_json_registered) gvk_json::unregister_providers();
  gvk_triangle::unregister_providers();
  gvk::unregisterDataStoreProvider(gvk_triangle::kNodeEleName);
}

}  // namespace gravok_tool
