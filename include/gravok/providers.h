/// @file
/// Provider registry: factories of sources and stores, kept by name. Host plug-ins
/// register providers at start-up; the library later asks them, in a fixed order, to
/// open a location string: store providers first, then source providers, each
/// registry in ascending name order (plain byte comparison). The first provider whose
/// canHandle accepts the location and whose creation returns an object wins.
///
/// The order of the virtual operations of both provider classes is part of the binary
/// interface: providers are built separately from the library. A new operation goes
/// after the last one, never between two.
///
/// Ownership: a registry owns every provider it holds and destroys it when it is
/// unregistered or when the library is unloaded; the pointers the listing functions
/// return are borrowed until then. Sources and stores that providers create belong to
/// the caller. Nothing here takes a lock: register and unregister before the threads
/// that list providers or create sources start, and after they stop. Only the
/// creation of each registry on first use is safe against concurrent first calls.
#ifndef GRAVOK_PROVIDERS_H
#define GRAVOK_PROVIDERS_H

#include <gravok/data_source.h>
#include <gravok/data_store.h>
#include <gravok/export.h>

#include <memory>
#include <string>
#include <vector>

namespace gvk {

/// A factory of sources.
class GRAVOK_API DataSourceProvider {
 public:
  DataSourceProvider() = default;
  /// Copies nothing: the base has no state.
  DataSourceProvider(const DataSourceProvider&) = default;
  /// Assigns nothing: the base has no state.
  DataSourceProvider& operator=(const DataSourceProvider&) = default;

  virtual ~DataSourceProvider();

  /// True when this provider can create an object for `location`. The location's
  /// form is a matter between the host and its providers.
  virtual bool canHandle(const std::string& location) const = 0;

  /// One line saying what locations the provider opens, for a host to list its
  /// providers. The library never calls it.
  virtual std::string description() const = 0;

  /// Whether the sources of this provider offer surfaces. Default: false.
  virtual bool supportsSurface() const;

  /// A new source for `location`, owned by the caller, or an empty pointer.
  virtual std::unique_ptr<DataSource> createDataSource(
      const std::string& location) const = 0;
};

/// A factory of stores. Every store is also a source, so a store provider serves
/// source requests too.
class GRAVOK_API DataStoreProvider : public DataSourceProvider {
 public:
  DataStoreProvider() = default;
  /// Copies nothing: the base has no state.
  DataStoreProvider(const DataStoreProvider&) = default;
  /// Moves nothing: the base has no state.
  DataStoreProvider(DataStoreProvider&&) = default;
  /// Assigns nothing: the base has no state.
  DataStoreProvider& operator=(const DataStoreProvider&) = default;
  /// Assigns nothing: the base has no state.
  DataStoreProvider& operator=(DataStoreProvider&&) = default;

  ~DataStoreProvider() override;

  /// Default: true.
  bool supportsSurface() const override;

  /// Calls createDataStore(location) on this provider and hands its store out as a
  /// source; an empty result stays empty.
  std::unique_ptr<DataSource> createDataSource(
      const std::string& location) const override;

  /// A new store for `location`, owned by the caller, or an empty pointer.
  virtual std::unique_ptr<DataStore> createDataStore(
      const std::string& location) const = 0;
};

/// Registers `provider` under `name` and takes ownership of it. Names are taken
/// exactly as given: no case folding or trimming, and the empty name is a valid name.
/// Returns false and changes nothing when `name` is already registered (the earlier
/// provider stays) or when `provider` is empty; the provider passed in is then
/// destroyed on return. The source and store registries are independent: one name
/// may be registered in both.
GRAVOK_API bool registerDataSourceProvider(std::string name,
                                           std::unique_ptr<DataSourceProvider> provider);

/// Removes the provider registered under `name` and destroys it. False when no
/// provider has that name.
GRAVOK_API bool unregisterDataSourceProvider(std::string name);

/// Every registered store provider in ascending name order, then every source
/// provider in ascending name order. A name present in both registries yields two
/// entries. The pointers are borrowed.
GRAVOK_API std::vector<const DataSourceProvider*> dataSourceProviders();

/// Offers `location`, unchanged, to the providers of dataSourceProviders() in list
/// order and returns the first object created by a provider that accepts it. A
/// provider whose creation returns an empty pointer is passed over. Empty when no
/// provider produced a source. An exception from a provider reaches the caller and
/// the remaining providers are not asked.
GRAVOK_API std::unique_ptr<DataSource> createDataSource(const std::string& location);

/// The same four operations on the store-provider registry; createDataStore asks the
/// store providers in ascending name order.
GRAVOK_API bool registerDataStoreProvider(std::string name,
                                          std::unique_ptr<DataStoreProvider> provider);
/// unregisterDataSourceProvider for store providers.
GRAVOK_API bool unregisterDataStoreProvider(std::string name);
/// dataSourceProviders for store providers.
GRAVOK_API std::vector<const DataStoreProvider*> dataStoreProviders();
/// createDataSource for stores: asks the store providers in ascending name order.
GRAVOK_API std::unique_ptr<DataStore> createDataStore(const std::string& location);

/// Says why a location that a provider recognised cannot be opened. A provider whose
/// canHandle accepted a location, and that then returns an empty pointer from its
/// creation operation, calls this first with the reason: the file and, where the fault
/// lies in it, the line and what is wrong ("site.xml:2709: not well-formed XML"), or the
/// system's reason when the file is missing or unreadable ("site.json: No such file or
/// directory"). A provider that does not recognise a location says nothing and lets the
/// next one try.
///
/// The reason goes to the two-argument createDataSource or createDataStore running on
/// the calling thread, the innermost one when a provider itself opens another location;
/// outside such a call (in the one-argument functions, or when a host calls a provider
/// directly) it is discarded. Each thread collects its own reasons.
GRAVOK_API void reportRefusal(std::string reason);

/// createDataSource(location), which also says why no provider opened the location:
/// `reasons` is replaced by the reasons that the providers asked during the call gave
/// through reportRefusal, in the order they were asked, each text once (a provider
/// registered both as a source and as a store provider may say the same thing twice).
/// When the result is empty and
/// `reasons` is empty too, no provider recognised the location. A successful call may
/// still bring the reasons of providers asked before the one that opened it. An
/// exception from a provider passes through as in createDataSource; `reasons` then
/// holds what was reported before it.
GRAVOK_API std::unique_ptr<DataSource> createDataSource(
    const std::string& location, std::vector<std::string>& reasons);

/// createDataStore(location) with the reasons of the store providers that refused it,
/// as the two-argument createDataSource gathers them.
GRAVOK_API std::unique_ptr<DataStore> createDataStore(const std::string& location,
                                                      std::vector<std::string>& reasons);

/// The names registered in the source-provider registry, in ascending order (plain byte
/// comparison), the order in which dataSourceProviders() lists these providers after
/// the store providers. Store providers are not among them: their names come from
/// dataStoreProviderNames(), which lists the store-provider registry the same way.
GRAVOK_API std::vector<std::string> dataSourceProviderNames();
/// The names in the store-provider registry, in ascending byte order.
GRAVOK_API std::vector<std::string> dataStoreProviderNames();

}  // namespace gvk

#endif  // GRAVOK_PROVIDERS_H
