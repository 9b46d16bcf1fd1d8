"""Transfers between Python and C++ sources and stores."""

import gc
import weakref

import numpy as np
import pytest

import gravok

RNG = np.random.default_rng(18)


def element(seed):
    rng = np.random.default_rng(seed)
    return gravok.gravok_grading_element(
        attributes=rng.integers(0, 256, 312, dtype=np.uint8).tobytes(),
        location=rng.normal(0.0, 1e3, 6),
        trailer=rng.integers(0, 256, 120, dtype=np.uint8).tobytes())


class ProblemSource(gravok.DataSource):
    """A Python source with every part a transfer moves, values chosen to be awkward."""

    def __init__(self):
        super().__init__()
        n = 500
        self.x = RNG.normal(0.0, 1e4, n)
        self.y = RNG.normal(0.0, 1e4, n)
        self.z = RNG.normal(0.0, 1e2, n)
        self.x[:3] = [-0.0, 5e-324, 1e300]
        self.triangles = RNG.integers(0, n, (900, 3), dtype=np.uint64)
        self.info = RNG.integers(0, 256, (900, 40), dtype=np.uint8)
        self.low = [element(i) for i in range(4)]
        self.drains = ([element(10), element(11)], [[1.0, 2.5], [3.0]], [[4.0, 5.5], [6.0]])

    def get_eg_data(self):
        return self.x, self.y, self.z, self.triangles, self.info

    def get_low_points(self):
        return self.low

    def get_drain_lines(self):
        return self.drains

    def get_objectives(self):
        return [gravok.gravok_objective(bytes(range(24)))]

    def get_max_slope(self):
        return 0.1 + 0.2

    def get_max_slopes(self):
        return [0.25, np.nextafter(0.5, 1.0)]

    def get_volume_constraint(self):
        return 7  # a kind the library does not name

    def get_mesh_metric(self):
        return gravok.mesh_metric(kind=3, value=-2.5, flag_a=True, flag_b=False)

    def get_max_iteration_count(self):
        return 2**40

    def get_xorig(self):
        return 2000100.125

    def get_yorig(self):
        return 500050.5

    def get_zorig(self):
        return 100.0


class RecordingStore(gravok.DataStore):
    """A Python store that keeps every call, in order, with its arguments."""

    def __init__(self, origin=(0.0, 0.0, 0.0)):
        super().__init__()
        self.origin = origin
        self.calls = []
        self.parts = {}

    def _keep(self, name, *args):
        self.calls.append(name)
        self.parts[name] = args

    def get_xorig(self): return self.origin[0]
    def get_yorig(self): return self.origin[1]
    def get_zorig(self): return self.origin[2]
    def beginBulkOperation(self): self.calls.append("begin")
    def endBulkOperation(self): self.calls.append("end")
    def set_eg_data(self, *a): self._keep("set_eg_data", *a)
    def set_objectives(self, *a): self._keep("set_objectives", *a)
    def set_low_points(self, *a): self._keep("set_low_points", *a)
    def set_drain_lines(self, *a): self._keep("set_drain_lines", *a)
    def set_max_slope(self, *a): self._keep("set_max_slope", *a)
    def set_max_slopes(self, *a): self._keep("set_max_slopes", *a)
    def set_volume_constraint(self, *a): self._keep("set_volume_constraint", *a)
    def set_mesh_metric(self, *a): self._keep("set_mesh_metric", *a)
    def set_max_iteration_count(self, *a): self._keep("set_max_iteration_count", *a)
    def set_transferred_grading_elements(self, kind, *a):
        self._keep(("transferred", int(kind)), *a)
        super().set_transferred_grading_elements(kind, *a)


def same_bits(a, b):
    return np.asarray(a).tobytes() == np.asarray(b).tobytes()


def test_python_source_into_json_store_reads_back_bit_for_bit(json_plugin, tmp_path):
    source = ProblemSource()
    location = "json:" + str(tmp_path / "problem.json")
    store = gravok.createDataStore(location)
    store.copyFrom(source)
    del store
    back = gravok.createDataSource(location)

    # A new document has origin 0, so the transfer adds the whole source origin.
    x, y, z, triangles, info = back.get_eg_data()
    assert same_bits(x, source.x + 2000100.125)
    assert same_bits(y, source.y + 500050.5)
    assert same_bits(z, source.z + 100.0)
    assert same_bits(triangles, source.triangles)
    assert same_bits(info, source.info)
    low = back.get_low_points()
    assert [e.to_bytes() for e in low] == [
        gravok.OffsetDataSource(source, 2000100.125, 500050.5, 100.0).get_low_points()[i].to_bytes()
        for i in range(4)]
    assert [e.to_bytes() for e in back.get_drain_lines()[0]] == [
        e.to_bytes() for e in source.drains[0]]
    assert back.get_objectives()[0].data == bytes(range(24))
    assert back.get_max_slope() == 0.1 + 0.2
    assert same_bits(back.get_max_slopes(), source.get_max_slopes())
    assert int(back.get_volume_constraint()) == 7
    assert back.get_mesh_metric() == source.get_mesh_metric()
    assert back.get_max_iteration_count() == 2**40


def test_json_source_into_python_store(json_plugin, example_problem):
    source = gravok.createDataSource(example_problem)
    assert source is not None and not isinstance(source, RecordingStore)
    store = RecordingStore(origin=(2000000.0, 500000.0, 0.0))
    store.copyAllFrom(source)

    assert store.calls[0] == "begin" and store.calls[-1] == "end"
    x, y, z, triangles, info = store.parts["set_eg_data"]
    sx, sy, sz, st, si = source.get_eg_data()
    assert len(sx) > 0
    assert same_bits(x, sx + (source.get_xorig() - 2000000.0))
    assert same_bits(y, sy + (source.get_yorig() - 500000.0))
    assert same_bits(z, sz + source.get_zorig())
    assert same_bits(triangles, st) and same_bits(info, si)
    assert triangles.dtype == np.uint64 and triangles.shape == (len(st), 3)
    # Every kind reaches the complete transfer once, in transfer order.
    kinds = [c[1] for c in store.calls if isinstance(c, tuple)]
    assert kinds == [int(k) for k in gravok.allElementTypes()]
    assert store.parts["set_max_slope"] == (source.get_max_slope(),)


def test_defaults_of_a_source_that_overrides_nothing():
    store = RecordingStore()
    store.copyFrom(gravok.DataSource())
    assert store.parts["set_max_slope"] == (0.33,)
    assert store.parts["set_max_iteration_count"] == (100000,)
    assert store.parts["set_mesh_metric"] == (gravok.default_mesh_metric(),)
    assert store.parts["set_volume_constraint"] == (gravok.Unconstrained,)
    assert all(len(a) == 0 for a in store.parts["set_eg_data"])
    assert store.parts["set_low_points"] == ([],)


class Boom(Exception):
    pass


def test_python_exception_passes_through_copy_from_unchanged():
    raised = Boom("mesh refused")

    class FailingStore(RecordingStore):
        def set_eg_data(self, *a):
            self.calls.append("set_eg_data")
            raise raised

    store = FailingStore()
    with pytest.raises(Boom) as caught:
        store.copyFrom(ProblemSource())
    assert caught.value is raised
    assert store.calls[0] == "begin"
    assert "set_eg_data" in store.calls and "set_max_slope" in store.calls
    assert "end" not in store.calls and "set_low_points" not in store.calls


def test_python_exception_from_a_source_stops_a_cpp_store(json_plugin, tmp_path):
    class FailingSource(ProblemSource):
        def get_drain_lines(self):
            raise KeyError("drain lines")

    path = tmp_path / "never.json"
    store = gravok.createDataStore("json:" + str(path))
    with pytest.raises(KeyError, match="drain lines"):
        store.copyFrom(FailingSource())
    assert not path.exists()  # the store writes when the bracket closes, which it never did


@pytest.mark.parametrize("bad, error", [
    (lambda s: (s.x, s.y), ValueError),                   # wrong tuple length
    (lambda s: (s.x, s.y, s.z, s.triangles[:, :2], None), ValueError),
    (lambda s: (s.x, s.y, s.z, s.triangles.astype(float), None), TypeError),
    (lambda s: (s.x, s.y, s.z, -s.triangles.astype(np.int64) - 1, None), ValueError),
])
def test_malformed_override_results_raise(bad, error):
    class Bad(ProblemSource):
        def get_eg_data(self):
            return bad(self)

    with pytest.raises(error):
        RecordingStore().copyFrom(Bad())


def test_offset_source_subclass_overrides_reach_copy_all_from():
    class Flattened(gravok.OffsetDataSource):
        """Moves the wrapped mesh, then flattens it: an override C++ must call."""

        def get_eg_data(self):
            x, y, z, triangles, info = super().get_eg_data()
            return x, y, np.zeros_like(z), triangles, info

        def get_max_slope(self):
            return 0.125

    inner = ProblemSource()
    flattened = Flattened(inner, 10.0, 20.0, 30.0)
    store = RecordingStore(origin=(inner.get_xorig(), inner.get_yorig(), inner.get_zorig()))
    store.copyAllFrom(flattened)
    x, y, z, triangles, info = store.parts["set_eg_data"]
    # The wrapper moved the coordinates and its origin by as much the other way; the
    # transfer into the inner origin moves them back. The override flattened z to 0 in
    # the wrapper's origin, 30 below the store's.
    assert same_bits(x, (inner.x + 10.0) - 10.0) and same_bits(y, (inner.y + 20.0) - 20.0)
    assert np.all(z == -30.0) and same_bits(triangles, inner.triangles)
    assert store.parts["set_max_slope"] == (0.125,)
    assert repr(flattened).startswith("<Flattened origin=(2000090.125, 500030.5, 70.0)")


def test_a_store_in_a_with_block_writes_once_at_its_end(json_plugin, tmp_path):
    path = tmp_path / "with.json"
    with gravok.createDataStore(path) as store:
        store.copyAllFrom(ProblemSource())
        assert not path.exists()  # the bracket is still open
        store.set_max_slope(0.2)
    assert gravok.createDataSource(path).get_max_slope() == 0.2

    # A block that raises leaves the bracket open: nothing of it is written.
    failed = tmp_path / "failed.json"
    with pytest.raises(Boom):
        with gravok.createDataStore(failed) as store:
            store.copyAllFrom(ProblemSource())
            raise Boom("interrupted")
    assert not failed.exists()


# Each operation a Python source may override, alone: what it returns, and the Python
# setter of the store that the C++ transfer must hand it to (with what it receives).
ONE = [element(20)]
LISTS = ([element(21)], [[1.0, 2.0]], [[3.0, 4.0]])
POND = gravok.GradingElementType.Pond
OVERRIDES = [
    ("fix_boundary", lambda self: True, "set_fix_boundary", (True,)),
    ("get_max_slope", lambda self: 0.375, "set_max_slope", (0.375,)),
    ("get_min_slope", lambda self: -0.125, "set_min_slope", (-0.125,)),
    ("get_volume_constraint", lambda self: 7, "set_volume_constraint", (7,)),
    ("get_max_slopes", lambda self: [0.5], "set_max_slopes", ([0.5],)),
    ("get_min_slopes", lambda self: [-0.5, 0.0], "set_min_slopes", ([-0.5, 0.0],)),
    ("get_mesh_metric", lambda self: gravok.mesh_metric(kind=4, value=1.5),
     "set_mesh_metric", (gravok.mesh_metric(kind=4, value=1.5),)),
    ("get_max_iteration_count", lambda self: 123, "set_max_iteration_count", (123,)),
    ("get_epsilon", lambda self: 1e-3, "set_epsilon", (1e-3,)),
    ("get_objectives", lambda self: [gravok.gravok_objective(bytes(24))],
     "set_objectives", ([gravok.gravok_objective(bytes(24))],)),
    ("get_low_points", lambda self: ONE, "set_low_points", (ONE,)),
    ("get_bounded_points", lambda self: ONE, "set_bounded_points", (ONE,)),
    ("get_offsets", lambda self: ONE, "set_offsets", (ONE,)),
    ("get_drain_lines", lambda self: LISTS, "set_drain_lines", (LISTS[0],)),
    ("get_bend_lines", lambda self: LISTS, "set_bend_lines", (LISTS[0],)),
    ("get_aligned_edges", lambda self: LISTS, "set_aligned_edges", (LISTS[0],)),
    ("get_trizone_polygons", lambda self: LISTS, "set_trizone_polygons", (LISTS[0],)),
    ("get_complex_elements",
     lambda self, kind: (*LISTS, None) if kind == POND else ([], [], [], None),
     "set_complex_elements", (POND, LISTS[0])),
    ("get_hostcad_version", lambda self: "Host 9", "set_hostcad_version", ("Host 9",)),
    ("get_break_lines", lambda self: [gravok.gravok_line_3d(1, 2, 3, 4, 5, 6)],
     "set_transferred_break_lines", ([gravok.gravok_line_3d(1, 2, 3, 4, 5, 6)],)),
    ("get_linear_unit", lambda self: gravok.Unit1.known(7), "set_transferred_units",
     (gravok.Unit1.known(7),)),
]


@pytest.mark.parametrize("getter, result, setter, received", OVERRIDES,
                         ids=[row[0] for row in OVERRIDES])
def test_every_python_override_reaches_the_cpp_transfer(getter, result, setter, received):
    source = type("OneOverride", (gravok.DataSource,), {getter: result})()
    calls = []
    store = type("OneSetter", (gravok.DataStore,),
                 {setter: lambda self, *args: calls.append(args)})()
    store.copyAllFrom(source)
    # The setter's first arguments, arrays as lists; complex kinds come one call each.
    got = [[list(a) if isinstance(a, np.ndarray) else a for a in args[:len(received)]]
           for args in calls]
    assert got.count(list(received)) == 1, calls


def test_an_offset_source_keeps_the_source_it_wraps_alive():
    inner = ProblemSource()
    gone = weakref.ref(inner)
    offset = gravok.OffsetDataSource(inner, 1.0, 2.0, 4.0)
    expected = inner.get_xorig() - 1.0
    del inner
    gc.collect()
    assert gone() is not None, "the wrapped source died while its wrapper lives"
    assert offset.get_xorig() == expected
    del offset
    gc.collect()
    assert gone() is None, "the wrapper let go of it when it died itself"
