#!/usr/bin/env python3
"""Holds every header against the sources: headers.py [ROOT]. Prints a line for each function that stands apart.

A function that a source defines is declared in the header of that name, or in its half that is not installed
(NAME_internal.h). Where there is no such header, it is declared in one that has no source of its own (date_checks.cpp,
validations.h), or whose name the source's goes on (param_list_text.cpp, param_list.h).
"""

import re

from house import tell

FOLDERS = ("mox/*", "mox/host/*", "appserver", "cli", "sender", "sheets", "moxd", "connect", "paper", "desktop")
TYPE = r"^(?!return|using|typedef|static|struct|class|enum|namespace|extern|\s|[#/}])(?:[\w:<>,*&\[\]]+ )+[*&]?"
DECLARED = re.compile(TYPE + r"(\w+)\([^;{]*\)[^;{()]*;", re.M)
DEFINED = re.compile(TYPE + r"(\w+)\([^;{]*\)[^;{()]*\{", re.M)
HIDDEN = re.compile(r"^namespace \{$.*?^\}  // namespace$", re.M | re.S)


def check_folder(folder, root):
    sources = {path.stem: HIDDEN.sub("", path.read_text()) for path in sorted(folder.glob("*.cpp"))}
    headers = {path.stem: path.read_text() for path in sorted(folder.glob("*.h"))}
    defined = {}
    for source, text in sources.items():
        for name in DEFINED.findall(text):
            defined.setdefault(name, set()).add(source)

    def apart(source, header):
        own = header.removesuffix("_internal").removesuffix("_inline")
        if own == source:
            return False
        return source in headers or (own in sources and not source.startswith(own + "_"))

    faults = []
    for header, text in headers.items():
        for name in DECLARED.findall(text):
            homes = defined.get(name, set())
            if homes and all(apart(home, header) for home in homes):
                faults.append((header, name, min(homes)))
    place = folder.relative_to(root).as_posix()
    return [f"{place}/{header}.h declares {name}, which {place}/{source}.cpp defines" for header, name, source in faults]


def check(root):
    folders = sorted({path for pattern in FOLDERS for path in root.glob(pattern) if path.is_dir()})
    return [fault for folder in folders for fault in check_folder(folder, root)]


if __name__ == "__main__":
    tell(check)
