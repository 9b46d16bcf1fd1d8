#include "landxml_provider.h"

#include "landxml_source.h"
#include "landxml_store.h"

#include <gravok/log.h>

#include <algorithm>
#include <filesystem>
#include <vector>

namespace gvk_landxml {
namespace {

constexpr const char* kPrefix = "landxml:";

bool has_prefix(const std::string& location) { return location.rfind(kPrefix, 0) == 0; }

bool ends_in_xml(const std::string& location) {
  if (location.size() < 4) return false;
  std::string tail = location.substr(location.size() - 4);
  for (char& c : tail) c = (c >= 'A' && c <= 'Z') ? char(c + 32) : c;
  return tail == ".xml";
}

// The providers register_providers registered, while the registry holds them. The
// registry destroys a provider whenever anyone unregisters its name, and the
// destructors below then clear these, so a pointer here is never one that a later
// provider reuses.
const SourceProvider* g_registered_source = nullptr;
const StoreProvider* g_registered_store = nullptr;

// The provider registered under kProviderName in the source registry, or null.
// dataSourceProviders() lists the store providers, then the source providers in the
// order of dataSourceProviderNames().
const gvk::DataSourceProvider* listed_source() {
  const std::vector<std::string> names = gvk::dataSourceProviderNames();
  const std::vector<const gvk::DataSourceProvider*> all = gvk::dataSourceProviders();
  const auto found = std::find(names.begin(), names.end(), kProviderName);
  if (found == names.end() || all.size() < names.size()) return nullptr;
  return all[all.size() - names.size() + static_cast<std::size_t>(found - names.begin())];
}

// The provider registered under kProviderName in the store registry, or null.
const gvk::DataStoreProvider* listed_store() {
  const std::vector<std::string> names = gvk::dataStoreProviderNames();
  const std::vector<const gvk::DataStoreProvider*> all = gvk::dataStoreProviders();
  const auto found = std::find(names.begin(), names.end(), kProviderName);
  if (found == names.end() || all.size() != names.size()) return nullptr;
  return all[static_cast<std::size_t>(found - names.begin())];
}

// The file path a location names.
std::string path_of(const std::string& location) {
  return has_prefix(location) ? location.substr(std::char_traits<char>::length(kPrefix))
                              : location;
}

}  // namespace

SourceProvider::~SourceProvider() {
  if (g_registered_source == this) g_registered_source = nullptr;
}

bool SourceProvider::canHandle(const std::string& location) const {
  return has_prefix(location) || ends_in_xml(location);
}

std::string SourceProvider::description() const {
  return "LandXML TIN surfaces: landxml:PATH, or PATH.xml whose root is <LandXML>";
}

std::unique_ptr<gvk::DataSource> SourceProvider::createDataSource(
    const std::string& location) const {
  const std::string path = path_of(location);
  if (std::string fault = landxml_root_fault(path); !fault.empty()) {
    gvk::reportRefusal(std::move(fault));
    return nullptr;
  }
  auto source = std::make_unique<LandXmlSource>(path);
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

StoreProvider::~StoreProvider() {
  if (g_registered_store == this) g_registered_store = nullptr;
}

bool StoreProvider::canHandle(const std::string& location) const {
  return has_prefix(location) || ends_in_xml(location);
}

std::string StoreProvider::description() const {
  return "LandXML 1.2 documents: landxml:PATH, or PATH.xml that is new or LandXML";
}

std::unique_ptr<gvk::DataSource> StoreProvider::createDataSource(
    const std::string&) const {
  return nullptr;
}

std::unique_ptr<gvk::DataStore> StoreProvider::createDataStore(
    const std::string& location) const {
  const std::string path = path_of(location);
  std::error_code code;
  if (std::filesystem::exists(path, code)) {
    if (std::string fault = landxml_root_fault(path); !fault.empty()) {
      gvk::reportRefusal(fault + "; it is left as it is");
      return nullptr;
    }
  }
  return std::make_unique<LandXmlStore>(path);
}

int register_providers() {
  auto source = std::make_unique<SourceProvider>();
  auto store = std::make_unique<StoreProvider>();
  const SourceProvider* source_address = source.get();
  const StoreProvider* store_address = store.get();
  int registered = 0;
  if (!g_registered_source &&
      gvk::registerDataSourceProvider(kProviderName, std::move(source))) {
    g_registered_source = source_address;
    ++registered;
  }
  if (!g_registered_store &&
      gvk::registerDataStoreProvider(kProviderName, std::move(store))) {
    g_registered_store = store_address;
    ++registered;
  }
  return registered;
}

int unregister_providers() {
  int removed = 0;
  if (g_registered_source && listed_source() == g_registered_source) {
    removed += gvk::unregisterDataSourceProvider(kProviderName);
  }
  if (g_registered_store && listed_store() == g_registered_store) {
    removed += gvk::unregisterDataStoreProvider(kProviderName);
  }
  return removed;
}

}  // namespace gvk_landxml
