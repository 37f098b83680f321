#!/usr/bin/env python3
"""Compares the interface of the library with the last release, as abi/libvorlandi.abi describes it.

    check.py LIBRARY            LIBRARY has debug information for what it exports (target vorlandi_described)
    check.py LIBRARY --renew    describes it anew, for a release

An incompatible change fails: it needs another SONAME. A new function fails until the minor version of the project is
higher than in the last release, debian/libvorlandi1.symbols has the function with this version, and CHANGELOG.md
names it.
"""
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[1]
LAST = ROOT / "abi" / "libvorlandi.abi"
DESCRIBE = ["abidw", "--exported-interfaces-only", "--headers-dir", str(ROOT / "include" / "vorlandi"),
            "--drop-private-types", "--no-show-locs", "--no-corpus-path", "--no-comp-dir-path", "--no-elf-needed"]
# Bits of abidiff's status.
FAULT, CHANGED, INCOMPATIBLE = 1 | 2, 4, 8


def text_of(name):
    return (ROOT / name).read_text()


def version():
    return re.search(r"project\(vorlandi VERSION ([\d.]+)", text_of("CMakeLists.txt")).group(1)


def number(text):
    return tuple(map(int, text.split(".")[:2]))


def functions(description):
    return set(re.findall(r"<elf-symbol name='(Vorlan\w+)'", description))


def complaints(added, last_version):
    """What is missing before functions may be added."""
    if number(version()) <= number(last_version):
        yield f"the version in CMakeLists.txt, {version()}, is not a minor version after {last_version}"
    for name in sorted(added):
        if f" {name}@VORLANDI_1 {version()}\n" not in text_of("debian/libvorlandi1.symbols"):
            yield f"debian/libvorlandi1.symbols does not have {name} with version {version()}: run abi/symbols.py"
        if not re.search(rf"\b{name}\b", text_of("CHANGELOG.md")):
            yield f"CHANGELOG.md does not name {name}"


def main():
    library = pathlib.Path(sys.argv[1])
    description = subprocess.run([*DESCRIBE, str(library)], check=True, capture_output=True, text=True).stdout
    if not functions(description):
        sys.exit(f"check.py: {library} has no debug information")
    description += f"<!-- libvorlandi {version()} -->\n"
    if sys.argv[2:] == ["--renew"]:
        LAST.write_text(description)
        print(f"{LAST.relative_to(ROOT)}: {len(functions(description))} functions of {version()}")
        return
    now = library.parent / "libvorlandi.abi"
    now.write_text(description)
    result = subprocess.run(["abidiff", str(LAST), str(now)], check=False, capture_output=True, text=True)
    print(result.stdout + result.stderr, end="")
    if result.returncode & (FAULT | INCOMPATIBLE):
        sys.exit("check.py: the interface is no longer compatible with the last release, or can't be compared")
    last_version = re.search(r"libvorlandi ([\d.]+)", LAST.read_text()).group(1)
    added = functions(description) - functions(LAST.read_text())
    missing = list(complaints(added, last_version)) if added else []
    if result.returncode & CHANGED and not added:
        missing = ["a change that is compatible, but no new function: look at it, then ./dev abi --renew"]
    if missing:
        sys.exit("check.py: " + "\ncheck.py: ".join(missing))
    print(f"{len(functions(description))} functions, {len(added)} of them new since {last_version}")


main()
