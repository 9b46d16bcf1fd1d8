#include <gravok/offset_data_source.h>

namespace gvk {

OffsetDataSource::OffsetDataSource(DataSource& source, double dx, double dy, double dz)
    : m_source(source), m_xoffset(dx), m_yoffset(dy), m_zoffset(dz) {}

OffsetDataSource::~OffsetDataSource() = default;

void OffsetDataSource::offset_vec(std::vector<double>& values, double offset) {
  for (double& value : values) value += offset;
}

void OffsetDataSource::offset_vec_vec(std::vector<std::vector<double>>& lists,
                                      double offset) {
  for (std::vector<double>& values : lists) offset_vec(values, offset);
}

void OffsetDataSource::offset_coords(std::vector<std::vector<double>>& xs,
                                     std::vector<std::vector<double>>& ys) const {
  offset_vec_vec(xs, m_xoffset);
  offset_vec_vec(ys, m_yoffset);
}

void OffsetDataSource::get_surfaces(std::vector<unsigned long long>& ids,
                                    std::vector<std::string>& names) const {
  m_source.get_surfaces(ids, names);
}

void OffsetDataSource::select_surface(unsigned long long id) {
  m_source.select_surface(id);
}

void OffsetDataSource::get_eg_data(std::vector<double>& x, std::vector<double>& y,
                                   std::vector<double>& z,
                                   std::vector<Triangle>& triangles,
                                   std::vector<gravok_triangle_info>& triangle_info) {
  m_source.get_eg_data(x, y, z, triangles, triangle_info);
  offset_vec(x, m_xoffset);
  offset_vec(y, m_yoffset);
  offset_vec(z, m_zoffset);
}

void OffsetDataSource::get_objectives(std::vector<gravok_objective>& objectives) {
  m_source.get_objectives(objectives);
}

void OffsetDataSource::get_break_lines(std::vector<gravok_line_3d>& lines) const {
  m_source.get_break_lines(lines);
  for (gravok_line_3d& line : lines) {
    line.x1 += m_xoffset;
    line.x2 += m_xoffset;
    line.y1 += m_yoffset;
    line.y2 += m_yoffset;
    line.z1 += m_zoffset;
    line.z2 += m_zoffset;
  }
}

void OffsetDataSource::get_unclassified(std::vector<gravok_grading_element>& elements,
                                        std::vector<std::vector<double>>& xs,
                                        std::vector<std::vector<double>>& ys) const {
  m_source.get_unclassified(elements, xs, ys);
  offset_coords(xs, ys);
}

void OffsetDataSource::get_low_points(
    std::vector<gravok_grading_element>& elements) const {
  m_source.get_low_points(elements);
  for (gravok_grading_element& element : elements) {
    element.location[0] += m_xoffset;
    element.location[1] += m_yoffset;
  }
}

void OffsetDataSource::get_bounded_points(
    std::vector<gravok_grading_element>& elements) const {
  m_source.get_bounded_points(elements);
  for (gravok_grading_element& element : elements) {
    element.location[0] += m_xoffset;
    element.location[1] += m_yoffset;
    element.location[3] += m_zoffset;
    element.location[4] += m_zoffset;
  }
}

void OffsetDataSource::get_offsets(std::vector<gravok_grading_element>& elements) const {
  m_source.get_offsets(elements);
  for (gravok_grading_element& element : elements) {
    element.location[1] += m_xoffset;
    element.location[2] += m_yoffset;
    element.location[4] += m_xoffset;
    element.location[5] += m_yoffset;
  }
}

void OffsetDataSource::get_drain_lines(std::vector<gravok_grading_element>& elements,
                                       std::vector<std::vector<double>>& xs,
                                       std::vector<std::vector<double>>& ys) const {
  m_source.get_drain_lines(elements, xs, ys);
  offset_coords(xs, ys);
}

void OffsetDataSource::get_bend_lines(std::vector<gravok_grading_element>& elements,
                                      std::vector<std::vector<double>>& xs,
                                      std::vector<std::vector<double>>& ys) const {
  m_source.get_bend_lines(elements, xs, ys);
  offset_coords(xs, ys);
}

void OffsetDataSource::get_aligned_edges(std::vector<gravok_grading_element>& elements,
                                         std::vector<std::vector<double>>& xs,
                                         std::vector<std::vector<double>>& ys) const {
  m_source.get_aligned_edges(elements, xs, ys);
  offset_coords(xs, ys);
}

void OffsetDataSource::get_trizone_polygons(std::vector<gravok_grading_element>& elements,
                                            std::vector<std::vector<double>>& xs,
                                            std::vector<std::vector<double>>& ys) const {
  m_source.get_trizone_polygons(elements, xs, ys);
  offset_coords(xs, ys);
}

void OffsetDataSource::get_complex_elements(GradingElementType kind,
                                            std::vector<gravok_grading_element>& elements,
                                            std::vector<std::vector<double>>& xs,
                                            std::vector<std::vector<double>>& ys,
                                            ComplexElementData& complex_data) const {
  m_source.get_complex_elements(kind, elements, xs, ys, complex_data);
  offset_coords(xs, ys);
}

bool OffsetDataSource::fix_boundary() const { return m_source.fix_boundary(); }
double OffsetDataSource::get_max_slope() const { return m_source.get_max_slope(); }
double OffsetDataSource::get_min_slope() const { return m_source.get_min_slope(); }
void OffsetDataSource::get_max_slopes(std::vector<double>& slopes) const {
  m_source.get_max_slopes(slopes);
}
void OffsetDataSource::get_min_slopes(std::vector<double>& slopes) const {
  m_source.get_min_slopes(slopes);
}
mesh_metric OffsetDataSource::get_mesh_metric() const {
  return m_source.get_mesh_metric();
}

double OffsetDataSource::get_xorig() const { return m_source.get_xorig() - m_xoffset; }
double OffsetDataSource::get_yorig() const { return m_source.get_yorig() - m_yoffset; }
double OffsetDataSource::get_zorig() const { return m_source.get_zorig() - m_zoffset; }

double OffsetDataSource::get_epsilon() const { return m_source.get_epsilon(); }

}  // namespace gvk
