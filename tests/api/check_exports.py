"""Compares the functions of the public header with those named in AllFunctions.c, with the table that it includes, and
exported by the library.

usage: check_exports.py HEADER C-FILE [LIBRARY]
"""

import re
import subprocess
import sys
from pathlib import Path


def difference(expected, found, where):
    faults = [f"{name} is missing in {where}" for name in sorted(expected - found)]
    faults += [f"{name} in {where} is not declared in the header" for name in sorted(found - expected)]
    return faults


def main(header, c_file, library=None):
    declared = set(re.findall(r"^BREVEX_API [^;(]*?\b(Brevex\w+)\(", Path(header).read_text(), re.M))
    faults = [] if declared else ["no declaration found in the header"]
    named = Path(c_file).read_text() + Path(c_file).with_name("OptionNames.inc").read_text()
    faults += difference(declared, set(re.findall(r"NAME\((Brevex\w+)\)", named)), c_file)
    if library:
        lines = subprocess.run(["nm", "-D", "--defined-only", library], check=True, capture_output=True, text=True)
        exported = {line.split()[-1] for line in lines.stdout.splitlines()}
        faults += difference(declared, {n for n in exported if not n.startswith("Java_com_norvane_")}, library)
    print("\n".join(faults) or f"{len(declared)} functions agree")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
