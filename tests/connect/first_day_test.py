#!/usr/bin/env python3
"""Replays the page of the first day against a server over the company's file, word for word:

first_day_test.py MOX PAGE INTERMEDIARY MOXD DIRECTORY_TOOL [--postgresql]

Where the page names the file, the company on the server stands in its place; what is done with the file itself is done
where it is. With --postgresql the company is in the server of databases whose folder stands in the file that
MOX_TEST_POSTGRESQL names.
"""
import os
import pathlib
import subprocess
import sys

HERE = pathlib.Path(__file__).resolve().parent
sys.path += [str(HERE.parent / "cli"), str(HERE.parent / "moxd")]
from first_day import PlayedPage, check_page  # noqa: E402
from running_server import PASSWORD, Server  # noqa: E402

FILE = "trgovina.db"


class OnServer(PlayedPage):
    def __init__(self, moxd, tool, address=None):
        self.moxd, self.tool, self.server, self.address = moxd, tool, None, address

    def words(self, step, program, folder):
        if self.address is None:
            self.address = str(folder / FILE)
        if step[1] == "db":
            return [self.address if word == FILE else word for word in step]
        if FILE not in step:
            return step
        if self.server is None:
            self.start(program)
        at = step.index(FILE)
        return [*step[: at - 1], "--server", self.server.address("trgovina"), *step[at + 1 :]]

    def start(self, program):
        state = pathlib.Path(os.environ["XDG_STATE_HOME"], "server")
        state.mkdir()
        self.server = Server(self.moxd, self.tool, state, {"trgovina": self.address})
        subprocess.run([program, "login", self.server.address(), "--user", "ana", "--ca", state / "certificate.pem"],
                       input=PASSWORD + "\n", text=True, check=True, capture_output=True)

    def end(self):
        if self.server is not None and self.server.end() != 0:
            raise SystemExit("the server did not end well")


if __name__ == "__main__":
    mox, page, intermediary, moxd, tool = (os.path.abspath(path) for path in sys.argv[1:6])
    database = None
    if "--postgresql" in sys.argv:
        folder = pathlib.Path(os.environ["MOX_TEST_POSTGRESQL"]).read_text().strip()
        database = f"postgresql://postgres@/postgres?host={folder}&company=prvi_dan_{os.getpid()}"
    on_server = OnServer(moxd, tool, database)
    try:
        check_page(mox, page, intermediary, on_server)
    finally:
        on_server.end()
