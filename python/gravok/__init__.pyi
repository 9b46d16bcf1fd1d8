"""Type stubs of the package gravok (the extension gravok._gravok)."""
import os
from typing import Any, Callable, Dict, List, NamedTuple, Optional, Tuple, Union, overload
import numpy as np
from numpy.typing import ArrayLike, NDArray

_PathLike = Union[str, bytes, os.PathLike]

class GradingElementType:
    """Kind of a grading element: 0 to 7 simple kinds, 100 and up complex kinds. Any 32-bit value is a valid kind; plain ints are accepted wherever a kind is taken."""
    LowPoint: GradingElementType
    BoundedPoint: GradingElementType
    AlignedEdge: GradingElementType
    Offset: GradingElementType
    DrainLine: GradingElementType
    SurfaceZone: GradingElementType
    BendLine: GradingElementType
    Unclassified: GradingElementType
    Curb: GradingElementType
    BuildingPad: GradingElementType
    Pond: GradingElementType
    ParkingLot: GradingElementType
    RetWall: GradingElementType
    Pathway: GradingElementType
    def __int__(self) -> int: ...
    def __init__(self: GradingElementType, value: int) -> None: ...
    name: str
    def __eq__(self: Any, other: Any) -> bool: ...
    value: int

class TriZoneType:
    """Kind of a surface zone."""
    Generic: TriZoneType
    Exclusion: TriZoneType
    def __int__(self) -> int: ...
    def __init__(self: TriZoneType, value: int) -> None: ...
    name: str
    def __eq__(self: Any, other: Any) -> bool: ...
    value: int

class VolumeConstraint:
    """Kind of volume constraint; other values pass unchanged."""
    Unconstrained: VolumeConstraint
    def __int__(self) -> int: ...
    def __init__(self: VolumeConstraint, value: int) -> None: ...
    name: str
    def __eq__(self: Any, other: Any) -> bool: ...
    value: int

class gravok_grading_element:
    """One grading element of any kind (480 bytes): attributes (312 bytes), location (6 floats; a NumPy view into the record, so element.location[0] += 1 changes it) and trailer (120 bytes). A new element is all zero bytes, as initge makes it."""
    def __init__(self: gravok_grading_element, attributes: Optional[bytes] = None, location: ArrayLike = None, trailer: Optional[bytes] = None) -> None: ...
    attributes: bytes
    location: NDArray[np.float64]
    trailer: bytes
    def to_bytes(self: gravok_grading_element) -> bytes:
        """The record's binary image, exactly as C++ holds it."""
    @staticmethod
    def from_bytes(image: bytes) -> gravok_grading_element:
        """The record whose binary image is `image` (ValueError for another length)."""
    def __eq__(self: gravok_grading_element, arg0: gravok_grading_element) -> bool:
        """Equal when the binary images are equal (NaN payloads included)."""

class gravok_line_3d:
    """One break-line segment from (x1, y1, z1) to (x2, y2, z2)."""
    def __init__(self: gravok_line_3d, x1: float = 0.0, y1: float = 0.0, z1: float = 0.0, x2: float = 0.0, y2: float = 0.0, z2: float = 0.0) -> None: ...
    x1: float
    y1: float
    z1: float
    x2: float
    y2: float
    z2: float
    def to_bytes(self: gravok_line_3d) -> bytes:
        """The record's binary image, exactly as C++ holds it."""
    @staticmethod
    def from_bytes(image: bytes) -> gravok_line_3d:
        """The record whose binary image is `image` (ValueError for another length)."""
    def __eq__(self: gravok_line_3d, arg0: gravok_line_3d) -> bool:
        """Equal when the binary images are equal (NaN payloads included)."""

class gravok_objective:
    """One objective: 24 opaque bytes in `data`."""
    def __init__(self: gravok_objective, data: Optional[bytes] = None) -> None: ...
    data: bytes
    def to_bytes(self: gravok_objective) -> bytes:
        """The record's binary image, exactly as C++ holds it."""
    @staticmethod
    def from_bytes(image: bytes) -> gravok_objective:
        """The record whose binary image is `image` (ValueError for another length)."""
    def __eq__(self: gravok_objective, arg0: gravok_objective) -> bool:
        """Equal when the binary images are equal (NaN payloads included)."""

class gravok_triangle_info:
    """Per-triangle information: 40 opaque bytes in `data`. Meshes carry these as one row of an (n, 40) uint8 array per triangle."""
    def __init__(self: gravok_triangle_info, data: Optional[bytes] = None) -> None: ...
    data: bytes
    def to_bytes(self: gravok_triangle_info) -> bytes:
        """The record's binary image, exactly as C++ holds it."""
    @staticmethod
    def from_bytes(image: bytes) -> gravok_triangle_info:
        """The record whose binary image is `image` (ValueError for another length)."""
    def __eq__(self: gravok_triangle_info, arg0: gravok_triangle_info) -> bool:
        """Equal when the binary images are equal (NaN payloads included)."""

class mesh_metric:
    """Mesh settings of the optimisation; the defaults are those of default_mesh_metric()."""
    def __init__(self: mesh_metric, kind: int = 1, value: float = 0.0, flag_a: bool = False, flag_b: bool = True) -> None: ...
    kind: int
    value: float
    flag_a: bool
    flag_b: bool
    def __eq__(self: mesh_metric, arg0: mesh_metric) -> bool: ...

class Unit1:
    """A unit of length. A new unit is the unknown one as a default-constructed C++ unit has it: type 9, no conversions. Unit1.known(type) and .unknown() build the others."""
    def __init__(self: Unit1) -> None: ...
    dimension: int
    type: int
    qualifier: int
    name: str
    abbreviation: str
    conversions: list
    @staticmethod
    def known(type: int) -> Unit1:
        """The known unit of type id `type` (outside 0-8: the unknown unit's values)."""
    @staticmethod
    def unknown() -> Unit1:
        """The unknown unit: type 9 with nine factors of 1.0."""
    def __eq__(self: Unit1, arg0: Unit1) -> bool: ...

class Unit2:
    """A unit of area. A new unit is the unknown one as a default-constructed C++ unit has it: type 9, no conversions. Unit2.known(type) and .unknown() build the others."""
    def __init__(self: Unit2) -> None: ...
    dimension: int
    type: int
    qualifier: int
    name: str
    abbreviation: str
    conversions: list
    @staticmethod
    def known(type: int) -> Unit2:
        """The known unit of type id `type` (outside 0-8: the unknown unit's values)."""
    @staticmethod
    def unknown() -> Unit2:
        """The unknown unit: type 9 with nine factors of 1.0."""
    def __eq__(self: Unit2, arg0: Unit2) -> bool: ...

class Unit3:
    """A unit of volume. A new unit is the unknown one as a default-constructed C++ unit has it: type 9, no conversions. Unit3.known(type) and .unknown() build the others."""
    def __init__(self: Unit3) -> None: ...
    dimension: int
    type: int
    qualifier: int
    name: str
    abbreviation: str
    conversions: list
    @staticmethod
    def known(type: int) -> Unit3:
        """The known unit of type id `type` (outside 0-8: the unknown unit's values)."""
    @staticmethod
    def unknown() -> Unit3:
        """The unknown unit: type 9 with nine factors of 1.0."""
    def __eq__(self: Unit3, arg0: Unit3) -> bool: ...

class ComplexElementData:
    """Extra data of complex elements: eleven lists of float lists and one list of int lists. The library never reads it. Each field is converted whole: assign a new list to change it."""
    def __init__(self: ComplexElementData) -> None: ...
    double_lists_1: List[List[float]]
    double_lists_2: List[List[float]]
    double_lists_3: List[List[float]]
    double_lists_4: List[List[float]]
    double_lists_5: List[List[float]]
    double_lists_6: List[List[float]]
    double_lists_7: List[List[float]]
    double_lists_8: List[List[float]]
    double_lists_9: List[List[float]]
    double_lists_10: List[List[float]]
    double_lists_11: List[List[float]]
    int_lists: List[List[int]]
    def __eq__(self: ComplexElementData, arg0: ComplexElementData) -> bool: ...

class DataSource:
    """A grading problem to read. Derive from it and override any operation; what a class does not define answers the library's default, so DataSource() is a complete, empty problem. Subclasses call super().__init__()."""
    def __init__(self: DataSource) -> None: ...
    def load(self: DataSource) -> bool:
        """Asks the source to read its data; default False."""
    def get_linear_unit(self: DataSource) -> Unit1:
        """The source's length unit (Unit1); default the unknown unit."""
    def get_area_unit(self: DataSource) -> Unit2:
        """The source's area unit (Unit2)."""
    def get_volume_unit(self: DataSource) -> Unit3:
        """The source's volume unit (Unit3)."""
    def get_surfaces(self: DataSource) -> Tuple[List[int], List[str]]:
        """(ids, names): the surfaces the source offers, as two parallel lists."""
    def select_surface(self: DataSource, id: int) -> None:
        """Makes one surface current for the following queries; default nothing."""
    def get_eg_data(self: DataSource) -> Tuple[NDArray[np.float64], NDArray[np.float64], NDArray[np.float64], NDArray[np.uint64], NDArray[np.uint8]]:
        """(x, y, z, triangles, triangle_info): the existing-ground mesh as float64 arrays x, y, z, an (n, 3) uint64 array of 0-based vertex indices and an (n, 40) uint8 array of per-triangle records."""
    def get_objectives(self: DataSource) -> List[gravok_objective]:
        """The objectives: a list of gravok_objective."""
    def get_break_lines(self: DataSource) -> List[gravok_line_3d]:
        """The break lines: a list of gravok_line_3d."""
    def get_grading_elements(self: DataSource, kind: GradingElementType) -> Tuple[List[gravok_grading_element], List[List[float]], List[List[float]], ComplexElementData]:
        """(elements, xs, ys, complex_data) of one kind, through the getter of that kind."""
    def get_unclassified(self: DataSource) -> Tuple[List[gravok_grading_element], List[List[float]], List[List[float]]]:
        """(elements, xs, ys): records and one x list and one y list per element."""
    def get_low_points(self: DataSource) -> List[gravok_grading_element]:
        """The low points: a list of gravok_grading_element."""
    def get_bounded_points(self: DataSource) -> List[gravok_grading_element]:
        """The bounded points: a list of gravok_grading_element."""
    def get_offsets(self: DataSource) -> List[gravok_grading_element]:
        """The offsets: a list of gravok_grading_element."""
    def get_drain_lines(self: DataSource) -> Tuple[List[gravok_grading_element], List[List[float]], List[List[float]]]:
        """(elements, xs, ys) of the drain lines."""
    def get_bend_lines(self: DataSource) -> Tuple[List[gravok_grading_element], List[List[float]], List[List[float]]]:
        """(elements, xs, ys) of the bend lines."""
    def get_aligned_edges(self: DataSource) -> Tuple[List[gravok_grading_element], List[List[float]], List[List[float]]]:
        """(elements, xs, ys) of the aligned edges."""
    def get_trizone_polygons(self: DataSource) -> Tuple[List[gravok_grading_element], List[List[float]], List[List[float]]]:
        """(elements, xs, ys) of the surface zones."""
    def get_complex_elements(self: DataSource, kind: GradingElementType) -> Tuple[List[gravok_grading_element], List[List[float]], List[List[float]], ComplexElementData]:
        """(elements, xs, ys, complex_data) of one complex kind."""
    def fix_boundary(self: DataSource) -> bool:
        """Default True."""
    def get_max_slope(self: DataSource) -> float:
        """Default 0.33."""
    def get_min_slope(self: DataSource) -> float:
        """Default 0.005."""
    def get_volume_constraint(self: DataSource) -> VolumeConstraint:
        """Default Unconstrained."""
    def get_max_slopes(self: DataSource) -> NDArray[np.float64]:
        """A float64 array; default empty."""
    def get_min_slopes(self: DataSource) -> NDArray[np.float64]:
        """A float64 array; default empty."""
    def get_mesh_metric(self: DataSource) -> mesh_metric:
        """Default default_mesh_metric()."""
    def get_xorig(self: DataSource) -> float:
        """Origin of the x coordinates; default 0.0."""
    def get_yorig(self: DataSource) -> float:
        """Origin of the y coordinates; default 0.0."""
    def get_zorig(self: DataSource) -> float:
        """Origin of the z coordinates; default 0.0."""
    def get_max_iteration_count(self: DataSource) -> int:
        """Default 100000."""
    def get_epsilon(self: DataSource) -> float:
        """Default 0.0."""
    def get_hostcad_version(self: DataSource) -> str:
        """Default ''."""
    def is_ge_guid_valid(self: DataSource) -> bool:
        """Default False."""
    def guid_from_uid(self: DataSource, uid: int) -> str:
        """The GUID string whose uid is `uid`; default ''."""
    @staticmethod
    def ComputeOrigin(x: ArrayLike, y: ArrayLike, z: ArrayLike) -> Tuple[NDArray[np.float64], NDArray[np.float64], NDArray[np.float64], float, float, float]:
        """(x, y, z, xorig, yorig, zorig): the points moved to the centre of their bounding box as origin (new arrays), and that origin."""
    m_emptyGUID: str

class DataStore(DataSource):
    """A receiver of a grading problem, and a source too. Derive from it and define the setters you need: a setter a class does not define drops its data; the other operations answer the library's defaults. Subclasses call super().__init__()."""
    def __init__(self: DataStore) -> None: ...
    def beginBulkOperation(self: DataStore) -> None:
        """Opens a run of setter calls that belong together; default nothing."""
    def endBulkOperation(self: DataStore) -> None:
        """Closes the run that beginBulkOperation opened; default nothing."""
    def __enter__(self: Any) -> Any:
        """`with store:` opens the bulk bracket (beginBulkOperation) and returns the store."""
    def __exit__(self: DataStore, arg0: Any, arg1: Any, arg2: Any) -> bool:
        """Closes the bracket (endBulkOperation; a store that writes when it closes writes then, and its failure is raised). When the block raised, the bracket is left open, so such a store writes nothing of the half-given problem; the exception goes on."""
    def set_units(self: DataStore, linear: Unit1, area: Unit2, volume: Unit3) -> None:
        """The units (Unit1, Unit2, Unit3); the transfers never call it."""
    def set_eg_data(self: DataStore, x: ArrayLike, y: ArrayLike, z: ArrayLike, triangles: ArrayLike, triangle_info: ArrayLike = None) -> None:
        """The mesh as get_eg_data gives it: x, y, z, (n, 3) triangles and (n, 40) uint8 triangle records (or a list of gravok_triangle_info; None for none)."""
    def set_break_lines(self: DataStore, lines: List[gravok_line_3d]) -> None:
        """The break lines (gravok_line_3d); the transfers never call it."""
    def set_objectives(self: DataStore, objectives: List[gravok_objective]) -> None:
        """The objectives (gravok_objective)."""
    def set_grading_elements(self: DataStore, kind: GradingElementType, elements: List[gravok_grading_element]) -> None:
        """Routes the elements to the setter of their kind."""
    def set_low_points(self: DataStore, elements: List[gravok_grading_element]) -> None:
        """The records of this kind, the complete list in one call."""
    def set_bounded_points(self: DataStore, elements: List[gravok_grading_element]) -> None:
        """The records of this kind, the complete list in one call."""
    def set_offsets(self: DataStore, elements: List[gravok_grading_element]) -> None:
        """The records of this kind, the complete list in one call."""
    def set_drain_lines(self: DataStore, elements: List[gravok_grading_element]) -> None:
        """The records of this kind, the complete list in one call."""
    def set_bend_lines(self: DataStore, elements: List[gravok_grading_element]) -> None:
        """The records of this kind, the complete list in one call."""
    def set_aligned_edges(self: DataStore, elements: List[gravok_grading_element]) -> None:
        """The records of this kind, the complete list in one call."""
    def set_trizone_polygons(self: DataStore, elements: List[gravok_grading_element]) -> None:
        """The records of the surface zones."""
    def set_complex_elements(self: DataStore, kind: GradingElementType, elements: List[gravok_grading_element]) -> None:
        """The records of one complex kind (100 and up)."""
    def set_fix_boundary(self: DataStore, fix: bool) -> None:
        """The setting fix_boundary answers."""
    def set_max_slope(self: DataStore, slope: float) -> None:
        """The setting get_max_slope answers."""
    def set_min_slope(self: DataStore, slope: float) -> None:
        """The setting get_min_slope answers."""
    def set_volume_constraint(self: DataStore, constraint: VolumeConstraint) -> None:
        """The setting get_volume_constraint answers."""
    def set_max_slopes(self: DataStore, slopes: ArrayLike) -> None:
        """The per-zone maximum slopes, any 1-D array-like."""
    def set_min_slopes(self: DataStore, slopes: ArrayLike) -> None:
        """The per-zone minimum slopes, any 1-D array-like."""
    def set_mesh_metric(self: DataStore, metric: mesh_metric) -> None:
        """The setting get_mesh_metric answers."""
    def set_max_iteration_count(self: DataStore, count: int) -> None:
        """The setting get_max_iteration_count answers."""
    def set_epsilon(self: DataStore, epsilon: float) -> None:
        """The setting get_epsilon answers."""
    def set_transferred_units(self: DataStore, linear: Unit1, area: Unit2, volume: Unit3) -> None:
        """Default: the units are dropped."""
    def set_transferred_break_lines(self: DataStore, lines: List[gravok_line_3d]) -> None:
        """Default: the lines are dropped."""
    def set_transferred_grading_elements(self: DataStore, kind: GradingElementType, elements: List[gravok_grading_element], xs: List[List[float]], ys: List[List[float]], complex_data: ComplexElementData) -> None:
        """Default: the records go to set_grading_elements; the rest is dropped."""
    def set_hostcad_version(self: DataStore, version: str) -> None:
        """Default: nothing."""
    def copyFrom(self: DataStore, source: DataSource) -> None:
        """Moves the settings, the mesh and the element records of `source` into this store, re-expressed in this store's origin, inside one bulk bracket. An exception (a Python one raised by an override included) stops the transfer and reaches the caller unchanged; endBulkOperation is then not called."""
    def copyAllFrom(self: DataStore, source: DataSource) -> None:
        """The complete transfer: copyFrom's parts and the units, host version, break lines, coordinate lists and complex data, through the set_transferred_* operations."""

class OffsetDataSource(DataSource):
    """Wraps a source and moves its coordinates by (dx, dy, dz) while its origin moves by minus as much. It keeps the wrapped source alive. Subclasses call super().__init__(source, dx, dy, dz); their overrides are honoured by every caller, C++ transfers included."""
    def __init__(self: OffsetDataSource, source: DataSource, dx: float, dy: float, dz: float) -> None: ...

class DataSourceProvider:
    """A factory of sources. Derive from it and define canHandle(location) -> bool, description() -> str and createDataSource(location) -> DataSource or None; supportsSurface() defaults to False."""
    def __init__(self: DataSourceProvider) -> None: ...
    def canHandle(self: DataSourceProvider, location: str) -> bool:
        """True when the provider can create an object for `location`."""
    def description(self: DataSourceProvider) -> str:
        """One line saying what locations the provider opens."""
    def supportsSurface(self: DataSourceProvider) -> bool:
        """Whether its sources offer surfaces."""
    def createDataSource(self: DataSourceProvider, location: str) -> DataSource:
        """A new source for `location`, or None."""

class DataStoreProvider(DataSourceProvider):
    """A factory of stores, which serves source requests too. Define canHandle, description and createDataStore(location) -> DataStore or None; supportsSurface() defaults to True, createDataSource to createDataStore."""
    def __init__(self: DataStoreProvider) -> None: ...
    def createDataStore(self: DataStoreProvider, location: str) -> DataStore:
        """A new store for `location`, or None."""

class PluginModule:
    """A loaded plug-in module whose providers are registered. It stays loaded, with its providers, until unload() or the interpreter's exit, whether or not this handle is kept."""
    def unload(self: PluginModule) -> int:
        """Unregisters the module's providers and closes it; returns how many registrations it had left behind. ValueError while objects made while it was loaded still live."""
    is_loaded: bool
    path: str
    provider_count: int
    source_provider_names: List[str]
    store_provider_names: List[str]
    def __enter__(self: Any) -> Any: ...
    def __exit__(self: PluginModule, *args) -> None:
        """Unloads the module unless objects made while it was loaded still live; they keep it loaded until unload() or the interpreter's exit."""

class MeshFindingKind:
    """What a mesh finding reports."""
    MissingCoordinates: MeshFindingKind
    IndexOutOfRange: MeshFindingKind
    NonFiniteCoordinate: MeshFindingKind
    ZeroArea: MeshFindingKind
    UnusedVertex: MeshFindingKind
    WeldedVertex: MeshFindingKind
    def __int__(self) -> int: ...
    def __init__(self: MeshFindingKind, value: int) -> None: ...
    name: str
    def __eq__(self: Any, other: Any) -> bool: ...
    value: int

class MeshFinding:
    """One finding of check_mesh."""
    kind: MeshFindingKind
    part: int
    index: int
    value: int
    vertices: int

class PolyReadResult:
    """What PolyFile.read found when it failed."""
    status: PolyReadResult.Status
    line: int
    message: str
    class Status:
        ok: PolyReadResult.Status
        cannot_open: PolyReadResult.Status
        empty: PolyReadResult.Status
        bad_vertex_count: PolyReadResult.Status
        bad_vertex_line: PolyReadResult.Status
        def __int__(self) -> int: ...

class PolyReadError(ValueError):
    status: PolyReadResult.Status
    line: int

class PolyFile:
    """Triangle-format files."""
    @staticmethod
    def read(path: str) -> Tuple[NDArray[np.float64], NDArray[np.float64], NDArray[np.float64], NDArray[np.uint64], NDArray[np.uint64]]:
        """(x, y, z, triangles, boundary) of a .poly file: float64 vertex coordinates, an empty (0, 3) triangle array and the uint64 vertex numbers of the walk around its closed boundary. PolyReadError (a ValueError with status, line and the message) when the file cannot be opened, is empty, or its vertex count or a vertex line does not parse."""
    @staticmethod
    def to_files(basename: str, x: ArrayLike, y: ArrayLike, z: ArrayLike, triangles: ArrayLike) -> None:
        """Writes stem.1.node and stem.1.ele (stem: basename without its last '.' part). Nothing is reported: a file that cannot be created stays unwritten."""

class Log:
    """The process-wide log facade."""
    @staticmethod
    def RegisterHandler(handler: Callable[..., Any], level: Log.Level) -> int:
        """Calls handler(level, message, file, line, function) for every entry of `level` or above, on the thread that logs, with the GIL taken; returns the handler's id. Register and unregister while no other thread logs."""
    @staticmethod
    def UnregisterCallback(id: int) -> None:
        """Removes the handler with `id`; an unknown id does nothing."""
    @staticmethod
    def Add(level: Log.Level, message: str, file: str = '', line: int = 0, function: str = '') -> None:
        """Hands an entry to every handler whose level it reaches."""
    @staticmethod
    def DoAdd(level: Log.Level) -> bool:
        """True when some handler wants entries of `level`."""
    @staticmethod
    def LevelString(level: Log.Level) -> str:
        """The name of a level ('trace' ... 'fatal'), or 'unknown'."""
    @staticmethod
    def RegisterConsoleLogger(level: Log.Level) -> int:
        """Prints entries to standard output and error."""
    class Level:
        trace: Log.Level
        debug: Log.Level
        timing: Log.Level
        info: Log.Level
        warn: Log.Level
        error: Log.Level
        fatal: Log.Level
        def __int__(self) -> int: ...

LowPoint: GradingElementType
BoundedPoint: GradingElementType
AlignedEdge: GradingElementType
Offset: GradingElementType
DrainLine: GradingElementType
SurfaceZone: GradingElementType
BendLine: GradingElementType
Unclassified: GradingElementType
Curb: GradingElementType
BuildingPad: GradingElementType
Pond: GradingElementType
ParkingLot: GradingElementType
RetWall: GradingElementType
Pathway: GradingElementType
Generic: TriZoneType
Exclusion: TriZoneType
Unconstrained: VolumeConstraint
def default_mesh_metric() -> mesh_metric:
    """The default mesh settings: kind 1, value 0.0, flag_a False, flag_b True."""
def allElementTypes() -> List[GradingElementType]:
    """Every kind a transfer moves, in transfer order (13 kinds; not ParkingLot)."""
def complexElementTypes() -> List[GradingElementType]:
    """The complex kinds."""
def typesOfElementWithOutput() -> List[GradingElementType]:
    """The kinds for which the optimiser produces output."""
def initge(element: gravok_grading_element) -> None:
    """Clears `element` in place: every byte becomes zero."""
def hashGradingElementUid(guid: str) -> int:
    """The uid of a GUID string: the 64-bit FNV-1a hash of its UTF-8 bytes, signed."""
def get_constraint_type(name: str) -> Optional[Tuple[GradingElementType, Optional[TriZoneType]]]:
    """Classifies a host's name: (kind, zone) when a key is found, where zone is a TriZoneType when a zone key decided it and None when an element kind key did; None when the name holds no key."""
kKnownUnitTypes: int
kUnknownUnitType: int
@overload
def convert(value: float, from_unit: Unit1, to_unit: Unit1) -> float:
    """convert(*args, **kwargs) `value`, a quantity in `from_unit`, expressed in `to_unit` (unchanged when either counts as unknown). `value`, a quantity in `from_unit`, expressed in `to_unit` (unchanged when either counts as unknown). `value`, a quantity in `from_unit`, expressed in `to_unit` (unchanged when either counts as unknown)."""
@overload
def convert(value: float, from_unit: Unit2, to_unit: Unit2) -> float:
    """convert(*args, **kwargs) `value`, a quantity in `from_unit`, expressed in `to_unit` (unchanged when either counts as unknown). `value`, a quantity in `from_unit`, expressed in `to_unit` (unchanged when either counts as unknown). `value`, a quantity in `from_unit`, expressed in `to_unit` (unchanged when either counts as unknown)."""
@overload
def convert(value: float, from_unit: Unit3, to_unit: Unit3) -> float:
    """convert(*args, **kwargs) `value`, a quantity in `from_unit`, expressed in `to_unit` (unchanged when either counts as unknown). `value`, a quantity in `from_unit`, expressed in `to_unit` (unchanged when either counts as unknown). `value`, a quantity in `from_unit`, expressed in `to_unit` (unchanged when either counts as unknown)."""
def unit_name(type: int) -> str:
    """Full name of a unit type id; any id outside 0-9 names the unknown unit."""
def unit_abbreviation(type: int) -> str:
    """Abbreviation of a unit type id; '' for the unknown unit and ids outside 0-9."""
def unit_conversion_factor(from_type: int, to_type: int, power: int) -> float:
    """The factor from unit type `from_type` to `to_type` at `power` 1, 2 or 3."""
def find_unit_type(text: str, power: int) -> int:
    """The unit type id that `text` names at `power`, or -1."""
def find_unit(text: str, dimension: int = 1) -> Union[Unit1, Unit2, Unit3, None]:
    """The known unit (Unit1, Unit2 or Unit3 by `dimension`) that `text` names, or None."""
def registerDataSourceProvider(name: str, provider: DataSourceProvider) -> bool:
    """Registers a Python provider under `name`; False when the name is taken. The registry keeps the provider alive until it is unregistered."""
def registerDataStoreProvider(name: str, provider: DataSourceProvider) -> bool:
    """Registers a Python store provider under `name`; False when the name is taken."""
def unregisterDataSourceProvider(name: str) -> bool:
    """Removes the source provider `name`; False when there is none."""
def unregisterDataStoreProvider(name: str) -> bool:
    """Removes the store provider `name`; False when there is none."""
def dataSourceProviderNames() -> List[str]:
    """The names in the source-provider registry, in ascending order."""
def dataStoreProviderNames() -> List[str]:
    """The names in the store-provider registry, in ascending order."""
def dataSourceProviders() -> List[DataSourceProvider]:
    """Every store provider, then every source provider, each in name order. C++ providers are borrowed: use them only while they stay registered."""
def dataStoreProviders() -> List[DataStoreProvider]:
    """Every store provider in name order (borrowed, as dataSourceProviders)."""
def createDataSource(location: _PathLike) -> DataSource:
    """A source for `location` (str or os.PathLike) from the first provider that makes one. The caller owns it; loaded plug-in modules refuse to unload while it lives. When none opens it: FileNotFoundError (PermissionError, IsADirectoryError) when the file it names is missing (unreadable, a folder), else ValueError; the message holds each reason the providers gave (reportRefusal), naming the file and line, or says that no provider opens it."""
def createDataStore(location: _PathLike) -> DataStore:
    """A store for `location`, as createDataSource; a location that no store provider opens raises as there (a missing file is no reason: a store may create it)."""
def reportRefusal(reason: str) -> None:
    """Says why a location that a provider's canHandle accepted cannot be opened; call it from createDataSource or createDataStore before returning None. The reason reaches the caller of createDataSource or createDataStore."""
def losses(store: Any) -> Optional[List[Tuple[str, int]]]:
    """What `store` says it dropped of what it received, as a list of (what, count) pairs, empty when it dropped nothing; None when the store does not say. A Python store says so by a method losses() returning such a list."""
def load_plugin(path: _PathLike) -> PluginModule:
    """Loads the plug-in module at `path` (str or os.PathLike) and registers its providers; a module loaded already gives its handle again. It stays loaded until unload() or the interpreter's exit, whether or not the result is kept. ValueError with the reason (the path and the system's message) when it cannot be loaded, or is refused because users other than root and you may change it."""
def installed_plugin_folder() -> str:
    """The plug-in folder of the installation the library was loaded from (<libdir>/gravok/plugins), which may not exist; '' when it cannot be told."""
def reindex_mesh(x: ArrayLike, y: ArrayLike, z: ArrayLike, triangles: ArrayLike, tolerance: float) -> Tuple[NDArray[np.float64], NDArray[np.float64], NDArray[np.float64], NDArray[np.uint64]]:
    """(x, y, z, triangles): new arrays with the vertices that coincide in plan within `tolerance` welded, exactly as the C++ reindex_mesh does. The inputs are not changed. ValueError when y or z is shorter than x or an index is out of range."""
def remove_unused_vertices(x: ArrayLike, y: ArrayLike, z: ArrayLike, triangles: ArrayLike) -> Tuple[NDArray[np.float64], NDArray[np.float64], NDArray[np.float64], NDArray[np.uint64]]:
    """(x, y, z, triangles): new arrays without the vertices no triangle uses, the triangles renumbered. ValueError as for reindex_mesh."""
def check_mesh(x: ArrayLike, y: ArrayLike, z: ArrayLike, triangles: ArrayLike, weld_tolerance: float, max_findings: int = 18446744073709551615) -> List[MeshFinding]:
    """The mesh's findings (a list of MeshFinding, at most max_findings), ordered by kind, then index, then part. Any mesh is accepted."""
def mesh_finding_message(finding: MeshFinding) -> str:
    """One line of English for a finding."""
def timestamp() -> str:
    """The current UTC time as '[YYYY-MM-DD hh:mm:ss] '."""
def to_utf8(text: str) -> bytes:
    """The library's UTF-8 for the UTF-16 units of `text`: each unit by itself, so a character beyond the BMP becomes two three-byte sequences; a NUL ends the text."""
def from_utf8(data: bytes) -> str:
    """The text of UTF-8 bytes as the library decodes them into UTF-16 units (never rejects anything; a 0 byte ends the text). Every str without NUL survives from_utf8(to_utf8(text))."""
def volume(base: Any, top: Any, boundary: Any = None) -> dict:
    """Cut, fill and net of the top surface against the base, exact for triangulated surfaces, over the plan area where both are defined: a dict with cut, fill, net (fill - cut), cut_area, fill_area, area (the compared area), unit (the base's linear unit; volumes in its cube, areas in its square), base_layered_area and top_layered_area (plan area a surface covers more than once; every layer counts), and volume_unit with in_volume_unit {cut, fill, net} where the base has a volume unit of another length. base and top are DataSources (their current surfaces; the top is moved into the base's origin and unit) or sequences (x, y, z, triangles). boundary, in the base's coordinates, limits the comparison to a closed polygon: (xs, ys) or an (n, 2) array of corners. ValueError with the library's reason for a bad mesh or boundary (an index out of range, a NaN coordinate, a boundary that crosses itself)."""

LinearUnit = Unit1
AreaUnit = Unit2
VolumeUnit = Unit3
__version__: str


class Mesh:
    """A triangle mesh: float64 x, y, z, (n, 3) uint64 triangles, (n, 40) uint8 triangle_info."""
    x: NDArray[np.float64]
    y: NDArray[np.float64]
    z: NDArray[np.float64]
    triangles: NDArray[np.uint64]
    triangle_info: NDArray[np.uint8]
    def __init__(self, x: ArrayLike = ..., y: ArrayLike = ..., z: ArrayLike = ..., triangles: ArrayLike = ..., triangle_info: ArrayLike = ...) -> None: ...

class Surface:
    """One surface of several: its id, name, mesh and break lines."""
    id: int
    name: str
    mesh: Mesh
    break_lines: List[gravok_line_3d]
    def __init__(self, id: int = 0, name: str = "", mesh: Mesh = ..., break_lines: List[gravok_line_3d] = ...) -> None: ...

class ElementSet:
    """The elements of one kind: records, one x and one y array per element, complex data."""
    records: List[gravok_grading_element]
    xs: List[NDArray[np.float64]]
    ys: List[NDArray[np.float64]]
    complex: ComplexElementData
    def __init__(self, records: List[gravok_grading_element] = ..., xs: List[ArrayLike] = ..., ys: List[ArrayLike] = ..., complex: ComplexElementData = ...) -> None: ...

class Description:
    """The coordinate system, the writing application and the surfaces' descriptions."""
    epsg_code: str
    wkt: str
    coordinate_system_name: str
    application_name: str
    application_version: str
    surface_descriptions: Dict[int, str]
    def __init__(self, epsg_code: str = "", wkt: str = "", coordinate_system_name: str = "", application_name: str = "", application_version: str = "", surface_descriptions: Dict[int, str] = ...) -> None: ...

class Problem:
    """A whole grading problem as plain values (see gravok.open)."""
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
        """Writes the problem; returns (and warns with LossWarning about) what the store dropped."""
    def as_source(self) -> DataSource: ...

class LossWarning(UserWarning):
    """Problem.save wrote the problem, but the store could not hold all of it."""

class PluginReport(NamedTuple):
    modules: List[PluginModule]
    failures: List[Tuple[str, str]]
    skipped: List[Tuple[str, str]]

def load_plugins(folders: Optional[List[_PathLike]] = None, modules: Optional[List[_PathLike]] = None) -> PluginReport:
    """Loads the installed plug-ins, then those of GRAVOK_PLUGIN_PATH and GRAVOK_PLUGINS."""
def open(location: _PathLike) -> Problem:
    """The whole problem at `location`, read through the first provider that opens it."""

