#include "json_providers.h"

#include "json_document.h"

#include <gravok/hand_over.h>
#include <gravok/problem.h>

#include <cctype>
#include <filesystem>
#include <system_error>

namespace gvk_json {
namespace {

constexpr std::string_view kPrefix = "json:";
constexpr std::string_view kSuffix = ".json";

bool ends_with_suffix(const std::string& location) {
  if (location.size() <= kSuffix.size()) return false;
  const std::size_t at = location.size() - kSuffix.size();
  for (std::size_t i = 0; i < kSuffix.size(); ++i) {
    if (std::tolower(static_cast<unsigned char>(location[at + i])) != kSuffix[i])
      return false;
  }
  return true;
}

bool resolve(const std::string& location, std::string& path, std::string& error) {
  path = location_path(location);
  if (path.empty())
    error = location + ": not a JSON location (json:PATH or a path ending in .json)";
  return !path.empty();
}

constexpr const char* kLocations = "json:PATH, or a path ending in .json";

}  // namespace

std::string location_path(const std::string& location) {
  if (location.compare(0, kPrefix.size(), kPrefix) == 0)
    return location.substr(kPrefix.size());
  return ends_with_suffix(location) ? location : std::string();
}

std::unique_ptr<gvk::DataSource> open_source(const std::string& location,
                                             std::string& error) {
  std::string path;
  gvk::Problem problem;
  if (!resolve(location, path, error) || !read_file(path, problem, error)) return nullptr;
  return std::make_unique<gvk::HandOverProblemSource>(std::move(problem));
}

std::unique_ptr<JsonStore> open_store(const std::string& location, std::string& error) {
  std::string path;
  if (!resolve(location, path, error)) return nullptr;
  std::error_code code;
  gvk::Problem problem;
  const bool exists = std::filesystem::exists(path, code);
  if (code) {
    error = path + ": cannot tell whether the file exists (" + code.message() + ")";
    return nullptr;
  }
  if (exists && !read_file(path, problem, error)) return nullptr;
  return std::make_unique<JsonStore>(path, std::move(problem));
}

bool JsonSourceProvider::canHandle(const std::string& location) const {
  return !location_path(location).empty();
}

std::string JsonSourceProvider::description() const {
  return std::string("JSON problem documents, read only: ") + kLocations;
}

namespace {

// Opens a source, or says why not (gvk::reportRefusal) and returns an empty pointer.
std::unique_ptr<gvk::DataSource> source_or_refusal(const std::string& location) {
  std::string error;
  std::unique_ptr<gvk::DataSource> source = open_source(location, error);
  if (!source) gvk::reportRefusal(error);
  return source;
}

}  // namespace

std::unique_ptr<gvk::DataSource> JsonSourceProvider::createDataSource(
    const std::string& location) const {
  return source_or_refusal(location);
}

bool JsonStoreProvider::canHandle(const std::string& location) const {
  return !location_path(location).empty();
}

std::string JsonStoreProvider::description() const {
  return std::string("JSON problem documents, read and written: ") + kLocations;
}

std::unique_ptr<gvk::DataSource> JsonStoreProvider::createDataSource(
    const std::string& location) const {
  return source_or_refusal(location);
}

std::unique_ptr<gvk::DataStore> JsonStoreProvider::createDataStore(
    const std::string& location) const {
  std::string error;
  std::unique_ptr<gvk::DataStore> store = open_store(location, error);
  if (!store) gvk::reportRefusal(error);
  return store;
}

// What this copy of the code registered, so that unregistering never removes
// providers that a host or another module registered under the same name.
bool g_source_registered = false;
bool g_store_registered = false;

int register_providers() {
  if (!g_source_registered)
    g_source_registered = gvk::registerDataSourceProvider(
        kProviderName, std::make_unique<JsonSourceProvider>());
  if (!g_store_registered)
    g_store_registered = gvk::registerDataStoreProvider(
        kProviderName, std::make_unique<JsonStoreProvider>());
  return g_source_registered + g_store_registered;
}

int unregister_providers() {
  int removed = 0;
  if (g_source_registered) removed += gvk::unregisterDataSourceProvider(kProviderName);
  if (g_store_registered) removed += gvk::unregisterDataStoreProvider(kProviderName);
  g_source_registered = g_store_registered = false;
  return removed;
}

}  // namespace gvk_json
