// How the gravok tool finds its plug-in modules: the installed plug-in folder, then
// the folders of GRAVOK_PLUGIN_PATH, then the modules of GRAVOK_PLUGINS and --plugin.
#ifndef GRAVOK_TOOL_PLUGIN_LOADING_H
#define GRAVOK_TOOL_PLUGIN_LOADING_H

#include <gravok/plugin.h>

#include <map>
#include <string>
#include <vector>

namespace gravok_tool {

// Where to look, as the environment and the command line say.
struct PluginSearch {
  bool discover = true;              // false with --no-plugins
  std::string installed_folder;      // gvk::installedPluginFolder()
  std::string folder_list;           // GRAVOK_PLUGIN_PATH
  std::string module_list;           // GRAVOK_PLUGINS
  std::vector<std::string> modules;  // --plugin, in the order given
};

// The entries of a list of paths separated by ':' (';' on Windows); empty entries
// are dropped, so that they never stand for the current directory.
std::vector<std::string> split_path_list(const std::string& list);

// Loads the modules `search` names into `loaded`: unless discovery is off, every
// module of the installed folder (when it exists) and of each GRAVOK_PLUGIN_PATH
// folder, then each module of GRAVOK_PLUGINS, then each --plugin module; with
// discovery off only the --plugin modules. A module loaded already is skipped with a
// note in the debug log. A module or folder that fails or is refused is reported on
// `errors` as a warning and the others still load, except a module named by
// GRAVOK_PLUGINS or --plugin: its failure is an error, and the result is false.
bool load_plugins(const PluginSearch& search, gvk::PluginLoadResult& loaded,
                  std::ostream& errors);

// The module each provider came from, keyed "source NAME" or "store NAME".
std::map<std::string, std::string> provider_modules(const gvk::PluginLoadResult& loaded);

}  // namespace gravok_tool

#endif  // GRAVOK_TOOL_PLUGIN_LOADING_H
