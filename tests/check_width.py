#!/usr/bin/env python3
"""Fails when a line of code, comment, script or prose is wider than 120 columns.

Tables, links and code blocks of Markdown may be wider.
    check_width.py FILE...
"""
import sys

WIDTH = 120


def too_wide(path):
    """Yields the numbers of the lines that are too wide."""
    markdown, in_block = path.endswith(".md"), False
    with open(path, encoding="utf-8") as file:
        for number, line in enumerate(file, 1):
            in_block ^= markdown and line.startswith("```")
            may_be_wide = markdown and (in_block or line.startswith("|") or "](" in line or "://" in line)
            if len(line.rstrip("\n")) > WIDTH and not may_be_wide:
                yield number


def main():
    found = [f"{path}:{number}: wider than {WIDTH} columns" for path in sys.argv[1:] for number in too_wide(path)]
    print(*found, sep="\n", end="\n" if found else "")
    return 1 if found else 0


sys.exit(main())
