#include "demo.h"

#include "earthwork.h"
#include "json_document.h"
#include "json_providers.h"
#include "json_store.h"
#include "mesh_files.h"
#include "plot.h"

#include <gravok/hand_over.h>
#include <gravok/mesh_check.h>
#include <gravok/mesh_tools.h>
#include <gravok/problem.h>
#include <gravok/volume.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <iomanip>
#include <iostream>
#include <locale>
#include <map>
#include <memory>
#include <sstream>
#include <system_error>
#include <vector>

namespace gravok_tool {
namespace {

constexpr double kWeldTolerance = 0.001;  // ft

// Milliseconds since `start`, to one decimal.
std::string since(std::chrono::steady_clock::time_point start) {
  const double ms =
      std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
          .count();
  return std::to_string(static_cast<long long>(ms * 10) / 10) + "." +
         std::to_string(static_cast<long long>(ms * 10) % 10) + " ms";
}

// An origin coordinate as written, without an exponent.
std::string coordinate(double value) {
  std::ostringstream text;
  text.imbue(std::locale::classic());
  text << std::fixed << std::setprecision(value == std::floor(value) ? 0 : 3) << value;
  return text.str();
}

std::size_t element_count(const gvk::Problem& p) {
  std::size_t n = 0;
  for (const auto& [kind, set] : p.elements) n += set.records.size();
  return n;
}

std::string mesh_counts(const gvk::Mesh& m) {
  return std::to_string(m.x.size()) + " vertices, " + std::to_string(m.triangles.size()) +
         " triangles";
}

// The findings of a check counted by kind, as "317 WeldedVertex, 4 UnusedVertex".
std::string findings_text(const std::vector<gvk::MeshFinding>& findings) {
  static const char* const kNames[] = {"MissingCoordinates",  "IndexOutOfRange",
                                       "NonFiniteCoordinate", "ZeroArea",
                                       "UnusedVertex",        "WeldedVertex"};
  std::map<int, std::size_t> counts;
  for (const gvk::MeshFinding& f : findings) ++counts[static_cast<int>(f.kind)];
  if (counts.empty()) return "no findings";
  std::string text;
  for (const auto& [kind, count] : counts) {
    if (!text.empty()) text += ", ";
    text += std::to_string(count) + " " +
            (kind >= 0 && kind < 6 ? kNames[kind] : std::to_string(kind));
  }
  return text;
}

std::vector<gvk::MeshFinding> check(const gvk::Mesh& m) {
  return gvk::check_mesh(m.x, m.y, m.z, m.triangles, kWeldTolerance);
}

// A step that failed ends the demo's account on `out` and is reported on the standard
// error as every command reports its failures, so that a demo whose output went to a
// file or a pipe still says why it stopped.
int fail(std::ostream& out, const std::string& step, const std::string& why) {
  out << step << ": FAILED: " << why << "\n";
  std::cerr << "gravok: demo: " << step << ": " << why << "\n";
  return 2;
}

std::string size_of(const std::string& path) {
  std::error_code ec;
  const auto bytes = std::filesystem::file_size(path, ec);
  return ec ? "missing" : std::to_string(bytes) + " bytes";
}

// The plane z = a + b x + c y of least squares through the mesh's vertices.
void best_plane(const gvk::Mesh& m, double& a, double& b, double& c) {
  double n = 0, sx = 0, sy = 0, sz = 0, sxx = 0, sxy = 0, syy = 0, sxz = 0, syz = 0;
  for (std::size_t i = 0; i < m.x.size(); ++i) {
    const double x = m.x[i], y = m.y[i], z = m.z[i];
    n += 1, sx += x, sy += y, sz += z, sxx += x * x, sxy += x * y, syy += y * y;
    sxz += x * z, syz += y * z;
  }
  // Centred sums, so that the 2 x 2 system for the slopes is well conditioned.
  const double mx = sx / n, my = sy / n, mz = sz / n;
  const double cxx = sxx / n - mx * mx, cxy = sxy / n - mx * my, cyy = syy / n - my * my;
  const double cxz = sxz / n - mx * mz, cyz = syz / n - my * mz;
  const double det = cxx * cyy - cxy * cxy;
  b = det != 0 ? (cxz * cyy - cyz * cxy) / det : 0.0;
  c = det != 0 ? (cyz * cxx - cxz * cxy) / det : 0.0;
  a = mz - b * mx - c * my;
}

bool inside(const std::vector<double>& xs, const std::vector<double>& ys, double x,
            double y) {
  bool in = false;
  const std::size_t n = std::min(xs.size(), ys.size());
  for (std::size_t i = 0, j = n - 1; i < n; j = i++) {
    if ((ys[i] > y) != (ys[j] > y) &&
        x < (xs[j] - xs[i]) * (y - ys[i]) / (ys[j] - ys[i]) + xs[i])
      in = !in;
  }
  return in;
}

// A proposed surface for the site: its plane of best fit, with every building pad
// raised 2 ft above it as a flat platform, on a grid of its own (60 by 60 cells over
// the site's extent, every cell cut along the same diagonal), so that the cut/fill
// map compares two different triangulations.
gvk::Mesh proposed_surface(const gvk::Problem& site) {
  const gvk::Mesh& ground = site.mesh;
  double a, b, c;
  best_plane(ground, a, b, c);
  const auto [x0, x1] = std::minmax_element(ground.x.begin(), ground.x.end());
  const auto [y0, y1] = std::minmax_element(ground.y.begin(), ground.y.end());
  const int n = 60;
  gvk::Mesh m;
  for (int j = 0; j <= n; ++j) {
    for (int i = 0; i <= n; ++i) {
      const double x = *x0 + (*x1 - *x0) * i / n, y = *y0 + (*y1 - *y0) * j / n;
      double z = a + b * x + c * y;
      const auto pads = site.elements.find(BuildingPad);
      for (std::size_t k = 0; pads != site.elements.end() && k < pads->second.xs.size();
           ++k) {
        const std::vector<double>& xs = pads->second.xs[k];
        const std::vector<double>& ys = pads->second.ys[k];
        if (xs.empty() || !inside(xs, ys, x, y)) continue;
        z = a + b * xs[0] + c * ys[0] + 2.0;
      }
      m.x.push_back(x);
      m.y.push_back(y);
      m.z.push_back(z);
    }
  }
  for (unsigned long long j = 0; j < n; ++j) {
    for (unsigned long long i = 0; i < n; ++i) {
      const unsigned long long v = j * (n + 1) + i;
      m.triangles.push_back({v, v + 1, v + n + 2});
      m.triangles.push_back({v, v + n + 2, v + n + 1});
    }
  }
  return m;
}

}  // namespace

int run_demo(const std::string& outdir, std::ostream& out, int cells, bool site_only) {
  using Clock = std::chrono::steady_clock;
  std::error_code ec;
  std::filesystem::create_directories(outdir, ec);
  if (ec)
    return fail(out, "output directory", "cannot write " + outdir + ": " + ec.message());
  const std::string json = outdir + "/site.json";

  auto start = Clock::now();
  {
    // The site is released once it is copied, before the document is read back.
    const gvk::Problem site = demo_site(cells);
    out << "build site:   " << mesh_counts(site.mesh) << ", " << element_count(site)
        << " elements in " << site.elements.size() << " kinds, origin x "
        << coordinate(site.xorig) << " y " << coordinate(site.yorig) << " ft ("
        << since(start) << ")\n";
    start = Clock::now();
    gvk::Problem target;
    target.xorig = 2001000.0;
    target.yorig = 501000.0;
    target.zorig = 100.0;
    gvk::ProblemSource source(site);
    gvk_json::JsonStore store(json, target);
    try {
      store.copyAllFrom(source);
    } catch (const std::exception& e) {
      return fail(out, "copy", e.what());
    }
  }
  out << "copy:         copyAllFrom into the JSON store " << json
      << " at origin x 2001000 y 501000 z 100 (" << since(start) << ")\n";
  if (site_only) {
    out << "wrote:\n  " << json << "  " << size_of(json) << "\n";
    return 0;
  }

  start = Clock::now();
  std::string error;
  const std::unique_ptr<gvk::DataSource> source =
      gvk_json::open_source("json:" + json, error);
  if (!source) return fail(out, "read back", error);
  gvk::Problem problem;
  gvk::take_snapshot(*source, problem);
  out << "read back:    " << mesh_counts(problem.mesh) << ", " << element_count(problem)
      << " elements in " << problem.elements.size() << " kinds, origin x "
      << coordinate(problem.xorig) << " y " << coordinate(problem.yorig) << " z "
      << coordinate(problem.zorig) << " (" << since(start) << ")\n";

  start = Clock::now();
  const auto findings = check(problem.mesh);
  out << "check mesh:   " << findings_text(findings) << " (" << since(start) << ")\n";

  start = Clock::now();
  gvk::Mesh& m = problem.mesh;
  gvk::reindex_mesh(m.x, m.y, m.z, m.triangles, kWeldTolerance);
  gvk::remove_unused_vertices(m.x, m.y, m.z, m.triangles);
  out << "clean mesh:   " << mesh_counts(m)
      << "; check again: " << findings_text(check(m)) << " (" << since(start) << ")\n";

  start = Clock::now();
  const std::string node = outdir + "/site.1.node", ele = outdir + "/site.1.ele";
  try {
    gvk_triangle::write_node_ele(node, ele, m.x, m.y, m.z, m.triangles);
  } catch (const std::exception& e) {
    return fail(out, "node/ele", e.what());
  }
  out << "node/ele:     " << node << ", " << ele << " (" << since(start) << ")\n";

  std::vector<std::string> written = {json, node, ele};
  PlotOptions options;
  options.title = "gravok demo site";
  for (const char* suffix : {".svg", ".png"}) {
    start = Clock::now();
    PlotSummary summary;
    const std::string path = outdir + "/site" + suffix;
    if (!plot_problem(problem, options, path, summary, error))
      return fail(out, "plot", error);
    out << "plot:         " << path << ": " << summary.triangles_drawn << " triangles, "
        << summary.contour_levels << " contour levels every " << summary.contour_interval
        << " ft, " << summary.elements_drawn.size() << " element kinds (" << since(start)
        << ")\n";
    written.push_back(path);
  }

  start = Clock::now();
  const gvk::Mesh proposed = proposed_surface(problem);
  const gvk::VolumeResult earthwork =
      gvk::volume_between(mesh_view(problem.mesh), mesh_view(proposed));
  if (!earthwork) return fail(out, "volume", earthwork.message);
  const gvk::Earthwork& e = earthwork.total;
  out << "volume:       against a proposed surface (the plane of best fit, pads 2 ft up; "
      << mesh_counts(proposed) << "): cut " << coordinate(e.cut) << ", fill "
      << coordinate(e.fill) << ", net " << coordinate(e.net) << " ft3 over "
      << coordinate(e.area) << " ft2 (" << since(start) << ")\n";
  start = Clock::now();
  PlotOptions compare;
  compare.title = "gravok demo site: cut and fill against a proposed surface";
  compare.compare = &proposed;
  const std::string cutfill = outdir + "/cutfill.png";
  PlotSummary summary;
  if (!plot_problem(problem, compare, cutfill, summary, error))
    return fail(out, "cut/fill map", error);
  out << "cut/fill map: " << cutfill << ": zero line of " << summary.zero_line_segments
      << " segments, top - base from " << coordinate(-summary.difference_limit) << " to "
      << coordinate(summary.difference_limit) << " ft (" << since(start) << ")\n";
  written.push_back(cutfill);

  out << "wrote:\n";
  for (const std::string& path : written)
    out << "  " << path << "  " << size_of(path) << "\n";
  out << "open the pictures: " << outdir << "/site.png, " << cutfill << "\n";
  return 0;
}

}  // namespace gravok_tool
