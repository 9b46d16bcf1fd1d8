#include <gravok/data_source.h>
#include <gravok/mesh_tools.h>

namespace gvk {

const std::string DataSource::m_emptyGUID;

DataSource::~DataSource() = default;

bool DataSource::load() { return false; }

void DataSource::get_linear_unit(Unit<1>& unit) const { unit = Unknown<1>(); }
void DataSource::get_area_unit(Unit<2>& unit) const { unit = Unknown<2>(); }
void DataSource::get_volume_unit(Unit<3>& unit) const { unit = Unknown<3>(); }

void DataSource::get_surfaces(std::vector<unsigned long long>&,
                              std::vector<std::string>&) const {}
void DataSource::select_surface(unsigned long long) {}

void DataSource::get_eg_data(std::vector<double>&, std::vector<double>&,
                             std::vector<double>&, std::vector<Triangle>&,
                             std::vector<gravok_triangle_info>&) {}
void DataSource::get_objectives(std::vector<gravok_objective>&) {}
void DataSource::get_break_lines(std::vector<gravok_line_3d>&) const {}

void DataSource::get_grading_elements(GradingElementType kind,
                                      std::vector<gravok_grading_element>& elements,
                                      std::vector<std::vector<double>>& xs,
                                      std::vector<std::vector<double>>& ys,
                                      ComplexElementData& complex_data) {
  // One unsigned range test: every value outside 0 to 7, negative ones included,
  // goes to the complex getter with the kind unchanged.
  if (static_cast<std::uint32_t>(kind) > static_cast<std::uint32_t>(Unclassified)) {
    get_complex_elements(kind, elements, xs, ys, complex_data);
    return;
  }
  switch (kind) {
    case LowPoint: get_low_points(elements); break;
    case BoundedPoint: get_bounded_points(elements); break;
    case AlignedEdge: get_aligned_edges(elements, xs, ys); break;
    case Offset: get_offsets(elements); break;
    case DrainLine: get_drain_lines(elements, xs, ys); break;
    case SurfaceZone: get_trizone_polygons(elements, xs, ys); break;
    case BendLine: get_bend_lines(elements, xs, ys); break;
    default: get_unclassified(elements, xs, ys); break;
  }
}

void DataSource::get_unclassified(std::vector<gravok_grading_element>&,
                                  std::vector<std::vector<double>>&,
                                  std::vector<std::vector<double>>&) const {}
void DataSource::get_low_points(std::vector<gravok_grading_element>&) const {}
void DataSource::get_bounded_points(std::vector<gravok_grading_element>&) const {}
void DataSource::get_offsets(std::vector<gravok_grading_element>&) const {}
void DataSource::get_drain_lines(std::vector<gravok_grading_element>&,
                                 std::vector<std::vector<double>>&,
                                 std::vector<std::vector<double>>&) const {}
void DataSource::get_bend_lines(std::vector<gravok_grading_element>&,
                                std::vector<std::vector<double>>&,
                                std::vector<std::vector<double>>&) const {}
void DataSource::get_aligned_edges(std::vector<gravok_grading_element>&,
                                   std::vector<std::vector<double>>&,
                                   std::vector<std::vector<double>>&) const {}
void DataSource::get_trizone_polygons(std::vector<gravok_grading_element>&,
                                      std::vector<std::vector<double>>&,
                                      std::vector<std::vector<double>>&) const {}
void DataSource::get_complex_elements(GradingElementType,
                                      std::vector<gravok_grading_element>&,
                                      std::vector<std::vector<double>>&,
                                      std::vector<std::vector<double>>&,
                                      ComplexElementData&) const {}

bool DataSource::fix_boundary() const { return true; }
double DataSource::get_max_slope() const { return 0.33; }
double DataSource::get_min_slope() const { return 0.005; }
VolumeConstraint DataSource::get_volume_constraint() const { return Unconstrained; }
void DataSource::get_max_slopes(std::vector<double>&) const {}
void DataSource::get_min_slopes(std::vector<double>&) const {}
mesh_metric DataSource::get_mesh_metric() const { return default_mesh_metric(); }

double DataSource::get_xorig() const { return 0.0; }
double DataSource::get_yorig() const { return 0.0; }
double DataSource::get_zorig() const { return 0.0; }

long long DataSource::get_max_iteration_count() const { return 100000; }
double DataSource::get_epsilon() const { return 0.0; }
std::string DataSource::get_hostcad_version() const { return std::string(); }
bool DataSource::is_ge_guid_valid() const { return false; }
const std::string& DataSource::guid_from_uid(const long long&) const {
  return m_emptyGUID;
}

}  // namespace gvk
