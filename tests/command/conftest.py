"""Runs the real program, whose path is in RVN_COMMAND, in a folder of its own for every test."""

import io
import os
import subprocess

import numpy
import pytest

PROGRAM = os.environ["RVN_COMMAND"]


class Ravenfit:
    def __init__(self, folder):
        self.folder = folder

    def write(self, name, content):
        (self.folder / name).write_bytes(content if isinstance(content, bytes) else content.encode())
        return name

    def __call__(self, *arguments, stdin=b"", code=0):
        done = subprocess.run([PROGRAM, *map(str, arguments)], input=stdin, capture_output=True, cwd=self.folder)
        assert done.returncode == code, done.stderr.decode()
        self.errors = done.stderr.decode()
        return done.stdout

    def table(self, *arguments, **more):
        """What it prints, without the heading."""
        return numpy.loadtxt(io.BytesIO(self(*arguments, **more)), delimiter=",", skiprows=1, ndmin=2)


@pytest.fixture
def ravenfit(tmp_path):
    return Ravenfit(tmp_path)
