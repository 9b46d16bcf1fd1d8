#include "plugin_loading.h"

#include <gravok/log.h>

#include <cstddef>
#include <filesystem>
#include <ostream>
#include <system_error>

namespace gravok_tool {
namespace {

#if defined(_WIN32)
constexpr char kPathListSeparator = ';';
#else
constexpr char kPathListSeparator = ':';
#endif

// Reports what `loaded` gathered from index `failures_from` and `skipped_from` on:
// failures on `errors` with `label` ("warning", "error"), skipped modules in the log.
void report(const gvk::PluginLoadResult& loaded, std::size_t failures_from,
            std::size_t skipped_from, const char* label, std::ostream& errors) {
  for (std::size_t i = failures_from; i < loaded.failures.size(); ++i)
    errors << "gravok: " << label << ": " << loaded.failures[i].message << "\n";
  for (std::size_t i = skipped_from; i < loaded.skipped.size(); ++i)
    GRAVOK_LOG_DEBUG << loaded.skipped[i].message << "; skipped";
}

void load_folder(const std::string& folder, gvk::PluginLoadResult& loaded,
                 std::ostream& errors) {
  const std::size_t failures = loaded.failures.size(), skipped = loaded.skipped.size();
  const int count = gvk::loadPluginFolder(folder, loaded);
  GRAVOK_LOG_DEBUG << "plug-in folder " << folder << ": " << count << " modules loaded";
  report(loaded, failures, skipped, "warning", errors);
}

bool load_module(const std::string& path, gvk::PluginLoadResult& loaded,
                 std::ostream& errors) {
  const std::size_t failures = loaded.failures.size(), skipped = loaded.skipped.size();
  gvk::loadPluginFile(path, loaded);
  report(loaded, failures, skipped, "error", errors);
  return loaded.failures.size() == failures;
}

}  // namespace

std::vector<std::string> split_path_list(const std::string& list) {
  std::vector<std::string> paths;
  std::size_t start = 0;
  while (start <= list.size()) {
    std::size_t end = list.find(kPathListSeparator, start);
    if (end == std::string::npos) end = list.size();
    if (end > start) paths.push_back(list.substr(start, end - start));
    start = end + 1;
  }
  return paths;
}

bool load_plugins(const PluginSearch& search, gvk::PluginLoadResult& loaded,
                  std::ostream& errors) {
  bool ok = true;
  if (search.discover) {
    std::error_code code;
    if (!search.installed_folder.empty() &&
        std::filesystem::is_directory(std::filesystem::u8path(search.installed_folder),
                                      code)) {
      load_folder(search.installed_folder, loaded, errors);
    } else {
      GRAVOK_LOG_DEBUG << "no installed plug-in folder at '" << search.installed_folder
                       << "'";
    }
    for (const std::string& folder : split_path_list(search.folder_list))
      load_folder(folder, loaded, errors);
    for (const std::string& module : split_path_list(search.module_list))
      ok = load_module(module, loaded, errors) && ok;
  }
  for (const std::string& module : search.modules)
    ok = load_module(module, loaded, errors) && ok;
  for (const auto& module : loaded.modules) {
    GRAVOK_LOG_DEBUG << "plug-in module " << module->path() << ": "
                     << module->provider_count() << " providers registered";
  }
  return ok;
}

std::map<std::string, std::string> provider_modules(const gvk::PluginLoadResult& loaded) {
  std::map<std::string, std::string> modules;
  for (const auto& module : loaded.modules) {
    for (const std::string& name : module->source_provider_names())
      modules["source " + name] = module->path();
    for (const std::string& name : module->store_provider_names())
      modules["store " + name] = module->path();
  }
  return modules;
}

}  // namespace gravok_tool
