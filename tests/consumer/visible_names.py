#!/usr/bin/env python3
"""Holds what a shared object shows against the headers: visible_names.py LIBRARY INCLUDE_FOLDER.

Each visible name must be of namespace mox and made of words that stand in an installed header.
"""

import re
import subprocess
import sys
from pathlib import Path

ARGUMENTS = re.compile(r"<[^<>]*>|\([^()]*\)|\[[^\[\]]*\]|\{[^{}]*\}|'[^']*'")


def plain(name):
    """The qualified name without arguments, what it returns and what a compiler's addition is for."""
    name = re.sub(r"operator(?:\(\)|\[\]|<=>|<<|>>|[<>]=?|\(\))?", "operator", name)
    while (shorter := ARGUMENTS.sub("", name)) != name:
        name = shorter
    return re.sub(r"( const| volatile|[&*])+$", "", name.strip()).split(" ")[-1]


def main(library, include_folder):
    listing = subprocess.run(["nm", "-DC", "--defined-only", library], capture_output=True, text=True, check=True).stdout
    names = [line.split(" ", 2)[2] for line in listing.splitlines()]
    declared = set()
    for header in Path(include_folder).rglob("*.h"):
        declared.update(re.findall(r"\w+", header.read_text()))
    hidden = []
    for name in names:
        words = [word.lstrip("~") for word in plain(name).split("::") if word]
        if words[0] != "mox" or any(word not in declared and not word.startswith("operator") for word in words):
            hidden.append(name)
    print("\n".join(f"visible, and in no header: {name}" for name in hidden))
    return 1 if hidden or len(names) < 100 else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
