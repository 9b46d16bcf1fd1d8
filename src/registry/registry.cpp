#include <gravok/providers.h>

#include "registrations.h"

#include <map>
#include <utility>

namespace gvk {
namespace {

// A provider and the serial number of its registration.
template <class Provider>
struct Slot {
  Slot(std::unique_ptr<Provider>&& provider, unsigned long long serial)
      : provider(std::move(provider)), serial(serial) {}
  std::unique_ptr<Provider> provider;
  unsigned long long serial;
};

template <class Provider>
using Registry = std::map<std::string, Slot<Provider>>;

// Created on first use by any thread, destroyed with every provider still in it when
// the library is unloaded.
Registry<DataSourceProvider>& source_registry() {
  static Registry<DataSourceProvider> registry;
  return registry;
}

Registry<DataStoreProvider>& store_registry() {
  static Registry<DataStoreProvider> registry;
  return registry;
}

// The serial number of the next registration of either registry.
unsigned long long g_next_serial = 0;

// try_emplace leaves `provider` alone when the name is taken, so the rejected
// provider is destroyed with the argument when the caller returns.
template <class Provider>
bool add(Registry<Provider>& registry, std::string& name,
         std::unique_ptr<Provider>& provider) {
  if (!provider) return false;
  if (!registry.try_emplace(std::move(name), std::move(provider), g_next_serial).second)
    return false;
  ++g_next_serial;
  return true;
}

// Writes the registry's providers, in name order, from `out` on; returns the end.
// The caller sizes the list first: appending would export the vector-growth code of
// our pointer types, which is no part of the interface.
template <class Provider, class Out>
Out fill(const Registry<Provider>& registry, Out out) {
  for (const auto& entry : registry) *out++ = entry.second.provider.get();
  return out;
}

// The registry's names in ascending order, sized first as the provider lists are.
template <class Provider>
std::vector<std::string> names_of(const Registry<Provider>& registry) {
  std::vector<std::string> names(registry.size());
  auto out = names.begin();
  for (const auto& entry : registry) *out++ = entry.first;
  return names;
}

template <class Provider>
int count_in(const Registry<Provider>& registry, unsigned long long first,
             unsigned long long end) {
  int count = 0;
  for (const auto& entry : registry)
    count += entry.second.serial >= first && entry.second.serial < end ? 1 : 0;
  return count;
}

template <class Provider>
std::vector<std::string> names_in(const Registry<Provider>& registry,
                                  unsigned long long first, unsigned long long end) {
  std::vector<std::string> names;
  for (const auto& entry : registry)
    if (entry.second.serial >= first && entry.second.serial < end)
      names.push_back(entry.first);
  return names;
}

// Gathers the names first and erases them one by one, so that a provider's destructor
// never runs in the middle of a walk over the registry.
template <class Provider>
int remove_in(Registry<Provider>& registry, unsigned long long first,
              unsigned long long end) {
  const auto in_range = [&](const Slot<Provider>& slot) {
    return slot.serial >= first && slot.serial < end;
  };
  std::vector<std::string> names;
  for (const auto& entry : registry)
    if (in_range(entry.second)) names.push_back(entry.first);
  int removed = 0;
  for (const std::string& name : names) {
    const auto at = registry.find(name);
    if (at == registry.end() || !in_range(at->second)) continue;
    registry.erase(at);
    ++removed;
  }
  return removed;
}

// Offers `location` to each provider in list order; the first that accepts it and
// makes an object wins. A provider that accepts but makes nothing is passed over.
template <class Object, class Provider>
std::unique_ptr<Object> first_made(
    const std::vector<const Provider*>& providers, const std::string& location,
    std::unique_ptr<Object> (Provider::*make)(const std::string&) const) {
  for (const Provider* provider : providers) {
    if (!provider->canHandle(location)) continue;
    if (std::unique_ptr<Object> made = (provider->*make)(location)) return made;
  }
  return nullptr;
}

// Where reportRefusal puts a reason on this thread: the list of the innermost
// two-argument creation call, or nowhere.
thread_local std::vector<std::string>* t_refusals = nullptr;

// Points reportRefusal at `list` (null: discard) for the lifetime of the object.
class RefusalScope {
 public:
  explicit RefusalScope(std::vector<std::string>* list) : m_outer(t_refusals) {
    t_refusals = list;
  }
  ~RefusalScope() { t_refusals = m_outer; }
  RefusalScope(const RefusalScope&) = delete;
  RefusalScope& operator=(const RefusalScope&) = delete;

 private:
  std::vector<std::string>* m_outer;
};

}  // namespace

void reportRefusal(std::string reason) {
  if (!t_refusals) return;
  for (const std::string& known : *t_refusals) {
    if (known == reason) return;
  }
  t_refusals->push_back(std::move(reason));
}

bool registerDataSourceProvider(std::string name,
                                std::unique_ptr<DataSourceProvider> provider) {
  return add(source_registry(), name, provider);
}

bool unregisterDataSourceProvider(std::string name) {
  return source_registry().erase(name) == 1;
}

std::vector<const DataSourceProvider*> dataSourceProviders() {
  std::vector<const DataSourceProvider*> list(store_registry().size() +
                                              source_registry().size());
  fill(source_registry(), fill(store_registry(), list.begin()));
  return list;
}

std::vector<std::string> dataSourceProviderNames() { return names_of(source_registry()); }

std::unique_ptr<DataSource> createDataSource(const std::string& location) {
  const RefusalScope discard(nullptr);
  return first_made(dataSourceProviders(), location,
                    &DataSourceProvider::createDataSource);
}

bool registerDataStoreProvider(std::string name,
                               std::unique_ptr<DataStoreProvider> provider) {
  return add(store_registry(), name, provider);
}

bool unregisterDataStoreProvider(std::string name) {
  return store_registry().erase(name) == 1;
}

std::vector<const DataStoreProvider*> dataStoreProviders() {
  std::vector<const DataStoreProvider*> list(store_registry().size());
  fill(store_registry(), list.begin());
  return list;
}

std::vector<std::string> dataStoreProviderNames() { return names_of(store_registry()); }

std::unique_ptr<DataStore> createDataStore(const std::string& location) {
  const RefusalScope discard(nullptr);
  return first_made(dataStoreProviders(), location, &DataStoreProvider::createDataStore);
}

std::unique_ptr<DataSource> createDataSource(const std::string& location,
                                             std::vector<std::string>& reasons) {
  reasons.clear();
  const RefusalScope collect(&reasons);
  return first_made(dataSourceProviders(), location,
                    &DataSourceProvider::createDataSource);
}

std::unique_ptr<DataStore> createDataStore(const std::string& location,
                                           std::vector<std::string>& reasons) {
  reasons.clear();
  const RefusalScope collect(&reasons);
  return first_made(dataStoreProviders(), location, &DataStoreProvider::createDataStore);
}

namespace detail {

unsigned long long next_registration_serial() { return g_next_serial; }

int count_registrations(unsigned long long first, unsigned long long end) {
  return count_in(source_registry(), first, end) + count_in(store_registry(), first, end);
}

std::vector<std::string> registration_names(unsigned long long first,
                                            unsigned long long end, bool stores) {
  return stores ? names_in(store_registry(), first, end)
                : names_in(source_registry(), first, end);
}

int remove_registrations(unsigned long long first, unsigned long long end) {
  return remove_in(source_registry(), first, end) +
         remove_in(store_registry(), first, end);
}

}  // namespace detail
}  // namespace gvk
