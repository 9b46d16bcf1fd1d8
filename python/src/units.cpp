// Units of measure: Unit1, Unit2 and Unit3 for gvk::Unit<1>, <2> and <3>, with the
// name tables, the conversion factors and the look-up by name.
#include <gravok/units.h>

#include <cmath>
#include <limits>

#include "common.h"

namespace gravok_python {

namespace {

template <int N>
void bind_unit(py::module_& m, const char* name, const char* what) {
  using U = gvk::Unit<N>;
  py::class_<U> cls(m, name,
                    (std::string("A unit of ") + what +
                     ". A new unit is the unknown one as a default-constructed C++ unit "
                     "has it: type 9, no conversions. Unit" +
                     std::to_string(N) + ".known(type) and .unknown() build the others.")
                        .c_str());
  cls.attr("dimension") = N;
  cls.def(py::init<>())
      .def_readwrite("type", &U::type, "Type id: 0-8 the known units, 9 unknown.")
      .def_readwrite("qualifier", &U::qualifier)
      .def_readwrite("name", &U::name,
                     "Full name (of the length unit, for areas and volumes).")
      .def_readwrite("abbreviation", &U::abbreviation)
      .def_property(
          "conversions",
          [](const U& u) {
            py::list factors;
            for (const auto& f : u.conversions) {
              if (f) {
                factors.append(f());
              } else {
                factors.append(py::none());
              }
            }
            return factors;
          },
          [](U& u, const py::sequence& factors) {
            u.conversions.clear();
            for (py::handle f : factors) {
              if (f.is_none()) {
                u.conversions.emplace_back();
              } else {
                const double factor = f.cast<double>();
                u.conversions.emplace_back([factor] { return factor; });
              }
            }
          },
          "One factor per known unit type (None for an empty one): a quantity in this "
          "unit times conversions[k] is the quantity in unit type k.")
      .def_static(
          "known", [](std::int32_t type) -> U { return gvk::Known<N>(type); },
          py::arg("type"),
          "The known unit of type id `type` (outside 0-8: the unknown unit's values).")
      .def_static(
          "unknown", []() -> U { return gvk::Unknown<N>(); },
          "The unknown unit: type 9 with nine factors of 1.0.")
      .def("__eq__",
           [](const U& a, const U& b) {
             if (a.type != b.type || a.qualifier != b.qualifier || a.name != b.name ||
                 a.abbreviation != b.abbreviation ||
                 a.conversions.size() != b.conversions.size()) {
               return false;
             }
             // A factor that is not a number (a length in an angle unit) equals
             // itself, so that a unit equals its own copy.
             for (std::size_t k = 0; k < a.conversions.size(); ++k) {
               if (!a.conversions[k] != !b.conversions[k]) return false;
               if (!a.conversions[k]) continue;
               const double x = a.conversions[k](), y = b.conversions[k]();
               if (x != y && !(std::isnan(x) && std::isnan(y))) return false;
             }
             return true;
           })
      .def("__copy__", [](const U& u) { return u; })
      .def("__repr__",
           [name](const U& u) {
             return std::string(name) + "(type=" + std::to_string(u.type) + ", name='" +
                    u.name + "')";
           })
      .attr("__hash__") = py::none();
  m.def(
      "convert",
      [](double value, const U& from, const U& to) {
        return gvk::convert(value, from, to);
      },
      py::arg("value"), py::arg("from_unit"), py::arg("to_unit"),
      "`value`, a quantity in `from_unit`, expressed in `to_unit` (unchanged when either "
      "counts as unknown).");
}

}  // namespace

void bind_units(py::module_& m) {
  m.attr("kKnownUnitTypes") = gvk::kKnownUnitTypes;
  m.attr("kUnknownUnitType") = gvk::kUnknownUnitType;
  bind_unit<1>(m, "Unit1", "length");
  bind_unit<2>(m, "Unit2", "area");
  bind_unit<3>(m, "Unit3", "volume");
  m.def("unit_name", &gvk::unit_name, py::arg("type"),
        "Full name of a unit type id; any id outside 0-9 names the unknown unit.");
  m.def("unit_abbreviation", &gvk::unit_abbreviation, py::arg("type"),
        "Abbreviation of a unit type id; '' for the unknown unit and ids outside 0-9.");
  m.def("unit_conversion_factor", &gvk::unit_conversion_factor, py::arg("from_type"),
        py::arg("to_type"), py::arg("power"),
        "The factor from unit type `from_type` to `to_type` at `power` 1, 2 or 3.");
  m.def("find_unit_type", &gvk::find_unit_type, py::arg("text"), py::arg("power"),
        "The unit type id that `text` names at `power`, or -1.");
  m.def(
      "find_unit",
      [](const std::string& text, int dimension) -> py::object {
        switch (dimension) {
          case 1: {
            gvk::Unit<1> u;
            return gvk::find_unit(text, u) ? py::cast(u) : py::none();
          }
          case 2: {
            gvk::Unit<2> u;
            return gvk::find_unit(text, u) ? py::cast(u) : py::none();
          }
          case 3: {
            gvk::Unit<3> u;
            return gvk::find_unit(text, u) ? py::cast(u) : py::none();
          }
          default: throw py::value_error("dimension must be 1, 2 or 3");
        }
      },
      py::arg("text"), py::arg("dimension") = 1,
      "The known unit (Unit1, Unit2 or Unit3 by `dimension`) that `text` names, or "
      "None.");
}

}  // namespace gravok_python
