"""The registry with Python providers, and plug-in modules."""

import gc

import pytest

import gravok


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
    assert gravok.createDataSource("pair:none") is None
    assert gravok.createDataSource("nothing:here") is None
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
    with pytest.raises(ValueError):
        gravok.load_plugin(json_plugin.path)  # already loaded


def test_landxml_plugin_surface_reaches_numpy(example_problem):
    import os
    path = os.environ.get("GRAVOK_LANDXML_PLUGIN")
    if not path:
        pytest.skip("the LandXML plug-in is not built")
    from conftest import SOURCE_DIR
    plugin = gravok.load_plugin(path)
    source = gravok.createDataSource(
        "landxml:" + str(SOURCE_DIR / "tests" / "data" / "landxml" / "civil_example_clean.xml"))
    x, y, z, triangles, info = source.get_eg_data()
    assert len(x) > 0 and triangles.shape[1] == 3 and int(triangles.max()) < len(x)
    del source
    gc.collect()
    plugin.unload()
    assert not plugin.is_loaded
