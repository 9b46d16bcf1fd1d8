#include <gravok/hand_over.h>

#include <utility>

namespace gvk {

// Out of line, so that the interface's virtual table and type data live in the
// library alone.
HandOverSource::~HandOverSource() = default;

HandOverProblemSource::HandOverProblemSource(Problem problem)
    : ProblemSource(std::move(problem)) {}

HandOverProblemSource::~HandOverProblemSource() = default;

// ProblemSource keeps which surface is current to itself; this one follows the same
// rule (an id that names no entry of `surfaces` changes nothing) to know which mesh a
// take empties.
void HandOverProblemSource::select_surface(unsigned long long id) {
  ProblemSource::select_surface(id);
  for (const Surface& s : problem().surfaces) {
    if (s.id != id) continue;
    m_selected = true;
    m_surface = id;
    return;
  }
}

void HandOverProblemSource::take_eg_data(
    std::vector<double>& x, std::vector<double>& y, std::vector<double>& z,
    std::vector<Triangle>& triangles, std::vector<gravok_triangle_info>& triangle_info) {
  Mesh* mesh = &problem().mesh;
  if (m_selected) {
    for (Surface& s : problem().surfaces) {
      if (s.id == m_surface) {
        mesh = &s.mesh;
        break;
      }
    }
  }
  // Swapping with emptied containers leaves the source's mesh empty whatever
  // std::vector's moved-from state is.
  x.clear();
  y.clear();
  z.clear();
  triangles.clear();
  triangle_info.clear();
  x.swap(mesh->x);
  y.swap(mesh->y);
  z.swap(mesh->z);
  triangles.swap(mesh->triangles);
  triangle_info.swap(mesh->triangle_info);
}

}  // namespace gvk
