"""gravok: terrain-grading problems from Python.

problem = gravok.open("site.xml") reads a whole problem through any registered
provider, the installed plug-ins loaded by themselves; its mesh and element
coordinates are NumPy arrays and its settings, units and surfaces attributes, and
problem.save("site.json") writes it. Beside it stands the C++-shaped interface:
sources and stores (DataSource, DataStore) that Python classes can derive from, the
transfers between any of them (DataStore.copyFrom, copyAllFrom), the provider
registry and plug-in modules (load_plugin, createDataSource, createDataStore), the
exchange records, units, mesh tools on NumPy arrays and logging. See docs/python.md.
"""

import sys as _sys

# Problems hand their meshes and coordinates over as NumPy arrays. An interpreter
# without NumPy gets told what to install, not only that a module is missing.
try:
    import numpy as _numpy  # noqa: F401
except ImportError as _error:
    raise ImportError(
        "gravok needs NumPy, which this Python (" + _sys.executable + ") cannot import: "
        "install python3-numpy (Debian, Ubuntu) or run `python3 -m pip install numpy` "
        "for this interpreter") from _error

from . import _gravok
from ._gravok import *  # noqa: F401,F403
from ._gravok import __doc__ as _extension_doc  # noqa: F401
from ._gravok import __version__  # noqa: F401
from ._problem import (Description, ElementSet, LossWarning, Mesh,  # noqa: F401
                       PluginReport, Problem, Surface, load_plugins, open)

LinearUnit = Unit1  # noqa: F405
AreaUnit = Unit2  # noqa: F405
VolumeUnit = Unit3  # noqa: F405

# `from gravok import *` leaves the built-in open alone: gravok.open is used by name.
__all__ = [name for name in vars(_gravok) if not name.startswith("_")] + [
    "Description", "ElementSet", "LossWarning", "Mesh", "PluginReport", "Problem", "Surface",
    "load_plugins", "LinearUnit", "AreaUnit", "VolumeUnit"]
