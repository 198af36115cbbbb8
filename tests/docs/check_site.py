#!/usr/bin/env python3
"""Checks a built documentation site: links lead somewhere, every export is described, nothing is
fetched from elsewhere, no path of this machine is told.

usage: check_site.py FOLDER EXPORTS ROOT
"""

import re
import sys
from pathlib import Path


def problems_of(site, exports, root):
    pages = {page.name: page.read_text() for page in site.glob("*.html")}
    anchors = {name: set(re.findall(r'(?:id|name)="([^"]+)"', text))
               for name, text in pages.items()}
    for name, text in pages.items():
        for link in re.findall(r'href="([^"]+)"', text):
            if link.startswith(("https:", "http:", "javascript:")):
                continue
            target, _, anchor = link.partition("#")
            target = target or name
            if not (site / target).exists():
                yield f"{name}: no such page: {link}"
            elif anchor and target in anchors and anchor not in anchors[target]:
                yield f"{name}: no such place: {link}"
        if re.search(r'(?:src|<link[^>]*href)="https?:', text):
            yield f"{name}: fetches something"
        if str(root) in text:
            yield f"{name}: tells a path of this machine"
    described = set()
    for text in pages.values():
        for title in re.findall(r'<h2 class="memtitle">(.*?)</h2>', text):
            described.update(re.findall(r"\w+(?=\(\))", title))
    for export in exports:
        if export not in described:
            yield f"not described: {export}"


def main(arguments):
    if len(arguments) != 4:
        print(__doc__, file=sys.stderr)
        return 2
    site, exports, root = Path(arguments[1]), Path(arguments[2]), Path(arguments[3]).resolve()
    names = exports.read_text().split()
    if not (site / "index.html").exists() or not names:
        print("nothing to check", file=sys.stderr)
        return 1
    found = list(problems_of(site, names, root))
    for problem in found:
        print(problem, file=sys.stderr)
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
