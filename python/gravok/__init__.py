"""gravok: terrain-grading problems from Python.

Sources and stores (DataSource, DataStore) that Python classes can derive from, the
transfer between any of them (DataStore.copyFrom, copyAllFrom), the provider
registry and plug-in modules (load_plugin, createDataSource, createDataStore), the
exchange records, units, mesh tools on NumPy arrays and logging. See docs/python.md.
"""

from ._gravok import *  # noqa: F401,F403
from ._gravok import __doc__ as _extension_doc  # noqa: F401
from ._gravok import __version__  # noqa: F401

LinearUnit = Unit1  # noqa: F405
AreaUnit = Unit2  # noqa: F405
VolumeUnit = Unit3  # noqa: F405
