#!/usr/bin/env python3
"""Writes the symbols file of the Debian package from the functions that the headers declare.

    symbols.py           writes debian/libvorlandi1.symbols
    symbols.py --check   fails, and says what to do, if it would be written otherwise
    symbols.py --names   prints the functions

A function keeps the version with which it is in the file; one that is new gets the version of the project. None may go:
that needs another SONAME, and a package of another name.
"""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parents[1]
SYMBOLS = ROOT / "debian" / "libvorlandi1.symbols"
NODE = "VORLANDI_1"


def declared():
    text = "".join(path.read_text() for path in sorted((ROOT / "include" / "vorlandi").glob("*.h")))
    text = re.sub(r"/\*.*?\*/", "", text, flags=re.S)
    return sorted(re.findall(r"^(?:double|void|int32_t|int64_t) +(Vorlan\w+)\(", text, re.M))


def project_version():
    return re.search(r"project\(vorlandi VERSION ([\d.]+)", (ROOT / "CMakeLists.txt").read_text()).group(1)


def versions():
    """Name -> version of what is in the file."""
    text = SYMBOLS.read_text() if SYMBOLS.exists() else ""
    return dict(re.findall(rf"^ (\w+)@{NODE} ([\d.]+)$", text, re.M))


def main():
    names, known = declared(), versions()
    if not names:
        sys.exit("symbols.py: no function was found in the headers")
    if sys.argv[1:] == ["--names"]:
        print(*names, sep="\n")
        return
    gone = sorted(known.keys() - {NODE} - set(names))
    if gone:
        sys.exit(f"symbols.py: the headers no longer declare {', '.join(gone)}. That needs another SONAME")
    lines = ["libvorlandi.so.1 libvorlandi1 #MINVER#", "* Build-Depends-Package: libvorlandi-dev"]
    lines += [f" {name}@{NODE} {known.get(name, project_version())}" for name in [NODE, *names]]
    text = "\n".join(lines) + "\n"
    if sys.argv[1:] != ["--check"]:
        SYMBOLS.write_text(text)
    elif not SYMBOLS.exists() or SYMBOLS.read_text() != text:
        new = sorted(set(names) - known.keys())
        sys.exit(f"symbols.py: {SYMBOLS.relative_to(ROOT)} lacks {', '.join(new) or 'nothing, but its order differs'}. "
                 "Raise the minor version of the project if the last release has it, and run abi/symbols.py")


main()
