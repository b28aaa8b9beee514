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
    from gi.repository import Atspi
except ImportError:
    sys.exit(SKIPPED)


def children(node):
    try:
        return [child for child in (node.getChildAtIndex(i) for i in range(min(node.childCount, 200))) if child]
    except Exception:  # a window that is just going away
        return []


def find(node, role, name, depth=14, whole=False, showing=False):
    if depth == 0:
        return None
    for child in children(node):
        try:
            is_role = child.getRoleName()
            named = child.name == name if whole else name in child.name
            if is_role == role and named and (not showing or child.getState().contains(pyatspi.STATE_SHOWING)):
                return child
            # Cells are many, and nothing stands in them; in menus stand items alone.
            if is_role == "table" or (is_role == "menu bar" and role != "menu item"):
                continue
        except Exception:
            continue
        if (found := find(child, role, name, depth - 1, whole, showing)) is not None:
            return found
    return None


def wait(what, look):
    end = time.monotonic() + PATIENCE
    while time.monotonic() < end:
        if found := look():
            return found
        time.sleep(0.05)
    raise SystemExit(f"walk: waited in vain for {what}")


def says(app, name, text):
    label = find(app, "label", name, showing=True)
    return label is not None and label.description == text


def program():
    desktop = pyatspi.Registry.getDesktop(0)
    return next((app for app in children(desktop) if app.name in ("mox-desktop", "Mox")), None)


def press(node):
    node.queryAction().doAction(0)


def press_for_dialog(node):
    """The answer comes once the dialog is closed, and is not waited for."""
    Atspi.set_timeout(500, 0)
    try:
        press(node)
    except Exception:
        pass
    Atspi.set_timeout(800, 15000)


# Of each place: the menu and its item, what is there with its role and what it says, the first of it with the keys, and the
# button that closes a dialog.
PLACES = [
    ("Šifarnici", "Jedinice mjere", [("table", "Jedinice mjere"), ("text", "Traži"), ("push button", "Novi redak")], None),
    ("Šifarnici", "Tečajevi", [("table", "Tečajevi"), ("text", "Na dan")], None),
    ("Izvještaji", "Izvještaji", [("table", "Izvještaji"), ("combo box", "Promet po danima"), ("text", "Od datuma"),
                                  ("chart", "Grafikon: Promet po danima")], None),
    ("Tvrtka", "Podaci tvrtke", [("table", "Podaci tvrtke"), ("push button", "Dodaj IBAN")], None),
    ("Tvrtka", "Broj decimala", [("spin button", "Količine"), ("spin button", "Fakturne cijene")], "Odustani"),
    ("Uvoz", "Kontni plan", [("table", "Redci za uvoz"), ("push button", "Provjera i uvoz podataka"), ("label", "Redak", "0/0")],
     "Odustani"),
]


def visit(app, menu, item, there, closes):
    entry = wait(f"the menu {menu}", lambda: find(find(app, "menu bar", "") or app, "menu item", menu, whole=True))
    (press_for_dialog if closes else press)(wait(f"{menu}, {item}", lambda: find(entry, "menu item", item)))
    for role, name, *says in there:
        node = wait(f"{role} {name} at {item}", lambda: find(app, role, name, showing=True))
        if (role, name) == there[0]:
            wait(f"the keys at {item}", lambda: node.getState().contains(pyatspi.STATE_FOCUSED))
        if says:
            wait(f"{name} {says[0]}", lambda: node.description == says[0])
    if closes:
        press_for_dialog(wait(f"{closes} at {item}", lambda: find(app, "push button", closes, whole=True)))
        wait(f"the end of {item}", lambda: find(app, "push button", closes, whole=True) is None)


def main(window, mox):
    with tempfile.TemporaryDirectory() as folder:
        company = os.path.join(folder, "firma.db")
        subprocess.run([mox, "db", "init", company, "--demo"], check=True, stdout=subprocess.DEVNULL)
        environment = dict(os.environ, QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1", QT_QPA_PLATFORM="xcb", HOME=folder,
                           XDG_CONFIG_HOME=folder, XDG_STATE_HOME=folder, USER="ana")
        ready = os.path.join(folder, "ready")
        manager = subprocess.Popen(["openbox", "--startup", f"touch {ready}"], stderr=subprocess.DEVNULL)
        wait("the window manager", lambda: os.path.exists(ready))
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
            wait("the reason", lambda: says(app, "Napomena", "Dokument nema stavaka."))
            wait("the total", lambda: says(app, "Za platiti", "0,00 EUR"))
            for place in PLACES:
                visit(app, *place)
            print("walk: done")
        finally:
            started.terminate()
            started.wait()
            manager.terminate()
            manager.wait()


if __name__ == "__main__":
    main(*sys.argv[1:3])
