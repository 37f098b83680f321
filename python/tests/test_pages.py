"""The documentation, the examples and the types are correct."""
import doctest
import importlib
import inspect
import re
import subprocess
import sys

import pytest
from conftest import DATA, EXAMPLES

import vorlandi

ROOT = EXAMPLES.parent
PACKAGE = ROOT / "python" / "vorlandi"
MODULES = [f"vorlandi.{path.stem}".removesuffix(".__init__") for path in sorted(PACKAGE.glob("*.py"))
           if path.stem != "__main__"]
PAGES = ((ROOT, "README.md"), (DATA, "docs/python.md"), (DATA, "docs/clusters.md"), (DATA, "docs/times.md"),
         (DATA, "docs/covariance.md"))
# Each with what it prints, if that follows.
PROGRAMS = [(folder, *found.groups()) for folder, page in PAGES for found in re.finditer(
    r"^```python\n(.*?)^```\n(?:\n```text\n(.*?)^```)?", (ROOT / page).read_text(), re.M | re.S)]


@pytest.mark.parametrize("name", MODULES)
def test_examples_in_docstrings_are_true(name):
    outcome = doctest.testmod(importlib.import_module(name))
    assert outcome.failed == 0


def test_every_public_name_has_a_docstring_with_its_arguments():
    missing, tried = [], 0
    for module in (vorlandi, vorlandi.times, vorlandi.store, vorlandi.analysis, vorlandi.convert,
                   vorlandi.dask, vorlandi.plot):
        for name in module.__all__:
            value = getattr(module, name)
            members = [value]
            if inspect.isclass(value):
                members += [member for key, member in vars(value).items() if not key.startswith("_")
                            and (callable(member) or isinstance(member, (property, classmethod)))]
            missing += [f"{name}: {member}" for member in members if not inspect.getdoc(member)]
            tried += len(members)
    assert tried > 80 and not missing


@pytest.mark.parametrize("folder, program, said", PROGRAMS, ids=range(len(PROGRAMS)))
def test_programs_of_the_pages_run(folder, program, said, tmp_path):
    (tmp_path / "program.py").write_text(program)
    run = subprocess.run([sys.executable, "-W", "error", tmp_path / "program.py"], capture_output=True, text=True,
                         cwd=folder)
    assert run.returncode == 0, run.stderr
    assert said is None or run.stdout == said
    assert len(PROGRAMS) == 11


@pytest.mark.parametrize("program", sorted((EXAMPLES / "python").glob("*.py")), ids=lambda path: path.stem)
def test_examples_print_what_they_say(program):
    said = re.search(r"Prints:\n\n((?:    .*\n)+)", program.read_text()).group(1)
    run = subprocess.run([sys.executable, program], capture_output=True, text=True, check=True)
    assert run.stdout == "".join(line[4:] + "\n" for line in said.splitlines())


def test_types_hold_under_strict_mypy(tmp_path):
    sources = [PACKAGE, EXAMPLES / "python", EXAMPLES / "delivery.py"]
    run = subprocess.run([sys.executable, "-m", "mypy", "--config-file", "mypy.ini", "--cache-dir", tmp_path, *sources],
                         capture_output=True, text=True, cwd=ROOT / "python")
    assert run.returncode == 0, run.stdout
