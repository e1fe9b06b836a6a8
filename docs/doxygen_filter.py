#!/usr/bin/env python3
"""Prints a public header with its comments in Doxygen's notation.

usage: doxygen_filter.py HEADER

In the headers a comment stands above what it describes, or behind it in the line. Arguments stand in a table of name and
text, statuses in a paragraph that begins with "Returns"; formulas, tables and lists are indented.
"""

import re
import sys
from itertools import groupby
from pathlib import Path

ARGUMENT = re.compile(r"(\w+(?:, \w+)*)  +(\S.*)")
NAME = re.compile(r"\b(?:(?:df|rsg|rvn|vd)[A-Z]\w+|(?:DF|RSG|RVN|RNG)_\w+|DDT\w+)")
# Above a declaration, in one of two styles, or behind one.
COMMENT = re.compile(r"^ */\*(?P<block>(?s:.*?))\*/\n|(?P<lines>(?:^ *//.*\n)+)|(?P<behind>/\*(?s:.*?)\*/|//.*)",
                     re.MULTILINE)
SECTION = re.compile(r"---- .* ----\.?", re.DOTALL)


def declared_names():
    """What the C headers declare, beside the one that is read too."""
    headers = Path(sys.argv[1]).parent.glob("*.h")
    return set(NAME.findall("".join(COMMENT.sub("", header.read_text()) for header in headers)))


def escaped(text):
    """The text with nothing in it that means something to Doxygen, and with links to what the headers declare."""
    text = re.sub(r"`(\w+)`", r"\\c \1", re.sub(r'[\\@<>&$#%"]', r"\\\g<0>", text))
    return NAME.sub(lambda name: f"\\link {name[0]} {name[0]}\\endlink" if name[0] in DECLARED else name[0], text)


def arguments_of(declaration):
    inside = re.search(r"\((.*?)\)[^()]*$", declaration, re.DOTALL)
    return set(re.findall(r"(\w+)\s*(?:,|$|\[|=)", inside[1])) if inside else set()


def described_arguments(part, names):
    """The arguments that a paragraph describes, as commands; nothing for another paragraph."""
    entries = []
    for line in part:
        entry = ARGUMENT.fullmatch(line)
        if entry and set(entry[1].split(", ")) <= names:
            first, *others = entry[1].split(", ")
            entries += [*(f"\\param {name} see {others[-1]}" for name in [first, *others[:-1]] if others),
                        f"\\param {others[-1] if others else first} {escaped(entry[2])}"]
        elif entries and line.startswith(" "):
            entries[-1] += "\n" + escaped(line.strip())
        else:
            return []
    return entries


def listed(part):
    """A paragraph whose items begin with a dash, as such a list."""
    return ["\n- " + escaped(line.strip()[2:]) if re.match(r" *- ", line) else "  " + escaped(line.strip()) for line in part]


def paragraph(part, names):
    if arguments := described_arguments(part, names):
        return arguments
    if re.match(r"Returns?\b", part[0]):
        return ["\\return " + escaped(re.sub(r"^Returns? (?:what )?", "", " ".join(line.strip() for line in part)))]
    out = []
    for indented, run in groupby(part, lambda line: line.startswith("  ") or line.startswith("- ")):
        run = list(run)
        if not indented:
            out += map(escaped, run)
        elif any(re.match(r" *- ", line) for line in run):
            out += listed(run)
        else:
            out += ["\\verbatim", *run, "\\endverbatim"]
    return out


def translated(text, declaration):
    """A comment's text in Doxygen's notation."""
    names = arguments_of(declaration)
    lines = [re.sub(r"^ *(?:\*|//) ?", "", line).rstrip() for line in text.strip().splitlines()]
    parts = [list(run) for filled, run in groupby(lines, bool) if filled]
    return "\n\n".join("\n".join(paragraph(part, names)) for part in parts)


def grouped(source, header, about):
    """What a C++ header adds to the namespace, as a group that has the header's name."""
    opening = "namespace ravenfit {\n"
    if header.suffix != ".hpp" or opening not in source:
        return source
    begin, end = source.index(opening) + len(opening), source.rindex("}")
    return (f"{source[:begin]}/** \\defgroup {header.stem} {header.name}\n{about}\n@{{ */\n"
            f"{source[begin:end]}/** @}} */\n{source[end:]}")


def filtered(header):
    source = header.read_text()
    about = []

    def comment(match):
        if match["behind"]:
            if source[match.start() - 3] == "}":  # of a namespace
                return ""
            return "/**< " + escaped(" ".join(re.sub(r"/\*|\*/|//", "", match["behind"]).split())) + " */"
        text = match["block"] or match["lines"]
        if SECTION.search(text):
            return "\n"
        if not about:  # the first one is on the header
            about.append(translated(text, ""))
            return f"/** \\file\n{about[0]} */\n"
        # What another one is on ends with the first brace or semicolon.
        return f"/** {translated(text, re.match(r'[^;{]*', source[match.end():])[0])} */\n"

    return grouped(COMMENT.sub(comment, source), header, *about)


DECLARED = declared_names()
sys.stdout.write(filtered(Path(sys.argv[1])))
