"""The documentation site. make_site.py puts the pages together and runs Sphinx; nothing is taken from the network."""
import pathlib
import re

TOP = pathlib.Path(__file__).resolve().parent.parent

project = "libvorlandi"
author = "The libvorlandi authors"
copyright = author  # noqa: A001: Sphinx's name
release = re.search(r"project\(vorlandi VERSION ([\d.]+)", (TOP / "CMakeLists.txt").read_text()).group(1)

extensions = ["myst_parser", "sphinx.ext.autodoc", "sphinx.ext.autosummary", "sphinx.ext.napoleon"]
myst_enable_extensions = ["colon_fence", "deflist"]
myst_heading_anchors = 4
nitpicky = True
# Types are also those of other packages, whose documentation is elsewhere; `name` is also an argument or a field, which
# nothing can be linked to.
nitpick_ignore_regex = [("py:class", ".*"), ("py:obj", r"[a-z_0-9]+|(numpy|datetime|matplotlib)\..*"),
                        ("py:exc", "(OS|Type|Value|Memory|Import)Error")]
default_role = "py:obj"
smartquotes = False

autodoc_typehints = "none"  # the docstrings have them, with shapes and units
autodoc_member_order = "bysource"
autodoc_mock_imports = ["dask", "matplotlib", "pandas"]  # not needed to read docstrings
autosummary_generate = False
napoleon_google_docstring = False
napoleon_use_rtype = False

html_theme = "furo"
html_title = f"libvorlandi {release}"
html_static_path = ["static"]
html_css_files = ["site.css"]
html_copy_source = False
html_show_sphinx = False
html_show_search_summary = False  # which a browser can't fetch from files
highlight_language = "none"


def other_module(app, env, node, content):
    """A name in a docstring of one module that another one has: the submodules use the exceptions of `vorlandi`."""
    if node.get("refdomain") != "py":
        return None
    return env.domains["py"].resolve_xref(env, node["refdoc"], app.builder, node["reftype"],
                                          f"vorlandi.{node['reftarget']}", node, content)


def setup(app):
    app.connect("missing-reference", other_module)
