"""Checks the numbers of a file, one a line, by a module of python3-stdnum: stdnum_peer.py MODULE FILE.

Prints the seconds of processor time that the checks took, and how many numbers are valid.
"""

import importlib
import sys
import time

module = importlib.import_module("stdnum." + sys.argv[1])
with open(sys.argv[2], encoding="ascii") as lines:
    numbers = lines.read().splitlines()
module.is_valid(numbers[0])  # what it loads on the first call does not count
begin = time.process_time()
valid = sum(module.is_valid(number) for number in numbers)
print(time.process_time() - begin, valid)
