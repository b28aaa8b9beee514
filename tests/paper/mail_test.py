#!/usr/bin/env python3
"""Mails against a real server on this computer: mail_test.py MOX [--steps | --postgresql | --server MOXD DIRECTORY_TOOL].

It answers, refuses, is silent, breaks off at every step, has a right, a wrong and no certificate; the programs that send
run at once and are killed. MOX_MAILS says how many mails are asked for meanwhile. With --steps it is the certificates and the
steps of a sending alone, without any of the options all but these. With --postgresql the company is in the
server of databases whose folder stands in the file that MOX_TEST_POSTGRESQL names, with --server behind an application
server.
"""

import asyncio
import collections
import concurrent.futures
import contextlib
import csv
import email
import email.policy
import json
import logging
import os
import random
import re
import socket
import sqlite3
import ssl
import subprocess
import sys
import tempfile
import threading
import time
from pathlib import Path

from aiosmtpd.smtp import SMTP, AuthResult

sys.path.append(str(Path(__file__).resolve().parent.parent / "moxd"))

MOX, *HOW = sys.argv[1:]
COMPANY = ["--db", "t.db"]
MAILS = int(os.environ.get("MOX_MAILS", "12"))
FAULTS = []
logging.disable(logging.CRITICAL)  # of broken connections


def expect(what, holds, detail=""):
    if not holds:
        FAULTS.append(what)
        print(f"FAILED {what}: {str(detail)[-400:]}")


class Handler:
    """Does at the named step what `how` says: an answer, "break" or "silent"."""

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
        if (self.step, self.how) == ("END", "silent"):
            await asyncio.sleep(3600)  # until the program has given up
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


def command(*words):
    ini = [] if "--ini" in words or not Path("right.ini").exists() else ["--ini", "right.ini"]
    return [MOX, *words, *ini, *COMPANY]


def mox(*words, stdin=None):  # for a program that sends all of them, too
    return subprocess.run(command(*words), capture_output=True, text=True, input=stdin, timeout=60 + 5 * MAILS)


def at_once(count, *words):
    programs = [subprocess.Popen(command(*words), stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
                for _ in range(count)]
    return [(program.communicate()[1], program.returncode) for program in programs]


FORGOTTEN = set()


def mails():
    if COMPANY[1].startswith("postgresql"):
        rows = csv.DictReader(mox("query", "Posta", "--part", "adsPosta").stdout.splitlines())
        rows = [{name.split(":")[0]: value for name, value in row.items()} for row in rows]
    else:  # many a look at them, without a program for each
        with contextlib.closing(sqlite3.connect("t.db")) as database:
            rows = [{"id": str(key), "kome": to, "stanje": state}
                    for key, to, state in database.execute("SELECT id, kome, stanje FROM posta ORDER BY id")]
    return [row for row in rows if row["id"] not in FORGOTTEN]


def states():
    return [row["stanje"] for row in mails()]


# What is asked for ends with the status, and says so; the mails are in these states then, and the handler has so many.
def ask(what, *words, status=0, says="", left=None, received=None, stdin=None):
    result = mox("mail", *words, stdin=stdin)
    expect(what, result.returncode == status and says in result.stderr, result.stderr)
    expect(what + ", states", left is None or states() == left, result.stderr)
    expect(what + ", received", received is None or len(received[0].mails) == received[1], result.stderr)
    return result


# What waits is withdrawn, so that nothing of it goes out later.
def forget():
    for mail in mails():
        FORGOTTEN.add(mail["id"])
        if mail["stanje"] == "ceka":
            ask("withdrawn", "--withdraw", mail["id"], says="is withdrawn")


def account(url, *words, stdin=None):
    ask("account", "--account", url, "--sender", "racuni@zito.hr", *words, stdin=stdin)


def prepare(stack):
    address = "t.db"
    if "--postgresql" in HOW:
        folder = Path(os.environ["MOX_TEST_POSTGRESQL"]).read_text().strip()
        address = COMPANY[1] = f"postgresql://postgres@/postgres?host={folder}&company=posta_{os.getpid()}"
    subprocess.run([MOX, "db", "init", address, "--demo"], check=True, capture_output=True)
    if "--server" in HOW:
        os.environ["XDG_STATE_HOME"] = os.getcwd()
        from running_server import PASSWORD, Server as CompanyServer
        server = CompanyServer(HOW[1], HOW[2], os.getcwd(), {"posta": os.path.abspath(address)})
        COMPANY[:] = ["--server", server.address("posta")]
        stack.callback(server.end)
        subprocess.run([MOX, "login", server.address(), "--user", "ana", "--ca", "certificate.pem"], input=PASSWORD + "\n",
                       text=True, check=True, capture_output=True)
    Path("u.csv").write_text("naziv,kolicina,pc,rbp1,tbr_stp\nRad čašćenja,2,10,5,25\n")
    invoice()


def invoice():
    result = mox("document", "racun-usluga", "u.csv", "--store", "--header", "datum=2024-03-01", "--header", "partner=1")
    assert result.returncode == 0, result.stderr
    return re.search(r"\(id (\d+)\)", result.stdout + result.stderr)[1]


def certificate(name, host):
    subprocess.run(["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes", "-days", "2", "-keyout", f"{name}.key", "-out",
                    f"{name}.pem", "-subj", f"/CN={host}", "-addext", f"subjectAltName={host}"], check=True,
                   capture_output=True)
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
    context.load_cert_chain(f"{name}.pem", f"{name}.key")
    Path(f"{name}.ini").write_text(f"[GENERAL]\nCA_FILE={name}.pem\nTIMEOUT=3\n")
    return context


def check_contents(handler):
    with sqlite3.connect("t.db") as database:
        database.execute("UPDATE par SET naziv = ? WHERE id = 1", ("Zli kupac\r\nBcc: napad@x.hr",))
        database.commit()
    Path("p.txt").write_text("[posta]\npredmet = Račun {broj}\\nBcc: napad@y.hr\\n\\n za {kupac}\n")
    ask("sent", "1", "--to", "kupac@primjer.hr", "--template", "p.txt", left=["poslano"])
    to, content = handler.mails.pop()
    message = email.message_from_bytes(content, policy=email.policy.default)
    expect("one receiver", to == ["kupac@primjer.hr"] and message["Bcc"] is None and message["To"] == "kupac@primjer.hr", to)
    expect("subject", message["Subject"] == "Račun 1/2024 Bcc: napad@y.hr   za Zli kupac\\x0D\\nBcc: napad@x.hr", message["Subject"])
    expect("sender", message["From"] == '"Demo poduzeće d.o.o." <racuni@zito.hr>', message["From"])
    body = message.get_body().get_content()
    expect("text", "Račun usluga 1/2024" in body and "23,75 EUR" in body and "Demo poduzeće" in body, body)
    parts = list(message.iter_attachments())
    expect("attachment", [part.get_content_type() for part in parts] == ["application/pdf"], parts)
    text = page_of(content)
    expect("page", "Rad čašćenja" in text and "23,75" in text, text)
    with sqlite3.connect("t.db") as database:
        database.execute("INSERT INTO eracun_veze (dok_id, electronic_id) VALUES (1, 7)")
    # A second one only where the user has agreed, and the e-invoice with it, without the account.
    ask("again", "1", "--to", "kupac@primjer.hr", status=1, says="was sent already", received=(handler, 0))
    ask("agreed", "1", "--to", "kupac@primjer.hr", "--yes", received=(handler, 1))
    message = email.message_from_bytes(handler.mails.pop()[1], policy=email.policy.default)
    page, invoice = message.iter_attachments()
    expect("names", (page.get_filename(), invoice.get_filename()) == ("racun-usluga-1-2024.pdf", "racun-usluga-1-2024.json"))
    invoice = json.loads(invoice.get_content())
    expect("e-invoice", "prijava" not in invoice and "23.75" in str(invoice), invoice)
    for address in ("a@b.hr\r\nBcc: c@d.hr", "a@b.hr,c@d.hr", "Ana <a@b.hr>", "a b@c.hr", "a@", "@b.hr", "č@b.hr", "a..b@c.hr",
                    "a@b.hr\n.\nMAIL FROM:<x@y.hr>"):
        ask(f"address {address!r}", "1", "--to", address, status=2, says="is no address")
    expect("nothing sent", not handler.mails and states() == ["poslano"], states())
    forget()


# At which step, what the server does, what becomes of the mail, and whether the receiver has it.
STEPS = [("CONNECT", "break", "ceka", 0), ("EHLO", "break", "ceka", 0), ("EHLO", "554 not from here", "ceka", 0),
         ("STARTTLS", "break", "ceka", 0), ("AUTH", "break", "ceka", 0), ("MAIL", "break", "ceka", 0),
         ("MAIL", "552 too much", "odbijeno", 0), ("MAIL", "530 who are you", "ceka", 0), ("RCPT", "break", "ceka", 0),
         ("RCPT", "550 no such user", "odbijeno", 0), ("RCPT", "451 later", "ceka", 0), ("DATA", "break", "ceka", 0),
         ("TEXT", "break", "nepoznato", 0), ("END", "break", "nepoznato", 1), ("END", "554 no", "odbijeno", 0),
         ("END", "451 later", "ceka", 0), ("END", "silent", "nepoznato", 0), ("QUIT", "break", "poslano", 1)]


def check_steps(context):
    handler, first = Handler(), []
    before = mox("query", "Posta", "--part", "adsSlanja").stdout.count("\n")
    with Server(handler, starttls=context, login=True) as server:
        account(server.address, "--user", "ana", "--password", "-", stdin="kriva-lozinka\n")
        ask("wrong password", "1", "--to", "k@primjer.hr", status=1, received=(handler, 0))
        expect("waits", states()[-1] == "ceka", states())
        account(server.address, "--password", "-", stdin="tajna-lozinka\n")
        ask("right password", "--send", received=(handler, 1))
        for number, (step, how, state, received) in enumerate(STEPS):
            what = f"{step} {how}"
            handler.step, handler.how, handler.mails = step, how, []
            ask(what, "1", "--to", f"k{number}@primjer.hr", status=int(state != "poslano"), received=(handler, received),
                says="no answer within 3 seconds" if how == "silent" else "")
            expect(what, states()[-1] == state, states()[-1])
            first += handler.mails
        # What waits goes out, what is in doubt is asked about and goes out on a yes.
        doubtful = sum(state == "nepoznato" for _, _, state, _ in STEPS)
        handler.step, handler.mails = "", first
        result = mox("mail", "--send")
        expect("asks", result.returncode == 1 and result.stderr.count("no answer tells; --yes") == doubtful, result.stderr)
        copies = collections.Counter(to[0] for to, _ in handler.mails)
        expect("waits for a yes", all(copies[f"k{number}@primjer.hr"] == received + (state == "ceka")
                                      for number, (_, _, state, received) in enumerate(STEPS)), copies)
        ask("agreed", "--send", "--yes")
        names = collections.defaultdict(list)
        for to, mail in handler.mails:
            names[to[0]].append(re.search(b"Message-ID: (.*)", mail).group(1))
        for number, (step, how, state, received) in enumerate(STEPS):
            of_mail = names[f"k{number}@primjer.hr"]
            expect(f"{step} {how} in the end", len(of_mail) == received + (state in ("ceka", "nepoznato")) and len(set(of_mail)) < 2 and
                   mails()[number - len(STEPS)]["stanje"] == ("odbijeno" if state == "odbijeno" else "poslano"), of_mail)
    sendings = mox("query", "Posta", "--part", "adsSlanja").stdout
    again = sum(state in ("ceka", "nepoznato") for _, _, state, _ in STEPS)
    expect("journal", sendings.count("\n") == before + 2 + len(STEPS) + again and "550 no such user" in sendings, sendings)
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
            ask(what, "1", "--to", what.replace(" ", "-") + "@primjer.hr", "--ini", ini + ".ini", status=int(not sent),
                received=(handler, int(sent)))
            expect(what, states()[-1] == ("poslano" if sent else "ceka"))
    forget()


# A server that takes the connection and says nothing.
def check_silence():
    with socket.create_server(("127.0.0.1", 0)) as silent:
        account(f"smtp://127.0.0.1:{silent.getsockname()[1]}")
        ask("silent server", "1", "--to", "tiho@primjer.hr", status=1, says="no answer within", left=["ceka"])
    forget()


# One mail goes to an address, and each mail goes once, however many programs are asked for it at the same time.
def check_at_once(handler):
    handler.delay, handler.mails = 0.3, []
    told = at_once(4, "mail", "1", "--to", "Jednom@primjer.hr")
    expect("one mail", states() == ["poslano"] and len(handler.mails) == 1, (states(), told))
    expect("the others told", sorted(status for _, status in told) == [0, 1, 1, 1] and
           all("mail " in text and "Posta" not in text for text, _ in told), told)
    ask("one for all letters", "1", "--to", "jednom@PRIMJER.hr", status=1, says="was sent already", left=["poslano"])
    handler.step, handler.how, handler.mails = "RCPT", "451 later", []
    for number in range(5):
        mox("mail", "1", "--to", f"w{number}@primjer.hr")
    handler.step = ""
    told = at_once(3, "mail", "--send")
    expect("each once", sorted(to[0] for to, _ in handler.mails) == [f"w{number}@primjer.hr" for number in range(5)] and
           set(states()) == {"poslano"} and all("Posta" not in text for text, _ in told), (states(), told))
    forget()


# What waits or is in doubt can be ended by hand, and who did it is journalled.
def check_settled(handler):
    handler.delay, handler.step, handler.how, handler.mails = 0, "END", "break", []
    for to in ("a@primjer.hr", "b@primjer.hr"):
        mox("mail", "1", "--to", to)
    handler.step, handler.how = "RCPT", "451 later"
    mox("mail", "1", "--to", "c@primjer.hr")
    handler.step = ""
    a, b, c = (mail["id"] for mail in mails())
    for words, told in ((("--withdraw", a), "is withdrawn, though it may have been sent"), (("--was-sent", b), "is noted as sent"),
                        (("--withdraw", c), "is withdrawn")):
        ask(f"settled {words}", *words, says=told)
    received = len(handler.mails)
    for words in (("--withdraw", b), ("--was-sent", c), ("--withdraw", "12345"), ("--withdraw", ""), ("--was-sent", "x")):
        result = mox("mail", *words)
        expect(f"refused {words}", result.returncode in (1, 2) and result.stderr.count("\n") == 1, result.stderr)
    ask("nothing left", "--send", left=["odbijeno", "poslano", "odbijeno"], received=(handler, received))
    sendings = mox("query", "Posta", "--part", "adsSlanja").stdout
    expect("settling journalled", sendings.count("povučeno") >= 2 and "potvrđeno da je poslano" in sendings, sendings)
    ask("a new one", "1", "--to", "c@primjer.hr", left=["odbijeno", "poslano", "odbijeno", "poslano"])
    forget()


def page_of(content):
    part = next(email.message_from_bytes(content, policy=email.policy.default).iter_attachments())
    Path("m.pdf").write_bytes(part.get_content())
    return subprocess.run(["pdftotext", "-layout", "m.pdf", "-"], capture_output=True, text=True, check=True).stdout


# A mail that waits keeps the template that it was asked for with, and does not go silently when its document was cancelled.
def check_waiting(handler):
    number = invoice()
    handler.delay, handler.mails = 0, []
    handler.step, handler.how = "RCPT", "451 later"
    Path("poseban.txt").write_text("[naslovi]\nracun-usluga = Poseban račun\n[placanje]\nvirman = nema ga\n")
    mox("mail", number, "--to", "predlozak@primjer.hr", "--template", "poseban.txt")
    os.remove("poseban.txt")
    mox("mail", number, "--to", "storno@primjer.hr")
    cancelled = mox("document", "storno", number, "--header", "datum=2024-03-02")
    handler.step = ""
    result = ask("cancelled is told", "--send", status=1, left=["ceka", "ceka"], received=(handler, 0))
    expect("each is told", result.stderr.count("was cancelled by document") >= 2, (cancelled.stderr, result.stderr))
    ask("agreed", number, "--to", "predlozak@primjer.hr", "--yes")
    page = page_of(handler.mails[0][1])
    expect("as asked for", "Poseban račun 2/2024" in page and "STORNIRANO" in page, page)
    # Without one it keeps the one that holds, whatever sends it.
    handler.mails, handler.step = [], "RCPT"
    mox("mail", "1", "--to", "bez@primjer.hr")
    handler.step = ""
    Path("poseban.txt").write_text("[naslovi]\nracun-usluga = Poseban račun\n")
    other = ("1", "--to", "bez@primjer.hr", "--template", "poseban.txt")
    result = ask("other template is told", *other, status=1, received=(handler, 0),
                 says="with the template that it was asked for with first")
    expect("withdrawing is told", "--withdraw" in result.stderr, result.stderr)
    ask("kept", *other, "--yes")
    expect("page is kept", "Račun usluga 1/2024" in page_of(handler.mails[0][1]))
    result = ask("sent with another", *other, status=1, says="no other mail", received=(handler, 1))
    expect("nothing to be withdrawn", "--withdraw" not in result.stderr, result.stderr)
    expect("agreeing journalled", ",stornirano" in mox("query", "Posta", "--part", "adsSlanja").stdout)
    forget()
    slip = ("1", "--to", "upozorenje@primjer.hr", "--template", "virman.txt")
    ask("no template", *slip, status=1, says="virman.txt", left=[])
    Path("virman.txt").write_text("[placanje]\nvirman = nema ga\n")
    ask("warned", *slip, says='document 1: no payment code: there is no payment slip "nema ga"')
    forget()


# Killed at any moment: no mail is lost, and a second copy comes only where it was told and agreed to.
def check_kills(handler):
    handler.delay, handler.mails = 0.02, []
    chance = random.Random(1)
    begin = time.monotonic()
    mox("mail", "1", "--to", "m@primjer.hr")
    whole = time.monotonic() - begin

    def killed(number):
        program = subprocess.Popen(command("mail", "1", "--to", f"m{number}@primjer.hr"), stdout=subprocess.DEVNULL,
                                   stderr=subprocess.DEVNULL)
        time.sleep(moments[number])
        program.kill()
        program.wait()

    programs, moments = 0, []
    with concurrent.futures.ThreadPoolExecutor(2) as pool:
        while (missing := MAILS - len(states())) > 0:  # one that is killed early has not asked for any
            moments += [chance.uniform(0, 1.6 * whole) for _ in range(missing)]
            list(pool.map(killed, range(programs, programs + missing)))
            programs += missing
    time.sleep(0.2)
    mox("mail", "--send")
    unknown = {mail["kome"] for mail in mails() if mail["stanje"] in ("salje", "nepoznato")}
    mox("mail", "--send", "--yes")
    asked = [mail["kome"] for mail in mails()]
    received = [to[0] for to, _ in handler.mails]
    expect("none lost", set(asked) <= set(received), set(asked) - set(received))
    twice = {to for to in received if received.count(to) > 1}
    expect("twice only where asked", twice <= unknown, twice - unknown)
    expect("all sent", set(states()) <= {"poslano"}, states())
    print(f"{programs} programs killed, {len(asked)} mails asked for, {len(unknown)} unknown, {len(twice)} twice")
    forget()


def check_secrets(address):
    ask("password set", "--account", address.replace("//", "//ana:tajna-u-adresi@"), "--user", "ana", "--password", "-",
        stdin="tajna-lozinka\n")
    shown = [mox("query", "PostaRacun"), mox("mail", "--outbox"), mox("company", "show"), mox("query", "DnevnikUpisa")]
    text = "".join(result.stdout + result.stderr for result in shown)
    expect("shown without its secret", "ana" in text and "tajna" not in text, text)


# What cannot be a server of mails or an address is no account.
def check_account():
    for words in (("--account", "ftp://posta.hr"), ("--account", "smtp://"), ("--account", "smtps://posta.hr:0"),
                  ("--account", "smtp://a b.hr"), ("--account", "smtp://u:p@127.0.0.1@zlo.hr"), ("--account", "smtp://127.0.0.1/@zlo.hr"),
                  ("--account", "smtp://127.0.0.1?@zlo.hr"), ("--account", "smtp://u\\@zlo.hr"), ("--account", ""), ("--sender", "Ana <a@b.hr>"), ("--sender", ""), ("1", "--to=")):
        result = ask(f"account {words}", *words, status=2)
        expect(f"account {words} on a line", result.stderr.count("\n") == 1, result.stderr)


# With the company behind a server the page is that of its database.
def check_same_page():
    if "--server" not in HOW:
        return
    for how, end in (("--pdf", "pdf"), ("--slip", "bin")):
        pages = []
        for where in (COMPANY, ["--db", "t.db"]):
            name = f"stranica{len(pages)}.{end}"
            result = subprocess.run([MOX, "print", "1", how, name, *where], capture_output=True, text=True)
            expect(f"printed {where}", result.returncode == 0, result.stderr)
            pages.append(Path(name).read_bytes())
        expect("the same page", pages[0] == pages[1] and len(pages[0]) > 1000)
    texts = [subprocess.run([MOX, "print", "1", "--text", *where], capture_output=True).stdout
             for where in (COMPANY, ["--db", "t.db"])]
    expect("the same text", texts[0] == texts[1] and len(texts[0]) > 100)


def check_unsent():
    ask("no account", "1", "--to", "a@b.hr", status=1, says="no account of mails", left=["ceka"])
    account("smtp://127.0.0.1:1")
    ask("no server", "1", "--to", "a@b.hr", status=1, left=["ceka"])
    forget()


def check_outbox():
    handler = Handler()
    with Server(handler) as server:
        check_unsent()
        account(server.address)
        if not HOW:
            check_contents(handler)
        check_at_once(handler)
        check_settled(handler)
        check_waiting(handler)
        check_same_page()
        check_kills(handler)
        Path("right.ini").write_text("[GENERAL]\nTIMEOUT=3\n")
        check_silence()
        if not HOW:
            check_account()
        check_secrets(server.address)


def main():
    with tempfile.TemporaryDirectory() as folder, contextlib.ExitStack() as stack:
        os.chdir(folder)
        prepare(stack)
        if "--steps" in HOW:
            right, wrong = certificate("right", "IP:127.0.0.1"), certificate("wrong", "IP:127.0.0.2")
            check_tls(right, wrong)
            check_steps(right)
        else:
            check_outbox()
        os.chdir("/")
    return 1 if FAULTS else 0


if __name__ == "__main__":
    sys.exit(main())
