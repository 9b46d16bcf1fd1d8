// A source that reads the TIN surfaces, break lines and grading elements of an ASCII
// DXF drawing (AutoCAD R12, AC1009, to the current versions).
//
// load() reads the whole file once; the source then answers from memory and never
// touches the file again. Each layer with 3DFACE entities or polyface meshes is a
// surface, offered through get_surfaces with ids 0, 1, 2, ... in the order the layers
// first appear and named by the layer; the first is current until select_surface
// chooses another. Coordinates are handed out local to an origin that
// DataSource::ComputeOrigin picks over the current surface's vertices (the centre of
// their bounding box), so state-plane coordinates keep their millimetres; the break
// lines and the elements move with it. A drawing without a surface has the origin
// (0, 0, 0). A source is used from one thread at a time.
#ifndef GRAVOK_DXF_SOURCE_H
#define GRAVOK_DXF_SOURCE_H

#include "dxf_drawing.h"

#include <gravok/data_source.h>

#include <array>
#include <string>
#include <vector>

namespace gvk_dxf {

class DxfSource : public gvk::DataSource {
 public:
  // A source for the file at `path`; nothing is read before load().
  explicit DxfSource(std::string path, ReadOptions options = {});

  // Reads the file. True on success, with the first surface current. False when the
  // file cannot be read or is refused (see parse_drawing); error() then names the
  // file, the line and what is wrong, and the source offers nothing. What was left
  // out while reading is in warnings() either way.
  bool load() override;
  const std::string& error() const { return m_error; }
  const std::vector<std::string>& warnings() const { return m_warnings; }

  // The unit $INSUNITS names, as gvk::Known<N> with its exact factors (areas and
  // volumes as its square and cube); the unknown unit when it names none.
  void get_linear_unit(gvk::Unit<1>& unit) const override;
  void get_area_unit(gvk::Unit<2>& unit) const override;
  void get_volume_unit(gvk::Unit<3>& unit) const override;

  // Replaces `ids` and `names` with the surfaces: ids 0 to n-1, names their layers.
  void get_surfaces(std::vector<unsigned long long>& ids,
                    std::vector<std::string>& names) const override;
  // Makes surface `id` current and moves the origin to its vertices. An id that names
  // no surface changes nothing.
  void select_surface(unsigned long long id) override;

  // Replaces the five containers with the current surface (local to the origin), one
  // zeroed record per triangle; empty without a surface.
  void get_eg_data(std::vector<double>& x, std::vector<double>& y, std::vector<double>& z,
                   std::vector<gvk::Triangle>& triangles,
                   std::vector<gravok_triangle_info>& triangle_info) override;

  // Replaces `lines` with every break-line segment of the drawing, local to the origin.
  void get_break_lines(std::vector<gravok_line_3d>& lines) const override;

  // Each per-kind getter replaces its containers with the drawing's elements of that
  // kind, local to the origin: records zeroed but for the point kinds' location slots
  // (low point x y; bounded point x y and its two elevations in slots 3 and 4; offset
  // its two points in slots 1 2 and 4 5), vertices in xs and ys. get_complex_elements
  // answers every kind of 100 and up; its complex data stays as it was given.
  void get_unclassified(std::vector<gravok_grading_element>& elements,
                        std::vector<std::vector<double>>& xs,
                        std::vector<std::vector<double>>& ys) const override;
  void get_low_points(std::vector<gravok_grading_element>& elements) const override;
  void get_bounded_points(std::vector<gravok_grading_element>& elements) const override;
  void get_offsets(std::vector<gravok_grading_element>& elements) const override;
  void get_drain_lines(std::vector<gravok_grading_element>& elements,
                       std::vector<std::vector<double>>& xs,
                       std::vector<std::vector<double>>& ys) const override;
  void get_bend_lines(std::vector<gravok_grading_element>& elements,
                      std::vector<std::vector<double>>& xs,
                      std::vector<std::vector<double>>& ys) const override;
  void get_aligned_edges(std::vector<gravok_grading_element>& elements,
                         std::vector<std::vector<double>>& xs,
                         std::vector<std::vector<double>>& ys) const override;
  void get_trizone_polygons(std::vector<gravok_grading_element>& elements,
                            std::vector<std::vector<double>>& xs,
                            std::vector<std::vector<double>>& ys) const override;
  void get_complex_elements(GradingElementType kind,
                            std::vector<gravok_grading_element>& elements,
                            std::vector<std::vector<double>>& xs,
                            std::vector<std::vector<double>>& ys,
                            ComplexElementData& complex_data) const override;

  double get_xorig() const override { return m_origin[0]; }
  double get_yorig() const override { return m_origin[1]; }
  double get_zorig() const override { return m_origin[2]; }

  // "DXF <$ACADVER>", such as "DXF AC1009", or "" before a load.
  std::string get_hostcad_version() const override;

 private:
  void elements_of(std::int32_t kind, std::vector<gravok_grading_element>& elements,
                   std::vector<std::vector<double>>* xs,
                   std::vector<std::vector<double>>* ys) const;

  std::string m_path;
  ReadOptions m_options;
  Drawing m_drawing;
  double m_origin[3] = {0, 0, 0};
  std::string m_error;
  std::vector<std::string> m_warnings;
  std::size_t m_current = 0;
};

}  // namespace gvk_dxf

#endif  // GRAVOK_DXF_SOURCE_H
