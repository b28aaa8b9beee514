#!/usr/bin/env python3
"""The rule of the headers: each row is a folder with what is said of it, and this tree keeps the rule."""

import headers
from house import expect, faults_of

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


if __name__ == "__main__":
    in_folders = [({f"mox/low/{name}": text for name, text in files.items()}, wanted) for files, wanted in CASES]
    expect([(files, faults_of(headers.check, files), wanted) for files, wanted in in_folders], headers.check)
