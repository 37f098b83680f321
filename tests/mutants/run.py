#!/usr/bin/env python3
"""Makes small faults in a copy of the code, one at a time, and lists those that no quick test sees.

    run.py [N] [--seed SEED] [--area src|cli] [--list]

Without N: 100 mutants of src and 30 of cli; of N, three quarters are in src. The choice is spread over the folders and
depends only on the seed. A mutant that does not compile is not counted. One without a visible effect also survives:
each survivor is for a reader to judge.
"""
import argparse
import collections
import os
import pathlib
import random
import re
import shutil
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parents[2]
COPY = ROOT / "build" / "mutants"
BUILD = COPY / "build" / "gcc"
# A run that takes so many times as long as without a mutant does not end.
LONGEST_RUN = 6
# The slowest test, which kills no mutant that others don't.
LEFT_OUT = "-ManyAtOnce.TimesHaveTheBitsOfSingleQueriesInAnyOrderBatchAndThread"

# Replacements. An operator has blanks around it, unlike the brackets of a template.
RULES = [(re.compile(pattern), replacement) for pattern, replacement in [
    (r" < ", " <= "), (r" <= ", " < "), (r" > ", " >= "), (r" >= ", " > "),
    (r" == ", " != "), (r" != ", " == "), (r" && ", " || "), (r" \|\| ", " && "),
    (r" \+ ", " - "), (r" - ", " + "), (r" \* (?=[\w(])", " / "), (r" / ", " * "),
    (r"\+\+", "--"), (r" \+= ", " -= "), (r" -= ", " += "),
    (r"\bif \(", "if (!"), (r"\breturn true;", "return false;"), (r"\breturn false;", "return true;"),
    (r"\bcontinue;", "break;"),
    (r"(?<![\w.\"'\[])(\d+)(?![\w.\"'])", lambda match: str(int(match.group(1)) + 1)),
    (r"^( +)[A-Za-z_][\w.>:-]*\(.*\);$", r"\1;"),
]]
SKIPPED = re.compile(r"^\s*(//|#|static_assert|using |template|namespace |$)")

Mutant = collections.namedtuple("Mutant", "path line before after")


def negated(line, start):
    """The line with the condition of the `if (` at `start` negated, or None if it ends elsewhere."""
    opening = line.index("(", start)
    depth = 0
    for k in range(opening, len(line)):
        depth += {"(": 1, ")": -1}.get(line[k], 0)
        if depth == 0:
            condition = line[opening + 1:k]
            return None if ";" in condition or " = " in condition else f"{line[:opening]}(!({condition})){line[k + 1:]}"
    return None


def mutants_of(path):
    for number, line in enumerate((ROOT / path).read_text().splitlines(), 1):
        if SKIPPED.match(line):
            continue
        code = line.split("  //")[0]
        for pattern, replacement in RULES:
            for match in pattern.finditer(code):
                inside_text = code[:match.start()].count('"') % 2 == 1
                if inside_text:
                    continue
                if replacement == "if (!":
                    after = negated(code, match.start())
                else:
                    after = code[:match.start()] + match.expand(replacement) + code[match.end():] \
                        if isinstance(replacement, str) else \
                        code[:match.start()] + replacement(match) + code[match.end():]
                if after is not None and after != code:
                    yield Mutant(path, number, line, after)


def chosen(area, count, seed):
    """In turns from each folder, as many as it has."""
    pick = random.Random(f"{seed} {area}")
    folders = collections.defaultdict(list)
    for path in sorted((ROOT / area).rglob("*.[ch]pp")):
        relative = path.relative_to(ROOT)
        folders[relative.parent].extend(mutants_of(relative))
    for mutants in folders.values():
        pick.shuffle(mutants)
    result = []
    while len(result) < count and any(folders.values()):
        for mutants in folders.values():
            if mutants and len(result) < count:
                result.append(mutants.pop())
    return result


def copy_tree():
    """A copy of the sources; files that have not changed keep their times, so that the next build is short."""
    listed = subprocess.run(["git", "ls-files", "-co", "--exclude-standard", "-z"], cwd=ROOT, check=True,
                            capture_output=True, text=True).stdout.split("\0")
    for name in filter(None, listed):
        source, copy = ROOT / name, COPY / name
        if source.exists() and not (copy.exists() and copy.read_bytes() == source.read_bytes()):
            copy.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(source, copy)


def run(limit_s, *command):
    try:
        return subprocess.run(command, cwd=COPY, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                              timeout=limit_s).returncode == 0
    except subprocess.TimeoutExpired:
        return False


def build():
    return subprocess.run(["cmake", "--build", BUILD, "--target", "vorlandi_tests", "vorlandi_cli_tests"],
                          stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL).returncode == 0


def tests_pass(limit_s=None):
    options = [f"--gtest_filter={LEFT_OUT}", "--gtest_fail_fast", "--gtest_brief=1"]
    return all(run(limit_s, BUILD / "bin" / program, *options)
               for program in ("vorlandi_tests", "vorlandi_cli_tests"))


def verdict(mutant, limit_s):
    path = COPY / mutant.path
    original = path.read_text()
    lines = original.splitlines(keepends=True)
    lines[mutant.line - 1] = mutant.after + "\n"
    path.write_text("".join(lines))
    try:
        if not build():
            return "does not compile"
        return "survives" if tests_pass(limit_s) else "killed"
    finally:
        path.write_text(original)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("count", nargs="?", type=int)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--area", choices=["src", "cli"])
    parser.add_argument("--list", action="store_true", help="list the mutants without building them")
    options = parser.parse_args()
    counts = {"src": 100, "cli": 30}
    if options.count is not None:
        counts = {"src": options.count - options.count // 4, "cli": options.count // 4}
    if options.area:
        counts = {options.area: options.count if options.count is not None else counts[options.area]}
    mutants = [mutant for area, count in counts.items() for mutant in chosen(area, count, options.seed)]
    if options.list:
        for mutant in mutants:
            print(f"{mutant.path}:{mutant.line}:\n  -{mutant.before.strip()}\n  +{mutant.after.strip()}")
        return 0

    copy_tree()
    subprocess.run(["cmake", "--preset", "gcc", "-DCMAKE_BUILD_TYPE=Debug", "-DCMAKE_CXX_FLAGS_DEBUG=-O0",
                    "-DVORLANDI_BUILD_BENCHMARKS=OFF", "-DVORLANDI_WARNINGS_AS_ERRORS=OFF"],
                   cwd=COPY, check=True, stdout=subprocess.DEVNULL)
    if not build():
        sys.exit("the tests do not compile without a mutant")
    begin = time.monotonic()
    if not tests_pass():
        sys.exit("the tests fail without a mutant")
    limit_s = LONGEST_RUN * (time.monotonic() - begin)
    verdicts = collections.defaultdict(collections.Counter)
    for number, mutant in enumerate(mutants, 1):
        found = verdict(mutant, limit_s)
        verdicts[mutant.path.parts[0]][found] += 1
        print(f"{number}/{len(mutants)} {found:16} {mutant.path}:{mutant.line}", flush=True)
        if found == "survives":
            print(f"  -{mutant.before.strip()}\n  +{mutant.after.strip()}", flush=True)
    for area, counted in verdicts.items():
        built = counted["killed"] + counted["survives"]
        print(f"{area}: {counted['killed']} of {built} killed")
    return 0


if __name__ == "__main__":
    os.environ.setdefault("CMAKE_BUILD_PARALLEL_LEVEL", str(os.cpu_count() or 1))
    sys.exit(main())
