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
    expected = cli("--json", "timebase", *MAGNETICS, *options,
                   *(["--samples", samples] if samples is not None else []))
    got = tovak.timebase(*MAGNETICS, samples=samples, last=last, single=single)
    assert (got.axis.dtype, got.axis.tobytes(), len(got.axis), got.period, got.delay) == (
        numpy.float32 if single else numpy.float64, axis_file.read_bytes(), expected["samples"],
        expected["period_s"], expected["delay_s"])


def test_link_gives_numbers_and_raw_texts():
    f, ece = tovak.link(*MAGNETICS), tovak.link("ECE", 120100, 1, 1, 1).raw
    assert (f.trigger_unit, f.trigger_module, f.clock_output, f.trigger_output, f.record_length,
            f.pre_samples, f.raw.clock_output, f.raw.pre_samples, f.raw.clock_unit, ece.clock_unit_kind,
            ece.clock_unit, ece.clock_module) == ("fdts01", "DMODSS0", 7, 1, 2000000, 1000, "7", "1000",
                                                  "", "CAMAC", "cdts01", "DMOD0")


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
    assert f"returned {status}: {failure.value.meaning}" in cli(*args, raw=True).stderr


def test_parameters_and_settings_are_the_c_api_s(cli):
    got = tovak.parameters("fdts01", "DMODSS0", 120100, 1, 1)
    expected = cli("--json", "params", "fdts01", "DMODSS0", 120100, 1, 1)["parameters"]
    assert [(e["name"], e["type"]) for e in expected] == list(got.types.items())
    assert (got["Shot"], got["PulseWidth_s"], got["TimeOfCollected"].tzinfo) == (
        120100, 1e-05, datetime.timezone.utc)
    count = tuple(cli("--json", "count", "fdts01", "DMODSS0", 120100, 1).values())
    assert tuple(tovak.parameter_count("fdts01", "DMODSS0", 120100, 1)) == count
    table = tovak.settings("Magnetics", 120100, 1)
    expected = cli("--json", "settings", "Magnetics", 120100, 1)["channels"]
    assert [tuple(row) for row in table.tolist()] == [tuple(e.values()) for e in expected]
    first = tovak.channel_settings("mag-pxi1", "PXI6143", 120100, 1)
    assert first.tolist() == [row[2:] for row in table[table["key1"] == "mag-pxi1"].tolist()]
