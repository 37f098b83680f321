#!/usr/bin/env python3
"""Checks the comments of the C, C++ and Fortran interfaces, and makes reference pages of them.

    reference.py [--check] [--markdown FOLDER] [--man FOLDER]

--markdown writes c.md, cpp.md and fortran.md; --man writes libvorlandi.3 and a page for each C function. A comment that
departs from the form in CONTRIBUTING.md (Comments of the interface) is named with file and line; nothing is written
then, and the status is 1.
"""
import argparse
import pathlib
import re
import sys

import reference_pages
from reference_sources import LABELS, NotUnderstood, read

ROOT = pathlib.Path(__file__).resolve().parents[1]
SOURCES = {
    "include/vorlandi/vorlandi.h": "c",
    "include/vorlandi/time.h": "c",
    "include/vorlandi/services.h": "c",
    "include/vorlandi/vorlandi.hpp": "cpp",
    "fortran/vorlandi.f90": "fortran",
}
BASE = re.compile(r"(?:^As|otherwise as|^The same as) ([\w:]+\w)")
UNIT = re.compile(r"\b(?:days|minutes|km|km/s)\b")
LABEL_INSIDE = re.compile(rf"[.)] (?:(Returns) |({'|'.join(LABELS[1:])}): )")


class Reference:
    """Everything that is described."""

    def __init__(self, sources):
        """`sources` has (language, path, text) of each."""
        self.sources = [(language, path, *read(language, path, text)) for language, path, text in sources]
        self.items = [item for *_, items in self.sources for item in items]
        self.named = {(item.language, name): item for item in self.items for name in [*item.twins, item.name]}

    def heads(self, language):
        """(path, blocks of the comment at its head) of each source."""
        return [(path, head) for source, path, head, _ in self.sources if source == language]

    def find(self, name, item, language):
        """What the comment of `item`, or of a source, means by a name."""
        scope = item.name.rpartition("::")[0] if item else ""
        for key in ((language, f"{scope}::{name}"), (language, name), ("c", name)):
            if key in self.named:
                return self.named[key]
        return None

    def described_in_c(self, item):
        """The Fortran interface of a C function is described with that."""
        return self.named.get(("c", item.name)) if "bind(c" in item.code else None

    def own_or_inherited(self, item, kind, name=""):
        """A block of the comment, or of the function that the first block says it is "as"."""
        seen = []
        while item and item.blocks and item not in seen:
            seen.append(item)
            for block in item.blocks:
                if (block.kind, block.name) == (kind, name):
                    return block
            base = BASE.search(item.blocks[0].text)
            item = self.find(base[1], item, item.language) if base else None
        return None

    def arguments(self, item):
        rows = [self.own_or_inherited(item, "argument", argument.name) for argument in item.arguments]
        return [row for row in rows if row]

    def parts(self, item):
        parts = [self.own_or_inherited(item, label) for label in LABELS if label != "Returns" or item.answers]
        return [part for part in parts if part]

    def faults(self):
        anchors = {}
        for item in self.items:
            faults = list(self.faults_of(item))
            if anchors.setdefault(item.anchor, item) is not item:
                faults.append("something else has the same name, but for capitals")
            for fault in faults:
                yield f"{item.path}:{item.line}: {item.name}: {fault}"

    def faults_of(self, item):
        if not item.blocks:
            yield "there is no comment directly above it"
        elif "bind(c" in item.code:
            described = self.described_in_c(item)
            if not described or not described.blocks or not described.sentence.startswith(item.sentence):
                yield "the comment is not the first sentence of that in the C header"
        else:
            yield from self.faults_of_text(item)
            yield from self.faults_of_arguments(item)
            yield from self.faults_of_parts(item)

    def faults_of_text(self, item):
        if not re.match(r"[A-Z\"].*[.:]\)?$", item.blocks[0].text):
            yield "the comment does not begin with a sentence: a capital letter first, a full stop at the end"
        text = " ".join(block.text for block in item.blocks)
        base = BASE.search(item.blocks[0].text)
        mentioned = re.findall(r"\bVorlan[A-Z]\w+", re.sub('"[^"]*"', "", text)) + ([base[1]] if base else [])
        for name in dict.fromkeys(mentioned):
            if not self.find(name, item, item.language):
                yield f"{name}, which it mentions, is not declared"
        for page in dict.fromkeys(re.findall(r"docs/\w+\.md", text)):
            if not (ROOT / page).exists():
                yield f"{page}, which it mentions, does not exist"

    def faults_of_arguments(self, item):
        for argument in item.arguments:
            row = self.own_or_inherited(item, "argument", argument.name)
            if row is None:
                if argument.needs_row:
                    yield f"the argument {argument.name} is missing: NAME  in|out|in out  DESCRIPTION"
                continue
            if row.direction != argument.direction and (row.direction, argument.direction) != ("in out", "out"):
                yield f"the argument {argument.name} is {argument.direction}, not {row.direction}"
            if not re.match(argument.shape, row.text):
                shape = argument.shape.replace(r"\w+", "n").replace("\\", "")
                yield f"the description of {argument.name} does not begin with the shape, {shape}"
            if argument.needs_unit and not UNIT.search(row.text):
                yield f"the description of {argument.name} has no unit: days, minutes, km or km/s"
        for block in item.blocks:
            if block.kind == "argument" and block.name not in [argument.name for argument in item.arguments]:
                yield f"{block.name}, which it describes, is not an argument"

    def faults_of_parts(self, item):
        labels = [block.kind for block in item.blocks if block.kind in LABELS]
        if labels != sorted(set(labels), key=LABELS.index):
            yield f"the parts are not in the order {', '.join(LABELS)}, each once"
        for block in item.blocks:
            if block.kind in ("text", *LABELS) and (inside := LABEL_INSIDE.search(block.text)):
                yield f"{inside[1] or inside[2]} does not begin a line"
        if "Returns" in labels and not item.answers:
            yield "it has Returns, but no result"
        if item.answers and item.language != "cpp" and not self.own_or_inherited(item, "Returns"):
            yield "a line that begins with Returns is missing"


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", maxsplit=1)[0])
    parser.add_argument("--check", action="store_true", help="check alone; the other options check, too")
    parser.add_argument("--markdown", type=pathlib.Path, metavar="FOLDER", help="write the pages of the site")
    parser.add_argument("--man", type=pathlib.Path, metavar="FOLDER", help="write the manual pages")
    options = parser.parse_args()
    try:
        reference = Reference([(language, path, (ROOT / path).read_text()) for path, language in SOURCES.items()])
    except NotUnderstood as fault:
        sys.exit(str(fault))
    if faults := list(reference.faults()):
        sys.exit("\n".join(faults))
    version = re.search(r"project\(vorlandi VERSION ([\d.]+)", (ROOT / "CMakeLists.txt").read_text())[1]
    for folder, pages in ((options.markdown, reference_pages.markdown(reference)),
                          (options.man, reference_pages.manuals(reference, version))):
        if folder:
            folder.mkdir(parents=True, exist_ok=True)
            for name, text in pages:
                (folder / name).write_text(text)


if __name__ == "__main__":
    main()
