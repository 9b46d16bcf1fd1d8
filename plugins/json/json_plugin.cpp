// The JSON plug-in module: a host loads this shared module (gvk::PluginModule::load)
// and its two C entry points register and unregister the JSON source and store
// providers.
#include "json_providers.h"

#include <gravok/plugin.h>

#include <exception>

// Registers the providers under the name "json"; returns how many it registered, or
// -1 when registering threw (no exception leaves the module).
GRAVOK_PLUGIN_EXPORT int gravok_plugin_register() {
  try {
    return gvk_json::register_providers();
  } catch (const std::exception&) {
    gvk_json::unregister_providers();
    return -1;
  }
}

// Unregisters what gravok_plugin_register registered; returns how many it removed.
// Sources and stores made by this module must be gone before the module is unloaded.
GRAVOK_PLUGIN_EXPORT int gravok_plugin_unregister() {
  return gvk_json::unregister_providers();
}
