"""The registry with Python providers, and plug-in modules."""

import gc
import os
import pathlib

import pytest

import gravok
from conftest import SOURCE_DIR

LANDXML_FILE = SOURCE_DIR / "tests" / "data" / "landxml" / "civil_example_clean.xml"


class PairSource(gravok.DataSource):
    def __init__(self, location):
        super().__init__()
        self.location = location

    def get_max_slope(self):
        return 0.5


class PairStore(gravok.DataStore):
    def __init__(self, location):
        super().__init__()
        self.location = location
        self.slope = None

    def set_max_slope(self, slope):
        self.slope = slope


class SourceProvider(gravok.DataSourceProvider):
    def canHandle(self, location):
        return location.startswith("pair:")

    def description(self):
        return "pair:NAME, a Python source"

    def createDataSource(self, location):
        return PairSource(location) if location != "pair:none" else None


class StoreProvider(gravok.DataStoreProvider):
    def canHandle(self, location):
        return location.startswith("pairstore:")

    def description(self):
        return "pairstore:NAME, a Python store"

    def createDataStore(self, location):
        return PairStore(location)


@pytest.fixture
def providers():
    assert gravok.registerDataSourceProvider("pair", SourceProvider())
    assert gravok.registerDataStoreProvider("pairstore", StoreProvider())
    yield
    assert gravok.unregisterDataSourceProvider("pair")
    assert gravok.unregisterDataStoreProvider("pairstore")


def test_python_providers_hand_out_their_own_objects(providers):
    source = gravok.createDataSource("pair:a")
    assert type(source) is PairSource and source.location == "pair:a"
    with pytest.raises(ValueError, match="cannot open pair:none: no provider opens it"):
        gravok.createDataSource("pair:none")
    with pytest.raises(ValueError, match="nothing:here: no provider opens it"):
        gravok.createDataSource("nothing:here")
    # A store provider serves source requests with its stores.
    assert type(gravok.createDataSource("pairstore:s")) is PairStore
    store = gravok.createDataStore("pairstore:t")
    store.copyFrom(source)
    assert store.slope == 0.5
    assert not gravok.registerDataSourceProvider("pair", SourceProvider())
    assert "pair" in gravok.dataSourceProviderNames()
    listed = gravok.dataSourceProviders()
    assert any(isinstance(p, SourceProvider) for p in listed)
    assert any(isinstance(p, StoreProvider) for p in listed)


def test_plugin_objects_keep_the_module_loaded(json_plugin, example_problem):
    assert json_plugin.is_loaded and json_plugin.provider_count == 2
    assert "json" in gravok.dataStoreProviderNames()
    source = gravok.createDataSource(example_problem)
    with pytest.raises(ValueError, match="still live"):
        json_plugin.unload()
    assert json_plugin.is_loaded
    assert source.get_hostcad_version() == "SiteDesigner 12.4"
    del source
    gc.collect()


def test_load_plugin_reports_why_it_fails(tmp_path, json_plugin):
    with pytest.raises(ValueError, match="missing.so"):
        gravok.load_plugin(str(tmp_path / "missing.so"))
    with pytest.raises(TypeError):
        gravok.load_plugin(42)
    # A module that other users may change is refused before any of its code runs.
    shared = tmp_path / "shared"
    shared.mkdir()
    copy = shared / "copy.so"
    copy.write_bytes(pathlib.Path(json_plugin.path).read_bytes())
    shared.chmod(0o777)
    with pytest.raises(ValueError, match="may be written by every user"):
        gravok.load_plugin(copy)
    shared.chmod(0o755)


def test_a_module_loaded_already_gives_its_handle_again(tmp_path, json_plugin):
    link = tmp_path / "link.so"
    link.symlink_to(json_plugin.path)
    for name in (json_plugin.path, pathlib.Path(json_plugin.path), link):
        again = gravok.load_plugin(name)
        assert again is json_plugin, name
    assert json_plugin.provider_count == 2


def test_a_dropped_load_plugin_result_leaves_the_module_loaded():
    path = os.environ.get("GRAVOK_LANDXML_PLUGIN")
    if not path:
        pytest.skip("the LandXML plug-in is not built")
    gravok.load_plugin(pathlib.Path(path))  # the handle is not kept
    gc.collect()
    assert "landxml" in gravok.dataSourceProviderNames()
    source = gravok.createDataSource(LANDXML_FILE)
    x, y, z, triangles, info = source.get_eg_data()
    assert len(x) > 0 and triangles.shape[1] == 3 and int(triangles.max()) < len(x)
    plugin = gravok.load_plugin(path)
    assert plugin.source_provider_names == ["landxml"]
    with pytest.raises(ValueError, match="still live"):
        plugin.unload()
    del source
    gc.collect()
    plugin.unload()
    assert not plugin.is_loaded
    assert "landxml" not in gravok.dataSourceProviderNames()
    gravok.load_plugin(path)  # loaded again, for the tests that follow


def test_a_with_block_unloads_its_plugin_unless_the_plugins_objects_live(tmp_path):
    path = os.environ.get("GRAVOK_DXF_PLUGIN")
    if not path:
        pytest.skip("the DXF plug-in is not built")
    with gravok.load_plugin(path) as plugin:
        store = gravok.createDataStore(tmp_path / "kept.dxf")
    # The store's code lives in the module: it stays loaded, and the store works.
    assert plugin.is_loaded and "dxf" in gravok.dataStoreProviderNames()
    with store:
        store.set_max_slope(0.25)
    assert (tmp_path / "kept.dxf").exists()
    del store
    gc.collect()
    with gravok.load_plugin(path) as again:
        assert again is plugin
    assert not plugin.is_loaded and "dxf" not in gravok.dataStoreProviderNames()
    gravok.load_plugin(path)  # loaded again, for the tests that follow


def test_locations_are_str_or_path_like(json_plugin, example_problem):
    for location in (example_problem, pathlib.Path(example_problem),
                     os.fsencode(example_problem)):
        source = gravok.createDataSource(location)
        assert source.get_hostcad_version() == "SiteDesigner 12.4", location
    with pytest.raises(TypeError):
        gravok.createDataSource(3.5)
