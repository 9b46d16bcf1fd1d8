/// @file
/// Several surfaces, and what describes a problem, carried from a source into a store.
/// DataSource lists surfaces and selects one at a time, and a DataStore receives one
/// mesh; these additions carry the rest. They are interfaces of their own, which a
/// source or a store may implement beside DataSource or DataStore and which a caller
/// finds with dynamic_cast:
///
///     if (auto* described = dynamic_cast<gvk::DescribedSource*>(&source)) ...
///
/// DataStore::copyAllFrom uses them when both sides implement them. A source or store
/// that implements none of them behaves exactly as before.
///
/// The order of the virtual operations of each interface is part of the binary
/// interface: implementations are built separately from the library. The values here
/// are plain data; the interfaces are called from one thread at a time, as the source
/// or store that implements them.
#ifndef GRAVOK_SURFACES_H
#define GRAVOK_SURFACES_H

#include <gravok/export.h>
#include <gravok/records.h>

#include <map>
#include <string>
#include <vector>

namespace gvk {

/// An existing-ground mesh as get_eg_data delivers it: parallel vertex coordinates,
/// triangles of 0-based indices into them, one record per triangle.
struct Mesh {
  std::vector<double> x;                            ///< vertex x coordinates (easting)
  std::vector<double> y;                            ///< vertex y coordinates (northing)
  std::vector<double> z;                            ///< vertex elevations
  std::vector<Triangle> triangles;                  ///< three vertex indices each
  std::vector<gravok_triangle_info> triangle_info;  ///< one record per triangle
};

/// One surface of several: its id and name as get_surfaces lists them, and its mesh
/// and break lines as get_eg_data and get_break_lines deliver them while it is
/// selected, local to the origin of whoever holds it.
struct Surface {
  unsigned long long id = 0;                ///< the id select_surface takes
  std::string name;                         ///< its name, "" when it has none
  Mesh mesh;                                ///< its existing-ground mesh
  std::vector<gravok_line_3d> break_lines;  ///< its break lines
};

/// The coordinate system the coordinates are given in, as the source names it. Empty
/// text means the source does not say.
struct CoordinateSystem {
  std::string epsg_code;         ///< the EPSG code as text ("3007")
  std::string wkt;               ///< an OGC well-known-text definition
  std::string name;              ///< its name
  std::string description;       ///< a description for people ("SWEREF 99 12 00")
  std::string horizontal_name;   ///< the horizontal system's name ("SWEREF-99-12-00")
  std::string horizontal_datum;  ///< the horizontal datum ("SWEREF99")
  std::string vertical_datum;    ///< the vertical datum ("RH2000")
};

/// What describes a problem beside its data: the coordinate system, the application
/// that wrote it and a description per surface. Empty text means not known.
struct ProblemDescription {
  CoordinateSystem coordinate_system;  ///< the coordinates' system
  std::string application_name;        ///< the writing application's name
  std::string application_version;     ///< and its version
  /// Descriptions of surfaces by the ids get_surfaces lists; surfaces without one are
  /// absent.
  std::map<unsigned long long, std::string> surface_descriptions;
};

/// True when every text of the coordinate system is empty: nothing is known of it.
GRAVOK_API bool is_empty(const CoordinateSystem& system);

/// True when the description holds nothing: an empty coordinate system, no
/// application and no surface description, as a source that knows none gives it.
GRAVOK_API bool is_empty(const ProblemDescription& description);

/// A source that also tells what describes its problem.
class GRAVOK_API DescribedSource {
 public:
  DescribedSource() = default;
  /// Copies nothing: the interface has no state.
  DescribedSource(const DescribedSource&) = default;
  /// Assigns nothing.
  DescribedSource& operator=(const DescribedSource&) = default;
  virtual ~DescribedSource();

  /// Replaces `description` with what the source knows; parts it does not know are
  /// empty.
  virtual void get_description(ProblemDescription& description) const = 0;
};

/// A store that also keeps what describes a problem.
class GRAVOK_API DescribedStore {
 public:
  DescribedStore() = default;
  /// Copies nothing: the interface has no state.
  DescribedStore(const DescribedStore&) = default;
  /// Assigns nothing.
  DescribedStore& operator=(const DescribedStore&) = default;
  virtual ~DescribedStore();

  /// Receives the description, replacing any earlier one.
  virtual void set_description(const ProblemDescription& description) = 0;
};

/// A store that keeps several surfaces, each with its own mesh and break lines.
class GRAVOK_API SurfaceStore {
 public:
  SurfaceStore() = default;
  /// Copies nothing: the interface has no state.
  SurfaceStore(const SurfaceStore&) = default;
  /// Assigns nothing.
  SurfaceStore& operator=(const SurfaceStore&) = default;
  virtual ~SurfaceStore();

  /// Receives every surface of the source in the order get_surfaces lists them, with
  /// coordinates local to this store's origin, replacing any earlier ones; an empty
  /// list when the source lists none. The mesh that set_eg_data receives is one of
  /// them, the one the source had current.
  virtual void set_surfaces(const std::vector<Surface>& surfaces) = 0;
};

}  // namespace gvk

#endif  // GRAVOK_SURFACES_H
