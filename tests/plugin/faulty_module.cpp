// Modules that a host must survive, built from this one file:
//  - GRAVOK_FAULT_BARE: a shared module without the plug-in entry points;
//  - GRAVOK_FAULT_FAILING: registers a provider, then reports failure;
//  - GRAVOK_FAULT_FORGETFUL: registers a source and a store provider, and unregisters
//    only the source provider again.
#include <gravok/plugin.h>
#include <gravok/providers.h>

#include <memory>
#include <string>

#if defined(GRAVOK_FAULT_BARE)

GRAVOK_PLUGIN_EXPORT int gravok_plugin_version() { return 1; }

#else

namespace {

// Accepts "faulty:" and makes nothing: asking it at all after its module is gone is
// the fault the tests look for.
template <class Base>
class FaultyProvider : public Base {
 public:
  bool canHandle(const std::string& location) const override {
    return location == "faulty:";
  }
  std::string description() const override {
    return "faulty: a provider of a test module";
  }
  std::unique_ptr<gvk::DataSource> createDataSource(const std::string&) const override {
    return nullptr;
  }
};

class FaultyStoreProvider : public FaultyProvider<gvk::DataStoreProvider> {
 public:
  std::unique_ptr<gvk::DataStore> createDataStore(const std::string&) const override {
    return nullptr;
  }
};

}  // namespace

GRAVOK_PLUGIN_EXPORT int gravok_plugin_register() {
  gvk::registerDataSourceProvider(
      "faulty source", std::make_unique<FaultyProvider<gvk::DataSourceProvider> >());
#if defined(GRAVOK_FAULT_FAILING)
  return -1;
#else
  gvk::registerDataStoreProvider("faulty store", std::make_unique<FaultyStoreProvider>());
  return 2;
#endif
}

GRAVOK_PLUGIN_EXPORT int gravok_plugin_unregister() {
  return gvk::unregisterDataSourceProvider("faulty source") ? 1 : 0;
}

#endif
