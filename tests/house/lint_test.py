#!/usr/bin/env python3
"""Which sources `./dev lint` looks at: each row is what it is told in a clone of so many commits, and what comes of it."""

import os
import subprocess
import sys
import tempfile
from pathlib import Path

# In the place of programs that would take long or install packages.
PROGRAMS = {
    "cmake": """#!/bin/sh
mkdir -p build/dev
git ls-files '*.cpp' | sed "s|.*|\\"$PWD/&\\"|" >build/dev/compile_commands.json
""",
    "clang-tidy": '#!/bin/sh\nfor source; do :; done\necho "$source" >>linted\n',
    "dpkg-query": "#!/bin/sh\necho installed\n",
}
ALL = ["dirty/c.cpp", "first/a.cpp", "second/b.cpp"]
LAST = ["dirty/c.cpp", "second/b.cpp"]
NO_COMMIT = "lint: this clone has no commit "

CASES = [  # commits in the clone, arguments -> sources, a line that is said
    (3, [], LAST, "== lint: 2 sources"),
    (3, ["HEAD~2"], ALL, "== lint: 3 sources"),
    (3, ["--all"], ALL, "== lint: 3 sources"),
    (3, ["HEAD~7"], LAST, NO_COMMIT + "HEAD~7"),
    (1, [], [], "lint: this clone has one commit alone"),
    (1, ["HEAD^"], [], NO_COMMIT + "HEAD^"),
    (1, ["--all"], ALL, "== lint: 3 sources"),
]


def make_repository(root, dev):
    git = ["git", "-c", "user.name=a", "-c", "user.email=a@primjer.hr", "-c", "commit.gpgsign=false"]
    root.mkdir()
    subprocess.run(git + ["init", "-q"], cwd=root, check=True)
    (root / "dev").write_text(dev)
    (root / ".gitignore").write_text("build/\nlinted\n")
    for files in (["README.md", "dirty/c.cpp"], ["first/a.cpp"], ["second/b.cpp"]):
        for file in files:
            (root / file).parent.mkdir(exist_ok=True)
            (root / file).write_text("\n")
        subprocess.run(git + ["add", "."], cwd=root, check=True)
        subprocess.run(git + ["commit", "-qm", "Add"], cwd=root, check=True)


def lint(root, commits, arguments, path):
    clone = root / "clone"
    subprocess.run(["rm", "-rf", clone], check=True)
    subprocess.run(["git", "clone", "-q", "--depth", str(commits), f"file://{root}/origin", clone], check=True)
    (clone / "dirty/c.cpp").write_text("// not committed\n")
    run = subprocess.run(["bash", "dev", "lint", *arguments], cwd=clone, capture_output=True, text=True, env=path)
    linted = clone / "linted"
    sources = sorted(linted.read_text().split()) if linted.exists() else []
    return (sources if run.returncode == 0 else None), run.stdout + run.stderr


def main(tree):
    failures = 0
    with tempfile.TemporaryDirectory() as folder:
        root = Path(folder)
        for name, text in PROGRAMS.items():
            (root / name).write_text(text)
            (root / name).chmod(0o755)
        make_repository(root / "origin", (Path(tree) / "dev").read_text())
        environment = os.environ | {"PATH": f"{folder}:{os.environ['PATH']}", "TMPDIR": folder}
        for commits, arguments, wanted, said in CASES:
            sources, output = lint(root, commits, arguments, environment)
            if sources != wanted or not any(line.startswith(said) for line in output.splitlines()):
                failures += 1
                print(f"{commits} commits, {arguments}: {sources} instead of {wanted}\n{output}")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
