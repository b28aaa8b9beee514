#!/usr/bin/env python3
"""Walks through the window as a screen reader sees it: walk.py PROGRAM MOX. Started within a session bus and under a
display with a window manager; the program's accessibility tree is read and pressed from outside."""

import os
import subprocess
import sys
import tempfile
import time

SKIPPED = 77
PATIENCE = 60  # seconds, for a machine that is busy

try:
    import pyatspi
except ImportError:
    sys.exit(SKIPPED)


def children(node):
    try:
        return [child for child in (node.getChildAtIndex(i) for i in range(min(node.childCount, 200))) if child]
    except Exception:  # a window that is just going away
        return []


def find(node, role, name, depth=14, whole=False):
    if depth == 0:
        return None
    for child in children(node):
        try:
            if child.getRoleName() == role and (child.name == name if whole else name in child.name):
                return child
        except Exception:
            continue
        if (found := find(child, role, name, depth - 1, whole)) is not None:
            return found
    return None


def wait(what, look):
    end = time.monotonic() + PATIENCE
    while time.monotonic() < end:
        if found := look():
            return found
        time.sleep(0.05)
    raise SystemExit(f"walk: waited in vain for {what}")


def program():
    desktop = pyatspi.Registry.getDesktop(0)
    return next((app for app in children(desktop) if app.name in ("mox-desktop", "Mox")), None)


def press(node):
    node.queryAction().doAction(0)


def main(window, mox):
    with tempfile.TemporaryDirectory() as folder:
        company = os.path.join(folder, "firma.db")
        subprocess.run([mox, "db", "init", company, "--demo"], check=True, stdout=subprocess.DEVNULL)
        environment = dict(os.environ, QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1", QT_QPA_PLATFORM="xcb", HOME=folder,
                           XDG_CONFIG_HOME=folder, XDG_STATE_HOME=folder, USER="ana")
        manager = subprocess.Popen(["openbox"], stderr=subprocess.DEVNULL)
        started = subprocess.Popen([window, "--ini", os.path.join(folder, "mox.ini"), company], env=environment)
        try:
            app = wait("the program", program)
            wait("the title", lambda: find(app, "frame", "Demo poduzeće d.o.o."))
            wait("the list of documents", lambda: find(app, "table", "Dokumenti"))
            press(wait("the kinds", lambda: find(app, "menu item", "Predračun", whole=True)))
            lines = wait("the lines", lambda: find(app, "table", "Stavke"))
            headers = [column.name for column in children(lines) if "header" in column.getRoleName()]
            assert "Količina" in headers and "Ukupno" in headers, headers
            wait("a named field", lambda: find(app, "text", "Partner"))
            press(wait("the button", lambda: find(app, "push button", "Pohrani (F9)")))
            wait("the reason", lambda: find(app, "label", "Napomena") or find(app, "label", "Dokument nema stavaka."))
            print("walk: done")
        finally:
            started.terminate()
            started.wait()
            manager.terminate()
            manager.wait()


if __name__ == "__main__":
    main(*sys.argv[1:3])
