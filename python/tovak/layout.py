"""What a timing diagram shows, as numbers: a diagnostic's channels grouped
by their timing set-up, with the times of each group in seconds."""

import dataclasses
import typing

from .errors import Error
from .lookups import link, parameters, sampling
from .settings import channel_settings, modules

_PS = 1e-12  # seconds per picosecond


@dataclasses.dataclass(frozen=True)
class Output:
    """A timing unit output: unit, module and output as the link names it;
    ``start`` and ``length`` in seconds (a trigger pulse's width, a clock's
    cycle; None when its settings could not be read)."""
    unit: str
    module: str
    name: str
    start: float
    length: typing.Optional[float]

    @property
    def label(self):
        name = self.name if not self.name.isdigit() else f"output {self.name}"
        return f"{self.unit} {self.module} {name}"


@dataclasses.dataclass
class Group:
    """Channels (key1, key2) sharing one timing set-up, and its times in
    seconds. Samples are numbered from 1, the first recorded sample; sample
    ``pre_samples`` is the trigger. ``error`` is set, and the times are None,
    when the set-up cannot be timed."""
    channels: list
    samples: int = 0
    pre_samples: int = 0
    clock: str = ""  # source and period
    trigger_time: typing.Optional[float] = None
    clock_start: typing.Optional[float] = None
    first_sample: typing.Optional[float] = None
    last_sample: typing.Optional[float] = None
    pre_samples_end: typing.Optional[float] = None
    trigger_output: typing.Optional[Output] = None
    clock_output: typing.Optional[Output] = None
    error: typing.Optional[Error] = None


def diagnostic_channels(diag, shot, subshot, setup_server=None, server=None):
    """(key1, key2) of every channel of the diagnostic: key1 is the module's
    position (from 1), key2 the channel on it."""
    return [(position, int(row["channel"]))
            for position, (key1, key2) in enumerate(modules(diag, shot, subshot, setup_server), 1)
            for row in channel_settings(key1, key2, shot, subshot, server)]


def groups(diag, shot, subshot, channels=None, server=None, setup_server=None):
    """The channels (all of the diagnostic's by default) grouped by their link,
    in the order of their first channel."""
    if channels is None:
        channels = diagnostic_channels(diag, shot, subshot, setup_server, server)
    by_setup = {}  # the raw link (or the failure's status) -> (link or failure, channels)
    for key in channels:
        try:
            found = link(diag, shot, subshot, *key, server=server)
            setup = found.raw
        except Error as error:
            found, setup = error, error.status
        by_setup.setdefault(setup, (found, []))[1].append(tuple(key))
    return [_timed(diag, shot, subshot, found, keys, server)
            for found, keys in by_setup.values()]


def _timed(diag, shot, subshot, found, keys, server):
    group = Group(channels=keys)
    try:
        if isinstance(found, Error):
            raise found
        times = sampling(diag, shot, subshot, *keys[0], server=server)
    except Error as error:
        group.error = error
        return group
    raw = found.raw
    period = times.period * _PS
    sample0 = times.sample0_time * _PS
    group.trigger_time = times.trigger_time * _PS
    group.first_sample = sample0 + period
    group.last_sample = sample0 + found.record_length * period
    group.pre_samples_end = sample0 + found.pre_samples * period
    group.trigger_output = Output(
        raw.trigger_unit, raw.trigger_module, raw.trigger_output, group.trigger_time,
        _pulse_width(raw.trigger_unit, raw.trigger_module, found.trigger_output, shot, subshot,
                     server))
    group.samples, group.pre_samples = found.record_length, found.pre_samples
    group.clock = f"{si_seconds(period)} period ({found.clock_source.lower()} clock)"
    if found.clock_source == "External" and times.clock_start is not None:
        group.clock_start = times.clock_start * _PS
        group.clock_output = Output(raw.clock_unit or raw.trigger_unit,
                                    raw.clock_module or raw.trigger_module, raw.clock_output,
                                    group.clock_start, times.clock_cycle * _PS)
    return group


def _pulse_width(unit, module, output, shot, subshot, server):
    """The trigger output's pulse width in seconds; None when its settings
    cannot be read (the pulse is drawn without it)."""
    try:
        return parameters(unit, module, shot, subshot, output, server=server).get("PulseWidth_s")
    except Error:
        return None


def si_seconds(value):
    """Seconds with an SI prefix: 1e-06 -> "1 µs"."""
    for scale, prefix in ((1, ""), (1e-3, "m"), (1e-6, "µ"), (1e-9, "n"), (1e-12, "p")):
        if abs(value) >= scale:
            return f"{value / scale:.4g} {prefix}s"
    return f"{value:.4g} s"
