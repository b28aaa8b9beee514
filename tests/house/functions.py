#!/usr/bin/env python3
"""Measures functions: functions.py [ROOT]. Prints a line for each of 70 lines or more.

A function is what stands in braces in a namespace or a class and is neither; a test is one too, and so is a lambda in a
table there. Others are part of what they stand in. Its length is how many lines with statements it has. Texts do not count, nor do rows of tables (what
stands in braces that are no block), blank lines and comments.
"""

import re

from house import tell

UNDER = 70
FOLDERS = "mox appserver sender sheets connect moxd paper desktop symbols cli tests bench fuzz docs".split()

QUIET = re.compile(
    r"//[^\n]*|/\*.*?\*/|^[ \t]*#(?:\\\n|[^\n])*"  # comments and directives, then literals
    r'|R"(?P<mark>\w*)\(.*?\)(?P=mark)"|"(?:\\.|[^"\\\n])*"|(?<!\w)\'(?:\\.|[^\'\\\n])+\'',
    re.S | re.M,
)
LABEL = re.compile(r"\s*(?:(?:public|private|protected)\s*:\s*)*")
SCOPE = re.compile(r"\b(?:namespace|class|struct|union|enum)\b[^()=]*$")
BLOCK = re.compile(r"(?:[)\]:]|\b(?:else|do|try|const|noexcept|override|final|mutable|&|&&)|->[^{}()]*)$")
TEXT_ALONE = re.compile(r'[\s,;+(){}<]*""[\s",;+(){}<]*')


def quiet(text):
    """The text with empty literals and without comments and directives, on the same lines."""
    return QUIET.sub(lambda found: ('""' if found[0][0] in "R\"'" else "") + "\n" * found[0].count("\n"), text)


def kind_of(head, around):
    """What a brace opens: a scope of declarations, the body of a function, a block in one, or a table."""
    in_scope = around[-1] == "scope"
    if SCOPE.search(head):
        return "scope" if in_scope else "block"
    if BLOCK.search(head) or (not head and around[-1] != "table"):
        in_function = any(kind in ("body", "block") for kind in around)
        return "block" if in_function else "body"
    return "table"


def functions_of(text):
    """The first line, the beginning and the length of each function."""
    text = quiet(text)
    lines = text.split("\n")
    code = [""] * len(lines)  # of each line what stands in blocks
    kinds, heads, head, line, first = ["scope"], [], 0, 0, 0  # heads: where what opens the braces begins
    for at, sign in enumerate(text):
        if sign == "\n":
            line += 1
        elif kinds[-1] in ("body", "block"):
            code[line] += sign
        if sign == "{":
            begin = LABEL.match(text, head).end()
            kinds.append(kind_of(text[begin:at].rstrip(), kinds))
            heads.append(head)
            if kinds[-1] == "body":
                first = line - text.count("\n", begin, at)
                code[first:line + 1] = lines[first:line + 1]
        if sign in "{};":
            head = at + 1
        if sign == "}" and heads:
            kind, begin = kinds.pop(), heads.pop()
            if kind == "table":
                head = begin  # it is a part of what began before it
            elif kind == "body":
                counted = [one for one in code[first:line + 1] if one.strip() and not TEXT_ALONE.fullmatch(one)]
                yield first + 1, lines[first].strip(), len(counted)


def check(root, folders=FOLDERS):
    faults = []
    for folder in folders:
        sources = [path for path in sorted((root / folder).rglob("*")) if path.suffix in (".cpp", ".h")]
        if not sources:
            faults.append(f"{folder}: has no source")
        for path in sources:
            name = path.relative_to(root).as_posix()
            faults += [f"{name}:{line}: {length} lines with statements: {begin}"
                       for line, begin, length in functions_of(path.read_text()) if length >= UNDER]
    return faults


if __name__ == "__main__":
    tell(check)
