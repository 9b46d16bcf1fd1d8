"""The whole problem as Python values: gravok.open(location) reads one through any
registered provider, Problem.save(location) writes one, and in between every part is
a plain attribute: NumPy arrays for meshes, slopes and element coordinates, lists of
records, units, the settings. A Problem belongs to the program that holds it; nothing
of it stays tied to the file, the provider or the plug-in it came from."""

import dataclasses
import os
import warnings
from typing import Dict, List, NamedTuple, Tuple

import numpy as np

from . import _gravok as _g


def _empty_mesh_array(shape, dtype):
    return lambda: np.zeros(shape, dtype=dtype)


@dataclasses.dataclass(eq=False)
class Mesh:
    """A triangle mesh: float64 vertex coordinates x, y, z (local to the problem's
    origin), an (n, 3) uint64 array of 0-based vertex indices and an (n, 40) uint8
    array of triangle records."""

    x: np.ndarray = dataclasses.field(default_factory=_empty_mesh_array(0, np.float64))
    y: np.ndarray = dataclasses.field(default_factory=_empty_mesh_array(0, np.float64))
    z: np.ndarray = dataclasses.field(default_factory=_empty_mesh_array(0, np.float64))
    triangles: np.ndarray = dataclasses.field(
        default_factory=_empty_mesh_array((0, 3), np.uint64))
    triangle_info: np.ndarray = dataclasses.field(
        default_factory=_empty_mesh_array((0, 40), np.uint8))

    def __repr__(self):
        return f"Mesh({len(self.x)} vertices, {len(self.triangles)} triangles)"


@dataclasses.dataclass(eq=False)
class Surface:
    """One surface of several: its id and name, its mesh and its break lines."""

    id: int = 0
    name: str = ""
    mesh: Mesh = dataclasses.field(default_factory=Mesh)
    break_lines: List = dataclasses.field(default_factory=list)


@dataclasses.dataclass(eq=False)
class ElementSet:
    """The elements of one kind: the records, one x and one y array per element (for
    the kinds with outlines), and the complex-element data."""

    records: List = dataclasses.field(default_factory=list)
    xs: List[np.ndarray] = dataclasses.field(default_factory=list)
    ys: List[np.ndarray] = dataclasses.field(default_factory=list)
    complex: object = dataclasses.field(default_factory=lambda: _g.ComplexElementData())

    def __repr__(self):
        return f"ElementSet({len(self.records)} records)"


@dataclasses.dataclass
class Description:
    """What describes a problem: its coordinate system, the application that wrote it
    and a description per surface id. Empty text means not known."""

    epsg_code: str = ""
    wkt: str = ""
    coordinate_system_name: str = ""
    application_name: str = ""
    application_version: str = ""
    surface_descriptions: Dict[int, str] = dataclasses.field(default_factory=dict)


# The attributes of a Problem, in the order repr and the documentation list them.
_FIELDS = ("origin", "linear_unit", "area_unit", "volume_unit", "hostcad_version",
           "mesh", "break_lines", "surfaces", "surface_ids", "surface_names",
           "elements", "objectives", "fix_boundary", "max_slope", "min_slope",
           "volume_constraint", "max_slopes", "min_slopes", "mesh_metric",
           "max_iteration_count", "epsilon", "guids_valid", "guids", "description")


class Problem:
    """A whole grading problem as plain values.

    origin                      (x, y, z): every coordinate below is local to it
    linear_unit, area_unit, volume_unit   Unit1, Unit2, Unit3
    hostcad_version             str
    mesh                        Mesh: the existing ground (the current surface)
    break_lines                 list of gravok_line_3d
    surfaces                    list of Surface when the problem holds several, else []
    surface_ids, surface_names  the surfaces listed when `surfaces` is empty
    elements                    {GradingElementType: ElementSet}
    objectives                  list of gravok_objective
    fix_boundary, max_slope, min_slope, volume_constraint, max_slopes (array),
    min_slopes (array), mesh_metric, max_iteration_count, epsilon   the settings
    guids_valid, guids          whether GUIDs are valid, and {uid: GUID}
    description                 Description

    Problem() is what a bare DataSource answers (the library's defaults); keyword
    arguments set attributes. Assign to any attribute or change an array in place:
    the problem is the caller's own, and save() writes what it holds then.
    """

    def __init__(self, **values):
        unknown = set(values) - set(_FIELDS)
        if unknown:
            raise TypeError(f"Problem has no attribute {sorted(unknown)[0]!r}")
        self._take(_g._snapshot(_g.DataSource()))
        for name, value in values.items():
            setattr(self, name, value)

    @classmethod
    def from_source(cls, source):
        """Everything `source` (any DataSource, a Python one included) answers, every
        surface included."""
        problem = cls.__new__(cls)
        problem._take(_g._snapshot(source))
        return problem

    def save(self, location):
        """Writes the problem through the first store provider that accepts
        `location` (str or os.PathLike), with the complete transfer: the store
        receives everything it can hold, moved into its own origin. Returns what the
        store says it dropped, as (what, count) pairs (empty when it kept everything
        or does not say), and, when it dropped anything, warns with a LossWarning
        naming each part (a LandXML file holds no elements, a .node/.ele pair only the
        mesh); warnings.simplefilter("error", gravok.LossWarning) makes that an error.
        Raises as createDataStore does when no provider takes `location`
        (FileNotFoundError, PermissionError or ValueError with the providers'
        reasons); the store's own errors pass through (OSError when the file cannot
        be written, ValueError when it cannot hold the data), and a failed save leaves
        an existing file as it was where the store promises so."""
        load_plugins(_once=True)
        store = _g.createDataStore(location)
        store.copyAllFrom(self.as_source())
        dropped = [(what, count) for what, count in (_g.losses(store) or []) if count]
        if dropped:
            parts = "; ".join(f"dropped {count} {what}" for what, count in dropped)
            warnings.warn(f"{os.fspath(location)}: {parts}", LossWarning, stacklevel=2)
        return dropped

    def as_source(self):
        """A DataSource (a copy of the problem) for the C++-shaped interface, such as
        store.copyAllFrom(problem.as_source())."""
        return _g._problem_source(self._values())

    def _take(self, values):
        self.origin = tuple(values["origin"])
        for name in _FIELDS:
            if name in ("origin", "mesh", "surfaces", "elements", "description"):
                continue
            setattr(self, name, values[name])
        self.mesh = Mesh(**values["mesh"])
        self.surfaces = [Surface(s["id"], s["name"], Mesh(**s["mesh"]), s["break_lines"])
                         for s in values["surfaces"]]
        self.elements = {kind: ElementSet(**kind_set)
                         for kind, kind_set in values["elements"].items()}
        self.description = Description(**values["description"])

    def _values(self):
        values = {name: getattr(self, name) for name in _FIELDS}
        values["mesh"] = dataclasses.asdict(self.mesh)
        values["surfaces"] = [dict(id=s.id, name=s.name, mesh=dataclasses.asdict(s.mesh),
                                   break_lines=s.break_lines) for s in self.surfaces]
        values["elements"] = {kind: dict(records=e.records, xs=e.xs, ys=e.ys,
                                         complex=e.complex)
                              for kind, e in self.elements.items()}
        values["description"] = dataclasses.asdict(self.description)
        return values

    def __repr__(self):
        x, y, z = self.origin
        kinds = ", ".join(f"{_kind_name(k)} {len(e.records)}"
                          for k, e in self.elements.items() if e.records)
        surfaces = f", {len(self.surfaces)} surfaces" if self.surfaces else ""
        return (f"<Problem origin=({x!r}, {y!r}, {z!r}) unit={self.linear_unit.name!r} "
                f"mesh={len(self.mesh.x)} vertices/{len(self.mesh.triangles)} triangles"
                f"{surfaces} elements=[{kinds}]>")


def _kind_name(kind):
    name = getattr(kind, "name", None)
    return name if name and name != "???" else str(int(kind))


class LossWarning(UserWarning):
    """Problem.save wrote the problem, but the store could not hold all of it."""


class PluginReport(NamedTuple):
    """What load_plugins did: the modules it loaded, and (path, message) pairs for
    those that failed or were refused and for those loaded already."""

    modules: List
    failures: List[Tuple[str, str]]
    skipped: List[Tuple[str, str]]


_discovered = False


def load_plugins(folders=None, modules=None, *, _once=False):
    """Loads the plug-in modules as the gravok tool does: every module of the
    installed plug-in folder (installed_plugin_folder(), when it exists), then of each
    folder in `folders` (default: the absolute paths in GRAVOK_PLUGIN_PATH), then each
    module in `modules` (default: those of GRAVOK_PLUGINS). A module loaded already is
    skipped; one that fails or that users other than root and you may change is
    reported as a RuntimeWarning and in the result, and the others still load. The
    modules stay loaded until unloaded or the interpreter's exit. gravok.open and
    Problem.save call it once by themselves."""
    global _discovered
    if _once and _discovered:
        return PluginReport([], [], [])
    _discovered = True
    if folders is None:
        folders = _path_list("GRAVOK_PLUGIN_PATH")
    if modules is None:
        modules = _path_list("GRAVOK_PLUGINS")
    report = PluginReport([], [], [])
    installed = _g.installed_plugin_folder()
    steps = [(_g._load_plugin_folder, f) for f in ([installed] if installed and
                                                   os.path.isdir(installed) else [])]
    steps += [(_g._load_plugin_folder, f) for f in folders]
    steps += [(_g._load_plugin_file, m) for m in modules]
    for load, path in steps:
        loaded, failures, skipped = load(path)
        report.modules.extend(loaded)
        report.failures.extend(failures)
        report.skipped.extend(skipped)
        for _, message in failures:
            warnings.warn(message, RuntimeWarning, stacklevel=2)
    return report


def _path_list(variable):
    return [p for p in os.environ.get(variable, "").split(os.pathsep) if p]


def open(location):  # noqa: A001 - gravok.open, as the package's reader is named
    """The problem at `location` (str or os.PathLike: a path, or a provider's
    location such as "json:site.json"), read whole through the first provider that
    opens it, after the installed plug-ins are loaded (load_plugins). Every surface of
    a source that lists several comes with it. Raises as createDataSource does:
    FileNotFoundError when the file does not exist (PermissionError, IsADirectoryError
    likewise), ValueError naming the providers' reasons (the file and the line) when
    they recognise it but cannot read it, or saying that no provider opens it."""
    load_plugins(_once=True)
    # The source is dropped here, so its meshes are taken, not copied: a site of
    # millions of triangles is not held twice while it is read.
    source = _g.createDataSource(location)
    problem = Problem.__new__(Problem)
    problem._take(_g._take_snapshot(source))
    return problem
