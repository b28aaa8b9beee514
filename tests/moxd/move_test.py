#!/usr/bin/env python3
"""Two servers over two servers of databases, between which a company is moved while it is written:
move_test.py MOX MOXD DIRECTORY_TOOL

MOX_TEST_POSTGRESQL and MOX_TEST_POSTGRESQL_2 name files with the folders of the two. MOVE_ROWS=N gives the company N further
rows, MOVE_CLIENTS=N clients instead of 16 write, each after so many seconds as MOVE_PAUSE says.
"""
import os
import pathlib
import re
import signal
import subprocess
import sys
import tempfile
import threading
import time
import unittest
import uuid

from running_server import NOTHING, Server, code_of, form

MOX, MOXD, TOOL = (os.path.abspath(path) for path in sys.argv[1:4])
PLACES = [pathlib.Path(os.environ[name]).read_text().strip() for name in ("MOX_TEST_POSTGRESQL", "MOX_TEST_POSTGRESQL_2")]
CLIENTS = int(os.environ.get("MOVE_CLIENTS", "16"))
PAUSE = float(os.environ.get("MOVE_PAUSE", "0.1"))
ROWS = int(os.environ.get("MOVE_ROWS", "0"))


def sql(place, text):
    return subprocess.run(["psql", "-h", place, "-U", "postgres", "-X", "-q", "-At", "-v", "ON_ERROR_STOP=1", "-c", text, "postgres"],
                          check=True, capture_output=True, text=True).stdout.split()


class MoveTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.company = f"firma_{os.getpid()}"
        self.places = [f"postgresql://postgres@/postgres?host={place}&company={self.company}" for place in PLACES]
        directory = self.places[0].replace("firma", "imenik")
        self.addCleanup(self.drop)
        subprocess.run([MOX, "db", "init", self.places[0], "--demo"], check=True)
        if ROWS:
            sql(PLACES[0], f"SET search_path TO mox_{self.company}; INSERT INTO dnevnik_upisa (vrijeme, korisnik, transakcija, upisano) "
                f"SELECT now(), 'a', 'b', true FROM generate_series(1, {ROWS})")
        self.servers = []
        for name in ("one", "two"):
            (self.folder / name).mkdir()
            self.servers.append(Server(MOXD, TOOL, self.folder / name, {} if self.servers else {"firma": self.places[0]},
                                       "workers = 8\n[limits]\nqueue = 200\n", directory))
            self.addCleanup(self.servers[-1].__exit__)
        self.token = self.servers[0].log_in()
        self.invoice = subprocess.run([TOOL, "--invoice"], check=True, capture_output=True).stdout

    def drop(self):
        for place in PLACES:
            for name in sql(place, f"SELECT nspname FROM pg_namespace WHERE nspname LIKE '%\\_{os.getpid()}'"):
                sql(place, f"DROP SCHEMA {name} CASCADE")

    def administer(self, *words):
        return subprocess.run([MOXD, "--config", self.folder / "one" / "moxd.ini", *words], capture_output=True, text=True, check=False)

    def write(self, server, key):
        return server.ask("/v1/firma/write", self.invoice, self.token, Idempotency_Key=key)

    def numbers(self, place):
        return sorted(int(number) for number in sql(place, f"SELECT broj FROM mox_{self.company}.dok"))

    def test_two_servers_have_the_same_users_and_know_each_others_requests(self):
        one, two = self.servers
        first = self.write(one, "kljuc")
        self.assertEqual(first[0], 200)
        self.assertEqual(self.write(two, "kljuc")[2], first[2])
        self.assertEqual(self.numbers(PLACES[0]), [1])
        self.assertEqual(self.administer("token", "revoke", "ana").returncode, 0)
        for server in self.servers:
            self.assertEqual(code_of(self.write(server, "drugi")), (401, "not_logged_in"))
        self.administer("user", "disable", "ana")
        self.assertEqual(code_of(self.write(two, "drugi")), (401, "not_logged_in"))
        self.administer("user", "enable", "ana")
        self.token = two.log_in()
        self.assertEqual(self.write(one, "treci")[0], 200)
        # The directory is read again by a signal; what cannot be read changes nothing.
        for fault, said in (("", "read again: 1 companies"), ("x", "what was open stays so: 1 addresses are none")):
            if fault:
                sql(PLACES[0], f"INSERT INTO mox_imenik_{os.getpid()}.imenik_poduzeca (naziv, adresa) VALUES ('kriva', 'postgresql://x/y')")
            one.process.send_signal(signal.SIGHUP)
            for _ in range(500):
                if any(said in line for line in one.log):
                    break
                time.sleep(0.02)
            else:
                self.fail("".join(one.log))
            self.assertEqual(one.ask("/v1/firma/service/GetSkladista", NOTHING, self.token)[0], 200)

        # Where a company has never been it is not waited for.
        self.administer("company", "add", "nema", self.places[0] + "_nema")
        self.administer("grant", "ana", "nema", "citanje")
        self.assertEqual(code_of(one.ask("/v1/nema/service/GetSkladista", NOTHING, self.token)), (503, "database_unavailable"))
        self.assertIn("there is no such company", self.administer("check").stderr)

        # Failed attempts count wherever they were made: the sixth of five that cost nothing has to wait.
        wrong = form(("user", "ana"), ("password", "kriva lozinka"))
        answers = [code_of(self.servers[attempt % 2].ask("/v1/login", wrong)) for attempt in range(7)]
        self.assertEqual(answers, [(401, "login_refused")] * 6 + [(429, "too_many_attempts")])

    def test_companies_share_few_connections(self):
        user = f"malo_{os.getpid()}"
        sql(PLACES[0], f"CREATE ROLE {user} LOGIN CONNECTION LIMIT 2; GRANT CREATE ON DATABASE postgres TO {user}")
        self.addCleanup(sql, PLACES[0], f"DROP OWNED BY {user} CASCADE; DROP ROLE {user}")
        self.addCleanup(self.servers[0].end)
        names = [f"c{number}_{os.getpid()}" for number in range(3)]
        for name in names:
            address = f"postgresql://{user}@/postgres?host={PLACES[0]}&company={name}"
            subprocess.run([MOX, "db", "init", address], check=True)
            self.administer("company", "add", name, address)
            self.administer("grant", "ana", name, "citanje")
        for name in names * 3:
            answer = self.servers[0].ask(f"/v1/{name}/service/GetSkladista", NOTHING, self.token)
            self.assertEqual(code_of(answer), (200, ""), "".join(self.servers[0].log))

    def test_a_company_is_moved_while_it_is_written(self):
        stored, waits, reads, problems = [], [], [], []
        end = threading.Event()

        def ask(server, connection, path, body, **headers):
            """The answer, and what it took until there was one."""
            begin = time.monotonic()
            while True:
                status, told, answer = server.ask(path, body, self.token, connection=connection, **headers)
                if status == 200:
                    return answer, time.monotonic() - begin
                if status != 503 or time.monotonic() - begin > 30:
                    problems.append((status, answer))
                    return b"", 0.0
                time.sleep(0.05)

        def client(number):
            server = self.servers[number % 2]
            with server.connect(60) as connection:
                while not end.is_set() and not problems:
                    answer, took = ask(server, connection, "/v1/firma/write", self.invoice, Idempotency_Key=uuid.uuid4().hex)
                    waits.append((time.monotonic() - took, took))
                    if found := re.search(rb"\n\d+ 23:gotovinski-racun-usluga 2024 (\d+) ", answer):
                        stored.append(int(found[1]))
                    elif not problems:
                        problems.append(answer)
                    time.sleep(PAUSE)

        def reader(number):
            server = self.servers[number % 2]
            with server.connect(60) as connection:
                while not end.is_set() and not problems:
                    reads.append(ask(server, connection, "/v1/firma/service/GetSkladista", NOTHING)[1])
                    time.sleep(0.01)

        threads = [threading.Thread(target=client, args=(number,)) for number in range(CLIENTS)]
        threads += [threading.Thread(target=reader, args=(number,)) for number in range(2)]
        for thread in threads:
            thread.start()
        time.sleep(0.5)
        begin = time.monotonic()
        moved = self.administer("company", "move", "firma", self.places[1])
        took = time.monotonic() - begin
        before = len(stored)
        time.sleep(0.5)
        end.set()
        for thread in threads:
            thread.join(60)
        self.assertEqual((moved.returncode, moved.stderr), (0, ""), moved.stdout)
        self.assertEqual(problems, [])
        # What was answered as stored is there once, nothing else is, and no number is left out.
        self.assertEqual(sorted(stored), list(range(1, len(stored) + 1)))
        self.assertEqual(self.numbers(PLACES[1]), sorted(stored))
        self.assertGreater(len(stored), before)
        self.assertEqual(sql(PLACES[0], f"SELECT count(*) FROM pg_namespace WHERE nspname LIKE '%mox_{self.company}'"), ["0"])
        self.assertIn(f"company={self.company}", self.administer("company", "list").stdout)

        def longest(since, until):
            return max((took for at, took in waits if since <= at < until), default=0.0)

        self.assertIn("the old side was dropped", moved.stdout)
        print(moved.stdout + f"{len(stored)} writes, longest {longest(begin, begin + took):.2f} s while it moved and "
              f"{max(longest(0, begin), longest(begin + took, begin + 1e9)):.2f} s otherwise; {len(reads)} reads, longest {max(reads):.2f} s; the move {took:.1f} s")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
