// The names of element kinds in the document: the catalogue's name of a named kind,
// the decimal number of every other one.
#include "json_document.h"

#include <gravok/element_types.h>

#include <charconv>
#include <system_error>

namespace gvk_json {

std::string element_kind_name(GradingElementType kind) {
  const char* name = gvk::element_type_name(kind);
  return *name ? name : std::to_string(static_cast<std::int32_t>(kind));
}

bool element_kind_from_name(std::string_view name, GradingElementType& kind) {
  std::vector<GradingElementType> named = gvk::allElementTypes();
  named.push_back(ParkingLot);
  for (const GradingElementType k : named) {
    if (name == gvk::element_type_name(k)) {
      kind = k;
      return true;
    }
  }
  std::int32_t value = 0;
  const auto [end, error] =
      std::from_chars(name.data(), name.data() + name.size(), value);
  if (error != std::errc() || end != name.data() + name.size()) return false;
  kind = static_cast<GradingElementType>(value);
  // Only the canonical spelling: "007", "+8" and the number of a named kind are not
  // names.
  return element_kind_name(kind) == name;
}

}  // namespace gvk_json
