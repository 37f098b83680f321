"""Writes what reference.py has read and checked: Markdown for MyST, and manual pages."""
import re
import textwrap

from reference_sources import LABELS

TITLES = {"c": "C reference", "cpp": "C++ reference", "fortran": "Fortran reference"}
# What is code in a sentence, links to other pages, and characters that have a meaning in Markdown.
TOKEN = re.compile(r'"[^"]*"|`[^`]*`|docs/\w+\.md|[\w/]*\b\w+\.(?:h|hpp|f90)\b|(?:\w+::)+\w+|\b\w+\(\)'
                   r"|\b(?:VORLAN(?:DI)?_\w+|Vorlan[A-Z]\w*|[a-z]+\w*[A-Z_0-9]\w*)|[\\*_\[\]<>|#]")


def grouped(items):
    """Group -> its items, in the order of the sources."""
    groups = {}
    for item in items:
        groups.setdefault(item.group, []).append(item)
    return groups.items()


def labelled(block):
    """The text of a block that has no section of its own."""
    return f"{block.kind}: {block.text}" if block.kind in LABELS[1:] else block.text


class MarkdownPage:
    """The page of a language."""

    def __init__(self, reference, language):
        self.reference, self.language = reference, language

    def inline(self, text, item):
        def marked(found):
            word = found.group()
            if page := re.fullmatch(r"docs/(\w+)\.md", word):
                return f"{{doc}}`/{page[1]}`"
            known = self.reference.find(word.removesuffix("()"), item, self.language)
            if known and known is not item:
                return f"{{ref}}`{word} <{known.anchor}>`"
            return f"\\{word}" if len(word) == 1 else word if word[0] == "`" else f"`{word}`"

        return TOKEN.sub(marked, text)

    def blocks(self, blocks, item):
        for block in blocks:
            if block.kind == "lines":
                yield f"```{self.language}\n{textwrap.dedent(chr(10).join(block.lines))}\n```\n"
            elif block.kind == "list":
                yield "| | |\n|---|---|\n" + "".join(
                    f"| `{term}` | {self.inline(meaning, item)} |\n" for term, meaning in block.rows)
            else:
                yield self.inline(labelled(block), item) + "\n"

    def section(self, item):
        before, after = item.prose
        names = ", ".join(f"`{name}`" for name in [*item.twins, item.name])
        yield f"({item.anchor})=\n### {names}\n\n```{self.language}\n{item.code}\n```\n"
        yield from self.blocks(before, item)
        if described := self.reference.described_in_c(item):
            yield f"Described with the C function, {{ref}}`{item.name} <{described.anchor}>`.\n"
        if rows := self.reference.arguments(item):
            yield "| argument | | |\n|---|---|---|\n" + "".join(
                f"| `{row.name}` | {row.direction} | {self.inline(row.text, item)} |\n" for row in rows)
        for part in self.reference.parts(item):
            label = "" if part.kind == "Returns" else f"*{part.kind}:* "
            yield f"{label}{self.inline(part.text, item)}\n"
        yield from self.blocks(after, item)

    def lines(self):
        groups = grouped(item for item in self.reference.items if item.language == self.language)
        yield f"# {TITLES[self.language]}\n"
        for group, items in groups:
            links = [f"{{ref}}`{name} <{item.anchor}>`" for item in items for name in [*item.twins, item.name]]
            yield f"- **{group}:** {', '.join(links)}"
        for path, head in self.reference.heads(self.language):
            yield f"\n## {path.partition('/')[2]}\n"
            yield from self.blocks(head, None)
        for group, items in groups:
            yield f"## {group}\n"
            for item in items:
                yield from self.section(item)


def markdown(reference):
    """(name, text) of each page."""
    languages = dict.fromkeys(item.language for item in reference.items)
    return [(f"{language}.md", "\n".join(MarkdownPage(reference, language).lines())) for language in languages]


def roff(text):
    """Text as roff reads it: no character of it is an instruction."""
    text = text.replace("\\", r"\e").replace("-", r"\-").replace("`", "")
    return re.sub(r"^(?=[.'])", r"\\&", text, flags=re.M)


def roff_text(text):
    outside_quotes = r'(?=[^"]*(?:"[^"]*"[^"]*)*$)'
    return re.sub(rf"\bVorlan[A-Z]\w+{outside_quotes}", r"\\fB\g<0>\\fR", roff(text)) + "\n"


def roff_blocks(blocks):
    for block in blocks:
        if block.kind == "lines":
            yield ".PP\n.nf\n" + roff("\n".join(block.lines)) + "\n.fi\n"
        elif block.kind == "list":
            yield "".join(f".TP\n\\fB{roff(term)}\\fR\n{roff_text(meaning)}" for term, meaning in block.rows)
        else:
            yield f".PP\n{roff_text(labelled(block))}"


def manual_begin(name, summary, version, headers, code=""):
    """Without hyphenation, which would divide names. The declaration is divided between arguments."""
    bound = re.sub(r"(?<!,) ", "\xa0", " ".join(code.split()))
    filled = textwrap.fill(bound, 70, subsequent_indent="    ", break_on_hyphens=False).replace("\xa0", " ")
    included = "".join(f"#include <{header}>\n" for header in headers)
    return (f'.TH {name.upper()} 3 "" "libvorlandi {version}" "Library Functions"\n.nh\n.ad l\n'
            f".SH NAME\n{name} \\- {roff(summary)}\n.SH SYNOPSIS\n.nf\n\\fB{included}.PP\n{roff(filled)}\\fR\n.fi\n"
            ".PP\nLink with \\fI\\-lvorlandi\\fR.\n.SH DESCRIPTION\n")


def manual_of_function(reference, item, version):
    before, after = item.prose
    yield manual_begin(item.name, item.sentence[0].lower() + item.sentence[1:], version,
                       [item.path.partition("/")[2]], item.code)
    yield from roff_blocks(before)
    for row in reference.arguments(item):
        yield f".TP\n\\fI{row.name}\\fR ({row.direction})\n{roff_text(row.text)}"
    for part in reference.parts(item):
        title = "RETURN VALUE" if part.kind == "Returns" else part.kind.upper()
        yield f".SH {title}\n{roff_text(part.text[0].upper() + part.text[1:])}"
    if after:
        yield ".SH NOTES\n"
        yield from roff_blocks(after)
    others = {name for block in item.blocks for name in re.findall(r"\bVorlan[A-Z]\w+", block.text)}
    yield ".SH SEE ALSO\n" + "".join(f"\\fB{name}\\fR(3),\n" for name in sorted(others - {item.name})
                                     if reference.find(name, None, "c")) + "\\fBlibvorlandi\\fR(3)\n"


def manual_of_library(reference, version):
    heads = [(path.partition("/")[2], head) for path, head in reference.heads("c")]
    summary = heads[0][1][0].text.removeprefix("libvorlandi: ").removesuffix(".")
    yield manual_begin("libvorlandi", summary, version, [header for header, _ in heads])
    for header, head in heads:
        yield f".SS {header}\n"
        yield from roff_blocks(head)
    yield ".SH FUNCTIONS\n"
    for group, items in grouped(item for item in reference.items if item.language == "c"):
        yield f".SS {group}\n"
        for item in items:
            yield (f".PP\n{roff_text(item.blocks[0].text)}.nf\n{roff(item.code)}\n.fi\n"
                   if item.code.startswith("enum") else
                   f".TP\n\\fB{item.name}\\fR(3)\n{roff_text(item.sentence)}")
    yield ".SH SEE ALSO\n\\fBvorlandi\\fR(1)\n"


def manuals(reference, version):
    """(name, text) of each page: of the library, and of each function of C."""
    functions = [item for item in reference.items if item.language == "c" and not item.code.startswith("enum")]
    return [("libvorlandi.3", "".join(manual_of_library(reference, version)))] + [
        (f"{item.name}.3", "".join(manual_of_function(reference, item, version))) for item in functions]
