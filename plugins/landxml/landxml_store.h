// A store that writes a grading problem as a LandXML 1.2 document that design software
// imports: the existing ground as a TIN surface "Existing ground" with its break
// lines (or every surface the complete transfer hands it, each with its name and
// description), the grading elements as points and plan features named by kind, the
// units, the coordinate system, the application and the host version.
//
// The store's origin is (0, 0, 0), so a transfer (copyFrom, copyAllFrom) hands it
// absolute coordinates, which it writes as they come: northing before easting, in the
// shortest form that reads back to the same double. The file is written when the bulk
// operation ends (endBulkOperation) and by save(); setters alone write nothing. The
// store does not read an existing file: writing replaces it whole. Settings of the
// optimisation (slopes, limits, objectives, mesh metric) have no place in LandXML and
// are dropped; the store declares what it drops through gvk::DeclaresLosses (below).
// A store is used from one thread at a time.
#ifndef GRAVOK_LANDXML_STORE_H
#define GRAVOK_LANDXML_STORE_H

#include "format_store.h"
#include "landxml_document.h"

#include <gravok/surfaces.h>

#include <map>
#include <string>
#include <vector>

namespace gvk_landxml {

class LandXmlStore : public gvk_plugin::FormatStore,
                     public gvk::DescribedStore,
                     public gvk::SurfaceStore {
 public:
  // A store that writes to `path`; nothing is written before save().
  explicit LandXmlStore(std::string path);

  // Writes the document with save_document: through a temporary file that replaces
  // the one at the path. What LandXML cannot hold (a NaN coordinate, a triangle index
  // out of range, a y or z shorter than x, a mesh with points but no triangle, a
  // feature with more x than y values) throws std::invalid_argument "cannot write
  // PATH: ..." naming the first such vertex, triangle or element, and nothing is
  // written; a failure of the system throws std::system_error "cannot write PATH" with
  // its reason. Either way an existing file stays as it was.
  void save() const;

  // Saves, and so throws as save() does; the exception passes through copyFrom and
  // copyAllFrom to their caller.
  void endBulkOperation() const override;

  // Units: written as <Metric> when the linear unit is metric, <Imperial> otherwise;
  // an area or volume unit that LandXML cannot name is written as the square or cube
  // of the linear unit. With an unknown linear unit, or the arcsecond, which is no
  // length, no <Units> is written. As a source the store reports gvk::Known<N> of the
  // type ids it was given.
  void set_units(const gvk::Unit<1>& linear, const gvk::Unit<2>& area,
                 const gvk::Unit<3>& volume) override;
  void set_eg_data(const std::vector<double>& x, const std::vector<double>& y,
                   const std::vector<double>& z,
                   const std::vector<gvk::Triangle>& triangles,
                   const std::vector<gravok_triangle_info>& triangle_info) override;
  void set_break_lines(const std::vector<gravok_line_3d>& lines) override;

  // Elements (FormatStore's setters) keep the records of one kind, replacing earlier
  // ones of that kind.
  // Low points and bounded points are written as <CgPoint> "<Kind> <n>" (n from 1 in
  // record order; a bounded point's two elevations in its desc), offsets as a plan
  // feature of one line from the first to the second point. Every other kind carries
  // its geometry in xs and ys, which only set_transferred_grading_elements receives:
  // each element with at least two vertices is written as <PlanFeature> "<Kind> <n>"
  // (closed for surface zones, building pads, ponds and parking lots: the last
  // vertex joined to the first), and elements without coordinates are not written. GUIDs
  // do not reach a store, so names carry the kind and the number only.

  // The settings and objectives have no place in LandXML: FormatStore declares each
  // setting that differs from gvk::DataSource's default lost ("settings (max slope)").

  // The complete transfer (FormatStore's setters): units and break lines as their
  // setters take them; the elements of every kind (Unclassified included) with their xs
  // and ys. Complex-element data has no place in LandXML and is dropped.

  // Written as the desc of the document's <Application>.
  void set_hostcad_version(const std::string& version) override;

  // The coordinate system is written as <CoordinateSystem> (the attributes name, desc,
  // epsgCode, ogcWktCode, horizontalCoordinateSystemName, horizontalDatum and
  // verticalDatum, each when not empty); the application's name and version as the
  // <Application>'s, in place of this plug-in's name; each surface description as
  // the desc of the surface with that id, when one is written.
  void set_description(const gvk::ProblemDescription& description) override;
  // Every surface is written as a <Surface> of its own, in the order given, with its
  // name, break lines, points and faces; they replace what set_eg_data and
  // set_break_lines gave (the first surface until then, "Existing ground"). LandXML
  // has no surface ids: reading the file back numbers the surfaces 0, 1, 2, ... A
  // surface without points or triangles is not written (declared lost). An empty list
  // leaves the first surface alone, named "Existing ground" again: the one that
  // set_eg_data fills.
  void set_surfaces(const std::vector<gvk::Surface>& surfaces) override;

  // losses() (FormatStore) lists what the store received that reading its file back
  // does not give: objectives, settings that differ from the defaults, triangle
  // records that are not all zero bytes, units LandXML cannot name, the host version,
  // and the grading elements of each kind, which are written as points and plan
  // features for other programs but not read back (the reader reads surfaces).

  // As a source the store answers what it holds, in absolute coordinates (origin 0).
  void get_linear_unit(gvk::Unit<1>& unit) const override;
  void get_area_unit(gvk::Unit<2>& unit) const override;
  void get_volume_unit(gvk::Unit<3>& unit) const override;
  void get_eg_data(std::vector<double>& x, std::vector<double>& y, std::vector<double>& z,
                   std::vector<gvk::Triangle>& triangles,
                   std::vector<gravok_triangle_info>& triangle_info) override;
  void get_break_lines(std::vector<gravok_line_3d>& lines) const override;
  std::string get_hostcad_version() const override { return m_document.application; }

 private:
  // Keeps the elements of one kind, replacing earlier ones, and counts them lost.
  void keep_elements(std::int32_t kind, ReceivedElements elements) override;
  // Declares the host version lost unless reading the file back gives it.
  void count_host_version();
  std::string m_path;
  // One surface, the units and the host version; save() rebuilds its points and
  // features from m_kinds each time it writes.
  mutable Document m_document;
  std::map<std::int32_t, ReceivedElements> m_kinds;
  std::vector<unsigned long long> m_surface_ids;  // of m_document.surfaces, in order
  std::map<unsigned long long, std::string> m_surface_descriptions;
  std::string m_host_version;
};

}  // namespace gvk_landxml

#endif  // GRAVOK_LANDXML_STORE_H
