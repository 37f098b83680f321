#!/usr/bin/env python3
"""Compiles and runs the programs of a page, or its commands, and compares what they print with the text block that
follows each.

    check_programs.py PAGE KIND SOURCE_DIR [--interface FILE --names REGEX...] [--write] -- COMPILER ARGUMENT...
    check_programs.py PAGE sh SOURCE_DIR [--write] -- VORLANDI

KIND is the kind of the code blocks, such as cpp. The programs run in a folder where `examples` is the one of
SOURCE_DIR; commands in a copy of its example files, and their messages count as printed. With --interface, each
function whose name a REGEX finds in FILE must be called by one of the programs. --write puts the texts into the page.
"""
import argparse
import concurrent.futures
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

SUFFIX = {"cpp": ".cpp", "fortran": ".f90", "c": ".c", "sh": ".sh"}


def printed_by_commands(number, commands, tool, folder):
    """What commands print."""
    data = folder / f"data{number}"
    shutil.copytree(folder / "examples" / "data", data)
    path = f"{pathlib.Path(tool).parent}:{os.environ['PATH']}"
    run = subprocess.run(["bash", "-uc", commands], cwd=data, text=True, stdout=subprocess.PIPE,
                         stderr=subprocess.STDOUT, check=False, timeout=60, env=os.environ | {"PATH": path})
    return run.stdout


def printed(number, program, kind, compiler, folder):
    """What a program prints, or why it doesn't."""
    if kind == "sh":
        return printed_by_commands(number, program, compiler[0], folder)
    source, binary = folder / f"program{number}{SUFFIX[kind]}", folder / f"program{number}"
    source.write_text(program)
    built = subprocess.run([compiler[0], str(source), "-o", str(binary), *compiler[1:]], cwd=folder, text=True,
                           capture_output=True, check=False)
    if built.returncode != 0:
        return f"does not compile: {built.stderr}"
    run = subprocess.run([str(binary)], cwd=folder, text=True, capture_output=True, check=False, timeout=60)
    return run.stdout if run.returncode == 0 else f"status {run.returncode}: {run.stdout}{run.stderr}"


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("page", type=pathlib.Path)
    parser.add_argument("kind", choices=SUFFIX)
    parser.add_argument("source", type=pathlib.Path)
    parser.add_argument("--interface", type=pathlib.Path)
    parser.add_argument("--names", action="append")
    parser.add_argument("--write", action="store_true")
    parser.add_argument("compiler", nargs="+")
    arguments = parser.parse_args()
    page = arguments.page.read_text()
    pairs = re.findall(rf"```{arguments.kind}\n(.*?)```\n\n```text\n(.*?)```\n", page, re.S)
    failures = []
    if not pairs or page.count(f"```{arguments.kind}\n") != len(pairs):
        failures.append(f"{arguments.page}: each program needs a text block with what it prints")
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        (folder / "build").mkdir()
        os.symlink(arguments.source.resolve() / "examples", folder / "examples")
        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
            texts = list(pool.map(lambda pair: printed(pair[0], pair[1][0], arguments.kind, arguments.compiler, folder),
                                  enumerate(pairs)))
    for (program, said), text in zip(pairs, texts):
        if text != said:
            failures.append(f"{arguments.page}: this program\n{program}prints\n{text}\nnot\n{said}")
            page = page.replace(f"{program}```\n\n```text\n{said}", f"{program}```\n\n```text\n{text}", 1)
    if arguments.write:
        arguments.page.write_text(page)
    if arguments.interface:
        programs = "".join(program for program, _ in pairs)
        interface = arguments.interface.read_text()
        names = {name for pattern in arguments.names for name in re.findall(pattern, interface, re.M)}
        missing = [name for name in names if not re.search(rf"\b{name}\(", programs, re.I)]
        if not names or missing:
            failures.append(f"{arguments.page}: no program has {', '.join(sorted(missing)) or 'any name'}")
    print(*failures, sep="\n")
    return 1 if failures else 0


sys.exit(main())
