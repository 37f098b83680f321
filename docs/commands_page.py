"""Writes the page of commands from the help of the tool, and from what its commands print as CSV and JSON."""
import json
import math
import pathlib
import re
import shutil
import subprocess
import tempfile

DATA = pathlib.Path(__file__).resolve().parent.parent / "examples" / "data"
BEGINNING = """# Commands

What `vorlandi help COMMAND` says about every command and option; what follows `=` is the default. The fields of CSV and
JSON are those that the commands print.

"""
# What shows the fields of each command, in the folder made by `write_examples`.
SHOWING = {
    "info": [["81001_itc.txt"], ["--summary", "81001_itc.txt"]],
    "states": [["81001_itc.txt", "--at", "2026-01-31T01:00:30", "--cov", "--sigma", "--error"]],
    "check": [["today/81001.e"], ["81001_itc.txt"]],
    "delivery": [["today", "--previous", "yesterday"]],
    "approaches": [["81001_itc.txt", "82001.e", "--within", "10"]],
    "diff": [["81001_itc.txt", "82001.e"], ["81001_stk.e", "83001.e"], ["81001_stk.e", "82001.e", "--each"]],
    "time": [["2026-01-31T01:30"]],
    "formats": [[]],
}


def faulty(rows):
    """A gap, a point aside, and a jump."""
    for row in [rows[150], *rows[200:]]:
        row[1] += 1000
    return rows[:60] + rows[75:]


def later(rows):
    return [[row[0] + 1, *row[1:]] for row in rows]


def turned(rows):
    """By a hundredth of a degree about the axis of the earth."""
    sine, cosine = math.sin(math.radians(0.01)), math.cos(math.radians(0.01))
    return [[t, x * cosine - y * sine, x * sine + y * cosine, z, vx * cosine - vy * sine, vx * sine + vy * cosine, vz]
            for t, x, y, z, vx, vy, vz in rows]


def write_examples(folder):
    """The example files, and variants of one of them that make the commands say everything."""
    shutil.copytree(DATA, folder, dirs_exist_ok=True)
    lines = (DATA / "81001_stk.e").read_text().splitlines()
    first = lines.index("EphemerisTimePosVel") + 1
    for name, change in {"today/81001.e": faulty, "yesterday/81001.e": list, "82001.e": later,
                         "83001.e": turned}.items():
        rows = change([[float(word) for word in line.split()] for line in lines[first:-1]])
        path = folder / name
        path.parent.mkdir(exist_ok=True)
        path.write_text("\n".join(lines[:2] + lines[3:first] +
                                  [" ".join(map(repr, row)) for row in rows] + [lines[-1], ""]))


def printed(tool, *arguments, folder=None):
    run = subprocess.run([tool, *arguments], cwd=folder, capture_output=True, text=True, check=False, timeout=60)
    if run.returncode not in (0, 1) or not run.stdout:
        raise SystemExit(f"vorlandi {' '.join(arguments)}: status {run.returncode}: {run.stderr}")
    return run.stdout


# ---- The help ----


def prose(text):
    """Text as Markdown that shows it as it is; what is between backquotes stays code."""
    parts = text.split("`")
    parts[::2] = [re.sub(r"([\\*_{}\[\]<>#|])", r"\\\1", part) for part in parts[::2]]
    return "`".join(parts)


def options(lines, heading):
    """The entries of a part of the help: what is written, and what it means."""
    for line in lines:
        written, meaning = re.fullmatch(r"  (\S.*?)(?:  +(.*))?", line).groups()
        required = " REQUIRED" in written
        written = written.replace(" REQUIRED", "").replace(",--", ", --")
        meaning = prose((meaning or "") + (" (required)" if required and heading == "Options" else ""))
        yield f":::{{option}} {written}\n{meaning}\n:::\n" if heading == "Options" else f"`{written}`\n: {meaning}\n"


def running_text(text):
    """Paragraphs, and what is laid out in columns as blocks of code."""
    for paragraph in text.strip("\n").split("\n\n"):
        lines = paragraph.splitlines()
        if lines[0] == "Examples:":
            yield "```sh\n" + "\n".join(line.strip() for line in lines[1:]) + "\n```\n"
        elif any("   " in line.strip() for line in lines) and not lines[0].endswith(":"):
            yield "```text\n" + paragraph + "\n```\n"
        else:
            in_columns = [line for line in lines if line.startswith("  ")]
            yield prose("\n".join(line for line in lines if line not in in_columns)) + "\n"
            if in_columns:
                yield "```text\n" + "\n".join(line[2:] for line in in_columns) + "\n```\n"


def section(text):
    """What the help of a command says, as Markdown below its heading."""
    first, usage, rest = text.split("\n", 2)
    yield f"{prose(first)}.\n\n```text\n{usage.removeprefix('Usage: ')}\n```\n"
    for heading in ("Positionals", "Options"):
        found = re.search(rf"^{heading}:\n((?:  .*\n)+)\n?", rest, re.M)
        if found:
            yield from options(found.group(1).splitlines(), heading)
            rest = rest.replace(found.group(0), "")
    yield from running_text(rest)


# ---- The fields ----


KINDS = {bool: "true or false", int: "", float: "", str: "text", type(None): "null"}


def fields(value, name=""):
    """The names of all values in a JSON value, each with the object that it is in and with its kind."""
    if isinstance(value, dict):
        for key, part in value.items():
            yield from fields(part, f"{name}.{key}")
    elif isinstance(value, list) and (not value or isinstance(value[0], dict)):
        for part in value:
            yield from fields(part, name + "[]")
    else:
        within, _, key = name.rpartition(".")
        kind = "numbers" if isinstance(value, list) else KINDS[type(value)]
        yield within.removeprefix("."), key, kind


def code(names):
    return ", ".join(f"`{name}`" for name in names)


def field_table(read):
    """A row for each kind of object in the JSON values: the names of its fields and what they hold, if not numbers."""
    kinds = {}
    for value in read:
        for within, key, kind in fields(value):
            kinds.setdefault(within, {}).setdefault(key, set()).add(kind)
    rows = {}
    for within, found in kinds.items():
        # What is null in one example can be an object in another.
        parts = [f"`{key}` {' or '.join(sorted(kind - {'', 'null'}) or ['null here'] * (kind == {'null'}))}".rstrip()
                 for key, kind in found.items() if f"{within}.{key}".removeprefix(".") not in kinds]
        if parts:
            rows.setdefault(", ".join(parts), []).append(within)
    yield "| in | fields: a number if nothing else is said, null if there is none |\n|---|---|"
    yield from (f"| {code(objects) if objects[0] else 'the whole'} | {parts} |" for parts, objects in rows.items())
    yield ""


def outputs(tool, command, folder):
    columns, read = {}, []
    for arguments in SHOWING.get(command, []):
        if command != "delivery":  # has no CSV
            csv = printed(tool, command, *arguments, "--format", "csv", folder=folder)
            columns.setdefault(csv.splitlines()[0], [part for part in arguments if part in ("--summary", "--each")])
        read.append(json.loads(printed(tool, command, *arguments, "--format", "json", folder=folder)))
    for line, needed in columns.items():
        yield f"Columns of CSV{' with ' if needed else ''}{code(needed)}: {code(line.split(','))}.\n"
    if read:
        yield f"JSON, schema `{read[0].pop('schema')}`; arrays end in `[]`:\n"
        yield from field_table(value for value in read if value.pop("schema", True))


def page(tool):
    """The text of the page."""
    general = printed(tool, "help")
    commands = re.findall(r"^  (\w+) ", re.search(r"^Subcommands:\n(.*?)\n\n", general, re.M | re.S).group(1), re.M)
    parts = [BEGINNING, *running_text(general[general.index("Exit status"):general.index("Examples:")])]
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        write_examples(folder)
        for command in commands:
            parts += [f"\n## {command}\n", f":::{{program}} vorlandi {command}\n:::\n"]
            parts += section(printed(tool, "help", command))
            parts += outputs(tool, command, folder)
    return "\n".join(parts)
