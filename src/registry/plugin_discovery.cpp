// Plug-in discovery: the installed plug-in folder, and loading every module of a
// folder or one named module with the checks a host wants before foreign code runs.
#include <gravok/plugin.h>

#include "loaded_modules.h"
#include "module_loader.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>
#include <vector>

#ifndef GRAVOK_PLUGIN_FOLDER_FROM_LIBRARY
#error "GRAVOK_PLUGIN_FOLDER_FROM_LIBRARY: the plug-in folder relative to the library's"
#endif

namespace gvk {
namespace {

namespace fs = std::filesystem;

void fail(PluginLoadResult& result, const std::string& path, std::string message) {
  result.failures.push_back(PluginLoadMessage{path, std::move(message)});
}

// The module files of `folder` in ascending byte order of their names, or false with
// the system's reason in `error`.
bool module_files(const fs::path& folder, std::vector<fs::path>& files,
                  std::error_code& error) {
  fs::directory_iterator entry(folder, error);
  for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
    const std::string name = entry->path().filename().u8string();
    std::error_code kind_error;
    if (name.empty() || name[0] == '.' || !detail::has_module_suffix(name) ||
        !entry->is_regular_file(kind_error))
      continue;
    files.push_back(entry->path());
  }
  std::sort(files.begin(), files.end(), [](const fs::path& a, const fs::path& b) {
    return a.filename().u8string() < b.filename().u8string();
  });
  return !error;
}

// Loads the module at the absolute path `path` unless it is loaded already or may be
// changed by other users. A missing file goes to the loader, whose message says so.
bool load_absolute(const fs::path& path, PluginLoadResult& result) {
  const std::string text = path.u8string();
  const std::string holder = detail::loaded_module_file(text);
  if (!holder.empty()) {
    result.skipped.push_back(PluginLoadMessage{
        text,
        "the plug-in module '" + text + "' is loaded already, from '" + holder + "'"});
    return false;
  }
  std::error_code code;
  if (fs::exists(path, code)) {
    const std::string refusal = detail::untrusted_reason(text, "plug-in module");
    if (!refusal.empty()) {
      fail(result, text, refusal);
      return false;
    }
  }
  std::string error;
  std::unique_ptr<PluginModule> module = PluginModule::load(text, error);
  if (!module) {
    fail(result, text, error);
    return false;
  }
  result.modules.push_back(std::move(module));
  return true;
}

}  // namespace

std::string installedPluginFolder() {
  const std::string library = detail::library_file();
  if (library.empty()) return {};
  std::error_code code;
  const fs::path file = fs::canonical(fs::u8path(library), code);
  if (code) return {};
  return (file.parent_path() / fs::u8path(GRAVOK_PLUGIN_FOLDER_FROM_LIBRARY))
      .lexically_normal()
      .u8string();
}

int loadPluginFolder(const std::string& folder, PluginLoadResult& result) {
  const fs::path path = fs::u8path(folder);
  if (!path.is_absolute()) {
    fail(result, folder,
         "the plug-in folder '" + folder +
             "' is not an absolute path; a folder relative to the current directory is "
             "never searched");
    return 0;
  }
  std::vector<fs::path> files;
  std::error_code code;
  if (!module_files(path, files, code)) {
    fail(result, folder,
         "cannot read the plug-in folder '" + folder + "': " + code.message());
    return 0;
  }
  const std::string refusal = detail::untrusted_reason(folder, "plug-in folder");
  if (!refusal.empty()) {
    fail(result, folder, refusal);
    return 0;
  }
  int loaded = 0;
  for (const fs::path& file : files) loaded += load_absolute(file, result) ? 1 : 0;
  return loaded;
}

bool loadPluginFile(const std::string& path, PluginLoadResult& result) {
  std::error_code code;
  const fs::path absolute = path.empty() || path.find('\0') != std::string::npos
                                ? fs::path()
                                : fs::absolute(fs::u8path(path), code);
  if (absolute.empty()) {
    fail(result, path,
         "cannot load the plug-in module '" + path +
             "': " + (code ? code.message() : "the path is empty or holds a NUL byte"));
    return false;
  }
  return load_absolute(absolute.lexically_normal(), result);
}

}  // namespace gvk
