// The providers built into the gravok tool (JSON problem documents, node/element
// pairs, .poly files). Each that recognises a location but cannot open it says why
// through gvk::reportRefusal ("site.1.ele:7: triangle 5 names vertex 40, but there
// are 30 vertices").
#ifndef GRAVOK_TOOL_BUILTIN_PROVIDERS_H
#define GRAVOK_TOOL_BUILTIN_PROVIDERS_H

#include <gravok/data_store.h>

#include <string>

namespace gravok_tool {

// Registers (and unregisters) the built-in providers. A JSON provider that a plug-in
// module registered first keeps its name; the tool's own then stays out.
void register_builtin_providers();
void unregister_builtin_providers();

}  // namespace gravok_tool

#endif  // GRAVOK_TOOL_BUILTIN_PROVIDERS_H
