#!/usr/bin/env python3
"""Clients store documents while some of them, the server and its database are killed again and again. Every document that was
answered as stored is there once, under the number that was answered; nothing else is; numbers have no gaps:

kill_test.py MOX MOXD DIRECTORY_TOOL WRITER [POSTGRESQL_SCRIPT]

MOX_KILL_SECONDS says for how long, MOX_KILL_CLIENTS how many store at once.
"""
import collections
import os
import pathlib
import random
import signal
import subprocess
import sys
import tempfile
import threading
import time

from running_server import Server

MOX, MOXD, TOOL, WRITER, *SCRIPT = (os.path.abspath(path) for path in sys.argv[1:])
SECONDS = int(os.environ.get("MOX_KILL_SECONDS", 3))
CLIENTS = int(os.environ.get("MOX_KILL_CLIENTS", 8))
DATABASE_LIVES = min(5, SECONDS / 3)


class Clients:
    def __init__(self, server, folder, token):
        self.server, self.folder, self.token = server, folder, token
        self.count, self.killed, self.running = 0, 0, []
        while len(self.running) < CLIENTS:
            self.start()

    def start(self):
        with open(self.folder / f"client-{self.count}.log", "w") as told:
            self.running.append(subprocess.Popen(
                [WRITER, "write", self.server.address("firma"), self.folder / "certificate.pem", self.token, f"k{self.count}"],
                stdout=told))
        self.count += 1

    def replace_some(self):
        for client in random.sample(self.running, max(1, CLIENTS * 5 // 100)):
            client.kill()
            client.wait()
            self.running.remove(client)
            self.killed += 1
            self.start()

    def end(self):
        for client in self.running:
            client.terminate()
        return [client.wait(120) for client in self.running]

    def told(self):
        """By document the last that its client has said of it."""
        last = {}
        for log in self.folder.glob("client-*.log"):
            for line in log.read_text().splitlines():
                what, document, *detail = line.split("\t")
                last[document] = (what, *detail)
        return last


class Database:
    """Where the company is: a file, or a PostgreSQL server of the test's own, which keeps what it has promised."""

    def __init__(self, folder):
        self.address, self.file, self.restarts = str(folder / "firma.db"), folder / "postgresql", 0
        if SCRIPT:
            self.control("start", "-c fsync=on", "-c full_page_writes=on", "-c autovacuum=on")
            self.address = f"postgresql://postgres@/postgres?host={self.file.read_text().strip()}&company=firma"

    def control(self, *words):
        if SCRIPT:
            subprocess.run(["bash", *SCRIPT, words[0], self.file, *words[1:]], check=True)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.control("stop")

    def restart_until(self, ended):
        while SCRIPT and not ended.wait(DATABASE_LIVES):
            self.control("crash")
            self.restarts += 1


def disturb(server, database, clients):
    ended = threading.Event()
    restarting = threading.Thread(target=database.restart_until, args=(ended,))
    restarting.start()
    kills, end = 0, time.monotonic() + SECONDS
    try:
        while time.monotonic() < end:
            time.sleep(1)  # so long it serves
            clients.replace_some()
            server.end(signal.SIGKILL)
            kills += 1
            server.start()
    finally:
        ended.set()
        restarting.join()
    return kills


def faults(told, listed):
    there, numbers = {}, collections.defaultdict(set)
    for document, kind, year, number, journalled in listed:
        if document in there:
            yield f"{document} is there twice"
        if journalled != "1":
            yield f"{document} is journalled {journalled} times"
        if told.get(document, ["never sent"])[0] not in ("begun", "stored", "unknown"):
            yield f"{document} is there: {told.get(document)}"
        there[document] = (kind, year, number)
        numbers[kind, year].add(int(number))
    for document, (what, *detail) in told.items():
        if what == "stored" and there.get(document) != tuple(detail):
            yield f"{document} was stored as {detail}, and is {there.get(document)}"
        if what == "error" or what == "refused" and not document.endswith("9"):
            yield f"{document}: {what} {detail}"
    for name, given in numbers.items():
        if given != set(range(1, len(given) + 1)):
            yield f"{name} has gaps: {sorted(set(range(1, max(given))) - given)}"


def main():
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        with Database(folder) as database:
            subprocess.run([MOX, "db", "init", database.address, "--demo"], check=True)
            with Server(MOXD, TOOL, folder, {"firma": database.address}) as server:
                clients = Clients(server, folder, server.log_in())
                kills = disturb(server, database, clients)
                ends, end = clients.end(), server.end()
            told = clients.told()
            listed = [line.split("\t") for line in subprocess.run([WRITER, "list", database.address], check=True, text=True,
                                                                   capture_output=True).stdout.splitlines()]
            subprocess.run([MOX, "db", "check", "--db", database.address], check=True, stdout=subprocess.DEVNULL)
        found = list(faults(told, listed))
        print(f"{kills} times the server, {database.restarts} times the database, {clients.killed} clients killed; {len(listed)} "
              f"documents, answered: {dict(collections.Counter(what for what, *_ in told.values()))}")
        if any(ends) or end != 0 or not listed:
            found.append(f"the clients ended with {set(ends)}, the server with {end}")
        if found:
            events = [line for line in server.log if '"request"' not in line]
            raise SystemExit("\n".join(found[:40]) + "\n" + "".join(events[-20:]))


main()
