"""A moxd of a test's own: certificate, directory, free ports of this computer; and how to talk to it byte by byte."""
import contextlib
import functools
import json
import pathlib
import re
import signal
import socket
import sqlite3
import ssl
import subprocess
import threading

PASSWORD = "lozinka-za-probu"


def form(*items):
    """The text form of a parameter list of texts."""
    lines = b"".join(b"item %d:%s text %d:%s\n" % (len(n), n, len(v), v) for n, v in
                     ((name.encode(), value if isinstance(value, bytes) else value.encode()) for name, value in items))
    return b"moxpl 1\nitems %d\n%send\n" % (len(items), lines)


NOTHING = form()


def link(number):
    """A write request that stores one row each time."""
    rows = (b"moxrs 1\nname 21:FTransTempVezeDataSet\nfields 5\n"
            b"field 12:parent_table text 100 - 0: 0:\nfield 13:parent_column text 100 - 0: 0:\n"
            b"field 13:parent_doc_id integer 0 - 0: 0:\nfield 9:child_tip text 15 - 0: 0:\nfield 7:user_id text 5 - 0: 0:\n"
            b"records 1\n3:dok 2:id %d 9:got-racun 3:ana\nend\n" % number)
    return form(("UpisParentFieldForVD", form(("FTransTempVezeDataSet", rows))))


def make_certificate(folder, name):
    subprocess.run(["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes", "-days", "2",
                    "-subj", f"/CN={name}", "-addext", "subjectAltName=DNS:localhost,IP:127.0.0.1", "-keyout",
                    folder / "key.pem", "-out", folder / "certificate.pem"], check=True, capture_output=True)


@functools.cache
def trusting(certificate, _changed):
    """What a client needs to believe a server with this certificate; the time tells it from another one of that name."""
    return ssl.create_default_context(cafile=certificate)


class Server:
    """`companies` is by name the file of each, or its address; without any the directory is there already."""

    def __init__(self, moxd, tool, folder, companies, settings="", directory=None):
        self.moxd, self.folder, self.log = moxd, pathlib.Path(folder), []
        make_certificate(self.folder, "one")
        self.directory = directory or self.folder / "directory.db"
        if companies:
            subprocess.run([tool, self.directory, "ana", PASSWORD, "administracija",
                            *(f"{name}={path}" for name, path in companies.items())], check=True)
        self.extra = settings
        self.port, self.process = 0, None
        self.start()

    def start(self, *before, **how):
        """`before` is the command that starts it, where it is not started itself."""
        (self.folder / "moxd.ini").write_text(
            f"[server]\nlisten = 127.0.0.1:{self.port}\noperations = 127.0.0.1:0\ncertificate = certificate.pem\n"
            f"key = key.pem\ndirectory = {self.directory}\n{self.extra}")
        self.process = subprocess.Popen([*before, self.moxd, "--config", self.folder / "moxd.ini"], stderr=subprocess.PIPE, text=True,
                                        **how)
        for line in self.process.stderr:
            self.log.append(line)
            if found := re.search(r'"ready","detail":"port (\d+), operations (\d+)"', line):
                self.port, self.operations = int(found[1]), int(found[2])
                break
        else:
            raise SystemExit("the server does not start: " + "".join(self.log))
        self.reader = threading.Thread(target=lambda stream: self.log.extend(stream), args=(self.process.stderr,))
        self.reader.start()

    def end(self, how=signal.SIGTERM):
        self.process.send_signal(how)
        status = self.process.wait(60)
        self.reader.join()
        self.process.stderr.close()
        return status

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if self.process.poll() is None:
            self.end(signal.SIGKILL)

    def address(self, company=""):
        return f"https://localhost:{self.port}/{company}"

    def connect(self, timeout=30, narrow=False):
        """A narrow connection holds little of what its client does not read."""
        certificate = self.folder / "certificate.pem"
        plain = socket.socket()
        plain.settimeout(timeout)
        if narrow:
            plain.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 8192)
            plain.setsockopt(socket.IPPROTO_TCP, socket.TCP_MAXSEG, 1000)
        plain.connect(("127.0.0.1", self.port))
        return trusting(certificate, certificate.stat().st_mtime_ns).wrap_socket(plain, server_hostname="localhost")

    def ask(self, path, body=NOTHING, token=None, method="POST", connection=None, **headers):
        """Status, headers and body of one request."""
        with contextlib.ExitStack() as stack:
            stream = connection or stack.enter_context(self.connect())
            stream.sendall(head(path, len(body), token, method, **headers) + body)
            return read_answer(stream)

    def log_in(self, user="ana", password=PASSWORD):
        status, _, body = self.ask("/v1/login", form(("user", user), ("password", password)))
        assert status == 200, body
        return re.search(rb"token text \d+:(\S+)", body)[1].decode()

    def operation(self, path):
        with socket.create_connection(("127.0.0.1", self.operations), 30) as stream:
            stream.sendall(f"GET {path} HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n".encode())
            return read_answer(stream)

    def memory(self, what="VmRSS"):
        """Kilobytes that it takes now, or took at most."""
        text = pathlib.Path(f"/proc/{self.process.pid}/status").read_text()
        return int(re.search(what + r":\s+(\d+)", text)[1])


def head(path, length, token=None, method="POST", **headers):
    lines = [f"{method} {path} HTTP/1.1", "Host: localhost", f"Content-Length: {length}"]
    lines += [f"Authorization: Bearer {token}"] if token else []
    lines += [f"{name.replace('_', '-')}: {value}" for name, value in headers.items()]
    return ("\r\n".join(lines) + "\r\n\r\n").encode()


def read_answer(stream):
    text = b""
    while b"\r\n\r\n" not in text:
        if not (piece := stream.recv(65536)):
            return 0, {}, text
        text += piece
    top, _, body = text.partition(b"\r\n\r\n")
    first, *lines = top.decode().split("\r\n")
    body = bytearray(body)
    headers = {name.lower(): value for name, _, value in (line.partition(": ") for line in lines)}
    while len(body) < int(headers.get("content-length", 0)):
        if not (piece := stream.recv(65536)):
            break
        body += piece
    return int(first.split()[1]), headers, bytes(body)


def read_request(stream):
    """All of a request; empty where none comes any more."""
    text = b""
    while b"\r\n\r\n" not in text:
        if not (piece := stream.recv(65536)):
            return b""
        text += piece
    length = int(re.search(rb"content-length: (\d+)", text, re.IGNORECASE)[1])
    missing = text.index(b"\r\n\r\n") + 4 + length - len(text)
    while missing > 0 and (piece := stream.recv(missing)):
        text += piece
        missing -= len(piece)
    return text


def code_of(answer):
    status, _, body = answer
    return status, json.loads(body)["code"] if status >= 400 else ""


def packed(text):
    """The text as one frame of zstd, which names a byte that fills a block once."""
    frame = bytearray(b"\x28\xb5\x2f\xfd\x00\x58")
    for at in range(0, len(text), 2**17):
        block = text[at : at + 2**17]
        same = block.count(block[:1]) == len(block)
        frame += (len(block) << 3 | same << 1 | (at + 2**17 >= len(text))).to_bytes(3, "little")
        frame += block[:1] if same else block
    return bytes(frame)


def values_of(metrics):
    """The values by name and labels, read as strictly as their form lets: a family once, its help and kind before its values, none
    twice; of a histogram the buckets grow up to the count."""
    kinds, values, family = {}, {}, None
    if not metrics.endswith("\n"):
        raise ValueError("the last line has no end")
    for line in metrics.split("\n")[:-1]:
        if found := re.fullmatch(r"# HELP ([a-zA-Z_:][\w:]*) [^\\]+", line):
            family = found[1]
            if family in kinds:
                raise ValueError(f"told twice: {line}")
            kinds[family] = None
        elif found := re.fullmatch(r"# TYPE ([a-zA-Z_:][\w:]*) (counter|gauge|histogram)", line):
            if found[1] != family or kinds[family]:
                raise ValueError(f"out of place: {line}")
            kinds[family] = found[2]
        else:
            found = re.fullmatch(r'(([a-zA-Z_:][\w:]*?)(_bucket|_sum|_count)?(\{(?:[a-zA-Z_]\w*="[^"\\]*",?)+\})?) (\S+)', line)
            is_part = found and kinds.get(family) == "histogram"
            if not found or found[2] + ("" if is_part else found[3] or "") != family or found[1] in values:
                raise ValueError(f"out of place: {line}")
            values[found[1]] = float(found[5])
    for name, count in values.items():
        if found := re.fullmatch(r"(.*)_count\{(.*)\}", name):
            buckets = [(float(bound[1]), value) for other, value in values.items()
                       if (bound := re.fullmatch(re.escape(f'{found[1]}_bucket{{{found[2]},le="') + r'(.*)"\}', other))]
            if buckets != sorted(buckets) or [value for _, value in buckets] != sorted(value for _, value in buckets):
                raise ValueError(f"the buckets of {name} do not grow")
            if buckets[-1] != (float("inf"), count):
                raise ValueError(f"not all are in a bucket: {name}")
    return values


def links_stored(company):
    with contextlib.closing(sqlite3.connect(company)) as database:
        return [row[0] for row in database.execute("SELECT parent_doc_id FROM dok_veze_kasnije ORDER BY id")]
