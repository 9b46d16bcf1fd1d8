#include "commands.h"

#include "builtin_providers.h"
#include "demo.h"
#include "earthwork.h"
#include "generated_problem.h"
#include "inspect.h"
#include "json_document.h"
#include "json_store.h"
#include "mesh_files.h"
#include "plot.h"
#include "progress.h"
#include "surface_choice.h"

#include <gravok/element_types.h>
#include <gravok/hand_over.h>
#include <gravok/log.h>
#include <gravok/mesh_check.h>
#include <gravok/mesh_tools.h>
#include <gravok/poly_file.h>
#include <gravok/problem.h>
#include <gravok/providers.h>
#include <gravok/store_losses.h>
#include <gravok/surfaces.h>
#include <gravok/text.h>

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <memory>
#include <sstream>
#include <stdexcept>

namespace gravok_tool {
namespace {

std::wstring wide(const std::string& text) { return gvk::from_utf8(text); }

}  // namespace

std::string json_string(const std::string& text) {
  std::string out = "\"";
  for (const char c : text) {
    switch (c) {
      case '"': out += "\\\""; break;
      case '\\': out += "\\\\"; break;
      case '\n': out += "\\n"; break;
      case '\r': out += "\\r"; break;
      case '\t': out += "\\t"; break;
      default:
        if (static_cast<unsigned char>(c) < 0x20) {
          char escaped[8];
          std::snprintf(escaped, sizeof escaped, "\\u%04x", c);
          out += escaped;
        } else {
          out += c;
        }
    }
  }
  return out + "\"";
}

namespace {

// Says on stderr why `location` did not open: each reason a provider gave, or that no
// provider recognised it.
void say_why_not(const std::string& location, const std::vector<std::string>& reasons,
                 const char* what) {
  for (const std::string& reason : reasons) std::cerr << "gravok: " << reason << "\n";
  if (reasons.empty())
    std::cerr << "gravok: cannot open " << location << ": no " << what << " opens it\n";
}

}  // namespace

std::unique_ptr<gvk::DataSource> open_source(const std::string& location) {
  std::vector<std::string> reasons;
  std::unique_ptr<gvk::DataSource> source = gvk::createDataSource(location, reasons);
  if (!source) say_why_not(location, reasons, "provider");
  return source;
}

namespace {

std::unique_ptr<gvk::DataStore> open_store(const std::string& location) {
  std::vector<std::string> reasons;
  std::unique_ptr<gvk::DataStore> store = gvk::createDataStore(location, reasons);
  if (!store) say_why_not(location, reasons, "store provider");
  return store;
}

// Opens `location` and reads everything it answers into `problem`; false (having said
// why) when it cannot be opened. The source is gone again when this returns.
bool read_location(const std::string& location, Progress& progress, Problem& problem) {
  std::unique_ptr<gvk::DataSource> source = open_source(location);
  if (!source) return false;
  progress.step("reading " + location);
  gvk::take_snapshot(*source, problem);
  return true;
}

// How many of the source's surfaces a transfer leaves behind: all but the current one
// when the store does not keep several (or copyFrom, which moves one mesh, ran).
unsigned long long surfaces_left_behind(const gvk::DataSource& source,
                                        const gvk::DataStore& store, bool records_only) {
  if (!records_only && dynamic_cast<const gvk::SurfaceStore*>(&store)) return 0;
  std::vector<unsigned long long> ids;
  std::vector<std::string> names;
  source.get_surfaces(ids, names);
  const std::size_t listed = std::min(ids.size(), names.size());
  return listed > 1 ? listed - 1 : 0;
}

// How many parts of the source's description (each text of the coordinate system and
// the application, each surface's description) a transfer leaves behind: all of them
// when the store keeps no description (or copyFrom, which moves records only, ran).
unsigned long long description_left_behind(const gvk::DataSource& source,
                                           const gvk::DataStore& store,
                                           bool records_only) {
  if (!records_only && dynamic_cast<const gvk::DescribedStore*>(&store)) return 0;
  const auto* described = dynamic_cast<const gvk::DescribedSource*>(&source);
  if (!described) return 0;
  gvk::ProblemDescription d;
  described->get_description(d);
  const gvk::ProblemDescription& given = d;
  const gvk::CoordinateSystem& c = given.coordinate_system;
  unsigned long long parts = d.surface_descriptions.size();
  for (const std::string* text :
       {&c.epsg_code, &c.wkt, &c.name, &c.description, &c.horizontal_name,
        &c.horizontal_datum, &c.vertical_datum, &given.application_name,
        &given.application_version})
    parts += !text->empty();
  return parts;
}

// Lists on stderr what `store` says it dropped, and the surfaces and the description
// the transfer left behind, one line per kind of thing. Returns what copy exits with:
// 1 under --strict when anything was dropped, or when the store cannot say what it
// drops; else 0.
int declare_losses(const gvk::DataStore& store, const std::string& target, bool strict,
                   unsigned long long surfaces_left,
                   unsigned long long description_left) {
  std::vector<gvk::StoreLoss> losses;
  const auto* declares = dynamic_cast<const gvk::DeclaresLosses*>(&store);
  if (declares) losses = declares->losses();
  if (surfaces_left)
    losses.push_back(
        {"surfaces besides the current one (the store keeps one)", surfaces_left});
  if (description_left)
    losses.push_back(
        {"descriptions (coordinate system, application, surfaces; the "
         "store keeps none)",
         description_left});
  for (const gvk::StoreLoss& loss : losses)
    std::cerr << "gravok: " << target << ": dropped " << loss.count << " " << loss.what
              << "\n";
  if (!declares && strict)
    std::cerr << "gravok: " << target << ": the store does not say what it drops\n";
  return strict && (!declares || !losses.empty()) ? kFailed : kSuccess;
}

}  // namespace

int list_providers(const std::map<std::string, std::string>& modules) {
  const std::vector<std::string> store_names = gvk::dataStoreProviderNames();
  const std::vector<std::string> source_names = gvk::dataSourceProviderNames();
  const std::vector<const gvk::DataSourceProvider*> all = gvk::dataSourceProviders();
  // dataSourceProviders lists the store providers first, then the source providers,
  // each in name order: the same order as the two name lists one after the other.
  std::vector<std::string> names = store_names;
  names.insert(names.end(), source_names.begin(), source_names.end());
  for (std::size_t i = 0; i < all.size() && i < names.size(); ++i) {
    const char* kind = i < store_names.size() ? "store" : "source";
    const auto module = modules.find(std::string(kind) + " " + names[i]);
    std::cout << names[i] << " (" << kind << "): " << all[i]->description() << " ["
              << (module == modules.end() ? "built in" : module->second) << "]\n";
  }
  return kSuccess;
}

int inspect(const Options& o) {
  Progress progress;
  Problem problem;
  if (!read_location(o.location, progress, problem)) return kUsage;
  progress.step("checking");
  const std::vector<Finding> findings = inspect_problem(problem, o.tolerance);
  progress.step("");
  if (o.json) {
    std::cout << "{\"location\": " << json_string(o.location)
              << ", \"summary\": " << summarise_problem_json(problem)
              << ", \"findings\": [";
    for (std::size_t i = 0; i < findings.size(); ++i) {
      std::cout << (i ? ",\n  " : "\n  ")
                << "{\"check\": " << json_string(findings[i].check)
                << ", \"where\": " << json_string(findings[i].where)
                << ", \"what\": " << json_string(findings[i].what) << "}";
    }
    std::cout << (findings.empty() ? "]}\n" : "\n]}\n");
  } else {
    std::cout << summarise_problem(problem);
    std::cout << findings.size() << (findings.size() == 1 ? " finding" : " findings")
              << (findings.empty() ? "\n" : ":\n");
    for (const Finding& f : findings) {
      std::cout << "  " << f.where << ": " << f.what << " [" << f.check << "]\n";
    }
  }
  return findings.empty() ? kSuccess : kFailed;
}

int copy(const Options& o) {
  std::unique_ptr<gvk::DataSource> source = open_source(o.location);
  if (!source) return kUsage;
  if (!o.surface.empty()) {
    source = one_surface(*source, o.location, o.surface);
    if (!source) return kUsage;
  }
  std::unique_ptr<gvk::DataStore> store = open_store(o.target);
  if (!store) return kUsage;
  Progress progress;
  progress.step("copying " + o.location + " to " + o.target);
  {
    GRAVOK_LOG_TIMING(wide("copy " + o.location + " to " + o.target + " took "));
    if (o.records_only) {
      store->copyFrom(*source);
    } else {
      store->copyAllFrom(*source);
    }
  }
  return declare_losses(*store, o.target, o.strict,
                        surfaces_left_behind(*source, *store, o.records_only),
                        description_left_behind(*source, *store, o.records_only));
}

int dump(const Options& o) {
  GRAVOK_LOG_TIMING(wide("dump " + o.location + " took "));
  Progress progress;
  Problem problem;
  if (!read_location(o.location, progress, problem)) return kUsage;
  progress.step("writing " + o.target);
  gvk_json::write_file(problem, o.target);  // a failure reaches main as an exception
  return kSuccess;
}

int roundtrip(const Options& o) {
  gvk::ProblemSource generated(generated_problem());
  Progress progress;
  progress.step("copying a generated problem into " + o.location);
  {
    std::unique_ptr<gvk::DataStore> store = open_store(o.location);
    if (!store) return kUsage;
    try {
      store->copyAllFrom(generated);
    } catch (const std::invalid_argument& refused) {
      // A store may refuse values its format has no notation for; what it does with
      // the rest is still worth comparing.
      std::cerr << "gravok: " << refused.what() << "\n"
                << "gravok: copying the generated problem again without its break lines "
                   "that are not finite\n";
      generated = gvk::ProblemSource(without_non_finite_break_lines(generated_problem()));
      store->copyAllFrom(generated);
    }
  }
  progress.step("reading " + o.location + " back");
  std::unique_ptr<gvk::DataSource> reopened = open_source(o.location);
  if (!reopened) {
    std::cerr << "gravok: what the store wrote at " << o.location
              << " does not open again as a source\n";
    return kFailed;
  }
  Problem actual;
  gvk::take_snapshot(*reopened, actual);
  // What a store that loses nothing answers: the same transfer into a store in memory
  // at the origin the store reports. Surfaces and GUIDs do not travel with a transfer.
  Problem at_origin;
  at_origin.xorig = actual.xorig;
  at_origin.yorig = actual.yorig;
  at_origin.zorig = actual.zorig;
  at_origin.surface_ids = actual.surface_ids;
  at_origin.surface_names = actual.surface_names;
  at_origin.guids_valid = actual.guids_valid;
  gvk::ProblemStore lossless(at_origin);
  lossless.copyAllFrom(generated);
  progress.step("");
  const std::vector<std::string> differences =
      gvk::compare_problems(lossless.problem(), actual);
  for (const std::string& line : differences) std::cout << line << "\n";
  std::cout << (differences.empty()
                    ? "nothing lost\n"
                    : std::to_string(differences.size()) + " differences\n");
  return differences.empty() ? kSuccess : kFailed;
}

int mesh_clean(const Options& o) {
  std::unique_ptr<gvk::DataSource> source = open_source(o.location);
  if (!source) return kUsage;
  std::vector<double> x, y, z;
  std::vector<gvk::Triangle> triangles;
  std::vector<gravok_triangle_info> info;
  source->get_eg_data(x, y, z, triangles, info);
  const std::size_t vertices = x.size();
  // The mesh tools rely on valid indices and full coordinate arrays: the first two
  // kinds of the mesh check, which it lists first.
  // A .node file holds no NaN, so a mesh with one is refused as well.
  bool unsafe = false;
  for (const gvk::MeshFinding& f : gvk::check_mesh(x, y, z, triangles, -1.0)) {
    if (f.kind > gvk::MeshFindingKind::NonFiniteCoordinate) break;
    std::cerr << "gravok: " << o.location << ": " << gvk::mesh_finding_message(f) << "\n";
    unsafe = true;
  }
  if (unsafe) return kFailed;
  GRAVOK_LOG_TIMING(L"mesh clean took ");
  gvk::reindex_mesh(x, y, z, triangles, o.tolerance);
  const std::size_t welded = vertices - x.size();
  gvk::remove_unused_vertices(x, y, z, triangles);
  // STEM names the files exactly: "out.d/site" writes out.d/site.1.node, whatever
  // dots the folders or the name hold.
  gvk_triangle::write_node_ele(o.target + ".1.node", o.target + ".1.ele", x, y, z,
                               triangles);
  std::cout << vertices << " vertices: " << welded << " welded, "
            << vertices - welded - x.size() << " unused, " << x.size() << " kept; "
            << triangles.size() << " triangles\n";
  return kSuccess;
}

int uid(const Options& o) {
  for (const std::string& text : o.words) {
    std::cout << gvk::hashGradingElementUid(text) << "  " << text << "\n";
  }
  return kSuccess;
}

int classify(const Options& o) {
  int status = kSuccess;
  for (const std::string& name : o.words) {
    GradingElementType kind{};
    TriZoneType zone = Generic;
    if (!gvk::get_constraint_type(name, kind, zone)) {
      std::cout << "-  " << name << "\n";
      status = kFailed;
      continue;
    }
    std::cout << gvk_json::element_kind_name(kind);
    if (kind == SurfaceZone) std::cout << (zone == Exclusion ? " Exclusion" : " Generic");
    std::cout << "  " << name << "\n";
  }
  return status;
}

int plot(const Options& o) {
  Progress progress;
  SurfacePair pair;
  PlotOptions options;
  options.title = o.location;
  if (o.compare.empty()) {
    if (!read_location(o.location, progress, pair.base)) return kUsage;
  } else {
    progress.step("reading " + o.location + " and " + o.compare);
    const int status =
        read_surface_pair(o.location, o.base_surface, o.compare, o.top_surface, pair);
    if (status != kSuccess) return status;
    options.compare = &pair.top;
    const auto leaf = [](const std::string& label, const std::string& location) {
      const std::size_t slash = location.find_last_of("/\\");
      return (slash == std::string::npos ? location : location.substr(slash + 1)) +
             label.substr(std::min(label.size(), location.size()));
    };
    options.title = "Cut and fill: " + leaf(pair.top_label, o.compare) + " against " +
                    leaf(pair.base_label, o.location);
  }
  GRAVOK_LOG_TIMING(wide("plot " + o.location + " took "));
  options.contour_interval = o.contour;
  options.mesh_edges = o.mesh_edges;
  options.on_stage = [&](const std::string& stage) {
    progress.step(o.target + ": " + stage);
  };
  PlotSummary summary;
  std::string error;
  if (!plot_problem(pair.base, options, o.target, summary, error)) {
    std::cerr << "gravok: " << error << "\n";
    return kFailed;
  }
  progress.step("");
  std::cout << o.target << ": " << summary.triangles_drawn << " triangles drawn";
  if (summary.triangles_skipped)
    std::cout << ", " << summary.triangles_skipped << " skipped";
  if (summary.break_lines_drawn)
    std::cout << ", " << summary.break_lines_drawn << " break lines";
  if (summary.compared) {
    std::cout << ", cut " << summary.earthwork.cut << ", fill " << summary.earthwork.fill
              << ", net " << summary.earthwork.net << "\n";
  } else {
    std::cout << ", contours every " << summary.contour_interval << "\n";
  }
  return kSuccess;
}

int demo(const Options& o) {
  const int cells = o.triangles == 0 ? kDemoCells : demo_cells(o.triangles);
  return run_demo(o.location, std::cout, cells, o.site_only) == 0 ? kSuccess : kFailed;
}

}  // namespace gravok_tool
