// Logging and text conversion for Python. A Python callable becomes a log handler:
// the library calls it on the thread that logs, and it takes the GIL for the call, so
// C++ threads may log while Python runs (the Python thread that waits for them must
// not hold the GIL meanwhile; the module's own long calls release it). An exception
// a handler raises is reported as unraisable (sys.unraisablehook) and goes no
// further: log statements run in destructors, where nothing may be thrown.
#include <gravok/log.h>
#include <gravok/text.h>

#include <memory>

#include "common.h"

namespace gravok_python {

namespace {

// A Python callable that the handler list can copy; the last copy releases it.
class PythonHandler {
 public:
  explicit PythonHandler(py::object callable)
      : m_callable(new py::object(std::move(callable)), [](py::object* held) {
          drop_reference(*held);
          delete held;
        }) {}

  void operator()(const gvk::Log::Entry& entry) const {
    if (!Py_IsInitialized()) return;
    py::gil_scoped_acquire gil;
    try {
      (*m_callable)(entry.level, str_from_units(entry.message), py::str(entry.file),
                    entry.line, py::str(entry.function));
    } catch (py::error_already_set& error) {
      error.discard_as_unraisable("gravok log handler");
    }
  }

 private:
  std::shared_ptr<py::object> m_callable;
};

}  // namespace

void bind_log(py::module_& m) {
  py::class_<gvk::Log> log(m, "Log", "The process-wide log facade.");
  py::enum_<gvk::Log::Level>(log, "Level", py::arithmetic(), "Severity of an entry.")
      .value("trace", gvk::Log::trace)
      .value("debug", gvk::Log::debug)
      .value("timing", gvk::Log::timing)
      .value("info", gvk::Log::info)
      .value("warn", gvk::Log::warn)
      .value("error", gvk::Log::error)
      .value("fatal", gvk::Log::fatal);
  py::implicitly_convertible<py::int_, gvk::Log::Level>();
  log.def_static(
         "RegisterHandler",
         [](py::function handler, gvk::Log::Level level) {
           return gvk::Log::RegisterHandler(PythonHandler(std::move(handler)), level);
         },
         py::arg("handler"), py::arg("level"),
         "Calls handler(level, message, file, line, function) for every entry of "
         "`level` or above, on the thread that logs, with the GIL taken; returns the "
         "handler's id. Register and unregister while no other thread logs.")
      .def_static("UnregisterCallback", &gvk::Log::UnregisterCallback, py::arg("id"),
                  "Removes the handler with `id`; an unknown id does nothing.")
      .def_static(
          "Add",
          [](gvk::Log::Level level, const py::str& message, const char* file,
             unsigned long long line, const char* function) {
            std::wstring units = units_from_str(message);
            // The strings must outlive the call, which they do: they are arguments.
            py::gil_scoped_release unlocked;
            gvk::Log::Add(level, std::move(units), file, line, function);
          },
          py::arg("level"), py::arg("message"), py::arg("file") = "", py::arg("line") = 0,
          py::arg("function") = "",
          "Hands an entry to every handler whose level it reaches.")
      .def_static("DoAdd", &gvk::Log::DoAdd, py::arg("level"),
                  "True when some handler wants entries of `level`.")
      .def_static(
          "LevelString",
          [](gvk::Log::Level level) {
            return gvk::to_utf8(gvk::Log::LevelString(level));
          },
          py::arg("level"), "The name of a level ('trace' ... 'fatal'), or 'unknown'.")
      .def_static("RegisterConsoleLogger", &gvk::Log::RegisterConsoleLogger,
                  py::arg("level"), "Prints entries to standard output and error.");
  m.def("timestamp", &gvk::timestamp,
        "The current UTC time as '[YYYY-MM-DD hh:mm:ss] '.");

  m.def(
      "to_utf8",
      [](const py::str& text) { return py::bytes(gvk::to_utf8(units_from_str(text))); },
      py::arg("text"),
      "The library's UTF-8 for the UTF-16 units of `text`: each unit by itself, so a "
      "character beyond the BMP becomes two three-byte sequences; a NUL ends the text.");
  m.def(
      "from_utf8",
      [](const py::bytes& data) { return str_from_units(gvk::from_utf8(data)); },
      py::arg("data"),
      "The text of UTF-8 bytes as the library decodes them into UTF-16 units (never "
      "rejects anything; a 0 byte ends the text). Every str without NUL survives "
      "from_utf8(to_utf8(text)).");
}

}  // namespace gravok_python
