"""The digitizer modules a diagnostic used in a shot and their channel
settings, as numpy structured arrays.

Channel fields, one row per channel:

- ``channel``: channel number on the module (int32)
- ``range_V``: input range in volts (float64)
- ``offset_V``: input offset in volts (float64)
- ``clock_Hz``: sampling clock frequency in hertz (float64)
- ``pre_samples``: samples recorded before the trigger (int32)
- ``samples``: samples in the record (int32)
- ``clock_count``: clock cycles per sample of an external clock (int32)
- ``mode_flag``: the card's acquisition mode flag (int32)

``settings`` adds ``key1`` and ``key2``, the module's keys, before them.
These read the databases directly whatever the protocol: ``setup_server``
names the setup database (None: ``SETUPSERVERNAME``), ``server`` the index
database (None: ``INDEXSERVERNAME``).
"""

import numpy

from . import _tovak

# Module keys are at most 63 characters.
_KEY = "U63"


def _server(server):
    return "" if server is None else server


def modules(diag, shot, subshot, setup_server=None):
    """(key1, key2) of each module the diagnostic used, in position order:
    module i + 1 is the first channel key of its channels' links."""
    return _tovak.modules(diag, shot, subshot, _server(setup_server))


def channel_settings(key1, key2, shot, subshot, server=None):
    """Settings of every channel of module (key1, key2) in a shot."""
    return _packed(_tovak.channel_settings(key1, key2, shot, subshot, _server(server)))


def settings(diag, shot, subshot, setup_server=None, server=None):
    """Settings of every channel of every module the diagnostic used, one row
    per channel, modules in position order."""
    per_module = _tovak.settings(diag, shot, subshot, _server(setup_server), _server(server))
    dtype = numpy.dtype([("key1", _KEY), ("key2", _KEY)] + _CHANNEL.descr)
    table = numpy.zeros(sum(len(rows) for _, _, rows in per_module), dtype=dtype)
    at = 0
    for key1, key2, rows in per_module:
        part = table[at:at + len(rows)]
        part["key1"], part["key2"] = key1, key2
        for field in _CHANNEL.names:
            part[field] = rows[field]
        at += len(rows)
    return table


# The library's record without its C padding.
_CHANNEL = numpy.dtype([(name, _tovak.channel_dtype.fields[name][0])
                        for name in _tovak.channel_dtype.names])


def _packed(rows):
    return rows.astype(_CHANNEL)
