"""Shared fixtures: the JSON plug-in module, loaded once for the whole session (a
module's providers are registered once, so it can be loaded only once at a time)."""

import os

import pytest

import gravok


@pytest.fixture(scope="session")
def json_plugin():
    path = os.environ.get("GRAVOK_JSON_PLUGIN")
    if not path:
        pytest.skip("the JSON plug-in is not built (GRAVOK_JSON_PLUGIN unset)")
    plugin = gravok.load_plugin(path)
    yield plugin
