"""Writes the type stubs gravok/__init__.pyi from the built extension's signatures and
docstrings, with the shapes of the tuple results that pybind11 cannot name:

    PYTHONPATH=build/dev/python /usr/bin/python3 python/make_stubs.py > python/gravok/__init__.pyi
"""
import os
import re
import sys

# The source folder holds a package gravok without the extension: look past it.
here = os.path.dirname(os.path.abspath(__file__))
sys.path = [p for p in sys.path if os.path.abspath(p or ".") != here]
import gravok._gravok as g  # noqa: E402

RET = {
    "get_eg_data": "Tuple[NDArray[np.float64], NDArray[np.float64], NDArray[np.float64], NDArray[np.uint64], NDArray[np.uint8]]",
    "get_surfaces": "Tuple[List[int], List[str]]",
    "get_grading_elements": "Tuple[List[gravok_grading_element], List[List[float]], List[List[float]], ComplexElementData]",
    "get_complex_elements": "Tuple[List[gravok_grading_element], List[List[float]], List[List[float]], ComplexElementData]",
    "get_unclassified": "Tuple[List[gravok_grading_element], List[List[float]], List[List[float]]]",
    "get_drain_lines": "Tuple[List[gravok_grading_element], List[List[float]], List[List[float]]]",
    "get_bend_lines": "Tuple[List[gravok_grading_element], List[List[float]], List[List[float]]]",
    "get_aligned_edges": "Tuple[List[gravok_grading_element], List[List[float]], List[List[float]]]",
    "get_trizone_polygons": "Tuple[List[gravok_grading_element], List[List[float]], List[List[float]]]",
    "reindex_mesh": "Tuple[NDArray[np.float64], NDArray[np.float64], NDArray[np.float64], NDArray[np.uint64]]",
    "remove_unused_vertices": "Tuple[NDArray[np.float64], NDArray[np.float64], NDArray[np.float64], NDArray[np.uint64]]",
    "read": "Tuple[NDArray[np.float64], NDArray[np.float64], NDArray[np.float64], NDArray[np.uint64], NDArray[np.uint64]]",
    "ComputeOrigin": "Tuple[NDArray[np.float64], NDArray[np.float64], NDArray[np.float64], float, float, float]",
    "get_constraint_type": "Optional[Tuple[GradingElementType, Optional[TriZoneType]]]",
    "find_unit": "Union[Unit1, Unit2, Unit3, None]",
    "createDataSource": "DataSource",
    "createDataStore": "DataStore",
    "losses": "Optional[List[Tuple[str, int]]]",
    "dataSourceProviders": "List[DataSourceProvider]",
    "dataStoreProviders": "List[DataStoreProvider]",
    "load_plugin": "PluginModule",
    "location": "NDArray[np.float64]",
}

def fix(t):
    t = t.replace("gravok._gravok.", "")
    t = re.sub(r"numpy\.ndarray\[numpy\.(\w+)\]", r"NDArray[np.\1]", t)
    t = re.sub(r"\bhandle\b", "Any", t)
    t = re.sub(r"\bobject\b", "Any", t)
    t = re.sub(r"(:\s*|->\s*|\[)function\b", r"\1Callable[..., Any]", t)
    t = re.sub(r"\b(path|folder): Any", r"\1: _PathLike", t)
    t = re.sub(r"\b(x|y|z|triangles|triangle_info|slopes|location|values): Any", r"\1: ArrayLike", t)
    t = re.sub(r"\b(attributes|trailer|data): Any = None", r"\1: Optional[bytes] = None", t)
    t = re.sub(r"\bprovider: Any", "provider: DataSourceProvider", t)
    t = re.sub(r"\bargs\b", "*args", t) if "*args" not in t else t
    return t

def sigs(obj, name):
    doc = obj.__doc__ or ""
    out = []
    for line in doc.splitlines():
        m = re.match(r"^(?:\d+\. )?" + re.escape(name) + r"\((.*)\) -> (.*)$", line.strip())
        if m:
            out.append((fix(m.group(1)), fix(m.group(2))))
    return out

def summary(obj):
    doc = (obj.__doc__ or "").splitlines()
    body = [l for l in doc if l and not re.match(r"^\w+\(.*\) ->", l) and not re.match(r"^\d+\. \w+\(", l) and l.strip() != "Overloaded function."]
    return " ".join(l.strip() for l in body).replace('"""', "'")

def emit_func(name, obj, indent="", static=False):
    lines = []
    ss = sigs(obj, name)
    over = len(ss) > 1
    for args, ret in ss:
        if name in RET and not over:
            ret = RET[name]
        if name in ("createDataSource", "createDataStore"):
            args = args.replace("location: ArrayLike", "location: _PathLike")
        if over:
            lines.append(indent + "@overload")
        if static:
            lines.append(indent + "@staticmethod")
        doc = summary(obj)
        lines.append(f"{indent}def {name}({args}) -> {ret}:" + (f'\n{indent}    """{doc}"""' if doc else " ..."))
    return lines

out = ['"""Type stubs of the package gravok (the extension gravok._gravok)."""',
       "import os",
       "from typing import Any, Callable, Dict, List, NamedTuple, Optional, Tuple, Union, overload",
       "import numpy as np", "from numpy.typing import ArrayLike, NDArray", "",
       "_PathLike = Union[str, bytes, os.PathLike]", ""]
classes = [(n, o) for n, o in vars(g).items() if isinstance(o, type)]
names_done = set()
for n, o in classes:
    if n in names_done: continue
    names_done.add(n)
    bases = [b.__name__ for b in o.__bases__ if b.__name__ not in ("pybind11_object",)]
    if n == "PolyReadError":
        out += ["class PolyReadError(ValueError):", "    status: PolyReadResult.Status", "    line: int", ""]
        continue
    out.append(f"class {n}({', '.join(bases)}):" if bases else f"class {n}:")
    doc = (o.__doc__ or "").split("Members:")[0].strip().replace('"""', "'")
    if doc:
        out.append(f'    """{doc.strip()}"""')
    body = []
    if hasattr(o, "__members__"):
        for m in o.__members__:
            body.append(f"    {m}: {n}")
        body.append("    def __int__(self) -> int: ...")
    for an, av in o.__dict__.items():
        if an.startswith("__") and an not in ("__init__", "__enter__", "__exit__", "__eq__"):
            continue
        if hasattr(o, "__members__") and an in o.__members__: continue
        if isinstance(av, staticmethod):
            body += emit_func(an, av.__func__, "    ", static=True)
        elif isinstance(av, property):
            t = "Any"
            fg = av.fget
            s = sigs(fg, "") if fg else []
            m = re.search(r"-> (.*)$", (fg.__doc__ or "").splitlines()[0]) if fg and fg.__doc__ else None
            if m: t = fix(m.group(1))
            if an in RET: t = RET[an]
            body.append(f"    {an}: {t}")
        elif callable(av) and hasattr(av, "__doc__") and type(av).__name__ == "instancemethod":
            body += emit_func(an, av, "    ")
        elif isinstance(av, type):
            continue
        elif not callable(av) and not an.startswith("_"):
            body.append(f"    {an}: {type(av).__name__}")
    # nested enums
    for an, av in o.__dict__.items():
        if isinstance(av, type) and hasattr(av, "__members__"):
            body.append(f"    class {an}:")
            for m in av.__members__:
                body.append(f"        {m}: {o.__name__}.{an}")
            body.append("        def __int__(self) -> int: ...")
    out += body or ["    ..."]
    out.append("")
for n, o in vars(g).items():
    if isinstance(o, type) or n.startswith("_"): continue
    if callable(o) and type(o).__name__ == "builtin_function_or_method":
        out += emit_func(n, o)
    elif isinstance(o, (int, str)):
        out.append(f"{n}: {type(o).__name__}")
    elif hasattr(type(o), "__members__"):
        out.append(f"{n}: {type(o).__name__}")
out += ["", "LinearUnit = Unit1", "AreaUnit = Unit2", "VolumeUnit = Unit3", "__version__: str", ""]
# The package's own Python part, gravok/_problem.py.
out += ["""
class Mesh:
    \"\"\"A triangle mesh: float64 x, y, z, (n, 3) uint64 triangles, (n, 40) uint8 triangle_info.\"\"\"
    x: NDArray[np.float64]
    y: NDArray[np.float64]
    z: NDArray[np.float64]
    triangles: NDArray[np.uint64]
    triangle_info: NDArray[np.uint8]
    def __init__(self, x: ArrayLike = ..., y: ArrayLike = ..., z: ArrayLike = ..., triangles: ArrayLike = ..., triangle_info: ArrayLike = ...) -> None: ...

class Surface:
    \"\"\"One surface of several: its id, name, mesh and break lines.\"\"\"
    id: int
    name: str
    mesh: Mesh
    break_lines: List[gravok_line_3d]
    def __init__(self, id: int = 0, name: str = "", mesh: Mesh = ..., break_lines: List[gravok_line_3d] = ...) -> None: ...

class ElementSet:
    \"\"\"The elements of one kind: records, one x and one y array per element, complex data.\"\"\"
    records: List[gravok_grading_element]
    xs: List[NDArray[np.float64]]
    ys: List[NDArray[np.float64]]
    complex: ComplexElementData
    def __init__(self, records: List[gravok_grading_element] = ..., xs: List[ArrayLike] = ..., ys: List[ArrayLike] = ..., complex: ComplexElementData = ...) -> None: ...

class Description:
    \"\"\"The coordinate system, the writing application and the surfaces' descriptions.\"\"\"
    epsg_code: str
    wkt: str
    coordinate_system_name: str
    application_name: str
    application_version: str
    surface_descriptions: Dict[int, str]
    def __init__(self, epsg_code: str = "", wkt: str = "", coordinate_system_name: str = "", application_name: str = "", application_version: str = "", surface_descriptions: Dict[int, str] = ...) -> None: ...

class Problem:
    \"\"\"A whole grading problem as plain values (see gravok.open).\"\"\"
    origin: Tuple[float, float, float]
    linear_unit: Unit1
    area_unit: Unit2
    volume_unit: Unit3
    hostcad_version: str
    mesh: Mesh
    break_lines: List[gravok_line_3d]
    surfaces: List[Surface]
    surface_ids: List[int]
    surface_names: List[str]
    elements: Dict[GradingElementType, ElementSet]
    objectives: List[gravok_objective]
    fix_boundary: bool
    max_slope: float
    min_slope: float
    volume_constraint: VolumeConstraint
    max_slopes: NDArray[np.float64]
    min_slopes: NDArray[np.float64]
    mesh_metric: mesh_metric
    max_iteration_count: int
    epsilon: float
    guids_valid: bool
    guids: Dict[int, str]
    description: Description
    def __init__(self, **values: Any) -> None: ...
    @classmethod
    def from_source(cls, source: DataSource) -> Problem: ...
    def save(self, location: _PathLike) -> List[Tuple[str, int]]:
        \"\"\"Writes the problem; returns (and warns with LossWarning about) what the store dropped.\"\"\"
    def as_source(self) -> DataSource: ...

class LossWarning(UserWarning):
    \"\"\"Problem.save wrote the problem, but the store could not hold all of it.\"\"\"

class PluginReport(NamedTuple):
    modules: List[PluginModule]
    failures: List[Tuple[str, str]]
    skipped: List[Tuple[str, str]]

def load_plugins(folders: Optional[List[_PathLike]] = None, modules: Optional[List[_PathLike]] = None) -> PluginReport:
    \"\"\"Loads the installed plug-ins, then those of GRAVOK_PLUGIN_PATH and GRAVOK_PLUGINS.\"\"\"
def open(location: _PathLike) -> Problem:
    \"\"\"The whole problem at `location`, read through the first provider that opens it.\"\"\"
"""]
print("\n".join(out))
