#!/usr/bin/env python3
"""The layer rule: a sound tree passes, each row spoils one file of it, and this tree keeps the rule."""

import sys
import tempfile
from pathlib import Path

import layers

SOUND = {
    "mox/CMakeLists.txt": "add_subdirectory(low)\n",
    "mox/low/CMakeLists.txt": "mox_library(low)\n",
    "mox/low/low.h": "#include <string>\n",
    "mox/low/low.cpp": '#include "mox/low/low.h"\n#include "low.h"\n',
    "mox/middle/CMakeLists.txt": "mox_library(middle DEPENDS low)\n",
    "mox/middle/middle.h": '#include "mox/low/low.h"\n',
    "mox/high/CMakeLists.txt": "mox_library(\n  high\n  DEPENDS middle\n)\n",
    "mox/high/high.cpp": '#include "mox/middle/middle.h"\n',
    "mox/host/CMakeLists.txt": "mox_library(host)\n",
    "mox/host/posix/platform.cpp": "#include <unistd.h>\n",
    "program/CMakeLists.txt": "target_link_libraries(mox_program PRIVATE mox::high)\n",
    "program/main.cpp": '#include <sys/stat.h>\n#include "mox/high/high.h"\n#include "mox/low/low.h"\n',
    "tests/CMakeLists.txt": "",
    "tests/any.cpp": '#include "program/main.h"\n',
}

SPOILED = [
    ("mox/low/low.h", '\n#include "mox/high/high.h"\n', "mox/low/low.h:2: mox/low may not include mox/high"),
    ("mox/low/low.h", '  # include "../middle/middle.h"\n', "mox/low/low.h:1: mox/low may not include mox/middle"),
    # What is used through another layer is named too.
    ("mox/high/high.cpp", '#include "mox/low/low.h"\n', "mox/high/high.cpp:1: mox/high may not include mox/low"),
    ("mox/middle/middle.h", '#include "program/main.h"\n', "mox/middle/middle.h:1: mox/middle may not include program"),
    ("mox/low/low.h", "#include <unistd.h>\n",
     "mox/low/low.h:1: mox/ needs the standard library only, not <unistd.h>"),
    ("mox/host/posix/platform.cpp", "#include <soci/soci.h>\n",
     "mox/host/posix/platform.cpp:1: mox/ needs the standard library only, not <soci/soci.h>"),
    ("program/main.cpp", "#include <soci/soci.h>\n", "program/main.cpp:1: <soci/soci.h> is known in appserver/ alone"),
    ("program/main.cpp", "#include <libpq-fe.h>\n", "program/main.cpp:1: <libpq-fe.h> is known in appserver/ alone"),
    ("program/main.cpp", "#include <sqlite3.h>\n", "program/main.cpp:1: <sqlite3.h> is known in appserver/ alone"),
    ("mox/low/low.h", "#include <QString>\n", "mox/low/low.h:1: mox/ needs the standard library only, not <QString>"),
    ("program/main.cpp", "#include <zip.h>\n", "program/main.cpp:1: <zip.h> is known in sheets/ alone"),
    ("program/main.cpp", '#include "mox/host/a.h"\n', "program/main.cpp:1: program may not include mox/host"),
    ("program/main.cpp", '#include "tests/any.h"\n', 'program/main.cpp:1: "tests/any.h" is in no layer'),
    ("mox/high/CMakeLists.txt", "mox_library(high DEPENDS middle attic)\n",
     "mox/high/CMakeLists.txt: there is no mox/attic"),
    ("mox/new/new.h", "", "mox/new: no CMakeLists.txt with its mox_library(...)"),
]


def faults_of(files):
    with tempfile.TemporaryDirectory() as folder:
        for name, text in files.items():
            path = Path(folder) / name
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(text)
        return layers.check(Path(folder))


def main(root):
    cases = [(SOUND, [])] + [(SOUND | {name: text}, [fault]) for name, text, fault in SPOILED]
    failures = [(faults_of(files), wanted) for files, wanted in cases]
    failures = [(found, wanted) for found, wanted in failures if found != wanted]
    for found, wanted in failures:
        print(f"found {found}\ninstead of {wanted}")
    of_this_tree = layers.check(Path(root))
    print("\n".join(of_this_tree))
    return 1 if failures or of_this_tree else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
