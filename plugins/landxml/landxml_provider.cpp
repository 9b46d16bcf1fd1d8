#include "landxml_provider.h"

#include "landxml_source.h"
#include "landxml_store.h"

#include <gravok/log.h>

#include <filesystem>

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

// The file path a location names.
std::string path_of(const std::string& location) {
  return has_prefix(location) ? location.substr(std::char_traits<char>::length(kPrefix))
                              : location;
}

}  // namespace

bool SourceProvider::canHandle(const std::string& location) const {
  return has_prefix(location) || (ends_in_xml(location) && has_landxml_root(location));
}

std::string SourceProvider::description() const {
  return "LandXML TIN surfaces: landxml:PATH, or PATH.xml whose root is <LandXML>";
}

std::unique_ptr<gvk::DataSource> SourceProvider::createDataSource(
    const std::string& location) const {
  auto source = std::make_unique<LandXmlSource>(path_of(location));
  const bool loaded = source->load();
  for (const std::string& warning : source->warnings()) {
    GRAVOK_LOG_WARN << warning;
  }
  if (!loaded) {
    GRAVOK_LOG_ERROR << source->error();
    return nullptr;
  }
  return source;
}

bool StoreProvider::canHandle(const std::string& location) const {
  if (has_prefix(location)) return true;
  std::error_code failed;
  return ends_in_xml(location) &&
         (!std::filesystem::exists(location, failed) || has_landxml_root(location));
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
  return std::make_unique<LandXmlStore>(path_of(location));
}

int register_providers() {
  const bool source =
      gvk::registerDataSourceProvider(kProviderName, std::make_unique<SourceProvider>());
  const bool store =
      gvk::registerDataStoreProvider(kProviderName, std::make_unique<StoreProvider>());
  return int(source) + int(store);
}

int unregister_providers() {
  return int(gvk::unregisterDataSourceProvider(kProviderName)) +
         int(gvk::unregisterDataStoreProvider(kProviderName));
}

}  // namespace gvk_landxml
