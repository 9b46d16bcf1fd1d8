// The entry points of the LandXML plug-in module: a host that loads the module calls
// gravok_plugin_register once and gravok_plugin_unregister before it closes it.
#include "landxml_provider.h"

#include <gravok/plugin.h>

// Registers the LandXML source and store providers as "landxml"; returns how many
// were registered (0 to 2).
GRAVOK_PLUGIN_EXPORT int gravok_plugin_register() {
  return gvk_landxml::register_providers();
}

// Unregisters them; returns how many were removed.
GRAVOK_PLUGIN_EXPORT int gravok_plugin_unregister() {
  return gvk_landxml::unregister_providers();
}
