#!/usr/bin/env python3
"""The layer rule: a sound tree passes, each row spoils one file of it, and this tree keeps the rule."""

import layers
from house import expect, faults_of

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


if __name__ == "__main__":
    trees = [(SOUND, [])] + [(SOUND | {name: text}, [fault]) for name, text, fault in SPOILED]
    expect([(wanted, faults_of(layers.check, tree), wanted) for tree, wanted in trees], layers.check)
