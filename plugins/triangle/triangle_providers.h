// Providers for the mesh files of the Triangle mesh generator: a .node and .ele pair
// (PATH.node or PATH.ele) read as a mesh, the vertices of a .poly file (PATH.poly)
// without triangles, and a store that writes a mesh as a .node and .ele pair
// (node_ele_store.h). Each file is read by the library's Triangle-format
// readers (gravok/triangle_files.h), which know every layout Triangle and other mesh
// programs write; what they read becomes a problem with nothing else: the library's
// default settings, unknown units, origin zero. A provider that recognises a location
// by its suffix but cannot read it says why through gvk::reportRefusal, naming the
// file and the line.
#ifndef GRAVOK_TRIANGLE_PROVIDERS_H
#define GRAVOK_TRIANGLE_PROVIDERS_H

namespace gvk_triangle {

// The names the providers are registered under: the .node/.ele source provider and
// the store provider share the first (the registries are separate), the .poly source
// provider has the second.
constexpr const char* kNodeEleName = "gravok.node-ele";
constexpr const char* kPolyName = "gravok.poly";

// Registers the three providers under the names above; returns how many it registered
// (a name that is taken already keeps its provider).
int register_providers();
// Unregisters what register_providers registered, and nothing else; returns how many.
int unregister_providers();

}  // namespace gvk_triangle

#endif  // GRAVOK_TRIANGLE_PROVIDERS_H
