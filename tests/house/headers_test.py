#!/usr/bin/env python3
"""The rule of the headers: each row is a folder with what is said of it, and this tree keeps the rule."""

import sys
import tempfile
from pathlib import Path

import headers

COUNT = "int Count(const Set& set,\n          int from = 0);\n"
DEFINED = "int Count(const Set& set, int from) {\n  return 1;\n}\n"
APART = "mox/low/one.h declares Count, which mox/low/{}.cpp defines"

CASES = [
    ({"one.h": COUNT, "one.cpp": DEFINED}, []),
    ({"one_internal.h": COUNT, "one.h": "", "one.cpp": DEFINED}, []),
    ({"one.h": COUNT, "one_text.cpp": DEFINED, "one.cpp": ""}, []),
    ({"one.h": COUNT, "two.cpp": DEFINED, "three.cpp": ""}, []),
    ({"one.h": COUNT, "one.cpp": DEFINED, "two.h": "", "two.cpp": DEFINED.replace("set,", "other,")}, []),
    ({"one.h": COUNT, "one.cpp": "", "two.cpp": "namespace {\n" + DEFINED + "}  // namespace\n"}, []),
    ({"one.h": COUNT, "one.cpp": "", "two.cpp": DEFINED}, [APART.format("two")]),
    ({"one.h": COUNT, "two.h": "", "two.cpp": DEFINED}, [APART.format("two")]),
    ({"one.h": COUNT, "one.cpp": "", "one_text.h": "", "one_text.cpp": DEFINED}, [APART.format("one_text")]),
]


def faults_of(files):
    with tempfile.TemporaryDirectory() as root:
        folder = Path(root) / "mox/low"
        folder.mkdir(parents=True)
        for name, text in files.items():
            (folder / name).write_text(text)
        return headers.check(Path(root))


def main(root):
    failures = [(faults_of(files), wanted) for files, wanted in CASES]
    failures = [(found, wanted) for found, wanted in failures if found != wanted]
    for found, wanted in failures:
        print(f"found {found}\ninstead of {wanted}")
    of_this_tree = headers.check(Path(root))
    print("\n".join(of_this_tree))
    return 1 if failures or of_this_tree else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
