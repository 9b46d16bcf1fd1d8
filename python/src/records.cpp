// The exchange records, the three enumerations, the catalogue of kinds, and the
// conversions between vectors and NumPy arrays that the other families share.
#include <gravok/element_types.h>
#include <gravok/mesh_tools.h>

#include <cstdint>
#include <cstring>
#include <sstream>

#if defined(__linux__)
#include <sys/mman.h>
#endif

#include "common.h"

namespace gravok_python {

namespace {

// A vector holding a copy of `count` values of T at `data`. On Linux, a large buffer
// is first advised to use transparent huge pages, as NumPy does for its own arrays:
// with the kernel's default "madvise" mode, filling 100 MB of fresh 4 KiB pages costs
// several times the copy itself, in page faults. The advice is a hint; a kernel that
// refuses it changes nothing but the speed.
template <class T>
std::vector<T> vector_copy_of(const void* data, std::size_t count) {
  std::vector<T> result;
  result.reserve(count);
#if defined(__linux__)
  constexpr std::uintptr_t kHugePage = std::uintptr_t{2} << 20;
  const auto begin = reinterpret_cast<std::uintptr_t>(result.data());
  const std::uintptr_t end = begin + count * sizeof(T);
  const std::uintptr_t first = (begin + kHugePage - 1) & ~(kHugePage - 1);
  if (end > first && end - first >= kHugePage) {
    madvise(reinterpret_cast<void*>(first), (end - first) & ~(kHugePage - 1),
            MADV_HUGEPAGE);
  }
#endif
  result.resize(count);
  if (count) std::memcpy(result.data(), data, count * sizeof(T));
  return result;
}

template <std::size_t N>
py::bytes block_bytes(const unsigned char (&block)[N]) {
  return py::bytes(reinterpret_cast<const char*>(block), N);
}

// Copies exactly N bytes into `block`; ValueError for any other length.
template <std::size_t N>
void set_block(unsigned char (&block)[N], const py::bytes& value, const char* field) {
  const std::string text = value;
  if (text.size() != N) {
    throw py::value_error(std::string(field) + " takes exactly " + std::to_string(N) +
                          " bytes, not " + std::to_string(text.size()));
  }
  std::memcpy(block, text.data(), N);
}

template <class T>
bool same_bytes(const T& a, const T& b) {
  return std::memcmp(&a, &b, sizeof(T)) == 0;
}

// The whole record as bytes, and back: the record's exact binary image.
template <class T>
void bind_byte_image(py::class_<T>& cls) {
  cls.def(
         "to_bytes",
         [](const T& self) {
           return py::bytes(reinterpret_cast<const char*>(&self), sizeof(T));
         },
         "The record's binary image, exactly as C++ holds it.")
      .def_static(
          "from_bytes",
          [](const py::bytes& image) {
            const std::string text = image;
            if (text.size() != sizeof(T)) {
              throw py::value_error("a record image takes exactly " +
                                    std::to_string(sizeof(T)) + " bytes");
            }
            T record;
            std::memcpy(&record, text.data(), sizeof(T));
            return record;
          },
          py::arg("image"),
          "The record whose binary image is `image` (ValueError for another length).")
      .def(
          "__eq__", [](const T& a, const T& b) { return same_bytes(a, b); },
          "Equal when the binary images are equal (NaN payloads included).")
      .def("__copy__", [](const T& self) { return self; })
      .def(
          "__deepcopy__", [](const T& self, py::dict) { return self; }, py::arg("memo"));
  cls.attr("__hash__") = py::none();
}

}  // namespace

py::array_t<double> to_array(std::vector<double>&& values) {
  auto* owned = new std::vector<double>(std::move(values));
  py::capsule free_when_done(
      owned, [](void* p) { delete static_cast<std::vector<double>*>(p); });
  return py::array_t<double>(static_cast<py::ssize_t>(owned->size()), owned->data(),
                             free_when_done);
}

py::array_t<unsigned long long> to_array(std::vector<gvk::Triangle>&& triangles) {
  auto* owned = new std::vector<gvk::Triangle>(std::move(triangles));
  py::capsule free_when_done(
      owned, [](void* p) { delete static_cast<std::vector<gvk::Triangle>*>(p); });
  return py::array_t<unsigned long long>(
      {static_cast<py::ssize_t>(owned->size()), py::ssize_t{3}},
      reinterpret_cast<const unsigned long long*>(owned->data()), free_when_done);
}

py::array_t<unsigned char> to_array(std::vector<gravok_triangle_info>&& info) {
  auto* owned = new std::vector<gravok_triangle_info>(std::move(info));
  py::capsule free_when_done(
      owned, [](void* p) { delete static_cast<std::vector<gravok_triangle_info>*>(p); });
  return py::array_t<unsigned char>(
      {static_cast<py::ssize_t>(owned->size()), py::ssize_t{40}},
      reinterpret_cast<const unsigned char*>(owned->data()), free_when_done);
}

py::array_t<double> copy_to_array(const std::vector<double>& values) {
  py::array_t<double> array(static_cast<py::ssize_t>(values.size()));
  if (!values.empty())
    std::memcpy(array.mutable_data(), values.data(), values.size() * sizeof(double));
  return array;
}

py::array_t<unsigned long long> copy_to_array(
    const std::vector<gvk::Triangle>& triangles) {
  py::array_t<unsigned long long> array(
      {static_cast<py::ssize_t>(triangles.size()), py::ssize_t{3}});
  if (!triangles.empty()) {
    std::memcpy(array.mutable_data(), triangles.data(),
                triangles.size() * sizeof(gvk::Triangle));
  }
  return array;
}

py::array_t<unsigned char> copy_to_array(const std::vector<gravok_triangle_info>& info) {
  py::array_t<unsigned char> array(
      {static_cast<py::ssize_t>(info.size()), py::ssize_t{40}});
  if (!info.empty()) {
    std::memcpy(array.mutable_data(), info.data(),
                info.size() * sizeof(gravok_triangle_info));
  }
  return array;
}

std::vector<double> doubles_from(py::handle values, const char* what) {
  auto array =
      py::array_t<double, py::array::c_style | py::array::forcecast>::ensure(values);
  if (!array) {
    PyErr_Clear();
    throw py::type_error(std::string(what) + " must be a 1-D sequence of numbers");
  }
  if (array.ndim() != 1) {
    throw py::value_error(std::string(what) + " must be 1-D, not " +
                          std::to_string(array.ndim()) + "-D");
  }
  return vector_copy_of<double>(array.data(), static_cast<std::size_t>(array.size()));
}

std::vector<gvk::Triangle> triangles_from(py::handle triangles) {
  py::module_ np = py::module_::import("numpy");
  py::array any = np.attr("asarray")(triangles);
  if (any.size() == 0) return {};
  const char kind = any.dtype().kind();
  if (kind != 'u' && kind != 'i') {
    throw py::type_error("triangles must hold integers, not dtype " +
                         std::string(py::str(any.dtype())));
  }
  if (any.ndim() != 2 || any.shape(1) != 3) {
    throw py::value_error("triangles must have the shape (n, 3)");
  }
  if (kind == 'i' && py::bool_(np.attr("any")(any.attr("__lt__")(0)))) {
    throw py::value_error("triangles hold a negative vertex index");
  }
  auto array =
      py::array_t<unsigned long long, py::array::c_style | py::array::forcecast>::ensure(
          any);
  return vector_copy_of<gvk::Triangle>(array.data(),
                                       static_cast<std::size_t>(array.shape(0)));
}

std::vector<gravok_triangle_info> triangle_info_from(py::handle info) {
  if (info.is_none()) return {};
  if (py::isinstance<py::array>(info) || py::isinstance<py::bytes>(info)) {
    auto array =
        py::array_t<unsigned char, py::array::c_style | py::array::forcecast>::ensure(
            info);
    if (!array) throw py::error_already_set();
    if (array.size() == 0) return {};
    if (array.ndim() != 2 || array.shape(1) != 40) {
      throw py::value_error("triangle_info must have the shape (n, 40)");
    }
    return vector_copy_of<gravok_triangle_info>(array.data(),
                                                static_cast<std::size_t>(array.shape(0)));
  }
  return info.cast<std::vector<gravok_triangle_info>>();
}

py::str str_from_units(const std::wstring& units) {
  std::u16string text(units.size(), u'\0');
  for (std::size_t i = 0; i < units.size(); ++i) {
    text[i] = static_cast<char16_t>(static_cast<unsigned long>(units[i]) & 0xFFFFu);
  }
  int byte_order = -1;  // little-endian, as char16_t is on every platform we build for
  PyObject* result = PyUnicode_DecodeUTF16(reinterpret_cast<const char*>(text.data()),
                                           static_cast<Py_ssize_t>(text.size() * 2),
                                           "surrogatepass", &byte_order);
  if (!result) throw py::error_already_set();
  return py::reinterpret_steal<py::str>(result);
}

std::wstring units_from_str(const py::str& text) {
  PyObject* bytes = PyUnicode_AsEncodedString(text.ptr(), "utf-16-le", "surrogatepass");
  if (!bytes) throw py::error_already_set();
  const std::string data = py::reinterpret_steal<py::bytes>(bytes);
  std::wstring units(data.size() / 2, L'\0');
  for (std::size_t i = 0; i < units.size(); ++i) {
    units[i] = static_cast<wchar_t>(static_cast<unsigned char>(data[2 * i]) |
                                    (static_cast<unsigned char>(data[2 * i + 1]) << 8));
  }
  return units;
}

void drop_reference(py::object& object) {
  if (Py_IsInitialized()) {
    py::gil_scoped_acquire gil;
    object = py::object();
  } else {
    object.release();
  }
}

void bind_records(py::module_& m) {
  py::enum_<GradingElementType>(
      m, "GradingElementType", py::arithmetic(),
      "Kind of a grading element: 0 to 7 simple kinds, 100 and up "
      "complex kinds. Any 32-bit value is a valid kind; plain ints "
      "are accepted wherever a kind is taken.")
      .value("LowPoint", LowPoint)
      .value("BoundedPoint", BoundedPoint)
      .value("AlignedEdge", AlignedEdge)
      .value("Offset", Offset)
      .value("DrainLine", DrainLine)
      .value("SurfaceZone", SurfaceZone)
      .value("BendLine", BendLine)
      .value("Unclassified", Unclassified)
      .value("Curb", Curb)
      .value("BuildingPad", BuildingPad)
      .value("Pond", Pond)
      .value("ParkingLot", ParkingLot)
      .value("RetWall", RetWall)
      .value("Pathway", Pathway)
      .export_values();
  py::enum_<TriZoneType>(m, "TriZoneType", py::arithmetic(), "Kind of a surface zone.")
      .value("Generic", Generic)
      .value("Exclusion", Exclusion)
      .export_values();
  py::enum_<VolumeConstraint>(m, "VolumeConstraint", py::arithmetic(),
                              "Kind of volume constraint; other values pass unchanged.")
      .value("Unconstrained", Unconstrained)
      .export_values();
  py::implicitly_convertible<py::int_, GradingElementType>();
  py::implicitly_convertible<py::int_, TriZoneType>();
  py::implicitly_convertible<py::int_, VolumeConstraint>();

  py::class_<gravok_grading_element> element(
      m, "gravok_grading_element",
      "One grading element of any kind (480 bytes): attributes (312 bytes), location (6 "
      "floats; a NumPy view into the record, so element.location[0] += 1 changes it) "
      "and trailer (120 bytes). A new element is all zero bytes, as initge makes it.");
  element
      .def(py::init([](py::object attributes, py::object location, py::object trailer) {
             gravok_grading_element e;
             gvk::initge(e);
             if (!attributes.is_none()) set_block(e.attributes, attributes, "attributes");
             if (!location.is_none()) {
               const std::vector<double> values = doubles_from(location, "location");
               if (values.size() != 6) throw py::value_error("location takes 6 values");
               std::copy(values.begin(), values.end(), e.location);
             }
             if (!trailer.is_none()) set_block(e.trailer, trailer, "trailer");
             return e;
           }),
           py::arg("attributes") = py::none(), py::arg("location") = py::none(),
           py::arg("trailer") = py::none())
      .def_property(
          "attributes",
          [](const gravok_grading_element& e) { return block_bytes(e.attributes); },
          [](gravok_grading_element& e, const py::bytes& v) {
            set_block(e.attributes, v, "attributes");
          },
          "312 opaque bytes, copied verbatim by the library.")
      .def_property(
          "location",
          [](py::object self) {
            auto& e = self.cast<gravok_grading_element&>();
            return py::array_t<double>(6, e.location, self);
          },
          [](gravok_grading_element& e, py::handle v) {
            const std::vector<double> values = doubles_from(v, "location");
            if (values.size() != 6) throw py::value_error("location takes 6 values");
            std::copy(values.begin(), values.end(), e.location);
          },
          "The six location slots, as a float64 view into the record.")
      .def_property(
          "trailer",
          [](const gravok_grading_element& e) { return block_bytes(e.trailer); },
          [](gravok_grading_element& e, const py::bytes& v) {
            set_block(e.trailer, v, "trailer");
          },
          "120 opaque bytes, copied verbatim by the library.")
      .def("__repr__", [](const gravok_grading_element& e) {
        std::ostringstream text;
        text << "gravok_grading_element(location=[";
        for (int i = 0; i < 6; ++i) text << (i ? ", " : "") << e.location[i];
        text << "])";
        return text.str();
      });
  bind_byte_image(element);

  py::class_<gravok_line_3d> line(
      m, "gravok_line_3d", "One break-line segment from (x1, y1, z1) to (x2, y2, z2).");
  line.def(py::init([](double x1, double y1, double z1, double x2, double y2, double z2) {
             return gravok_line_3d{x1, y1, z1, x2, y2, z2};
           }),
           py::arg("x1") = 0.0, py::arg("y1") = 0.0, py::arg("z1") = 0.0,
           py::arg("x2") = 0.0, py::arg("y2") = 0.0, py::arg("z2") = 0.0)
      .def_readwrite("x1", &gravok_line_3d::x1)
      .def_readwrite("y1", &gravok_line_3d::y1)
      .def_readwrite("z1", &gravok_line_3d::z1)
      .def_readwrite("x2", &gravok_line_3d::x2)
      .def_readwrite("y2", &gravok_line_3d::y2)
      .def_readwrite("z2", &gravok_line_3d::z2)
      .def("__repr__", [](const gravok_line_3d& l) {
        std::ostringstream text;
        text << "gravok_line_3d(" << l.x1 << ", " << l.y1 << ", " << l.z1 << ", " << l.x2
             << ", " << l.y2 << ", " << l.z2 << ")";
        return text.str();
      });
  bind_byte_image(line);

  py::class_<gravok_objective> objective(m, "gravok_objective",
                                         "One objective: 24 opaque bytes in `data`.");
  objective
      .def(py::init([](py::object data) {
             gravok_objective o{};
             if (!data.is_none()) set_block(o.data, data, "data");
             return o;
           }),
           py::arg("data") = py::none())
      .def_property(
          "data", [](const gravok_objective& o) { return block_bytes(o.data); },
          [](gravok_objective& o, const py::bytes& v) { set_block(o.data, v, "data"); });
  bind_byte_image(objective);

  py::class_<gravok_triangle_info> info(
      m, "gravok_triangle_info",
      "Per-triangle information: 40 opaque bytes in `data`. Meshes carry these as one "
      "row of an (n, 40) uint8 array per triangle.");
  info.def(py::init([](py::object data) {
             gravok_triangle_info t{};
             if (!data.is_none()) set_block(t.data, data, "data");
             return t;
           }),
           py::arg("data") = py::none())
      .def_property(
          "data", [](const gravok_triangle_info& t) { return block_bytes(t.data); },
          [](gravok_triangle_info& t, const py::bytes& v) {
            set_block(t.data, v, "data");
          });
  bind_byte_image(info);

  py::class_<mesh_metric>(m, "mesh_metric",
                          "Mesh settings of the optimisation; the defaults are those of "
                          "default_mesh_metric().")
      .def(py::init([](std::int32_t kind, double value, bool flag_a, bool flag_b) {
             return mesh_metric{kind, value, flag_a, flag_b};
           }),
           py::arg("kind") = 1, py::arg("value") = 0.0, py::arg("flag_a") = false,
           py::arg("flag_b") = true)
      .def_readwrite("kind", &mesh_metric::kind)
      .def_readwrite("value", &mesh_metric::value)
      .def_readwrite("flag_a", &mesh_metric::flag_a)
      .def_readwrite("flag_b", &mesh_metric::flag_b)
      .def("__eq__",
           [](const mesh_metric& a, const mesh_metric& b) {
             return a.kind == b.kind &&
                    std::memcmp(&a.value, &b.value, sizeof(double)) == 0 &&
                    a.flag_a == b.flag_a && a.flag_b == b.flag_b;
           })
      .def("__repr__",
           [](const mesh_metric& mm) {
             std::ostringstream text;
             text << "mesh_metric(kind=" << mm.kind << ", value=" << mm.value
                  << ", flag_a=" << (mm.flag_a ? "True" : "False")
                  << ", flag_b=" << (mm.flag_b ? "True" : "False") << ")";
             return text.str();
           })
      .attr("__hash__") = py::none();
  m.def("default_mesh_metric", &gvk::default_mesh_metric,
        "The default mesh settings: kind 1, value 0.0, flag_a False, flag_b True.");

  m.def("allElementTypes", &gvk::allElementTypes,
        "Every kind a transfer moves, in transfer order (13 kinds; not ParkingLot).");
  m.def("complexElementTypes", &gvk::complexElementTypes, "The complex kinds.");
  m.def("typesOfElementWithOutput", &gvk::typesOfElementWithOutput,
        "The kinds for which the optimiser produces output.");
  m.def("initge", &gvk::initge, py::arg("element"),
        "Clears `element` in place: every byte becomes zero.");
  m.def("hashGradingElementUid", &gvk::hashGradingElementUid, py::arg("guid"),
        "The uid of a GUID string: the 64-bit FNV-1a hash of its UTF-8 bytes, signed.");
  m.def(
      "get_constraint_type",
      [](const std::string& name) -> py::object {
        GradingElementType type = LowPoint;
        TriZoneType zone = static_cast<TriZoneType>(0);
        if (!gvk::get_constraint_type(name, type, zone)) return py::none();
        return py::make_tuple(type, zone == static_cast<TriZoneType>(0)
                                        ? py::object(py::none())
                                        : py::cast(zone));
      },
      py::arg("name"),
      "Classifies a host's name: (kind, zone) when a key is found, where zone is a "
      "TriZoneType when a zone key decided it and None when an element kind key did; "
      "None when the name holds no key.");
}

}  // namespace gravok_python
