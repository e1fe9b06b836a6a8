# The site: what Sphinx makes of the project's Markdown, its examples and its headers. docs/site_pages.py lays it out,
# `./run docs` builds it.

from pathlib import Path

project = "Ravenfit"
copyright = "the Ravenfit developers"
extensions = ["myst_parser", "breathe"]
root_doc = "index"
html_theme = "furo"
html_title = "Ravenfit"
html_show_sphinx = False
# From file:// the page may not fetch the pages that it found.
html_show_search_summary = False
html_copy_source = False
html_show_sourcelink = False
# Links to headings of a page are those that forges make.
myst_heading_anchors = 4
pygments_style = "friendly"
pygments_dark_style = "monokai"

breathe_projects = {"ravenfit": "../build/doxygen/xml"}
breathe_default_project = "ravenfit"
breathe_domain_by_extension = {"h": "c", "hpp": "cpp"}
breathe_domain_by_file_pattern = {"*/vetra_data_fitting.h": "cpp"}
breathe_show_include = False
breathe_show_enumvalue_initializer = True
# What stands before a declaration and is no part of C.
c_id_attributes = ["RVN_API"]
cpp_id_attributes = ["RVN_API"]
primary_domain = "cpp"
highlight_language = "text"


def stand_alone(app, exception):
    """Debian's theme takes a style sheet from the root of a web server, and a script as a module. From file:// there is
    neither, so that both go into the files that want them."""
    if exception:
        return
    static = Path(app.outdir) / "_static"
    for name, wanted, path in [
            ("styles/furo.css", "@import url(/javascript/normalize.css/normalize.css);",
             "/usr/share/javascript/normalize.css/normalize.css"),
            ("scripts/furo.js", 'import Gumshoe from "./gumshoe-patched.js";', static / "scripts/gumshoe-patched.js")]:
        (static / name).write_text((static / name).read_text().replace(wanted, Path(path).read_text()))


def setup(app):
    app.connect("build-finished", stand_alone)
