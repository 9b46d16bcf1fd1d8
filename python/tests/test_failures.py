"""Failures reach Python with their reasons: a location that does not open raises
(FileNotFoundError for a missing file, ValueError naming the file and line of a broken
one), a store's failed write raises the OSError of its error number, a write the
format cannot hold ValueError, and a store says what it dropped."""

import errno
import math
import os
import subprocess
import sys

import pytest

import gravok


class RefusingProvider(gravok.DataSourceProvider):
    def canHandle(self, location):
        return location.startswith("refusing:")

    def description(self):
        return "refusing:NAME, which never opens"

    def createDataSource(self, location):
        gravok.reportRefusal(location + ":3: the third line is broken")
        return None


@pytest.fixture
def refusing():
    assert gravok.registerDataSourceProvider("refusing", RefusingProvider())
    yield
    assert gravok.unregisterDataSourceProvider("refusing")


def test_a_location_that_does_not_open_raises_with_its_reason(
    tmp_path, json_plugin, refusing
):
    broken = tmp_path / "broken.json"
    broken.write_text('{"format": "gravok-problem", "version": 1, "mesh": [')
    missing = tmp_path / "missing.json"
    cases = [
        (str(missing), FileNotFoundError, str(missing) + ": No such file or directory"),
        ("json:" + str(missing), FileNotFoundError, "No such file or directory"),
        ("json:" + str(tmp_path), IsADirectoryError, str(tmp_path) + ": Is a directory"),
        (str(broken), ValueError, str(broken) + ": line 1, column 53"),
        ("refusing:x", ValueError, "refusing:x:3: the third line is broken"),
        ("unknown:x", ValueError, "cannot open unknown:x: no provider opens it"),
    ]
    for location, kind, words in cases:
        with pytest.raises(kind) as raised:
            gravok.createDataSource(location)
        assert type(raised.value) is kind, location
        assert words in str(raised.value), location
    with pytest.raises(ValueError, match="no store provider opens it"):
        gravok.createDataStore("unknown:x")


def store_failures(tmp_path):
    """(store location, OSError subclass, error number) for each failure of the
    system that a test can bring about here."""
    folder = tmp_path / "folder.json"
    (folder / "inside").mkdir(parents=True)
    cases = [
        (str(tmp_path / "nodir" / "site.json"), FileNotFoundError, errno.ENOENT),
    ]
    if os.geteuid() != 0:  # root may write a read-only folder
        read_only = tmp_path / "read-only"
        read_only.mkdir(mode=0o555)
        cases.append((str(read_only / "site.json"), PermissionError, errno.EACCES))
    return cases


def test_a_failed_write_raises_the_oserror_of_its_errno(
    tmp_path, json_plugin, example_problem
):
    source = gravok.createDataSource(example_problem)
    for location, kind, number in store_failures(tmp_path):
        store = gravok.createDataStore(location)
        with pytest.raises(kind) as raised:
            store.copyAllFrom(source)
        assert raised.value.errno == number
        assert "cannot write " + location in str(raised.value)
        assert not os.path.exists(location)


def test_a_write_the_format_cannot_hold_raises_valueerror_and_writes_nothing(
    tmp_path, example_problem, json_plugin
):
    plugin = os.environ.get("GRAVOK_LANDXML_PLUGIN")
    if not plugin:
        pytest.skip("the LandXML plug-in is not built")
    gravok.load_plugin(plugin)
    source = gravok.createDataSource(example_problem)  # a vertex's z is NaN
    target = tmp_path / "site.xml"
    store = gravok.createDataStore(str(target))
    with pytest.raises(ValueError, match=r"site\.xml: surface .*vertex 3: z is NaN"):
        store.copyAllFrom(source)
    assert not target.exists()
    assert sorted(os.listdir(tmp_path)) == []


class KeepingStore(gravok.DataStore):
    """A Python store that keeps only the slope and says so."""

    def __init__(self):
        super().__init__()
        self.objectives = 0

    def set_objectives(self, objectives):
        self.objectives = len(objectives)

    def losses(self):
        return [("objectives", self.objectives)] if self.objectives else []


def test_stores_say_what_they_dropped(tmp_path, json_plugin, example_problem):
    source = gravok.createDataSource(example_problem)
    json_store = gravok.createDataStore(str(tmp_path / "copy.json"))
    json_store.copyAllFrom(source)
    assert gravok.losses(json_store) == []
    python_store = KeepingStore()
    python_store.copyAllFrom(source)
    objectives = len(source.get_objectives())
    assert objectives > 0
    assert gravok.losses(python_store) == [("objectives", objectives)]
    assert gravok.losses(gravok.DataSource()) is None
    assert math.isnan(source.get_eg_data()[2][3])


def test_an_interpreter_without_numpy_is_told_what_to_install():
    # None in sys.modules makes `import numpy` fail as it does where NumPy is missing.
    run = subprocess.run(
        [sys.executable, "-c", "import sys; sys.modules['numpy'] = None; import gravok"],
        capture_output=True, text=True, env=os.environ)
    assert run.returncode == 1
    last = run.stderr.strip().splitlines()[-1]
    assert last.startswith("ImportError: gravok needs NumPy"), run.stderr
    assert "python3-numpy" in last and "pip install numpy" in last
