#!/usr/bin/env python3
"""Compiles the library's files with -fanalyzer and prints "FILE KIND" for each kind of finding.

usage: run-analyser.py COMPILE-COMMANDS ROOT JOBS FOLDER...
"""

import concurrent.futures
import json
import pathlib
import re
import shlex
import subprocess
import sys


def findings_of(entry, name):
    command = shlex.split(entry["command"])
    command[command.index("-o") + 1] = "/dev/null"
    command = [word for word in command if word != "-Werror"] + ["-fanalyzer"]
    done = subprocess.run(command, cwd=entry["directory"], capture_output=True, text=True)
    if done.returncode != 0:
        raise SystemExit(f"{name} does not compile:\n{done.stderr}")
    kinds = re.findall(r"\[-W(analyzer-[a-z-]+)\]$", done.stderr, re.MULTILINE)
    return [f"{name} {kind}" for kind in sorted(set(kinds))]


def main():
    root = pathlib.Path(sys.argv[2])
    folders = tuple(sys.argv[4:])
    entries = {}
    for entry in json.loads(pathlib.Path(sys.argv[1]).read_text()):
        path = pathlib.Path(entry["file"])
        if path.is_relative_to(root) and path.relative_to(root).parts[0] in folders:
            entries[str(path.relative_to(root))] = entry
    if not entries:
        raise SystemExit("there is nothing to analyse")
    with concurrent.futures.ThreadPoolExecutor(int(sys.argv[3])) as pool:
        for lines in pool.map(findings_of, entries.values(), entries.keys()):
            for line in lines:
                print(line)


if __name__ == "__main__":
    main()
