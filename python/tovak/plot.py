"""Timing diagrams: how a shot's triggers, clocks and recorded windows line
up, on one time axis in seconds.

Each group of channels sharing a timing set-up takes up to three rows: the
trigger output (its pulse), the clock output (a band from the clock start),
and the recorded window from sample 1 to the last sample, the pre-sample
part (up to the trigger) set apart. A dashed line marks the trigger time, a
dotted one the clock start. Every mark carries a gid (``window-N``,
``pre-samples-N``, ``trigger-N``, ``trigger-time-N``, ``clock-N``,
``clock-start-N``; N counts groups from 1), which SVG output keeps as ids.
"""

import matplotlib.lines
import matplotlib.patches
import matplotlib.pyplot as pyplot

from .layout import groups, si_seconds

_TRIGGER, _CLOCK, _PRE, _RECORDED = "tab:red", "tab:green", "tab:orange", "tab:blue"
_ROW_INCHES = 0.42


def timing(diag, shot, subshot, channels=None, ax=None, server=None, setup_server=None):
    """Draws the timing of a diagnostic's channels (all by default, or the
    (key1, key2) pairs in ``channels``) in a shot; returns the axes. Without
    ``ax`` a figure sized to the rows is made. Raises tovak.Error when the
    channels cannot be listed, ValueError when there are none; a channel
    whose timing cannot be read gets a row saying so."""
    found = groups(diag, shot, subshot, channels, server, setup_server)
    if not found:
        raise ValueError(f"{diag} has no digitizer channels in shot {shot} sub-shot {subshot}")
    rows, spans = [], []  # rows (label, draw(ax, y)) from the top; each group's first and last
    for number, group in enumerate(found, 1):
        first = len(rows)
        rows.extend(_group_rows(diag, number, group))
        spans.append((first, len(rows) - 1))
    if ax is None:
        _, ax = pyplot.subplots(figsize=(14, 1.6 + _ROW_INCHES * len(rows)),
                                layout="constrained")
    top = len(rows) - 1  # row i is drawn at y = top - i
    for i, (_, draw) in enumerate(rows):
        draw(ax, top - i)
    for number, (group, (first, last)) in enumerate(zip(found, spans), 1):
        _time_lines(ax, number, group, top - last - 0.45, top - first + 0.45)
        if number > 1:
            ax.axhline(top - first + 0.5, color="grey", linewidth=0.6)
    focus = _focus(found)
    if focus is not None:
        ax.set_xlim(*focus)
    ax.set_yticks(range(len(rows)), [_plain(label) for label, _ in reversed(rows)])
    ax.set_ylim(-0.7, len(rows) - 0.3)
    ax.set_xlabel("time (s) from the timing system's time zero")
    ax.set_title(_plain(f"{diag}, shot {shot} sub-shot {subshot}"))
    ax.grid(axis="x", alpha=0.3)
    ax.legend(handles=_legend(), loc="upper left", bbox_to_anchor=(1.01, 1.0), frameon=False)
    return ax


def _group_rows(diag, number, group):
    """The rows of one group: (label, draw(ax, y))."""
    channels = _channel_ranges(group.channels)
    if group.error is not None:
        text = f"no timing: {group.error.function} returned {group.error.status}"
        return [(f"{diag} {channels}", lambda ax, y: ax.text(
            0.01, y, _plain(text), transform=ax.get_yaxis_transform(), va="center",
            gid=f"untimed-{number}"))]
    rows = []
    pulse = group.trigger_output
    width = f", {si_seconds(pulse.length)} pulse" if pulse.length is not None else ""
    rows.append((f"trigger: {pulse.label}{width} at {pulse.start:.9g} s",
                 lambda ax, y: _bar(ax, y, pulse.start, pulse.length or 0, _TRIGGER,
                                    f"trigger-{number}", minimum=True)))
    if group.clock_output is not None:
        clock = group.clock_output
        rows.append((f"clock: {clock.label}, {si_seconds(clock.length)} cycle from "
                     f"{clock.start:.9g} s",
                     lambda ax, y: _bar(ax, y, clock.start, group.last_sample - clock.start,
                                        _CLOCK, f"clock-{number}", alpha=0.35)))
    count = len(group.channels)
    rows.append((f"{diag} {channels} ({count} channel{'s' if count > 1 else ''})\n"
                 f"{group.samples} samples, {group.pre_samples} pre-samples, {group.clock}",
                 lambda ax, y: _window(ax, y, number, group)))
    return rows


def _window(ax, y, number, group):
    _bar(ax, y, group.first_sample, group.pre_samples_end - group.first_sample, _PRE,
         f"pre-samples-{number}", hatch="//")
    _bar(ax, y, group.pre_samples_end, group.last_sample - group.pre_samples_end, _RECORDED,
         f"window-{number}")


def _bar(ax, y, start, length, color, gid, minimum=False, **style):
    """A bar of one row; with ``minimum`` a marker keeps a short pulse visible."""
    ax.broken_barh([(start, length)], (y - 0.3, 0.6), facecolors=color, gid=gid, **style)
    if minimum:
        ax.plot([start], [y], marker="v", markersize=9, color=color, gid=f"{gid}-mark")


def _time_lines(ax, number, group, bottom, top):
    """Trigger time and clock start across the group's rows."""
    if group.error is not None:
        return
    ax.vlines(group.trigger_time, bottom, top, colors=_TRIGGER, linestyles="dashed",
              gid=f"trigger-time-{number}")
    if group.clock_start is not None:
        ax.vlines(group.clock_start, bottom, top, colors=_CLOCK, linestyles="dotted",
                  gid=f"clock-start-{number}")


def _plain(text):
    """Names from the databases shown as written, never read as math."""
    return text.replace("$", r"\$")


def _focus(found):
    """The time range shown: the recorded windows and trigger pulses, and the
    clock starts no further before them than they last (a unit's base clock
    that started two minutes earlier would squash the rest; its label tells
    when it started)."""
    timed = [group for group in found if group.error is None]
    if not timed:
        return None
    low = min(min(g.first_sample, g.trigger_time) for g in timed)
    high = max(max(g.last_sample, g.trigger_time + (g.trigger_output.length or 0))
               for g in timed)
    span = high - low
    low = min([low] + [g.clock_start for g in timed
                       if g.clock_start is not None and g.clock_start >= low - span])
    margin = 0.03 * (high - low) or 1e-6
    return low - margin, high + margin


def _channel_ranges(channels):
    """(1, 1) .. (1, 8), (2, 1) .. (2, 8) -> "1/1-8, 2/1-8"."""
    parts, run = [], []
    for key1, key2 in sorted(channels):
        if run and (key1 != run[0][0] or key2 != run[-1][1] + 1):
            parts.append(_run_text(run))
            run = []
        run.append((key1, key2))
    if run:
        parts.append(_run_text(run))
    return ", ".join(parts)


def _run_text(run):
    (key1, low), (_, high) = run[0], run[-1]
    return f"{key1}/{low}" if low == high else f"{key1}/{low}-{high}"


def _legend():
    patch, line = matplotlib.patches.Patch, matplotlib.lines.Line2D
    return [line([], [], color=_TRIGGER, linestyle="dashed", label="trigger time"),
            line([], [], color=_CLOCK, linestyle="dotted", label="clock start"),
            patch(facecolor=_TRIGGER, label="trigger pulse (▼ its start)"),
            patch(facecolor=_CLOCK, alpha=0.35, label="clock output running"),
            patch(facecolor=_PRE, hatch="//", label="pre-samples"),
            patch(facecolor=_RECORDED, label="samples from the trigger")]
