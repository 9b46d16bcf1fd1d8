// gravok: opens, inspects, copies and dumps grading problems through the library's
// registries, with the plug-in modules of the installed plug-in folder and of
// GRAVOK_PLUGIN_PATH, and those named by GRAVOK_PLUGINS and --plugin.
//
// Exit status: 0 on success (inspect: no finding), 1 when a command did its work and
// found a problem (inspect: findings; roundtrip: something lost; copy, dump, mesh
// clean: the store or the file failed), 2 on a usage error or when a location, file
// or plug-in cannot be opened. Output that does not reach standard output (a full
// disk, a closed pipe) fails the command too: "gravok: cannot write the standard
// output: REASON", and status 1 where it would have been 0.
#include "builtin_providers.h"
#include "commands.h"
#include "gravok_version.h"
#include "plugin_loading.h"

#include <gravok/log.h>
#include <gravok/plugin.h>
#include <gravok/text.h>

#include <CLI/CLI.hpp>

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <locale>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace {

// The commands of `app`, separated by commas.
std::string command_names(const CLI::App& app) {
  std::string names;
  for (const CLI::App* command : app.get_subcommands({}))
    names += (names.empty() ? "" : ", ") + command->get_name();
  return names;
}

// What "A subcommand is required" would leave unsaid: the first argument in the place
// of a command (or of a command's command, as after "mesh") that names none, with
// the commands there are; empty when every command named is known.
std::string unknown_command(int argc, char** argv, CLI::App& app) {
  CLI::App* level = &app;
  for (int i = 1; i < argc && !level->get_subcommands({}).empty(); ++i) {
    const std::string argument = argv[i];
    if (argument == "--plugin") {
      ++i;  // its value
      continue;
    }
    if (!argument.empty() && argument[0] == '-') continue;
    CLI::App* next = nullptr;
    for (CLI::App* command : level->get_subcommands({}))
      if (command->get_name() == argument) next = command;
    if (!next)
      return "unknown command '" + argument + "'; the commands" +
             (level == &app ? "" : " of '" + level->get_name() + "'") +
             " are: " + command_names(*level);
    level = next;
  }
  return {};
}

// A distance that means something: a finite number, zero included (welds of vertices
// that coincide exactly) or, with `positive`, above zero.
CLI::Validator distance(bool positive) {
  return CLI::Validator(
      [positive](std::string& text) -> std::string {
        double value = 0.0;
        std::istringstream in(text);
        in.imbue(std::locale::classic());
        if (!(in >> value) || !std::isfinite(value))
          return "not a finite number: " + text;
        if (value < 0 || (positive && value == 0))
          return std::string("must be ") + (positive ? "above" : "at least") +
                 " 0, not " + text;
        return "";
      },
      positive ? "POSITIVE" : "NON-NEGATIVE");
}

// Flushes standard output; when what was written there did not all arrive, says so
// with the system's reason and turns a success into a failure. Standard output is
// synchronised with stdio, so that a write error shows only when the buffer is
// flushed: here, before the process ends, with its errno still fresh.
int with_output_written(int status) {
  errno = 0;
  std::cout.flush();
  if (std::cout) return status;
  const int error = errno;
  std::cerr << "gravok: cannot write the standard output"
            << (error ? std::string(": ") + std::strerror(error) : std::string()) << "\n";
  return status == gravok_tool::kSuccess ? gravok_tool::kFailed : status;
}

}  // namespace

int main(int argc, char** argv) {
  using gravok_tool::Options;
  Options o;
  gravok_tool::PluginSearch search;
  bool no_plugins = false;
  bool verbose = false;

  CLI::App app{"gravok: open, inspect, copy and dump grading problems"};
  app.require_subcommand(1);
  app.fallthrough();
  app.add_option("--plugin", search.modules, "load a plug-in module (repeat for more)")
      ->type_size(1)
      ->allow_extra_args(false)
      ->expected(1)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  app.add_flag("--no-plugins", no_plugins,
               "load no plug-in module but those named by --plugin (neither the "
               "installed ones nor those of GRAVOK_PLUGIN_PATH and GRAVOK_PLUGINS)");
  app.add_flag("--verbose", verbose,
               "log to the console at debug level (warnings are shown without it)");
  app.set_version_flag("--version",
                       "gravok " GRAVOK_TOOL_VERSION
                       " (gravok-data " GRAVOK_TOOL_LIBRARY_VERSION ")",
                       "print the version and exit");

  CLI::App* providers = app.add_subcommand("providers", "list every registered provider");

  CLI::App* inspect = app.add_subcommand(
      "inspect", "summarise a problem and report what the library never checks");
  inspect->add_option("location", o.location, "the problem to open")->required();
  inspect
      ->add_option("--tolerance", o.tolerance,
                   "report vertices that weld within this plan distance (default 0)")
      ->check(distance(false));
  inspect->add_flag("--json", o.json, "print the findings as JSON");

  CLI::App* copy =
      app.add_subcommand("copy", "copy a problem from a source into a store");
  copy->add_option("source", o.location, "the location to read")->required();
  copy->add_option("store", o.target, "the location to write")->required();
  copy->add_flag("--records-only", o.records_only,
                 "move only what copyFrom moves (settings, mesh, element records)");
  copy->add_option("--surface", o.surface,
                   "copy only this surface of the source, by name or id (default: every "
                   "surface)");
  copy->add_flag("--strict", o.strict,
                 "exit 1 when the store dropped anything (or cannot say what it drops)");

  CLI::App* dump = app.add_subcommand(
      "dump", "write everything a source answers as a JSON problem document");
  dump->add_option("source", o.location, "the location to read")->required();
  dump->add_option("file", o.target, "the JSON document to write")->required();

  CLI::App* roundtrip = app.add_subcommand(
      "roundtrip", "copy a generated problem into a store, read it back and compare");
  roundtrip->add_option("store", o.location, "the store location to test")->required();

  CLI::App* mesh = app.add_subcommand("mesh", "mesh tools");
  mesh->require_subcommand(1);
  CLI::App* clean = mesh->add_subcommand(
      "clean", "weld vertices, drop unused ones and write .1.node and .1.ele files");
  clean->add_option("input", o.location, "the problem whose mesh to clean")->required();
  clean->add_option("-o,--output", o.target, "stem of the files to write")->required();
  clean->add_option("--tolerance", o.tolerance, "weld distance in plan (0: exact)")
      ->required()
      ->check(distance(false));

  CLI::App* uid = app.add_subcommand("uid", "print the uid of each GUID text");
  uid->add_option("text", o.words, "GUID texts")->required();

  CLI::App* classify =
      app.add_subcommand("classify", "print the element kind each name classifies as");
  classify->add_option("name", o.words, "host names")->required();

  CLI::App* plot = app.add_subcommand("plot", "draw a plan view of a problem");
  plot->add_option("location", o.location, "the problem to draw")->required();
  plot->add_option("-o,--output", o.target, "the picture to write: .svg, .png or .pdf")
      ->required();
  plot->add_option("--contour", o.contour,
                   "contour interval in the problem's linear unit (default: from the "
                   "elevation range)")
      ->check(distance(true));
  plot->add_flag("--mesh", o.mesh_edges, "draw the mesh edges");
  plot->add_option("--compare", o.compare,
                   "draw the cut and fill of this problem's surface (the top) against "
                   "LOCATION's (the base) instead of elevations");
  plot->add_option("--base-surface", o.base_surface,
                   "with --compare: LOCATION's surface by name or id");
  plot->add_option("--top-surface", o.top_surface,
                   "with --compare: the top's surface by name or id");

  CLI::App* volume = app.add_subcommand(
      "volume", "cut, fill and net between two surfaces (base and top)");
  volume->add_option("base", o.location, "the problem of the base surface")->required();
  volume->add_option("top", o.target, "the problem of the top surface (may be BASE)")
      ->required();
  volume->add_option("--base-surface", o.base_surface,
                     "the base's surface by name or id (default: its first)");
  volume->add_option("--top-surface", o.top_surface,
                     "the top's surface by name or id (default: its first)");
  volume->add_option("--boundary", o.boundary,
                     "compare only inside this polygon: a .poly file's closed ring "
                     "(absolute coordinates) or a problem's first closed outline");
  volume->add_flag("--by-element", o.by_element,
                   "also inside each building pad, pond, parking lot and surface zone "
                   "of BASE");
  volume->add_flag("--json", o.json, "print the figures as JSON");

  CLI::App* demo = app.add_subcommand(
      "demo", "build a synthetic site and take it through the whole library");
  demo->add_option("outdir", o.location, "the folder to write into")->required();
  demo->add_option("--triangles", o.triangles,
                   "about how many triangles the site's mesh has: 32 to 10^8 "
                   "(default 199,712)")
      ->check(CLI::Range(32ULL, 100000000ULL));
  demo->add_flag("--site-only", o.site_only,
                 "write OUTDIR/site.json and stop: a site to try other commands on");

  for (CLI::App* command : app.get_subcommands({})) command->fallthrough();
  clean->fallthrough();

  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp& e) {
    return with_output_written(app.exit(e));
  } catch (const CLI::CallForAllHelp& e) {
    return with_output_written(app.exit(e));
  } catch (const CLI::CallForVersion& e) {
    return with_output_written(app.exit(e));
  } catch (const CLI::ParseError& e) {
    const std::string unknown = unknown_command(argc, argv, app);
    if (unknown.empty()) {
      app.exit(e);
    } else {
      std::cerr << "gravok: " << unknown << "\nRun with --help for more information.\n";
    }
    return gravok_tool::kUsage;
  }

  // Warnings reach the user without --verbose, as lines of the tool's own: a file read
  // with less than it states (a LandXML file without units, a break line left out).
  if (verbose) {
    gvk::Log::RegisterConsoleLogger(gvk::Log::debug);
  } else {
    gvk::Log::RegisterHandler(
        [](const gvk::Log::Entry& entry) {
          std::cerr << "gravok: warning: " << gvk::to_utf8(entry.message) << "\n";
        },
        gvk::Log::warn);
  }
  gravok_tool::register_builtin_providers();

  // Modules stay loaded until every source and store of the command is gone: the
  // command runs in its own scope below.
  gvk::PluginLoadResult plugins;
  search.discover = !no_plugins;
  search.installed_folder = gvk::installedPluginFolder();
  const char* folder_list = std::getenv("GRAVOK_PLUGIN_PATH");
  const char* module_list = std::getenv("GRAVOK_PLUGINS");
  search.folder_list = folder_list ? folder_list : "";
  search.module_list = module_list ? module_list : "";
  if (!gravok_tool::load_plugins(search, plugins, std::cerr)) {
    plugins = gvk::PluginLoadResult();
    gravok_tool::unregister_builtin_providers();
    return gravok_tool::kUsage;
  }

  int status = gravok_tool::kUsage;
  try {
    if (*providers)
      status = gravok_tool::list_providers(gravok_tool::provider_modules(plugins));
    if (*inspect) status = gravok_tool::inspect(o);
    if (*copy) status = gravok_tool::copy(o);
    if (*dump) status = gravok_tool::dump(o);
    if (*roundtrip) status = gravok_tool::roundtrip(o);
    if (*clean) status = gravok_tool::mesh_clean(o);
    if (*uid) status = gravok_tool::uid(o);
    if (*classify) status = gravok_tool::classify(o);
    if (*plot) status = gravok_tool::plot(o);
    if (*volume) status = gravok_tool::volume(o);
    if (*demo) status = gravok_tool::demo(o);
  } catch (const std::exception& e) {
    std::cerr << "gravok: " << e.what() << "\n";
    status = gravok_tool::kFailed;
  }
  plugins = gvk::PluginLoadResult();
  gravok_tool::unregister_builtin_providers();
  return with_output_written(status);
}
