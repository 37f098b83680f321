"""Reads what the C, C++ and Fortran interfaces declare for their users, and the comments above it. CONTRIBUTING.md
describes their form (Comments of the interface). clang-format makes the layout of the code."""
import dataclasses
import os
import re
import textwrap

LABELS = ("Returns", "Messages", "Memory", "Threads", "Method", "Accuracy", "Cost")
LABEL = re.compile(rf"(Returns) |({'|'.join(LABELS[1:])}): ")
ROW = re.compile(r"  (\w+)  +(in out|in|out)  +(\S.*)")  # of an argument
MARK = re.compile(r"\s*(?:/\*|\*/|\*|//|!)(?: |$)")  # of a line of comment
NOT_DECLARED = re.compile(r"\s*(?:$|#|extern \"C\"|namespace|\}|public:|static_assert|"
                          r"interface$|contains|end |module |use,|implicit|!\$omp)")
TYPE = re.compile(r"(?:template <.*>\s*)?(struct|enum class|class|using|inline constexpr)\b[\w: ]*? (\w+)(?: [{:=]|;)")
FORTRAN_BEGIN = re.compile(r"\s*(?:function|subroutine|interface) ")
FORTRAN_END = re.compile(r"end (?:function|subroutine|interface)$")


class NotUnderstood(Exception):
    """A declaration, or a part of it, that is not written as this script expects."""


@dataclasses.dataclass
class Block:
    """A piece of a comment."""
    kind: str  # "text", one of LABELS, "argument", "list": terms and their meanings, or "lines" that stay as they are
    lines: list
    name: str = ""  # of an argument
    direction: str = ""

    @property
    def text(self):
        return " ".join(line.strip() for line in self.lines)

    @property
    def rows(self):
        """(term, meaning) of a list."""
        rows = re.sub(r"\n {3,}", " ", "\n".join(self.lines)).split("\n")
        return [(term, " ".join(meaning.split())) for term, _, meaning in (row.strip().partition("  ") for row in rows)]


@dataclasses.dataclass
class Argument:
    name: str
    direction: str
    shape: str = ""  # how the description begins: a regular expression
    needs_unit: bool = False
    needs_row: bool = True


@dataclasses.dataclass
class Item:
    """A function, a type or constants."""
    name: str
    code: str
    arguments: list = dataclasses.field(default_factory=list)
    answers: bool = False  # has a result
    language: str = ""
    group: str = ""
    path: str = ""
    line: int = 0
    blocks: list = dataclasses.field(default_factory=list)  # of the comment
    twins: list = dataclasses.field(default_factory=list)  # other functions that the comment describes

    @property
    def anchor(self):
        """Anchors that differ in capitals alone are the same."""
        kind = "type-" if self.language == "cpp" and TYPE.match(self.code) else ""
        return f"{self.language}-{kind}{re.sub('[^a-z0-9_]+', '-', self.name.lower()).strip('-')}"

    @property
    def sentence(self):
        return re.match(r".*?(?=[.;:](?:\s|$)|$)", self.blocks[0].text).group()

    @property
    def prose(self):
        """The blocks before the arguments or the first part, and the blocks of free text after it."""
        is_free = [block.kind in ("text", "list", "lines") for block in self.blocks]
        begin = is_free.index(False) if False in is_free else len(is_free)
        return self.blocks[:begin], [block for block, free in zip(self.blocks[begin:], is_free[begin:]) if free]


def blocks_of(comment):
    """The blocks of a comment, which is given as lines without their marks."""
    blocks, current = [], None
    for line in comment:
        row, label, indented = ROW.match(line), LABEL.match(line), line.startswith("  ")
        goes_on = current and not row and not label and (
            line.startswith("    ") if current.kind == "argument" else indented == (current.kind in ("list", "lines")))
        if not line:
            current = None
        elif goes_on:
            current.lines.append(line)
        else:
            current = (Block("argument", [row[3]], row[1], row[2]) if row else
                       Block(label[1] or label[2], [line[label.end(2) + 2:] if label[2] else line]) if label else
                       Block("lines" if line.startswith("    ") else "list" if indented else "text", [line]))
            blocks.append(current)
    return blocks


def pieces(text):
    """(first line, lines of the comment directly above, code) of each declaration; other comments without code."""
    comment, code, start = [], [], 0
    for number, line in enumerate(text.split("\n"), 1):
        if not code and MARK.match(line):
            comment.append(re.sub(r"\s*\*/$", "", line[MARK.match(line).end():]))
        elif not code and NOT_DECLARED.match(line):
            if comment:
                yield number, comment, ""
            comment = []
        else:
            start = start or number
            code.append(line)
            if is_complete(code):
                yield start, comment, "\n".join(code)
                comment, code, start = [], [], 0


def is_complete(code):
    if FORTRAN_BEGIN.match(code[0]):
        return FORTRAN_END.search(code[-1])
    if re.match(r" +(?:private|integer|character)\b.*::", code[0]):
        return not code[-1].endswith("&")
    plain = re.sub(r'//.*|/\*.*?\*/|"(?:\\.|[^"\\])*"', "", "\n".join(code)).rstrip()
    return plain.endswith((";", "}")) and all(plain.count(a) == plain.count(b) for a, b in ("()", "{}"))


def divided(text):
    """A list, divided at the commas outside of brackets."""
    parts, depth = [""], 0
    for character in text:
        depth += (character in "(<[{") - (character in ")>]}")
        parts[-1] += character if character != "," or depth else ""
        if character == "," and not depth:
            parts.append("")
    return [part.strip() for part in parts if part.strip()]


def matched(pattern, text, **options):
    found = re.search(pattern, text, **options)
    if not found:
        raise NotUnderstood(text)
    return found


def constants(code):
    """Constants with a common beginning, by which they are called."""
    names = re.findall(r"(VORLAN_\w+) =", code)
    return [Item(os.path.commonprefix(names) + "...", textwrap.dedent(code))] if names else []


def c_items(code):
    flat = " ".join(code.split())
    if flat.startswith("enum"):
        return constants(code)
    kind, handler, name, arguments = matched(r"^(.*?)(?: \(\*(\w+)\)|\W(\w+))\((.*)\);$", flat).groups()
    item = Item(handler or name, code, answers=kind != "void" and not handler)
    for one in divided(arguments) if arguments != "void" else []:
        const, kind, stars, name, sizes = matched(r"^(const )?(\w+) ?(\**) ?(\w+)((?:\[\w*\])*)$", one).groups()
        is_input = const or not stars + sizes or (kind, stars) == ("void", "*")
        shape = re.escape(sizes).replace(r"\[\]", r"\[\w+\]") or (r"\[\w+\]" if const else "")
        item.arguments.append(Argument(name, "in" if is_input else "out", shape, kind == "double"))
    return [item]


def cpp_items(code, scope=""):
    """An argument whose type says enough needs no description."""
    kind = TYPE.match(code)
    if kind and kind[1] != "class":
        return [Item(scope + kind[2], re.sub(r"  // NOLINT.*", "", code))]
    if kind:
        return cpp_class(code, kind[2])
    if "(" not in code:  # data of a class
        return [Item(scope + matched(r"(\w+)\W*$", code)[1], code)]
    depth = end = 0
    while depth or not re.match(r"[{;]| : ", code[end:]):
        depth += (code[end] == "(") - (code[end] == ")")
        end += 1
    head = code[:end].rstrip() + ";"
    inline = "inline "
    if head.startswith(inline):  # the lines that follow stay aligned with the first
        head = head.removeprefix(inline).replace("\n" + len(inline) * " ", "\n")
    name, arguments = matched(r"(operator.+?|~?\w+)\((.*?)\)(?= |;)", head, flags=re.S).groups()
    item = Item(scope + name, head, answers=not head.startswith("void "))
    for one in divided(arguments):
        is_output = bool(re.match(r"std::span<(?!const)|(?!const |std::span)[\w:<>]+ ?[&*]", one))
        item.arguments.append(Argument(re.sub(r" = .*", "", one).split()[-1], "out" if is_output else "in",
                                       r"\[\w+\]" if "std::span" in one else "", needs_row=is_output))
    return [item]


def cpp_class(code, name):
    """The class with constructors, operators, types and data, which its comment describes; then its other members."""
    head, body = code.split("\n", 1)
    shown, members = "", []
    body = re.sub(r"^private:.*?(?=^public:|\Z)", "", re.sub("^    ", "", body, flags=re.M), flags=re.M | re.S)
    for line, comment, part in pieces(body):
        for item in cpp_items(part, f"{name}::") if part else []:
            item.line, item.blocks = line, blocks_of(comment)
            if item.name == f"{name}::{name}" or not comment and re.search(r"::(?:~|operator)", item.name) or \
                    re.match(r"using|[^(]*$", item.code):
                shown += textwrap.indent(item.code, "    ") + "\n"
            else:
                members.append(item)
    return [Item(name, f"{head}\npublic:\n{shown}}};" if shown else head.replace(" {", ";")), *members]


def fortran_items(code, procedures):
    """`procedures` has those so far, by name. Those of a generic name come after it: see `visible`."""
    flat = re.sub(r"\s*&\n\s*", " ", code)
    if generic := re.match(r" *interface (\w+)", flat):
        return [Item(generic[1], "", re.findall(r"\w+", " ".join(re.findall(r"procedure (.*)", flat))))]
    if not FORTRAN_BEGIN.match(code):
        return constants(code)
    kind, name, names, result = matched(r"^ *(\w+) (\w+)\((.*?)\)(?:.*result\((\w+)\))?", flat).groups()
    names, shown, arguments = divided(names), [matched(r"^(?:.*&\n)*.*", textwrap.dedent(code))[0]], {}
    for line in flat.split("\n")[1:]:
        declared = re.match(r" *(\w.*?) :: (.*)", line)
        for one in divided(declared[2]) if declared else []:
            declared_name = re.match(r"\w+", one)[0]
            if declared_name in names:
                is_input = re.search(r"intent\(in\)|\bvalue\b", declared[1])
                arguments[declared_name] = Argument(declared_name, "in" if is_input else "out",
                                                    r"\(" if "(" in one else "", "real(" in declared[1])
            if declared_name in (*names, result) and shown[-1] != f"    {line.strip()}":
                shown.append(f"    {line.strip()}")
    if missing := [name for name in names if name not in arguments]:
        raise NotUnderstood(f"{missing} in {flat}")
    item = Item(name, "\n".join([*shown, f"end {kind}"]), [arguments[name] for name in names], kind == "function")
    procedures[name] = item
    return [item]


def visible(items, text, procedures):
    """Without private procedures; generic names have the arguments of theirs, and twins (try_x and x) one section."""
    private = set(re.findall(r"\w+", " ".join(re.findall(r"^ *private :: ((?:.*&\n)*.*)", text, re.M))))
    named = {item.name: item for item in items}
    shown = []
    for item in items:
        if not item.code:
            theirs = [procedures[name] for name in item.arguments]
            item.code = "\n\n".join(each.code.replace(f" {each.name}(", f" {item.name}(", 1) for each in theirs)
            arguments = {}
            for each in sorted(theirs, key=lambda each: -len(each.arguments)):
                for argument in each.arguments:
                    if arguments.setdefault(argument.name, argument).shape != argument.shape:
                        arguments[argument.name] = dataclasses.replace(argument, shape="")
            item.arguments = list(arguments.values())
        twin = named.get(re.sub(r"(\w+)$", r"try_\1", item.name))
        if twin and not item.blocks:
            twin.code += f"\n{item.code}"
            twin.twins.append(item.name)
        elif item.name not in private:
            shown.append(item)
    return shown


def read(language, path, text):
    """The comment at the head of a source, and the items."""
    if language == "cpp":
        text = re.sub(r"^namespace detail \{.*?^\}  // namespace detail",
                      lambda inner: "\n" * inner[0].count("\n"), text, flags=re.M | re.S)
    if language == "fortran":
        text = re.sub(r"^( *)pure (?=subroutine|function)", r"\1", text, flags=re.M)
    head, items, group, procedures = None, [], "", {}
    for line, comment, code in pieces(text):
        if not code:
            banner = re.fullmatch(r"---- (.*) ----", comment[0])
            head, group = head or blocks_of(comment), banner[1] if banner else group
            continue
        try:
            found = (c_items(code) if language == "c" else cpp_items(code) if language == "cpp" else
                     fortran_items(code, procedures))
        except NotUnderstood as part:
            raise NotUnderstood(f"{path}:{line}: this is not understood: {part}") from None
        for item in found:
            item.language, item.group, item.path, item.line = language, group, path, line + item.line
            item.blocks = item.blocks or (blocks_of(comment) if item is found[0] else [])
        items += found
    return head or [], visible(items, text, procedures)
