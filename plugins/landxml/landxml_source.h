// A source that reads the TIN surfaces of a LandXML file (versions 1.0 to 1.2).
//
// load() reads the whole file once; the source then answers from memory and never
// touches the file again. Every TIN surface is offered through get_surfaces, with ids
// 0, 1, 2, ... in document order; the first is current until select_surface chooses
// another. Coordinates are handed out local to an origin that DataSource::ComputeOrigin
// picks over the current surface's points (the centre of their bounding box), so
// state-plane coordinates of 10^6 and more keep their millimetres; a surface without
// points has the origin (0, 0, 0). A source is used from one thread at a time.
#ifndef GRAVOK_LANDXML_SOURCE_H
#define GRAVOK_LANDXML_SOURCE_H

#include "landxml_document.h"

#include <gravok/data_source.h>
#include <gravok/hand_over.h>
#include <gravok/surfaces.h>

#include <array>
#include <string>
#include <vector>

namespace gvk_landxml {

class LandXmlSource : public gvk::DataSource,
                      public gvk::DescribedSource,
                      public gvk::HandOverSource {
 public:
  // A source for the file at `path`; nothing is read before load().
  explicit LandXmlSource(std::string path);

  // Reads the file. True on success, with the first surface current. False when the
  // file cannot be read or is not a LandXML document the source accepts (see
  // parse_document); error() then says why, naming the file, the line and the
  // element, and the source offers no surface. Warnings about repairs made while
  // reading are in warnings() either way.
  bool load() override;
  const std::string& error() const { return m_error; }
  const std::vector<std::string>& warnings() const { return m_warnings; }

  // The units of <Units>, as known units with their conversion factors; the unknown
  // unit where the file names none or one that is not known.
  void get_linear_unit(gvk::Unit<1>& unit) const override;
  void get_area_unit(gvk::Unit<2>& unit) const override;
  void get_volume_unit(gvk::Unit<3>& unit) const override;

  // Replaces `ids` and `names` with the TIN surfaces: ids 0 to n-1 in document order
  // and each surface's name attribute ("" when it has none).
  void get_surfaces(std::vector<unsigned long long>& ids,
                    std::vector<std::string>& names) const override;
  // Makes surface `id` current and moves the origin to its points. An id that names
  // no surface changes nothing.
  void select_surface(unsigned long long id) override;

  // Replaces the five containers with the current surface: every <P> of its <Pnts>
  // in file order (x easting, y northing, z elevation, local to the origin), one
  // triangle per visible <F> in file order, and one zeroed record per triangle. With
  // no surface (before load(), or a file without one) they come back empty.
  void get_eg_data(std::vector<double>& x, std::vector<double>& y, std::vector<double>& z,
                   std::vector<gvk::Triangle>& triangles,
                   std::vector<gravok_triangle_info>& triangle_info) override;
  // What get_eg_data delivers, with the surface's points and triangles moved out
  // rather than copied: the surface's mesh is empty afterwards (a command that reads
  // the file once takes it; see gvk::take_snapshot).
  void take_eg_data(std::vector<double>& x, std::vector<double>& y,
                    std::vector<double>& z, std::vector<gvk::Triangle>& triangles,
                    std::vector<gravok_triangle_info>& triangle_info) override;

  // Replaces `lines` with the current surface's <Breakline> polylines, one segment
  // per pair of consecutive points, local to the origin.
  void get_break_lines(std::vector<gravok_line_3d>& lines) const override;

  // Replaces the containers with the current surface's outer <Boundary> polygons: one
  // SurfaceZone element per boundary, its record zeroed, its vertices in xs and ys
  // (local to the origin, not repeated at the end).
  void get_trizone_polygons(std::vector<gravok_grading_element>& elements,
                            std::vector<std::vector<double>>& xs,
                            std::vector<std::vector<double>>& ys) const override;

  double get_xorig() const override { return m_origin[0]; }
  double get_yorig() const override { return m_origin[1]; }
  double get_zorig() const override { return m_origin[2]; }

  // "<name> <version>" of the file's <Application>, or "".
  std::string get_hostcad_version() const override;

  // The file's <CoordinateSystem> (see Document), the name and version of its
  // <Application>, and the desc of each surface that has one, by surface id.
  void get_description(gvk::ProblemDescription& description) const override;

 private:
  const Surface* current() const;

  std::string m_path;
  Document m_document;
  std::vector<bool> m_local;  // per surface: coordinates already moved to its origin
  std::vector<std::array<double, 3>> m_origins;
  std::size_t m_current = 0;
  double m_origin[3] = {0, 0, 0};
  std::string m_error;
  std::vector<std::string> m_warnings;
};

}  // namespace gvk_landxml

#endif  // GRAVOK_LANDXML_SOURCE_H
