#!/usr/bin/env python3
"""Mails against a real server on this computer: mail_test.py MOX. It answers, refuses, breaks off at every step, has a
right, a wrong and no certificate, and the program is killed while it sends. MOX_MAILS says how many are killed at."""

import asyncio
import email
import email.policy
import json
import logging
import os
import random
import re
import sqlite3
import ssl
import subprocess
import sys
import tempfile
import threading
import time
from pathlib import Path

from aiosmtpd.smtp import SMTP, AuthResult

MOX = sys.argv[1]
FAULTS = []
logging.disable(logging.CRITICAL)  # of broken connections


def expect(what, holds, detail=""):
    if not holds:
        FAULTS.append(what)
        print(f"FAILED {what}: {str(detail)[-400:]}")


class Handler:
    """Does at the named step what `how` says: an answer, or "break"."""

    def __init__(self):
        self.step, self.how, self.delay, self.mails = "", "", 0.0, []

    def breaks(self, server, step):
        breaks = (step, "break") == (self.step, self.how)
        if breaks:
            server.transport.abort()
        return breaks

    async def act(self, server, step):
        if step != self.step:
            return None
        return "421 gone" if self.breaks(server, step) else self.how

    async def handle_EHLO(self, server, session, envelope, hostname, responses):
        session.host_name = hostname
        answer = await self.act(server, "EHLO")
        return [answer] if answer else responses

    async def handle_MAIL(self, server, session, envelope, address, options):
        envelope.mail_from = address
        return await self.act(server, "MAIL") or "250 OK"

    async def handle_RCPT(self, server, session, envelope, address, options):
        envelope.rcpt_tos.append(address)
        return await self.act(server, "RCPT") or "250 OK"

    async def handle_DATA(self, server, session, envelope):
        await asyncio.sleep(self.delay)
        if not (self.step == "END" and self.how[:1] in "45"):
            self.mails.append((list(envelope.rcpt_tos), envelope.content))
        return await self.act(server, "END") or "250 taken"

    def check_login(self, server, session, envelope, mechanism, login):
        if self.breaks(server, "AUTH"):
            return AuthResult(success=False, handled=True)
        return AuthResult(success=(login.login, login.password) == (b"ana", b"tajna-lozinka"), handled=False)


class Smtp(SMTP):
    """The steps that its handler is not asked at."""

    in_text = False

    def connection_made(self, transport):
        super().connection_made(transport)
        self.event_handler.breaks(self, "CONNECT")

    async def smtp_STARTTLS(self, arg):
        if not self.event_handler.breaks(self, "STARTTLS"):
            await super().smtp_STARTTLS(arg)

    async def smtp_DATA(self, arg):
        if not self.event_handler.breaks(self, "DATA"):
            self.in_text = True
            await super().smtp_DATA(arg)

    def data_received(self, data):
        if not (self.in_text and self.event_handler.breaks(self, "TEXT")):
            super().data_received(data)

    async def smtp_QUIT(self, arg):
        if not self.event_handler.breaks(self, "QUIT"):
            await super().smtp_QUIT(arg)


class Server:
    """A server of mails on a free port of this computer, with TLS from the first byte, on request, or none."""

    def __init__(self, handler, tls=None, starttls=None, login=False):
        self.handler, self.tls, self.starttls, self.login = handler, tls, starttls, login
        self.loop = asyncio.new_event_loop()

    def __enter__(self):
        self.server = self.loop.run_until_complete(self.loop.create_server(
            lambda: Smtp(self.handler, tls_context=self.starttls, hostname="posta", loop=self.loop, auth_required=self.login,
                         authenticator=self.handler.check_login, auth_require_tls=self.login), "127.0.0.1", 0, ssl=self.tls))
        self.address = f"{'smtps' if self.tls else 'smtp'}://127.0.0.1:{self.server.sockets[0].getsockname()[1]}"
        self.thread = threading.Thread(target=self.loop.run_forever)
        self.thread.start()
        return self

    def __exit__(self, *_):
        self.loop.call_soon_threadsafe(self.server.close)
        self.loop.call_soon_threadsafe(self.loop.stop)
        self.thread.join()


def mox(*words, db="t.db", stdin=None):
    ini = [] if "--ini" in words or not Path("right.ini").exists() else ["--ini", "right.ini"]
    return subprocess.run([MOX, *words, *ini, "--db", db], capture_output=True, text=True, input=stdin, timeout=600)


def states():
    with sqlite3.connect("t.db") as database:
        return [row[0] for row in database.execute("SELECT stanje FROM posta ORDER BY id")]


def forget():
    with sqlite3.connect("t.db") as database:
        database.execute("DELETE FROM posta_slanja")
        database.execute("DELETE FROM posta")


def account(url, *words, stdin=None):
    result = mox("mail", "--account", url, "--sender", "racuni@zito.hr", *words, stdin=stdin)
    expect("account", result.returncode == 0, result.stderr)


def prepare():
    subprocess.run([MOX, "db", "init", "t.db", "--demo"], check=True, capture_output=True)
    Path("u.csv").write_text("naziv,kolicina,pc,rbp1,tbr_stp\nRad čašćenja,2,10,5,25\n")
    result = mox("document", "racun-usluga", "u.csv", "--store", "--header", "datum=2024-03-01", "--header", "partner=1")
    assert result.returncode == 0, result.stderr


def certificate(name, host):
    subprocess.run(["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2", "-keyout", f"{name}.key", "-out",
                    f"{name}.pem", "-subj", f"/CN={host}", "-addext", f"subjectAltName={host}"], check=True,
                   capture_output=True)
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
    context.load_cert_chain(f"{name}.pem", f"{name}.key")
    Path(f"{name}.ini").write_text(f"[GENERAL]\nCA_FILE={name}.pem\nTIMEOUT=10\n")
    return context


def check_contents(handler):
    with sqlite3.connect("t.db") as database:
        database.execute("UPDATE par SET naziv = ? WHERE id = 1", ("Zli kupac\r\nBcc: napad@x.hr",))
        database.commit()
    Path("p.txt").write_text("[posta]\npredmet = Račun {broj}\\nBcc: napad@y.hr\\n\\n za {kupac}\n")
    result = mox("mail", "1", "--to", "kupac@primjer.hr", "--template", "p.txt")
    expect("sent", result.returncode == 0 and states() == ["poslano"], result.stderr)
    to, content = handler.mails.pop()
    message = email.message_from_bytes(content, policy=email.policy.default)
    expect("one receiver", to == ["kupac@primjer.hr"] and message["Bcc"] is None and message["To"] == "kupac@primjer.hr", to)
    expect("subject", message["Subject"] == "Račun 1/2024 Bcc: napad@y.hr   za Zli kupac\\x0D\\nBcc: napad@x.hr", message["Subject"])
    expect("sender", message["From"] == '"Demo poduzeće d.o.o." <racuni@zito.hr>', message["From"])
    body = message.get_body().get_content()
    expect("text", "Račun usluga 1/2024" in body and "23,75 EUR" in body and "Demo poduzeće" in body, body)
    parts = list(message.iter_attachments())
    expect("attachment", [part.get_content_type() for part in parts] == ["application/pdf"], parts)
    Path("m.pdf").write_bytes(parts[0].get_content())
    text = subprocess.run(["pdftotext", "-layout", "m.pdf", "-"], capture_output=True, text=True, check=True).stdout
    expect("page", "Rad čašćenja" in text and "23,75" in text, text)
    with sqlite3.connect("t.db") as database:
        database.execute("INSERT INTO eracun_veze (dok_id, electronic_id) VALUES (1, 7)")
    # A second one only where the user has agreed, and the e-invoice with it, without the account.
    again = mox("mail", "1", "--to", "kupac@primjer.hr")
    expect("again", again.returncode == 1 and "was sent already" in again.stderr and not handler.mails, again.stderr)
    again = mox("mail", "1", "--to", "kupac@primjer.hr", "--yes")
    expect("agreed", again.returncode == 0 and len(handler.mails) == 1, again.stderr)
    message = email.message_from_bytes(handler.mails.pop()[1], policy=email.policy.default)
    page, invoice = message.iter_attachments()
    expect("names", (page.get_filename(), invoice.get_filename()) == ("racun-usluga-1-2024.pdf", "racun-usluga-1-2024.json"))
    invoice = json.loads(invoice.get_content())
    expect("e-invoice", "prijava" not in invoice and "23.75" in str(invoice), invoice)
    for address in ("a@b.hr\r\nBcc: c@d.hr", "a@b.hr,c@d.hr", "Ana <a@b.hr>", "a b@c.hr", "a@", "@b.hr", "č@b.hr", "a..b@c.hr",
                    "a@b.hr\n.\nMAIL FROM:<x@y.hr>"):
        result = mox("mail", "1", "--to", address)
        expect(f"address {address!r}", result.returncode == 2 and "is no address" in result.stderr, result.stderr)
    expect("nothing sent", not handler.mails and states() == ["poslano"], states())


# At which step, what the server does, what becomes of the mail, and whether the receiver has it.
STEPS = [("CONNECT", "break", "ceka", 0), ("EHLO", "break", "ceka", 0), ("EHLO", "554 not from here", "ceka", 0),
         ("STARTTLS", "break", "ceka", 0), ("AUTH", "break", "ceka", 0), ("MAIL", "break", "ceka", 0),
         ("MAIL", "552 too much", "odbijeno", 0), ("MAIL", "530 who are you", "ceka", 0), ("RCPT", "break", "ceka", 0),
         ("RCPT", "550 no such user", "odbijeno", 0), ("RCPT", "451 later", "ceka", 0), ("DATA", "break", "ceka", 0),
         ("TEXT", "break", "nepoznato", 0), ("END", "break", "nepoznato", 1), ("END", "554 no", "odbijeno", 0),
         ("END", "451 later", "ceka", 0), ("QUIT", "break", "poslano", 1)]


def check_steps(context):
    handler = Handler()
    with Server(handler, starttls=context, login=True) as server:
        account(server.address, "--user", "ana", "--password", "-", stdin="kriva-lozinka\n")
        result = mox("mail", "1", "--to", "k@primjer.hr")
        expect("wrong password", result.returncode == 1 and states()[-1] == "ceka" and not handler.mails, result.stderr)
        account(server.address, "--password", "-", stdin="tajna-lozinka\n")
        expect("right password", mox("mail", "--send").returncode == 0 and len(handler.mails) == 1, states())
        for number, (step, how, state, received) in enumerate(STEPS):
            what = f"{step} {how}"
            handler.step, handler.how, handler.mails = step, how, []
            result = mox("mail", "1", "--to", f"k{number}@primjer.hr")
            expect(what, (result.returncode == 0) == (state == "poslano") and states()[-1] == state and
                   len(handler.mails) == received, f"{states()[-1]} {len(handler.mails)} {result.stderr}")
            handler.step = ""
            result = mox("mail", "--send")
            if state == "nepoznato":
                expect(what + " asks", result.returncode == 1 and "no answer tells" in result.stderr and
                       len(handler.mails) == received, result.stderr)
                mox("mail", "--send", "--yes")
                expect(what + " agreed", len({re.search(b"Message-ID: (.*)", mail).group(1) for _, mail in handler.mails}) == 1)
            expected = "odbijeno" if state == "odbijeno" else "poslano"
            expect(what + " in the end", states()[-1] == expected and
                   len(handler.mails) == (received + 1 if state == "nepoznato" else expected == "poslano"),
                   f"{states()[-1]} {len(handler.mails)} {result.stderr}")
    sendings = mox("query", "Posta", "--part", "adsSlanja").stdout
    again = sum(state in ("ceka", "nepoznato") for _, _, state, _ in STEPS)
    expect("journal", sendings.count("\n") == 3 + len(STEPS) + again and "550 no such user" in sendings, sendings)
    forget()


def check_tls(right, wrong):
    cases = [("smtps right", {"tls": right}, "right", True), ("smtps unknown", {"tls": right}, "wrong", False),
             ("smtps other host", {"tls": wrong}, "wrong", False), ("starttls right", {"starttls": right}, "right", True),
             ("starttls unknown", {"starttls": right}, "wrong", False),
             ("starttls other host", {"starttls": wrong}, "wrong", False)]
    for what, named, ini, sent in cases:
        handler = Handler()
        with Server(handler, **named) as server:
            account(server.address)
            result = mox("mail", "1", "--to", what.replace(" ", "-") + "@primjer.hr", "--ini", ini + ".ini")
            expect(what, (result.returncode == 0) == sent and len(handler.mails) == int(sent) and
                   states()[-1] == ("poslano" if sent else "ceka"), result.stderr)
    forget()


# Killed at any moment: no mail is lost, and a second copy comes only where it was told and agreed to.
def check_kills(handler):
    handler.delay = 0.02
    count = int(os.environ.get("MOX_MAILS", "12"))
    chance = random.Random(1)
    begin = time.monotonic()
    mox("mail", "1", "--to", "m@primjer.hr")
    whole = time.monotonic() - begin
    programs = 0
    while len(states()) < count:  # one that is killed early has not asked for any
        program = subprocess.Popen([MOX, "mail", "1", "--to", f"m{programs}@primjer.hr", "--db", "t.db"],
                                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        programs += 1
        time.sleep(chance.uniform(0, 1.3 * whole))
        program.kill()
        program.wait()
    time.sleep(0.2)
    mox("mail", "--send")
    with sqlite3.connect("t.db") as database:
        unknown = {row[0] for row in database.execute("SELECT kome FROM posta WHERE stanje IN ('salje', 'nepoznato')")}
        asked = [row[0] for row in database.execute("SELECT kome FROM posta")]
    mox("mail", "--send", "--yes")
    received = [to[0] for to, _ in handler.mails]
    expect("none lost", set(asked) <= set(received), set(asked) - set(received))
    twice = {to for to in received if received.count(to) > 1}
    expect("twice only where asked", twice <= unknown, twice - unknown)
    expect("all sent", set(states()) <= {"poslano"}, states())
    print(f"{programs} programs killed, {len(asked)} mails asked for, {len(unknown)} unknown, {len(twice)} twice")


def check_secrets(address):
    result = mox("mail", "--account", address.replace("//", "//ana:tajna-u-adresi@"), "--user", "ana", "--password", "-",
                 stdin="tajna-lozinka\n")
    expect("password set", result.returncode == 0, result.stderr)
    shown = [mox("query", "PostaRacun"), mox("mail", "--outbox"), mox("company", "show"), mox("query", "DnevnikUpisa")]
    text = "".join(result.stdout + result.stderr for result in shown)
    expect("shown without its secret", "ana" in text and "tajna" not in text, text)


def main():
    with tempfile.TemporaryDirectory() as folder:
        os.chdir(folder)
        prepare()
        handler = Handler()
        with Server(handler) as server:
            result = mox("mail", "1", "--to", "a@b.hr")
            expect("no account", result.returncode == 1 and "no account of mails" in result.stderr and states() == ["ceka"],
                   result.stderr)
            account("smtp://127.0.0.1:1")
            result = mox("mail", "1", "--to", "a@b.hr")
            expect("no server", result.returncode == 1 and states() == ["ceka"], result.stderr)
            forget()
            account(server.address)
            check_contents(handler)
            forget()
            check_kills(handler)
            right, wrong = certificate("right", "IP:127.0.0.1"), certificate("wrong", "IP:127.0.0.2")
            check_tls(right, wrong)
            check_steps(right)
            check_secrets(server.address)
        os.chdir("/")
    return 1 if FAULTS else 0


if __name__ == "__main__":
    sys.exit(main())
