// A host that adopts gravok-data: it implements a data source for a tiny site and
// asks it for its problem through the library's interface, as the optimiser would.
#include <gravok/gravok.h>

#include <cstdio>
#include <vector>

namespace {

// A site with one existing-ground triangle and one low point, in a local origin
// placed at state-plane coordinates.
class SiteSource : public gvk::DataSource {
 public:
  void get_eg_data(std::vector<double>& x, std::vector<double>& y, std::vector<double>& z,
                   std::vector<gvk::Triangle>& triangles,
                   std::vector<gravok_triangle_info>& info) override {
    x = {0.0, 10.0, 0.0};
    y = {0.0, 0.0, 10.0};
    z = {1.0, 1.5, 2.0};
    triangles = {{0, 1, 2}};
    info.assign(1, gravok_triangle_info{});
  }
  void get_low_points(std::vector<gravok_grading_element>& elements) const override {
    gravok_grading_element low;
    gvk::initge(low);
    low.location[0] = 2.5;
    low.location[1] = 2.5;
    elements.push_back(low);
  }
  double get_xorig() const override { return 2000000.0; }
  double get_yorig() const override { return 500000.0; }
};

}  // namespace

int main() {
  SiteSource source;
  std::vector<double> x, y, z;
  std::vector<gvk::Triangle> triangles;
  std::vector<gravok_triangle_info> info;
  source.get_eg_data(x, y, z, triangles, info);

  std::size_t elements = 0;
  for (GradingElementType kind : gvk::allElementTypes()) {
    std::vector<gravok_grading_element> records;
    std::vector<std::vector<double>> xs, ys;
    gvk::DataSource::ComplexElementData complex_data;
    source.get_grading_elements(kind, records, xs, ys, complex_data);
    elements += records.size();
  }

  std::printf(
      "site: %zu vertices, %zu triangle, %zu grading element, origin (%.3f, %.3f)\n",
      x.size(), triangles.size(), elements, source.get_xorig(), source.get_yorig());
  std::printf("settings: max slope %.3f, min slope %.3f, %lld iterations\n",
              source.get_max_slope(), source.get_min_slope(),
              source.get_max_iteration_count());
  return elements == 1 && triangles.size() == 1 ? 0 : 1;
}
