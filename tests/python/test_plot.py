"""Timing diagrams of the demo: files, marks, labels."""

import re
import subprocess

import matplotlib

matplotlib.use("Agg")

import tovak.plot  # noqa: E402


def test_tool_draws_the_demo_to_png_and_svg(tmp_path, cli):
    png, svg = tmp_path / "m.png", tmp_path / "m.svg"
    for path in (png, svg):
        assert cli("diagram", "Magnetics", 120100, 1, "-o", path, raw=True).returncode == 0
    assert png.read_bytes().startswith(b"\x89PNG\r\n\x1a\n")
    text = svg.read_text()
    kinds = ("window", "pre-samples", "trigger", "trigger-time", "clock", "clock-start")
    ids = re.findall(r'id="([a-z-]+?)-\d+"', text)  # one mark of each kind
    assert [ids.count(kind) for kind in kinds] == [1] * len(kinds)
    assert all(label in text for label in ("Magnetics 1/1-8, 2/1-8 (16 channels)", "time (s)",
                                           "fdts01 DMODSS0 output 1", "fdts01 DMODSS0 output 7"))
    assert cli("diagram", "Magnetics", 120100, 1, raw=True).returncode == 2


def test_groups_and_untimed_channels_get_rows_that_do_not_overlap():
    # Channel 9/9 has no link: a row of its own saying so.
    ax = tovak.plot.timing("Magnetics", 120100, 1, channels=[(2, 1), (1, 1), (9, 9)])
    gids = [a.get_gid() for a in ax.get_children() if a.get_gid()]
    assert gids.count("window-1") == 1 and "untimed-2" in gids and "window-2" not in gids
    labels = [t.get_text() for t in ax.get_yticklabels()]
    assert labels[0] == "Magnetics 9/9" and "Magnetics 1/1, 2/1 (2 channels)" in labels[1]
    ax.figure.canvas.draw()
    boxes = [t.get_window_extent() for t in ax.get_yticklabels()]
    assert not any(a.overlaps(b) for i, a in enumerate(boxes) for b in boxes[i + 1:])


def test_hostile_names_and_links_are_drawn_as_written(tmp_path):
    # The odd site's links (tests/db/odd_data.sql), and a name with a '$' pair,
    # which must not be read as math.
    odd = 'O\'Brien"; DROP TABLE site; --\\'
    for diag, server, keys in ((odd, "/odd", [(1, k) for k in range(1, 7)] + [(-1, -1)]),
                               ("Mag$net\\frac{$ics", None, [(1, 1)])):
        ax = tovak.plot.timing(diag, 1, 0, channels=keys, server=server)
        ax.figure.savefig(tmp_path / "odd.png")
        labels = " ".join(t.get_text().replace("\\$", "$") for t in ax.get_yticklabels())
        assert labels.count(diag) == len(ax.get_yticklabels())
