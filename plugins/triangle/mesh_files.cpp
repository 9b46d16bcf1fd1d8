#include "mesh_files.h"

#include <gravok/mesh_check.h>
#include <gravok/poly_file.h>
#include <gravok/replace_file.h>
#include <gravok/triangle_files.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>

namespace gvk_triangle {
namespace {

namespace fs = std::filesystem;

// The two files to_files writes for a stem, removed again when this goes.
struct Scratch {
  std::string stem;
  ~Scratch() {
    std::error_code ignored;
    fs::remove(stem + ".1.node", ignored);
    fs::remove(stem + ".1.ele", ignored);
  }
};

// A stem in the system's temporary folder that no other writer uses.
std::string scratch_stem() {
  static std::atomic<unsigned long long> counter{0};
  const auto ticks = std::chrono::steady_clock::now().time_since_epoch().count();
  return (fs::temp_directory_path() /
          ("gravok-mesh-" + std::to_string(ticks) + "-" + std::to_string(counter++)))
      .string();
}

std::string file_bytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

// The first fault that keeps the mesh out of a .node/.ele pair, or "".
std::string mesh_fault(const std::vector<double>& x, const std::vector<double>& y,
                       const std::vector<double>& z,
                       const std::vector<gvk::Triangle>& triangles) {
  const std::vector<gvk::MeshFinding> first =
      gvk::check_mesh(x, y, z, triangles, -1.0, 1);
  if (!first.empty() && first[0].kind <= gvk::MeshFindingKind::NonFiniteCoordinate)
    return gvk::mesh_finding_message(first[0]);
  return "";
}

// Whether `read` is what 12 decimals of `written` give back.
bool same_to_12_decimals(const std::vector<double>& written,
                         const std::vector<double>& read) {
  if (written.size() != read.size()) return false;
  for (std::size_t i = 0; i < written.size(); ++i) {
    const double allowed = 5e-13 + 4e-16 * std::fabs(written[i]);
    if (!(std::fabs(written[i] - read[i]) <= allowed)) return false;
  }
  return true;
}

// Reads the scratch pair back; throws when it is not the mesh that was written.
void check_written(const std::string& stem, const std::string& node_path,
                   const std::vector<double>& x, const std::vector<double>& y,
                   const std::vector<double>& z,
                   const std::vector<gvk::Triangle>& triangles) {
  std::vector<double> rx, ry, rz;
  std::vector<gvk::Triangle> rt;
  const gvk::TriangleFileResult read =
      gvk::read_node_ele_files(stem + ".1.node", stem + ".1.ele", rx, ry, rz, rt);
  const std::string what = "cannot write " + node_path + ": the mesh written in " +
                           fs::temp_directory_path().string() + " does not read back";
  if (!read) throw std::runtime_error(what + " (" + read.message + ")");
  const std::vector<double> zs(z.begin(), z.begin() + static_cast<long>(x.size()));
  const std::vector<double> ys(y.begin(), y.begin() + static_cast<long>(x.size()));
  if (!same_to_12_decimals(x, rx) || !same_to_12_decimals(ys, ry) ||
      !same_to_12_decimals(zs, rz) || rt != triangles) {
    throw std::runtime_error(what + " as it was written");
  }
}

void fail_if_unwritable(const std::string& path) {
  std::error_code code;
  if (fs::is_directory(path, code))
    throw std::system_error(std::make_error_code(std::errc::is_a_directory),
                            "cannot write " + path);
}

void put_bytes(const std::string& path, const std::string& bytes) {
  gvk::replace_file(
      path, [&](std::FILE* file) { std::fwrite(bytes.data(), 1, bytes.size(), file); });
}

}  // namespace

void write_node_ele(const std::string& node_path, const std::string& ele_path,
                    const std::vector<double>& x, const std::vector<double>& y,
                    const std::vector<double>& z,
                    const std::vector<gvk::Triangle>& triangles) {
  if (const std::string fault = mesh_fault(x, y, z, triangles); !fault.empty())
    throw std::invalid_argument("cannot write " + node_path + ": " + fault);
  fail_if_unwritable(node_path);
  fail_if_unwritable(ele_path);
  const Scratch scratch{scratch_stem()};
  // The scratch stem holds no "." of its own after the one to_files removes.
  gvk::PolyFile::to_files(scratch.stem + ".mesh", x, y, z, triangles);
  check_written(scratch.stem, node_path, x, y, z, triangles);
  const std::string node = file_bytes(scratch.stem + ".1.node");
  const std::string ele = file_bytes(scratch.stem + ".1.ele");
  std::error_code code;
  const bool had_node = fs::exists(node_path, code);
  const std::string old_node = had_node ? file_bytes(node_path) : std::string();
  put_bytes(node_path, node);
  try {
    put_bytes(ele_path, ele);
  } catch (...) {
    if (had_node) {
      put_bytes(node_path, old_node);
    } else {
      fs::remove(node_path, code);
    }
    throw;
  }
}

}  // namespace gvk_triangle
