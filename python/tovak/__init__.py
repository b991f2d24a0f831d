"""tovak: timing information of recorded digitizer signals.

Lookups answer from the experiment's databases (or a remote data server) and
raise ``tovak.Error`` when they fail. The library serves one thread at a
time: calls from several threads wait for each other, without holding the
GIL while they run. Timing diagrams: ``tovak.plot``.
"""

from .control import is_remote, kept_open, set_verbose, use_direct, use_remote
from .errors import Error
from .lookups import (Link, ParameterCount, Parameters, RawLink, Sampling, TimeBase, link,
                      parameter_count, parameters, sampling, timebase)
from .settings import channel_settings, modules, settings

__all__ = [
    "Error", "Link", "ParameterCount", "Parameters", "RawLink", "Sampling", "TimeBase",
    "channel_settings", "is_remote", "kept_open", "link", "modules", "parameter_count",
    "parameters", "sampling", "set_verbose", "settings", "timebase", "use_direct",
    "use_remote",
]


def __getattr__(name):
    # tovak.plot loads matplotlib: only when it is first used.
    if name == "plot":
        import importlib
        return importlib.import_module(".plot", __name__)
    raise AttributeError(f"module 'tovak' has no attribute {name!r}")
