// One surface of a source that offers several, chosen by name or id, for the commands
// that take one (`gravok copy --surface`).
#ifndef GRAVOK_TOOL_SURFACE_CHOICE_H
#define GRAVOK_TOOL_SURFACE_CHOICE_H

#include <gravok/data_source.h>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace gravok_tool {

// The position in `ids` and `names` (paired up; a longer list's extra entries do not
// count) of the surface named `wanted`, else of the one whose id is `wanted` in
// decimal; false when neither is there. A name wins over an id, so a surface named
// "2" is found by that name before the surface with id 2.
bool find_surface(const std::vector<unsigned long long>& ids,
                  const std::vector<std::string>& names, const std::string& wanted,
                  std::size_t& index);

// "its surfaces: 0 "A", 1 "B"", or "it offers no surfaces", for messages.
std::string surface_list(const std::vector<unsigned long long>& ids,
                         const std::vector<std::string>& names);

// A source that answers everything `source` answers with the surface `wanted`
// selected, and lists that surface alone (its id, name and description; the other
// surfaces and their descriptions are left out). Empty, having said on stderr why,
// when `source` has no such surface. `source` is read whole here and may be destroyed
// afterwards.
std::unique_ptr<gvk::DataSource> one_surface(gvk::DataSource& source,
                                             const std::string& location,
                                             const std::string& wanted);

}  // namespace gravok_tool

#endif  // GRAVOK_TOOL_SURFACE_CHOICE_H
