#!/usr/bin/env python3
"""Sorts the lines of the library that no test reached into those that are explained and the rest.

usage: unreached-lines.py GCOVR-JSON REVIEWED

A line that follows a raise is reached only where no frame is open and the host's handler returns;
such lines explain themselves. All others are to stand in REVIEWED, as "FILE | HOW OFTEN | TEXT | REASON".
Prints what is not explained, and fails if there is any.
"""

import collections
import json
import pathlib
import re
import sys

# What raises, and checks whose refusal has raised.
RAISES = re.compile(
    r"pcl_raise\(|pcl_exception_rethrow\(|\braise\w*\(|abecs_ext_raise_\w+\(|succeeded\(|"
    r"if \(.*(!is\w+\(|!are\w+\(|!hasData\(|!argumentsAreValid\(|!abecs_is_media_name\(|"
    r"\.buffer\(\) == nullptr)"
)


def statement_before(lines, index):
    """The text of the statement or condition that ends before the line."""
    text = ""
    for line in reversed(lines[max(0, index - 6) : index]):
        line = line.strip()
        if text and line.endswith((";", "{", "}", ":")):
            break
        text = line + " " + text
    return text


def follows_a_raise(lines, index):
    is_return = re.fullmatch(r"return\b.*;", lines[index].strip()) is not None
    return is_return and RAISES.search(statement_before(lines, index)) is not None


def reviewed_lines(path):
    """How often each explained line may be found."""
    reviewed = {}
    for line in pathlib.Path(path).read_text().splitlines():
        if line and not line.startswith("#"):
            file, count, text, _reason = line.split(" | ", 3)
            reviewed[(file, text)] = int(count)
    return reviewed


def main():
    report = json.loads(pathlib.Path(sys.argv[1]).read_text())
    reviewed = reviewed_lines(sys.argv[2])
    after_raise = 0
    found = collections.Counter()
    unexplained = []
    for entry in report["files"]:
        file = entry["file"]
        lines = pathlib.Path(file).read_text().splitlines()
        for line in entry["lines"]:
            if line["count"] > 0 or line.get("gcovr/noncode"):
                continue
            index = line["line_number"] - 1
            text = lines[index].strip()
            if follows_a_raise(lines, index):
                after_raise += 1
                continue
            found[(file, text)] += 1
            if found[(file, text)] > reviewed.get((file, text), 0):
                unexplained.append(f"{file}:{index + 1}: {text}")
    explained = found.total() - len(unexplained)
    print(f"not reached: {after_raise} lines that follow a raise, {explained} that are explained")
    for line in unexplained:
        print(f"not reached and not explained: {line}")
    for file, text in sorted(key for key, count in reviewed.items() if found[key] < count):
        print(f"reached by now, the explanation can go: {file}: {text}")
    return 1 if unexplained else 0


if __name__ == "__main__":
    sys.exit(main())
