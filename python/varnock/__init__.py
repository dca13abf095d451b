"""Varnock: an object model for hydrologic data kept in HEC-DSS files.

The automation classes (DSSDatabase, Pathname, RegularTimeSeries, IrregTimeSeries, PairedData,
GriddedData), their interfaces and enumerations come from the extension ``varnock._varnock``;
every enumeration member is also available at module level.

On top of them: ``varnock.open(path, mode)`` returns a ``DSSDatabase`` that is a context
manager and reads and writes pandas objects in one line (``db.read``, ``db.write``,
``db.read_many``, ``db.catalog``); every series has ``values`` and ``times`` as NumPy arrays and
``to_pandas``/``from_pandas``. Missing values are NaN in NumPy and pandas, -901 in the file.
"""

from ._varnock import *  # noqa: F401,F403
from ._varnock import AutomationError, Null, NullType, _enum_member_names  # noqa: F401
from . import _varnock as _core

# Enumeration members at module level (plnAlwaysWrite, atUseLast, axFirstAxis, ...).
globals().update({name: getattr(_core, name) for name in _enum_member_names})

# The Pythonic layer on top of the automation classes: varnock.open, NumPy arrays, pandas.
from . import _database, _records  # noqa: E402
from ._convert import MISSING  # noqa: E402,F401
from ._database import open  # noqa: E402,F401

_database.install(_core)
_records.install(_core)

# Plots (matplotlib, imported on first use) and many-file reads (serial or through Dask).
from . import plotting as _plotting  # noqa: E402
from .many import read_ensemble, read_many_files  # noqa: E402,F401
from .plotting import plot  # noqa: E402,F401

_plotting.install(_core)
