// A host that adopts gravok-data: a survey source delivers a site in state-plane
// coordinates, and the host copies it with copyFrom into a project store whose local
// origin is the centre of the site, the library's main job.
#include <gravok/gravok.h>

#include <cmath>
#include <cstdio>
#include <vector>

namespace {

using Elements = std::vector<gravok_grading_element>;

// A surveyed site with absolute state-plane coordinates (origin zero).
class SurveySource : public gvk::DataSource {
 public:
  void get_eg_data(std::vector<double>& x, std::vector<double>& y, std::vector<double>& z,
                   std::vector<gvk::Triangle>& triangles,
                   std::vector<gravok_triangle_info>& info) override {
    x = {2000123.457, 2000456.789, 2000300.001};
    y = {500987.654, 500321.098, 500654.321};
    z = {101.234, 99.876, 100.5};
    triangles = {{0, 1, 2}};
    info.assign(1, gravok_triangle_info{});
  }
  void get_low_points(Elements& elements) const override {
    gravok_grading_element low;
    gvk::initge(low);
    low.location[0] = 2000300.125;
    low.location[1] = 500650.375;
    elements.push_back(low);
  }
  double get_max_slope() const override { return 0.25; }
};

// A project that keeps the mesh and low points in its own origin and counts what the
// transfer hands it; everything else it is given is not kept.
class ProjectStore : public gvk::DataStore {
 public:
  double origin[3] = {0, 0, 0};
  std::vector<double> x, y, z;
  Elements low_points;
  int kinds = 0;
  double max_slope = 0;

  void endBulkOperation() const override { ++m_closed; }
  int closed() const { return m_closed; }
  void set_grading_elements(GradingElementType kind, const Elements& e) override {
    ++kinds;
    DataStore::set_grading_elements(kind, e);
  }
  void set_eg_data(const std::vector<double>& x_in, const std::vector<double>& y_in,
                   const std::vector<double>& z_in, const std::vector<gvk::Triangle>&,
                   const std::vector<gravok_triangle_info>&) override {
    x = x_in;
    y = y_in;
    z = z_in;
  }
  void set_low_points(const Elements& e) override { low_points = e; }
  void set_max_slope(double slope) override { max_slope = slope; }
  double get_xorig() const override { return origin[0]; }
  double get_yorig() const override { return origin[1]; }
  double get_zorig() const override { return origin[2]; }

  void set_units(const gvk::Unit<1>&, const gvk::Unit<2>&, const gvk::Unit<3>&) override {
  }
  void set_break_lines(const std::vector<gravok_line_3d>&) override {}
  void set_objectives(const std::vector<gravok_objective>&) override {}
  void set_bounded_points(const Elements&) override {}
  void set_offsets(const Elements&) override {}
  void set_drain_lines(const Elements&) override {}
  void set_bend_lines(const Elements&) override {}
  void set_aligned_edges(const Elements&) override {}
  void set_trizone_polygons(const Elements&) override {}
  void set_complex_elements(GradingElementType, const Elements&) override {}
  void set_fix_boundary(bool) override {}
  void set_min_slope(double) override {}
  void set_volume_constraint(VolumeConstraint) override {}
  void set_max_slopes(const std::vector<double>&) override {}
  void set_min_slopes(const std::vector<double>&) override {}
  void set_mesh_metric(mesh_metric) override {}
  void set_max_iteration_count(long long) override {}
  void set_epsilon(double) override {}

 private:
  mutable int m_closed = 0;
};

}  // namespace

int main() {
  SurveySource survey;
  std::vector<double> x, y, z;
  std::vector<gvk::Triangle> triangles;
  std::vector<gravok_triangle_info> info;
  survey.get_eg_data(x, y, z, triangles, info);

  // The project's origin is the centre of the site's bounding box.
  ProjectStore project;
  gvk::DataSource::ComputeOrigin(x, y, z, project.origin[0], project.origin[1],
                                 project.origin[2]);
  project.copyFrom(survey);
  survey.get_eg_data(x, y, z, triangles, info);

  std::printf(
      "site:    %zu vertices in state-plane coordinates, first (%.3f, %.3f, %.3f)\n",
      x.size(), x[0], y[0], z[0]);
  std::printf("project: origin (%.3f, %.3f, %.3f), first vertex (%.3f, %.3f, %.3f)\n",
              project.origin[0], project.origin[1], project.origin[2], project.x[0],
              project.y[0], project.z[0]);
  const double* low = project.low_points.at(0).location;
  std::printf(
      "moved:   low point (%.3f, %.3f), %d element kinds, max slope %.2f, "
      "%d bulk operation\n",
      low[0], low[1], project.kinds, project.max_slope, project.closed());

  // A logging statement tests its level in the host's own code against the minimum
  // level the library exports: below a handler at info, debug is not even formatted.
  int logged = 0;
  gvk::Log::RegisterHandler([&logged](const gvk::Log::Entry&) { ++logged; },
                            gvk::Log::info);
  GRAVOK_LOG_DEBUG << "not formatted";
  GRAVOK_LOG_INFO << "copied " << x.size() << " vertices";
  const bool logs_inline = logged == 1 && !gvk::Log::DoAddInline(gvk::Log::debug);

  const bool same_place = std::fabs(project.x[0] + project.origin[0] - x[0]) < 1e-6 &&
                          std::fabs(project.y[0] + project.origin[1] - y[0]) < 1e-6;
  const bool copied = same_place && project.kinds == 13 && project.closed() == 1;
  return copied && logs_inline ? 0 : 1;
}
