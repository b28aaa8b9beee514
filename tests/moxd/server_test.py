#!/usr/bin/env python3
"""What the server does with clients that mean no good: server_test.py MOX MOXD DIRECTORY_TOOL"""
import contextlib
import json
import pathlib
import socket
import sqlite3
import sys
import threading
import time
import unittest

from running_server import NOTHING, PASSWORD, code_of, form, head, link, links_stored, packed, read_answer
from server_case import IS_PLAIN, READ, ServerTest, WRITE


class Hostile(ServerTest):
    settings = "[limits]\nbody = 1 MB\nunpacked = 4 MB\nin_flight = 64 MB\n[seconds]\nheader = 5\nbody = 5\n"

    def test_refuses_what_it_cannot_serve(self):
        answered = []
        token = f"Authorization: Bearer {self.token}"
        length, request = f"Content-Length: {len(NOTHING)}", head(READ, len(NOTHING), self.token) + NOTHING
        values = {"read": f"POST {READ} HTTP/1.1", "nothing": NOTHING.decode(), "key": self.token, "token": token, "length": length,
                  "good": f"{token}; {length}", "another": request.decode(), "x": "x" * 2**20, "folded": "X: a\r\n b",
                  "headers": "; ".join(f"X{i}: x" for i in range(90000)), "tls": "\x16\x03\x01", "end": "\r\n"}
        for row in (pathlib.Path(__file__).parent / "cases" / "requests.txt").read_text().splitlines():
            if not row or row.startswith("#"):
                continue
            name, request, headers, body, expected = (part.strip().format(**values) for part in row.split("|"))
            status, _, code = expected.partition(" ")
            expected = int(status), code
            headers, body = headers.split("; ") if headers else [], body.encode()
            with self.subTest(name, request=request[:80]), self.server.connect() as stream:
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

        one, many = peak(1), peak(5)
        self.assertEqual(answers, [(200, "")] * 6)
        self.assertGreater(one, 50 * 1024)
        if IS_PLAIN:  # the budget has room for two; all five would take four times as much
            self.assertLess(many - one, 2 * 50 * 1024, (one, many))


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


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], *sys.argv[4:]])
