#include "triangle_providers.h"

#include "node_ele_store.h"

#include <gravok/problem.h>
#include <gravok/providers.h>
#include <gravok/triangle_files.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace gvk_triangle {
namespace {

bool ends_with(const std::string& text, const std::string& suffix) {
  return text.size() >= suffix.size() &&
         text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0;
}

// A mesh read from files as a problem with nothing else: default settings, unknown
// units, origin zero (the coordinates are taken as the files give them).
gvk::Problem mesh_problem(std::vector<double> x, std::vector<double> y,
                          std::vector<double> z, std::vector<gvk::Triangle> triangles) {
  gvk::Problem p;
  p.mesh.triangle_info.resize(triangles.size());
  p.mesh.x = std::move(x);
  p.mesh.y = std::move(y);
  p.mesh.z = std::move(z);
  p.mesh.triangles = std::move(triangles);
  return p;
}

// A fault naming the system's reason when `path` is missing, a folder or cannot be
// opened for reading ("site.node: No such file or directory", "site.node: Permission
// denied"); ok otherwise, the reader's to judge.
gvk::TriangleFileResult system_fault(const std::string& path) {
  std::error_code code;
  const std::filesystem::file_status status = std::filesystem::status(path, code);
  if (!code && std::filesystem::is_directory(status))
    code = std::make_error_code(std::errc::is_a_directory);
  if (!code) {
    errno = 0;
    if (std::FILE* file = std::fopen(path.c_str(), "rb"))
      std::fclose(file);
    else
      code = std::error_code(errno ? errno : EACCES, std::generic_category());
  }
  gvk::TriangleFileResult result;
  if (code) result = {false, path, 0, path + ": " + code.message()};
  return result;
}

// PATH for "PATH.node" and "PATH.ele".
std::string stem_of(const std::string& location) {
  return location.substr(0, location.size() - (ends_with(location, ".node") ? 5 : 4));
}

// The .node and .ele pair that PATH.node or PATH.ele names.
gvk::TriangleFileResult read_node_ele(const std::string& location,
                                      gvk::Problem& problem) {
  const std::string stem = stem_of(location);
  for (const std::string& path : {stem + ".node", stem + ".ele"}) {
    if (gvk::TriangleFileResult fault = system_fault(path); !fault) return fault;
  }
  std::vector<double> x, y, z;
  std::vector<gvk::Triangle> triangles;
  const gvk::TriangleFileResult result =
      gvk::read_node_ele_files(stem + ".node", stem + ".ele", x, y, z, triangles);
  if (result)
    problem =
        mesh_problem(std::move(x), std::move(y), std::move(z), std::move(triangles));
  return result;
}

// The vertices of a .poly file: z the third coordinate, else the first attribute,
// else 0; no triangles.
gvk::TriangleFileResult read_poly(const std::string& location, gvk::Problem& problem) {
  if (gvk::TriangleFileResult fault = system_fault(location); !fault) return fault;
  gvk::TrianglePoly poly;
  const gvk::TriangleFileResult result = gvk::read_poly_file(location, poly);
  if (!result) return result;
  gvk::TriangleVertices& v = poly.vertices;
  std::vector<double> z = v.z;
  if (z.empty()) {
    z.assign(v.x.size(), 0.0);
    for (std::size_t i = 0; v.attribute_count && i < z.size(); ++i) {
      z[i] = v.attributes[i * v.attribute_count];
    }
  }
  problem = mesh_problem(std::move(v.x), std::move(v.y), std::move(z), {});
  return result;
}

using Reader = gvk::TriangleFileResult (*)(const std::string&, gvk::Problem&);

// A source provider over one of the readers above.
class MeshFileProvider : public gvk::DataSourceProvider {
 public:
  MeshFileProvider(std::string description, std::vector<std::string> suffixes,
                   Reader read)
      : m_description(std::move(description)),
        m_suffixes(std::move(suffixes)),
        m_read(read) {}
  bool canHandle(const std::string& location) const override {
    for (const std::string& suffix : m_suffixes) {
      if (ends_with(location, suffix)) return true;
    }
    return false;
  }
  std::string description() const override { return m_description; }
  std::unique_ptr<gvk::DataSource> createDataSource(
      const std::string& location) const override {
    gvk::Problem problem;
    const gvk::TriangleFileResult read = m_read(location, problem);
    if (!read) {
      gvk::reportRefusal(read.message);
      return nullptr;
    }
    return std::make_unique<gvk::ProblemSource>(std::move(problem));
  }

 private:
  std::string m_description;
  std::vector<std::string> m_suffixes;
  Reader m_read;
};

// Stores of .node and .ele pairs: "PATH.node" or "PATH.ele" writes both files.
// Asked for a source, it makes none and says nothing, so that the source provider of
// the same name reads the pair (a store that starts empty would hide the files).
class NodeEleStoreProvider : public gvk::DataStoreProvider {
 public:
  bool canHandle(const std::string& location) const override {
    return ends_with(location, ".node") || ends_with(location, ".ele");
  }
  std::string description() const override {
    return "a mesh written as a Triangle .node and .ele pair (PATH.node or PATH.ele); "
           "everything else is declared lost";
  }
  std::unique_ptr<gvk::DataSource> createDataSource(const std::string&) const override {
    return nullptr;
  }
  std::unique_ptr<gvk::DataStore> createDataStore(
      const std::string& location) const override {
    const std::string stem = stem_of(location);
    return std::make_unique<NodeEleStore>(stem + ".node", stem + ".ele");
  }
};

// What this copy of the code registered, so that unregistering never removes a
// provider that a host or another module registered under the same name.
bool g_node_ele_registered = false;
bool g_poly_registered = false;
bool g_node_ele_store_registered = false;

}  // namespace

int register_providers() {
  if (!g_node_ele_registered)
    g_node_ele_registered = gvk::registerDataSourceProvider(
        kNodeEleName,
        std::make_unique<MeshFileProvider>(
            "a mesh in a Triangle .node and .ele pair (PATH.node or PATH.ele)",
            std::vector<std::string>{".node", ".ele"}, read_node_ele));
  if (!g_poly_registered)
    g_poly_registered = gvk::registerDataSourceProvider(
        kPolyName, std::make_unique<MeshFileProvider>(
                       "the vertices of a Triangle .poly file (PATH.poly), without "
                       "triangles",
                       std::vector<std::string>{".poly"}, read_poly));
  if (!g_node_ele_store_registered)
    g_node_ele_store_registered = gvk::registerDataStoreProvider(
        kNodeEleName, std::make_unique<NodeEleStoreProvider>());
  return g_node_ele_registered + g_poly_registered + g_node_ele_store_registered;
}

int unregister_providers() {
  int removed = 0;
  if (g_node_ele_registered) removed += gvk::unregisterDataSourceProvider(kNodeEleName);
  if (g_poly_registered) removed += gvk::unregisterDataSourceProvider(kPolyName);
  if (g_node_ele_store_registered)
    removed += gvk::unregisterDataStoreProvider(kNodeEleName);
  g_node_ele_registered = g_poly_registered = g_node_ele_store_registered = false;
  return removed;
}

}  // namespace gvk_triangle
