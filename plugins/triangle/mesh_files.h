// Writing a mesh as a Triangle .node and .ele pair at exactly the paths a user names,
// and making sure it was written. gvk::PolyFile::to_files cuts its base name at the
// last "." anywhere in it (folders included) and reports nothing; write_node_ele
// therefore lets it write under a name of its own making in the system's temporary
// folder, reads that pair back, and only then puts the bytes in place with
// gvk::replace_file. The gravok tool and the .node/.ele store both write through it.
#ifndef GRAVOK_TRIANGLE_MESH_FILES_H
#define GRAVOK_TRIANGLE_MESH_FILES_H

#include <gravok/records.h>

#include <string>
#include <vector>

namespace gvk_triangle {

// Writes x, y, z and the triangles as the .node file `node_path` and the .ele file
// `ele_path`, in the layout of gvk::PolyFile::to_files (12 decimals, vertices and
// triangles numbered from 0, z the vertices' one attribute).
//
// Throws, having changed neither file:
//  - std::invalid_argument "cannot write NODE_PATH: ..." for a mesh the pair cannot
//    hold, naming the first vertex or triangle (y or z shorter than x, an index out of
//    range, a coordinate that is NaN or infinite: the .node reader refuses those);
//  - std::system_error "cannot write PATH" with the system's reason when a file cannot
//    be written (a missing folder, no permission, a full disk, a path that is a
//    folder), or std::runtime_error when what to_files wrote does not read back.
// When the .ele file fails after the .node file was replaced, the .node file is put
// back as it was. No temporary file is left behind.
void write_node_ele(const std::string& node_path, const std::string& ele_path,
                    const std::vector<double>& x, const std::vector<double>& y,
                    const std::vector<double>& z,
                    const std::vector<gvk::Triangle>& triangles);

}  // namespace gvk_triangle

#endif  // GRAVOK_TRIANGLE_MESH_FILES_H
