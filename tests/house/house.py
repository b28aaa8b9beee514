"""How the rules of the house are told, and how they are tested."""
import sys
import tempfile
from pathlib import Path


def tell(check):
    """A line for each fault in the tree that is named, or this one."""
    found = check(Path(sys.argv[1] if len(sys.argv) > 1 else "."))
    print("\n".join(found), end="\n" if found else "")
    sys.exit(1 if found else 0)


def faults_of(check, files):
    """What a rule says of a tree of these files."""
    with tempfile.TemporaryDirectory() as root:
        for name, text in files.items():
            path = Path(root) / name
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(text)
        return check(Path(root))


def expect(cases, check):
    """Each case, which is told, has what was found and what is wanted; the tree that is named keeps the rule."""
    failures = [f"{case}\nfound {found}\ninstead of {wanted}" for case, found, wanted in cases if found != wanted]
    failures += check(Path(sys.argv[1]))
    print("\n".join(failures))
    sys.exit(1 if failures else 0)
