"""Shared fixtures: the JSON plug-in module, loaded once for the whole session (a
module's providers are registered once, so it can be loaded only once at a time)."""

import os
import pathlib

import pytest

import gravok


@pytest.fixture(scope="session")
def json_plugin():
    path = os.environ.get("GRAVOK_JSON_PLUGIN")
    if not path:
        pytest.skip("the JSON plug-in is not built (GRAVOK_JSON_PLUGIN unset)")
    plugin = gravok.load_plugin(path)
    yield plugin


# The repository's root: the tests read its example document and its Python page.
SOURCE_DIR = pathlib.Path(__file__).resolve().parents[2]


@pytest.fixture
def example_problem():
    return str(SOURCE_DIR / "docs" / "examples" / "small-problem.json")
