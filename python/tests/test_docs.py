"""The worked example of docs/python.md runs as written, from the repository root."""

import os
import re
import subprocess
import sys

import pytest

import gravok
from conftest import SOURCE_DIR


def test_worked_example_runs_as_written():
    if not os.environ.get("GRAVOK_JSON_PLUGIN"):
        pytest.skip("the JSON plug-in is not built")
    page = (SOURCE_DIR / "docs" / "python.md").read_text()
    blocks = re.findall(r"```python\n(.*?)```", page, re.S)
    assert len(blocks) == 1
    # A fresh interpreter: this one has the plug-in loaded already.
    env = dict(os.environ, PYTHONPATH=os.path.dirname(os.path.dirname(gravok.__file__)))
    run = subprocess.run([sys.executable, "-c", blocks[0]], cwd=SOURCE_DIR, env=env,
                         capture_output=True, text=True, timeout=120)
    assert run.returncode == 0, run.stderr
    assert "written:" in run.stdout and "cleaned:" in run.stdout


def test_stubs_name_every_public_name():
    import ast
    import gravok._gravok as extension
    stub = ast.parse((SOURCE_DIR / "python" / "gravok" / "__init__.pyi").read_text())
    named = {node.name for node in stub.body if isinstance(node, (ast.ClassDef, ast.FunctionDef))}
    named |= {t.id for node in stub.body if isinstance(node, (ast.Assign, ast.AnnAssign))
              for t in (node.targets if isinstance(node, ast.Assign) else [node.target])}
    public = {name for name in vars(extension) if not name.startswith("_")}
    assert public <= named, "python/make_stubs.py writes the stubs again"


def test_version_is_the_projects():
    cmake = (SOURCE_DIR / "CMakeLists.txt").read_text()
    version = re.search(r"project\(gravok-data VERSION (\S+)", cmake).group(1)
    assert gravok.__version__ == version
