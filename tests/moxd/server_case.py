"""What the tests of the server begin with: SCRIPT MOX MOXD DIRECTORY_TOOL"""
import functools
import os
import pathlib
import shutil
import sqlite3
import subprocess
import sys
import tempfile
import threading
import time
import unittest

from running_server import Server

MOX, MOXD, TOOL = (os.path.abspath(path) for path in sys.argv[1:4])
# The sanitizers take memory of their own.
IS_PLAIN = b"__asan_init" not in pathlib.Path(MOXD).read_bytes()
READ = "/v1/firma/service/GetSkladista"
WRITE = "/v1/firma/write"


@functools.cache
def made_company():
    """A company's file that is copied for each test."""
    folder = tempfile.TemporaryDirectory()
    unittest.addModuleCleanup(folder.cleanup)
    path = pathlib.Path(folder.name, "company.db")
    subprocess.run([MOX, "db", "init", path, "--demo"], check=True)
    return path


class ServerTest(unittest.TestCase):
    settings = ""

    def setUp(self):
        self.folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))
        self.company = self.folder / "firma.db"
        for name in ("firma", "tuda"):
            shutil.copy(made_company(), self.folder / f"{name}.db")
        self.server = self.enterContext(Server(MOXD, TOOL, self.folder, {"firma": self.company}, self.settings))
        self.token = self.server.log_in()

    if not hasattr(unittest.TestCase, "enterContext"):

        def enterContext(self, manager):
            entered = manager.__enter__()
            self.addCleanup(manager.__exit__, None, None, None)
            return entered

    def lock(self):
        """Keeps the company's file locked until it is called again."""
        database = sqlite3.connect(self.company, isolation_level=None, check_same_thread=False)
        database.execute("BEGIN IMMEDIATE")
        self.addCleanup(database.close)
        return lambda: database.execute("ROLLBACK")

    def later(self, *arguments, **named):
        """The answer to a request that goes its way meanwhile."""
        answers = []
        thread = threading.Thread(target=lambda: answers.append(self.server.ask(*arguments, **named)))
        thread.start()

        def wait():
            thread.join(60)
            return answers[0]

        return wait

    def until(self, metric, value):
        for _ in range(500):
            if f"\n{metric} {value}\n" in self.server.operation("/metrics")[2].decode():
                return
            time.sleep(0.02)
        self.fail(f"{metric} does not become {value}")
