// Earthwork volumes on the surfaces of LandXML files written by design applications:
// each surface against a flat datum under it, checked against two figures that
// share nothing with the overlay (the sum over the surface's own triangles, and a
// grid of samples), and the surfaces of one file against each other.
#include "landxml_source.h"

#include "volume_sampling.h"

#include <gravok/volume.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

namespace {

std::string data_file(const std::string& name) {
  return std::string(GRAVOK_LANDXML_DATA) + "/" + name;
}

struct Mesh {
  std::vector<double> x, y, z;
  std::vector<gvk::Triangle> triangles;
  gvk::MeshView view() const { return gvk::MeshView{x, y, z, triangles}; }
};

// The surface in absolute coordinates: state-plane ones keep their size.
Mesh surface(const std::string& file, unsigned long long id) {
  gvk_landxml::LandXmlSource source(data_file(file));
  EXPECT_TRUE(source.load()) << source.error();
  source.select_surface(id);
  Mesh m;
  std::vector<gravok_triangle_info> info;
  source.get_eg_data(m.x, m.y, m.z, m.triangles, info);
  for (double& v : m.x) v += source.get_xorig();
  for (double& v : m.y) v += source.get_yorig();
  for (double& v : m.z) v += source.get_zorig();
  return m;
}

// Two triangles at `z` over the square of side `side` from (x0, y0).
Mesh datum(double x0, double y0, double side, double z) {
  return Mesh{{x0, x0 + side, x0 + side, x0},
              {y0, y0, y0 + side, y0 + side},
              {z, z, z, z},
              {{0, 1, 2}, {0, 2, 3}}};
}

// The plan area and the volume above `z` of the surface, triangle by triangle (a
// TIN's triangles do not overlap, so each counts once).
void by_triangles(const Mesh& m, double z, double& area, double& volume) {
  area = 0;
  volume = 0;
  for (const gvk::Triangle& t : m.triangles) {
    const double a = 0.5 * std::abs((m.x[t[1]] - m.x[t[0]]) * (m.y[t[2]] - m.y[t[0]]) -
                                    (m.x[t[2]] - m.x[t[0]]) * (m.y[t[1]] - m.y[t[0]]));
    area += a;
    volume += a * ((m.z[t[0]] + m.z[t[1]] + m.z[t[2]]) / 3 - z);
  }
}

TEST(LandXmlVolume, SurfacesOverADatumAgreeWithTheirTrianglesAndWithSampling) {
  struct Row {
    const char* file;
    unsigned long long surface;
    double sampling_share;  // how close the sampled figure comes, relative
  };
  // Surface C has 64 invisible faces: holes where nothing is compared.
  const Row rows[] = {{"civil_example_clean.xml", 0, 2e-3},
                      {"civil_example_clean.xml", 1, 2e-3},
                      {"civil_example_clean.xml", 2, 2e-3},
                      {"blender_topo_s2.xml", 0, 2e-3},
                      {"civil_sweref99_skyfall.xml", 0, 2e-3}};
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string(row.file) + " surface " + std::to_string(row.surface));
    const Mesh top = surface(row.file, row.surface);
    ASSERT_FALSE(top.triangles.empty());
    const auto [x0, x1] = std::minmax_element(top.x.begin(), top.x.end());
    const auto [y0, y1] = std::minmax_element(top.y.begin(), top.y.end());
    const double z0 = *std::min_element(top.z.begin(), top.z.end()) - 1;
    const double side = std::max(*x1 - *x0, *y1 - *y0) * 1.01;
    const Mesh base = datum(*x0 - side * 0.005, *y0 - side * 0.005, side, z0);

    const gvk::VolumeResult r = gvk::volume_between(base.view(), top.view());
    ASSERT_TRUE(r.ok) << r.message;
    double area = 0, volume = 0;
    by_triangles(top, z0, area, volume);
    EXPECT_NEAR(r.total.area, area, 1e-9 * area);
    EXPECT_NEAR(r.total.fill, volume, 1e-9 * volume);
    EXPECT_EQ(r.total.cut, 0.0);
    EXPECT_EQ(r.top_layered_area, 0.0);

    const sampling::CutFill s = sampling::cut_fill(
        base.x, base.y, base.z, base.triangles, top.x, top.y, top.z, top.triangles,
        sampling::Window{base.x[0], base.y[0], side, 600});
    EXPECT_NEAR(s.fill, r.total.fill, row.sampling_share * r.total.fill);
    EXPECT_NEAR(s.area, r.total.area, row.sampling_share * r.total.area);
  }
}

// The three surfaces of the Civil 3D example lie side by side: no two overlap in
// plan, which is what a tool reports as "nothing to compare".
TEST(LandXmlVolume, SurfacesOfOneFileThatLieApartCompareNothing) {
  const Mesh a = surface("civil_example_clean.xml", 0);
  const Mesh b = surface("civil_example_clean.xml", 1);
  const Mesh c = surface("civil_example_clean.xml", 2);
  const Mesh* pairs[][2] = {{&a, &b}, {&a, &c}, {&b, &c}, {&c, &a}};
  for (const auto& pair : pairs) {
    const gvk::VolumeResult r = gvk::volume_between(pair[0]->view(), pair[1]->view());
    ASSERT_TRUE(r.ok) << r.message;
    EXPECT_EQ(r.total.area, 0.0);
  }
  const gvk::VolumeResult same = gvk::volume_between(c.view(), c.view());
  EXPECT_GT(same.total.area, 0.0);
  EXPECT_EQ(same.total.net, 0.0);
}

}  // namespace
