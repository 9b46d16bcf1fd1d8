#include <gravok/surfaces.h>

namespace gvk {

// Out of line, so that each interface's virtual table and type data live in the
// library alone.
DescribedSource::~DescribedSource() = default;
DescribedStore::~DescribedStore() = default;
SurfaceStore::~SurfaceStore() = default;

bool is_empty(const CoordinateSystem& c) {
  return c.epsg_code.empty() && c.wkt.empty() && c.name.empty() &&
         c.description.empty() && c.horizontal_name.empty() &&
         c.horizontal_datum.empty() && c.vertical_datum.empty();
}

bool is_empty(const ProblemDescription& d) {
  return is_empty(d.coordinate_system) && d.application_name.empty() &&
         d.application_version.empty() && d.surface_descriptions.empty();
}

}  // namespace gvk
