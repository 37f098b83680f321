#!/usr/bin/env python3
"""The Fortran module has an interface for every function of the C headers, with its arguments, and their constants.

    check_interfaces.py INCLUDE_DIR MODULE_SOURCE
"""
import pathlib
import re
import sys

KINDS = {"int32_t": "integer(c_int32_t)", "int64_t": "integer(c_int64_t)", "double": "real(c_double)",
         "char": "character(kind=c_char)", "void": "type(c_ptr)"}


def squeezed(text):
    return re.sub(r"\s+", "", text).lower()


def argument(c_text):
    """The Fortran declaration of a C parameter: an array has its dimensions reversed, any other output is optional."""
    const, kind, stars, name, sizes = re.fullmatch(
        r"(const )?(\w+)\s*(\**)\s*(\w+)((?:\[\d*\])*)", c_text.strip()).groups()
    kind = KINDS.get(kind, "type(c_funptr)")
    sizes = ["" if not size else size for size in re.findall(r"\[(\d*)\]", sizes)]
    if kind == "type(c_ptr)":  # of unknown type: one star less is left
        stars = stars[1:]
    if const and kind == KINDS["char"]:
        sizes = [""]
    shape = f"({','.join(size or '*' for size in reversed(sizes))})" if sizes else ""
    how = "value" if not stars and not sizes else "intent(in)" if const else "intent(out),optional"
    return squeezed(f"{kind},{how}::{name}{shape}")


def declared(include):
    """Name -> (answer, arguments) of every function, and name -> value of every constant."""
    functions, constants = {}, {}
    for header in include.glob("vorlandi/*.h"):
        text = re.sub(r"/\*.*?\*/", "", header.read_text(), flags=re.S)
        for answer, name, arguments in re.findall(r"^(\w+) (Vorlan\w+)\(([^;]*)\);", text, re.M):
            arguments = re.sub(r"\s+", " ", arguments)
            functions[name.lower()] = (
                squeezed(KINDS[answer]) if answer != "void" else None,
                [] if arguments == "void" else [argument(one) for one in arguments.split(",")])
        constants |= {name.lower(): value for name, value in re.findall(r"(VORLAN_\w+) = (\d+)", text)}
    return functions, constants


def defined(source):
    """The same of the module. An array that the library fills in part is inout there: its rest stays."""
    functions = {}
    text = re.sub(r"&\n\s*", "", source.read_text())
    for kind, names, c_name, body in re.findall(
            r'(function|subroutine) '
            r'Vorlan\w+\(([^)]*)\)\s+bind\(c, name="(Vorlan\w+)"\)[^\n]*\n(.*?)end \1', text, re.S):
        lines = [squeezed(line).replace("intent(inout)", "intent(out)") for line in body.splitlines() if "::" in line]
        answer = lines.pop().removesuffix("::answer") if kind == "function" else None
        if [re.sub(r"\(.*", "", line.split("::")[1]) for line in lines] != squeezed(names).split(",") and names:
            lines = ["declared in another order"]
        functions[c_name.lower()] = (answer, lines)
    return functions, {name.lower(): value for name, value in re.findall(r"(VORLAN_\w+) = (\d+)", text)}


def main():
    found = 0
    for wanted, there in zip(declared(pathlib.Path(sys.argv[1])), defined(pathlib.Path(sys.argv[2]))):
        assert wanted, "nothing was found in the headers"
        for name in sorted(wanted.keys() | there.keys()):
            if wanted.get(name) != there.get(name):
                found += 1
                print(f"{name}\n  headers  {wanted.get(name)}\n  module   {there.get(name)}")
    return 1 if found else 0


sys.exit(main())
