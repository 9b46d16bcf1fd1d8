#include "builtin_providers.h"

#include "json_providers.h"
#include "triangle_providers.h"

namespace gravok_tool {
namespace {

bool g_json_registered = false;

}  // namespace

void register_builtin_providers() {
  g_json_registered = gvk_json::register_providers() > 0;
  gvk_triangle::register_providers();
}

void unregister_builtin_providers() {
  if (g_json_registered) gvk_json::unregister_providers();
  gvk_triangle::unregister_providers();
}

}  // namespace gravok_tool
