"""Lookups of one digitizer channel: its link, time base and sampling times,
and the settings of a timing output channel.

``server`` is a database server name (``host[/site][::database]``) or a remote
address (``grpc://host:port/site``); None takes the library's default
(``INDEXSERVERNAME`` or ``KOVD_GRPC``).
"""

import dataclasses
import datetime
import typing

import numpy

from . import _tovak


@dataclasses.dataclass(frozen=True)
class RawLink:
    """The link as stored (tovakGetDTSinfoCLK); absent options are ''."""
    dts_kind: str
    trigger_unit: str
    trigger_module: str
    clock_output: str
    trigger_output: str
    clock_source: str
    clock_setting: int
    record_length: int
    pre_samples: str
    sampling_interval: str
    clock_unit_kind: str
    clock_unit: str
    clock_module: str


@dataclasses.dataclass(frozen=True)
class Link:
    """A channel's DTS link decoded into numbers (tovakGetDTSinfox), with the
    raw texts in ``raw``. ``clock_output`` and ``trigger_output`` are output
    numbers of the timing module; ``clock_setting`` is cycles per sample for
    an external clock, the frequency (Hz) for an internal one."""
    dts_kind: str
    trigger_unit: str
    trigger_module: str
    clock_output: int
    trigger_output: int
    clock_setting: int
    record_length: int
    clock_source: str
    pre_samples: int
    sampling_interval_ns: int
    clock_unit_id: int
    clock_module: str
    raw: RawLink


class TimeBase(typing.NamedTuple):
    """A record's time base in seconds.

    ``axis[k]`` is the time of sample k + 1: sample 1 is the first recorded
    sample. ``delay`` is the time of sample p, p the pre-sample count: the
    trigger."""
    period: float
    delay: float
    axis: numpy.ndarray


class Sampling(typing.NamedTuple):
    """The steps of a time base in picoseconds from the timing system's time
    zero; None where the library does not know the time (for example the
    clock start of an internal clock). ``sample0_time`` is one period before
    sample 1."""
    period: typing.Optional[int]
    clock_cycle: typing.Optional[int]
    clock_start: typing.Optional[int]
    trigger_time: typing.Optional[int]
    sample0_time: typing.Optional[int]


def _server(server):
    return "" if server is None else server


def link(diag, shot, subshot, key1, key2, server=None):
    """The DTS link of channel (key1, key2) of a diagnostic in a shot."""
    args = (diag, shot, subshot, key1, key2, _server(server))
    raw = RawLink(**_tovak.link_texts(*args))
    return Link(**_tovak.link_numbers(*args), raw=raw)


def timebase(diag, shot, subshot, key1, key2, samples=None, last=0, single=False,
             server=None):
    """Period, delay and time axis of a record, as ``tovak timebase`` computes
    them: ``samples`` entries (None: the link's record length), the axis
    ending at sample ``last`` when that lies beyond them, float32 with
    ``single``, float64 otherwise."""
    period, delay, axis = _tovak.timebase(diag, shot, subshot, key1, key2, samples, last,
                                          single, _server(server))
    return TimeBase(period, delay, axis)


def sampling(diag, shot, subshot, key1, key2, server=None):
    """Sampling period, clock cycle, clock start, trigger time and the time of
    sample 0 of a record, from its link."""
    return Sampling(**_tovak.sampling(diag, shot, subshot, key1, key2, _server(server)))


class Parameters(dict):
    """A timing output channel's settings in their order: name -> value.
    ``types[name]`` is the library's type of the entry: text, int, unsigned,
    long, time (a POSIX time, given as an aware UTC datetime) or seconds
    (given as float)."""

    def __init__(self):
        super().__init__()
        self.types = {}


_TYPES = {1: ("text", str), 2: ("int", int), 3: ("unsigned", int), 4: ("long", int),
          5: ("time", lambda v: datetime.datetime.fromtimestamp(int(v), datetime.timezone.utc)),
          6: ("seconds", float)}


def parameters(dts, module, shot, subshot, channel, server=None):
    """Settings of output ``channel`` (from 1) of a timing module; ``module``
    may be "NONAME" when unknown."""
    result = Parameters()
    for name, value, tag in _tovak.parameters(dts, module, shot, subshot, channel,
                                              _server(server)):
        kind, convert = _TYPES.get(tag, ("text", str))
        try:
            result[name] = convert(value)
        except ValueError:  # a text the type does not read: kept as written
            result[name], kind = value, "text"
        result.types[name] = kind
    return result


class ParameterCount(typing.NamedTuple):
    """The largest parameter count over channels first..last, with the last
    channel resolved and the module name used."""
    count: int
    first: int
    last: int
    module: str


def parameter_count(dts, module, shot, subshot, first=1, last=0, server=None):
    """How many parameters channels first..last (last 0: the module's last
    channel) need at most."""
    return ParameterCount(*_tovak.parameter_count(dts, module, shot, subshot, first, last,
                                                  _server(server)))
