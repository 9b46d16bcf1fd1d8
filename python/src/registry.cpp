// The provider registry and plug-in modules for Python. Python classes derive from
// DataSourceProvider and DataStoreProvider; the registry takes a C++ provider that
// holds the Python one and forwards to it, and the sources and stores a Python
// provider returns travel through the registry inside forwarders that hold the Python
// objects, which come out again as themselves. Objects that C++ providers create
// keep every plug-in module loaded at their creation alive, so that no module's code
// is unmapped while an object of it lives.
#include <gravok/data_store.h>
#include <gravok/plugin.h>
#include <gravok/providers.h>
#include <gravok/store_losses.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <set>
#include <system_error>

#include "common.h"

namespace gravok_python {

std::string path_from(const py::handle& location) {
  // os.fspath raises TypeError for what is neither str, bytes nor os.PathLike;
  // os.fsencode gives the bytes the file system uses, a name that was not valid
  // UTF-8 (decoded with surrogate escapes) included.
  const py::module_ os = py::module_::import("os");
  return os.attr("fsencode")(os.attr("fspath")(location)).cast<std::string>();
}

namespace {

using Elements = std::vector<gravok_grading_element>;
using Lists = std::vector<std::vector<double>>;

// What every forwarder shares: the Python object it stands for.
class HoldsPython {
 public:
  explicit HoldsPython(py::object object) : m_object(std::move(object)) {}
  virtual ~HoldsPython() { drop_reference(m_object); }
  HoldsPython(const HoldsPython&) = delete;
  HoldsPython& operator=(const HoldsPython&) = delete;
  py::object release_object() {
    py::object object = std::move(m_object);
    m_object = py::object();
    return object;
  }

 protected:
  py::object m_object;
};

// A C++ source or store that forwards every operation to the Python object's C++ part
// (whose own operations reach the Python overrides).
template <class Base>
class ForwardingSource : public Base, public HoldsPython {
 public:
  ForwardingSource(py::object object, gvk::DataSource* target)
      : HoldsPython(std::move(object)), m_source(target) {}

  bool load() override { return m_source->load(); }
  void get_linear_unit(gvk::Unit<1>& u) const override { m_source->get_linear_unit(u); }
  void get_area_unit(gvk::Unit<2>& u) const override { m_source->get_area_unit(u); }
  void get_volume_unit(gvk::Unit<3>& u) const override { m_source->get_volume_unit(u); }
  void get_surfaces(std::vector<unsigned long long>& ids,
                    std::vector<std::string>& names) const override {
    m_source->get_surfaces(ids, names);
  }
  void select_surface(unsigned long long id) override { m_source->select_surface(id); }
  void get_eg_data(std::vector<double>& x, std::vector<double>& y, std::vector<double>& z,
                   std::vector<gvk::Triangle>& t,
                   std::vector<gravok_triangle_info>& i) override {
    m_source->get_eg_data(x, y, z, t, i);
  }
  void get_objectives(std::vector<gravok_objective>& o) override {
    m_source->get_objectives(o);
  }
  void get_break_lines(std::vector<gravok_line_3d>& l) const override {
    m_source->get_break_lines(l);
  }
  void get_grading_elements(GradingElementType kind, Elements& e, Lists& xs, Lists& ys,
                            ComplexData& d) override {
    m_source->get_grading_elements(kind, e, xs, ys, d);
  }
  void get_unclassified(Elements& e, Lists& xs, Lists& ys) const override {
    m_source->get_unclassified(e, xs, ys);
  }
  void get_low_points(Elements& e) const override { m_source->get_low_points(e); }
  void get_bounded_points(Elements& e) const override { m_source->get_bounded_points(e); }
  void get_offsets(Elements& e) const override { m_source->get_offsets(e); }
  void get_drain_lines(Elements& e, Lists& xs, Lists& ys) const override {
    m_source->get_drain_lines(e, xs, ys);
  }
  void get_bend_lines(Elements& e, Lists& xs, Lists& ys) const override {
    m_source->get_bend_lines(e, xs, ys);
  }
  void get_aligned_edges(Elements& e, Lists& xs, Lists& ys) const override {
    m_source->get_aligned_edges(e, xs, ys);
  }
  void get_trizone_polygons(Elements& e, Lists& xs, Lists& ys) const override {
    m_source->get_trizone_polygons(e, xs, ys);
  }
  void get_complex_elements(GradingElementType kind, Elements& e, Lists& xs, Lists& ys,
                            ComplexData& d) const override {
    m_source->get_complex_elements(kind, e, xs, ys, d);
  }
  bool fix_boundary() const override { return m_source->fix_boundary(); }
  double get_max_slope() const override { return m_source->get_max_slope(); }
  double get_min_slope() const override { return m_source->get_min_slope(); }
  VolumeConstraint get_volume_constraint() const override {
    return m_source->get_volume_constraint();
  }
  void get_max_slopes(std::vector<double>& s) const override {
    m_source->get_max_slopes(s);
  }
  void get_min_slopes(std::vector<double>& s) const override {
    m_source->get_min_slopes(s);
  }
  mesh_metric get_mesh_metric() const override { return m_source->get_mesh_metric(); }
  double get_xorig() const override { return m_source->get_xorig(); }
  double get_yorig() const override { return m_source->get_yorig(); }
  double get_zorig() const override { return m_source->get_zorig(); }
  long long get_max_iteration_count() const override {
    return m_source->get_max_iteration_count();
  }
  double get_epsilon() const override { return m_source->get_epsilon(); }
  std::string get_hostcad_version() const override {
    return m_source->get_hostcad_version();
  }
  bool is_ge_guid_valid() const override { return m_source->is_ge_guid_valid(); }
  const std::string& guid_from_uid(const long long& uid) const override {
    return m_source->guid_from_uid(uid);
  }

 private:
  gvk::DataSource* m_source;
};

class ForwardingStore : public ForwardingSource<gvk::DataStore> {
 public:
  ForwardingStore(py::object object, gvk::DataStore* target)
      : ForwardingSource(std::move(object), target), m_store(target) {}

  void beginBulkOperation() const override { m_store->beginBulkOperation(); }
  void endBulkOperation() const override { m_store->endBulkOperation(); }
  void set_units(const gvk::Unit<1>& l, const gvk::Unit<2>& a,
                 const gvk::Unit<3>& v) override {
    m_store->set_units(l, a, v);
  }
  void set_eg_data(const std::vector<double>& x, const std::vector<double>& y,
                   const std::vector<double>& z, const std::vector<gvk::Triangle>& t,
                   const std::vector<gravok_triangle_info>& i) override {
    m_store->set_eg_data(x, y, z, t, i);
  }
  void set_break_lines(const std::vector<gravok_line_3d>& l) override {
    m_store->set_break_lines(l);
  }
  void set_objectives(const std::vector<gravok_objective>& o) override {
    m_store->set_objectives(o);
  }
  void set_grading_elements(GradingElementType kind, const Elements& e) override {
    m_store->set_grading_elements(kind, e);
  }
  void set_low_points(const Elements& e) override { m_store->set_low_points(e); }
  void set_bounded_points(const Elements& e) override { m_store->set_bounded_points(e); }
  void set_offsets(const Elements& e) override { m_store->set_offsets(e); }
  void set_drain_lines(const Elements& e) override { m_store->set_drain_lines(e); }
  void set_bend_lines(const Elements& e) override { m_store->set_bend_lines(e); }
  void set_aligned_edges(const Elements& e) override { m_store->set_aligned_edges(e); }
  void set_trizone_polygons(const Elements& e) override {
    m_store->set_trizone_polygons(e);
  }
  void set_complex_elements(GradingElementType kind, const Elements& e) override {
    m_store->set_complex_elements(kind, e);
  }
  void set_fix_boundary(bool fix) override { m_store->set_fix_boundary(fix); }
  void set_max_slope(double s) override { m_store->set_max_slope(s); }
  void set_min_slope(double s) override { m_store->set_min_slope(s); }
  void set_volume_constraint(VolumeConstraint c) override {
    m_store->set_volume_constraint(c);
  }
  void set_max_slopes(const std::vector<double>& s) override {
    m_store->set_max_slopes(s);
  }
  void set_min_slopes(const std::vector<double>& s) override {
    m_store->set_min_slopes(s);
  }
  void set_mesh_metric(mesh_metric metric) override { m_store->set_mesh_metric(metric); }
  void set_max_iteration_count(long long c) override {
    m_store->set_max_iteration_count(c);
  }
  void set_epsilon(double e) override { m_store->set_epsilon(e); }
  void set_transferred_units(const gvk::Unit<1>& l, const gvk::Unit<2>& a,
                             const gvk::Unit<3>& v) override {
    m_store->set_transferred_units(l, a, v);
  }
  void set_transferred_break_lines(const std::vector<gravok_line_3d>& l) override {
    m_store->set_transferred_break_lines(l);
  }
  void set_transferred_grading_elements(GradingElementType kind, const Elements& e,
                                        const Lists& xs, const Lists& ys,
                                        const ComplexData& d) override {
    m_store->set_transferred_grading_elements(kind, e, xs, ys, d);
  }
  void set_hostcad_version(const std::string& v) override {
    m_store->set_hostcad_version(v);
  }

 private:
  gvk::DataStore* m_store;
};

// A C++ object for what a Python provider returned: empty for None, a forwarder
// otherwise. TypeError for anything that is not a DataSource.
std::unique_ptr<gvk::DataStore> store_from(py::object object) {
  if (object.is_none()) return nullptr;
  auto* store = object.cast<gvk::DataStore*>();
  return std::make_unique<ForwardingStore>(std::move(object), store);
}

std::unique_ptr<gvk::DataSource> source_from(py::object object) {
  if (object.is_none()) return nullptr;
  if (py::isinstance<gvk::DataStore>(object)) return store_from(std::move(object));
  auto* source = object.cast<gvk::DataSource*>();
  return std::make_unique<ForwardingSource<gvk::DataSource>>(std::move(object), source);
}

class PySourceProvider : public gvk::DataSourceProvider {
 public:
  bool canHandle(const std::string& location) const override {
    PYBIND11_OVERRIDE_PURE(bool, gvk::DataSourceProvider, canHandle, location);
  }
  std::string description() const override {
    PYBIND11_OVERRIDE_PURE(std::string, gvk::DataSourceProvider, description, );
  }
  bool supportsSurface() const override {
    PYBIND11_OVERRIDE(bool, gvk::DataSourceProvider, supportsSurface, );
  }
  std::unique_ptr<gvk::DataSource> createDataSource(
      const std::string& location) const override {
    py::gil_scoped_acquire gil;
    py::function override_ = py::get_override(
        static_cast<const gvk::DataSourceProvider*>(this), "createDataSource");
    if (!override_) {
      py::pybind11_fail("DataSourceProvider.createDataSource is not defined");
    }
    return source_from(override_(location));
  }
};

class PyStoreProvider : public gvk::DataStoreProvider {
 public:
  bool canHandle(const std::string& location) const override {
    PYBIND11_OVERRIDE_PURE(bool, gvk::DataStoreProvider, canHandle, location);
  }
  std::string description() const override {
    PYBIND11_OVERRIDE_PURE(std::string, gvk::DataStoreProvider, description, );
  }
  bool supportsSurface() const override {
    PYBIND11_OVERRIDE(bool, gvk::DataStoreProvider, supportsSurface, );
  }
  std::unique_ptr<gvk::DataSource> createDataSource(
      const std::string& location) const override {
    {
      py::gil_scoped_acquire gil;
      py::function override_ = py::get_override(
          static_cast<const gvk::DataStoreProvider*>(this), "createDataSource");
      if (override_) return source_from(override_(location));
    }
    return gvk::DataStoreProvider::createDataSource(location);
  }
  std::unique_ptr<gvk::DataStore> createDataStore(
      const std::string& location) const override {
    py::gil_scoped_acquire gil;
    py::function override_ = py::get_override(
        static_cast<const gvk::DataStoreProvider*>(this), "createDataStore");
    if (!override_) py::pybind11_fail("DataStoreProvider.createDataStore is not defined");
    return store_from(override_(location));
  }
};

// The registry's own provider for a Python one.
template <class Base>
class ForwardingProvider : public Base, public HoldsPython {
 public:
  ForwardingProvider(py::object object, Base* target)
      : HoldsPython(std::move(object)), m_provider(target) {}
  bool canHandle(const std::string& location) const override {
    return m_provider->canHandle(location);
  }
  std::string description() const override { return m_provider->description(); }
  bool supportsSurface() const override { return m_provider->supportsSurface(); }
  std::unique_ptr<gvk::DataSource> createDataSource(
      const std::string& location) const override {
    return m_provider->createDataSource(location);
  }
  py::object object() const { return m_object; }

 protected:
  Base* m_provider;
};

class ForwardingStoreProvider : public ForwardingProvider<gvk::DataStoreProvider> {
 public:
  using ForwardingProvider::ForwardingProvider;
  std::unique_ptr<gvk::DataStore> createDataStore(
      const std::string& location) const override {
    return m_provider->createDataStore(location);
  }
};

// A loaded plug-in module, and how many Python objects made while it was loaded
// still live.
struct Plugin {
  std::unique_ptr<gvk::PluginModule> module;
  long long live_objects = 0;
};
using PluginPtr = std::shared_ptr<Plugin>;

// The modules loaded here and not yet unloaded. This list, not the Python handle,
// keeps a module loaded: a handle that is dropped leaves its providers registered.
std::vector<PluginPtr>& loaded_plugins() {
  static std::vector<PluginPtr> plugins;
  return plugins;
}

void forget(const Plugin& plugin) {
  std::vector<PluginPtr>& loaded = loaded_plugins();
  loaded.erase(std::remove_if(loaded.begin(), loaded.end(),
                              [&](const PluginPtr& p) { return p.get() == &plugin; }),
               loaded.end());
}

// Unloads `plugin` now; ValueError while objects made while it was loaded live.
int unload_plugin(Plugin& plugin) {
  if (plugin.live_objects > 0) {
    throw py::value_error("cannot unload " + plugin.module->path() + ": " +
                          std::to_string(plugin.live_objects) +
                          " objects made while it was loaded still live");
  }
  forget(plugin);
  return plugin.module->unload();
}

// At the interpreter's exit: a module whose objects are gone is unloaded; one whose
// objects still live (they go later, during finalization) has its providers
// unregistered and stays mapped, so that their code is still there.
void release_plugins_at_exit() {
  for (const PluginPtr& plugin : loaded_plugins()) {
    if (plugin->live_objects == 0) {
      plugin->module->unload();
      continue;
    }
    for (const std::string& name : plugin->module->source_provider_names())
      gvk::unregisterDataSourceProvider(name);
    for (const std::string& name : plugin->module->store_provider_names())
      gvk::unregisterDataStoreProvider(name);
    static_cast<void>(plugin->module.release());
  }
  loaded_plugins().clear();
}

// The handle of the loaded module that is the file `path`, or null.
PluginPtr plugin_of_file(const std::string& path) {
  for (const PluginPtr& plugin : loaded_plugins()) {
    std::error_code code;
    if (std::filesystem::equivalent(path, plugin->module->path(), code)) return plugin;
  }
  return nullptr;
}

// What loading a folder or a file gave: (modules, failures, skipped), the modules as
// handles that the list above keeps, the others as (path, message) pairs.
py::tuple take_loaded(gvk::PluginLoadResult& result) {
  py::list modules, failures, skipped;
  for (std::unique_ptr<gvk::PluginModule>& module : result.modules) {
    auto plugin = std::make_shared<Plugin>();
    plugin->module = std::move(module);
    loaded_plugins().push_back(plugin);
    modules.append(py::cast(plugin));
  }
  for (const gvk::PluginLoadMessage& m : result.failures)
    failures.append(py::make_tuple(m.path, m.message));
  for (const gvk::PluginLoadMessage& m : result.skipped)
    skipped.append(py::make_tuple(m.path, m.message));
  result.modules.clear();
  return py::make_tuple(modules, failures, skipped);
}

// The Python providers registered here, by registry and name, so that they can be
// unregistered before the interpreter exits.
std::set<std::pair<std::string, const void*>>& python_source_providers() {
  static std::set<std::pair<std::string, const void*>> providers;
  return providers;
}
std::set<std::pair<std::string, const void*>>& python_store_providers() {
  static std::set<std::pair<std::string, const void*>> providers;
  return providers;
}

// Unregisters every Python provider still registered: they hold Python objects,
// which cannot be released once the interpreter has gone.
void unregister_python_providers() {
  const std::vector<std::string> source_names = gvk::dataSourceProviderNames();
  const std::vector<const gvk::DataSourceProvider*> sources = gvk::dataSourceProviders();
  const std::size_t first_source = sources.size() - source_names.size();
  for (std::size_t i = 0; i < source_names.size(); ++i) {
    if (python_source_providers().count({source_names[i], sources[first_source + i]})) {
      gvk::unregisterDataSourceProvider(source_names[i]);
    }
  }
  const std::vector<std::string> store_names = gvk::dataStoreProviderNames();
  const std::vector<const gvk::DataStoreProvider*> stores = gvk::dataStoreProviders();
  for (std::size_t i = 0; i < store_names.size(); ++i) {
    if (python_store_providers().count({store_names[i], stores[i]})) {
      gvk::unregisterDataStoreProvider(store_names[i]);
    }
  }
  python_source_providers().clear();
  python_store_providers().clear();
}

// Counts `object` against every loaded module until it is gone: a module refuses to
// unload while objects made while it was loaded live.
void tie_to_plugins(py::handle object) {
  for (const PluginPtr& plugin : loaded_plugins()) {
    ++plugin->live_objects;
    py::cpp_function release([plugin](py::handle weakref) {
      --plugin->live_objects;
      weakref.dec_ref();
    });
    py::weakref(object, release).release();
  }
}

// The Python object for what the registry returned: the Python object itself when a
// Python provider made it, else the C++ object, owned by Python and tied to the
// loaded modules.
template <class T>
py::object from_registry(std::unique_ptr<T> object) {
  if (!object) return py::none();
  if (auto* held = dynamic_cast<HoldsPython*>(object.get())) {
    py::object python = held->release_object();
    return python;
  }
  py::object result = py::cast(std::move(object));
  tie_to_plugins(result);
  return result;
}

template <class P>
py::object provider_object(const P* provider) {
  if (auto* held =
          dynamic_cast<const ForwardingProvider<gvk::DataSourceProvider>*>(provider)) {
    return held->object();
  }
  if (auto* held = dynamic_cast<const ForwardingStoreProvider*>(provider)) {
    return held->object();
  }
  py::object result = py::cast(provider, py::return_value_policy::reference);
  tie_to_plugins(result);
  return result;
}

// The file a location names, as far as a host can tell without its providers: the
// location itself, or what follows a "scheme:" prefix of two or more characters.
std::vector<std::string> candidate_paths(const std::string& location) {
  std::vector<std::string> paths = {location};
  const std::size_t colon = location.find(':');
  if (colon != std::string::npos && colon >= 2)
    paths.push_back(location.substr(colon + 1));
  return paths;
}

[[noreturn]] void raise_os_error(int error, const std::string& message,
                                 const std::string& path) {
  // OSError(errno, message, filename) becomes the subclass that matches errno.
  py::object exception = py::reinterpret_borrow<py::object>(PyExc_OSError)(
      error, message,
      py::reinterpret_steal<py::object>(PyUnicode_DecodeFSDefaultAndSize(
          path.data(), static_cast<Py_ssize_t>(path.size()))));
  PyErr_SetObject(reinterpret_cast<PyObject*>(Py_TYPE(exception.ptr())), exception.ptr());
  throw py::error_already_set();
}

// Raises the Python exception for a location that nothing opened. A provider that gives
// the system's reason for the file the location names ("PATH: No such file or
// directory", "PATH: Permission denied", "PATH: Is a directory") makes it the OSError
// of that error; everything else is ValueError. The message holds every reason, or
// says that no provider opens the location.
[[noreturn]] void raise_refusal(const std::string& location,
                                const std::vector<std::string>& reasons, bool for_store) {
  if (reasons.empty()) {
    throw py::value_error("cannot open " + location + ": no " +
                          (for_store ? "store provider" : "provider") + " opens it");
  }
  std::string message;
  for (const std::string& reason : reasons)
    message += (message.empty() ? "" : "; ") + reason;
  for (const int error : {ENOENT, EACCES, EISDIR, ENOTDIR}) {
    const std::string words = ": " + std::generic_category().message(error);
    for (const std::string& path : candidate_paths(location)) {
      for (const std::string& reason : reasons) {
        if (reason.rfind(path + words, 0) == 0) raise_os_error(error, message, path);
      }
    }
  }
  throw py::value_error(message);
}

}  // namespace

void bind_registry(py::module_& m) {
  using SP = gvk::DataSourceProvider;
  using DP = gvk::DataStoreProvider;
  py::class_<SP, PySourceProvider>(
      m, "DataSourceProvider",
      "A factory of sources. Derive from it and define canHandle(location) -> bool, "
      "description() -> str and createDataSource(location) -> DataSource or None; "
      "supportsSurface() defaults to False.")
      .def(py::init<>())
      .def("canHandle", &SP::canHandle, py::arg("location"),
           "True when the provider can create an object for `location`.")
      .def("description", &SP::description,
           "One line saying what locations the provider opens.")
      .def("supportsSurface", &SP::supportsSurface, "Whether its sources offer surfaces.")
      .def(
          "createDataSource",
          [](const SP& p, const std::string& location) {
            return from_registry(p.createDataSource(location));
          },
          py::arg("location"), "A new source for `location`, or None.");
  py::class_<DP, SP, PyStoreProvider>(
      m, "DataStoreProvider",
      "A factory of stores, which serves source requests too. Define canHandle, "
      "description and createDataStore(location) -> DataStore or None; "
      "supportsSurface() defaults to True, createDataSource to createDataStore.")
      .def(py::init<>())
      .def(
          "createDataStore",
          [](const DP& p, const std::string& location) {
            return from_registry(p.createDataStore(location));
          },
          py::arg("location"), "A new store for `location`, or None.");

  m.def(
      "registerDataSourceProvider",
      [](std::string name, py::object provider) {
        auto* target = provider.cast<SP*>();
        auto forwarder =
            std::make_unique<ForwardingProvider<SP>>(std::move(provider), target);
        const void* registered = forwarder.get();
        if (!gvk::registerDataSourceProvider(name, std::move(forwarder))) return false;
        python_source_providers().insert({name, registered});
        return true;
      },
      py::arg("name"), py::arg("provider"),
      "Registers a Python provider under `name`; False when the name is taken. The "
      "registry keeps the provider alive until it is unregistered.");
  m.def(
      "registerDataStoreProvider",
      [](std::string name, py::object provider) {
        auto* target = provider.cast<DP*>();
        auto forwarder =
            std::make_unique<ForwardingStoreProvider>(std::move(provider), target);
        const void* registered =
            static_cast<const gvk::DataSourceProvider*>(forwarder.get());
        if (!gvk::registerDataStoreProvider(name, std::move(forwarder))) return false;
        python_store_providers().insert({name, registered});
        return true;
      },
      py::arg("name"), py::arg("provider"),
      "Registers a Python store provider under `name`; False when the name is taken.");
  m.def("unregisterDataSourceProvider", &gvk::unregisterDataSourceProvider,
        py::arg("name"), "Removes the source provider `name`; False when there is none.");
  m.def("unregisterDataStoreProvider", &gvk::unregisterDataStoreProvider, py::arg("name"),
        "Removes the store provider `name`; False when there is none.");
  m.def("dataSourceProviderNames", &gvk::dataSourceProviderNames,
        "The names in the source-provider registry, in ascending order.");
  m.def("dataStoreProviderNames", &gvk::dataStoreProviderNames,
        "The names in the store-provider registry, in ascending order.");
  m.def(
      "dataSourceProviders",
      [] {
        py::list result;
        for (const SP* p : gvk::dataSourceProviders()) result.append(provider_object(p));
        return result;
      },
      "Every store provider, then every source provider, each in name order. C++ "
      "providers are borrowed: use them only while they stay registered.");
  m.def(
      "dataStoreProviders",
      [] {
        py::list result;
        for (const DP* p : gvk::dataStoreProviders()) result.append(provider_object(p));
        return result;
      },
      "Every store provider in name order (borrowed, as dataSourceProviders).");
  m.def(
      "createDataSource",
      [](const py::object& location_object) {
        const std::string location = path_from(location_object);
        std::unique_ptr<gvk::DataSource> source;
        std::vector<std::string> reasons;
        {
          py::gil_scoped_release unlocked;
          source = gvk::createDataSource(location, reasons);
        }
        if (!source) raise_refusal(location, reasons, false);
        return from_registry(std::move(source));
      },
      py::arg("location"),
      "A source for `location` (str or os.PathLike) from the first provider that makes "
      "one. The caller owns it; loaded plug-in modules refuse to unload while it "
      "lives. When none opens it: FileNotFoundError (PermissionError, "
      "IsADirectoryError) when the file it names is missing (unreadable, a folder), "
      "else ValueError; the message holds each reason the providers gave "
      "(reportRefusal), naming the file and line, or says that no provider opens it.");
  m.def(
      "createDataStore",
      [](const py::object& location_object) {
        const std::string location = path_from(location_object);
        std::unique_ptr<gvk::DataStore> store;
        std::vector<std::string> reasons;
        {
          py::gil_scoped_release unlocked;
          store = gvk::createDataStore(location, reasons);
        }
        if (!store) raise_refusal(location, reasons, true);
        return from_registry(std::move(store));
      },
      py::arg("location"),
      "A store for `location`, as createDataSource; a location that no store provider "
      "opens raises as there (a missing file is no reason: a store may create it).");
  m.def(
      "reportRefusal", [](std::string reason) { gvk::reportRefusal(std::move(reason)); },
      py::arg("reason"),
      "Says why a location that a provider's canHandle accepted cannot be opened; call "
      "it from createDataSource or createDataStore before returning None. The reason "
      "reaches the caller of createDataSource or createDataStore.");
  m.def(
      "losses",
      [](const py::object& store) -> py::object {
        const auto* declares = dynamic_cast<const gvk::DeclaresLosses*>(
            store.cast<const gvk::DataSource*>());
        if (!declares) {
          if (py::hasattr(store, "losses")) return store.attr("losses")();
          return py::none();
        }
        py::list result;
        for (const gvk::StoreLoss& loss : declares->losses())
          result.append(py::make_tuple(loss.what, loss.count));
        return result;
      },
      py::arg("store"),
      "What `store` says it dropped of what it received, as a list of (what, count) "
      "pairs, empty when it dropped nothing; None when the store does not say. A "
      "Python store says so by a method losses() returning such a list.");

  py::class_<Plugin, PluginPtr>(
      m, "PluginModule",
      "A loaded plug-in module whose providers are registered. It stays loaded, with "
      "its providers, until unload() or the interpreter's exit, whether or not this "
      "handle is kept.")
      .def("unload", &unload_plugin,
           "Unregisters the module's providers and closes it; returns how many "
           "registrations it had left behind. ValueError while objects made while it "
           "was loaded still live.")
      .def_property_readonly("is_loaded",
                             [](const Plugin& p) { return p.module->is_loaded(); })
      .def_property_readonly("path", [](const Plugin& p) { return p.module->path(); })
      .def_property_readonly("provider_count",
                             [](const Plugin& p) { return p.module->provider_count(); })
      .def_property_readonly(
          "source_provider_names",
          [](const Plugin& p) { return p.module->source_provider_names(); },
          "The source providers it registered that are still registered.")
      .def_property_readonly(
          "store_provider_names",
          [](const Plugin& p) { return p.module->store_provider_names(); },
          "The store providers it registered that are still registered.")
      .def("__enter__", [](py::object self) { return self; })
      .def(
          "__exit__",
          [](Plugin& p, py::args) {
            if (p.module->is_loaded() && p.live_objects == 0) unload_plugin(p);
          },
          "Unloads the module unless objects made while it was loaded still live; "
          "they keep it loaded until unload() or the interpreter's exit.")
      .def("__repr__", [](const Plugin& p) {
        return "PluginModule('" + p.module->path() +
               "', loaded=" + (p.module->is_loaded() ? "True" : "False") +
               ", providers=" + std::to_string(p.module->provider_count()) + ")";
      });

  m.def(
      "load_plugin",
      [](const py::object& path) -> py::object {
        const std::string file = path_from(path);
        gvk::PluginLoadResult result;
        gvk::loadPluginFile(file, result);
        if (!result.modules.empty()) return take_loaded(result)[0].cast<py::list>()[0];
        if (!result.skipped.empty()) {
          if (PluginPtr loaded = plugin_of_file(file)) return py::cast(loaded);
          throw py::value_error(result.skipped.front().message);
        }
        throw py::value_error(result.failures.empty() ? "cannot load " + file
                                                      : result.failures.front().message);
      },
      py::arg("path"),
      "Loads the plug-in module at `path` (str or os.PathLike) and registers its "
      "providers; a module loaded already gives its handle again. It stays loaded "
      "until unload() or the interpreter's exit, whether or not the result is kept. "
      "ValueError with the reason (the path and the system's message) when it cannot "
      "be loaded, or is refused because users other than root and you may change it.");
  m.def("installed_plugin_folder", &gvk::installedPluginFolder,
        "The plug-in folder of the installation the library was loaded from "
        "(<libdir>/gravok/plugins), which may not exist; '' when it cannot be told.");
  m.def(
      "_load_plugin_folder",
      [](const py::object& folder) {
        gvk::PluginLoadResult result;
        gvk::loadPluginFolder(path_from(folder), result);
        return take_loaded(result);
      },
      py::arg("folder"), "(modules, failures, skipped) of loading a folder's modules.");
  m.def(
      "_load_plugin_file",
      [](const py::object& path) {
        gvk::PluginLoadResult result;
        gvk::loadPluginFile(path_from(path), result);
        return take_loaded(result);
      },
      py::arg("path"), "(modules, failures, skipped) of loading one module.");

  py::module_::import("atexit").attr("register")(
      py::cpp_function(&release_plugins_at_exit));
  // Python providers cannot outlive the interpreter: they are unregistered when it
  // exits.
  py::module_::import("atexit").attr("register")(
      py::cpp_function(&unregister_python_providers));
}

}  // namespace gravok_python
