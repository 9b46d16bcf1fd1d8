// The JSON plug-in module: a host loads this shared module and calls its two C entry
// points, which register and unregister the JSON source and store providers.
#include "json_providers.h"

#if defined(_WIN32)
#define GRAVOK_PLUGIN_EXPORT extern "C" __declspec(dllexport)
#else
#define GRAVOK_PLUGIN_EXPORT extern "C" __attribute__((visibility("default")))
#endif

// Registers the providers under the name "json"; returns how many it registered.
GRAVOK_PLUGIN_EXPORT int gravok_plugin_register() {
  return gvk_json::register_providers();
}

// Unregisters what gravok_plugin_register registered; returns how many it removed.
// Sources and stores made by this module must be gone before the module is unloaded.
GRAVOK_PLUGIN_EXPORT int gravok_plugin_unregister() {
  return gvk_json::unregister_providers();
}
