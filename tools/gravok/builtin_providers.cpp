#include "builtin_providers.h"

#include "commands.h"

#include <gravok/providers.h>
#include <gravok/triangle_files.h>

#include <map>
#include <memory>

namespace gravok_tool {
namespace {

// The tool is single-threaded: the providers note why they refused a location here.
std::map<std::string, std::string>& open_errors() {
  static std::map<std::string, std::string> errors;
  return errors;
}

bool ends_with(const std::string& text, const std::string& suffix) {
  return text.size() >= suffix.size() &&
         text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0;
}

std::string without_suffix(const std::string& text, const std::string& suffix) {
  return text.substr(0, text.size() - suffix.size());
}

// A mesh read from files, as a problem with nothing else: default settings, unknown
// units, origin zero (the coordinates are taken as the files give them).
std::unique_ptr<gvk::DataSource> mesh_source(std::vector<double> x, std::vector<double> y,
                                             std::vector<double> z,
                                             std::vector<gvk::Triangle> triangles) {
  gvk::DataSource defaults;
  Problem p = read_problem(defaults);
  p.x = std::move(x);
  p.y = std::move(y);
  p.z = std::move(z);
  p.triangle_info.resize(triangles.size());
  p.triangles = std::move(triangles);
  return std::make_unique<ProblemStore>(std::move(p));
}

// A .node and .ele pair: PATH.node or PATH.ele names both.
class NodeEleProvider : public gvk::DataSourceProvider {
 public:
  bool canHandle(const std::string& location) const override {
    return ends_with(location, ".node") || ends_with(location, ".ele");
  }
  std::string description() const override {
    return "a mesh in a Triangle .node and .ele pair (PATH.node or PATH.ele)";
  }
  std::unique_ptr<gvk::DataSource> createDataSource(
      const std::string& location) const override {
    const std::string stem = ends_with(location, ".node")
                                 ? without_suffix(location, ".node")
                                 : without_suffix(location, ".ele");
    std::vector<double> x, y, z;
    std::vector<gvk::Triangle> triangles;
    const gvk::TriangleFileResult result =
        gvk::read_node_ele_files(stem + ".node", stem + ".ele", x, y, z, triangles);
    if (!result) {
      open_errors()[location] = result.message;
      return nullptr;
    }
    return mesh_source(std::move(x), std::move(y), std::move(z), std::move(triangles));
  }
};

// A .poly file: its vertices become the mesh's vertices (z the third coordinate, else
// the first attribute, else 0); it has no triangles.
class PolyProvider : public gvk::DataSourceProvider {
 public:
  bool canHandle(const std::string& location) const override {
    return ends_with(location, ".poly");
  }
  std::string description() const override {
    return "the vertices of a Triangle .poly file (PATH.poly), without triangles";
  }
  std::unique_ptr<gvk::DataSource> createDataSource(
      const std::string& location) const override {
    gvk::TrianglePoly poly;
    const gvk::TriangleFileResult result = gvk::read_poly_file(location, poly);
    if (!result) {
      open_errors()[location] = result.message;
      return nullptr;
    }
    gvk::TriangleVertices& v = poly.vertices;
    std::vector<double> z = v.z;
    if (z.empty()) {
      z.assign(v.x.size(), 0.0);
      for (std::size_t i = 0; v.attribute_count && i < z.size(); ++i) {
        z[i] = v.attributes[i * v.attribute_count];
      }
    }
    return mesh_source(std::move(v.x), std::move(v.y), std::move(z), {});
  }
};

const char* const kNodeEleName = "gravok.node-ele";
const char* const kPolyName = "gravok.poly";

}  // namespace

std::string builtin_open_error(const std::string& location) {
  const auto found = open_errors().find(location);
  return found == open_errors().end() ? std::string() : found->second;
}

std::string builtin_store_error(const gvk::DataStore&) { return {}; }

bool write_problem_document(const Problem&, const std::string& path, std::string& error) {
  error = path + ": JSON documents are not supported yet";
  return false;
}

void register_builtin_providers() {
  gvk::registerDataSourceProvider(kNodeEleName, std::make_unique<NodeEleProvider>());
  gvk::registerDataSourceProvider(kPolyName, std::make_unique<PolyProvider>());
}

void unregister_builtin_providers() {
  gvk::unregisterDataSourceProvider(kNodeEleName);
  gvk::unregisterDataSourceProvider(kPolyName);
}

}  // namespace gravok_tool
