// The plug-in modules that PluginModule objects hold, as plug-in discovery sees them.
// Same thread rules as the registries: no lock.
#ifndef GRAVOK_SRC_REGISTRY_LOADED_MODULES_H
#define GRAVOK_SRC_REGISTRY_LOADED_MODULES_H

#include <string>

namespace gvk::detail {

// The file of a module that a PluginModule holds and that is the same file as `path`
// (the same device and inode, or the same Windows file), as the system named it when
// the module was loaded; empty when no held module is that file.
std::string loaded_module_file(const std::string& path);

}  // namespace gvk::detail

#endif  // GRAVOK_SRC_REGISTRY_LOADED_MODULES_H
