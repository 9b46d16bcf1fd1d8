#include "surface_choice.h"

#include <gravok/problem.h>

#include <algorithm>
#include <iostream>
#include <map>
#include <utility>

namespace gravok_tool {

bool find_surface(const std::vector<unsigned long long>& ids,
                  const std::vector<std::string>& names, const std::string& wanted,
                  std::size_t& index) {
  const std::size_t count = std::min(ids.size(), names.size());
  for (std::size_t i = 0; i < count; ++i) {
    if (names[i] == wanted) {
      index = i;
      return true;
    }
  }
  for (std::size_t i = 0; i < count; ++i) {
    if (std::to_string(ids[i]) == wanted) {
      index = i;
      return true;
    }
  }
  return false;
}

std::string surface_list(const std::vector<unsigned long long>& ids,
                         const std::vector<std::string>& names) {
  const std::size_t count = std::min(ids.size(), names.size());
  if (count == 0) return "it offers no surfaces";
  std::string list = "its surfaces:";
  for (std::size_t i = 0; i < count; ++i) {
    list += (i ? ", " : " ") + std::to_string(ids[i]) + " \"" + names[i] + "\"";
  }
  return list;
}

std::unique_ptr<gvk::DataSource> one_surface(gvk::DataSource& source,
                                             const std::string& location,
                                             const std::string& wanted) {
  std::vector<unsigned long long> ids;
  std::vector<std::string> names;
  source.get_surfaces(ids, names);
  std::size_t i = 0;
  if (!find_surface(ids, names, wanted, i)) {
    std::cerr << "gravok: " << location << " has no surface \"" << wanted << "\"; "
              << surface_list(ids, names) << "\n";
    return nullptr;
  }
  // Selected first, the surface is the main one of the snapshot, together with what
  // a source answers per surface (elements, break lines, its origin).
  source.select_surface(ids[i]);
  gvk::Problem p;
  gvk::snapshot(source, p);
  p.surfaces.clear();
  p.surface_ids = {ids[i]};
  p.surface_names = {names[i]};
  std::map<unsigned long long, std::string>& descriptions =
      p.description.surface_descriptions;
  const auto kept = descriptions.find(ids[i]);
  std::map<unsigned long long, std::string> only;
  if (kept != descriptions.end()) only.insert(*kept);
  descriptions = std::move(only);
  return std::make_unique<gvk::ProblemSource>(std::move(p));
}

}  // namespace gravok_tool
