/// @file
/// A whole grading problem as a value: every answer a data source gives, held in plain
/// containers, so that a host can keep a problem, compare it with another and hand it
/// on without a file. snapshot fills a Problem from any source; ProblemSource answers
/// every getter from a Problem; ProblemStore is a store that fills one, so a transfer
/// (copyFrom, copyAllFrom) into it shows exactly what a lossless store receives.
///
/// A Problem is plain data: use it from one thread at a time, as any value. A
/// ProblemSource or ProblemStore is used from one thread at a time, as every source.
/// ProblemSource and ProblemStore are classes of their own (not hosts' base classes):
/// the order of their virtual operations is part of the binary interface all the same.
#ifndef GRAVOK_PROBLEM_H
#define GRAVOK_PROBLEM_H

#include <gravok/data_source.h>
#include <gravok/data_store.h>
#include <gravok/export.h>
#include <gravok/records.h>
#include <gravok/surfaces.h>
#include <gravok/units.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace gvk {

/// A unit as its five members, the conversion factors as the numbers its functions
/// return, so that it can be kept, compared and written.
struct GRAVOK_API StoredUnit {
  /// The unknown unit: type 9, qualifier 0, "unknown", "", nine factors of 1.0.
  StoredUnit();
  std::int32_t type;                ///< the unit's type id (gravok/units.h)
  std::int32_t qualifier;           ///< the unit's qualifier
  std::string name;                 ///< its name, "meter"
  std::string abbreviation;         ///< its abbreviation, "m"
  std::vector<double> conversions;  ///< what each conversion function returns, in order
};

/// Reads the five members of `unit`, calling each conversion function once.
template <int N>
StoredUnit store_unit(const Unit<N>& unit) {
  StoredUnit stored;
  stored.type = unit.type;
  stored.qualifier = unit.qualifier;
  stored.name = unit.name;
  stored.abbreviation = unit.abbreviation;
  stored.conversions.clear();
  for (const auto& factor : unit.conversions) stored.conversions.push_back(factor());
  return stored;
}

/// Assigns the five members of `stored` into `unit`; each conversion function returns
/// its stored number. `unit` keeps its own dynamic class.
template <int N>
void restore_unit(const StoredUnit& stored, Unit<N>& unit) {
  unit.type = stored.type;
  unit.qualifier = stored.qualifier;
  unit.name = stored.name;
  unit.abbreviation = stored.abbreviation;
  unit.conversions.clear();
  for (double factor : stored.conversions)
    unit.conversions.emplace_back([factor] { return factor; });
}

/// The elements of one kind with everything the getter of that kind fills beside
/// them. Nothing requires xs and ys to be as long as the records.
struct ElementSet {
  std::vector<gravok_grading_element> records;  ///< the element records
  std::vector<std::vector<double>> xs;          ///< x lists, one per element
  std::vector<std::vector<double>> ys;          ///< y lists, one per element
  DataSource::ComplexElementData complex;       ///< complex-element data
};

/// True when the set holds nothing at all (no records, lists or complex data); such a
/// kind answers like an absent one.
GRAVOK_API bool is_empty(const ElementSet& set);

/// Every part of a problem. A default-constructed problem answers exactly what a bare
/// DataSource answers: its settings, its unknown units, origin zero, nothing else.
///
/// Coordinates are local to the one origin (xorig, yorig, zorig): the main mesh and
/// break lines, every entry of `surfaces` and every element alike.
struct GRAVOK_API Problem {
  /// DataSource's defaults, read from a bare DataSource.
  Problem();
  std::string hostcad_version;         ///< get_hostcad_version
  StoredUnit linear_unit;              ///< get_linear_unit
  StoredUnit area_unit;                ///< get_area_unit
  StoredUnit volume_unit;              ///< get_volume_unit
  double xorig;                        ///< get_xorig
  double yorig;                        ///< get_yorig
  double zorig;                        ///< get_zorig
  bool fix_boundary;                   ///< fix_boundary
  double max_slope;                    ///< get_max_slope
  double min_slope;                    ///< get_min_slope
  VolumeConstraint volume_constraint;  ///< get_volume_constraint
  std::vector<double> max_slopes;      ///< get_max_slopes
  std::vector<double> min_slopes;      ///< get_min_slopes
  mesh_metric metric;                  ///< get_mesh_metric
  long long max_iteration_count;       ///< get_max_iteration_count
  double epsilon;                      ///< get_epsilon
  /// The ids get_surfaces lists, when `surfaces` is empty (they may differ in length
  /// from the names).
  std::vector<unsigned long long> surface_ids;
  std::vector<std::string> surface_names;    ///< the names get_surfaces lists
  std::vector<gravok_objective> objectives;  ///< get_objectives
  std::vector<gravok_line_3d> break_lines;   ///< get_break_lines of the main surface
  Mesh mesh;  ///< get_eg_data: the main surface, current until another is selected
  /// Every part of each kind, by kind in ascending order.
  std::map<GradingElementType, ElementSet> elements;
  bool guids_valid;                        ///< is_ge_guid_valid
  std::map<long long, std::string> guids;  ///< what guid_from_uid answers per uid
  /// Every surface the source offers, each with its own mesh and break lines, when
  /// the problem holds several; empty when it holds one (the main one above).
  std::vector<Surface> surfaces;
  /// The coordinate system, the writing application and the surfaces' descriptions.
  ProblemDescription description;
};

/// Asks `source` every getter and keeps the answers in `problem`, replacing what it
/// held: units, the surface lists, the mesh and break lines (of the surface the source
/// has current), objectives, settings, origin, host version, whether GUIDs are valid,
/// the elements of every kind of allElementTypes() and complexElementTypes(), each
/// kind asked through get_grading_elements with empty containers of its own, and the
/// description of a source that is also a DescribedSource. Kinds that deliver nothing
/// are left out. GUIDs are asked for each uid in `uids` (a source cannot list its
/// uids) and kept unless the answer is empty. The source is not loaded.
///
/// When the source lists two surfaces or more (ids and names paired up; a longer
/// list's extra entries are left out), each is selected in turn and its mesh and break
/// lines kept in `surfaces`, re-expressed in the problem's origin (the one read after
/// the main mesh), so that a source that moves its origin per surface keeps every
/// absolute value; the first listed surface is selected again at the end. Exceptions
/// of the source pass through; `problem` is then partly filled.
GRAVOK_API void snapshot(DataSource& source, Problem& problem,
                         const std::vector<long long>& uids = {});

/// Every difference between two problems, one line each, under a path named like the
/// members of the JSON problem document ("/mesh/x/12: 1.5 != 1.25"), comparing doubles
/// and records bit for bit (so NaN equals the same NaN, and 0.0 differs from -0.0);
/// empty when they are the same. A kind absent in one problem compares as an empty
/// set. The GUID map is not compared, its validity flag is.
GRAVOK_API std::vector<std::string> compare_problems(const Problem& expected,
                                                     const Problem& actual);

/// A source that answers every getter from the Problem it holds. Getters append to
/// the containers they are given, as DataSource's defaults leave what is there: a
/// caller passes empty containers to receive exactly the problem's lists. Kinds the
/// problem lacks leave the containers unchanged; the kind dispatch is DataSource's own.
///
/// Surfaces: get_surfaces lists the ids and names of `surfaces` when the problem
/// holds several, else `surface_ids` and `surface_names`. The main mesh and break
/// lines are current until select_surface names an entry of `surfaces`; from then on
/// get_eg_data and get_break_lines answer that entry's. An id that names no entry
/// changes nothing. The origin is the problem's whatever surface is current.
class GRAVOK_API ProblemSource : public DataSource, public DescribedSource {
 public:
  /// Answers what a bare DataSource answers.
  ProblemSource();
  /// Answers from `problem`.
  explicit ProblemSource(Problem problem);
  ~ProblemSource() override;

  /// The problem the getters answer from. Changes made through the non-const one
  /// are answered by the next call; the current surface is found again by its id.
  const Problem& problem() const;
  /// The problem, to change or to move out.
  Problem& problem();

  /// Always true: the problem is in memory from construction on.
  bool load() override;
  void get_linear_unit(Unit<1>& unit) const override;
  void get_area_unit(Unit<2>& unit) const override;
  void get_volume_unit(Unit<3>& unit) const override;
  void get_surfaces(std::vector<unsigned long long>& ids,
                    std::vector<std::string>& names) const override;
  void select_surface(unsigned long long id) override;
  void get_eg_data(std::vector<double>& x, std::vector<double>& y, std::vector<double>& z,
                   std::vector<Triangle>& triangles,
                   std::vector<gravok_triangle_info>& triangle_info) override;
  void get_objectives(std::vector<gravok_objective>& objectives) override;
  void get_break_lines(std::vector<gravok_line_3d>& lines) const override;
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
  bool fix_boundary() const override;
  double get_max_slope() const override;
  double get_min_slope() const override;
  VolumeConstraint get_volume_constraint() const override;
  void get_max_slopes(std::vector<double>& slopes) const override;
  void get_min_slopes(std::vector<double>& slopes) const override;
  mesh_metric get_mesh_metric() const override;
  double get_xorig() const override;
  double get_yorig() const override;
  double get_zorig() const override;
  long long get_max_iteration_count() const override;
  double get_epsilon() const override;
  std::string get_hostcad_version() const override;
  bool is_ge_guid_valid() const override;
  /// The GUID kept for `uid`, or m_emptyGUID when the problem has none for it.
  const std::string& guid_from_uid(const long long& uid) const override;
  /// Replaces `description` with the problem's.
  void get_description(ProblemDescription& description) const override;

 private:
  Problem m_problem;
  bool m_selected = false;           // an entry of m_problem.surfaces is current
  unsigned long long m_surface = 0;  // its id
};

/// A store that keeps what it receives in a Problem: the value a host holds after a
/// transfer, and the base of stores that write a whole problem somewhere.
///
/// Each setter replaces its part of the problem; parts that no setter touches (GUIDs,
/// the origin, and the surfaces unless set_surfaces is called) keep what the problem
/// held at construction. A
/// per-kind setter replaces the whole set of its kind with the records it receives
/// (a plain setter carries no lists or complex data); the complete transfer's
/// operations keep everything they receive: units, break lines, each kind's records,
/// xs, ys and complex data, and the host version. set_surfaces and set_description
/// replace the surfaces and the description. Every getter answers as ProblemSource's
/// does, from the problem as it stands. The store's origin is the problem's, so a
/// transfer hands it coordinates local to that origin.
class GRAVOK_API ProblemStore : public DataStore,
                                public DescribedSource,
                                public DescribedStore,
                                public SurfaceStore {
 public:
  /// A store over a default Problem (origin zero).
  ProblemStore();
  /// A store that starts from `problem` and keeps its origin.
  explicit ProblemStore(Problem problem);
  ~ProblemStore() override;

  /// The problem as the setters have left it.
  const Problem& problem() const;
  /// The problem, to change or to move out.
  Problem& problem();

  bool load() override;
  void get_linear_unit(Unit<1>& unit) const override;
  void get_area_unit(Unit<2>& unit) const override;
  void get_volume_unit(Unit<3>& unit) const override;
  void get_surfaces(std::vector<unsigned long long>& ids,
                    std::vector<std::string>& names) const override;
  void select_surface(unsigned long long id) override;
  void get_eg_data(std::vector<double>& x, std::vector<double>& y, std::vector<double>& z,
                   std::vector<Triangle>& triangles,
                   std::vector<gravok_triangle_info>& triangle_info) override;
  void get_objectives(std::vector<gravok_objective>& objectives) override;
  void get_break_lines(std::vector<gravok_line_3d>& lines) const override;
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
  bool fix_boundary() const override;
  double get_max_slope() const override;
  double get_min_slope() const override;
  VolumeConstraint get_volume_constraint() const override;
  void get_max_slopes(std::vector<double>& slopes) const override;
  void get_min_slopes(std::vector<double>& slopes) const override;
  mesh_metric get_mesh_metric() const override;
  double get_xorig() const override;
  double get_yorig() const override;
  double get_zorig() const override;
  long long get_max_iteration_count() const override;
  double get_epsilon() const override;
  std::string get_hostcad_version() const override;
  bool is_ge_guid_valid() const override;
  const std::string& guid_from_uid(const long long& uid) const override;
  void get_description(ProblemDescription& description) const override;

  void set_units(const Unit<1>& linear, const Unit<2>& area,
                 const Unit<3>& volume) override;
  void set_eg_data(const std::vector<double>& x, const std::vector<double>& y,
                   const std::vector<double>& z, const std::vector<Triangle>& triangles,
                   const std::vector<gravok_triangle_info>& triangle_info) override;
  void set_break_lines(const std::vector<gravok_line_3d>& lines) override;
  void set_objectives(const std::vector<gravok_objective>& objectives) override;
  void set_low_points(const std::vector<gravok_grading_element>& elements) override;
  void set_bounded_points(const std::vector<gravok_grading_element>& elements) override;
  void set_offsets(const std::vector<gravok_grading_element>& elements) override;
  void set_drain_lines(const std::vector<gravok_grading_element>& elements) override;
  void set_bend_lines(const std::vector<gravok_grading_element>& elements) override;
  void set_aligned_edges(const std::vector<gravok_grading_element>& elements) override;
  void set_trizone_polygons(const std::vector<gravok_grading_element>& elements) override;
  void set_complex_elements(GradingElementType kind,
                            const std::vector<gravok_grading_element>& elements) override;
  void set_fix_boundary(bool fix) override;
  void set_max_slope(double slope) override;
  void set_min_slope(double slope) override;
  void set_volume_constraint(VolumeConstraint constraint) override;
  void set_max_slopes(const std::vector<double>& slopes) override;
  void set_min_slopes(const std::vector<double>& slopes) override;
  void set_mesh_metric(mesh_metric metric) override;
  void set_max_iteration_count(long long count) override;
  void set_epsilon(double epsilon) override;
  void set_transferred_units(const Unit<1>& linear, const Unit<2>& area,
                             const Unit<3>& volume) override;
  void set_transferred_break_lines(const std::vector<gravok_line_3d>& lines) override;
  void set_transferred_grading_elements(
      GradingElementType kind, const std::vector<gravok_grading_element>& elements,
      const std::vector<std::vector<double>>& xs,
      const std::vector<std::vector<double>>& ys,
      const ComplexElementData& complex_data) override;
  void set_hostcad_version(const std::string& version) override;
  /// Replaces the description.
  void set_description(const ProblemDescription& description) override;
  /// Replaces the surface lists with the ids and names of `surfaces`, and the
  /// problem's `surfaces` with them when there are several; a single surface is the
  /// main mesh, which set_eg_data receives, so only its id and name are kept.
  void set_surfaces(const std::vector<Surface>& surfaces) override;

 protected:
  /// Called after every setter has changed the problem, once per setter call. A
  /// store that writes its problem somewhere overrides it. Default: nothing.
  virtual void problem_changed() const;

 private:
  Problem m_problem;
  bool m_selected = false;
  unsigned long long m_surface = 0;
};

}  // namespace gvk

#endif  // GRAVOK_PROBLEM_H
