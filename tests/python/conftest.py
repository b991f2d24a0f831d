"""Fixtures of the Python tests: the tool (TOVAK_CLI) that answers through
the C API, for comparison."""

import json
import os
import subprocess

import pytest

CLI = os.environ["TOVAK_CLI"]


@pytest.fixture
def cli():
    """Runs the tool; its JSON answer, or its CompletedProcess with raw=True."""
    def run(*args, raw=False):
        done = subprocess.run([CLI, *map(str, args)], capture_output=True, text=True)
        if raw:
            return done
        assert done.returncode == 0, done.stderr
        return json.loads(done.stdout)
    return run
