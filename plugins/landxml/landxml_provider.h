// The providers of the LandXML plug-in and the locations they open:
//
//  - "landxml:PATH": the file at PATH, whatever its name;
//  - "PATH" ending in ".xml" (any case): for reading, when the file's first element
//    is <LandXML>; for writing, when the file does not exist yet or its first element
//    is <LandXML>, so that no other XML document is overwritten.
//
// Both providers recognise every such location (canHandle) and say through
// gvk::reportRefusal why one of them cannot be opened: the system's reason for a file
// that is missing, a folder or unreadable, UTF-16 text, a first element other than
// <LandXML>, or the reader's message naming the file and line.
//
// The module registers both under the name "landxml" (register_providers). Providers keep
// no state; the plug-in's sources and stores belong to the caller.
#ifndef GRAVOK_LANDXML_PROVIDER_H
#define GRAVOK_LANDXML_PROVIDER_H

#include <gravok/providers.h>

#include <memory>
#include <string>

namespace gvk_landxml {

constexpr const char* kProviderName = "landxml";

// Opens LandXML files for reading. createDataSource loads the file; when that fails
// it reports the reason (gvk::reportRefusal) and returns an empty pointer. Warnings
// of a successful load are logged at warn level.
class SourceProvider : public gvk::DataSourceProvider {
 public:
  ~SourceProvider() override;
  bool canHandle(const std::string& location) const override;
  std::string description() const override;
  bool supportsSurface() const override { return true; }
  std::unique_ptr<gvk::DataSource> createDataSource(
      const std::string& location) const override;
};

// Opens LandXML files for writing. Its createDataSource returns an empty pointer, so
// that a request for a source passes on to SourceProvider, which reads the file.
class StoreProvider : public gvk::DataStoreProvider {
 public:
  ~StoreProvider() override;
  bool canHandle(const std::string& location) const override;
  std::string description() const override;
  std::unique_ptr<gvk::DataSource> createDataSource(
      const std::string& location) const override;
  std::unique_ptr<gvk::DataStore> createDataStore(
      const std::string& location) const override;
};

// Registers a SourceProvider and a StoreProvider, both under kProviderName; returns
// how many were registered (a name already taken keeps its earlier provider, and a
// second call while the first one's providers are registered registers nothing).
int register_providers();
// Unregisters the providers that register_providers registered and that are still
// registered under kProviderName; returns how many it removed. A provider that
// another party has registered under that name since (after unregistering ours) is
// left alone, also when it happens to sit at the address ours had: each provider of
// this module knows when the registry destroys it.
int unregister_providers();

}  // namespace gvk_landxml

#endif  // GRAVOK_LANDXML_PROVIDER_H
