#include "dxf_provider.h"

#include "dxf_source.h"
#include "dxf_store.h"
#include "plugin_providers.h"

#include <filesystem>
#include <fstream>
#include <system_error>
#include <utility>

namespace gvk_dxf {
namespace {

constexpr const char* kPrefix = "dxf:";
constexpr const char* kBreakLines = "?breaklines=";

// A location taken apart: the file's path and the options it carries.
struct Location {
  std::string path;
  ReadOptions options;
};

Location parse(const std::string& location) {
  Location l;
  l.path = gvk_plugin::strip_prefix(location, kPrefix);
  const std::size_t option = l.path.rfind(kBreakLines);
  if (option != std::string::npos) {
    l.options.break_line_layer =
        l.path.substr(option + std::char_traits<char>::length(kBreakLines));
    l.path.erase(option);
  }
  return l;
}

// Whether `path` is a readable file that does not start as a DXF file does, which the
// providers leave to others. A missing or unreadable file is not: reading it says why.
bool foreign_file(const std::string& path) {
  std::error_code failed;
  return std::filesystem::is_regular_file(path, failed) &&
         std::ifstream(path, std::ios::binary).is_open() && !is_dxf_file(path);
}

}  // namespace

SourceProvider::~SourceProvider() { gvk_plugin::forget_registered(this); }

bool SourceProvider::canHandle(const std::string& location) const {
  if (gvk_plugin::has_prefix(location, kPrefix)) return true;
  const Location l = parse(location);
  return gvk_plugin::ends_in(l.path, ".dxf") && !foreign_file(l.path);
}

std::string SourceProvider::description() const {
  return "DXF drawings (TIN surfaces, break lines, elements by layer): dxf:PATH, or "
         "PATH.dxf that is DXF";
}

std::unique_ptr<gvk::DataSource> SourceProvider::createDataSource(
    const std::string& location) const {
  Location l = parse(location);
  return gvk_plugin::loaded_or_refused(
      std::make_unique<DxfSource>(l.path, std::move(l.options)));
}

StoreProvider::~StoreProvider() { gvk_plugin::forget_registered(this); }

bool StoreProvider::canHandle(const std::string& location) const {
  return gvk_plugin::has_prefix(location, kPrefix) ||
         gvk_plugin::ends_in(parse(location).path, ".dxf");
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
  return gvk_plugin::register_providers<SourceProvider, StoreProvider>(kProviderName);
}

int unregister_providers() {
  return gvk_plugin::unregister_providers<SourceProvider, StoreProvider>(kProviderName);
}

}  // namespace gvk_dxf
