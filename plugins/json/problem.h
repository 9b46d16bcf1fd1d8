// A whole grading problem held in memory: every answer that a data source gives, as
// plain values. The JSON document is this structure written out; the JSON source and
// store answer their getters from it, and the gravok tool builds one from any source
// to dump it. Plain data: use it from one thread at a time, as any value.
#ifndef GRAVOK_JSON_PROBLEM_H
#define GRAVOK_JSON_PROBLEM_H

#include <gravok/data_source.h>
#include <gravok/records.h>
#include <gravok/units.h>

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace gvk_json {

// A unit as its five members, the conversion factors as the numbers its functions
// return. Default: the unknown unit (type 9, "unknown", "", nine factors of 1.0).
struct StoredUnit {
  StoredUnit();
  std::int32_t type;
  std::int32_t qualifier;
  std::string name;
  std::string abbreviation;
  std::vector<double> conversions;
};

// Reads the five members of `unit`, calling each conversion function once.
template <int N>
StoredUnit store_unit(const gvk::Unit<N>& unit) {
  StoredUnit stored;
  stored.type = unit.type;
  stored.qualifier = unit.qualifier;
  stored.name = unit.name;
  stored.abbreviation = unit.abbreviation;
  stored.conversions.clear();
  for (const auto& factor : unit.conversions) stored.conversions.push_back(factor());
  return stored;
}

// Assigns the five members of `stored` into `unit`; each conversion function returns
// its stored number. `unit` keeps its own dynamic class.
template <int N>
void restore_unit(const StoredUnit& stored, gvk::Unit<N>& unit) {
  unit.type = stored.type;
  unit.qualifier = stored.qualifier;
  unit.name = stored.name;
  unit.abbreviation = stored.abbreviation;
  unit.conversions.clear();
  for (double factor : stored.conversions)
    unit.conversions.emplace_back([factor] { return factor; });
}

// The elements of one kind with everything the getter of that kind fills beside
// them. Nothing requires xs and ys to be as long as the records.
struct ElementSet {
  std::vector<gravok_grading_element> records;
  std::vector<std::vector<double>> xs;
  std::vector<std::vector<double>> ys;
  gvk::DataSource::ComplexElementData complex;
};

// True when the set holds nothing at all; such a kind answers like an absent one.
bool is_empty(const ElementSet& set);

// The existing-ground mesh as get_eg_data delivers it.
struct Mesh {
  std::vector<double> x, y, z;
  std::vector<gvk::Triangle> triangles;
  std::vector<gravok_triangle_info> triangle_info;
};

// Every part of a problem. A default-constructed problem answers exactly what a bare
// gvk::DataSource answers: its settings, its unknown units, origin zero, nothing else.
struct Problem {
  Problem();
  std::string hostcad_version;
  StoredUnit linear_unit, area_unit, volume_unit;
  double xorig, yorig, zorig;
  bool fix_boundary;
  double max_slope, min_slope;
  VolumeConstraint volume_constraint;
  std::vector<double> max_slopes, min_slopes;
  mesh_metric metric;
  long long max_iteration_count;
  double epsilon;
  std::vector<unsigned long long> surface_ids;
  std::vector<std::string> surface_names;
  std::vector<gravok_objective> objectives;
  std::vector<gravok_line_3d> break_lines;
  Mesh mesh;
  std::map<GradingElementType, ElementSet> elements;  // by kind, in ascending order
  bool guids_valid;
  std::map<long long, std::string> guids;  // what guid_from_uid answers per uid
};

// The name of a kind in the document: "LowPoint", ..., "Pathway" for the named kinds,
// the decimal value ("8", "-1", "1000") for every other one.
std::string element_kind_name(GradingElementType kind);

// The kind that element_kind_name gives `name` for; false for any other text.
bool element_kind_from_name(std::string_view name, GradingElementType& kind);

// Asks `source` every getter and keeps the answers in `problem`, replacing what it
// held: units, surfaces, the mesh (of the surface the source has current), objectives,
// break lines, settings, origin, host version, whether GUIDs are valid, and the
// elements of every kind of allElementTypes() and complexElementTypes(), each kind
// asked through get_grading_elements with empty containers of its own. Kinds that
// deliver nothing are left out. GUIDs are asked for each uid in `uids` (a source
// cannot list its uids) and kept unless the answer is empty. Exceptions of the source
// pass through; `problem` is then partly filled.
void snapshot(gvk::DataSource& source, Problem& problem,
              const std::vector<long long>& uids = {});

}  // namespace gvk_json

#endif  // GRAVOK_JSON_PROBLEM_H
