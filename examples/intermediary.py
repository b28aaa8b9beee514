#!/usr/bin/env python3
"""An intermediary of e-invoices to try things with: examples/intermediary.py FOLDER [CERTIFICATE]

Listens on this computer only. FOLDER/port tells its port, and FOLDER/invoice-N.json is the N-th invoice that it got.
The path of the address chooses the answer: /accept is the usual one, the others are what can go wrong; /number tells
which e-invoice a document has, asked by company, kind, number and year. With a file that holds a certificate
and its key it is asked by https.
"""
import http.server
import json
import pathlib
import ssl
import sys
import threading
import time

TAKEN = {"statusId": "30", "statusName": "Poslan"}
ANSWERS = {  # HTTP status, body, seconds until it comes
    "/accept": (200, {"electronicId": "%d", **TAKEN}, 0),
    "/slow": (200, {"electronicId": "%d", **TAKEN}, 2),
    "/refuse": (400, {"statusCode": 1301, "message": "Neispravan OIB kupca"}, 0),
    "/refuse-with-number": (200, {"statusCode": 5, "message": "ne", "electronicId": "7"}, 0),
    "/no-name": (200, {"": "x", "electronicId": "%d", **TAKEN}, 0),
    **{f"/deep-{n}": (200, '{"electronicId": "%d", "a": ' + "[" * n + "]" * n + "}", 0) for n in (32, 33)},
    **{f"/members-{n}": (200, {"electronicId": "%d", **{f"m{i}": i for i in range(1, n)}}, 0) for n in (1000, 1001)},
    "/odd": (200, '{"electronicId": %d, "electronicid": "9", "note": null, "list": [1, 2]}', 0),
    "/two-names": (200, '{"ELECTRONICID": "9", "electronicId": %d}', 0),
    "/two-others": (200, '{"ELECTRONICID": "9", "electronicid": %d}', 0),
    "/twice": (200, '{"electronicId": "9", "electronicId": %d}', 0),
    "/no-code": (400, {"message": "ne"}, 0),
    **{f"/status-{n}": (n, {"electronicId": "%d", **TAKEN}, 0) for n in (299, 300, 499, 500)},
    **{f"/text-{n}": (200, "x" * n, 0) for n in (300, 301)},
    "/numbers": (200, {"electronicId": "%d", "statusId": "%d"}, 0),
    "/no-number": (200, {"electronicId": "0", **TAKEN}, 0),
    "/not-delivered": (200, {"electronicId": "%d", "statusId": "50"}, 0),
    "/failure": (500, "Internal Server Error", 0),
    "/damaged": (200, '{"electronicId": "39', 0),
    "/silent": (200, {}, 30),
    "/echo": (400, {"statusCode": "%s", "message": "%s"}, 0),
    "/echo-text": (500, "%s", 0),
    "/headers": (400, {"statusCode": 1, "message": "%h"}, 0),
    "/drop": (None, {"electronicId": "%d", **TAKEN}, 0),
    "/long": (200, {"electronicId": "%d", **TAKEN, "note": "x" * 10_000_000}, 0),
}


def document_of(invoice):
    document = json.loads(invoice)
    return document["poduzece"]["oib"], *(document["dokument"][name] for name in ("vrsta", "broj", "godina"))


class Intermediary(http.server.BaseHTTPRequestHandler):
    count = 0
    numbers = {}

    def do_POST(self):
        invoice = self.rfile.read(int(self.headers["Content-Length"]))
        if self.path.partition("?")[0] == "/number":
            number = self.numbers.get(document_of(invoice), 0)
            return self.answer(200, json.dumps({"electronicId": str(number), "asked": self.path}))
        with counting:
            Intermediary.count += 1
            count = self.count
            number = 394166 + count
            status, body, seconds = ANSWERS.get(self.path, (404, "Not Found", 0))
            if "%d" in str(body):
                self.numbers[document_of(invoice)] = number
            (folder / f"invoice-{count}.part").write_bytes(invoice)
            (folder / f"invoice-{count}.part").rename(folder / f"invoice-{count}.json")
        time.sleep(seconds)
        text = (body if isinstance(body, str) else json.dumps(body)).replace("%d", str(number))
        echo = invoice.decode() if isinstance(body, str) else json.dumps(invoice.decode())[1:-1]
        told = " ".join(self.headers[name] for name in ("Content-Type", "Accept", "Idempotency-Key"))
        if status:
            self.answer(status, text.replace("%s", echo).replace("%h", told))

    def answer(self, status, text):
        try:
            self.send_response(status)
            self.send_header("Content-Length", str(len(text.encode())))
            self.end_headers()
            self.wfile.write(text.encode())
        except OSError:
            pass  # the other side did not wait for it

    def log_message(self, *_):
        pass


folder = pathlib.Path(sys.argv[1])
counting = threading.Lock()
server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Intermediary)
if len(sys.argv) > 2:
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
    context.load_cert_chain(sys.argv[2])
    server.socket = context.wrap_socket(server.socket, server_side=True)
(folder / "port").write_text(f"{server.server_port}\n")
server.serve_forever()
