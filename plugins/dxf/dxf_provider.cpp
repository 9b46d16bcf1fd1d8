#include "dxf_provider.h"

#include "dxf_source.h"
#include "dxf_store.h"

#include <gravok/log.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <utility>
#include <vector>

namespace gvk_dxf {
namespace {

constexpr const char* kPrefix = "dxf:";
constexpr const char* kBreakLines = "?breaklines=";

bool has_prefix(const std::string& location) { return location.rfind(kPrefix, 0) == 0; }

// A location taken apart: the file's path and the options it carries.
struct Location {
  std::string path;
  ReadOptions options;
};

Location parse(const std::string& location) {
  Location l;
  l.path = has_prefix(location) ? location.substr(std::char_traits<char>::length(kPrefix))
                                : location;
  const std::size_t option = l.path.rfind(kBreakLines);
  if (option != std::string::npos) {
    l.options.break_line_layer =
        l.path.substr(option + std::char_traits<char>::length(kBreakLines));
    l.path.erase(option);
  }
  return l;
}

bool ends_in_dxf(const std::string& path) {
  if (path.size() < 4) return false;
  std::string tail = path.substr(path.size() - 4);
  for (char& c : tail) c = (c >= 'A' && c <= 'Z') ? char(c + 32) : c;
  return tail == ".dxf";
}

// Whether `path` is a readable file that does not start as a DXF file does, which the
// providers leave to others. A missing or unreadable file is not: reading it says why.
bool foreign_file(const std::string& path) {
  std::error_code failed;
  return std::filesystem::is_regular_file(path, failed) &&
         std::ifstream(path, std::ios::binary).is_open() && !is_dxf_file(path);
}

const SourceProvider* g_registered_source = nullptr;
const StoreProvider* g_registered_store = nullptr;

// The provider registered under kProviderName in the source registry, or null.
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

}  // namespace

SourceProvider::~SourceProvider() {
  if (g_registered_source == this) g_registered_source = nullptr;
}

bool SourceProvider::canHandle(const std::string& location) const {
  if (has_prefix(location)) return true;
  const Location l = parse(location);
  return ends_in_dxf(l.path) && !foreign_file(l.path);
}

std::string SourceProvider::description() const {
  return "DXF drawings (TIN surfaces, break lines, elements by layer): dxf:PATH, or "
         "PATH.dxf that is DXF";
}

std::unique_ptr<gvk::DataSource> SourceProvider::createDataSource(
    const std::string& location) const {
  Location l = parse(location);
  auto source = std::make_unique<DxfSource>(l.path, std::move(l.options));
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
  if (has_prefix(location)) return true;
  const Location l = parse(location);
  return ends_in_dxf(l.path);
}

std::string StoreProvider::description() const {
  return "DXF R12 drawings: dxf:PATH, or PATH.dxf that is new or DXF";
}

std::unique_ptr<gvk::DataSource> StoreProvider::createDataSource(
    const std::string&) const {
  return nullptr;
}

std::unique_ptr<gvk::DataStore> StoreProvider::createDataStore(
    const std::string& location) const {
  std::string path = parse(location).path;
  std::error_code failed;
  if (std::filesystem::is_directory(path, failed)) {
    gvk::reportRefusal(path + ": " +
                       std::make_error_code(std::errc::is_a_directory).message() +
                       "; it is left as it is");
    return nullptr;
  }
  if (foreign_file(path) && std::filesystem::file_size(path, failed) > 0) {
    gvk::reportRefusal(path + ": not a DXF file: it does not start with the pairs " +
                       "0/SECTION; it is left as it is");
    return nullptr;
  }
  return std::make_unique<DxfStore>(std::move(path));
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

}  // namespace gvk_dxf
