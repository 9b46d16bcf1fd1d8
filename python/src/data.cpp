// DataSource, DataStore and OffsetDataSource for Python. Python classes derive from
// DataSource and DataStore and override any operation under its C++ name; an
// operation a class does not define answers the library's default, and a pure store
// setter that a class does not define drops its data. Getters that fill containers in
// C++ return their results in Python (see the package's documentation for each
// shape); a Python override returns the same shape, and its result replaces the
// contents of the containers the C++ caller passed.
#include <gravok/data_store.h>
#include <gravok/offset_data_source.h>

#include "common.h"

namespace gravok_python {

namespace {

using Elements = std::vector<gravok_grading_element>;
using Lists = std::vector<std::vector<double>>;

// Looks up the Python override of `name` under the GIL; `override` is empty when the
// Python class does not define it.
#define GRAVOK_PY_LOOKUP(name) \
  py::gil_scoped_acquire gil_; \
  py::function override_ = py::get_override(static_cast<const Base*>(this), name)

// Element getters of the kinds with coordinate lists: the override returns
// (elements, xs, ys).
#define GRAVOK_PY_LIST_GETTER(name)                                    \
  void name(Elements& elements, Lists& xs, Lists& ys) const override { \
    {                                                                  \
      GRAVOK_PY_LOOKUP(#name);                                         \
      if (override_) {                                                 \
        py::tuple result = override_();                                \
        take_lists(result, elements, xs, ys);                          \
        return;                                                        \
      }                                                                \
    }                                                                  \
    Base::name(elements, xs, ys);                                      \
  }

// Element getters of the point kinds: the override returns a list of elements.
#define GRAVOK_PY_POINT_GETTER(name)                      \
  void name(Elements& elements) const override {          \
    {                                                     \
      GRAVOK_PY_LOOKUP(#name);                            \
      if (override_) {                                    \
        elements = override_().template cast<Elements>(); \
        return;                                           \
      }                                                   \
    }                                                     \
    Base::name(elements);                                 \
  }

// (elements, xs, ys) of a result tuple into the containers; None leaves one alone.
void take_lists(const py::tuple& result, Elements& elements, Lists& xs, Lists& ys) {
  if (result.size() != 3) {
    throw py::value_error(
        "an element getter with coordinates returns (elements, xs, ys)");
  }
  if (!result[0].is_none()) elements = result[0].cast<Elements>();
  if (!result[1].is_none()) xs = result[1].cast<Lists>();
  if (!result[2].is_none()) ys = result[2].cast<Lists>();
}

// (elements, xs, ys, complex_data) of a result tuple; None leaves one alone.
void take_complex(const py::tuple& result, Elements& elements, Lists& xs, Lists& ys,
                  ComplexData& data) {
  if (result.size() != 4) {
    throw py::value_error("this getter returns (elements, xs, ys, complex_data)");
  }
  take_lists(py::make_tuple(result[0], result[1], result[2]), elements, xs, ys);
  if (!result[3].is_none()) data = result[3].cast<ComplexData>();
}

template <class Base>
class PySource : public Base {
 public:
  using Base::Base;

  bool load() override { PYBIND11_OVERRIDE(bool, Base, load, ); }

  void get_linear_unit(gvk::Unit<1>& unit) const override {
    get_unit("get_linear_unit", unit);
  }
  void get_area_unit(gvk::Unit<2>& unit) const override {
    get_unit("get_area_unit", unit);
  }
  void get_volume_unit(gvk::Unit<3>& unit) const override {
    get_unit("get_volume_unit", unit);
  }

  void get_surfaces(std::vector<unsigned long long>& ids,
                    std::vector<std::string>& names) const override {
    {
      GRAVOK_PY_LOOKUP("get_surfaces");
      if (override_) {
        py::tuple result = override_();
        if (result.size() != 2)
          throw py::value_error("get_surfaces returns (ids, names)");
        ids = result[0].cast<std::vector<unsigned long long>>();
        names = result[1].cast<std::vector<std::string>>();
        return;
      }
    }
    Base::get_surfaces(ids, names);
  }
  void select_surface(unsigned long long id) override {
    PYBIND11_OVERRIDE(void, Base, select_surface, id);
  }

  void get_eg_data(std::vector<double>& x, std::vector<double>& y, std::vector<double>& z,
                   std::vector<gvk::Triangle>& triangles,
                   std::vector<gravok_triangle_info>& info) override {
    {
      GRAVOK_PY_LOOKUP("get_eg_data");
      if (override_) {
        py::tuple result = override_();
        if (result.size() != 5) {
          throw py::value_error(
              "get_eg_data returns (x, y, z, triangles, triangle_info)");
        }
        x = doubles_from(result[0], "x");
        y = doubles_from(result[1], "y");
        z = doubles_from(result[2], "z");
        triangles = triangles_from(result[3]);
        info = triangle_info_from(result[4]);
        return;
      }
    }
    Base::get_eg_data(x, y, z, triangles, info);
  }

  void get_objectives(std::vector<gravok_objective>& objectives) override {
    {
      GRAVOK_PY_LOOKUP("get_objectives");
      if (override_) {
        objectives = override_().template cast<std::vector<gravok_objective>>();
        return;
      }
    }
    Base::get_objectives(objectives);
  }
  void get_break_lines(std::vector<gravok_line_3d>& lines) const override {
    {
      GRAVOK_PY_LOOKUP("get_break_lines");
      if (override_) {
        lines = override_().template cast<std::vector<gravok_line_3d>>();
        return;
      }
    }
    Base::get_break_lines(lines);
  }

  void get_grading_elements(GradingElementType kind, Elements& elements, Lists& xs,
                            Lists& ys, ComplexData& data) override {
    {
      GRAVOK_PY_LOOKUP("get_grading_elements");
      if (override_) {
        take_complex(override_(kind), elements, xs, ys, data);
        return;
      }
    }
    Base::get_grading_elements(kind, elements, xs, ys, data);
  }

  GRAVOK_PY_LIST_GETTER(get_unclassified)
  GRAVOK_PY_POINT_GETTER(get_low_points)
  GRAVOK_PY_POINT_GETTER(get_bounded_points)
  GRAVOK_PY_POINT_GETTER(get_offsets)
  GRAVOK_PY_LIST_GETTER(get_drain_lines)
  GRAVOK_PY_LIST_GETTER(get_bend_lines)
  GRAVOK_PY_LIST_GETTER(get_aligned_edges)
  GRAVOK_PY_LIST_GETTER(get_trizone_polygons)

  void get_complex_elements(GradingElementType kind, Elements& elements, Lists& xs,
                            Lists& ys, ComplexData& data) const override {
    {
      GRAVOK_PY_LOOKUP("get_complex_elements");
      if (override_) {
        take_complex(override_(kind), elements, xs, ys, data);
        return;
      }
    }
    Base::get_complex_elements(kind, elements, xs, ys, data);
  }

  bool fix_boundary() const override { PYBIND11_OVERRIDE(bool, Base, fix_boundary, ); }
  double get_max_slope() const override {
    PYBIND11_OVERRIDE(double, Base, get_max_slope, );
  }
  double get_min_slope() const override {
    PYBIND11_OVERRIDE(double, Base, get_min_slope, );
  }
  VolumeConstraint get_volume_constraint() const override {
    PYBIND11_OVERRIDE(VolumeConstraint, Base, get_volume_constraint, );
  }
  void get_max_slopes(std::vector<double>& slopes) const override {
    {
      GRAVOK_PY_LOOKUP("get_max_slopes");
      if (override_) {
        slopes = doubles_from(override_(), "max slopes");
        return;
      }
    }
    Base::get_max_slopes(slopes);
  }
  void get_min_slopes(std::vector<double>& slopes) const override {
    {
      GRAVOK_PY_LOOKUP("get_min_slopes");
      if (override_) {
        slopes = doubles_from(override_(), "min slopes");
        return;
      }
    }
    Base::get_min_slopes(slopes);
  }
  mesh_metric get_mesh_metric() const override {
    PYBIND11_OVERRIDE(mesh_metric, Base, get_mesh_metric, );
  }
  double get_xorig() const override { PYBIND11_OVERRIDE(double, Base, get_xorig, ); }
  double get_yorig() const override { PYBIND11_OVERRIDE(double, Base, get_yorig, ); }
  double get_zorig() const override { PYBIND11_OVERRIDE(double, Base, get_zorig, ); }
  long long get_max_iteration_count() const override {
    PYBIND11_OVERRIDE(long long, Base, get_max_iteration_count, );
  }
  double get_epsilon() const override { PYBIND11_OVERRIDE(double, Base, get_epsilon, ); }
  std::string get_hostcad_version() const override {
    PYBIND11_OVERRIDE(std::string, Base, get_hostcad_version, );
  }
  bool is_ge_guid_valid() const override {
    PYBIND11_OVERRIDE(bool, Base, is_ge_guid_valid, );
  }
  // The string lives in this object until its next call.
  const std::string& guid_from_uid(const long long& uid) const override {
    {
      GRAVOK_PY_LOOKUP("guid_from_uid");
      if (override_) {
        m_guid = override_(uid).template cast<std::string>();
        return m_guid;
      }
    }
    return Base::guid_from_uid(uid);
  }

 private:
  template <int N>
  void get_unit(const char* name, gvk::Unit<N>& unit) const {
    {
      GRAVOK_PY_LOOKUP(name);
      if (override_) {
        unit = override_().template cast<gvk::Unit<N>>();
        return;
      }
    }
    if constexpr (N == 1) Base::get_linear_unit(unit);
    if constexpr (N == 2) Base::get_area_unit(unit);
    if constexpr (N == 3) Base::get_volume_unit(unit);
  }

  mutable std::string m_guid;
};

// Calls the Python setter `name` when the class defines it; otherwise the data is
// dropped (the C++ operation is pure and has no default).
#define GRAVOK_PY_SETTER(name, params, ...) \
  void name params override {               \
    GRAVOK_PY_LOOKUP(#name);                \
    if (override_) override_(__VA_ARGS__);  \
  }

py::list element_list(const Elements& elements) { return py::cast(elements); }

class PyStore : public PySource<gvk::DataStore> {
 public:
  using Base = gvk::DataStore;

  void beginBulkOperation() const override {
    PYBIND11_OVERRIDE(void, Base, beginBulkOperation, );
  }
  void endBulkOperation() const override {
    PYBIND11_OVERRIDE(void, Base, endBulkOperation, );
  }

  GRAVOK_PY_SETTER(set_units,
                   (const gvk::Unit<1>& linear, const gvk::Unit<2>& area,
                    const gvk::Unit<3>& volume),
                   linear, area, volume)
  void set_eg_data(const std::vector<double>& x, const std::vector<double>& y,
                   const std::vector<double>& z,
                   const std::vector<gvk::Triangle>& triangles,
                   const std::vector<gravok_triangle_info>& info) override {
    GRAVOK_PY_LOOKUP("set_eg_data");
    if (!override_) return;
    override_(copy_to_array(x), copy_to_array(y), copy_to_array(z),
              copy_to_array(triangles), copy_to_array(info));
  }
  GRAVOK_PY_SETTER(set_break_lines, (const std::vector<gravok_line_3d>& lines),
                   py::cast(lines))
  GRAVOK_PY_SETTER(set_objectives, (const std::vector<gravok_objective>& objectives),
                   py::cast(objectives))

  void set_grading_elements(GradingElementType kind, const Elements& elements) override {
    {
      GRAVOK_PY_LOOKUP("set_grading_elements");
      if (override_) {
        override_(kind, element_list(elements));
        return;
      }
    }
    Base::set_grading_elements(kind, elements);
  }

  GRAVOK_PY_SETTER(set_low_points, (const Elements& elements), element_list(elements))
  GRAVOK_PY_SETTER(set_bounded_points, (const Elements& elements), element_list(elements))
  GRAVOK_PY_SETTER(set_offsets, (const Elements& elements), element_list(elements))
  GRAVOK_PY_SETTER(set_drain_lines, (const Elements& elements), element_list(elements))
  GRAVOK_PY_SETTER(set_bend_lines, (const Elements& elements), element_list(elements))
  GRAVOK_PY_SETTER(set_aligned_edges, (const Elements& elements), element_list(elements))
  GRAVOK_PY_SETTER(set_trizone_polygons, (const Elements& elements),
                   element_list(elements))
  GRAVOK_PY_SETTER(set_complex_elements,
                   (GradingElementType kind, const Elements& elements), kind,
                   element_list(elements))
  GRAVOK_PY_SETTER(set_fix_boundary, (bool fix), fix)
  GRAVOK_PY_SETTER(set_max_slope, (double slope), slope)
  GRAVOK_PY_SETTER(set_min_slope, (double slope), slope)
  GRAVOK_PY_SETTER(set_volume_constraint, (VolumeConstraint constraint), constraint)
  GRAVOK_PY_SETTER(set_max_slopes, (const std::vector<double>& slopes),
                   copy_to_array(slopes))
  GRAVOK_PY_SETTER(set_min_slopes, (const std::vector<double>& slopes),
                   copy_to_array(slopes))
  GRAVOK_PY_SETTER(set_mesh_metric, (mesh_metric metric), metric)
  GRAVOK_PY_SETTER(set_max_iteration_count, (long long count), count)
  GRAVOK_PY_SETTER(set_epsilon, (double epsilon), epsilon)

  void set_transferred_units(const gvk::Unit<1>& linear, const gvk::Unit<2>& area,
                             const gvk::Unit<3>& volume) override {
    PYBIND11_OVERRIDE(void, Base, set_transferred_units, linear, area, volume);
  }
  void set_transferred_break_lines(const std::vector<gravok_line_3d>& lines) override {
    {
      GRAVOK_PY_LOOKUP("set_transferred_break_lines");
      if (override_) {
        override_(py::cast(lines));
        return;
      }
    }
    Base::set_transferred_break_lines(lines);
  }
  void set_transferred_grading_elements(GradingElementType kind, const Elements& elements,
                                        const Lists& xs, const Lists& ys,
                                        const ComplexData& data) override {
    {
      GRAVOK_PY_LOOKUP("set_transferred_grading_elements");
      if (override_) {
        override_(kind, element_list(elements), py::cast(xs), py::cast(ys),
                  py::cast(data));
        return;
      }
    }
    Base::set_transferred_grading_elements(kind, elements, xs, ys, data);
  }
  void set_hostcad_version(const std::string& version) override {
    PYBIND11_OVERRIDE(void, Base, set_hostcad_version, version);
  }
};

// Python-side calls of the element getters: the results the C++ call fills.
template <void (gvk::DataSource::*Getter)(Elements&, Lists&, Lists&) const>
py::tuple call_list_getter(const gvk::DataSource& source) {
  Elements elements;
  Lists xs, ys;
  (source.*Getter)(elements, xs, ys);
  return py::make_tuple(elements, xs, ys);
}

template <void (gvk::DataSource::*Getter)(Elements&) const>
Elements call_point_getter(const gvk::DataSource& source) {
  Elements elements;
  (source.*Getter)(elements);
  return elements;
}

template <void (gvk::DataStore::*Setter)(const Elements&)>
void call_setter(gvk::DataStore& store, const Elements& elements) {
  (store.*Setter)(elements);
}

}  // namespace

void bind_data(py::module_& m) {
  py::class_<ComplexData>(m, "ComplexElementData",
                          "Extra data of complex elements: eleven lists of float lists "
                          "and one list of int lists. The library never reads it. Each "
                          "field is converted whole: assign a new list to change it.")
      .def(py::init<>())
      .def_readwrite("double_lists_1", &ComplexData::double_lists_1)
      .def_readwrite("double_lists_2", &ComplexData::double_lists_2)
      .def_readwrite("double_lists_3", &ComplexData::double_lists_3)
      .def_readwrite("double_lists_4", &ComplexData::double_lists_4)
      .def_readwrite("double_lists_5", &ComplexData::double_lists_5)
      .def_readwrite("double_lists_6", &ComplexData::double_lists_6)
      .def_readwrite("double_lists_7", &ComplexData::double_lists_7)
      .def_readwrite("double_lists_8", &ComplexData::double_lists_8)
      .def_readwrite("double_lists_9", &ComplexData::double_lists_9)
      .def_readwrite("double_lists_10", &ComplexData::double_lists_10)
      .def_readwrite("double_lists_11", &ComplexData::double_lists_11)
      .def_readwrite("int_lists", &ComplexData::int_lists)
      .def("__eq__",
           [](const ComplexData& a, const ComplexData& b) {
             return a.double_lists_1 == b.double_lists_1 &&
                    a.double_lists_2 == b.double_lists_2 &&
                    a.double_lists_3 == b.double_lists_3 &&
                    a.double_lists_4 == b.double_lists_4 &&
                    a.double_lists_5 == b.double_lists_5 &&
                    a.double_lists_6 == b.double_lists_6 &&
                    a.double_lists_7 == b.double_lists_7 &&
                    a.double_lists_8 == b.double_lists_8 &&
                    a.double_lists_9 == b.double_lists_9 &&
                    a.double_lists_10 == b.double_lists_10 &&
                    a.double_lists_11 == b.double_lists_11 && a.int_lists == b.int_lists;
           })
      .attr("__hash__") = py::none();

  using S = gvk::DataSource;
  py::class_<S, PySource<S>> source(
      m, "DataSource",
      "A grading problem to read. Derive from it and override any operation; what a "
      "class does not define answers the library's default, so DataSource() is a "
      "complete, empty problem. Subclasses call super().__init__().");
  source.def(py::init<>())
      .def("load", &S::load, "Asks the source to read its data; default False.")
      .def(
          "get_linear_unit",
          [](const S& s) {
            gvk::Unit<1> unit;
            s.get_linear_unit(unit);
            return unit;
          },
          "The source's length unit (Unit1); default the unknown unit.")
      .def(
          "get_area_unit",
          [](const S& s) {
            gvk::Unit<2> unit;
            s.get_area_unit(unit);
            return unit;
          },
          "The source's area unit (Unit2).")
      .def(
          "get_volume_unit",
          [](const S& s) {
            gvk::Unit<3> unit;
            s.get_volume_unit(unit);
            return unit;
          },
          "The source's volume unit (Unit3).")
      .def(
          "get_surfaces",
          [](const S& s) {
            std::vector<unsigned long long> ids;
            std::vector<std::string> names;
            s.get_surfaces(ids, names);
            return py::make_tuple(ids, names);
          },
          "(ids, names): the surfaces the source offers, as two parallel lists.")
      .def("select_surface", &S::select_surface, py::arg("id"),
           "Makes one surface current for the following queries; default nothing.")
      .def(
          "get_eg_data",
          [](S& s) {
            std::vector<double> x, y, z;
            std::vector<gvk::Triangle> triangles;
            std::vector<gravok_triangle_info> info;
            {
              py::gil_scoped_release unlocked;
              s.get_eg_data(x, y, z, triangles, info);
            }
            return py::make_tuple(to_array(std::move(x)), to_array(std::move(y)),
                                  to_array(std::move(z)), to_array(std::move(triangles)),
                                  to_array(std::move(info)));
          },
          "(x, y, z, triangles, triangle_info): the existing-ground mesh as float64 "
          "arrays x, y, z, an (n, 3) uint64 array of 0-based vertex indices and an "
          "(n, 40) uint8 array of per-triangle records.")
      .def(
          "get_objectives",
          [](S& s) {
            std::vector<gravok_objective> objectives;
            s.get_objectives(objectives);
            return objectives;
          },
          "The objectives: a list of gravok_objective.")
      .def(
          "get_break_lines",
          [](const S& s) {
            std::vector<gravok_line_3d> lines;
            s.get_break_lines(lines);
            return lines;
          },
          "The break lines: a list of gravok_line_3d.")
      .def(
          "get_grading_elements",
          [](S& s, GradingElementType kind) {
            Elements elements;
            Lists xs, ys;
            ComplexData data;
            s.get_grading_elements(kind, elements, xs, ys, data);
            return py::make_tuple(elements, xs, ys, data);
          },
          py::arg("kind"),
          "(elements, xs, ys, complex_data) of one kind, through the getter of that "
          "kind.")
      .def("get_unclassified", &call_list_getter<&S::get_unclassified>,
           "(elements, xs, ys): records and one x list and one y list per element.")
      .def("get_low_points", &call_point_getter<&S::get_low_points>,
           "The low points: a list of gravok_grading_element.")
      .def("get_bounded_points", &call_point_getter<&S::get_bounded_points>,
           "The bounded points: a list of gravok_grading_element.")
      .def("get_offsets", &call_point_getter<&S::get_offsets>,
           "The offsets: a list of gravok_grading_element.")
      .def("get_drain_lines", &call_list_getter<&S::get_drain_lines>,
           "(elements, xs, ys) of the drain lines.")
      .def("get_bend_lines", &call_list_getter<&S::get_bend_lines>,
           "(elements, xs, ys) of the bend lines.")
      .def("get_aligned_edges", &call_list_getter<&S::get_aligned_edges>,
           "(elements, xs, ys) of the aligned edges.")
      .def("get_trizone_polygons", &call_list_getter<&S::get_trizone_polygons>,
           "(elements, xs, ys) of the surface zones.")
      .def(
          "get_complex_elements",
          [](const S& s, GradingElementType kind) {
            Elements elements;
            Lists xs, ys;
            ComplexData data;
            s.get_complex_elements(kind, elements, xs, ys, data);
            return py::make_tuple(elements, xs, ys, data);
          },
          py::arg("kind"), "(elements, xs, ys, complex_data) of one complex kind.")
      .def("fix_boundary", &S::fix_boundary, "Default True.")
      .def("get_max_slope", &S::get_max_slope, "Default 0.33.")
      .def("get_min_slope", &S::get_min_slope, "Default 0.005.")
      .def("get_volume_constraint", &S::get_volume_constraint, "Default Unconstrained.")
      .def(
          "get_max_slopes",
          [](const S& s) {
            std::vector<double> slopes;
            s.get_max_slopes(slopes);
            return to_array(std::move(slopes));
          },
          "A float64 array; default empty.")
      .def(
          "get_min_slopes",
          [](const S& s) {
            std::vector<double> slopes;
            s.get_min_slopes(slopes);
            return to_array(std::move(slopes));
          },
          "A float64 array; default empty.")
      .def("get_mesh_metric", &S::get_mesh_metric, "Default default_mesh_metric().")
      .def("get_xorig", &S::get_xorig, "Origin of the x coordinates; default 0.0.")
      .def("get_yorig", &S::get_yorig, "Origin of the y coordinates; default 0.0.")
      .def("get_zorig", &S::get_zorig, "Origin of the z coordinates; default 0.0.")
      .def("get_max_iteration_count", &S::get_max_iteration_count, "Default 100000.")
      .def("get_epsilon", &S::get_epsilon, "Default 0.0.")
      .def("get_hostcad_version", &S::get_hostcad_version, "Default ''.")
      .def("is_ge_guid_valid", &S::is_ge_guid_valid, "Default False.")
      .def(
          "guid_from_uid",
          [](const S& s, long long uid) { return std::string(s.guid_from_uid(uid)); },
          py::arg("uid"), "The GUID string whose uid is `uid`; default ''.")
      .def_static(
          "ComputeOrigin",
          [](py::handle x, py::handle y, py::handle z) {
            std::vector<double> xs = doubles_from(x, "x"), ys = doubles_from(y, "y"),
                                zs = doubles_from(z, "z");
            if (ys.size() < xs.size() || zs.size() < xs.size()) {
              throw py::value_error("y and z must be at least as long as x");
            }
            double xo = 0, yo = 0, zo = 0;
            S::ComputeOrigin(xs, ys, zs, xo, yo, zo);
            return py::make_tuple(to_array(std::move(xs)), to_array(std::move(ys)),
                                  to_array(std::move(zs)), xo, yo, zo);
          },
          py::arg("x"), py::arg("y"), py::arg("z"),
          "(x, y, z, xorig, yorig, zorig): the points moved to the centre of their "
          "bounding box as origin (new arrays), and that origin.");
  source.attr("m_emptyGUID") = S::m_emptyGUID;
  // The class, the origin and the length unit: what tells two sources apart at a
  // glance, asked through const getters only (nothing is read or changed).
  source.def("__repr__", [](const py::object& self) {
    const S& s = self.cast<const S&>();
    gvk::Unit<1> unit;
    s.get_linear_unit(unit);
    const auto number = [](double v) {
      return py::repr(py::float_(v)).cast<std::string>();
    };
    return "<" + py::str(self.get_type().attr("__name__")).cast<std::string>() +
           " origin=(" + number(s.get_xorig()) + ", " + number(s.get_yorig()) + ", " +
           number(s.get_zorig()) + ") linear_unit='" + unit.name + "'>";
  });

  using D = gvk::DataStore;
  py::class_<D, S, PyStore>(
      m, "DataStore",
      "A receiver of a grading problem, and a source too. Derive from it and define the "
      "setters you need: a setter a class does not define drops its data; the other "
      "operations answer the library's defaults. Subclasses call super().__init__().")
      .def(py::init<>())
      .def("beginBulkOperation", &D::beginBulkOperation,
           "Opens a run of setter calls that belong together; default nothing.")
      .def("endBulkOperation", &D::endBulkOperation,
           "Closes the run that beginBulkOperation opened; default nothing.")
      .def(
          "__enter__",
          [](py::object self) {
            self.cast<D&>().beginBulkOperation();
            return self;
          },
          "`with store:` opens the bulk bracket (beginBulkOperation) and returns the "
          "store.")
      .def(
          "__exit__",
          [](D& d, const py::object& type, const py::object&, const py::object&) {
            if (type.is_none()) d.endBulkOperation();
            return false;
          },
          "Closes the bracket (endBulkOperation; a store that writes when it closes "
          "writes then, and its failure is raised). When the block raised, the "
          "bracket is left open, so such a store writes nothing of the half-given "
          "problem; the exception goes on.")
      .def("set_units", &D::set_units, py::arg("linear"), py::arg("area"),
           py::arg("volume"),
           "The units (Unit1, Unit2, Unit3); the transfers never call it.")
      .def(
          "set_eg_data",
          [](D& d, py::handle x, py::handle y, py::handle z, py::handle triangles,
             py::handle info) {
            std::vector<double> xs = doubles_from(x, "x"), ys = doubles_from(y, "y"),
                                zs = doubles_from(z, "z");
            std::vector<gvk::Triangle> t = triangles_from(triangles);
            std::vector<gravok_triangle_info> i = triangle_info_from(info);
            py::gil_scoped_release unlocked;
            d.set_eg_data(xs, ys, zs, t, i);
          },
          py::arg("x"), py::arg("y"), py::arg("z"), py::arg("triangles"),
          py::arg("triangle_info") = py::none(),
          "The mesh as get_eg_data gives it: x, y, z, (n, 3) triangles and (n, 40) uint8 "
          "triangle records (or a list of gravok_triangle_info; None for none).")
      .def("set_break_lines", &D::set_break_lines, py::arg("lines"),
           "The break lines (gravok_line_3d); the transfers never call it.")
      .def("set_objectives", &D::set_objectives, py::arg("objectives"),
           "The objectives (gravok_objective).")
      .def("set_grading_elements", &D::set_grading_elements, py::arg("kind"),
           py::arg("elements"), "Routes the elements to the setter of their kind.")
      .def("set_low_points", &call_setter<&D::set_low_points>, py::arg("elements"),
           "The records of this kind, the complete list in one call.")
      .def("set_bounded_points", &call_setter<&D::set_bounded_points>,
           py::arg("elements"),
           "The records of this kind, the complete list in one call.")
      .def("set_offsets", &call_setter<&D::set_offsets>, py::arg("elements"),
           "The records of this kind, the complete list in one call.")
      .def("set_drain_lines", &call_setter<&D::set_drain_lines>, py::arg("elements"),
           "The records of this kind, the complete list in one call.")
      .def("set_bend_lines", &call_setter<&D::set_bend_lines>, py::arg("elements"),
           "The records of this kind, the complete list in one call.")
      .def("set_aligned_edges", &call_setter<&D::set_aligned_edges>, py::arg("elements"),
           "The records of this kind, the complete list in one call.")
      .def("set_trizone_polygons", &call_setter<&D::set_trizone_polygons>,
           py::arg("elements"), "The records of the surface zones.")
      .def("set_complex_elements", &D::set_complex_elements, py::arg("kind"),
           py::arg("elements"), "The records of one complex kind (100 and up).")
      .def("set_fix_boundary", &D::set_fix_boundary, py::arg("fix"),
           "The setting fix_boundary answers.")
      .def("set_max_slope", &D::set_max_slope, py::arg("slope"),
           "The setting get_max_slope answers.")
      .def("set_min_slope", &D::set_min_slope, py::arg("slope"),
           "The setting get_min_slope answers.")
      .def("set_volume_constraint", &D::set_volume_constraint, py::arg("constraint"),
           "The setting get_volume_constraint answers.")
      .def(
          "set_max_slopes",
          [](D& d, py::handle slopes) {
            d.set_max_slopes(doubles_from(slopes, "slopes"));
          },
          py::arg("slopes"), "The per-zone maximum slopes, any 1-D array-like.")
      .def(
          "set_min_slopes",
          [](D& d, py::handle slopes) {
            d.set_min_slopes(doubles_from(slopes, "slopes"));
          },
          py::arg("slopes"), "The per-zone minimum slopes, any 1-D array-like.")
      .def("set_mesh_metric", &D::set_mesh_metric, py::arg("metric"),
           "The setting get_mesh_metric answers.")
      .def("set_max_iteration_count", &D::set_max_iteration_count, py::arg("count"),
           "The setting get_max_iteration_count answers.")
      .def("set_epsilon", &D::set_epsilon, py::arg("epsilon"),
           "The setting get_epsilon answers.")
      .def("set_transferred_units", &D::set_transferred_units, py::arg("linear"),
           py::arg("area"), py::arg("volume"), "Default: the units are dropped.")
      .def("set_transferred_break_lines", &D::set_transferred_break_lines,
           py::arg("lines"), "Default: the lines are dropped.")
      .def("set_transferred_grading_elements", &D::set_transferred_grading_elements,
           py::arg("kind"), py::arg("elements"), py::arg("xs"), py::arg("ys"),
           py::arg("complex_data"),
           "Default: the records go to set_grading_elements; the rest is dropped.")
      .def("set_hostcad_version", &D::set_hostcad_version, py::arg("version"),
           "Default: nothing.")
      .def(
          "copyFrom",
          [](D& d, S& source) {
            py::gil_scoped_release unlocked;
            d.copyFrom(source);
          },
          py::arg("source"),
          "Moves the settings, the mesh and the element records of `source` into this "
          "store, re-expressed in this store's origin, inside one bulk bracket. An "
          "exception (a Python one raised by an override included) stops the transfer "
          "and reaches the caller unchanged; endBulkOperation is then not called.")
      .def(
          "copyAllFrom",
          [](D& d, S& source) {
            py::gil_scoped_release unlocked;
            d.copyAllFrom(source);
          },
          py::arg("source"),
          "The complete transfer: copyFrom's parts and the units, host version, break "
          "lines, coordinate lists and complex data, through the set_transferred_* "
          "operations.");

  // Its trampoline is a source's, so a Python subclass's overrides reach C++ callers
  // (copyFrom, copyAllFrom) as those of a DataSource subclass do; what it does not
  // override moves the wrapped source's answers.
  py::class_<gvk::OffsetDataSource, S, PySource<gvk::OffsetDataSource>>(
      m, "OffsetDataSource",
      "Wraps a source and moves its coordinates by (dx, dy, dz) while its origin moves "
      "by minus as much. It keeps the wrapped source alive. Subclasses call "
      "super().__init__(source, dx, dy, dz); their overrides are honoured by every "
      "caller, C++ transfers included.")
      .def(py::init<S&, double, double, double>(), py::arg("source"), py::arg("dx"),
           py::arg("dy"), py::arg("dz"), py::keep_alive<1, 2>());
}

}  // namespace gravok_python
