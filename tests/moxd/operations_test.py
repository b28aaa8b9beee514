#!/usr/bin/env python3
"""How the server is set up, watched, loaded, ended and started again: operations_test.py MOX MOXD DIRECTORY_TOOL"""
import contextlib
import json
import os
import pathlib
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time
import unittest

from running_server import code_of, link, links_stored, make_certificate, values_of
from server_case import MOXD, READ, ServerTest, WRITE


def make_expired(folder):
    """Puts a certificate of the same key that ended long ago in the place of the one that is there."""
    (folder / "ca.cnf").write_text("[ca]\ndefault_ca=a\n[a]\ndatabase=index\nnew_certs_dir=.\nrand_serial=yes\npolicy=p\n"
                                   "default_md=sha256\n[p]\ncommonName=supplied\n")
    (folder / "index").write_text("")
    for words in (("req", "-new", "-key", "key.pem", "-subj", "/CN=old", "-out", "old.csr"),
                  ("ca", "-batch", "-selfsign", "-config", "ca.cnf", "-keyfile", "key.pem", "-in", "old.csr", "-out", "certificate.pem",
                   "-startdate", "20200101000000Z", "-enddate", "20200102000000Z")):
        subprocess.run(["openssl", *words], cwd=folder, check=True, capture_output=True)


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


class SilentDatabase(ServerTest):
    settings = "workers = 4\n"

    def test_holds_up_one_worker_and_nobody_else(self):
        with socket.create_server(("127.0.0.1", 0), backlog=64) as silent:
            for words in (("company", "add", "tiha", f"postgresql://mox@127.0.0.1:{silent.getsockname()[1]}/x?company=tiha"),
                          ("grant", "ana", "tiha", "citanje")):
                subprocess.run([MOXD, *words, "--config", self.folder / "moxd.ini"], check=True)
            waits = [self.later("/v1/tiha/service/GetSkladista", token=self.token) for _ in range(12)]
            begin = time.monotonic()
            for _ in range(5):
                self.assertEqual(self.server.ask(READ, token=self.token)[0], 200)
            self.assertLess(time.monotonic() - begin, 1)
            # All but the one who waits for it know already.
            self.until("moxd_workers_busy", 1)
            begin = time.monotonic()
            refused = self.server.ask("/v1/tiha/service/GetSkladista", token=self.token)
            self.assertLess(time.monotonic() - begin, 0.2)
            self.assertEqual((*code_of(refused), refused[1]["retry-after"]), (503, "database_unavailable", "2"))
            silent.shutdown(socket.SHUT_RDWR)
        self.assertEqual({code_of(wait()) for wait in waits}, {(503, "database_unavailable")})


class Databases(ServerTest):
    settings = "workers = 2\n[limits]\ndatabases = 2\n[seconds]\ndatabase = 1\n"

    def add(self, count):
        lines = []
        for number in range(count):
            shutil.copy(self.folder / "tuda.db", self.folder / f"c{number}.db")
            lines.append(f"c{number} = {self.folder}/c{number}.db\n")
        (self.folder / "companies").write_text("".join(lines))
        for words in (["company", "load", self.folder / "companies"], *(["grant", "ana", f"c{number}", "citanje"] for number in range(count))):
            subprocess.run([MOXD, *words, "--config", self.folder / "moxd.ini"], check=True, capture_output=True)
        return [f"/v1/c{number}/service/GetSkladista" for number in range(count)]

    def test_those_not_used_for_long_are_closed(self):
        services = self.add(3)
        for wait in [self.later(service, token=self.token) for service in services * 4]:
            self.assertEqual(wait()[0], 200)
        self.assertLessEqual(values_of(self.server.operation("/metrics")[2].decode())["moxd_databases_open"], 2)
        self.until("moxd_databases_open", 0)
        self.assertEqual(self.server.ask(services[0], token=self.token)[0], 200)

    def test_those_not_used_make_room_for_others(self):
        services = self.add(24)
        self.server.end()
        self.server.extra = "workers = 2\n"
        few = ["bash", "-c", 'ulimit -n 80; exec "$@"', "bash"]
        self.server.start(*few)
        for round in range(2):
            for service in services:
                self.assertEqual(code_of(self.server.ask(service, token=self.token)), (200, ""), "".join(self.server.log))
            with contextlib.ExitStack() as clients:
                for _ in range(100):
                    clients.enter_context(socket.create_connection(("127.0.0.1", self.server.port), 30))
        checked = subprocess.run([*few, MOXD, "check", "--config", self.folder / "moxd.ini"], capture_output=True, text=True, check=False)
        self.assertEqual(checked.returncode, 0, checked.stderr)
        for said in (checked.stderr, "".join(self.server.log)):
            self.assertRegex(said, "come to 4[0-9]{3} open files, and the system lets this user have 80 ")


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

    def read_certificate_again(self, told):
        self.server.process.send_signal(signal.SIGHUP)
        for _ in range(500):
            if any('"certificate"' in line and told in line for line in self.server.log):
                return
            time.sleep(0.02)
        self.fail("".join(self.server.log))

    def test_reads_its_certificate_again(self):
        with self.server.connect() as before:
            make_certificate(self.folder, "two")
            self.read_certificate_again("read again")
            good = self.folder / "good.pem"
            shutil.copy(self.folder / "certificate.pem", good)
            make_expired(self.folder)
            self.read_certificate_again("has expired")
            good.replace(self.folder / "certificate.pem")
            with self.server.connect() as after:
                self.assertEqual(after.getpeercert()["subject"], ((("commonName", "two"),),))
            self.assertEqual(self.server.ask(READ, token=self.token, connection=before)[0], 200)
        make_expired(self.folder)
        check = [MOXD, "check", "--config", self.folder / "moxd.ini"]
        for words in (check, check[:1] + check[2:]):
            done = subprocess.run(words, capture_output=True, text=True, check=False)
            self.assertEqual((done.returncode, done.stderr),
                             (1, f"moxd: {self.folder}/certificate.pem: has expired\n"))

    def test_asks_the_directory_that_is_there(self):
        directory = self.folder / "directory.db"
        self.assertEqual(self.server.ask(READ, token=self.token)[0], 200)
        for name in self.folder.glob("directory.db*"):
            name.rename(self.folder / ("old-" + name.name))
        for expected in ((503, "database_unavailable"), (401, "not_logged_in")):
            answer = self.server.ask(READ, token=self.token)
            self.assertEqual(code_of(answer), expected)
            if expected[0] == 503:
                self.assertIn(b"the directory", answer[2])
                subprocess.run([MOXD, "init", "--config", self.folder / "moxd.ini"], check=True, capture_output=True)
        self.server.end()
        # What is none does not become one while the server runs.
        for wrong, said in ((self.company, "is not a directory of companies"), (None, "there is no such directory of companies")):
            for name in self.folder.glob("directory.db*"):
                name.unlink()
            if wrong:
                shutil.copy(wrong, directory)
            for words in ([], ["check"]):
                done = subprocess.run([MOXD, *words, "--config", self.folder / "moxd.ini"], capture_output=True, text=True, check=False,
                                      timeout=60)
                self.assertEqual((done.returncode, done.stderr.count("\n")), (1, 1), done.stderr)
                self.assertIn(f"{directory}: {said}", done.stderr)

    def test_tells_that_its_address_is_taken(self):
        text = (self.folder / "moxd.ini").read_text().replace("127.0.0.1:0\ncert", f"127.0.0.1:{self.server.operations}\ncert", 1)
        (self.folder / "moxd.ini").write_text(text)
        done = subprocess.run([MOXD, "--config", self.folder / "moxd.ini"], capture_output=True, text=True, check=False, timeout=60)
        self.assertEqual((done.returncode, done.stderr),
                         (1, f"moxd: it is not possible to listen at 127.0.0.1:{self.server.operations}: Address already in use\n"))


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

    def test_tells_addresses_and_limits_that_do_not_do(self):
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder, "moxd.ini")
            server = "[server]\ncertificate = c\nkey = k\ndirectory = d\n"
            for settings, said in (("listen = 999.1.1.1:80\n", "is not an address and port"),
                                   ("listen = 127.0.0.1:65536\n", "is not an address and port"),
                                   ("listen = [127.0.0.1]:80\n", "is not an address and port"),
                                   ("operations = 127.0.0.1.:9443\n", "is not a loopback address"),
                                   ("listen = 127.0.0.1:9443\n", "server.operations is where server.listen is"),
                                   ("listen = [::]:9443\n", "server.operations is where server.listen is"),
                                   ("listen = 127.0.0.2:9443\n", ""), ("listen = 127.0.0.1:0\noperations = 127.0.0.1:0\n", ""),
                                   ("listen = 192.0.2.1:8443\n", "listen at 192.0.2.1: Cannot assign requested address"),
                                   ("[limits]\nunpacked = 32 MB\n", "limits.unpacked is less than limits.body"),
                                   ("[limits]\nin_flight = 32 MB\n", "limits.in_flight is less than limits.body"),
                                   ("[accounts]\nidle = 99999\nlongest = 60\n", "accounts.idle is more than accounts.longest"),
                                   ("[accounts]\nlongest = 60\n", "")):
                path.write_text(server + settings)
                done = subprocess.run([MOXD, "check", "--config", path], capture_output=True, text=True, check=False)
                faults = [line for line in done.stderr.splitlines() if f"{folder}/c:" not in line and f"{folder}/d:" not in line]
                with self.subTest(settings=settings):
                    self.assertEqual(len(faults), 1 if said else 0, done.stderr)
                    self.assertIn(said, "".join(faults))


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], *sys.argv[4:]])
