// Two surfaces brought into one frame, and the earthwork between them: what the
// volume command reports and the cut/fill map of the plot draws.
#ifndef GRAVOK_TOOLS_EARTHWORK_H
#define GRAVOK_TOOLS_EARTHWORK_H

#include <gravok/problem.h>
#include <gravok/volume.h>

#include <string>
#include <vector>

namespace gravok_tool {

// A base problem with the surface chosen as its mesh, and a top surface moved into
// the base's local coordinates (its origin) and, where both linear units are known
// and differ, converted into the base's unit.
struct SurfacePair {
  gvk::Problem base;
  gvk::Mesh top;
  std::string base_label;  // "site.xml, surface \"EG\"" or the location alone
  std::string top_label;
  std::string conversion;  // how the top was converted, empty when it was not
};

// Opens both locations and picks the surfaces (a name, else an id; empty: the
// surface the source offers first). Returns 0, or 2 having said on stderr why a
// location cannot be opened or has no such surface.
int read_surface_pair(const std::string& base, const std::string& base_surface,
                      const std::string& top, const std::string& top_surface,
                      SurfacePair& pair);

// The mesh's arrays as the volume functions read them.
gvk::MeshView mesh_view(const gvk::Mesh& mesh);

// One closed outline element of a problem: building pads, ponds, parking lots and
// surface zones, in that order of kinds, each kind in its order.
struct Outline {
  GradingElementType kind;
  std::size_t number;  // 1-based within its kind
  const std::vector<double>* xs;
  const std::vector<double>* ys;
};
std::vector<Outline> closed_outlines(const gvk::Problem& problem);

// "m", "ft US", or "units" when the unit is unknown.
std::string length_label(const gvk::StoredUnit& unit);

}  // namespace gravok_tool

#endif  // GRAVOK_TOOLS_EARTHWORK_H
