#!/usr/bin/env python3
"""What the server does with clients that mean no good, and when it is ended: server_test.py MOX MOXD DIRECTORY_TOOL"""
import contextlib
import functools
import json
import os
import pathlib
import pwd
import re
import shutil
import signal
import socket
import sqlite3
import ssl
import subprocess
import sys
import tempfile
import termios
import threading
import time
import unittest

from running_server import (NOTHING, PASSWORD, Server, code_of, form, head, link, links_stored, make_certificate, read_answer,
                            packed, read_request, values_of)

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


class Hostile(ServerTest):
    settings = "[limits]\nbody = 1 MB\nunpacked = 4 MB\nin_flight = 64 MB\n[seconds]\nheader = 5\nbody = 5\n"

    def test_refuses_what_it_cannot_serve(self):
        # What is sent before the empty line, the body, and what is answered.
        answered = []
        token = f"Authorization: Bearer {self.token}"
        good = [token, f"Content-Length: {len(NOTHING)}"]
        for name, request, headers, body, expected in (
            ("a read", f"POST {READ} HTTP/1.1", good, NOTHING, (200, "")),
            ("two lengths", f"POST {READ} HTTP/1.1", [*good, "Content-Length: 3"], NOTHING, (400, "bad_request")),
            ("twice the same", f"POST {READ} HTTP/1.1", [*good, good[1]], NOTHING, (400, "bad_request")),
            ("length and chunks", f"POST {READ} HTTP/1.1", [*good, "Transfer-Encoding: chunked"], NOTHING, (400, "bad_request")),
            ("chunks", f"POST {READ} HTTP/1.1", [token, "Transfer-Encoding: chunked"], b"0\r\n\r\n", (411, "length_required")),
            ("a list of lengths", f"POST {READ} HTTP/1.1", [token, "Content-Length: 0, 0"], b"", (400, "bad_request")),
            # What stands behind them is not read as a request, whoever takes it for the body.
            ("a body packed on its way", f"POST {READ} HTTP/1.1", [token, "Transfer-Encoding: gzip"],
             head(READ, len(NOTHING), self.token) + NOTHING, (411, "length_required")),
            ("the same and a length", f"POST {READ} HTTP/1.1", [token, "Transfer-Encoding: gzip", "Content-Length: 0"],
             head(READ, len(NOTHING), self.token) + NOTHING, (400, "bad_request")),
            ("no length", f"POST {READ} HTTP/1.1", [token], b"", (411, "length_required")),
            ("below 0", f"POST {READ} HTTP/1.1", [token, "Content-Length: -1"], b"", (400, "bad_request")),
            ("no number", f"POST {READ} HTTP/1.1", [token, "Content-Length: 0x10"], b"", (400, "bad_request")),
            ("beyond 64 bits", f"POST {READ} HTTP/1.1", [token, "Content-Length: 99999999999999999999"], b"", (400, "bad_request")),
            ("large", f"POST {READ} HTTP/1.1", [token, f"Content-Length: {2**21}"], b"", (413, "too_large")),
            ("packed log-in", "POST /v1/login HTTP/1.1", ["Content-Encoding: zstd", "Content-Length: 100"], b"",
             (415, "unknown_encoding")),
            ("large log-in", "POST /v1/login HTTP/1.1", ["Content-Length: 100000"], b"", (413, "too_large")),
            ("header", f"POST {READ} HTTP/1.1", ["X: " + "x" * 2**20], b"", (431, "header_too_large")),
            ("many headers", f"POST {READ} HTTP/1.1", [f"X{i}: x" for i in range(90000)], b"", (431, "header_too_large")),
            ("long path", "POST /v1/" + "a" * 2**20 + " HTTP/1.1", good, b"", (431, "header_too_large")),
            ("no HTTP", "\x16\x03\x01", [], b"", (400, "bad_request")),
            ("blank in a name", f"POST {READ} HTTP/1.1", ["Content Length: 3"], b"", (400, "bad_request")),
            ("folded header", f"POST {READ} HTTP/1.1", ["X: a\r\n b", *good], NOTHING, (200, "")),
            ("another protocol", f"POST {READ} HTTP/1.1", [*good, "Mox-Protocol: 2"], NOTHING, (426, "unknown_protocol")),
            ("GET", f"GET {READ} HTTP/1.1", good, NOTHING, (405, "wrong_method")),
            ("gzip", f"POST {READ} HTTP/1.1", [*good, "Content-Encoding: gzip"], NOTHING, (415, "unknown_encoding")),
            ("no zstd", f"POST {READ} HTTP/1.1", [*good, "Content-Encoding: zstd"], NOTHING, (400, "bad_body")),
            ("no list", f"POST {READ} HTTP/1.1", [token, "Content-Length: 3"], b"abc", (400, "bad_body")),
            ("no service", "POST /v1/firma/service/Nema HTTP/1.1", good, NOTHING, (404, "unknown_service")),
            ("half a code", "POST /v1/firma/service/%5 HTTP/1.1", good, NOTHING, (404, "unknown_service")),
            ("elsewhere", "POST /v2/firma/write HTTP/1.1", good, NOTHING, (404, "not_found")),
            ("a question", f"POST {READ}?a=b HTTP/1.1", good, NOTHING, (404, "not_found")),
            ("no token", f"POST {READ} HTTP/1.1", good[1:], NOTHING, (401, "not_logged_in")),
            ("another token", f"POST {READ} HTTP/1.1", ["Authorization: Bearer x", good[1]], NOTHING, (401, "not_logged_in")),
            ("another scheme", f"POST {READ} HTTP/1.1", [f"Authorization: Digest {self.token}", good[1]], NOTHING,
             (401, "not_logged_in")),
            ("a company of others", "POST /v1/tuda/write HTTP/1.1", good, NOTHING, (403, "forbidden")),
            ("a service of others", "POST /v1/tuda/service/GetSkladista HTTP/1.1", good, NOTHING, (403, "forbidden")),
            ("longer than it says", f"POST {READ} HTTP/1.1", [token, f"Content-Length: {len(NOTHING)}", "Connection: close"],
             NOTHING + b"POST /v1/firma/write HTTP/1.1\r\n\r\n", (200, "")),
            ("no such company", "POST /v1/nema/write HTTP/1.1", good, NOTHING, (403, "forbidden")),
            *(("company " + company, f"POST /v1/{company}/write HTTP/1.1", good, NOTHING, (400, "bad_company"))
              for company in ("..", "firma.db", "../firma", "firma/..", "%2e%2e", "fir%6da", "firma'", '"firma"', "firma;", "",
                              "a" * 49, "f\u00edrma")),
        ):
            with self.subTest(name), self.server.connect() as stream:
                with contextlib.suppress(ConnectionError):
                    stream.sendall("\r\n".join([request, "Host: localhost", *headers]).encode() + b"\r\n\r\n" + body)
                self.assertEqual(code_of(read_answer(stream)), expected)
                answered.append(expected)
        self.assertIn(b'"known":["1"]', self.server.ask(READ, token=self.token, Mox_Protocol="9")[2])
        # Each is a line of the log, whoever was refused what; the others are the log-in and the last one.
        self.assertEqual(self.server.end(), 0)
        logged = [json.loads(line) for line in self.server.log if '"request"' in line]
        self.assertEqual(sorted((line["status"], line.get("code", "")) for line in logged),
                         sorted([*answered, (200, ""), (426, "unknown_protocol")]))
        self.assertEqual([line["company"] for line in logged if line.get("code") == "forbidden"], ["tuda", "tuda", "nema"])
        self.assertNotIn(self.token, "".join(self.server.log))

    def test_half_requests_cost_nothing_but_their_connection(self):
        request = head(WRITE, len(link(7)), self.token) + link(7)
        for size in range(0, len(request)):
            with self.server.connect() as stream:
                stream.sendall(request[:size])
        with self.server.connect() as stream:
            for at in range(len(request)):
                stream.sendall(request[at : at + 1])
            self.assertEqual(read_answer(stream)[0], 200)
        self.assertEqual(links_stored(self.company), [7])

    def test_bombs_are_not_unpacked(self):
        before = self.server.memory()
        # A frame of blocks that repeat one byte 128 KB times.
        window, block = b"\x58", lambda last: ((0x20000 << 3) | 2 | last).to_bytes(3, "little") + b"\0"
        bomb = b"\x28\xb5\x2f\xfd\x00" + window + block(0) * 16384 + block(1)
        for body, expected in ((bomb, (413, "too_large")), (bomb[:-40000], (413, "too_large")),
                               (bomb[:20], (400, "bad_body")), (b"\x28\xb5\x2f\xfd\x00\xf8" + block(1), (400, "bad_body"))):
            answer = self.server.ask(READ, body, self.token, Content_Encoding="zstd")
            self.assertEqual(code_of(answer), expected)
        if IS_PLAIN:
            self.assertLess(self.server.memory() - before, 32 * 1024)

    def test_a_thousand_idle_connections(self):
        before = self.server.memory()
        with contextlib.ExitStack() as stack:
            for _ in range(1000):
                stack.enter_context(self.server.connect())
            self.assertEqual(self.server.ask(READ, token=self.token)[0], 200)
            if IS_PLAIN:
                self.assertLess(self.server.memory() - before, 128 * 1024)

    def test_tokens_end(self):
        with contextlib.closing(sqlite3.connect(self.server.directory)) as directory:
            directory.execute("UPDATE imenik_tokeni SET vrijedi_do = 1")
            directory.commit()
        self.assertEqual(code_of(self.server.ask(READ, token=self.token)), (401, "not_logged_in"))
        token = self.server.log_in()
        self.assertEqual(self.server.ask("/v1/logout", token=token)[0], 200)
        self.assertEqual(code_of(self.server.ask(READ, token=token)), (401, "not_logged_in"))
        wrong = form(("user", "ana"), ("password", "kriva-lozinka"))
        answers = [self.server.ask("/v1/login", wrong) for _ in range(8)]
        self.assertEqual(code_of(answers[0]), (401, "login_refused"))
        self.assertEqual(code_of(answers[-1]), (429, "too_many_attempts"))
        self.assertTrue(answers[-1][1]["retry-after"].isdigit())

    def test_the_log_has_no_secrets(self):
        self.server.ask(READ, token=self.token)
        self.server.ask(WRITE, link(3), self.token)
        self.assertEqual(self.server.end(), 0)
        log = "".join(self.server.log)
        events = [json.loads(line) for line in log.splitlines()]
        self.assertEqual([event["route"] for event in events if event["event"] == "request"], ["login", "service", "write"])
        self.assertTrue(all("time" in event for event in events), log)
        for secret in (self.token, PASSWORD, "ana", "127.0.0.1"):
            self.assertNotIn(secret, log)


UNITS = "/v1/firma/service/Kat%5Cjm"


def store_many_units(company):
    """So many that all of them are a large answer."""
    with contextlib.closing(sqlite3.connect(company)) as database:
        database.executemany("INSERT INTO jm (naziv, opis) VALUES (?, ?)", ((f"j{i}", "x" * 60) for i in range(10000)))
        database.commit()


class Memory(ServerTest):
    settings = "[limits]\nbody = 1 MB\nunpacked = 1 MB\nin_flight = 4 MB\n[seconds]\nbody = 60\nreply = 60\n"

    def until_answered(self, path, body, expected):
        for _ in range(200):
            if (answer := code_of(self.server.ask(path, body, self.token))) == expected:
                return
            time.sleep(0.05)
        self.assertEqual(answer, expected)

    def test_answers_that_nobody_reads_take_no_more_than_requests_may(self):
        store_many_units(self.company)
        with contextlib.ExitStack() as unread:
            for _ in range(8):
                stream = unread.enter_context(self.server.connect(narrow=True))
                stream.sendall(head(UNITS, len(NOTHING), self.token) + NOTHING)
            for _ in range(1000):
                if sum('"busy"' in line for line in self.server.log) >= 4:
                    break
                time.sleep(0.02)
            self.assertEqual(code_of(self.server.ask(UNITS, token=self.token)), (503, "busy"))
        self.until_answered(UNITS, NOTHING, (200, ""))

    def test_bodies_that_do_not_come_take_no_more_than_requests_may(self):
        body = b"x" * 1000000
        with contextlib.ExitStack() as unsent:
            for _ in range(4):
                stream = unsent.enter_context(self.server.connect())
                stream.sendall(head(WRITE, len(body), self.token) + body[:9])
            self.until("moxd_bytes_free", 4 * 2**20 - 4 * len(body))
            self.assertEqual(code_of(self.server.ask(WRITE, body, self.token)), (503, "busy"))
        self.until_answered(WRITE, body, (400, "bad_body"))


class Large(ServerTest):
    settings = "workers = 1\n[limits]\nbody = 60 MB\nunpacked = 60 MB\nin_flight = 110 MB\n"

    def test_large_requests_pass_in_memory_that_does_not_grow_with_their_number(self):
        large = 50 * 2**20
        with contextlib.closing(sqlite3.connect(self.company)) as database:
            database.execute("UPDATE art SET opis = ? WHERE id = (SELECT MIN(id) FROM art)", ("x" * large,))
            database.commit()
        columns, body = "/v1/firma/service/Kat%5CStupciTablice", form(("tablica", b"x" * large))
        for what, path, sent, headers in (("a request", columns, body, {}), ("packed", columns, packed(body), {"Content_Encoding": "zstd"}),
                                          ("an answer", "/v1/firma/service/Kat%5Cartikli", NOTHING, {})):
            with self.subTest(what):
                self.pass_many(path, sent, headers)

    def pass_many(self, path, body, headers):
        answers = []

        def ask():
            answer = (503, "busy")
            while answer == (503, "busy"):
                time.sleep(0.05)
                with contextlib.suppress(OSError):  # who is refused may not get to read why, as he is still sending
                    answer = code_of(self.server.ask(path, body, self.token, **headers))
            answers.append(answer)

        def peak(clients):
            pathlib.Path(f"/proc/{self.server.process.pid}/clear_refs").write_text("5")  # forgets what it took at most
            asking = [threading.Thread(target=ask) for _ in range(clients)]
            for thread in asking:
                thread.start()
            for thread in asking:
                thread.join(120)
            return self.server.memory("VmHWM")

        one, two, many = peak(1), peak(2), peak(8)
        self.assertEqual(answers, [(200, "")] * 11)
        self.assertGreater(one, 50 * 1024)
        if IS_PLAIN:  # two are all that the budget has room for
            self.assertLess(many - two, 50 * 1024, (one, two, many))


class Slow(ServerTest):
    settings = "[limits]\nslowest = 1 GB\n[seconds]\nhandshake = 1\nidle = 1\nheader = 1\nbody = 1\nreply = 1\n"

    def test_who_takes_longer_than_a_phase_lets_loses_his_connection_alone(self):
        request = head(READ, len(NOTHING), self.token)
        store_many_units(self.company)
        whole = len(self.server.ask(UNITS, token=self.token)[2])
        with contextlib.ExitStack() as stack:
            unread = stack.enter_context(self.server.connect(narrow=True))
            unread.sendall(head(UNITS, len(NOTHING), self.token) + NOTHING)
            slow = {"handshake": stack.enter_context(socket.create_connection(("127.0.0.1", self.server.port), 60))}
            for phase, sent in (("idle", b""), ("header", request[:9]), ("body", request + NOTHING[:3])):
                slow[phase] = stack.enter_context(self.server.connect(60))
                slow[phase].sendall(sent)
            for phase, stream in slow.items():
                with self.subTest(phase):
                    try:
                        self.assertEqual(stream.recv(1), b"")
                    except ConnectionError:
                        pass
                    self.assertEqual(self.server.ask(READ, token=self.token)[0], 200)
            self.until("moxd_connections", 1)  # that of the one who asks
            self.assertEqual([json.loads(line)["service"] for line in self.server.log if '"sent":false' in line], ["Kat\\jm"])
            got = 0
            with contextlib.suppress(OSError):
                while piece := unread.recv(65536):
                    got += len(piece)
            self.assertLess(got, whole)


class Managed(ServerTest):
    def test_its_unit_and_its_settings_are_taken_as_they_are_shipped(self):
        system = pathlib.Path(__file__).resolve().parents[2] / "moxd" / "system"
        checked = subprocess.run([MOXD, "check", "--config", system / "moxd.ini"], capture_output=True, text=True, check=False)
        # No line of the settings is wrong, only the files are not here.
        self.assertIn("/etc/moxd/certificate.pem", checked.stderr)
        self.assertNotIn("moxd.ini:", checked.stderr)
        if not shutil.which("systemd-analyze"):
            return
        for unit in ("moxd.service", "moxd.socket"):
            (self.folder / unit).write_text((system / unit).read_text().replace("/usr/bin/moxd", MOXD))
        for words in (["verify", "--man=no", self.folder / "moxd.socket"], ["security", "--offline=true", "--threshold=15"]):
            done = subprocess.run(["systemd-analyze", *words, self.folder / "moxd.service"], capture_output=True, text=True, check=False)
            self.assertEqual((done.returncode, [line for line in done.stderr.splitlines() if "moxd" in line]), (0, []), done.stdout)

    def test_is_started_watched_and_ended_by_the_systems_manager(self):
        self.assertEqual(self.server.end(), 0)
        with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as manager, socket.create_server(("127.0.0.1", 0)) as handed_over:
            manager.bind(str(self.folder / "manager"))
            manager.settimeout(60)
            self.server.start("bash", "-c", 'exec 3<&"$0"; LISTEN_PID=$$ LISTEN_FDS=1 exec "$@"', str(handed_over.fileno()),
                              pass_fds=(handed_over.fileno(),),
                              env={**os.environ, "NOTIFY_SOCKET": str(self.folder / "manager"), "WATCHDOG_USEC": "100000"})
            self.assertEqual(self.server.port, handed_over.getsockname()[1])
            self.assertEqual(self.server.ask(READ, token=self.token)[0], 200)
            self.assertEqual([manager.recv(100) for _ in range(3)], [b"READY=1", b"WATCHDOG=1", b"WATCHDOG=1"])
            self.assertEqual(self.server.end(), 0)
            manager.setblocking(False)
            told = []
            with contextlib.suppress(BlockingIOError):
                while True:
                    told.append(manager.recv(100))
            self.assertIn(b"STOPPING=1", told)


class Operations(ServerTest):
    settings = "workers = 1\n[limits]\nqueue = 1\n[seconds]\nstop = 20\n"

    def test_a_full_queue_is_told_at_once(self):
        unlock = self.lock()
        first = self.later(WRITE, link(1), self.token)
        self.until("moxd_workers_busy", 1)
        second = self.later(WRITE, link(2), self.token)
        self.until("moxd_queue_waiting", 1)
        status, headers, body = self.server.ask(WRITE, link(3), self.token)
        self.assertEqual((status, json.loads(body)["code"], headers["retry-after"]), (503, "queue_full", "1"))
        self.assertEqual(self.server.operation("/healthz")[0], 200)
        self.assertEqual(self.server.operation("/readyz")[0], 503)
        unlock()
        self.assertEqual((first()[0], second()[0]), (200, 200))
        self.assertEqual(links_stored(self.company), [1, 2])
        self.assertEqual(self.server.operation("/readyz")[0], 200)

    def test_counts_what_it_does(self):
        for path in (READ, READ, "/v1/firma/service/Nema"):
            self.server.ask(path, token=self.token)
        status, headers, text = self.server.operation("/metrics")
        self.assertEqual((status, headers["content-type"]), (200, "text/plain; version=0.0.4; charset=utf-8"))
        values = values_of(text.decode())
        for name, value in (('moxd_requests_total{route="service",code="200"}', 2),
                            ('moxd_requests_total{route="service",code="unknown_service"}', 1),
                            ('moxd_request_seconds_count{route="service"}', 3), ("moxd_connections_total", 5), ("moxd_queue_waiting", 0)):
            self.assertEqual(values[name], value, name)
        self.assertGreater(values['moxd_request_seconds_sum{route="service"}'], 0)

    def test_ends_what_it_began(self):
        unlock = self.lock()
        under_way = self.later(WRITE, link(1), self.token)
        self.until("moxd_workers_busy", 1)
        idle = self.server.connect()
        self.server.process.send_signal(signal.SIGTERM)
        self.assertEqual(idle.recv(1), b"")
        unlock()
        status, headers, _ = under_way()
        self.assertEqual((status, headers["connection"]), (200, "close"))
        self.assertEqual(self.server.process.wait(30), 0)
        self.assertEqual(links_stored(self.company), [1])

    def test_reads_its_certificate_again(self):
        with self.server.connect() as before:
            make_certificate(self.folder, "two")
            self.server.process.send_signal(signal.SIGHUP)
            for _ in range(200):
                if any('"certificate"' in line for line in self.server.log):
                    break
                time.sleep(0.02)
            with self.server.connect() as after:
                self.assertEqual(after.getpeercert()["subject"], ((("commonName", "two"),),))
            self.assertEqual(self.server.ask(READ, token=self.token, connection=before)[0], 200)

    def test_retried_writes_are_stored_once(self):
        key = "5f3a9c"
        first = self.server.ask(WRITE, link(1), self.token, Idempotency_Key=key)
        self.assertEqual(first[0], 200)
        self.assertEqual(self.server.ask(WRITE, link(1), self.token, Idempotency_Key=key)[2], first[2])
        self.server.end(signal.SIGKILL)
        self.server.start()
        self.assertEqual(self.server.ask(WRITE, link(1), self.token, Idempotency_Key=key)[2], first[2])
        self.assertEqual(code_of(self.server.ask(WRITE, link(2), self.token, Idempotency_Key=key)), (422, "key_reused"))
        self.assertEqual(links_stored(self.company), [1])


class Users(ServerTest):
    """The users of a company, whose administrators see and change them over the network."""

    SERVICE = "/v1/firma/service/Posluzitelj%5CKorisnici"

    @staticmethod
    def change(name, *roles, transaction="KorisnikUlogeUpis", version=""):
        fields = [("ime", "text", name), ("verzija", "text", version), *((role, "boolean", "true") for role in roles)]
        lines = [b"field %d:%s %s 100 - 0: 0:" % (len(field), field.encode(), kind.encode()) for field, kind, _ in fields]
        values = b" ".join(b"%d:%s" % (len(value.encode()), value.encode()) if kind == "text" else value.encode()
                           for _, kind, value in fields)
        rows = b"moxrs 1\nname 11:adsKorisnik\nfields %d\n" % len(fields) + b"\n".join(lines) + b"\nrecords 1\n" + values + b"\nend\n"
        return form((transaction, form(("adsKorisnik", rows))))

    def administer(self, *words, text=""):
        subprocess.run([MOXD, "--config", self.folder / "moxd.ini", *words], input=text, text=True, check=True)

    def test_administrators_alone_see_and_change_them(self):
        for name in ("iva", "mate"):
            self.administer("user", "add", name, text=PASSWORD)
        for roles, allowed in ((("citanje",), False), (("unos", "maticni", "uvoz"), False), (("administracija",), True)):
            self.administer("grant", "iva", "firma", *roles)
            token = self.server.log_in("iva")
            expected = (200, "") if allowed else (403, "forbidden")
            for path, body in ((self.SERVICE, NOTHING), (WRITE, self.change("mate", "unos")),
                               (WRITE, self.change("mate", transaction="KorisnikPrijaveKraj"))):
                with self.subTest(roles=roles, path=path):
                    self.assertEqual(code_of(self.server.ask(path, body, token)), expected)
        self.assertIn(b"mate", self.server.ask(self.SERVICE, NOTHING, token)[2])
        mate = self.server.log_in("mate")
        self.assertEqual(self.server.ask(READ, NOTHING, mate)[0], 200)
        for user, version, said in (("mate", "citanje", b"was changed by somebody else"), ("mate", "unos", b"committed boolean true"),
                                    ("nitko", "", b"there is no user"), ("mate", "", b"committed boolean true")):
            self.assertIn(said, self.server.ask(WRITE, self.change(user, version=version), token)[2])
        self.assertEqual(code_of(self.server.ask(READ, NOTHING, mate)), (403, "forbidden"))
        self.assertEqual(links_stored(self.company), [])
        # A rehearsal says the same of who is there and who is not; what was refused under a key stays so.
        self.administer("user", "add", "tajni", text=PASSWORD)
        tried = [self.server.ask(WRITE, self.change(user, "unos"), token, Mox_Rehearsal="1")[2].replace(user.encode(), b"NAME")
                 for user in ("tajni", "nitko")]
        self.assertIn(b"has no role here", tried[0])
        self.assertEqual(tried[0], tried[1])
        self.assertIn(b"there is no user", self.server.ask(WRITE, self.change("novi", "unos"), token, Idempotency_Key="k")[2])
        self.administer("user", "add", "novi", text=PASSWORD)
        self.assertIn(b"there is no user", self.server.ask(WRITE, self.change("novi", "unos"), token, Idempotency_Key="k")[2])
        # The users are the server's own, also while the company's database is away; its journal gets them afterwards.
        self.company.rename(self.folder / "away.db")
        self.server.process.send_signal(signal.SIGHUP)
        for _ in range(500):
            if any("read again: 1" in line for line in self.server.log):
                break
            time.sleep(0.02)
        self.assertIn(b"committed boolean true", self.server.ask(WRITE, self.change("novi", "unos"), token)[2])
        self.assertEqual(code_of(self.server.ask(READ, NOTHING, token)), (503, "database_unavailable"))
        (self.folder / "away.db").rename(self.company)
        for _ in range(2):
            journal = self.server.ask("/v1/firma/service/DnevnikUpisa", NOTHING, token)[2].decode()
        with contextlib.closing(sqlite3.connect(self.company)) as database:
            rows = database.execute("SELECT korisnik, transakcija, dokumenti, upisano FROM dnevnik_upisa").fetchall()
        me = f"moxd: {os.environ.get('USER') or pwd.getpwuid(os.geteuid()).pw_name}"
        given = [(me, "KorisnikUlogeUpis", f"iva: uloge: {roles}", 1)
                 for roles in ("čitanje", "unos dokumenata, matični podaci, uvoz", "administracija")]
        refused = [("iva", "KorisnikUlogeUpis", "KorisnikUlogeUpis", 0), ("iva", "KorisnikPrijaveKraj", "KorisnikPrijaveKraj", 0)]
        self.assertEqual([row for row in rows if row[0] not in ("", "ana")], [
            given[0], *refused, given[1], *refused, given[2],
            ("iva", "KorisnikUlogeUpis", "mate: uloge: unos dokumenata", 1), ("iva", "KorisnikPrijaveKraj", "mate: prijave prekinute", 1),
            ("iva", "KorisnikUlogeUpis", "mate: uloge: -", 0), ("iva", "KorisnikUlogeUpis", "mate: uloge: -", 1),
            ("iva", "KorisnikUlogeUpis", "nitko: uloge: -", 0), ("iva", "KorisnikUlogeUpis", "mate: uloge: -", 1),
            ("iva", "KorisnikUlogeUpis", "novi: uloge: unos dokumenata", 0),
            ("iva", "KorisnikUlogeUpis", "novi: uloge: unos dokumenata", 1)])
        self.assertIn("novi: uloge", journal)


class Client(ServerTest):
    """The command, while the server comes and goes."""

    def mox(self, *words, text=""):
        return subprocess.run([MOX, *words], input=text, capture_output=True, text=True, check=False,
                              env={**os.environ, "XDG_STATE_HOME": str(self.folder)})

    def test_asks_again_under_the_same_key(self):
        certificate = str(self.folder / "certificate.pem")
        login = self.mox("login", self.server.address(), "--user", "ana", "--ca", certificate, text=PASSWORD + "\n")
        self.assertEqual(login.returncode, 0, login.stderr)
        (self.folder / "links.csv").write_text("parent_table,parent_column,parent_doc_id,child_tip,user_id\ndok,id,5,got-racun,ana\n")
        store = ["store", "UpisParentFieldForVD", f"FTransTempVezeDataSet={self.folder}/links.csv"]
        unlock = self.lock()
        answers = []
        client = threading.Thread(
            target=lambda: answers.append(self.mox(*store, "--server", self.server.address("firma"))))
        client.start()
        self.until("moxd_workers_busy", 1)
        self.server.end(signal.SIGKILL)  # the request is on its way, and nobody will answer it
        unlock()
        self.server.start()
        client.join(90)
        self.assertEqual((answers[0].returncode, answers[0].stderr), (0, ""))
        self.assertEqual(links_stored(self.company), [5])
        self.server.end()
        away = self.mox(*store, "--server", self.server.address("firma"))
        self.assertEqual(away.returncode, 1)
        self.assertIn("cannot be reached", away.stderr)
        self.assertEqual(links_stored(self.company), [5])

    def test_shows_no_secrets_of_accounts(self):
        (self.folder / "racun.csv").write_text("EracunB2CUrl,EracunKey\nhttps://b2c.hr/?key=tajni-dio,tajni-kljuc\n")
        self.mox("login", self.server.address(), "--user", "ana", "--ca", self.folder / "certificate.pem", text=PASSWORD + "\n")
        at = ["--server", self.server.address("firma")]
        stored = self.mox("store", "UpdateIntegrationsUsersAccounts", f"adsLoginData={self.folder}/racun.csv", *at)
        shown = self.mox("query", "IntegrationsUsersAccounts", *at)
        self.assertEqual((stored.returncode, shown.returncode), (0, 0), stored.stderr + shown.stderr)
        self.assertIn("https://b2c.hr/?key=***", shown.stdout)


class BadGateway(Client):
    """The command, and somebody on the way who passes writes on and answers them himself."""

    test_shows_no_secrets_of_accounts = None

    def pass_on(self, listener, instead):
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(self.folder / "certificate.pem", self.folder / "key.pem")
        while True:
            try:
                plain, _ = listener.accept()
            except OSError:
                return
            with context.wrap_socket(plain, server_side=True) as client, self.server.connect() as server:
                while read := read_request(client):
                    server.sendall(read)
                    status, headers, body = read_answer(server)
                    if b"/write" in read.split(b"\r\n", 1)[0] and instead:
                        status, headers = instead.pop(0), {}
                        body = b"{}" if status == 403 else b""
                    lines = [f"HTTP/1.1 {status} x", f"Content-Length: {len(body)}",
                             *(f"{name}: {value}" for name, value in headers.items() if name == "content-encoding")]
                    client.sendall("\r\n".join(lines).encode() + b"\r\n\r\n" + body)

    def test_asks_again_under_the_same_key(self):
        (self.folder / "links.csv").write_text("parent_table,parent_column,parent_doc_id,child_tip,user_id\ndok,id,5,got-racun,ana\n")
        unknown = "it is not known whether the request was stored: look before you store it again (DnevnikUpisa has the key "
        for at, (instead, status, told) in enumerate((([504], 0, ""), ([502, 502], 0, ""), ([503], 0, ""), ([500], 1, unknown),
                                                      ([504, 401], 1, unknown), ([403], 1, "answers with status 403\n"))):
            with self.subTest(instead=instead), socket.create_server(("127.0.0.1", 0)) as listener:
                thread = threading.Thread(target=self.pass_on, args=(listener, instead))
                thread.start()
                address = f"https://localhost:{listener.getsockname()[1]}/"
                login = self.mox("login", address, "--user", "ana", "--ca", str(self.folder / "certificate.pem"), text=PASSWORD + "\n")
                self.assertEqual(login.returncode, 0, login.stderr)
                done = self.mox("store", "UpisParentFieldForVD", f"FTransTempVezeDataSet={self.folder}/links.csv", "--server",
                                address + "firma")
                self.assertEqual(done.returncode, status, done.stderr)
                self.assertIn(told, done.stderr)
                self.assertEqual(links_stored(self.company), [5] * (at + 1))
                listener.shutdown(socket.SHUT_RDWR)
                thread.join(60)


class Rights(ServerTest):
    def moxd(self, *words, given="", expected=0):
        done = subprocess.run([MOXD, *words, "--config", self.folder / "moxd.ini"], input=given, capture_output=True, text=True,
                              check=False)
        self.assertEqual(done.returncode, expected, done.stderr)
        return done.stdout

    def rows(self, sql):
        with contextlib.closing(sqlite3.connect(self.company)) as database:
            return database.execute(sql).fetchall()

    def test_commands_say_what_users_may_do_while_it_serves(self):
        self.moxd("user", "add", "ivo", given="lozinka za ivu\n")
        token = self.server.log_in("ivo", "lozinka za ivu")

        def read():
            return code_of(self.server.ask(READ, token=token))

        def write(number, key):
            return code_of(answer := self.server.ask(WRITE, link(number), token, Idempotency_Key=key)), answer[2]

        self.assertEqual(read(), (403, "forbidden"))
        self.moxd("grant", "ivo", "firma", "citanje")
        self.assertEqual(read(), (200, ""))
        self.assertEqual(write(1, "k-1")[0], (403, "forbidden"))
        self.assertEqual(code_of(self.server.ask("/v1/firma/service/DnevnikUpisa", token=token)), (403, "forbidden"))
        self.moxd("grant", "ivo", "firma", "unos")
        first = write(2, "k-2")
        self.assertEqual(first[0], (200, ""))
        self.server.end()
        self.server.start()
        self.assertEqual(write(2, "k-2"), first)  # also by a server that was started anew
        self.assertEqual(write(3, "k-2")[0], (422, "key_reused"))
        self.assertEqual(links_stored(self.company), [2])
        # Whomever the request names, it was the one who has logged in.
        self.assertEqual(self.rows("SELECT user_id FROM dok_veze_kasnije"), [("IVO",)])
        self.assertEqual(self.rows("SELECT korisnik, transakcija, upisano, kljuc FROM dnevnik_upisa WHERE korisnik = 'ivo'"),
                         [("ivo", "UpisParentFieldForVD", 0, None), ("ivo", "UpisParentFieldForVD", 1, "k-2")])
        self.assertIn("ivo ", self.moxd("token", "list"))
        self.assertRegex(self.moxd("journal", "logins"), r" UTC +ivo +127\.0\.0\.1 +prijava\n")
        self.moxd("user", "disable", "ivo")
        self.assertEqual(read(), (401, "not_logged_in"))
        self.moxd("company", "move", "firma", "--to", expected=2)
        self.assertNotIn(token, "".join(self.server.log))


    def test_who_ends_the_question_for_a_password_sees_what_he_types(self):
        for how in (signal.SIGINT, signal.SIGTERM, None):  # None answers it
            for words in ([MOXD, "user", "password", "ana", "--config", self.folder / "moxd.ini"], [MOX, "login", self.server.address()]):
                terminal = os.openpty()
                with subprocess.Popen(words, stdin=terminal[1], stderr=subprocess.PIPE,
                                      env={**os.environ, "XDG_STATE_HOME": str(self.folder)}) as asking:
                    while not (asked := asking.stderr.read(1)) == b":":
                        self.assertTrue(asked)
                    self.assertFalse(termios.tcgetattr(terminal[1])[3] & termios.ECHO)
                    if how:
                        asking.send_signal(how)
                    else:
                        os.write(terminal[0], b"kratka\nkratka\n")
                    self.assertEqual(asking.wait(30), -how if how else 1)
                self.assertTrue(termios.tcgetattr(terminal[1])[3] & termios.ECHO)
                for end in terminal:
                    os.close(end)


class Check(unittest.TestCase):
    def test_helps(self):
        self.assertIn("moxd user", subprocess.run([MOXD, "--help"], capture_output=True, text=True, check=True).stdout)

    def test_tells_every_fault_of_the_settings(self):
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder, "moxd.ini")
            path.write_text("a = b\n[server]\nlisten = localhost\nlisten = 0.0.0.0:1\noperations = 0.0.0.0:9443\nworkers = 0\n"
                            "threads = 2\ncertificate =\nnonsense\n[limits]\nbody = 1 TB\nunpacked = 17179869185 GB\n[seconds]\nidle = -1\n[other]\n"
                            "x = 1\n")
            done = subprocess.run([MOXD, "check", "--config", path], capture_output=True, text=True, check=False)
            lines = [line.removeprefix(f"moxd: {path}:") for line in done.stderr.splitlines()]
            self.assertEqual(done.returncode, 1)
            self.assertEqual([line.split(":")[0] for line in lines[:12]],
                             ["1", "3", "4", "5", "6", "7", "8", "9", "11", "12", "14", "15"], done.stderr)
            self.assertIn("stands before the first section", lines[0])
            self.assertTrue(all("is missing" in line for line in lines[12:]) and len(lines) >= 14, done.stderr)


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], *sys.argv[4:]])
