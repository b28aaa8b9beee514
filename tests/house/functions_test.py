#!/usr/bin/env python3
"""The measure of functions: each row is a source with the lengths found in it, and this tree has no longer ones."""

import sys
import tempfile
from pathlib import Path

import functions

TABLE = "  Expect({{\"a\", 1},\n          {\"b\",\n           [](int a) {\n             return a;\n           }}});\n"

CASES = [
    ("namespace a {\nclass B {\n public:\n  int C() const { return 1; }\n};\nenum class D : int { kE };\n}\n", [1]),
    ("B::B(int c,\n     int d) : c_{c}, d_(d) {\n\n  // more\n  if (c) {\n    d = 1; /* and\n more */\n  }\n}\n", [6]),
    ("int A() {\n  return R\"(\n}\n{)\"\n         \"{\"\n         \"b\";\n}\nconst int b[] = {\n    1,\n};\n", [3]),
    ("const B kB[] = {\n" + TABLE + "};\n", [3]),
    ("TEST(A, B) {\n" + TABLE + "}\n", [5]),
    ("void A() {\n  struct B {\n    int c() { return 1; }\n  };\n  const auto d = [&]() -> int {\n    return 2;\n  };\n}\n", [8]),
    ("#define A(b) \\\n  void C() { b; }\ntemplate <typename B = char>\nauto D(B b) noexcept -> int {\n  return b == '{' ? 1 : 2;\n}\n", [4]),
]


def faults_of(lines, exceptions):
    with tempfile.TemporaryDirectory() as folder:
        path = Path(folder) / "mox" / "a.cpp"
        path.parent.mkdir()
        path.write_text("void A() {\n" + "  b();\n" * (lines - 2) + "}\n")
        functions.EXCEPTIONS, kept = exceptions, functions.EXCEPTIONS
        found = functions.check(Path(folder), ["mox", "gone"])
        functions.EXCEPTIONS = kept
        return sorted(found)


def main(root):
    failures = [(text, [length for _, _, length in functions.functions_of(text)], wanted) for text, wanted in CASES]
    excepted = {("mox/a.cpp", "void A() {")}
    too_long, stale = "mox/a.cpp:1: 70 lines with statements: void A() {", "mox/a.cpp: is no exception any more: void A() {"
    lost = ("mox/lost.cpp", "void A() {")
    for lines, exceptions, wanted in (
        (69, set(), []),
        (70, set(), [too_long]),
        (70, excepted, []),
        (69, excepted, [stale]),
        (70, {*excepted, lost}, [f"{lost[0]}: is no exception any more: {lost[1]}"]),
    ):
        failures.append((f"{lines} lines", faults_of(lines, exceptions), sorted(["gone: has no source", *wanted])))
    failures = [failure for failure in failures if failure[1] != failure[2]]
    for text, found, wanted in failures:
        print(f"{text}\nfound {found}\ninstead of {wanted}")
    of_this_tree = functions.check(Path(root))
    print("\n".join(of_this_tree))
    return 1 if failures or of_this_tree else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
