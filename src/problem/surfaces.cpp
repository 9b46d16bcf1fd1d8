#include <gravok/surfaces.h>

namespace gvk {

// Out of line, so that each interface's virtual table and type data live in the
// library alone.
DescribedSource::~DescribedSource() = default;
DescribedStore::~DescribedStore() = default;
SurfaceStore::~SurfaceStore() = default;

}  // namespace gvk
