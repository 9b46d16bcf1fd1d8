"""gravok.open and Problem.save: whole problems through every format, as NumPy arrays."""

import math
import os
import pathlib
import warnings

import numpy as np
import pytest

import gravok
from conftest import SOURCE_DIR

DATA = SOURCE_DIR / "tests" / "data"


def needs(variable):
    if not os.environ.get(variable):
        pytest.skip(f"{variable} is not set: that plug-in is not built")


@pytest.mark.parametrize("path, plugin, vertices, triangles, surfaces", [
    (SOURCE_DIR / "docs" / "examples" / "small-problem.json", "GRAVOK_JSON_PLUGIN", 4, 2, 0),
    (DATA / "landxml" / "civil_example_clean.xml", "GRAVOK_LANDXML_PLUGIN", 29, 45, 3),
    (DATA / "triangle" / "square_4_elements.node", None, 5, 4, 0),
    (DATA / "triangle" / "square_4_elements.ele", None, 5, 4, 0),
    (DATA / "triangle" / "annulus.poly", None, 112, 0, 0),
])
def test_open_reads_every_format_from_a_path(path, plugin, vertices, triangles, surfaces):
    if plugin:
        needs(plugin)
    problem = gravok.open(pathlib.Path(path))
    mesh = problem.mesh
    assert (len(mesh.x), len(mesh.triangles)) == (vertices, triangles)
    assert mesh.x.dtype == np.float64 and mesh.triangles.dtype == np.uint64
    assert mesh.triangles.shape == (triangles, 3)
    assert mesh.triangle_info.shape == (triangles, 40)
    assert len(problem.surfaces) == surfaces
    if triangles:
        assert int(mesh.triangles.max()) < vertices
    assert f"mesh={vertices} vertices/{triangles} triangles" in repr(problem)


def test_the_json_example_arrives_whole():
    needs("GRAVOK_JSON_PLUGIN")
    problem = gravok.open(SOURCE_DIR / "docs" / "examples" / "small-problem.json")
    assert problem.origin == (2000100.0, 500050.0, 100.0)
    assert problem.hostcad_version == "SiteDesigner 12.4"
    assert problem.linear_unit.name == "meter"
    assert math.isnan(problem.mesh.z[3])
    assert list(problem.max_slopes) == [0.25, 0.5]
    drains = problem.elements[gravok.GradingElementType.DrainLine]
    assert len(drains.records) == len(drains.xs) == len(drains.ys) > 0
    assert all(isinstance(xs, np.ndarray) for xs in drains.xs)


def test_landxml_surfaces_keep_their_absolute_coordinates():
    needs("GRAVOK_LANDXML_PLUGIN")
    problem = gravok.open(DATA / "landxml" / "civil_example_clean.xml")
    assert [s.name for s in problem.surfaces] == ["A", "B", "C"]
    for surface in problem.surfaces:
        assert len(surface.mesh.x) > 0
    # The main mesh is the first surface's.
    assert np.array_equal(problem.mesh.x, problem.surfaces[0].mesh.x)


def a_problem():
    """A small problem with a drain line, a NaN and an awkward origin."""
    problem = gravok.Problem(origin=(2000000.5, 500000.25, 10.0), hostcad_version="pytest")
    problem.mesh = gravok.Mesh(
        x=np.array([0.0, 10.0, 10.0, 0.0]), y=np.array([0.0, 0.0, 10.0, 10.0]),
        z=np.array([1.0, 2.0, 3.0, 4.0]),
        triangles=np.array([[0, 1, 2], [0, 2, 3]], dtype=np.uint64),
        triangle_info=np.zeros((2, 40), dtype=np.uint8))
    problem.linear_unit = gravok.find_unit("meter")
    record = gravok.gravok_grading_element(location=[1.0, 2.0, 3.0, 4.0, 5.0, 6.0])
    problem.elements[gravok.GradingElementType.DrainLine] = gravok.ElementSet(
        records=[record], xs=[np.array([1.0, 9.0])], ys=[np.array([5.0, 5.0])])
    problem.max_slope = 0.25
    return problem


# What each format cannot hold of a_problem(), by a word of each loss it must declare.
@pytest.mark.parametrize("suffix, plugin, dropped", [
    (".json", "GRAVOK_JSON_PLUGIN", []),
    (".xml", "GRAVOK_LANDXML_PLUGIN", ["DrainLine elements", "max slope"]),
    (".dxf", "GRAVOK_DXF_PLUGIN", ["DrainLine element", "max slope", "host version"]),
    (".node", None, ["DrainLine elements", "max slope", "units", "host version"]),
])
def test_save_writes_each_writable_format_and_open_reads_it_back(tmp_path, suffix, plugin,
                                                                 dropped):
    if plugin:
        needs(plugin)
    problem = a_problem()
    path = tmp_path / ("site" + suffix)
    with warnings.catch_warnings(record=True) as warned:
        warnings.simplefilter("always")
        losses = problem.save(path)
    said = [str(w.message) for w in warned if issubclass(w.category, gravok.LossWarning)]
    for word in dropped:
        assert any(word in what and count > 0 for what, count in losses), (word, losses)
    if dropped:
        assert len(said) == 1 and said[0].startswith(f"{path}: dropped "), said
    else:
        assert losses == [] and said == []
    back = gravok.open(path)
    # Every format keeps the mesh in absolute terms, whatever origin it writes.
    for axis, origin in zip("xyz", range(3)):
        absolute = getattr(problem.mesh, axis) + problem.origin[origin]
        assert np.allclose(getattr(back.mesh, axis) + back.origin[origin], absolute,
                           rtol=0, atol=1e-6), axis
    assert np.array_equal(back.mesh.triangles, problem.mesh.triangles)


def test_a_loss_made_an_error_is_raised_after_the_pair_is_written(tmp_path):
    path = tmp_path / "site.node"
    with warnings.catch_warnings():
        warnings.simplefilter("error", gravok.LossWarning)
        with pytest.raises(gravok.LossWarning, match=r"dropped 1 DrainLine elements"):
            a_problem().save(path)
    assert len(gravok.open(path).mesh.triangles) == 2


def test_arrays_changed_in_place_or_assigned_are_what_is_saved(tmp_path):
    needs("GRAVOK_JSON_PLUGIN")
    problem = a_problem()
    problem.mesh.z += 0.5                  # in place
    problem.mesh.y = [0.0, 0.0, 20.0, 20.0]  # any array-like
    problem.max_slopes = np.array([0.1, 0.2])
    drains = problem.elements[gravok.GradingElementType.DrainLine]
    drains.xs[0][1] = 8.0
    path = tmp_path / "changed.json"
    problem.save(path)
    back = gravok.open(path)
    # A new document's origin is zero: what comes back is absolute.
    assert list(back.mesh.z + back.origin[2] - problem.origin[2]) == [1.5, 2.5, 3.5, 4.5]
    assert list(back.mesh.y + back.origin[1] - problem.origin[1]) == [0.0, 0.0, 20.0, 20.0]
    assert list(back.max_slopes) == [0.1, 0.2]
    back_drains = back.elements[gravok.GradingElementType.DrainLine]
    assert list(back_drains.xs[0] + back.origin[0] - problem.origin[0]) == [1.0, 8.0]
    assert back.hostcad_version == "pytest" and back.max_slope == 0.25


def test_a_problem_crosses_into_cpp_and_back_unchanged():
    problem = a_problem()
    problem.mesh.z[1] = float("nan")
    problem.min_slopes = np.array([-0.0, 5e-324])
    back = gravok.Problem.from_source(problem.as_source())
    assert back.origin == problem.origin
    for axis in ("x", "y", "z", "triangles", "triangle_info"):
        assert getattr(back.mesh, axis).tobytes() == getattr(problem.mesh, axis).tobytes()
    assert back.min_slopes.tobytes() == problem.min_slopes.tobytes()
    kind = gravok.GradingElementType.DrainLine
    assert back.elements[kind].records[0] == problem.elements[kind].records[0]
    assert back.linear_unit == problem.linear_unit
    store = gravok.DataStore()
    store.copyAllFrom(problem.as_source())  # the C++-shaped interface takes it too


@pytest.mark.parametrize("location, error, says", [
    ("missing.json", FileNotFoundError, "missing.json"),
    (pathlib.Path("no/such/site.node"), FileNotFoundError, "site.node"),
    ("nowhere:at-all", ValueError, "nowhere:at-all: no provider opens it"),
])
def test_open_says_why_it_cannot(location, error, says):
    with pytest.raises(error, match=says):
        gravok.open(location)


def test_open_names_the_file_and_line_of_a_broken_file(tmp_path):
    (tmp_path / "broken.node").write_text("4 2 1 0\n0 0 0 1\n1 1 0 2\n2 1 1 3\n3 0 1 4\n")
    (tmp_path / "broken.ele").write_text("1 3 0\n0 0 1 7\n")
    with pytest.raises(ValueError, match=r"broken\.ele:2: .*7"):
        gravok.open(tmp_path / "broken.ele")


def test_save_says_when_no_store_takes_the_location(tmp_path):
    with pytest.raises(ValueError, match="no store provider opens it"):
        gravok.Problem().save(tmp_path / "site.unknown")


def test_problem_keywords_and_defaults():
    problem = gravok.Problem(max_slope=0.5)
    assert problem.max_slope == 0.5 and problem.epsilon == gravok.DataSource().get_epsilon()
    with pytest.raises(TypeError, match="max_slop"):
        gravok.Problem(max_slop=0.5)


class OffsetStore(gravok.DataStore):
    """A Python store whose origin is its own: repr asks it, not the base class."""

    def get_xorig(self):
        return 1.5


@pytest.mark.parametrize("make, text", [
    (gravok.DataSource, "<DataSource origin=(0.0, 0.0, 0.0) linear_unit='unknown'>"),
    (OffsetStore, "<OffsetStore origin=(1.5, 0.0, 0.0) linear_unit='unknown'>"),
    (lambda: a_problem().as_source(),
     "<DataSource origin=(2000000.5, 500000.25, 10.0) linear_unit='meter'>"),
    (a_problem, "<Problem origin=(2000000.5, 500000.25, 10.0) unit='meter' "
                "mesh=4 vertices/2 triangles elements=[DrainLine 1]>"),
    (lambda: gravok.find_unit("ft US"), "Unit1(type=7, name='surveyfoot')"),
    (lambda: gravok.Unit2.known(1), "Unit2(type=1, name='centimeter')"),
    (gravok.Unit3.unknown, "Unit3(type=9, name='unknown')"),
])
def test_repr_names_the_class_its_origin_and_unit(make, text):
    assert repr(make()) == text


def test_repr_of_opened_sources_and_stores(tmp_path):
    needs("GRAVOK_JSON_PLUGIN")
    gravok.load_plugins()
    source = gravok.createDataSource(SOURCE_DIR / "docs" / "examples" / "small-problem.json")
    assert repr(source).endswith("origin=(2000100.0, 500050.0, 100.0) linear_unit='meter'>")
    with gravok.createDataStore(tmp_path / "new.json") as store:
        assert repr(store).endswith("origin=(0.0, 0.0, 0.0) linear_unit='unknown'>")


@pytest.mark.parametrize("path, plugin", [
    (SOURCE_DIR / "docs" / "examples" / "small-problem.json", "GRAVOK_JSON_PLUGIN"),
    (DATA / "landxml" / "civil_example_clean.xml", "GRAVOK_LANDXML_PLUGIN"),
])
def test_open_takes_the_meshes_and_reads_what_a_copying_read_reads(path, plugin, tmp_path):
    """gravok.open takes the meshes out of the source it drops; the problem is the one
    a read that copies them gives, bit for bit (both written as JSON documents), and a
    source read that way has given its current mesh away."""
    needs(plugin)
    needs("GRAVOK_JSON_PLUGIN")
    taken = gravok.open(path)
    copied = gravok.Problem.from_source(gravok.createDataSource(str(path)))
    with warnings.catch_warnings():
        warnings.simplefilter("ignore", gravok.LossWarning)
        taken.save(tmp_path / "taken.json")
        copied.save(tmp_path / "copied.json")
    assert (tmp_path / "taken.json").read_bytes() == (tmp_path / "copied.json").read_bytes()
    spent = gravok.createDataSource(str(path))
    gravok._gravok._take_snapshot(spent)
    x, y, z, triangles, info = spent.get_eg_data()
    assert len(x) == len(triangles) == len(info) == 0
