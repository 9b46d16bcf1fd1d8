// A store that writes a grading problem as an AutoCAD R12 DXF drawing (dxf_writer.h):
// the existing ground as 3DFACE entities on the layer of the surface's name
// ("Existing ground" unless set_surface_name says otherwise), the break lines as 3D
// polylines, every element kind on a layer of its own name, and $INSUNITS from the
// linear unit.
//
// The store's origin is (0, 0, 0), so a transfer (copyFrom, copyAllFrom) hands it
// absolute coordinates, which it writes as they come, in the shortest text that reads
// back to the same double. The file is written when the bulk operation ends
// (endBulkOperation) and by save(); setters alone write nothing. Before writing, the
// store checks that the plug-in's reader will read the drawing back (unwritable()):
// what it refuses is never written. Writing goes through a temporary file beside the
// target that then replaces it, so a failed write leaves an existing file as it was.
//
// What a DXF drawing cannot hold is dropped and declared through gvk::DeclaresLosses:
// the settings of the optimisation (where they differ from DataSource's defaults),
// objectives, per-triangle records that are not zero, a host version that names an
// application (such as "Civil 2023"), complex-element data, the opaque
// bytes of element records and the location slots that are no coordinates, elements
// that arrived without vertices (copyFrom hands records only), mesh vertices that no
// triangle uses and vertices that repeat another's coordinates (they come back as
// one), and units that $INSUNITS cannot state (the arcsecond; area or volume units
// that are not the square or cube of the linear unit). Each setter sets the losses of
// what it replaces, so after a transfer losses() describes that transfer.
//
// A host version of the form "DXF <version>", which a DXF source answers for its
// drawing's $ACADVER, is no loss although the file written reads back as "DXF AC1009":
// it names the format of the file it came from, not part of the problem, and every DXF
// writer states its own. So a drawing of any version copies to DXF with nothing
// declared (`gravok copy --strict` passes) when all of its problem is kept.
// A store is used from one thread at a time.
#ifndef GRAVOK_DXF_STORE_H
#define GRAVOK_DXF_STORE_H

#include "dxf_drawing.h"
#include "format_store.h"

#include <gravok/surfaces.h>

#include <map>
#include <string>
#include <vector>

namespace gvk_dxf {

class DxfStore : public gvk_plugin::FormatStore, public gvk::DescribedStore {
 public:
  // A store that writes to `path`; nothing is written before save().
  explicit DxfStore(std::string path);

  // The name of the surface and so of its layer.
  void set_surface_name(const std::string& name);

  // Writes the drawing. Throws std::invalid_argument ("cannot write PATH: what") for a
  // problem the drawing cannot hold so that it reads back (see unwritable), and
  // std::system_error ("cannot write PATH: the system's reason") when the file cannot
  // be written; nothing is written then, and a file that was there stays as it was.
  void save() const;

  // Saves (see save(), whose exceptions pass through).
  void endBulkOperation() const override;

  void set_units(const gvk::Unit<1>& linear, const gvk::Unit<2>& area,
                 const gvk::Unit<3>& volume) override;
  void set_eg_data(const std::vector<double>& x, const std::vector<double>& y,
                   const std::vector<double>& z,
                   const std::vector<gvk::Triangle>& triangles,
                   const std::vector<gravok_triangle_info>& triangle_info) override;
  void set_break_lines(const std::vector<gravok_line_3d>& lines) override;
  // A drawing states no coordinate system, writing application or surface
  // description: a description that is not empty is declared lost.
  void set_description(const gvk::ProblemDescription& description) override;

  // Elements (FormatStore's setters): each kind's records, replacing earlier ones of
  // that kind. Kinds with polylines get their vertices only through the complete
  // transfer (set_transferred_grading_elements).
  // The settings and objectives: declared lost by FormatStore.

  void set_hostcad_version(const std::string& version) override;

  // As a source the store answers the mesh, units and break lines it holds, in
  // absolute coordinates (origin 0).
  void get_linear_unit(gvk::Unit<1>& unit) const override;
  void get_area_unit(gvk::Unit<2>& unit) const override;
  void get_volume_unit(gvk::Unit<3>& unit) const override;
  void get_eg_data(std::vector<double>& x, std::vector<double>& y, std::vector<double>& z,
                   std::vector<gvk::Triangle>& triangles,
                   std::vector<gravok_triangle_info>& triangle_info) override;
  void get_break_lines(std::vector<gravok_line_3d>& lines) const override;

 private:
  Drawing drawing_to_write() const;
  void keep_elements(std::int32_t kind, ReceivedElements elements) override;

  std::string m_path;
  std::string m_surface_name = "Existing ground";
  std::int32_t m_unit = gvk::kUnknownUnitType;
  std::int32_t m_area = gvk::kUnknownUnitType, m_volume = gvk::kUnknownUnitType;
  std::vector<double> m_x, m_y, m_z;
  std::vector<gvk::Triangle> m_triangles;
  std::vector<gravok_line_3d> m_break_lines;
  std::map<std::int32_t, ReceivedElements> m_kinds;
};

}  // namespace gvk_dxf

#endif  // GRAVOK_DXF_STORE_H
