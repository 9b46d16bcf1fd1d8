// What the file-format plug-ins share about their providers: taking a location apart
// ("name:PATH", "PATH.ext"), loading a source and reporting why it cannot be opened,
// and registering a module's source and store provider under one name so that
// unregistering removes exactly those two.
//
// Header-only and internal to the plug-ins (each module compiles its own copy); not
// part of the library's interface. Registration takes no lock: the host loads and
// unloads plug-ins before and after the threads that open locations run.
#ifndef GRAVOK_PLUGIN_PROVIDERS_H
#define GRAVOK_PLUGIN_PROVIDERS_H

#include <gravok/log.h>
#include <gravok/providers.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace gvk_plugin {

// Whether `location` starts with `prefix` ("dxf:").
inline bool has_prefix(const std::string& location, const std::string& prefix) {
  return location.rfind(prefix, 0) == 0;
}

// `location` without `prefix` when it starts with it, else `location` itself.
inline std::string strip_prefix(const std::string& location, const std::string& prefix) {
  return has_prefix(location, prefix) ? location.substr(prefix.size()) : location;
}

// Whether `path` ends in `suffix` (".dxf"), ignoring the case of ASCII letters.
inline bool ends_in(const std::string& path, const std::string& suffix) {
  if (path.size() < suffix.size()) return false;
  const std::size_t start = path.size() - suffix.size();
  for (std::size_t i = 0; i < suffix.size(); ++i) {
    const char c = path[start + i];
    const char lower = (c >= 'A' && c <= 'Z') ? char(c + ('a' - 'A')) : c;
    if (lower != suffix[i]) return false;
  }
  return true;
}

// Loads `source` (a source with load(), warnings() and error()), logs each of its
// warnings at warn level, and returns it; when the load fails, reports its error
// through gvk::reportRefusal (so that the host tells its user why) and returns an empty
// pointer.
template <typename Source>
std::unique_ptr<gvk::DataSource> loaded_or_refused(std::unique_ptr<Source> source) {
  const bool loaded = source->load();
  for (const std::string& warning : source->warnings()) {
    GRAVOK_LOG_WARN << warning;
  }
  if (!loaded) {
    gvk::reportRefusal(source->error());
    return nullptr;
  }
  return source;
}

// The address of the provider of type `Provider` that register_providers registered,
// while the registry holds it. The registry destroys a provider whenever anyone
// unregisters its name; its destructor calls forget_registered, so an address kept
// here is never one that a later provider reuses.
template <typename Provider>
struct Registered {
  static inline const Provider* address = nullptr;
};

// For the destructor of each provider type that register_providers registers.
template <typename Provider>
void forget_registered(const Provider* provider) {
  if (Registered<Provider>::address == provider) Registered<Provider>::address = nullptr;
}

// The provider registered under `name` in the source registry, or null.
// dataSourceProviders() lists the store providers, then the source providers in the
// order of dataSourceProviderNames().
inline const gvk::DataSourceProvider* listed_source(const std::string& name) {
  const std::vector<std::string> names = gvk::dataSourceProviderNames();
  const std::vector<const gvk::DataSourceProvider*> all = gvk::dataSourceProviders();
  const auto found = std::find(names.begin(), names.end(), name);
  if (found == names.end() || all.size() < names.size()) return nullptr;
  return all[all.size() - names.size() + static_cast<std::size_t>(found - names.begin())];
}

// The provider registered under `name` in the store registry, or null.
inline const gvk::DataStoreProvider* listed_store(const std::string& name) {
  const std::vector<std::string> names = gvk::dataStoreProviderNames();
  const std::vector<const gvk::DataStoreProvider*> all = gvk::dataStoreProviders();
  const auto found = std::find(names.begin(), names.end(), name);
  if (found == names.end() || all.size() != names.size()) return nullptr;
  return all[static_cast<std::size_t>(found - names.begin())];
}

// Registers a new Source (a DataSourceProvider) and a new Store (a
// DataStoreProvider), both under `name`; returns how many were registered. A name
// already taken keeps its earlier provider, and a second call while the first one's
// providers are registered registers nothing.
template <typename Source, typename Store>
int register_providers(const std::string& name) {
  auto source = std::make_unique<Source>();
  auto store = std::make_unique<Store>();
  const Source* source_address = source.get();
  const Store* store_address = store.get();
  int registered = 0;
  if (!Registered<Source>::address &&
      gvk::registerDataSourceProvider(name, std::move(source))) {
    Registered<Source>::address = source_address;
    ++registered;
  }
  if (!Registered<Store>::address &&
      gvk::registerDataStoreProvider(name, std::move(store))) {
    Registered<Store>::address = store_address;
    ++registered;
  }
  return registered;
}

// Unregisters the providers that register_providers<Source, Store> registered and that
// are still registered under `name`; returns how many it removed. A provider that
// another party registered under that name since (after unregistering ours) is left
// alone, also when it happens to sit at the address ours had.
template <typename Source, typename Store>
int unregister_providers(const std::string& name) {
  int removed = 0;
  if (Registered<Source>::address && listed_source(name) == Registered<Source>::address) {
    removed += gvk::unregisterDataSourceProvider(name);
  }
  if (Registered<Store>::address && listed_store(name) == Registered<Store>::address) {
    removed += gvk::unregisterDataStoreProvider(name);
  }
  return removed;
}

}  // namespace gvk_plugin

#endif  // GRAVOK_PLUGIN_PROVIDERS_H
