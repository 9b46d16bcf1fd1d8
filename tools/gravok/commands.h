// The commands of the gravok tool, one function each, and the providers built into it.
#ifndef GRAVOK_TOOL_COMMANDS_H
#define GRAVOK_TOOL_COMMANDS_H

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace gvk {
class DataSource;
}

namespace gravok_tool {

// Exit statuses.
constexpr int kSuccess = 0;
constexpr int kFailed = 1;  // the command ran and found a problem, or a write failed
constexpr int kUsage = 2;   // bad arguments, or a location or file that cannot be opened

// What the command line gave.
struct Options {
  std::string location;  // the source (or, for roundtrip, the store) location
  std::string target;    // the store location, the output file or stem
  std::vector<std::string> words;
  double tolerance = 0.0;
  std::string base_surface;  // volume, plot --compare: surfaces by name or id
  std::string top_surface;
  std::string boundary;  // volume: a .poly file or a problem with an outline
  std::string compare;   // plot: the surface to compare the ground with
  bool by_element = false;
  double contour = 0.0;  // plot: contour interval, 0 for a default from the elevations
  bool mesh_edges = false;
  bool json = false;
  bool records_only = false;
  bool strict = false;               // copy: exit 1 when the store dropped anything
  std::string surface;               // copy: the one surface to copy, by name or id
  unsigned long long triangles = 0;  // demo: the site's size, 0 for the default
  bool site_only = false;            // demo: stop once site.json is written
};

// `text` as a JSON string literal.
std::string json_string(const std::string& text);

// Opens `location` as a source, or says on stderr why it cannot.
std::unique_ptr<gvk::DataSource> open_source(const std::string& location);

// Lists every provider with its description and the module it came from, keyed as
// provider_modules() keys it; a provider without a module is built into the tool.
int list_providers(const std::map<std::string, std::string>& modules);
int inspect(const Options& options);
int copy(const Options& options);
int dump(const Options& options);
int roundtrip(const Options& options);
int mesh_clean(const Options& options);
int uid(const Options& options);
int classify(const Options& options);
int plot(const Options& options);
int volume(const Options& options);
int demo(const Options& options);

}  // namespace gravok_tool

#endif  // GRAVOK_TOOL_COMMANDS_H
