// The providers of JSON problem documents, for the registry. A location names a
// document as "json:PATH" or as a path ending in ".json" (any letter case).
// Both providers are registered under the name "json", one in each registry; the
// plug-in module registers them when it is loaded and a host may register them
// itself. Register and unregister as the registry's own rules say: before and after
// the threads that create sources.
#ifndef GRAVOK_JSON_PROVIDERS_H
#define GRAVOK_JSON_PROVIDERS_H

#include "json_store.h"

#include <gravok/providers.h>

#include <memory>
#include <string>

namespace gvk_json {

// The registration name of both providers.
inline constexpr const char* kProviderName = "json";

// The file a location names: PATH for "json:PATH", the location itself when it ends
// in ".json"; empty for every other location (and for "json:" alone).
std::string location_path(const std::string& location);

// A read-only source over the document at `location`. Empty, with the reason in
// `error` (an unknown location, a missing or unreadable file, the reader's message
// naming the place in the document), when it cannot be opened.
std::unique_ptr<gvk::DataSource> open_source(const std::string& location,
                                             std::string& error);

// A store for the document at `location`: starting from the document when the file
// exists, from an empty problem when it does not. Empty, with the reason in `error`,
// for an unknown location and for a file that exists but does not read as a document
// (it is left as it is rather than overwritten). Nothing is written here.
std::unique_ptr<JsonStore> open_store(const std::string& location, std::string& error);

// Serves open_source.
class JsonSourceProvider : public gvk::DataSourceProvider {
 public:
  bool canHandle(const std::string& location) const override;
  std::string description() const override;
  std::unique_ptr<gvk::DataSource> createDataSource(
      const std::string& location) const override;
};

// Serves open_store. Asked for a source (the registry asks store providers first), it
// serves open_source instead, so that a missing or broken document never opens as an
// empty problem.
class JsonStoreProvider : public gvk::DataStoreProvider {
 public:
  bool canHandle(const std::string& location) const override;
  std::string description() const override;
  std::unique_ptr<gvk::DataSource> createDataSource(
      const std::string& location) const override;
  std::unique_ptr<gvk::DataStore> createDataStore(
      const std::string& location) const override;
};

// Registers both providers under kProviderName; returns how many of the two are now
// registered by this code (0 to 2). A name already taken in a registry is left to
// its owner. Calling it again registers only what is missing.
int register_providers();

// Unregisters the providers that register_providers registered, and only those;
// returns how many were removed.
int unregister_providers();

}  // namespace gvk_json

#endif  // GRAVOK_JSON_PROVIDERS_H
