"""Python's leg of the differential test: every problem of a battery (the real files of
tests/data, the JSON example, and problems with NaN, an index out of range, a short
array, several surfaces, an empty mesh) goes into every store twice: through Python
(gravok.open, then Problem.save) and through the library alone (createDataSource into
createDataStore). Both legs are refused alike, or both write what reads back the same
with the same declared losses: Python's values lose nothing the library keeps. (The
C++ differential test checks that the library's copies lose nothing undeclared.)"""

import os
import warnings

import numpy as np
import pytest

import gravok
from conftest import SOURCE_DIR

DATA = SOURCE_DIR / "tests" / "data"
EXAMPLE = SOURCE_DIR / "docs" / "examples" / "small-problem.json"


def made_problems():
    """Problems made to break writers, from the example (whose z holds a NaN)."""
    made = {"NaN elevation": gravok.open(EXAMPLE)}
    p = gravok.open(EXAMPLE)
    p.mesh.z[3] = 1.0
    made["finite"] = p
    p = gravok.open(EXAMPLE)
    p.mesh.triangles[1][2] = 7
    made["index out of range"] = p
    p = gravok.open(EXAMPLE)
    p.mesh.y = p.mesh.y[:-1]
    made["y shorter than x"] = p
    p = gravok.open(EXAMPLE)
    p.mesh.z[3] = 1.0
    p.surfaces = [gravok.Surface(i, f"surface {i}", gravok.Mesh(
        p.mesh.x, p.mesh.y, p.mesh.z + i, p.mesh.triangles)) for i in range(3)]
    made["several surfaces"] = p
    made["empty mesh"] = gravok.Problem()
    return made


def sources(tmp_path):
    files = [EXAMPLE] + sorted(p for folder in ("landxml", "triangle", "dxf")
                               for p in (DATA / folder).iterdir()
                               if p.suffix in (".xml", ".node", ".poly", ".dxf"))
    for n, (name, problem) in enumerate(made_problems().items()):
        path = tmp_path / f"made{n}.json"
        try:
            problem.save(path)
            files.append(path)
        except ValueError:
            pass  # the JSON store refuses it too: the other stores cannot be given it
    return files


def outcome(copy, target):
    """The losses of a copy into `target`, or the type and message of its refusal,
    with the target's name left out."""
    try:
        with warnings.catch_warnings():
            warnings.simplefilter("ignore", gravok.LossWarning)
            return sorted(copy(target))
    except (OSError, ValueError) as e:
        assert not os.path.exists(target), "a refused copy wrote " + target
        return type(e).__name__, str(e).replace(target, "TARGET")


def library_copy(source):
    def copy(target):
        store = gravok.createDataStore(target)
        store.copyAllFrom(gravok.createDataSource(str(source)))
        return [(what, n) for what, n in (gravok.losses(store) or []) if n]
    return copy


def same_values(a, b):
    a, b = np.asarray(a, dtype=np.float64), np.asarray(b, dtype=np.float64)
    return a.shape == b.shape and np.allclose(a, b, rtol=1e-12, atol=0, equal_nan=True)


def same_mesh(a, b):
    return (all(same_values(getattr(a, axis), getattr(b, axis)) for axis in "xyz")
            and np.array_equal(a.triangles, b.triangles)
            and np.array_equal(a.triangle_info, b.triangle_info))


def differences(a, b):
    """The parts in which two problems read back from the same format differ."""
    parts = []
    if not same_values(a.origin, b.origin):
        parts.append("origin")
    if not same_mesh(a.mesh, b.mesh):
        parts.append("mesh")
    if [(s.id, s.name) for s in a.surfaces] != [(s.id, s.name) for s in b.surfaces] or \
            not all(same_mesh(s.mesh, t.mesh) for s, t in zip(a.surfaces, b.surfaces)):
        parts.append("surfaces")
    for name in ("hostcad_version", "description", "linear_unit", "area_unit",
                 "volume_unit", "fix_boundary", "volume_constraint", "mesh_metric",
                 "max_iteration_count", "guids_valid", "guids"):
        if getattr(a, name) != getattr(b, name):
            parts.append(name)
    for name in ("max_slope", "min_slope", "epsilon", "max_slopes", "min_slopes"):
        if not same_values(getattr(a, name), getattr(b, name)):
            parts.append(name)
    if [o.to_bytes() for o in a.objectives] != [o.to_bytes() for o in b.objectives]:
        parts.append("objectives")
    if not same_values([[l.x1, l.y1, l.z1, l.x2, l.y2, l.z2] for l in a.break_lines],
                       [[l.x1, l.y1, l.z1, l.x2, l.y2, l.z2] for l in b.break_lines]):
        parts.append("break lines")
    if sorted(a.elements) != sorted(b.elements):
        parts.append("element kinds")
    for kind in set(a.elements) & set(b.elements):
        ea, eb = a.elements[kind], b.elements[kind]
        if len(ea.records) != len(eb.records) or len(ea.xs) != len(eb.xs) or not all(
                bytes(r.attributes) == bytes(s.attributes) and
                same_values(r.location, s.location) for r, s in zip(ea.records, eb.records)) \
                or not all(same_values(x, y) for x, y in zip(ea.xs + ea.ys, eb.xs + eb.ys)):
            parts.append(f"{kind} elements")
    return parts


def test_python_copies_what_the_library_copies(tmp_path):
    targets = [".json", ".node"] + [suffix for suffix, plugin in (
        (".xml", "GRAVOK_LANDXML_PLUGIN"), (".dxf", "GRAVOK_DXF_PLUGIN"))
        if os.environ.get(plugin)]
    checked = 0
    for n, source in enumerate(sources(tmp_path)):
        for suffix in targets:
            by_python = str(tmp_path / f"python{n}{suffix}")
            by_library = str(tmp_path / f"library{n}{suffix}")
            said = outcome(lambda t: gravok.open(source).save(t), by_python)
            assert said == outcome(library_copy(source), by_library), (source, suffix)
            if isinstance(said, list):
                assert differences(gravok.open(by_python), gravok.open(by_library)) == [], \
                    (source, suffix)
            checked += 1
    assert checked >= 4 * len(targets)
