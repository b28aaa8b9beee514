#!/usr/bin/env python3
"""Replays the page of the first day against a server over the company's file, word for word:

first_day_test.py MOX PAGE INTERMEDIARY MOXD DIRECTORY_TOOL

Where the page names the file, the company on the server stands in its place; what is done with the file itself is done
where it is.
"""
import os
import pathlib
import subprocess
import sys

HERE = pathlib.Path(__file__).resolve().parent
sys.path += [str(HERE.parent / "cli"), str(HERE.parent / "moxd")]
from first_day import PlayedPage, check_page  # noqa: E402
from running_server import PASSWORD, Server  # noqa: E402

FILE = ["--db", "trgovina.db"]


class OnServer(PlayedPage):
    def __init__(self, moxd, tool):
        self.moxd, self.tool, self.server = moxd, tool, None

    def words(self, step, program, folder):
        at = next((i for i in range(len(step)) if step[i : i + 2] == FILE), None)
        if at is None or step[1] == "db":
            return step
        if self.server is None:
            self.start(program, folder)
        return [*step[:at], "--server", self.server.address("trgovina"), *step[at + 2 :]]

    def start(self, program, folder):
        state = pathlib.Path(os.environ["XDG_STATE_HOME"], "server")
        state.mkdir()
        self.server = Server(self.moxd, self.tool, state, {"trgovina": folder / "trgovina.db"})
        subprocess.run([program, "login", self.server.address(), "--user", "ana", "--ca", state / "certificate.pem"],
                       input=PASSWORD + "\n", text=True, check=True, capture_output=True)

    def end(self):
        if self.server is not None and self.server.end() != 0:
            raise SystemExit("the server did not end well")


if __name__ == "__main__":
    mox, page, intermediary, moxd, tool = (os.path.abspath(path) for path in sys.argv[1:6])
    on_server = OnServer(moxd, tool)
    try:
        check_page(mox, page, intermediary, on_server)
    finally:
        on_server.end()
