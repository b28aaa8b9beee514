#!/usr/bin/env python3
"""The measure of functions: each row is a source with the lengths found in it, and this tree has no longer ones."""

import functions
from house import expect, faults_of

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


def of_length(lines):
    return {"mox/a.cpp": "void A() {\n" + "  b();\n" * (lines - 2) + "}\n"}


if __name__ == "__main__":
    found = [(text, [length for _, _, length in functions.functions_of(text)], wanted) for text, wanted in CASES]
    too_long = "mox/a.cpp:1: 70 lines with statements: void A() {"
    for lines, wanted in ((69, []), (70, [too_long])):
        faults = faults_of(lambda root: functions.check(root, ["mox", "gone"]), of_length(lines))
        found.append((f"{lines} lines", faults, [*wanted, "gone: has no source"]))
    expect(found, functions.check)
