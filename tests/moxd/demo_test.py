#!/usr/bin/env python3
"""The demonstration is reached with the commands that it prints, and leaves nothing: demo_test.py MOX MOXD"""
import os
import pathlib
import re
import shlex
import signal
import subprocess
import sys
import tempfile


def main():
    mox, moxd = (os.path.abspath(path) for path in sys.argv[1:3])
    with tempfile.TemporaryDirectory() as folder:
        os.environ.update(TMPDIR=folder, XDG_STATE_HOME=folder + "/state")
        os.mkdir(folder + "/state")
        server = subprocess.Popen([moxd, "--demo"], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        printed = ""
        while "mox logout" not in printed:
            printed += (line := server.stdout.readline())
            if not line:
                raise SystemExit("the server ended: " + printed)
        commands = re.findall(r"^  (mox .*)$", printed, re.M)
        answers = [subprocess.run([mox, *shlex.split(command)[1:]], capture_output=True, text=True, check=False)
                   for command in commands]
        server.send_signal(signal.SIGHUP)  # as by who closes its window
        status = server.wait(60)
        left = [path.name for path in pathlib.Path(folder).iterdir() if path.name.startswith("moxd-demo")]
        for command, answer in zip(commands, answers):
            if answer.returncode != 0:
                raise SystemExit(f"{command}: {answer.stderr}")
        logins = pathlib.Path(folder, "state/mox/logins.json")
        shown = "Demo poduzeće d.o.o." in answers[1].stdout and "Demo kupac d.o.o." in answers[2].stdout
        if not shown or status != 0 or left:
            raise SystemExit(f"status {status}, left {left}, printed {answers[1].stdout + answers[2].stdout}")
        if logins.stat().st_mode & 0o077 or "token" in logins.read_text():
            raise SystemExit("sessions are read by others, or stay after logout")


main()
