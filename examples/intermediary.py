#!/usr/bin/env python3
"""An intermediary of e-invoices to try things with: examples/intermediary.py FOLDER

Listens on this computer only. FOLDER/port tells its port, and FOLDER/invoice-N.json is the N-th invoice that it got.
The path of the address chooses the answer: /accept is the usual one, the others are what can go wrong.
"""
import http.server
import json
import pathlib
import sys
import time

TAKEN = {"statusId": "30", "statusName": "Poslan"}
ANSWERS = {  # HTTP status, body, seconds until it comes
    "/accept": (200, {"electronicId": "%d", **TAKEN}, 0),
    "/slow": (200, {"electronicId": "%d", **TAKEN}, 3),
    "/refuse": (400, {"statusCode": 1301, "message": "Neispravan OIB kupca"}, 0),
    "/no-number": (200, {"electronicId": "0", **TAKEN}, 0),
    "/not-delivered": (200, {"electronicId": "%d", "statusId": "50"}, 0),
    "/failure": (500, "Internal Server Error", 0),
    "/damaged": (200, '{"electronicId": "39', 0),
    "/silent": (200, {}, 3),
    "/long": (200, {"electronicId": "%d", **TAKEN, "note": "x" * 10_000_000}, 0),
}


class Intermediary(http.server.BaseHTTPRequestHandler):
    count = 0

    def do_POST(self):
        Intermediary.count += 1
        invoice = self.rfile.read(int(self.headers["Content-Length"]))
        (folder / f"invoice-{self.count}.json").write_bytes(invoice)
        status, body, seconds = ANSWERS.get(self.path, (404, "Not Found", 0))
        time.sleep(seconds)
        text = body if isinstance(body, str) else json.dumps(body).replace("%d", str(394166 + self.count))
        try:
            self.send_response(status)
            self.send_header("Content-Length", str(len(text)))
            self.end_headers()
            self.wfile.write(text.encode())
        except OSError:
            pass  # the other side did not wait for it

    def log_message(self, *_):
        pass


folder = pathlib.Path(sys.argv[1])
server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Intermediary)
(folder / "port").write_text(f"{server.server_port}\n")
server.serve_forever()
