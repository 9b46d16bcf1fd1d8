// The JSON store: a problem kept in memory and written as one JSON document. Each
// setter replaces its part of the problem; parts that no setter touched keep what the
// document held when the store was created (surfaces and GUIDs have no setter and are
// always kept). The document is written when the outermost bulk bracket closes, and
// at once by a setter called outside any bracket; nothing is written before that, so
// creating a store for an existing document changes nothing on disk. Every getter
// answers from the problem as it stands. One thread at a time, as every store.
#ifndef GRAVOK_JSON_STORE_H
#define GRAVOK_JSON_STORE_H

#include "problem.h"
#include "problem_source.h"

#include <gravok/data_store.h>

#include <string>

namespace gvk_json {

class JsonStore : public ProblemAnswers<gvk::DataStore> {
 public:
  // A store that writes to `path`, starting from `problem` (a default Problem for a
  // new document, or the one read from the existing document). With an empty path
  // the store keeps the problem in memory only and never writes: its origin is
  // problem's, so a transfer into it shows what a lossless store at that origin holds.
  JsonStore(std::string path, Problem problem);

  const std::string& path() const { return m_path; }

  // Writes the document now. False when the file could not be written; the message
  // is then in write_error() and also logged at error level.
  bool write() const;
  // The message of the last failed write; empty while the last write succeeded.
  const std::string& write_error() const { return m_write_error; }

  // Brackets nest: only the outermost end writes. An end without a begin writes too.
  void beginBulkOperation() const override;
  void endBulkOperation() const override;

  void set_units(const gvk::Unit<1>& linear, const gvk::Unit<2>& area,
                 const gvk::Unit<3>& volume) override;
  void set_eg_data(const std::vector<double>& x, const std::vector<double>& y,
                   const std::vector<double>& z,
                   const std::vector<gvk::Triangle>& triangles,
                   const std::vector<gravok_triangle_info>& triangle_info) override;
  void set_break_lines(const std::vector<gravok_line_3d>& lines) override;
  void set_objectives(const std::vector<gravok_objective>& objectives) override;
  // Each per-kind setter replaces the whole set of its kind: the records it receives,
  // with no xs, ys or complex data (a plain setter carries none).
  void set_low_points(const Elements& elements) override;
  void set_bounded_points(const Elements& elements) override;
  void set_offsets(const Elements& elements) override;
  void set_drain_lines(const Elements& elements) override;
  void set_bend_lines(const Elements& elements) override;
  void set_aligned_edges(const Elements& elements) override;
  void set_trizone_polygons(const Elements& elements) override;
  void set_complex_elements(GradingElementType kind, const Elements& elements) override;
  void set_fix_boundary(bool fix) override;
  void set_max_slope(double slope) override;
  void set_min_slope(double slope) override;
  void set_volume_constraint(VolumeConstraint constraint) override;
  void set_max_slopes(const std::vector<double>& slopes) override;
  void set_min_slopes(const std::vector<double>& slopes) override;
  void set_mesh_metric(mesh_metric metric) override;
  void set_max_iteration_count(long long count) override;
  void set_epsilon(double epsilon) override;

  // The complete transfer's operations keep everything they receive: the units, the
  // break lines, each kind's whole set (records, xs, ys and complex data, replacing
  // what the kind held) and the host version.
  void set_transferred_units(const gvk::Unit<1>& linear, const gvk::Unit<2>& area,
                             const gvk::Unit<3>& volume) override;
  void set_transferred_break_lines(const std::vector<gravok_line_3d>& lines) override;
  void set_transferred_grading_elements(GradingElementType kind, const Elements& elements,
                                        const Lists& xs, const Lists& ys,
                                        const Complex& complex_data) override;
  void set_hostcad_version(const std::string& version) override;

 private:
  void set_kind(GradingElementType kind, const Elements& elements);
  // Writes unless a bulk bracket is open.
  void changed() const;

  std::string m_path;
  mutable int m_depth = 0;
  mutable std::string m_write_error;
};

}  // namespace gvk_json

#endif  // GRAVOK_JSON_STORE_H
