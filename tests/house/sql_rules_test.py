#!/usr/bin/env python3
"""The rules of the SQL: each row is a text with the faults that are found in it, and this tree keeps the rules."""

import sql_rules
from house import expect, faults_of

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


def rules_broken(name, text):
    return [line.split(": ")[1] for line in faults_of(sql_rules.check, {f"appserver/{name}": text})]


if __name__ == "__main__":
    expect([(text, rules_broken(name, text), wanted) for name, text, wanted in CASES], sql_rules.check)
