"""Timing diagrams of the demo: marks, untimed rows, hostile names."""

import re

import matplotlib

matplotlib.use("Agg")

import tovak.plot  # noqa: E402


def test_tool_draws_one_mark_of_each_kind(tmp_path, cli):
    svg = tmp_path / "m.svg"
    assert cli("diagram", "Magnetics", 120100, 1, "-o", svg, raw=True).returncode == 0
    ids = re.findall(r'id="([a-z-]+?)-\d+"', svg.read_text())
    kinds = ("window", "pre-samples", "trigger", "trigger-time", "clock", "clock-start")
    assert [ids.count(kind) for kind in kinds] == [1] * len(kinds)
    assert cli("diagram", "Magnetics", 120100, 1, raw=True).returncode == 2


def test_untimed_channels_and_hostile_names_get_rows_of_their_own(tmp_path):
    ax = tovak.plot.timing("Magnetics", 120100, 1, channels=[(2, 1), (1, 1), (9, 9)])
    gids = [a.get_gid() for a in ax.get_children() if a.get_gid()]
    assert gids.count("window-1") == 1 and "untimed-2" in gids and "window-2" not in gids
    assert [t.get_text() for t in ax.get_yticklabels()][0] == "Magnetics 9/9"
    # The odd site's links (tests/db/odd_data.sql); a '$' pair must not be read as math.
    odd = 'O\'Brien"; DROP TABLE site; --\\'
    for diag, server, keys in ((odd, "/odd", [(1, k) for k in range(1, 7)] + [(-1, -1)]),
                               ("Mag$net\\frac{$ics", None, [(1, 1)])):
        ax = tovak.plot.timing(diag, 1, 0, channels=keys, server=server)
        ax.figure.savefig(tmp_path / "odd.png")
        labels = " ".join(t.get_text().replace("\\$", "$") for t in ax.get_yticklabels())
        assert labels.count(diag) == len(ax.get_yticklabels())
