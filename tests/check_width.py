#!/usr/bin/env python3
"""Fails when a line of code, comment, script or prose is wider than 120 columns.

Tables, links and code blocks of Markdown may be wider. A line of Markdown that begins with an asterisk and a letter,
without a second asterisk, fails too: the first one is left from a list, or its emphasis never ends.
    check_width.py FILE...
"""
import re
import sys

WIDTH = 120
STRAY_ASTERISK = re.compile(r"\*[A-Za-z][^*]*$")


def faults(path):
    """Yields a message for each faulty line."""
    markdown, in_block = path.endswith(".md"), False
    with open(path, encoding="utf-8") as file:
        for number, line in enumerate(file, 1):
            in_block ^= markdown and line.startswith("```")
            may_be_wide = markdown and (in_block or line.startswith("|") or "](" in line or "://" in line)
            if len(line.rstrip("\n")) > WIDTH and not may_be_wide:
                yield f"{path}:{number}: wider than {WIDTH} columns"
            if markdown and not in_block and STRAY_ASTERISK.match(line):
                yield f"{path}:{number}: stray asterisk"


def main():
    found = [fault for path in sys.argv[1:] for fault in faults(path)]
    print(*found, sep="\n", end="\n" if found else "")
    return 1 if found else 0


sys.exit(main())
