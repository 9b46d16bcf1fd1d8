// The entry points of the Triangle-files plug-in module: a host that loads the module
// calls gravok_plugin_register once and gravok_plugin_unregister before it closes it.
#include "triangle_providers.h"

#include <gravok/plugin.h>

#include <exception>

// Registers the .node/.ele and .poly source providers and the .node/.ele store
// provider; returns how many it registered (0 when a host has all three already), or
// -1 when registering threw.
GRAVOK_PLUGIN_EXPORT int gravok_plugin_register() {
  try {
    return gvk_triangle::register_providers();
  } catch (const std::exception&) {
    gvk_triangle::unregister_providers();
    return -1;
  }
}

// Unregisters them; returns how many were removed.
GRAVOK_PLUGIN_EXPORT int gravok_plugin_unregister() {
  return gvk_triangle::unregister_providers();
}
