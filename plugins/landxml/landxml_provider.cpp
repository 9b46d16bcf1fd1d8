#include "landxml_provider.h"

#include "landxml_source.h"
#include "landxml_store.h"
#include "plugin_providers.h"

#include <filesystem>

namespace gvk_landxml {
namespace {

constexpr const char* kPrefix = "landxml:";

}  // namespace

SourceProvider::~SourceProvider() { gvk_plugin::forget_registered(this); }

bool SourceProvider::canHandle(const std::string& location) const {
  return gvk_plugin::has_prefix(location, kPrefix) ||
         gvk_plugin::ends_in(location, ".xml");
}

std::string SourceProvider::description() const {
  return "LandXML TIN surfaces: landxml:PATH, or PATH.xml whose root is <LandXML>";
}

std::unique_ptr<gvk::DataSource> SourceProvider::createDataSource(
    const std::string& location) const {
  const std::string path = gvk_plugin::strip_prefix(location, kPrefix);
  if (std::string fault = landxml_root_fault(path); !fault.empty()) {
    gvk::reportRefusal(std::move(fault));
    return nullptr;
  }
  return gvk_plugin::loaded_or_refused(std::make_unique<LandXmlSource>(path));
}

StoreProvider::~StoreProvider() { gvk_plugin::forget_registered(this); }

bool StoreProvider::canHandle(const std::string& location) const {
  return gvk_plugin::has_prefix(location, kPrefix) ||
         gvk_plugin::ends_in(location, ".xml");
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
  const std::string path = gvk_plugin::strip_prefix(location, kPrefix);
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
  return gvk_plugin::register_providers<SourceProvider, StoreProvider>(kProviderName);
}

int unregister_providers() {
  return gvk_plugin::unregister_providers<SourceProvider, StoreProvider>(kProviderName);
}

}  // namespace gvk_landxml
