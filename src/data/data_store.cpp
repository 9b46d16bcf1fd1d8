#include <gravok/data_store.h>

#include <array>
#include <cstddef>

namespace gvk {
namespace {

using KindSetter = void (DataStore::*)(const std::vector<gravok_grading_element>&);

// Setters of the simple kinds 0 to 6, indexed by kind. Calls through these pointers
// are virtual, so the concrete store's setter runs.
using KindTable = std::array<KindSetter, 7>;

KindTable make_kind_table() {
  KindTable table{};
  table[LowPoint] = &DataStore::set_low_points;
  table[BoundedPoint] = &DataStore::set_bounded_points;
  table[AlignedEdge] = &DataStore::set_aligned_edges;
  table[Offset] = &DataStore::set_offsets;
  table[DrainLine] = &DataStore::set_drain_lines;
  table[SurfaceZone] = &DataStore::set_trizone_polygons;
  table[BendLine] = &DataStore::set_bend_lines;
  return table;
}

// Built by the first call of any thread; the language makes concurrent first calls
// wait for that one construction, and the table is only read afterwards.
const KindTable& kind_table() {
  static const KindTable table = make_kind_table();
  return table;
}

}  // namespace

DataStore::~DataStore() = default;

void DataStore::beginBulkOperation() const {}
void DataStore::endBulkOperation() const {}

void DataStore::set_grading_elements(
    GradingElementType kind, const std::vector<gravok_grading_element>& elements) {
  const KindTable& table = kind_table();
  if (kind >= 100) {
    set_complex_elements(kind, elements);
    return;
  }
  if (kind < 0 || static_cast<std::size_t>(kind) >= table.size()) return;
  (this->*table[static_cast<std::size_t>(kind)])(elements);
}

void DataStore::set_transferred_units(const Unit<1>&, const Unit<2>&, const Unit<3>&) {}

void DataStore::set_transferred_break_lines(const std::vector<gravok_line_3d>&) {}

void DataStore::set_transferred_grading_elements(
    GradingElementType kind, const std::vector<gravok_grading_element>& elements,
    const std::vector<std::vector<double>>&, const std::vector<std::vector<double>>&,
    const ComplexElementData&) {
  set_grading_elements(kind, elements);
}

void DataStore::set_hostcad_version(const std::string&) {}

}  // namespace gvk
