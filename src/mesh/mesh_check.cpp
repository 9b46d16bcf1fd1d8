// The mesh check: one pass per kind of finding, in the order the list promises.
#include <gravok/mesh_check.h>

#include "plan_index.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace gvk {
namespace {

// The findings gathered so far, up to the caller's cap.
class Findings {
 public:
  Findings(unsigned long long vertices, unsigned long long cap)
      : m_vertices(vertices), m_cap(cap) {}

  bool full() const { return m_list.size() >= m_cap; }
  void add(MeshFindingKind kind, unsigned long long index, std::int32_t part = 0,
           unsigned long long value = 0) {
    if (!full()) m_list.push_back(MeshFinding{kind, part, index, value, m_vertices});
  }
  std::vector<MeshFinding> take() { return std::move(m_list); }

 private:
  std::vector<MeshFinding> m_list;
  unsigned long long m_vertices;
  unsigned long long m_cap;
};

struct MeshView {
  const std::vector<double>& x;
  const std::vector<double>& y;
  const std::vector<double>& z;
  const std::vector<Triangle>& triangles;
  std::size_t with_y;  // vertices that have x and y
  std::size_t with_z;  // vertices that have x and z
};

// By vertex index, then by axis: a z shorter than y comes first.
void check_lengths(const MeshView& mesh, Findings& out) {
  const bool z_first = mesh.with_z < mesh.with_y;
  if (z_first && mesh.with_z < mesh.x.size()) {
    out.add(MeshFindingKind::MissingCoordinates, mesh.with_z, 2);
  }
  if (mesh.with_y < mesh.x.size()) {
    out.add(MeshFindingKind::MissingCoordinates, mesh.with_y, 1);
  }
  if (!z_first && mesh.with_z < mesh.x.size()) {
    out.add(MeshFindingKind::MissingCoordinates, mesh.with_z, 2);
  }
}

void check_indices(const MeshView& mesh, Findings& out) {
  for (std::size_t t = 0; t < mesh.triangles.size() && !out.full(); ++t) {
    for (std::int32_t corner = 0; corner < 3; ++corner) {
      const unsigned long long v = mesh.triangles[t][static_cast<std::size_t>(corner)];
      if (v >= mesh.x.size()) out.add(MeshFindingKind::IndexOutOfRange, t, corner, v);
    }
  }
}

void check_finite(const MeshView& mesh, Findings& out) {
  const std::vector<double>* axes[] = {&mesh.x, &mesh.y, &mesh.z};
  const std::size_t lengths[] = {mesh.x.size(), mesh.with_y, mesh.with_z};
  for (std::size_t i = 0; i < mesh.x.size() && !out.full(); ++i) {
    for (std::int32_t axis = 0; axis < 3; ++axis) {
      const std::size_t a = static_cast<std::size_t>(axis);
      if (i < lengths[a] && !std::isfinite((*axes[a])[i])) {
        out.add(MeshFindingKind::NonFiniteCoordinate, i, axis);
      }
    }
  }
}

// Zero area in plan: a repeated corner, or an exactly zero cross product of the
// edges from the first corner.
bool has_zero_area(const MeshView& mesh, const Triangle& t) {
  const unsigned long long a = t[0], b = t[1], c = t[2];
  if (a == b || b == c || a == c) return true;
  const double abx = mesh.x[b] - mesh.x[a], aby = mesh.y[b] - mesh.y[a];
  const double acx = mesh.x[c] - mesh.x[a], acy = mesh.y[c] - mesh.y[a];
  return abx * acy - aby * acx == 0.0;
}

void check_areas(const MeshView& mesh, Findings& out) {
  for (std::size_t t = 0; t < mesh.triangles.size() && !out.full(); ++t) {
    const Triangle& triangle = mesh.triangles[t];
    const bool readable =
        std::all_of(triangle.begin(), triangle.end(),
                    [&](unsigned long long v) { return v < mesh.with_y; });
    if (readable && has_zero_area(mesh, triangle)) out.add(MeshFindingKind::ZeroArea, t);
  }
}

void check_unused(const MeshView& mesh, Findings& out) {
  if (out.full()) return;
  std::vector<unsigned char> used(mesh.x.size(), 0);
  for (const Triangle& triangle : mesh.triangles) {
    for (unsigned long long v : triangle) {
      if (v < used.size()) used[v] = 1;
    }
  }
  for (std::size_t i = 0; i < used.size() && !out.full(); ++i) {
    if (used[i] == 0) out.add(MeshFindingKind::UnusedVertex, i);
  }
}

// The welds of reindex_mesh: the same index, fed the vertices in the same order.
// `original` maps each representative's new index back to its vertex.
template <typename Link>
void check_welds_with(const MeshView& mesh, double tolerance, Findings& out) {
  PlanIndex<Link> index(mesh.x, mesh.y, tolerance);
  std::vector<Link> original;
  for (std::size_t i = 0; i < mesh.with_y && !out.full(); ++i) {
    const Link placed = index.place(i);
    if (placed == original.size()) {
      original.push_back(static_cast<Link>(i));
    } else {
      out.add(MeshFindingKind::WeldedVertex, i, 0, original[placed]);
    }
  }
}

void check_welds(const MeshView& mesh, double tolerance, Findings& out) {
  if (!(tolerance >= 0.0) || out.full()) return;  // reindex_mesh merges nothing then
  if (plan_index_fits_32_bits(mesh.with_y)) {
    check_welds_with<std::uint32_t>(mesh, tolerance, out);
  } else {
    check_welds_with<unsigned long long>(mesh, tolerance, out);
  }
}

std::string axis_name(std::int32_t axis) {
  switch (axis) {
    case 0: return "x";
    case 1: return "y";
    case 2: return "z";
    default: return "axis " + std::to_string(axis);
  }
}

}  // namespace

std::vector<MeshFinding> check_mesh(const std::vector<double>& x,
                                    const std::vector<double>& y,
                                    const std::vector<double>& z,
                                    const std::vector<Triangle>& triangles,
                                    double weld_tolerance,
                                    unsigned long long max_findings) {
  const MeshView mesh{
      x, y, z, triangles, std::min(x.size(), y.size()), std::min(x.size(), z.size())};
  Findings out(x.size(), max_findings);
  check_lengths(mesh, out);
  check_indices(mesh, out);
  check_finite(mesh, out);
  check_areas(mesh, out);
  check_unused(mesh, out);
  check_welds(mesh, weld_tolerance, out);
  return out.take();
}

std::string mesh_finding_message(const MeshFinding& finding) {
  const std::string index = std::to_string(finding.index);
  const std::string vertices = std::to_string(finding.vertices);
  switch (finding.kind) {
    case MeshFindingKind::MissingCoordinates:
      return "vertex " + index + ": no " + axis_name(finding.part) + " coordinate (" +
             axis_name(finding.part) + " has length " + index + ", the mesh has " +
             vertices + " vertices)";
    case MeshFindingKind::IndexOutOfRange:
      return "triangle " + index + ": corner " + std::to_string(finding.part) +
             " names vertex " + std::to_string(finding.value) + ", but the mesh has " +
             vertices + " vertices";
    case MeshFindingKind::NonFiniteCoordinate:
      return "vertex " + index + ": " + axis_name(finding.part) + " is NaN or infinite";
    case MeshFindingKind::ZeroArea: return "triangle " + index + ": zero area in plan";
    case MeshFindingKind::UnusedVertex:
      return "vertex " + index + ": no triangle uses it";
    case MeshFindingKind::WeldedVertex:
      return "vertex " + index + ": welds into vertex " + std::to_string(finding.value) +
             " within the tolerance";
  }
  return "mesh finding of unknown kind " +
         std::to_string(static_cast<std::int32_t>(finding.kind));
}

}  // namespace gvk
