#!/usr/bin/python3
"""Builds the documentation site: puts its pages together below BUILD/source and runs Sphinx, which writes BUILD/html.

    docs/make_site.py --tool build/gcc/bin/vorlandi --python build/gcc/python BUILD

The pages of docs/ go in as they are, but that names of pages in their prose become links. The page of commands is
written from the tool's help, the reference pages from the comments of the interfaces and the docstrings of the Python
package. A warning is an error.
"""
import argparse
import ast
import os
import pathlib
import re
import shutil
import subprocess
import sys

import commands_page

TOP = pathlib.Path(__file__).resolve().parent.parent
PAGES_ABOVE = ("CHANGELOG.md", "CONTRIBUTING.md", "README.md", "SECURITY.md")
LINKED = ("docs/images", "docs/static", "examples", "include")
PYTHON_MODULES = ("vorlandi", "vorlandi.times", "vorlandi.analysis", "vorlandi.convert", "vorlandi.plot",
                  "vorlandi.dask", "vorlandi.store")
# Either the text of a link to a page, or the name of a page that is no link.
NAME_OF_A_PAGE = re.compile(r"\[`(?:docs/)?[a-z_]+\.md`\]\(|(?<![\w/`\[])(?<!\]\()docs/([a-z_]+\.md)(?![\w`\]])")
LINK_TO_A_FOLDER = re.compile(r"\[([^]]+)\]\((?:\.\./)?(?:docs/decisions|examples/data)\)")


def with_links(text, prefix):
    """The text of a page, in whose prose names of pages are links that show the titles of these pages."""
    def link(found):
        return f"[]({prefix}{found.group(1)})" if found.group(1) else "[]("

    parts = re.split(r"(^```.*?^```$)", text, flags=re.M | re.S)
    parts[::2] = [LINK_TO_A_FOLDER.sub(r"\1", NAME_OF_A_PAGE.sub(link, part)) for part in parts[::2]]
    return "".join(parts)


def with_figures(text):
    """The text with figures of the page of performance in the place of {{their names}}."""
    page = (TOP / "docs/performance.md").read_text()

    def figure(found):
        row = re.search(rf"^\| {re.escape(found.group(1))} \| ([^|]+) \| ([^|]+) \|", page, re.M)
        return f"{row.group(1)} | {row.group(2)}"

    text = text.replace("{{run}}", re.search(r"begin -->\n\n(.*?)\.\n\n", page, re.S).group(1))
    return re.sub(r"\{\{(.*?)\}\}", figure, text)


def python_page(module):
    """The page of a module: its docstring, a list of its names, and theirs."""
    file = TOP / "python" / ("vorlandi/__init__.py" if module == "vorlandi" else f"{module.replace('.', '/')}.py")
    text = file.read_text()
    names = ast.literal_eval(re.search(r"^__all__ = (\[.*?\])", text, re.M | re.S).group(1))
    names = [name for name in names if f"{module}.{name}" not in PYTHON_MODULES]
    kinds = {name: "exception" if re.search("(Error|Warning)$", name) else "class" if name[0].isupper() else "function"
             for name in names}
    return "\n".join([
        module, "=" * len(module), "", f".. py:module:: {module}", "", ast.get_docstring(ast.parse(text)), "",
        ".. autosummary::", "    :nosignatures:", "", *(f"    {name}" for name in names), "",
        *(f".. auto{kind}:: {name}\n" + "    :members:\n" * (kind != "function") for name, kind in kinds.items())])


def assemble(source, tool):
    """The pages as Sphinx reads them: the top folder as far as pages refer to it."""
    docs = source / "docs"
    docs.mkdir(parents=True)
    for page in [*PAGES_ABOVE, *(page.relative_to(TOP) for page in sorted((TOP / "docs").rglob("*.md")))]:
        (source / page).parent.mkdir(exist_ok=True)
        prefix = "../" if "decisions" in str(page) else "" if "docs" in str(page) else "docs/"
        (source / page).write_text(with_links((TOP / page).read_text(), prefix))
    (docs / "index.md").write_text(with_figures((docs / "index.md").read_text()))
    for name in LINKED:
        os.symlink(TOP / name, source / name)
    (docs / "reference").mkdir()
    (docs / "commands.md").write_text(with_links(commands_page.page(tool), ""))
    for module in PYTHON_MODULES:
        (docs / "reference" / f"{module}.rst").write_text(python_page(module))
    subprocess.run([sys.executable, TOP / "docs/reference.py", "--markdown", docs / "reference"], check=True)


def complete_theme(static):
    """Makes the theme work without a web server, which Debian's needs for a style sheet and for a script."""
    styles, scripts = static / "styles", static / "scripts"
    normalize = pathlib.Path("/usr/share/javascript/normalize.css/normalize.css")
    sheet = (styles / "furo.css").read_text()
    (styles / "furo.css").write_text(sheet.replace(f"@import url(/{normalize.relative_to('/usr/share')});",
                                                   normalize.read_text()))
    script = (scripts / "furo.js").read_text().removeprefix('import Gumshoe from "./gumshoe-patched.js";')
    (scripts / "furo.js").write_text((scripts / "gumshoe-patched.js").read_text() + script)
    (scripts / "gumshoe-patched.js").unlink()


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--tool", type=pathlib.Path, required=True)
    parser.add_argument("--python", type=pathlib.Path, required=True)
    parser.add_argument("build", type=pathlib.Path)
    arguments = parser.parse_args()
    build = arguments.build.resolve()
    for part in ("source", "doctrees", "html"):
        shutil.rmtree(build / part, ignore_errors=True)
    assemble(build / "source", arguments.tool.resolve())
    environment = {**os.environ, "PYTHONPATH": str(arguments.python.resolve()), "PYTHONDONTWRITEBYTECODE": "1"}
    made = subprocess.run(
        [sys.executable, "-m", "sphinx", "-q", "-W", "--keep-going", "-b", "html", "-d", build / "doctrees",
         "-c", TOP / "docs", build / "source/docs", build / "html"], env=environment, check=False)
    complete_theme(build / "html/_static")
    return made.returncode


if __name__ == "__main__":
    sys.exit(main())
