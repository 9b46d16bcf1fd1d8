// The providers of the DXF plug-in and the locations they open:
//
//  - "dxf:PATH": the file at PATH, whatever its name;
//  - "PATH" ending in ".dxf" (any case): for reading, when the file starts as a DXF
//    file does (0/SECTION, or a binary DXF's sentinel) or cannot be read (reading it
//    then says why), so that another file of that name is left to other providers;
//    for writing, always: the store provider refuses, with its reason (reported
//    through gvk::reportRefusal), a folder and an existing file that is neither empty
//    nor DXF, so that nothing else is overwritten and the user learns why.
//
// Either may end in "?breaklines=LAYER": the polylines and LINEs of that layer are read
// as break lines, beside those of layers whose names contain "breakline".
//
// The module registers both under the name "dxf" (register_providers). Providers keep
// no state; the plug-in's sources and stores belong to the caller.
#ifndef GRAVOK_DXF_PROVIDER_H
#define GRAVOK_DXF_PROVIDER_H

#include <gravok/providers.h>

#include <memory>
#include <string>

namespace gvk_dxf {

constexpr const char* kProviderName = "dxf";

// Opens DXF drawings for reading. createDataSource loads the file; when that fails
// it reports the source's error (file:line: what is wrong, or the system's reason for
// a file that cannot be read) through gvk::reportRefusal and returns an empty pointer.
// Warnings (what the drawing held that was left out) are logged at warn level.
class SourceProvider : public gvk::DataSourceProvider {
 public:
  ~SourceProvider() override;
  bool canHandle(const std::string& location) const override;
  std::string description() const override;
  bool supportsSurface() const override { return true; }
  std::unique_ptr<gvk::DataSource> createDataSource(
      const std::string& location) const override;
};

// Opens DXF drawings for writing. Its createDataSource returns an empty pointer, so
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

}  // namespace gvk_dxf

#endif  // GRAVOK_DXF_PROVIDER_H
