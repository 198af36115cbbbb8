#!/usr/bin/env python3
"""Checks that every line of docs/invariants.md names what holds it, and that this exists.

usage: check_invariants.py DOCUMENT ROOT BUILD-FOLDER CTEST

In the last cell of a row, `fuzz/NAME.cpp` opens a list of conditions that are FUZZ_CHECKs of that
file; `Suite.Test` is one of the tests that CTest knows.
"""

import pathlib
import re
import subprocess
import sys

TEST = re.compile(r"^[A-Za-z_]\w*\.[A-Za-z]\w*$")
FUZZ_FILE = re.compile(r"^fuzz/\w+\.cpp$")


def known_tests(ctest, build):
    listing = subprocess.run(
        [ctest, "--test-dir", build, "--show-only"], check=True, capture_output=True, text=True
    ).stdout
    names = re.findall(r"^ *Test +#\d+: (.*)$", listing, re.MULTILINE)
    return [name for name in names if not name.endswith("(Disabled)")]


def is_known(test, tests):
    name = re.compile(r"(^|[./])" + re.escape(test) + r"($|/)")
    return any(name.search(one) for one in tests)


def squeeze(code):
    return re.sub(r"\s+", " ", code)


def problems_of(cell, root, tests):
    content = None
    for token in re.findall(r"`([^`]+)`", cell):
        if FUZZ_FILE.match(token):
            path = root / token
            content = squeeze(path.read_text()) if path.is_file() else ""
            if not content:
                yield f"there is no {token}"
        elif TEST.match(token):
            if not is_known(token, tests):
                yield f"no test is called {token}"
        elif content is None:
            yield f"the condition {token} has no file"
        elif f"FUZZ_CHECK({squeeze(token)});" not in content:
            yield f"nothing checks {token}"


def main():
    document, root, build, ctest = sys.argv[1:]
    tests = known_tests(ctest, build)
    rows = 0
    failed = False
    for number, line in enumerate(pathlib.Path(document).read_text().splitlines(), start=1):
        cells = line.strip().split("|")[1:-1]
        if not cells or cells[-1].strip() in ("Held by", "---"):
            continue
        rows += 1
        if len(cells) != 2:
            print(f"{document}:{number}: a line has two cells")
            failed = True
            continue
        problems = list(problems_of(cells[1], pathlib.Path(root), tests))
        if "`" not in cells[1]:
            problems.append("nothing holds this")
        for problem in problems:
            print(f"{document}:{number}: {problem}")
            failed = True
    print(f"{rows} lines, {len(tests)} tests")
    return 1 if failed or rows == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
