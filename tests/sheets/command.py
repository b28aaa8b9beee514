"""The command, run by tests over files of other programs in a folder of their own."""

import pathlib
import subprocess


class Command:
    def __init__(self, mox, folder):
        self.mox = mox
        self.folder = pathlib.Path(folder)
        self.folder.mkdir(parents=True, exist_ok=True)
        for left_over in self.folder.glob("*"):
            left_over.unlink()
        self.database = str(self.folder / "firma.db")
        subprocess.run([mox, "db", "init", self.database], check=True)

    def run(self, *arguments, status=0):
        arguments = [self.mox, *map(str, arguments), "--db", self.database]
        result = subprocess.run(arguments, capture_output=True, text=True)
        assert result.returncode == status, (arguments, result)
        return result.stdout


def expect(actual, expected):
    assert actual == expected, f"{actual!r} is not {expected!r}"
