#include "plot.h"

#include "earthwork.h"
#include "json_document.h"
#include "plot_cutfill.h"
#include "plot_terrain.h"

#include <cairo-pdf.h>
#include <cairo-svg.h>
#include <cairo.h>
#include <gravok/replace_file.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <locale>
#include <memory>
#include <sstream>
#include <system_error>
#include <vector>

namespace gravok_tool {
namespace {

constexpr double kPi = 3.14159265358979323846;

enum class Format { Svg, Png, Pdf };
enum class Mark { None, Circle, Diamond, Square };

// How one kind of element is drawn.
struct Style {
  double r, g, b;
  double width;  // line width, in page units at the default page width
  std::vector<double> dashes;
  Mark mark;
  bool closed;
  double fill_alpha;  // closed outlines only
};

Style style_of(GradingElementType kind) {
  switch (kind) {
    case LowPoint: return {0.05, 0.25, 0.85, 1.5, {}, Mark::Circle, false, 0};
    case BoundedPoint: return {0.95, 0.50, 0.00, 1.5, {}, Mark::Diamond, false, 0};
    case Offset: return {0.80, 0.00, 0.60, 1.5, {}, Mark::Square, false, 0};
    case AlignedEdge: return {0.00, 0.55, 0.55, 2.5, {7, 3}, Mark::None, false, 0};
    case DrainLine: return {0.00, 0.30, 0.95, 3.0, {}, Mark::None, false, 0};
    case SurfaceZone: return {0.05, 0.50, 0.05, 2.0, {9, 4}, Mark::None, true, 0.15};
    case BendLine: return {0.50, 0.25, 0.05, 2.0, {2, 3}, Mark::None, false, 0};
    case Unclassified: return {0.35, 0.35, 0.35, 1.5, {5, 2, 1, 2}, Mark::None, false, 0};
    case Curb: return {0.10, 0.10, 0.10, 2.5, {}, Mark::None, false, 0};
    case BuildingPad: return {0.75, 0.10, 0.10, 2.5, {}, Mark::None, true, 0.40};
    case Pond: return {0.10, 0.40, 0.85, 2.0, {}, Mark::None, true, 0.55};
    case ParkingLot: return {0.30, 0.30, 0.38, 2.0, {}, Mark::None, true, 0.35};
    case RetWall: return {0.45, 0.00, 0.25, 4.0, {}, Mark::None, false, 0};
    case Pathway: return {0.90, 0.45, 0.05, 3.0, {10, 4}, Mark::None, false, 0};
  }
  return {0.55, 0.55, 0.55, 1.0, {}, Mark::None, false, 0};
}

struct Point {
  double x, y;
};

// One element's geometry in local coordinates; a non-finite point breaks the line.
struct Figure {
  GradingElementType kind;
  std::vector<Point> points;
};

bool finite(const Point& p) { return std::isfinite(p.x) && std::isfinite(p.y); }

void add_points(GradingElementType kind, const gvk::ElementSet& set,
                std::vector<Figure>& figures) {
  for (const gravok_grading_element& e : set.records) {
    Figure figure{kind, {}};
    if (kind == Offset) {
      figure.points = {{e.location[1], e.location[2]}, {e.location[4], e.location[5]}};
    } else {
      figure.points = {{e.location[0], e.location[1]}};
    }
    figures.push_back(std::move(figure));
  }
}

std::vector<Figure> collect_figures(const gvk::Problem& problem) {
  std::vector<Figure> figures;
  for (const auto& [kind, set] : problem.elements) {
    if (kind == LowPoint || kind == BoundedPoint || kind == Offset) {
      add_points(kind, set, figures);
      continue;
    }
    for (std::size_t i = 0; i < std::min(set.xs.size(), set.ys.size()); ++i) {
      Figure figure{kind, {}};
      for (std::size_t k = 0; k < std::min(set.xs[i].size(), set.ys[i].size()); ++k)
        figure.points.push_back({set.xs[i][k], set.ys[i][k]});
      figures.push_back(std::move(figure));
    }
  }
  return figures;
}

// Numbers as people read them, whatever locale the host has installed.
std::string number(double value, int decimals) {
  std::ostringstream out;
  out.imbue(std::locale::classic());
  out.setf(std::ios::fixed);
  out.precision(decimals);
  out << (value == 0.0 ? 0.0 : value);
  return out.str();
}

// The decimals that show `step` exactly (up to 9).
int decimals_for(double step) {
  for (int d = 0; d < 9; ++d) {
    const double scaled = step * std::pow(10.0, d);
    if (std::fabs(scaled - std::round(scaled)) <= 1e-9 * std::fabs(scaled)) return d;
  }
  return 9;
}

// A round step near span / count from 1, 2, 2.5, 5 times a power of ten.
double round_step(double span, double count) {
  if (!(span > 0.0) || !std::isfinite(span)) return 1.0;
  const double raw = span / count;
  const double power = std::pow(10.0, std::floor(std::log10(raw)));
  double best = power, best_miss = 1e300;
  for (double m : {1.0, 2.0, 2.5, 5.0, 10.0}) {
    const double miss = std::fabs(std::log(m * power / raw));
    if (miss < best_miss) best = m * power, best_miss = miss;
  }
  return best;
}

std::string unit_label(const gvk::StoredUnit& unit) {
  if (!unit.abbreviation.empty()) return unit.abbreviation;
  if (unit.type != 9 && !unit.name.empty()) return unit.name;
  return "units";
}

bool pick_format(const std::string& path, Format& format) {
  const std::size_t dot = path.rfind('.');
  if (dot == std::string::npos) return false;
  std::string suffix = path.substr(dot + 1);
  for (char& c : suffix)
    c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  if (suffix == "svg")
    format = Format::Svg;
  else if (suffix == "png")
    format = Format::Png;
  else if (suffix == "pdf")
    format = Format::Pdf;
  else
    return false;
  return true;
}

// Everything the drawing needs besides the problem.
struct Layout {
  int width = 0, height = 0;
  double u = 1.0;  // page units per unit of the default page
  double map_width = 0.0, map_height = 0.0;
  double legend_left = 0.0;
  PageMap map;
};

Layout lay_out(const PlotOptions& options, double x0, double x1, double y0, double y1,
               std::size_t legend_rows) {
  Layout l;
  l.width = std::clamp(options.width, 600, 8000);
  l.u = l.width / 1400.0;
  const double left = 110 * l.u, right = 20 * l.u, top = 80 * l.u, bottom = 70 * l.u;
  const double legend = 300 * l.u;
  l.map_width = l.width - left - right - legend;
  double span_x = x1 - x0, span_y = y1 - y0;
  const double pad = 0.03 * std::max(span_x, span_y);
  x0 -= pad, x1 += pad, y0 -= pad, y1 += pad, span_x += 2 * pad, span_y += 2 * pad;
  const double scale = std::min(l.map_width / span_x, 1.4 * l.map_width / span_y);
  l.map_height = std::max(span_y * scale, 0.35 * l.map_width);
  const double extra_x = l.map_width / scale - span_x;
  const double extra_y = l.map_height / scale - span_y;
  l.map = {left, top, scale, x0 - extra_x / 2, y1 + extra_y / 2};
  l.legend_left = left + l.map_width + 30 * l.u;
  const double legend_height = (560 + 24 * legend_rows) * l.u;
  l.height =
      static_cast<int>(std::ceil(std::max(top + l.map_height + bottom, legend_height)));
  return l;
}

// ---- drawing helpers -------------------------------------------------------------

// Break lines, and the pixels per page unit of the cut/fill raster.
const Style kBreakLineStyle{0.12, 0.12, 0.12, 1.6, {6, 3}, Mark::None, false, 0};
constexpr double kDifferenceRaster = 2.0;

void colour(cairo_t* cr, const Style& s, double alpha = 1.0) {
  cairo_set_source_rgba(cr, s.r, s.g, s.b, alpha);
}

void text(cairo_t* cr, double x, double y, const std::string& s, double size,
          double align = 0.0, bool bold = false) {
  cairo_select_font_face(cr, "sans-serif", CAIRO_FONT_SLANT_NORMAL,
                         bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
  cairo_set_font_size(cr, size);
  cairo_text_extents_t extents;
  cairo_text_extents(cr, s.c_str(), &extents);
  cairo_move_to(cr, x - align * extents.x_advance, y);
  cairo_show_text(cr, s.c_str());
}

void mark(cairo_t* cr, Mark m, double x, double y, double size) {
  switch (m) {
    case Mark::Circle: cairo_arc(cr, x, y, size, 0, 2 * kPi); break;
    case Mark::Diamond:
      cairo_move_to(cr, x, y - size * 1.3);
      cairo_line_to(cr, x + size * 1.3, y);
      cairo_line_to(cr, x, y + size * 1.3);
      cairo_line_to(cr, x - size * 1.3, y);
      cairo_close_path(cr);
      break;
    case Mark::Square: cairo_rectangle(cr, x - size, y - size, 2 * size, 2 * size); break;
    case Mark::None: break;
  }
}

// Strokes the current path in the kind's style over a pale halo, so that lines stay
// visible on any ground colour; fills it first when the kind is an outline.
void paint_stroke(cairo_t* cr, const Style& s, double u) {
  if (s.closed && s.fill_alpha > 0) {
    colour(cr, s, s.fill_alpha);
    cairo_fill_preserve(cr);
  }
  cairo_set_dash(cr, nullptr, 0, 0);
  cairo_set_source_rgba(cr, 1, 1, 1, 0.7);
  cairo_set_line_width(cr, (s.width + 2.0) * u);
  cairo_stroke_preserve(cr);
  std::vector<double> dashes = s.dashes;
  for (double& d : dashes) d *= u;
  cairo_set_dash(cr, dashes.data(), static_cast<int>(dashes.size()), 0);
  colour(cr, s);
  cairo_set_line_width(cr, s.width * u);
  cairo_stroke(cr);
  cairo_set_dash(cr, nullptr, 0, 0);
}

void paint_mark(cairo_t* cr, const Style& s, double x, double y, double u) {
  mark(cr, s.mark, x, y, 5 * u);
  colour(cr, s);
  cairo_fill_preserve(cr);
  cairo_set_source_rgb(cr, 1, 1, 1);
  cairo_set_line_width(cr, 1.5 * u);
  cairo_stroke(cr);
}

void draw_figure(cairo_t* cr, const Figure& f, const Layout& l) {
  const Style s = style_of(f.kind);
  if (s.mark != Mark::None) {
    if (f.points.size() == 2 && finite(f.points[0]) && finite(f.points[1])) {
      cairo_move_to(cr, l.map.px(f.points[0].x), l.map.py(f.points[0].y));
      cairo_line_to(cr, l.map.px(f.points[1].x), l.map.py(f.points[1].y));
      paint_stroke(cr, s, l.u);
    }
    for (const Point& p : f.points)
      if (finite(p)) paint_mark(cr, s, l.map.px(p.x), l.map.py(p.y), l.u);
    return;
  }
  bool open = false, whole = true;
  for (const Point& p : f.points) {
    if (!finite(p)) {
      open = false, whole = false;
      continue;
    }
    if (open)
      cairo_line_to(cr, l.map.px(p.x), l.map.py(p.y));
    else
      cairo_move_to(cr, l.map.px(p.x), l.map.py(p.y));
    open = true;
  }
  if (s.closed && whole && !f.points.empty()) cairo_close_path(cr);
  paint_stroke(cr, s, l.u);
}

void draw_ground(cairo_t* cr, const gvk::Problem& p, const Ground& ground,
                 const Layout& l, double raster) {
  const int w = std::max(1, static_cast<int>(std::ceil(l.map_width * raster)));
  const int h = std::max(1, static_cast<int>(std::ceil(l.map_height * raster)));
  std::vector<unsigned> pixels = shade_ground(p.mesh, ground, l.map, raster, w, h);
  cairo_surface_t* image = cairo_image_surface_create_for_data(
      reinterpret_cast<unsigned char*>(pixels.data()), CAIRO_FORMAT_ARGB32, w, h,
      w * static_cast<int>(sizeof(unsigned)));
  cairo_save(cr);
  cairo_rectangle(cr, l.map.left, l.map.top, l.map_width, l.map_height);
  cairo_clip(cr);
  cairo_translate(cr, l.map.left, l.map.top);
  cairo_scale(cr, 1.0 / raster, 1.0 / raster);
  cairo_set_source_surface(cr, image, 0, 0);
  cairo_paint(cr);
  cairo_restore(cr);
  cairo_surface_finish(image);
  cairo_surface_destroy(image);
}

void stroke_segments(cairo_t* cr, const std::vector<double>& s, double width,
                     double alpha) {
  for (std::size_t i = 0; i + 3 < s.size(); i += 4) {
    cairo_move_to(cr, s[i], s[i + 1]);
    cairo_line_to(cr, s[i + 2], s[i + 3]);
  }
  cairo_set_source_rgba(cr, 0.30, 0.18, 0.08, alpha);
  cairo_set_line_width(cr, width);
  cairo_stroke(cr);
}

void draw_mesh_edges(cairo_t* cr, const gvk::Mesh& mesh, const Ground& ground,
                     const Layout& l) {
  for (std::size_t index : ground.triangles) {
    const gvk::Triangle& t = mesh.triangles[index];
    cairo_move_to(cr, l.map.px(mesh.x[t[0]]), l.map.py(mesh.y[t[0]]));
    cairo_line_to(cr, l.map.px(mesh.x[t[1]]), l.map.py(mesh.y[t[1]]));
    cairo_line_to(cr, l.map.px(mesh.x[t[2]]), l.map.py(mesh.y[t[2]]));
    cairo_close_path(cr);
  }
  cairo_set_source_rgba(cr, 0.2, 0.2, 0.2, 0.35);
  cairo_set_line_width(cr, 0.4 * l.u);
  cairo_stroke(cr);
}

// Break lines: dark dashes over a pale halo, in local coordinates; returns how many
// segments had finite ends.
std::size_t draw_break_lines(cairo_t* cr, const std::vector<gravok_line_3d>& lines,
                             const Layout& l) {
  std::size_t drawn = 0;
  for (const gravok_line_3d& b : lines) {
    if (!std::isfinite(b.x1) || !std::isfinite(b.y1) || !std::isfinite(b.x2) ||
        !std::isfinite(b.y2))
      continue;
    cairo_move_to(cr, l.map.px(b.x1), l.map.py(b.y1));
    cairo_line_to(cr, l.map.px(b.x2), l.map.py(b.y2));
    ++drawn;
  }
  if (drawn) paint_stroke(cr, kBreakLineStyle, l.u);
  return drawn;
}

// The cut/fill raster, sampled at kDifferenceRaster pixels per page unit.
void draw_difference(cairo_t* cr, const Difference& difference, const Layout& l) {
  std::vector<unsigned> pixels = shade_difference(difference);
  cairo_surface_t* image = cairo_image_surface_create_for_data(
      reinterpret_cast<unsigned char*>(pixels.data()), CAIRO_FORMAT_ARGB32,
      difference.width, difference.height,
      difference.width * static_cast<int>(sizeof(unsigned)));
  cairo_save(cr);
  cairo_rectangle(cr, l.map.left, l.map.top, l.map_width, l.map_height);
  cairo_clip(cr);
  cairo_translate(cr, l.map.left, l.map.top);
  cairo_scale(cr, 1.0 / kDifferenceRaster, 1.0 / kDifferenceRaster);
  cairo_set_source_surface(cr, image, 0, 0);
  cairo_paint(cr);
  cairo_restore(cr);
  cairo_surface_finish(image);
  cairo_surface_destroy(image);
}

// Ticks per side at most: a round step gives about 6, more only when the origin is so
// far out that adding the step no longer moves the coordinate.
constexpr int kMaxTicks = 40;

// The map's border with ticks labelled in absolute coordinates.
void draw_frame(cairo_t* cr, const gvk::Problem& p, const Layout& l) {
  const double u = l.u, left = l.map.left, top = l.map.top;
  const double right = left + l.map_width, bottom = top + l.map_height;
  const double step = round_step(l.map_width / l.map.scale, 6);
  const int decimals = decimals_for(step);
  cairo_set_source_rgb(cr, 0.15, 0.15, 0.15);
  const double x_first = std::ceil((l.map.x_min + p.xorig) / step) * step;
  for (int i = 0; i < kMaxTicks; ++i) {
    const double x = x_first + i * step, px = l.map.px(x - p.xorig);
    if (!(px <= right + 1e-6)) break;
    cairo_move_to(cr, px, bottom);
    cairo_line_to(cr, px, bottom + 6 * u);
    text(cr, px, bottom + 20 * u, number(x, decimals), 11 * u, 0.5);
  }
  const double y_min = l.map.y_max - l.map_height / l.map.scale;
  const double y_first = std::ceil((y_min + p.yorig) / step) * step;
  for (int i = 0; i < kMaxTicks; ++i) {
    const double y = y_first + i * step, py = l.map.py(y - p.yorig);
    if (!(py >= top - 1e-6)) break;
    cairo_move_to(cr, left, py);
    cairo_line_to(cr, left - 6 * u, py);
    cairo_save(cr);
    cairo_translate(cr, left - 10 * u, py);
    cairo_rotate(cr, -kPi / 2);
    text(cr, 0, 0, number(y, decimals), 11 * u, 0.5);
    cairo_restore(cr);
  }
  cairo_rectangle(cr, left, top, l.map_width, l.map_height);
  cairo_set_line_width(cr, 1.2 * u);
  cairo_stroke(cr);
  const std::string unit = unit_label(p.linear_unit);
  text(cr, (left + right) / 2, bottom + 42 * u, "x (" + unit + ", absolute)", 12 * u,
       0.5);
  cairo_save(cr);
  cairo_translate(cr, left - 34 * u, (top + bottom) / 2);
  cairo_rotate(cr, -kPi / 2);
  text(cr, 0, 0, "y (" + unit + ", absolute)", 12 * u, 0.5);
  cairo_restore(cr);
}

struct LegendEntry {
  GradingElementType kind;
  std::size_t count;
};

void draw_scale_bar(cairo_t* cr, const gvk::Problem& p, const Layout& l, double x,
                    double y) {
  const double u = l.u;
  const double length = round_step(200 * u / l.map.scale, 1);
  const double px = length * l.map.scale;
  text(cr, x, y, "Scale", 13 * u, 0, true);
  for (int i = 0; i < 4; ++i) {
    cairo_rectangle(cr, x + i * px / 4, y + 10 * u, px / 4, 7 * u);
    if (i % 2 == 0)
      cairo_set_source_rgb(cr, 0.1, 0.1, 0.1);
    else
      cairo_set_source_rgb(cr, 1, 1, 1);
    cairo_fill_preserve(cr);
    cairo_set_source_rgb(cr, 0.1, 0.1, 0.1);
    cairo_set_line_width(cr, 1 * u);
    cairo_stroke(cr);
  }
  const int decimals = decimals_for(length);
  text(cr, x, y + 32 * u, "0", 11 * u, 0.5);
  text(cr, x + px, y + 32 * u, number(length, decimals) + " " + unit_label(p.linear_unit),
       11 * u, 0.5);
}

void draw_north(cairo_t* cr, double x, double y, double u) {
  cairo_move_to(cr, x, y);
  cairo_line_to(cr, x + 9 * u, y + 30 * u);
  cairo_line_to(cr, x, y + 22 * u);
  cairo_line_to(cr, x - 9 * u, y + 30 * u);
  cairo_close_path(cr);
  cairo_set_source_rgb(cr, 0.1, 0.1, 0.1);
  cairo_fill(cr);
  text(cr, x, y - 5 * u, "N", 13 * u, 0.5, true);
}

void draw_ramp(cairo_t* cr, const gvk::Problem& p, const Ground& ground, const Layout& l,
               double interval, double x, double& y) {
  const double u = l.u;
  const std::string unit = unit_label(p.linear_unit);
  text(cr, x, y, "Elevation (" + unit + ")", 13 * u, 0, true);
  y += 12 * u;
  const double bar = 170 * u;
  cairo_pattern_t* gradient = cairo_pattern_create_linear(0, y + bar, 0, y);
  for (int k = 0; k <= 20; ++k) {
    double rgb[3];
    ramp_colour(k / 20.0, rgb);
    cairo_pattern_add_color_stop_rgb(gradient, k / 20.0, rgb[0], rgb[1], rgb[2]);
  }
  cairo_rectangle(cr, x, y, 24 * u, bar);
  cairo_set_source(cr, gradient);
  cairo_fill_preserve(cr);
  cairo_pattern_destroy(gradient);
  cairo_set_source_rgb(cr, 0.2, 0.2, 0.2);
  cairo_set_line_width(cr, 1 * u);
  cairo_stroke(cr);
  const int decimals = decimals_for(interval) + 1;
  for (int k = 0; k <= 4; ++k) {
    const double z = ground.z_min + p.zorig + k / 4.0 * (ground.z_max - ground.z_min);
    text(cr, x + 32 * u, y + bar - k / 4.0 * bar + 4 * u, number(z, decimals), 11 * u);
  }
  y += bar + 34 * u;
}

// What the legend of a cut/fill map shows.
struct CompareLegend {
  bool shown = false;
  double limit = 1.0;
  gvk::Earthwork earthwork;
};

void draw_difference_ramp(cairo_t* cr, const gvk::Problem& p, const CompareLegend& c,
                          const Layout& l, double x, double& y) {
  const double u = l.u;
  const std::string unit = unit_label(p.linear_unit);
  text(cr, x, y, "Top - base (" + unit + ")", 13 * u, 0, true);
  y += 12 * u;
  const double bar = 170 * u;
  cairo_pattern_t* gradient = cairo_pattern_create_linear(0, y + bar, 0, y);
  for (int k = 0; k <= 20; ++k) {
    double rgb[3];
    difference_colour(k / 10.0 - 1.0, rgb);
    cairo_pattern_add_color_stop_rgb(gradient, k / 20.0, rgb[0], rgb[1], rgb[2]);
  }
  cairo_rectangle(cr, x, y, 24 * u, bar);
  cairo_set_source(cr, gradient);
  cairo_fill_preserve(cr);
  cairo_pattern_destroy(gradient);
  cairo_set_source_rgb(cr, 0.2, 0.2, 0.2);
  cairo_set_line_width(cr, 1 * u);
  cairo_stroke(cr);
  const int decimals = std::max(0, 2 - static_cast<int>(std::floor(std::log10(c.limit))));
  const char* words[3] = {"  cut", "", "  fill"};
  for (int k = 0; k <= 2; ++k) {
    const double value = (k - 1) * c.limit;
    text(cr, x + 32 * u, y + bar - k / 2.0 * bar + 4 * u,
         (k == 0   ? ""
          : k == 2 ? "+"
                   : "") +
             number(value, decimals) + words[k],
         11 * u);
  }
  y += bar + 30 * u;
  const std::string cube = unit + "\xC2\xB3";
  const double largest = std::max({c.earthwork.cut, c.earthwork.fill, 1e-6});
  const int volume_decimals =
      std::clamp(3 - static_cast<int>(std::floor(std::log10(largest))), 0, 6);
  const std::pair<const char*, double> rows[] = {
      {"cut", c.earthwork.cut}, {"fill", c.earthwork.fill}, {"net", c.earthwork.net}};
  for (const auto& [word, value] : rows) {
    cairo_set_source_rgb(cr, 0.1, 0.1, 0.1);
    text(cr, x, y, word, 12 * u, 0, true);
    text(cr, x + 46 * u, y, number(value, volume_decimals) + " " + cube, 12 * u);
    y += 20 * u;
  }
  y += 12 * u;
}

void draw_line_sample(cairo_t* cr, double x, double y, double width, double alpha,
                      double u) {
  cairo_move_to(cr, x, y);
  cairo_line_to(cr, x + 36 * u, y);
  cairo_set_source_rgba(cr, 0.30, 0.18, 0.08, alpha);
  cairo_set_line_width(cr, width);
  cairo_stroke(cr);
}

void draw_legend(cairo_t* cr, const gvk::Problem& p, const Ground& ground,
                 const Layout& l, double interval, bool have_contours,
                 const std::vector<LegendEntry>& entries, const CompareLegend& compare,
                 std::size_t break_lines) {
  const double u = l.u, x = l.legend_left;
  double y = l.map.top + 10 * u;
  if (compare.shown) {
    draw_difference_ramp(cr, p, compare, l, x, y);
    draw_line_sample(cr, x, y - 4 * u, 2.0 * u, 1.0, u);
    cairo_set_source_rgb(cr, 0.1, 0.1, 0.1);
    text(cr, x + 46 * u, y, "zero line (top = base)", 11 * u);
    y += 30 * u;
  } else if (!ground.triangles.empty()) {
    draw_ramp(cr, p, ground, l, interval, x, y);
  }
  const std::string unit = unit_label(p.linear_unit);
  const int decimals = decimals_for(interval);
  if (have_contours) {
    draw_line_sample(cr, x, y - 4 * u, 0.8 * u, 0.6, u);
    cairo_set_source_rgb(cr, 0.1, 0.1, 0.1);
    text(cr, x + 46 * u, y, "contour every " + number(interval, decimals) + " " + unit,
         11 * u);
    draw_line_sample(cr, x, y + 18 * u, 1.8 * u, 0.85, u);
    cairo_set_source_rgb(cr, 0.1, 0.1, 0.1);
    text(cr, x + 46 * u, y + 22 * u,
         "index contour every " + number(5 * interval, decimals) + " " + unit, 11 * u);
    y += 52 * u;
  }
  if (!entries.empty()) {
    cairo_set_source_rgb(cr, 0.1, 0.1, 0.1);
    text(cr, x, y, "Elements", 13 * u, 0, true);
    y += 22 * u;
  }
  for (const LegendEntry& e : entries) {
    const Style s = style_of(e.kind);
    if (s.mark != Mark::None) {
      paint_mark(cr, s, x + 18 * u, y - 4 * u, u);
    } else if (s.closed) {
      cairo_rectangle(cr, x + 4 * u, y - 11 * u, 30 * u, 13 * u);
      paint_stroke(cr, s, u);
    } else {
      cairo_move_to(cr, x, y - 4 * u);
      cairo_line_to(cr, x + 36 * u, y - 4 * u);
      paint_stroke(cr, s, u);
    }
    cairo_set_source_rgb(cr, 0.1, 0.1, 0.1);
    text(cr, x + 46 * u, y,
         gvk_json::element_kind_name(e.kind) + "  (" + std::to_string(e.count) + ")",
         11 * u);
    y += 22 * u;
  }
  if (break_lines) {
    cairo_move_to(cr, x, y - 4 * u);
    cairo_line_to(cr, x + 36 * u, y - 4 * u);
    paint_stroke(cr, kBreakLineStyle, u);
    cairo_set_source_rgb(cr, 0.1, 0.1, 0.1);
    text(cr, x + 46 * u, y, "Break lines  (" + std::to_string(break_lines) + ")", 11 * u);
    y += 22 * u;
  }
  y += 20 * u;
  draw_scale_bar(cr, p, l, x, y);
  draw_north(cr, x + 220 * u, y - 10 * u, u);
}

std::string origin_text(const gvk::Problem& p) {
  const auto exact = [](double v) { return number(v, decimals_for(v)); };
  return "origin x " + exact(p.xorig) + ", y " + exact(p.yorig) + ", z " +
         exact(p.zorig) + " " + unit_label(p.linear_unit) +
         "; coordinates shown absolute (local + origin)";
}

// ---- output ------------------------------------------------------------------

cairo_status_t append_bytes(void* closure, const unsigned char* data, unsigned int size) {
  static_cast<std::string*>(closure)->append(reinterpret_cast<const char*>(data), size);
  return CAIRO_STATUS_SUCCESS;
}

std::string xml_escape(const std::string& s) {
  std::string out;
  for (char c : s) {
    if (c == '<')
      out += "&lt;";
    else if (c == '>')
      out += "&gt;";
    else if (c == '&')
      out += "&amp;";
    else
      out += c;
  }
  return out;
}

// cairo writes text as glyph outlines; the <title> and <desc> keep the words
// searchable and readable to screen readers.
std::string titled_svg(const std::string& svg, const std::string& title,
                       const std::string& desc) {
  const std::size_t open = svg.find("<svg");
  const std::size_t end = open == std::string::npos ? open : svg.find('>', open);
  std::string out = svg;
  if (end != std::string::npos) {
    out.insert(end + 1, "\n<title>" + xml_escape(title) + "</title>\n<desc>" +
                            xml_escape(desc) + "</desc>");
  }
  return out;
}

// Writes `bytes` as the file at `path`, whole or not at all; false with "cannot
// write PATH: REASON" in `error` when the system refuses, the old file left as it was.
bool write_whole(const std::string& bytes, const std::string& path, std::string& error) {
  try {
    gvk::replace_file(
        path, [&](std::FILE* file) { std::fwrite(bytes.data(), 1, bytes.size(), file); });
  } catch (const std::system_error& e) {
    error = e.what();
    return false;
  }
  return true;
}

// Local extent of everything drawn, each side at least a twentieth of the other; 100
// units around the origin when nothing finite is drawn or the extent overflows.
void extent(const Ground& ground, const std::vector<Figure>& figures, double& x0,
            double& x1, double& y0, double& y1) {
  bool any = !ground.triangles.empty();
  x0 = ground.x_min, x1 = ground.x_max, y0 = ground.y_min, y1 = ground.y_max;
  for (const Figure& f : figures) {
    for (const Point& q : f.points) {
      if (!finite(q)) continue;
      if (!any) x0 = x1 = q.x, y0 = y1 = q.y, any = true;
      x0 = std::min(x0, q.x), x1 = std::max(x1, q.x);
      y0 = std::min(y0, q.y), y1 = std::max(y1, q.y);
    }
  }
  if (!any || !std::isfinite(x1 - x0) || !std::isfinite(y1 - y0) ||
      !std::isfinite(4 * (std::fabs(x0) + std::fabs(x1) + std::fabs(y0) + std::fabs(y1))))
    x0 = y0 = -50, x1 = y1 = 50;
  double big = std::max(x1 - x0, y1 - y0);
  if (!(big > 1e-12 * std::max({std::fabs(x0), std::fabs(y0), 1.0})))
    big = std::max({std::fabs(x0), std::fabs(y0), 1.0}) * 1e-3;
  const double least = big / 20;
  if (x1 - x0 < least) x0 = (x0 + x1 - least) / 2, x1 = x0 + least;
  if (y1 - y0 < least) y0 = (y0 + y1 - least) / 2, y1 = y0 + least;
}

struct Drawing {
  const gvk::Problem& problem;
  const PlotOptions& options;
  Ground ground;
  std::vector<Figure> figures;
  std::vector<LegendEntry> entries;
  Layout layout;
  double interval = 0.0;
  std::vector<double> contours, index_contours;
  CompareLegend compare;
  Difference difference;
  std::vector<double> zero_line;
  std::size_t break_lines = 0;
};

void draw(cairo_t* cr, Drawing& d, double raster) {
  const Layout& l = d.layout;
  const gvk::Problem& p = d.problem;
  cairo_set_source_rgb(cr, 1, 1, 1);
  cairo_paint(cr);
  cairo_set_line_join(cr, CAIRO_LINE_JOIN_ROUND);
  cairo_set_line_cap(cr, CAIRO_LINE_CAP_ROUND);
  if (d.compare.shown) {
    draw_difference(cr, d.difference, l);
  } else if (!d.ground.triangles.empty()) {
    draw_ground(cr, p, d.ground, l, raster);
  }
  cairo_save(cr);
  cairo_rectangle(cr, l.map.left, l.map.top, l.map_width, l.map_height);
  cairo_clip(cr);
  if (d.options.mesh_edges) draw_mesh_edges(cr, p.mesh, d.ground, l);
  stroke_segments(cr, d.contours, 0.8 * l.u, 0.6);
  stroke_segments(cr, d.index_contours, 1.8 * l.u, 0.85);
  stroke_segments(cr, d.zero_line, 2.0 * l.u, 1.0);
  draw_break_lines(cr, p.break_lines, l);
  // Outlines first, then lines, then points, so that nothing small hides under a fill.
  for (int pass = 0; pass < 3; ++pass) {
    for (const Figure& f : d.figures) {
      const Style s = style_of(f.kind);
      const int order = s.closed ? 0 : s.mark == Mark::None ? 1 : 2;
      if (order == pass) draw_figure(cr, f, l);
    }
  }
  cairo_restore(cr);
  draw_frame(cr, p, l);
  cairo_set_source_rgb(cr, 0.1, 0.1, 0.1);
  const std::string title = d.options.title.empty() ? "Plan view" : d.options.title;
  text(cr, l.map.left, 34 * l.u, title, 20 * l.u, 0, true);
  text(cr, l.map.left, 58 * l.u, origin_text(p), 12 * l.u);
  const bool have_contours = !d.contours.empty() || !d.index_contours.empty();
  draw_legend(cr, p, d.ground, l, d.interval, have_contours, d.entries, d.compare,
              d.break_lines);
}

std::string describe(const Drawing& d, const PlotSummary& s) {
  std::string desc = origin_text(d.problem) + ". extent x " + number(s.x_min, 3) +
                     " to " + number(s.x_max, 3) + ", y " + number(s.y_min, 3) + " to " +
                     number(s.y_max, 3) + ". " + std::to_string(s.triangles_drawn) +
                     " triangles";
  if (s.contour_segments) desc += ", contour interval " + number(s.contour_interval, 6);
  if (s.compared) {
    desc += ". cut " + number(s.earthwork.cut, 3) + ", fill " +
            number(s.earthwork.fill, 3) + ", net " + number(s.earthwork.net, 3) +
            ", zero line of " + std::to_string(s.zero_line_segments) + " segments";
  }
  if (s.break_lines_drawn)
    desc += ", " + std::to_string(s.break_lines_drawn) + " break lines";
  desc += ". legend:";
  for (const LegendEntry& e : d.entries)
    desc +=
        " " + gvk_json::element_kind_name(e.kind) + " (" + std::to_string(e.count) + ");";
  return desc;
}

bool render(Drawing& d, Format format, const std::string& path,
            const PlotSummary& summary, std::string& error) {
  const Layout& l = d.layout;
  // Every format is drawn into memory first, so that the file is written whole or
  // not at all.
  std::string bytes;
  cairo_surface_t* surface = nullptr;
  switch (format) {
    case Format::Png:
      surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, l.width, l.height);
      break;
    case Format::Svg:
      surface =
          cairo_svg_surface_create_for_stream(append_bytes, &bytes, l.width, l.height);
      break;
    case Format::Pdf:
      surface =
          cairo_pdf_surface_create_for_stream(append_bytes, &bytes, l.width, l.height);
      break;
  }
  cairo_t* cr = cairo_create(surface);
  draw(cr, d, format == Format::Png ? 1.0 : 2.0);
  cairo_status_t status = cairo_status(cr);
  cairo_destroy(cr);
  if (format == Format::Png && status == CAIRO_STATUS_SUCCESS)
    status = cairo_surface_write_to_png_stream(surface, append_bytes, &bytes);
  cairo_surface_finish(surface);
  if (status == CAIRO_STATUS_SUCCESS) status = cairo_surface_status(surface);
  cairo_surface_destroy(surface);
  if (status != CAIRO_STATUS_SUCCESS) {
    error = path + ": cannot draw the plot (" + cairo_status_to_string(status) + ")";
    return false;
  }
  if (format == Format::Svg) {
    const std::string title = d.options.title.empty() ? "Plan view" : d.options.title;
    bytes = titled_svg(bytes, title, describe(d, summary));
  }
  return write_whole(bytes, path, error);
}

// Whether some drawable triangle of the mesh has area in plan.
bool has_area(const gvk::Mesh& mesh, const Ground& ground) {
  for (std::size_t index : ground.triangles) {
    const gvk::Triangle& t = mesh.triangles[index];
    const double twice = (mesh.x[t[1]] - mesh.x[t[0]]) * (mesh.y[t[2]] - mesh.y[t[0]]) -
                         (mesh.x[t[2]] - mesh.x[t[0]]) * (mesh.y[t[1]] - mesh.y[t[0]]);
    if (twice != 0.0) return true;
  }
  return false;
}

// Refuses a surface that has triangles, none of them of any area in plan.
bool check_area(const gvk::Mesh& mesh, const Ground& ground, const char* which,
                std::string& error) {
  if (mesh.triangles.empty() || has_area(mesh, ground)) return true;
  error = std::string(which) + " has " + std::to_string(mesh.triangles.size()) +
          " triangles, but none of any area in plan: there is nothing to draw";
  return false;
}

std::size_t finite_break_lines(const std::vector<gravok_line_3d>& lines) {
  std::size_t count = 0;
  for (const gravok_line_3d& b : lines) {
    count += std::isfinite(b.x1) && std::isfinite(b.y1) && std::isfinite(b.x2) &&
             std::isfinite(b.y2);
  }
  return count;
}

// The earthwork of the compared surface; false with `error` when there is none.
bool compare_surfaces(const gvk::Problem& problem, const gvk::Mesh& top,
                      CompareLegend& legend, std::string& error) {
  if (!check_area(top, survey_ground(top), "the compared surface", error)) return false;
  const gvk::VolumeResult result =
      gvk::volume_between(mesh_view(problem.mesh), mesh_view(top));
  if (!result) {
    error = "cannot compare the surfaces: " + result.message;
    return false;
  }
  if (!(result.total.area > 0.0)) {
    error = "the surfaces do not overlap in plan: there is no cut or fill to draw";
    return false;
  }
  legend.shown = true;
  legend.earthwork = result.total;
  return true;
}

}  // namespace

double default_contour_interval(double z_min, double z_max) {
  return round_step(z_max - z_min, 15);
}

bool plot_problem(const gvk::Problem& problem, const PlotOptions& options,
                  const std::string& path, PlotSummary& summary, std::string& error) {
  Format format;
  if (!pick_format(path, format)) {
    error = path + ": unknown plot format (the name must end in .svg, .png or .pdf)";
    return false;
  }
  const auto stage = [&options](const char* name) {
    if (options.on_stage) options.on_stage(name);
  };
  stage("surveying the ground");
  Drawing d{problem,
            options,
            survey_ground(problem.mesh),
            collect_figures(problem),
            {},
            {},
            0.0,
            {},
            {},
            {},
            {},
            {},
            0};
  const Ground& g = d.ground;
  if (!check_area(problem.mesh, g, "the surface", error)) return false;
  if (options.compare != nullptr &&
      !compare_surfaces(problem, *options.compare, d.compare, error))
    return false;
  d.break_lines = finite_break_lines(problem.break_lines);
  const double range = g.z_max - g.z_min;
  const bool given =
      options.contour_interval > 0 && std::isfinite(options.contour_interval);
  d.interval =
      given ? options.contour_interval : default_contour_interval(g.z_min, g.z_max);
  if (given && range / d.interval > static_cast<double>(kMaxContourLevels)) {
    error = "contour interval " + number(d.interval, 6) + " gives more than " +
            std::to_string(kMaxContourLevels) + " levels over the elevation range";
    return false;
  }
  std::map<GradingElementType, std::size_t> counts;
  for (const Figure& f : d.figures) ++counts[f.kind];
  for (const auto& [kind, count] : counts) d.entries.push_back({kind, count});
  double x0, x1, y0, y1;
  extent(g, d.figures, x0, x1, y0, y1);
  const std::size_t extra_rows = (d.break_lines ? 1 : 0) + (d.compare.shown ? 5 : 0);
  d.layout = lay_out(options, x0, x1, y0, y1, d.entries.size() + extra_rows);
  stage(d.compare.shown ? "comparing the surfaces" : "tracing contours");
  if (d.compare.shown) {
    const Layout& l = d.layout;
    const int w =
        std::max(1, static_cast<int>(std::ceil(l.map_width * kDifferenceRaster)));
    const int h =
        std::max(1, static_cast<int>(std::ceil(l.map_height * kDifferenceRaster)));
    d.difference =
        sample_difference(problem.mesh, *options.compare, l.map, kDifferenceRaster, w, h);
    d.compare.limit = d.difference.limit;
    d.zero_line = trace_zero_line(d.difference, l.map, kDifferenceRaster);
  } else {
    trace_contours(problem.mesh, g, d.layout.map, range > 0 ? d.interval : 0.0,
                   problem.zorig, d.contours, d.index_contours);
  }

  summary = PlotSummary{};
  summary.triangles_drawn = g.triangles.size();
  summary.triangles_skipped = g.skipped;
  if (!g.triangles.empty()) {
    summary.z_min = g.z_min + problem.zorig;
    summary.z_max = g.z_max + problem.zorig;
    summary.contour_interval = d.interval;
    if (range > 0)
      summary.contour_levels = static_cast<std::size_t>(
          std::max(0.0, std::floor(summary.z_max / d.interval) -
                            std::floor(summary.z_min / d.interval)));
  }
  summary.contour_segments = (d.contours.size() + d.index_contours.size()) / 4;
  summary.elements_drawn = counts;
  summary.break_lines_drawn = d.break_lines;
  summary.compared = d.compare.shown;
  summary.earthwork = d.compare.earthwork;
  summary.difference_limit = d.compare.shown ? d.compare.limit : 0.0;
  summary.zero_line_segments = d.zero_line.size() / 4;
  const Layout& l = d.layout;
  summary.x_min = l.map.x_min + problem.xorig;
  summary.x_max = summary.x_min + l.map_width / l.map.scale;
  summary.y_max = l.map.y_max + problem.yorig;
  summary.y_min = summary.y_max - l.map_height / l.map.scale;
  summary.map_left = l.map.left;
  summary.map_top = l.map.top;
  summary.scale = l.map.scale;
  summary.page_width = l.width;
  summary.page_height = l.height;
  stage("drawing");
  return render(d, format, path, summary, error);
}

bool plot_problem(const gvk::Problem& problem, const PlotOptions& options,
                  const std::string& path, std::string& error) {
  PlotSummary summary;
  return plot_problem(problem, options, path, summary, error);
}

}  // namespace gravok_tool
