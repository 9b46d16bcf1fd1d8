// Mesh tools: operations on the indexed triangle mesh, three parallel coordinate
// arrays x, y, z and a list of gvk::Triangle. They keep no shared state: calls on
// different meshes may run on different threads at once.
#ifndef GRAVOK_MESH_TOOLS_H
#define GRAVOK_MESH_TOOLS_H

#include <gravok/export.h>
#include <gravok/records.h>

namespace gvk {

// The default mesh settings: kind 1, value 0.0, flag_a false, flag_b true. It is what
// DataSource::get_mesh_metric answers when a source does not override it.
GRAVOK_API mesh_metric default_mesh_metric();

}  // namespace gvk

#endif  // GRAVOK_MESH_TOOLS_H
