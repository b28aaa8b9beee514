#!/usr/bin/env python3
"""Replays docs/FIRST-DAY.md word for word: first_day.py MOX PAGE INTERMEDIARY [--update], or first_day.py --json PAGE

A block that begins with ```csv NAME or ```text NAME is a file. In a ```console block each "$ mox ..." is run, and the
lines up to the next one are what it prints, errors too. Only the address of the intermediary stands for another one:
that of examples/intermediary.py, which runs on this computer. With --update the page gets what is printed. With --json the page
is printed for who leads through it elsewhere.
"""
import difflib
import itertools
import json
import os
import pathlib
import shlex
import subprocess
import sys
import tempfile
import time

ADDRESS = "https://posrednik.example/b2c"


class PlayedPage:
    """Says which words stand for those of a command: here they themselves."""

    def words(self, step, program, folder):
        return step


def run(command, program, folder, played):
    """What "mox ... < file | mox ..." prints; errors come where they are made."""
    steps, words = [[]], shlex.split(command)
    for word in words:
        if word == "|":
            steps.append([])
        else:
            steps[-1].append(word)
    given, printed = b"", b""
    for step in steps:
        if "<" in step:
            at = step.index("<")
            given = (folder / step[at + 1]).read_bytes()
            del step[at : at + 2]
        if step[0] != "mox":
            raise SystemExit(f"{step[0]} is not mox: {command}")
        is_last = step is steps[-1]
        done = subprocess.run([program, *played.words(step, program, folder)[1:]], input=given, cwd=folder, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT if is_last else subprocess.PIPE)
        printed += done.stdout if is_last else done.stderr
        given = done.stdout
    return printed.decode().splitlines()


def parts(page):
    """The page's parts in their order: what it is, its lines, and the name of a file or what a command prints."""
    lines = iter(page.splitlines())
    for line in lines:
        yield "text", [line], None
        fence, _, name = line.partition(" ")
        if fence in ("```csv", "```text") and name:
            yield "file", list(itertools.takewhile(lambda line: line != "```", lines)), name
            yield "text", ["```"], None
        elif line == "```console":
            typed, printed = [], []
            for line in lines:
                if typed and (line == "```" or line.startswith("$ ")):
                    yield "command", typed, printed
                if line == "```":
                    yield "text", [line], None
                    break
                if line.startswith("$ "):
                    typed, printed = [line], []
                    while typed[-1].endswith("\\"):
                        typed.append(next(lines))
                else:
                    printed.append(line)


def command_of(typed):
    return typed[0][2:].rstrip("\\") + "".join(line.strip().rstrip("\\") for line in typed[1:])


def as_json(page):
    """The page for a driver of another program: its files by name, and its commands as words with what they print."""
    files, commands = {}, []
    for what, lines, more in parts(page):
        if what == "file":
            files[more] = "".join(line + "\n" for line in lines)
        elif what == "command":
            commands.append({"words": shlex.split(command_of(lines))[1:], "printed": more})
    return json.dumps({"files": files, "commands": commands})


def replay(page, program, folder, address, played):
    shown = []
    for what, lines, more in parts(page):
        shown += lines
        if what == "file":
            (folder / more).write_text("".join(line + "\n" for line in lines).replace(ADDRESS, address))
        elif what == "command":
            shown += run(command_of(lines).replace(ADDRESS, address), program, folder, played)
    return "\n".join(shown) + "\n"


def check_page(program, page, intermediary, played, update=False):
    os.environ.update(USER="ana", LC_ALL="C.UTF-8")
    with tempfile.TemporaryDirectory() as folder, tempfile.TemporaryDirectory() as state:
        os.environ["XDG_STATE_HOME"] = state
        server = subprocess.Popen([sys.executable, intermediary, state])
        try:
            port = pathlib.Path(state, "port")
            for _ in range(200):
                if port.exists() and port.read_text():
                    break
                time.sleep(0.05)
            address = f"http://127.0.0.1:{port.read_text().strip()}/accept"
            text = pathlib.Path(page).read_text()
            shown = replay(text, program, pathlib.Path(folder), address, played)
        finally:
            server.kill()
            server.wait()
    if update:
        pathlib.Path(page).write_text(shown)
    elif shown != text:
        sys.stdout.writelines(difflib.unified_diff(text.splitlines(True), shown.splitlines(True), "page", "replayed"))
        raise SystemExit(1)


if __name__ == "__main__":
    if sys.argv[1] == "--json":
        print(as_json(pathlib.Path(sys.argv[2]).read_text()))
        raise SystemExit(0)
    check_page(*(os.path.abspath(path) for path in sys.argv[1:4]), PlayedPage(), "--update" in sys.argv)
