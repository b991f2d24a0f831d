"""The tool (TOVAK_CLI), which answers through the C API, for comparison: its JSON answer, or its
CompletedProcess with raw=True."""

import json
import os
import subprocess

import pytest


@pytest.fixture
def cli():
    def run(*args, raw=False):
        done = subprocess.run([os.environ["TOVAK_CLI"], *map(str, args)], capture_output=True, text=True)
        assert raw or done.returncode == 0, done.stderr
        return done if raw else json.loads(done.stdout)
    return run
