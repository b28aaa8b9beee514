#!/usr/bin/env python3
"""Who may do what, and what the command says while the server comes and goes: users_test.py MOX MOXD DIRECTORY_TOOL"""
import contextlib
import json
import os
import pwd
import signal
import socket
import sqlite3
import ssl
import subprocess
import sys
import termios
import threading
import time
import unittest

from running_server import NOTHING, PASSWORD, code_of, form, link, links_stored, read_answer, read_request
from server_case import MOX, MOXD, READ, ServerTest, WRITE


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
        # What is refused again within a minute stands there once.
        self.assertEqual([row for row in rows if row[0] not in ("", "ana")], [
            given[0], *refused, given[1], given[2],
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
        missing = self.mox("login", self.server.address(), "--user", "ana", text="")
        self.assertEqual((missing.returncode, missing.stderr), (1, "mox: the password is missing\n"))


def answered(status, code="", kind="application/json", body=b"", **headers):
    """An answer in the place of the server's own; with a code it is one of an application server."""
    told = {"Content-Type": kind, **({"Mox-Protocol": "1"} if code else {}), **headers}
    body = json.dumps({"code": code, "message": code}).encode() if code else body
    return lambda *_: (status, told, body)


PAGE = answered(200, kind="text/html", body=b"<html>")
MOVED = answered(302, Location="https://localhost/")
LOGGED_OUT = answered(401, "not_logged_in")


def changed(**headers):
    """The server's own answer, with other headers."""
    return lambda status, told, body: (status, {**told, **{name.replace("_", "-").lower(): value for name, value in headers.items()}}, body)


def cut(status, told, body):
    return status, told, body[:14]


def empty(status, told, _):
    return status, {name: value for name, value in told.items() if name != "content-encoding"}, NOTHING


def endless(status, told, _):
    return status, {**told, "content-length": str(2**40)}, b""


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
            with contextlib.suppress(OSError), context.wrap_socket(plain, server_side=True) as client, \
                    self.server.connect() as server:
                while read := read_request(client):
                    server.sendall(read)
                    status, headers, body = read_answer(server)
                    headers = {name: value for name, value in headers.items() if name not in ("content-length", "connection")}
                    if instead and instead[0][0] in read.split(b"\r\n", 1)[0]:
                        status, headers, body = instead.pop(0)[1](status, headers, body)
                    headers = {"content-length": len(body), **headers}
                    lines = [f"HTTP/1.1 {status} x", *(f"{name}: {value}" for name, value in headers.items())]
                    client.sendall("\r\n".join(lines).encode() + b"\r\n\r\n" + body)
                    if len(body) < int(headers["content-length"]):
                        while True:
                            client.sendall(bytes(2**20))

    @contextlib.contextmanager
    def gateway(self):
        """Its address, and a list of what it answers in place of the server: in which request, and how."""
        instead = []
        with socket.create_server(("127.0.0.1", 0)) as listener:
            thread = threading.Thread(target=self.pass_on, args=(listener, instead))
            thread.start()
            try:
                yield f"https://localhost:{listener.getsockname()[1]}/", instead
            finally:
                listener.shutdown(socket.SHUT_RDWR)
                thread.join(60)

    def log_in_at(self, address):
        return self.mox("login", address, "--user", "ana", "--ca", str(self.folder / "certificate.pem"), text=PASSWORD + "\n")

    def test_asks_again_under_the_same_key(self):
        (self.folder / "links.csv").write_text("parent_table,parent_column,parent_doc_id,child_tip,user_id\ndok,id,5,got-racun,ana\n")
        unknown = "it is not known whether the request was stored: look before you store it again (DnevnikUpisa has the key "
        known = "not logged in, or the session has ended: mox login "
        # What is not the server's own, or not whole, is asked again.
        again = ([answered(504)], [answered(502)] * 2, [answered(503)], [answered(500)], [PAGE], [cut], [empty], [endless],
                 [changed(content_encoding="zstd")], [changed(content_type="text/plain")], [changed(mox_protocol="7")], [answered(201)],
                 [answered(204)], [MOVED], [answered(403, body=b"{}")], [answered(408)])
        rows = [(instead, 0, "") for instead in again]
        rows += [([answered(500, "internal")], 1, unknown), ([PAGE, LOGGED_OUT], 1, unknown), ([answered(504), LOGGED_OUT], 1, unknown),
                 ([LOGGED_OUT], 1, known), ([answered(503, "company_moving"), LOGGED_OUT], 1, known)]
        with self.gateway() as (address, instead):
            login = self.log_in_at(address)
            self.assertEqual(login.returncode, 0, login.stderr)
            for at, (answers, status, told) in enumerate(rows):
                instead[:] = [(b"/write", answer) for answer in answers]
                done = self.mox("store", "UpisParentFieldForVD", f"FTransTempVezeDataSet={self.folder}/links.csv", "--server",
                                address + "firma")
                with self.subTest(at=at):
                    self.assertEqual(done.returncode, status, done.stderr)
                    self.assertIn(told, done.stderr)
                    self.assertEqual("it is not known" in done.stderr, told == unknown)
                    self.assertEqual((links_stored(self.company), instead), ([5] * (at + 1), []))

    def test_tells_which_server_was_not_understood(self):
        show = ["company", "show"]
        store = ["codebook", "mjesta", "--store", self.folder / "mjesta.csv"]
        (self.folder / "mjesta.csv").write_text("ptt,naziv\n99999,Novo Mjesto\n")
        without_keys = form(("committed", ""), ("transaction", "KatalogUpis")).replace(b"committed text 0:", b"committed boolean true")
        rows = ((show, b"/service/", PAGE, "HOST: the answer is not one of an application server\n"),
                (show, b"/service/", cut, "HOST: the answer cannot be read: "), (show, b"/service/", endless, "HOST: the answer is too large\n"),
                (show, b"ParametriPoduzeca", empty, "ParametriPoduzeca: the answer does not hold adsList\n"),
                (store, b"/write", lambda status, headers, _: (status, headers, without_keys),
                 "it was stored, but the server does not tell under which keys"),
                ([], b"/login", PAGE, "HOST: the answer is not one of an application server\n"),
                ([], b"/login", empty, "HOST: the answer cannot be read: "))
        with self.gateway() as (address, instead):
            self.assertEqual(self.log_in_at(address).returncode, 0)
            for words, where, answer, told in rows:
                instead[:] = [(where, answer)]
                done = self.mox(*words, "--server", address + "firma") if words else self.log_in_at(address)
                with self.subTest(told=told):
                    self.assertEqual(done.returncode, 1)
                    self.assertIn(told.replace("HOST", address[:-1]), done.stderr)
                    self.assertEqual(instead, [])


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


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], *sys.argv[4:]])
