#!/usr/bin/env python3
"""Clients store documents while some of them, the server and its database are killed again and again. Every document that was
answered as stored is there once, under the number that was answered; nothing else is; numbers have no gaps:

kill_test.py MOX MOXD DIRECTORY_TOOL WRITER [POSTGRESQL_SCRIPT [move]]

With `move` the company goes from one of two database servers to the other and back meanwhile. MOX_KILL_SECONDS says for how
long, MOX_KILL_CLIENTS how many store at once.
"""
import collections
import contextlib
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

MOX, MOXD, TOOL, WRITER, *SCRIPT = (os.path.abspath(path) for path in sys.argv[1:7])
SCRIPT, MOVES = SCRIPT[:1], len(SCRIPT) > 1
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

    def kill(self):
        for client in self.running:
            client.kill()

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

    def __init__(self, folder, name):
        self.address, self.file, self.restarts = str(folder / "firma.db"), folder / name, 0
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


class Mover:
    """Moves the company to the database that it is not in, again and again; the same command where it did not come to its end."""

    def __init__(self, folder, databases):
        self.config = folder / "move.ini"
        self.config.write_text((folder / "moxd.ini").read_text())  # that of the server is written anew with each start
        self.databases, self.moves, self.attempts = databases, 0, 0

    def at(self):
        return self.databases[self.moves % 2]

    def move(self):
        self.attempts += 1
        done = subprocess.run([MOXD, "--config", self.config, "company", "move", "firma", self.databases[(self.moves + 1) % 2].address],
                              capture_output=True, text=True, check=False)
        self.moves += done.returncode == 0
        return done

    def move_until(self, ended):
        while len(self.databases) > 1 and not ended.wait(0.2):
            self.move()

    def end(self):
        """Ends a move that is under way."""
        if len(self.databases) == 1:
            return
        listed = subprocess.run([MOXD, "--config", self.config, "company", "list"], capture_output=True, text=True, check=True)
        if "being moved" not in listed.stdout and self.moves:
            return
        for _ in range(20):
            done = self.move()
            if done.returncode == 0:
                return
            time.sleep(0.5)
        raise SystemExit("the move does not come to its end: " + done.stdout + done.stderr)


def disturb(server, databases, clients, mover):
    ended = threading.Event()
    others = [threading.Thread(target=database.restart_until, args=(ended,)) for database in databases]
    others.append(threading.Thread(target=mover.move_until, args=(ended,)))
    for other in others:
        other.start()
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
        for other in others:
            other.join()
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


def places(databases):
    """Where the company can be opened."""
    return [database for database in databases
            if subprocess.run([MOX, "db", "info", database.address], capture_output=True, check=False).returncode == 0]


def main():
    with tempfile.TemporaryDirectory() as name, contextlib.ExitStack() as stack:
        folder = pathlib.Path(name)
        databases = [stack.enter_context(Database(folder, f"postgresql{i}")) for i in range(2 if MOVES else 1)]
        subprocess.run([MOX, "db", "init", databases[0].address, "--demo"], check=True)
        with Server(MOXD, TOOL, folder, {"firma": databases[0].address}) as server:
            mover = Mover(folder, databases)
            clients = Clients(server, folder, server.log_in())
            stack.callback(clients.kill)
            kills = disturb(server, databases, clients, mover)
            mover.end()
            ends, end = clients.end(), server.end()
        told = clients.told()
        address = mover.at().address
        listed = [line.split("\t") for line in subprocess.run([WRITER, "list", address], check=True, text=True,
                                                              capture_output=True).stdout.splitlines()]
        subprocess.run([MOX, "db", "check", "--db", address], check=True, stdout=subprocess.DEVNULL)
        found = list(faults(told, listed))
        if places(databases) != [mover.at()]:
            found.append(f"the company is not on one side alone: {[database.address for database in places(databases)]}")
        print(f"{kills} times the server, {sum(database.restarts for database in databases)} times a database, {clients.killed} "
              f"clients killed; {mover.moves} moves in {mover.attempts} attempts; {len(listed)} documents, answered: "
              f"{dict(collections.Counter(what for what, *_ in told.values()))}")
        if any(ends) or end != 0 or not listed or MOVES and not mover.moves:
            found.append(f"the clients ended with {set(ends)}, the server with {end}, after {mover.moves} moves")
        if found:
            events = [line for line in server.log if '"request"' not in line]
            raise SystemExit("\n".join(found[:40]) + "\n" + "".join(events[-20:]))


main()
