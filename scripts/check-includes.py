#!/usr/bin/env python3
"""Checks who includes whom, a header and the source of its name taken as one module.

usage: scripts/check-includes.py [ROOT]

- Includes point downward only: cli may include session; api and session may include
  abecs/commands and ext; those abecs; that serial; that core. sim includes none of them.
- No module of the library is on a circle of includes, save the known knot in core.

Prints what breaks a rule and exits with 1.
"""

import pathlib
import re
import sys

INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.MULTILINE)

# What each folder may include besides itself.
CORE = {"core"}
SERIAL = CORE | {"serial"}
ABECS = SERIAL | {"abecs"}
COMMANDS = ABECS | {"abecs/commands"}
BELOW = {
    "core": CORE,
    "serial": SERIAL,
    "abecs/crypto": CORE | {"abecs/crypto"},
    "abecs": ABECS | {"abecs/crypto"},
    "abecs/commands": COMMANDS,
    "ext": COMMANDS | {"ext"},
    "api": COMMANDS | {"ext", "api"},
    "session": COMMANDS | {"ext", "session"},
    "sim": {"sim"},
}

# Raising a failure formats its text, and formatting and allocating raise failures.
KNOT = {"core/exception", "core/memory", "core/string"}

SUFFIXES = {".h", ".cpp", ".hpp"}


def folder_of(path):
    """The folder of BELOW that a path lies in, the deepest one; None for all others."""
    parts = path.split("/")[:-1]
    while parts:
        if "/".join(parts) in BELOW:
            return "/".join(parts)
        parts.pop()
    return None


def includes(root):
    """Pairs of (including file, included file) within the folders of BELOW."""
    for folder in sorted({name.split("/")[0] for name in BELOW}):
        for file in sorted((root / folder).rglob("*")):
            if file.suffix in SUFFIXES:
                name = file.relative_to(root).as_posix()
                for included in INCLUDE.findall(file.read_text(encoding="utf-8")):
                    yield name, included


def circles(graph):
    """The groups of modules that reach one another (Tarjan)."""
    index, low, stack, found = {}, {}, [], []

    def visit(node):
        index[node] = low[node] = len(index)
        stack.append(node)
        for neighbour in sorted(graph.get(node, ())):
            if neighbour not in index:
                visit(neighbour)
                low[node] = min(low[node], low[neighbour])
            elif neighbour in stack:
                low[node] = min(low[node], index[neighbour])
        if low[node] == index[node]:
            group = set()
            while node not in group:
                group.add(stack.pop())
            if len(group) > 1:
                found.append(group)

    for node in sorted(graph):
        if node not in index:
            visit(node)
    return found


def main():
    root = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else ".")
    wrong = []
    graph = {}
    for file, included in includes(root):
        folder, other = folder_of(file), folder_of(included)
        if other is not None and other not in BELOW[folder]:
            wrong.append(f"{file} includes {included}, which is not below it")
        module, target = file.rsplit(".", 1)[0], included.rsplit(".", 1)[0]
        if module != target and other is not None and folder != "sim":
            graph.setdefault(module, set()).add(target)
    for group in circles(graph):
        if not group <= KNOT:
            wrong.append("a circle of includes: " + ", ".join(sorted(group)))
    for line in wrong:
        print(line)
    if not graph:
        wrong.append("nothing to check")
        print(f"{root}: no sources found")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
