#!/usr/bin/env python3
"""Lays out what Sphinx reads: the project's Markdown, a page for each example, a page for each public header.

usage: site_pages.py FOLDER
"""

import re
import shutil
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
OUT = Path(sys.argv[1])
# The menu; Markdown that is missing here comes last.
MENU = {
    "Use it": ["docs/choosing", "docs/ends", "docs/hints", "docs/cpp", "docs/python", "docs/command", "docs/streams",
               "docs/coming_from", "examples/index"],
    "Reference": ["reference/cpp", "reference/c"],
    "Trust it": ["docs/performance", "docs/reproducibility", "docs/testing", "SECURITY", "CHANGELOG", "LICENSE"],
    "Work on it": ["CONTRIBUTING", "docs/adding_a_kind", "docs/adding_a_generator", "docs/adding_a_level"],
}
# Headers that only other headers have a use for.
INSIDE = ["export", "spline_state"]


def write(name, text):
    path = OUT / name
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text(text)


def toctree(pages, caption=""):
    return "```{toctree}\n:hidden:\n" + f":caption: {caption}\n" * bool(caption) + "\n".join(pages) + "\n```\n"


def link(page, text, target):
    """A Markdown link of a page, to where the site has what it means; the text alone where the site has it not."""
    path, mark, place = target.partition("#")
    name = (ROOT / page.parent / path).resolve().relative_to(ROOT) if path and ":" not in path else Path()
    if not path or not (ROOT / name).exists() or name.suffix == ".md" or name.is_relative_to("docs/plots"):
        return f"[{text}]({target})"
    if name == Path("LICENSE"):
        return f"[{text}](LICENSE.md)"
    if name.parts[0] == "examples":
        return f"[{text}]({'../' * len(page.parent.parts)}examples/{name.stem if name.suffix else 'index'}.md)"
    return text


def pages():
    """The project's Markdown; README is the first page, with the menu."""
    names = [path.relative_to(ROOT) for pattern in ("*.md", "docs/*.md", "playground/*.md") for path in ROOT.glob(pattern)]
    for name in names:
        text = (ROOT / name).read_text()
        text = re.sub(r"(?<!!)\[([^\]]+)\]\(([^)\s]+)\)", lambda found: link(name, *found.groups()), text)
        if name == Path("README.md"):
            name = "index.md"
            if (ROOT / "build/playground/index.html").exists():
                text = text.replace("\n\n", "\n\n<p><a href='playground/index.html'>Try it in the browser.</a></p>\n\n", 1)
            listed = ["README", *sum(MENU.values(), [])]
            rest = [page for page in (str(other.with_suffix("")) for other in names) if page not in listed]
            text += "\n" + "\n".join(toctree(menu, caption) for caption, menu in MENU.items()) + toctree(rest)
        write(name, text)
    write("LICENSE.md", f"# Licence\n\n```text\n{(ROOT / 'LICENSE').read_text()}```\n")
    shutil.copytree(ROOT / "docs/plots", OUT / "docs/plots")


def examples():
    """A page for each program, under what the comment at its head says."""
    rows = []
    for path in sorted([*ROOT.glob("examples/*.c"), *ROOT.glob("examples/*.cpp")]):
        source = path.read_text()
        head = " ".join(re.findall(r"^(?:// ?|/\* ?| \* ?)(.*?)(?:\*/)?$", source.split("\n\n")[0], re.MULTILINE))
        rows.append(f"- [{path.name}]({path.stem}.md): {head}")
        language = "c" if path.suffix == ".c" else "c++"
        write(f"examples/{path.stem}.md", f"# {path.name}\n\n```{language}\n{source}```\n")
    write("examples/index.md", "# Whole programs\n\nThe tests compile and run each of them.\n\n" + "\n".join(rows) + "\n\n" +
          toctree(row.split("](")[1].split(".md")[0] for row in rows))


def reference():
    """A page for each public header."""
    for suffix, name, title in [(".h", "c", "C reference"), (".hpp", "cpp", "C++ reference")]:
        headers = [path for path in sorted(ROOT.glob("include/ravenfit/*" + suffix)) if path.stem not in INSIDE]
        for header in headers:
            text = f"# ravenfit/{header.name}\n\n```{{doxygenfile}} {header.name}\n"
            if "namespace ravenfit {" in header.read_text():
                text += ":sections: detaileddescription\n```\n"
                text += f"```{{doxygengroup}} {header.stem}\n:content-only:\n:members:\n:undoc-members:\n"
            write(f"reference/{header.name}.md", text + "```\n")
        write(f"reference/{name}.md", f"# {title}\n\n" + "".join(f"- [ravenfit/{h.name}]({h.name}.md)\n" for h in headers) + "\n" +
              toctree(h.name for h in headers))


shutil.rmtree(OUT, ignore_errors=True)
pages()
examples()
reference()
