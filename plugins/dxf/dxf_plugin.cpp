// The entry points of the DXF plug-in module: a host that loads the module calls
// gravok_plugin_register once and gravok_plugin_unregister before it closes it.
#include "dxf_provider.h"

#include <gravok/plugin.h>

// Registers the DXF source and store providers as "dxf"; returns how many were
// registered (0 to 2).
GRAVOK_PLUGIN_EXPORT int gravok_plugin_register() {
  return gvk_dxf::register_providers();
}

// Unregisters them; returns how many were removed.
GRAVOK_PLUGIN_EXPORT int gravok_plugin_unregister() {
  return gvk_dxf::unregister_providers();
}
