#!/usr/bin/env python3
"""Compares the messages on the page of errors with the messages of the code, both ways.

    check_errors_page.py SOURCE_DIR [--python FOLDER] [--list]

A message of the code is a text that an expression puts together: string literals, with a placeholder for anything else
between `<<` or `+`. In src/, in vorlandi.hpp and in the calls of vorlandi.f90 that refuse something every text of two
or more words counts as a message, however it reaches the log; so do names of readers, and single words that are passed
to a function in SINKS. NO_MESSAGES are exempt. --list shows them.

The page lists messages, and the parts that they are made of, in tables whose first column is one of COLUMNS, with
{names} for what is filled in. Each has to be made of messages of the code, several where the code puts it together in
steps, and each message of the code has to be in one.

With --python, the column `Python` names the exceptions that the package in FOLDER raises for the messages.
"""
import argparse
import functools
import itertools
import pathlib
import re
import sys

FILLED = "\0"  # stands for what is filled in
TOKENS = re.compile(r"""//[^\n]*|/\*.*?\*/|^[ \t]*\#(?:\\\n|[^\n])*
                        |(?P<string>"(?:[^"\\\n]|\\.)*")|(?P<other>'(?:[^'\\\n]|\\.)+'|\w[\w.]*|<<|::|\S)""",
                    re.X | re.S | re.M)
CLOSING = {"(": ")", "[": "]", "{": "}"}
ESCAPES = {r"\n": "\n", r"\t": "\t"}

COLUMNS = ("message", "reader", "problem", "reason")
# Files whose texts are rows of tables on the page of formats, or names of broken invariants that tests look at.
NO_MESSAGE_FILES = ("ReadingRules.hpp", "FormatDetection.cpp", "TreeTemplate.hpp")
# What is looked for in files, or written into them.
NO_MESSAGES = ("\n\n\n*** External Ephemeris Input Files ***\n",
               "YYDDDHHMMSS.SSS      X(KM)          Y(KM)          Z(KM)", "Propagation by", "end Ephemeris")
# Calls that mean the text of their argument.
TEXT_CALLS = ("MessageText", "string", "keyMessage")
SINKS = ("tracelogerror", "traceloginfo", "blockFailed", "blockFailedWithLine", "blockRefused", "blockRefusedBy",
         "skipBadLine", "skipbadephempoint", "reasonAt", "refuse", "refuseSegment", "skip", "fail", "leaveOut", "Error")


class Text(str):
    """A string literal."""


class Group(list):
    """What is between two brackets."""


def is_mark(token, *marks):
    return not isinstance(token, (Text, Group)) and token in marks


def parsed(code):
    """The tokens of the code, with nested groups for what is in brackets. Literals beside each other are one."""
    stack, closers = [Group()], []
    for match in TOKENS.finditer(code):
        token = match[0]
        if match["string"]:
            text = re.sub(r"\\(.)", lambda escape: ESCAPES.get(escape[0], escape[1]), token[1:-1])
            if stack[-1] and isinstance(stack[-1][-1], Text):
                text = stack[-1].pop() + text
            stack[-1].append(Text(text))
        elif token in CLOSING:
            stack[-1] += [token, Group()]
            closers.append(CLOSING[token])
            stack.append(stack[-1][-1])
        elif closers and token == closers[-1]:
            stack.pop()
            closers.pop()
        elif match["other"]:
            stack[-1].append(token)
    assert not closers
    return stack[0]


def split(tokens, *marks):
    """The parts of a list of tokens between marks."""
    parts = [[]]
    for token in tokens:
        if is_mark(token, *marks):
            parts.append([])
        else:
            parts[-1].append(token)
    return parts


def expressions(group):
    """The arguments or statements in a group, without `if (...)` and the like before them."""
    for part in split(group, ",", ";", "return", "=", "else"):
        while len(part) > 3 and is_mark(part[0], "if", "for", "while"):
            yield part[1:3]
            part = part[3:]
        yield part


def condition_of(expression):
    """The places of `?` and its `:`; None if there is none."""
    places = [at for at, token in enumerate(expression) if is_mark(token, "?", ":")]
    if not places or expression[places[0]] != "?":
        return None
    depth = 0
    for at in places:
        depth += 1 if expression[at] == "?" else -1
        if depth == 0:
            return places[0], at
    return None


def is_text(operand):
    """Is this a group that is a text itself? MessageText(...), MessageText name(...), or brackets around one."""
    return len(operand) < 5 and is_mark(operand[0], *TEXT_CALLS, "(")


def texts_of(expression):
    """The texts that an expression makes, by its conditions."""
    condition = condition_of(expression)
    if condition:
        question, colon = condition
        return texts_of(expression[question + 1:colon]) + texts_of(expression[colon + 1:])
    choices = [texts_of_operand(operand) for operand in split(expression, "<<", "+")]
    return [re.sub(FILLED + "+", FILLED, "".join(texts)) for texts in itertools.product(*choices)]


def texts_of_operand(operand):
    operand = [token for token in operand if not is_mark(token, "std", "::")]
    if len(operand) == 1 and isinstance(operand[0], Text):
        return [re.sub(r"%l?[a-z]", FILLED, operand[0])]
    if len(operand) > 1 and isinstance(operand[-1], Group) and is_mark(operand[-2], "("):
        arguments = split(operand[-1], ",")
        if is_mark(operand[0], "keyMessage") and len(arguments) == 3:  # text, key, text
            text, tail = texts_of(arguments[0]), texts_of(arguments[2])
            return [before + FILLED + after for before, after in itertools.product(text, tail)]
        if is_text(operand):
            return texts_of(operand[-1])
    return [FILLED]


def refusals(fortran):
    """The calls of a Fortran source that refuse something, as C++ would have them."""
    return "".join(f"{line.replace('//', ' + ')};\n" for line in fortran.splitlines()
                   if re.search(r"\b(?:refuse|fits)\(.*\"", line))


class Messages:
    """The messages that files make: `wanted`, with the file of each, are to be on the page, `pieces` are all texts."""

    def __init__(self, files):
        self.wanted, self.pieces = {}, set()
        for file in files:
            text = file.read_text()
            self.collect(parsed(refusals(text) if file.suffix == ".f90" else text), "", file.name)

    def collect(self, group, function, file):
        for expression in expressions(group):
            if any(isinstance(token, (Text, Group)) for token in expression):
                for text in texts_of(expression):
                    self.take(text.strip(FILLED), function, file)
            for at, token in enumerate(expression):
                if isinstance(token, Group) and not self.belongs(expression, at):
                    self.collect(token, str(expression[at - 2]) if at > 1 else "", file)

    @staticmethod
    def belongs(expression, at):
        """Is the group at this place a part of the text around it, which has been taken?"""
        before = [token for token in expression[:at - 1] if not isinstance(token, Group)][-2:]
        return any(is_mark(token, *TEXT_CALLS, "<<", "+") for token in before)

    def take(self, text, function, file):
        if not text or text in NO_MESSAGES:
            return
        if re.search(rf"[A-Za-z{FILLED}]", text):
            self.pieces.add(text)
        if file in NO_MESSAGE_FILES:
            return
        words = re.findall(r"[A-Za-z]{2,}|\ba\b", text)
        if len(words) > 1 and " " in text.strip() or words and function in SINKS or re.match(r"Read[A-Z]", text):
            self.wanted[text] = file


@functools.lru_cache(None)
def tiles(message, pieces):
    """The fewest pieces that make a message; None if none do."""
    if not message:
        return ()
    ways = [tiles(message[1:], pieces)] if message[0] == FILLED else []
    for piece in pieces:
        rest = tiles(message[len(piece):], pieces) if message.startswith(piece) else None
        ways.append(rest if rest is None else (piece, *rest))
    return min((way for way in ways if way is not None), key=len, default=None)


def rows(page):
    """The rows of the tables of messages: the messages, and the cells by the name of their column."""
    columns = None
    for line in page.splitlines():
        cells = [cell.strip() for cell in line.strip("| ").split(" | ")]
        if not line.startswith("|"):
            columns = None
        elif columns is None:
            columns = cells
        elif columns[0] in COLUMNS and not line.startswith("|---"):
            yield re.findall(r"`([^`]*)`", cells[0]), dict(zip(columns, cells))


def differences(code, table):
    """What the page and the code do not have in common."""
    pieces, used = frozenset(code.pieces), set()
    for messages, _ in table:
        for message in messages:
            found = tiles(re.sub(r"\{\w+\}", FILLED, message).strip(FILLED), pieces)
            if found is None:
                yield f"the code has no message like the page's: {message}"
            used.update(found or ())
    for text in sorted(set(code.wanted) - used):
        shown = text.replace(FILLED, "{...}")
        yield f"the page lacks a message of {code.wanted[text]}: {shown}"


def wrong_exceptions(table, folder, data):
    """The messages for which the package raises something else than the page says."""
    sys.path.insert(0, str(folder))
    import vorlandi
    from vorlandi import _errors
    satellite = vorlandi.load(str(data))[0]
    count = 0
    for messages, row in table:
        for message in messages if "Python" in row else ():
            filled = re.sub(r"\{(?:first|last)\}", "26031000000.000", message)
            raised = type(_errors.failure(re.sub(r"\{\w+\}", "1", filled), satellite.key, 0.0)).__name__
            count += 1
            if f"`{raised}`" != row["Python"]:
                yield f"Python raises {raised}, not {row['Python']}: {message}"
    if count == 0:
        yield "no table has a column Python"


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("source", type=pathlib.Path)
    parser.add_argument("--python", type=pathlib.Path)
    parser.add_argument("--list", action="store_true")
    arguments = parser.parse_args()
    source = arguments.source
    code = Messages([*sorted(source.glob("src/**/*.[ch]pp")), source / "include/vorlandi/vorlandi.hpp",
                     source / "fortran/vorlandi.f90"])
    if arguments.list:
        print(*(f"{file}: {text.replace(FILLED, '{...}')}" for text, file in code.wanted.items()), sep="\n")
        return 0
    table = list(rows((source / "docs/errors.md").read_text()))
    failures = list(differences(code, table))
    if arguments.python:
        failures += wrong_exceptions(table, arguments.python, source / "examples/data/81001_stk.e")
    print(*failures, sep="\n")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
