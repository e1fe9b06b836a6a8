"""Each example checks its own result; mypy checks how they use the package, and the package itself."""

import ast
import pathlib
import subprocess
import sys

import pytest

import ravenfit

EXAMPLES = sorted((pathlib.Path(__file__).parents[1] / "examples").glob("*.py"))


@pytest.mark.parametrize("path", EXAMPLES, ids=lambda path: path.stem)
def test_example(path):
    run = subprocess.run([sys.executable, path], capture_output=True, text=True)
    assert run.returncode == 0, run.stderr
    assert run.stdout


WRONG = """import ravenfit
from ravenfit.random import MT19937
s = ravenfit.CubicSpline([0, 1], [0, 1])
s(0.5, nu='first')
s.integral(0, 1)
MT19937(1).jumped(1.5)
a: str = s.domain
ravenfit.Akima1DInterpolator([0, 1], [0, 1], method='best')
"""


def test_types(tmp_path):
    pytest.importorskip("mypy")
    settings = pathlib.Path(__file__).parents[1] / "pyproject.toml"

    def mypy(*arguments):
        command = [sys.executable, "-m", "mypy", "--config-file", settings, "--cache-dir", tmp_path / "cache", *arguments]
        run = subprocess.run(command, capture_output=True, text=True, cwd=pathlib.Path(ravenfit.__file__).parents[1])
        return run.returncode, run.stdout + run.stderr

    wrong = tmp_path / "wrong.py"
    wrong.write_text(WRONG)
    code, told = mypy("-p", "ravenfit")
    assert code == 0, told
    code, told = mypy(*EXAMPLES)
    assert code == 0, told
    code, told = mypy(wrong)
    assert [line for line in range(1, 9) if f"wrong.py:{line}: error" in told] == [4, 5, 6, 7, 8], told


def test_the_stub_names_what_there_is():
    core = ravenfit._core
    tree = ast.parse(pathlib.Path(ravenfit.__file__).with_name("_core.pyi").read_text())

    def told(body):
        names = {part.name for part in body if isinstance(part, (ast.FunctionDef, ast.ClassDef))}
        names |= {part.target.id for part in body if isinstance(part, ast.AnnAssign)}
        return {name for name in names if not name.startswith("_")}

    def present(thing):
        return {name for name in vars(thing) if not name.startswith("_")}

    assert told(tree.body) == present(core)
    for part in tree.body:
        if isinstance(part, ast.ClassDef):
            assert told(part.body) == present(getattr(core, part.name))
