#!/usr/bin/env python3
"""Holds every include against the layers: layers.py [ROOT]. Prints a line for each that is not allowed.

A folder of mox/ may include itself and what the DEPENDS of its CMakeLists.txt names, nothing else; the folders around
mox/ themselves and the targets that they link, with what those use in turn. mox/ needs the standard library only. A
library that is not ours is known in its home alone.
"""

import re

from house import tell

# Folders that hold no layer.
OUTSIDE = {"tests", "bench", "fuzz", "examples", "docs", "build", "cmake"}
# Where the operating system may be asked from within mox/.
SYSTEM_HOMES = ("mox/host/posix/", "mox/host/windows/", "mox/foundation/files.cpp", "mox/foundation/file_lock.cpp")
# Libraries that are not ours, by the beginning of their headers' names.
HOMES = {
    "soci/": ("appserver/",),
    "libpq": ("appserver/",),
    "sqlite3.h": ("appserver/",),
    "boost/": ("moxd/http_server.cpp", "moxd/network_threads.h", "moxd/request_head.cpp", "moxd/request_head.h"),
    "curl/": ("sender/", "connect/http_client.cpp", "paper/mail.cpp"),
    "cairo": ("paper/",),
    "pango/": ("paper/",),
    "zint.h": ("symbols/",),
    "stb": ("sender/", "paper/"),
    "jpeglib.h": ("paper/jpeg.cpp",),
    "png.h": ("paper/png.cpp",),
    "nlohmann/": ("appserver/", "sender/", "connect/", "moxd/"),
    "CLI/": ("cli/options.cpp", "cli/run.cpp"),
    "openssl/": ("cli/file_digest.cpp", "moxd/http_server.cpp", "moxd/demo.cpp"),
    "systemd/": ("moxd/service_manager.cpp",),
    "zstd.h": ("connect/zstd_text.cpp",),
    "sodium.h": ("moxd/passwords.cpp",),
    "zip.h": ("sheets/",),
    "pugixml.hpp": ("sheets/",),
    "xlsxwriter.h": ("sheets/",),
    "Q": ("desktop/",),
}

INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*(?:"([^"\n]+)"|<([^>\n]+)>)', re.M)
LIBRARY = re.compile(r"\bmox_library\(\s*(\w+)(?:\s+DEPENDS\s+([\w\s]*))?\)")
TARGET = re.compile(r"\bmox(?:::|_)(\w+)")


def read_layers(root):
    """For each folder the folders that its build file names; a message for each folder of mox/ that has none."""
    named, faults = {}, []
    for folder in sorted(path for path in (root / "mox").iterdir() if path.is_dir()):
        build_file = folder / "CMakeLists.txt"
        library = LIBRARY.search(build_file.read_text()) if build_file.exists() else None
        if library is None:
            faults.append(f"mox/{folder.name}: no CMakeLists.txt with its mox_library(...)")
            continue
        named[f"mox/{folder.name}"] = {f"mox/{name}" for name in (library[2] or "").split()}
    library_folders = set(named)
    around = [path.parent for path in root.glob("*/CMakeLists.txt") if path.parent.name not in OUTSIDE | {"mox"}]
    for folder in sorted(around):
        words = set(TARGET.findall((folder / "CMakeLists.txt").read_text()))
        names = {f"mox/{word}" for word in words if f"mox/{word}" in library_folders}
        names |= {other.name for other in around if other.name in words}
        named[folder.name] = names | (library_folders if "mox" in words else set())
    return named, faults


def allowed_in(folder, named):
    """What a folder may include: in mox/ what it names, around it also what those use."""
    if folder.startswith("mox/"):
        return {folder} | named[folder]
    reached, waiting = set(), [folder]
    while waiting:
        if (name := waiting.pop()) not in reached:
            reached.add(name)
            waiting += named.get(name, ())
    return reached


def owner_of(path, named):
    parts = path.split("/")
    for count in (2, 1):
        if (name := "/".join(parts[:count])) in named:
            return name
    return None


def check_quoted(root, source, header, folder, named):
    beside = (source.parent / header).resolve()
    target = header if not beside.exists() else beside.relative_to(root.resolve()).as_posix()
    owner = owner_of(target, named)
    if owner is None:
        return f'"{header}" is in no layer'
    if owner not in allowed_in(folder, named):
        return f"{folder} may not include {owner}"
    return None


def check_angled(name, header, folder):
    homes = next((homes for start, homes in HOMES.items() if header.startswith(start)), None)
    if folder.startswith("mox/"):
        foreign = "." in header or "/" in header or homes is not None
        if foreign and (homes is not None or not name.startswith(SYSTEM_HOMES)):
            return f"mox/ needs the standard library only, not <{header}>"
    elif homes is not None and not name.startswith(homes):
        return f"<{header}> is known in {' and '.join(homes)} alone"
    return None


def check(root):
    named, faults = read_layers(root)
    for folder, names in named.items():
        faults += [f"{folder}/CMakeLists.txt: there is no {name}" for name in sorted(names - named.keys())]
        for source in sorted((root / folder).rglob("*")):
            if source.suffix not in (".cpp", ".h"):
                continue
            name = source.relative_to(root).as_posix()
            text = source.read_text()
            for match in INCLUDE.finditer(text):
                quoted, angled = match.groups()
                fault = check_quoted(root, source, quoted, folder, named) if quoted else check_angled(name, angled, folder)
                if fault is not None:
                    line = text.count("\n", 0, match.start()) + 1
                    faults.append(f"{name}:{line}: {fault}")
    return faults


if __name__ == "__main__":
    tell(check)
