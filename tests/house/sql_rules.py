#!/usr/bin/env python3
"""Reads all SQL and says which statement would not run on a cluster that spreads schemas over machines: sql_rules.py [ROOT].

Every table has a primary key, an INSERT ... SELECT joins tables on equal columns alone (never by a comma, CROSS JOIN or a
constant), and no statement names a table of another schema, which would be another company's.
"""

import re

from house import tell

LITERAL = re.compile(r'R"(?P<mark>\w*)\((?P<raw>.*?)\)(?P=mark)"|"(?P<text>(?:\\.|[^"\\\n])*)"', re.S)
CPP_COMMENT = re.compile(r"//[^\n]*")
SQL_COMMENT = re.compile(r"--[^\n]*")
SQL_TEXT = re.compile(r"'(?:[^']|'')*'")
PARENTHESES = re.compile(r"\([^()]*\)")


def texts_of_source(source):
    """The texts of a C++ source; literals that are put together are one, with a '?' for what stands between them."""
    text, end, texts = None, 0, []
    source = re.sub(r'(?m)^\s*#include.*$|^\s*//.*$', "", source)
    for literal in LITERAL.finditer(source):
        between = source[end:literal.start()]
        value = literal["raw"] if literal["raw"] is not None else re.sub(r"\\(.)", r"\1", literal["text"])
        if text is not None and not re.search(r"[;{},=]|\breturn\b", between):
            text += (" ? " if between.strip() else "") + value
        else:
            if text is not None:
                texts.append(text)
            text = value
        end = literal.end()
    return texts + ([text] if text is not None else [])


def statements_of(path):
    content = path.read_text()
    texts = [content] if path.suffix == ".sql" else texts_of_source(content)
    for text in texts:
        for statement in SQL_TEXT.sub("''", SQL_COMMENT.sub("", text)).split(";"):
            yield " ".join(statement.split())


def select_of(statement):
    """The FROM list of an INSERT ... SELECT without what stands in parentheses; none of another statement."""
    if not re.match(r"INSERT INTO \w+", statement):
        return None
    while PARENTHESES.search(statement):
        statement = PARENTHESES.sub(" ", statement)
    found = re.search(r"\bSELECT\b.*?\bFROM\b(.*?)(?:\bWHERE\b|\bGROUP BY\b|\bORDER BY\b|$)", statement)
    return found and found[1]


def faults_of(statement):
    if re.match(r"CREATE TABLE \w+ \(", statement) and not re.search(r"\bid KEY\b|\bPRIMARY KEY\b", statement):
        yield "a table has no primary key"
    sources = select_of(statement)
    if sources:
        joins = re.split(r"\bJOIN\b", sources)[1:]
        on_columns = [re.match(r"[^,]*\bON (\w+)\.\w+ = (?!\1\b)\w+\.\w+", join) for join in joins]
        if "," in sources or "CROSS JOIN" in sources or not all(on_columns):
            yield "an INSERT ... SELECT joins tables otherwise than on equal columns"
    for qualified in re.finditer(r"\b(?:FROM|JOIN|INTO|UPDATE) (\w+)\.(\w+)", statement):
        yield f"{qualified[0].split()[1]} names another schema"


def check(root):
    files = sorted([*root.glob("appserver/**/*.sql"), *root.glob("appserver/*.cpp"), *root.glob("moxd/*.cpp")])
    return [
        f"{path.relative_to(root).as_posix()}: {fault}: {statement[:120]}"
        for path in files
        for statement in statements_of(path)
        for fault in faults_of(statement)
    ]


if __name__ == "__main__":
    tell(check)
