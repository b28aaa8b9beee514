#!/usr/bin/env python3
"""What pages, slips, codes, pictures and mails say to programmers has a row in the window's table: messages_test.py SOURCE_DIR.

A literal with an English word in it is a part of a message; the table has it as a part of one.
"""

import re
import sys
from pathlib import Path

ENGLISH = re.compile(r"\b(the|is|of|not|has|have|are|its|which|than|does|cannot|within|says|without|that|and|was|may)\b")
LITERALS = re.compile(r'"(?:[^"\\\n]|\\.)*"(?:\s*"(?:[^"\\\n]|\\.)*")*')
PIECE = re.compile(r'"((?:[^"\\\n]|\\.)*)"')
# What the file of a page is made of, and what stands behind "the picture cannot be decoded".
NEVER_SEEN = {"pdf.cpp", "default_template.cpp", "gif_data.cpp", "jpeg.cpp", "png.cpp"}


def literals(path):
    text = re.sub(r"(?m)//.*$|#include.*$", "", path.read_text())
    for found in LITERALS.finditer(text):
        yield "".join(PIECE.findall(found[0])).replace('\\"', '"')


def main(root):
    table = list(literals(root / "desktop/croatian.cpp"))
    missing = []
    sources = [path for path in sorted((root / "paper").glob("*.cpp")) if path.name not in NEVER_SEEN]
    sources += [root / "mox/codes/payment_slip.cpp"]
    for path in sources:
        for literal in literals(path):
            part = literal.strip(" :")
            if ENGLISH.search(part) and not any(part in row or row.endswith(": {}") and row[:-2] in part for row in table):
                missing.append(f"{path.relative_to(root)}: {literal}")
    if len(sources) < 15 or len(table) < 200:
        missing.append("nothing was read")
    print("\n".join(missing))
    return 1 if missing else 0


if __name__ == "__main__":
    sys.exit(main(Path(sys.argv[1])))
