#!/usr/bin/env python3
"""The rules of the SQL: each row is a text with the faults that are found in it, and this tree keeps the rules."""

import sys
import tempfile
from pathlib import Path

import sql_rules

KEY, JOIN = "a table has no primary key", "an INSERT ... SELECT joins tables otherwise than on equal columns"
INSERT = "INSERT INTO a (b) SELECT x.b FROM "

CASES = [
    ("a.sql", "CREATE TABLE a (id KEY, b TEXT); -- CREATE TABLE b (c TEXT);\n", []),
    ("a.sql", "CREATE TABLE a (b TEXT NOT NULL);", [KEY]),
    ("a.sql", INSERT + "x JOIN y ON y.id = x.y_id WHERE x.c IN (SELECT c FROM d, e);", []),
    ("a.sql", INSERT + "x JOIN y ON y.id = 7;", [JOIN]),
    ("a.sql", INSERT + "x, y WHERE x.id = y.x_id;", [JOIN]),
    ("a.cpp", 'Run("INSERT INTO a (b) "\n    "SELECT x.b FROM x " + more + "CROSS JOIN y");\n', [JOIN]),
    ("a.cpp", 'Run("SELECT 1 FROM x, y", "INSERT INTO a (b) VALUES (1)");\n', []),
    ("a.cpp", 'const auto sql = R"(\nSELECT b FROM mox_druga.a)";\n', ["mox_druga.a names another schema"]),
]


def faults_of(name, text):
    with tempfile.TemporaryDirectory() as root:
        path = Path(root) / "appserver" / name
        path.parent.mkdir()
        path.write_text(text)
        return [line.split(": ")[1] for line in sql_rules.check(Path(root))]


def main(root):
    failures = [(text, faults_of(name, text), wanted) for name, text, wanted in CASES]
    failures = [failure for failure in failures if failure[1] != failure[2]]
    for text, found, wanted in failures:
        print(f"{text}\nfound {found}\ninstead of {wanted}")
    of_this_tree = sql_rules.check(Path(root))
    print("\n".join(of_this_tree))
    return 1 if failures or of_this_tree else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
