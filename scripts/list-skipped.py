#!/usr/bin/env python3
"""Prints what a run of the tests could not do, a line each: what a test has said behind "Not run: ",
and the names of tests that were skipped without a word.

usage: list-skipped.py RESULTS, the file of ctest's --output-junit"""

import sys
import xml.etree.ElementTree as xml

for test in xml.parse(sys.argv[1]).iter("testcase"):
    output = test.findtext("system-out") or ""
    told = [line.split("Not run: ", 1)[1] for line in output.splitlines() if "Not run: " in line]
    if not told and test.find("skipped") is not None:
        told = [test.get("name") + ": skipped, and it does not say why"]
    print(*told, sep="\n", end="\n" if told else "")
