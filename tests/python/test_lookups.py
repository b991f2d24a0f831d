"""The package's answers against the C API's, as the tool gives them."""

import datetime

import numpy
import pytest

import tovak

MAGNETICS = ("Magnetics", 120100, 1, 1, 3)


@pytest.mark.parametrize("samples,last,single", [(None, 0, False), (None, 0, True),
                                                 (10, 2000000, False), (0, 0, True)])
def test_time_base_is_the_c_api_s_bit_for_bit(cli, tmp_path, samples, last, single):
    axis_file = tmp_path / "axis.bin"
    options = ["--axis", axis_file, "--last", last] + (["--single"] if single else [])
    if samples is not None:
        options += ["--samples", samples]
    expected = cli("--json", "timebase", *MAGNETICS, *options)
    got = tovak.timebase(*MAGNETICS, samples=samples, last=last, single=single)
    assert got.axis.dtype == (numpy.float32 if single else numpy.float64)
    assert got.axis.tobytes() == axis_file.read_bytes()
    assert len(got.axis) == expected["samples"]
    assert (got.period, got.delay) == (expected["period_s"], expected["delay_s"])


def test_link_gives_numbers_and_raw_texts():
    found = tovak.link(*MAGNETICS)
    assert (found.trigger_unit, found.trigger_module) == ("fdts01", "DMODSS0")
    assert (found.clock_output, found.trigger_output) == (7, 1)
    assert (found.record_length, found.pre_samples) == (2000000, 1000)
    assert (found.raw.clock_output, found.raw.pre_samples, found.raw.clock_unit) == ("7", "1000", "")
    ece = tovak.link("ECE", 120100, 1, 1, 1)
    assert (ece.raw.clock_unit_kind, ece.raw.clock_unit, ece.raw.clock_module) == (
        "CAMAC", "cdts01", "DMOD0")


@pytest.mark.parametrize("call,args,status", [
    (tovak.link, ("link", "NoSuchDiag", 120100, 1, 1, 3), -103),
    (tovak.timebase, ("timebase", "Spectroscopy", 120100, 1, 1, 1), -53),
    (tovak.parameters, ("params", "fdts01", "DMODSS0", 120100, 1, 99), -60),
    (tovak.parameter_count, ("count", "nosuchunit", "DMOD0", 120100, 1), -56),
])
def test_failures_carry_the_tool_s_status_and_meaning(cli, call, args, status):
    with pytest.raises(tovak.Error) as failure:
        call(*args[1:])
    assert failure.value.status == status
    done = cli(*args, raw=True)
    assert f"returned {status}: {failure.value.meaning}" in done.stderr


def test_parameters_keep_order_and_types(cli):
    got = tovak.parameters("fdts01", "DMODSS0", 120100, 1, 1)
    expected = cli("--json", "params", "fdts01", "DMODSS0", 120100, 1, 1)["parameters"]
    assert [(e["name"], e["type"]) for e in expected] == list(got.types.items())
    assert got["Shot"] == 120100 and got["PulseWidth_s"] == 1e-05
    assert got["TimeOfCollected"].tzinfo == datetime.timezone.utc
    assert tuple(tovak.parameter_count("fdts01", "DMODSS0", 120100, 1)) == tuple(
        cli("--json", "count", "fdts01", "DMODSS0", 120100, 1).values())


def test_settings_are_the_c_api_s_rows(cli):
    table = tovak.settings("Magnetics", 120100, 1)
    expected = cli("--json", "settings", "Magnetics", 120100, 1)["channels"]
    assert [tuple(row) for row in table.tolist()] == [tuple(e.values()) for e in expected]
    assert tovak.modules("Magnetics", 120100, 1) == [("mag-pxi1", "PXI6143"),
                                                     ("mag-pxi2", "PXI6133")]
    first = tovak.channel_settings("mag-pxi1", "PXI6143", 120100, 1)
    assert first.tolist() == [row[2:] for row in table[table["key1"] == "mag-pxi1"].tolist()]
